#include "ShownText.h"

#include <gtest/gtest.h>

#include <string>

namespace tarvek {
namespace {

TEST(Shown, LeavesPrintedTextAsItIs) {
  for (const std::string text : {"", "run 1.mzML", "C:\\data\\a.raw", "it's \"quoted\" <b>&",
                                 "Gr\xC3\xB6\xC3\x9F"
                                 "e \xC2\xB5g \xE8\xB3\xAA\xE9\x87\x8F \xF0\x9F\x98\x80"})
    EXPECT_EQ(Shown(text), text);
}

TEST(Shown, EscapesControlCharacters) {
  EXPECT_EQ(Shown("a\nb\rc\td"), "a\\nb\\rc\\td");
  EXPECT_EQ(Shown("\x1b[31m\x07\x7f"), "\\x1b[31m\\x07\\x7f");
  EXPECT_EQ(Shown(std::string(1, '\0')), "\\x00");
}

TEST(Shown, EscapesCharactersBeyondAsciiThatChangeWhatIsAroundThem) {
  EXPECT_EQ(Shown("\xC2\x85\xC2\x9B"), "\\u0085\\u009b");          // next line, control sequence
  EXPECT_EQ(Shown("\xE2\x80\xA8\xE2\x80\xAE"), "\\u2028\\u202e");  // line separator, right to left
  EXPECT_EQ(Shown("\xE2\x81\xA9"), "\\u2069");
  EXPECT_EQ(Shown("\xC2\xA0\xE2\x80\xA7\xE2\x80\xAF"), "\xC2\xA0\xE2\x80\xA7\xE2\x80\xAF");
}

TEST(Shown, EscapesBytesThatAreNoUtf8) {
  EXPECT_EQ(Shown("\xFF"), "\\xff");
  EXPECT_EQ(Shown("a\xC3"), "a\\xc3");                           // cut off
  EXPECT_EQ(Shown("\xE4hnlich"), "\\xe4hnlich");                 // ISO-8859-1
  EXPECT_EQ(Shown("\xC0\xAF"), "\\xc0\\xaf");                    // too long a form of '/'
  EXPECT_EQ(Shown("\xE0\x80\x8A"), "\\xe0\\x80\\x8a");           // the same of a line feed
  EXPECT_EQ(Shown("\xED\xA0\x80"), "\\xed\\xa0\\x80");           // half of a surrogate pair
  EXPECT_EQ(Shown("\xF4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");  // beyond the last character
  EXPECT_EQ(Shown("\x80"), "\\x80");
}

TEST(Shown, LeavesWhatItGave) {
  const std::string hostile = "a\n\x1b[0m\xFF\xE2\x80\xAE\t";
  EXPECT_EQ(Shown(Shown(hostile)), Shown(hostile));
}

TEST(Shown, CutsWhatIsTooLongBetweenCharacters) {
  EXPECT_EQ(Shown("abcdef", 6), "abcdef");
  EXPECT_EQ(Shown("abcdefg", 6), "abcdef... (7 bytes)");
  EXPECT_EQ(Shown("abcd\xC3\xA4", 5), "abcd... (6 bytes)");
  EXPECT_EQ(Shown("abcd\n", 5), "abcd... (5 bytes)");
  EXPECT_EQ(Shown(std::string(50'000'000, 'a'), 10), "aaaaaaaaaa... (50000000 bytes)");
  EXPECT_LT(Shown(std::string(50'000'000, 'a')).size(), kMostShownBytes + 50);
}

TEST(ShownLines, KeepsLineFeedsAndTabs) {
  EXPECT_EQ(ShownLines("a\n\tb\x1b\r\n"), "a\n\tb\\x1b\\r\n");
}

TEST(FileFault, KeepsTheMessageAndNamesTheFileInALineOfItsOwn) {
  const FileFault fault("in/a\nb.mgf", "Sorry.\n[Error] more");
  EXPECT_EQ(static_cast<const std::string&>(fault), "Sorry.\n[Error] more");
  EXPECT_EQ(fault.NamingLine(), "Cannot process in/a\\nb.mgf: Sorry.");
  EXPECT_EQ(FileFault("a.mgf", "std::bad_alloc", kNoMemory).NamingLine(),
            "Cannot process a.mgf: there is not enough memory");
}

}  // namespace
}  // namespace tarvek
