#include "MsTextLook.h"

#include <gtest/gtest.h>

#include <string>

#include "TestSupport.h"

namespace tarvek {
namespace {

const std::string kHeader = "H\tCreationDate\ttoday\nH\tExtractor\tone\n";
const std::string kMs1 = kHeader + "S\t1\t1\nI\tRetTime\t1.5\n400.5 10.0\n401.5 5.0\n";
const std::string kMs2 =
    kHeader + "S\t2\t2\t400.5\nI\tActivationType\tHCD\nZ\t2\t799.99\n200.5 3.0\n";

std::string FlawOf(const std::string& content, MsLevel level = MsLevel::kMs1,
                   bool has_scans = false) {
  const test::TemporaryDirectory directory;
  test::WriteFile(directory / "run.ms1", content);
  return FlawOfMsText(directory / "run.ms1", level, has_scans);
}

std::string Utf16(const std::string& text, bool little_endian) {
  std::string wide;
  for (const char c : text) wide += little_endian ? std::string{c, '\0'} : std::string{'\0', c};
  return wide;
}

TEST(FlawOfMsText, IsNoneOfSpectraAndOfAHeaderAlone) {
  EXPECT_EQ(FlawOf(kMs1, MsLevel::kMs1), "");
  EXPECT_EQ(FlawOf(kMs2, MsLevel::kMs2), "");
  EXPECT_EQ(FlawOf(kHeader, MsLevel::kMs1), "");
  EXPECT_EQ(FlawOf(kHeader + "\r\n\n", MsLevel::kMs2), "");
  EXPECT_EQ(FlawOf("S\t1\t1\n", MsLevel::kMs1), "") << "a scan without peaks is one";
  EXPECT_EQ(FlawOf("\xEF\xBB\xBF" + kMs1, MsLevel::kMs1), "");
}
TEST(FlawOfMsText, IsNoneOfWhatIsNoFile) {
  const test::TemporaryDirectory directory;
  EXPECT_EQ(FlawOfMsText(directory / "none.ms1", MsLevel::kMs1, false), "");
  EXPECT_EQ(FlawOfMsText(directory.Path(), MsLevel::kMs1, false), "");
}
TEST(FlawOfMsText, SaysWhatTheFileIsInstead) {
  EXPECT_EQ(FlawOf(""), "is empty");
  EXPECT_EQ(FlawOf(std::string("\x1F\x8B\x08\0\0", 5)), "looks gzipped");
  EXPECT_EQ(FlawOf("\xFF\xFE" + Utf16(kMs1, true)), "looks like UTF-16");
  EXPECT_EQ(FlawOf("\xFE\xFF" + Utf16(kMs1, false)), "looks like UTF-16");
  EXPECT_EQ(FlawOf(Utf16(kMs1, true)), "looks like UTF-16");
  EXPECT_EQ(FlawOf(Utf16(kMs1, false)), "looks like UTF-16");
  EXPECT_EQ(FlawOf("a picture, say\nor 4 two\n"),
            "holds no spectra: none of its first lines begins a scan");
  EXPECT_EQ(FlawOf(std::string(100, '\0')),
            "holds no spectra: none of its first lines begins a scan");
}
TEST(FlawOfMsText, SaysWhichOfTheTwoItIs) {
  EXPECT_EQ(FlawOf(kMs2, MsLevel::kMs1), "looks like MS2 spectra");
  EXPECT_EQ(FlawOf(kMs1, MsLevel::kMs2), "looks like MS1 spectra");
}
TEST(FlawOfMsText, SpeaksOfTabsWhereNoScanWasRead) {
  const std::string tabs = kHeader + "S\t1\t1\n400.5\t10.0\n";
  EXPECT_EQ(FlawOf(tabs), "has tabs between m/z and intensity, where a blank has to be");
  EXPECT_EQ(FlawOf(tabs, MsLevel::kMs1, true), "");
}
// The lines after the first 64 kB are not looked at: here a scan is cut there.
TEST(FlawOfMsText, LooksAtTheBeginningAlone) {
  std::string text = kMs1;
  while (text.size() < 70000) text += "500.12345 123.4\n";
  EXPECT_EQ(FlawOf(text + kMs2), "");
}

}  // namespace
}  // namespace tarvek
