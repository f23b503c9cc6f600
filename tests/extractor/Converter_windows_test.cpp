#include <gtest/gtest.h>

#include "Converter.h"
#include "TestSupport.h"

namespace tarvek::extractor {
namespace {

using tarvek::test::TemporaryDirectory;
using tarvek::test::WriteFile;

TEST(FindConverter, LooksForProgramsThatEndInExe) {
  const TemporaryDirectory directory;
  const std::string path = "C:\\nowhere;" + directory.Path();
  WriteFile(directory / "msconvert", "");
  EXPECT_EQ(FindConverter(VendorKind::kWiff, "", path), std::nullopt);
  WriteFile(directory / "msconvert.exe", "");
  EXPECT_EQ(FindConverter(VendorKind::kWiff, "", path).value_or(CommandTemplate()).m_program,
            std::vector<std::string>{directory / "msconvert.exe"});
}
TEST(FindConverter, TakesTheRawParserAndNoScriptOrMono) {
  const TemporaryDirectory directory;
  for (const char* const name :
       {"ThermoRawFileParser.sh.exe", "ThermoRawFileParser.exe.exe", "mono.exe"})
    WriteFile(directory / name, "");
  EXPECT_EQ(FindConverter(VendorKind::kRaw, "", directory.Path()), std::nullopt);
  WriteFile(directory / "ThermoRawFileParser.exe", "");
  EXPECT_EQ(
      FindConverter(VendorKind::kRaw, "", directory.Path()).value_or(CommandTemplate()).m_program,
      std::vector<std::string>{directory / "ThermoRawFileParser.exe"});
}

}  // namespace
}  // namespace tarvek::extractor
