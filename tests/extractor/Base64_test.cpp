#include "Base64.h"

#include <gtest/gtest.h>

#include <random>

#include "ExtractorTestSupport.h"

namespace tarvek::extractor {
namespace {

std::string Decoded(std::string_view text) {
  std::string bytes;
  EXPECT_TRUE(DecodeBase64(text, bytes)) << text;
  return bytes;
}

bool IsRefused(std::string_view text) {
  std::string bytes;
  return !DecodeBase64(text, bytes);
}

TEST(DecodeBase64, ReadsThePublishedExamples) {
  EXPECT_EQ(Decoded(""), "");
  EXPECT_EQ(Decoded("Zg=="), "f");
  EXPECT_EQ(Decoded("Zm8="), "fo");
  EXPECT_EQ(Decoded("Zm9v"), "foo");
  EXPECT_EQ(Decoded("Zm9vYg=="), "foob");
  EXPECT_EQ(Decoded("Zm9vYmFy"), "foobar");
}

TEST(DecodeBase64, SkipsWhiteSpaceAnywhere) {
  EXPECT_EQ(Decoded("\n  Zm9 v\r\nYm\tE = \n"), "fooba");
}

TEST(DecodeBase64, RefusesOtherCharacters) {
  EXPECT_TRUE(IsRefused("Zm9v!mFy"));
  EXPECT_TRUE(IsRefused("Zm9vYm-y"));
}

TEST(DecodeBase64, RefusesAGroupThatIsCutShort) {
  EXPECT_TRUE(IsRefused("Zm9vY"));
  EXPECT_TRUE(IsRefused("Zm9vYm"));
  EXPECT_TRUE(IsRefused("Zm9vYmF"));
}

TEST(DecodeBase64, RefusesPaddingThatIsNotAtTheEndOrTooMuch) {
  EXPECT_TRUE(IsRefused("Zg==Zg=="));
  EXPECT_TRUE(IsRefused("Zm9v===="));
  EXPECT_TRUE(IsRefused("Z==="));
  EXPECT_TRUE(IsRefused("Zg==="));
}

TEST(DecodeBase64, GivesBackWhatAnotherEncoderWrote) {
  for (unsigned seed = 0; seed < 200; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::string bytes(seed, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    EXPECT_EQ(Decoded(test::EncodeBase64(bytes)), bytes);
  }
}

}  // namespace
}  // namespace tarvek::extractor
