#include "Extractor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "Platform.h"

namespace tarvek {
namespace {

using testing::StartsWith;

TEST(ExtractorName, IsTheXmlOneForBothXmlFormats) {
  EXPECT_EQ(ExtractorName("mzxml"), "morvex_xml.exe");
  EXPECT_EQ(ExtractorName("mzml"), "morvex_xml.exe");
}
TEST(ExtractorName, IsTheWiffOneForWiff) { EXPECT_EQ(ExtractorName("wiff"), "morvex_wiff.exe"); }
TEST(ExtractorName, IsTheRawOneForAnythingElse) {
  EXPECT_EQ(ExtractorName("raw"), "morvex_raw.exe");
  EXPECT_EQ(ExtractorName("mzML"), "morvex_raw.exe");
  EXPECT_EQ(ExtractorName(""), "morvex_raw.exe");
}

UserParameters ParametersOf(const std::string& file) {
  UserParameters parameters;
  parameters.m_outputpath = "/out";
  SetCurrentFile(parameters, file);
  return parameters;
}

TEST(ExtractorCommand, IsToTheLetter) {
  EXPECT_EQ(ExtractorCommand(ParametersOf("/data/a.raw"), "ms", "./morvex_raw.exe"),
            "./morvex_raw.exe -ms -a -i 1 -m 5 -o \"/out\" \"/data/a.raw\"");
}
TEST(ExtractorCommand, MakesNoOptionOfAFile) {
  EXPECT_EQ(ExtractorCommand(ParametersOf("-o.raw"), "ms", "p"),
            "p -ms -a -i 1 -m 5 -o \"/out\" \"./-o.raw\"");
}
TEST(ExtractorCommand, AsksForMgfInThatMode) {
  EXPECT_EQ(ExtractorCommand(ParametersOf("/data/a.raw"), "mgf", "./morvex_raw.exe"),
            "./morvex_raw.exe -mgf -a -i 1 -m 5 -o \"/out\" \"/data/a.raw\"");
}
TEST(ExtractorCommand, PassesTheDigits) {
  UserParameters parameters = ParametersOf("/data/a.raw");
  parameters.m_intensity_digits = 3;
  parameters.m_mz_digits = 0;
  EXPECT_THAT(ExtractorCommand(parameters, "ms", "p"), StartsWith("p -ms -a -i 3 -m 0 -o "));
}
TEST(ExtractorCommand, AsksForBinaryOutputAtItsEnd) {
  UserParameters parameters = ParametersOf("/data/a.raw");
  parameters.m_output_msb = true;
  EXPECT_EQ(ExtractorCommand(parameters, "ms", "p"),
            "p -ms -a -i 1 -m 5 -o \"/out\" \"/data/a.raw\" -msb");
}

TEST(QuotedForShell, PutsPlainTextInQuotesAndNothingElse) {
  EXPECT_EQ(QuotedForShell("/a b/c.raw"), "\"/a b/c.raw\"");
}
TEST(QuotedForShell, MakesAnEmptyArgumentOfNothing) { EXPECT_EQ(QuotedForShell(""), "\"\""); }

}  // namespace
}  // namespace tarvek
