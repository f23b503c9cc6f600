#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Converter.h"
#include "TestSupport.h"

namespace tarvek::extractor {
namespace {

using tarvek::test::TemporaryDirectory;
using tarvek::test::WriteFile;
using testing::HasSubstr;

TEST(FindConverter, LooksForProgramsThatEndInExe) {
  const TemporaryDirectory directory;
  const std::string path = "C:\\nowhere;" + directory.Path();
  WriteFile(directory / "msconvert", "");
  EXPECT_EQ(FindConverter(VendorKind::kWiff, "", path), std::nullopt);
  WriteFile(directory / "msconvert.exe", "");
  EXPECT_THAT(FindConverter(VendorKind::kWiff, "", path).value_or(""),
              HasSubstr("\\msconvert.exe\" {in} --mzML"));
}
TEST(FindConverter, TakesTheRawParserAndNoScriptOrMono) {
  const TemporaryDirectory directory;
  for (const char* const name :
       {"ThermoRawFileParser.sh.exe", "ThermoRawFileParser.exe.exe", "mono.exe"})
    WriteFile(directory / name, "");
  EXPECT_EQ(FindConverter(VendorKind::kRaw, "", directory.Path()), std::nullopt);
  WriteFile(directory / "ThermoRawFileParser.exe", "");
  EXPECT_THAT(FindConverter(VendorKind::kRaw, "", directory.Path()).value_or(""),
              HasSubstr("\\ThermoRawFileParser.exe\" -i={in}"));
}
TEST(FindConverter, TakesTheTemplateOfTheEnvironmentFirst) {
  EXPECT_EQ(FindConverter(VendorKind::kRaw, "mine {in}", ""), "mine {in}");
}
TEST(ConverterCommand, QuotesPathsForTheShell) {
  EXPECT_EQ(ConverterCommand("c -i={in} -o=\"{outdir}\"", "D:\\a b\\x.raw", "D:\\"),
            "c -i=\"D:\\a b\\x.raw\" -o=\"D:\\\\\"");
}

}  // namespace
}  // namespace tarvek::extractor
