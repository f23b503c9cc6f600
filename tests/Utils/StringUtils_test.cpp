#include "StringUtils.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "FileUtils.h"

namespace tarvek {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Trim, OfBlanksAloneIsEmpty) { EXPECT_EQ(Trim("  \t"), ""); }
TEST(Trim, OfAnEmptyTextIsEmpty) { EXPECT_EQ(Trim(""), ""); }
TEST(Trim, KeepsInnerBlanks) { EXPECT_EQ(Trim(" \r\n\ta \tb\n"), "a \tb"); }
TEST(Trim, LeavesVerticalTabAndFormFeedAlone) { EXPECT_EQ(Trim("\va\f"), "\va\f"); }
TEST(TrimLeft, KeepsTheRightEnd) { EXPECT_EQ(TrimLeft("  a  "), "a  "); }
TEST(TrimLeft, OfBlanksAloneIsEmpty) { EXPECT_EQ(TrimLeft(" \t\r\n"), ""); }
TEST(TrimRight, KeepsTheLeftEnd) { EXPECT_EQ(TrimRight("  a  "), "  a"); }
TEST(TrimRight, OfBlanksAloneIsEmpty) { EXPECT_EQ(TrimRight(" \t\r\n"), ""); }
TEST(TrimRight, CutsTheSeparatorOfADriveRoot) { EXPECT_EQ(TrimRight("C:\\", kSeparators), "C:"); }

TEST(ToLower, ChangesAsciiLettersOnly) {
  EXPECT_EQ(ToLower("AZaz09_/@[`{\xC4\xDC"), "azaz09_/@[`{\xC4\xDC");
}

TEST(EndsWithIgnoreCase, TrimsTheTextAndIgnoresCase) {
  EXPECT_TRUE(EndsWithIgnoreCase("a.RAW ", ".raw"));
}
TEST(EndsWithIgnoreCase, IsFalseForATextShorterThanTheSuffix) {
  EXPECT_FALSE(EndsWithIgnoreCase("aw", ".raw"));
}
TEST(EndsWithIgnoreCase, IgnoresTheCaseOfTheSuffixToo) {
  EXPECT_TRUE(EndsWithIgnoreCase("a.raw", ".RaW"));
}
TEST(EndsWithIgnoreCase, MatchesATextThatIsTheSuffix) {
  EXPECT_TRUE(EndsWithIgnoreCase(".raw", ".raw"));
}
TEST(EndsWithIgnoreCase, MatchesAnEmptySuffix) { EXPECT_TRUE(EndsWithIgnoreCase("", "")); }
TEST(EndsWithIgnoreCase, WantsTheEndAndNotTheMiddle) {
  EXPECT_FALSE(EndsWithIgnoreCase("a.raw.txt", ".raw"));
}
TEST(EndsWithIgnoreCase, CountsTheLengthAfterTrimming) {
  EXPECT_FALSE(EndsWithIgnoreCase("   aw", ".raw"));
}

TEST(Split, KeepsInnerEmptyTokensButNotALastOne) {
  EXPECT_THAT(Split("a,,b,", ","), ElementsAre("a", "", "b"));
}
TEST(Split, KeepsAFirstEmptyToken) { EXPECT_THAT(Split(",a", ","), ElementsAre("", "a")); }
TEST(Split, OfAnEmptyTextIsEmpty) { EXPECT_THAT(Split("", ","), IsEmpty()); }
TEST(Split, OfADelimiterAloneIsOneEmptyToken) { EXPECT_THAT(Split(",", ","), ElementsAre("")); }
TEST(Split, WithoutADelimiterIsTheWholeText) { EXPECT_THAT(Split("ab", ","), ElementsAre("ab")); }
TEST(Split, TakesEachCharacterOfTheDelimiters) {
  EXPECT_THAT(Split("a b\tc", " \t"), ElementsAre("a", "b", "c"));
}

TEST(TokenAt, GivesTheFirstToken) { EXPECT_EQ(TokenAt("a,b,c", ',', 0), "a"); }
TEST(TokenAt, GivesAMiddleToken) { EXPECT_EQ(TokenAt("a,b,c", ',', 1), "b"); }
TEST(TokenAt, GivesTheLastToken) { EXPECT_EQ(TokenAt("a,b,c", ',', 2), "c"); }
TEST(TokenAt, IsEmptyBehindTheLastToken) { EXPECT_EQ(TokenAt("a,b,c", ',', 3), ""); }
TEST(TokenAt, AgreesWithSplit) {
  std::mt19937 random(7);
  for (int round = 0; round < 500; ++round) {
    std::string text;
    for (auto length = random() % 9; length > 0; --length) text += "a,b"[random() % 3];
    SCOPED_TRACE("seed 7, text " + text);
    const auto tokens = Split(text, ",");
    for (std::size_t i = 0; i < tokens.size() + 2; ++i)
      EXPECT_EQ(TokenAt(text, ',', static_cast<int>(i)), i < tokens.size() ? tokens[i] : "");
  }
}

TEST(EditDistance, CountsLettersToChange) {
  EXPECT_EQ(EditDistance("", ""), 0u);
  EXPECT_EQ(EditDistance("", "abc"), 3u);
  EXPECT_EQ(EditDistance("abc", ""), 3u);
  EXPECT_EQ(EditDistance("check", "check"), 0u);
  EXPECT_EQ(EditDistance("kitten", "sitting"), 3u);
  EXPECT_EQ(EditDistance("chekc", "check"), 1u) << "two neighbours are swapped";
  EXPECT_EQ(EditDistance("ca", "abc"), 3u) << "what was swapped is not parted afterwards";
}

}  // namespace
}  // namespace tarvek
