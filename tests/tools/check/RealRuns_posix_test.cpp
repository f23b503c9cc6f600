// Real runs and their outputs have no defect, and only the warnings listed here.
#include <gtest/gtest.h>
#include <zlib.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "CheckTestSupport.h"
#include "TestSupport.h"

namespace tarvek::tools::test {
namespace {

namespace fs = std::filesystem;
using tarvek::test::TemporaryDirectory;
using tarvek::test::WriteFile;

using Warnings = std::vector<std::string>;

/// By the name of the run; the others have none.
const std::map<std::string, Warnings>& ExpectedWarnings() {
  static const Warnings width = {"warning isolation-width"};
  static const Warnings charge = {"warning charge-range"};
  static const std::map<std::string, Warnings> expected = {
      {"HEK293_2_16173", width},
      {"HEK293_4_11989", width},
      {"mm_example", width},
      {"SmallCalibratible_Yeast", width},
      {"SilacTest", width},
      {"ThermoRawFileMS1MS2_Centroided", width},
      {"UDN_NIST_POS_excerpt", {"warning charge-range", "warning profile"}},
      {"GNPSExport_mzml1", charge},
      {"SiriusAdapter_4_input", charge},
      {"TopDown", charge}};
  return expected;
}

std::string Unpacked(const std::string& path) {
  const gzFile file = ::gzopen(path.c_str(), "rb");
  std::string text;
  std::vector<char> block(1 << 16);
  for (int count = 0; (count = ::gzread(file, block.data(), 1 << 16)) > 0;)
    text.append(block.data(), static_cast<std::size_t>(count));
  EXPECT_EQ(::gzclose(file), Z_OK) << path;
  return text;
}

/// The gzip files of mzML and mzXML next to the project.
std::vector<fs::path> RealRuns() {
  std::vector<fs::path> paths;
  std::error_code error;
  for (const auto& entry :
       fs::recursive_directory_iterator(TARVEK_SOURCE_DIR "/../shared/data", error)) {
    const std::string name = entry.path().filename().string();
    if (name.ends_with(".mzML.gz") || name.ends_with(".mzXML.gz")) paths.push_back(entry.path());
  }
  return paths;
}

TEST(CheckRealRuns, HaveNoDefectAndTheWarningsOfTheTable) {
  const std::vector<fs::path> runs = RealRuns();
  if (runs.empty()) GTEST_SKIP() << "needs the real runs in ../shared/data";
  for (const fs::path& packed : runs) {
    SCOPED_TRACE(packed.string());
    const TemporaryDirectory directory;
    const std::string input = directory / packed.stem().string();
    const std::string name = packed.stem().stem().string();
    WriteFile(input, Unpacked(packed.string()));
    const auto expected = ExpectedWarnings().find(name);
    EXPECT_EQ(Check({input}).Findings(false),
              expected == ExpectedWarnings().end() ? Warnings() : expected->second);
    Process(input, directory / "out");
    EXPECT_EQ(Check({directory / "out" + ("/" + name + ".csv")}).Findings(false), Warnings());
  }
}

// Intact proteins: charge times m/z is beyond the isotope table.
TEST(CheckRealRuns, TheChargesThatAreAdvisedForIntactProteinsAreProcessed) {
  const std::string packed = TARVEK_SOURCE_DIR "/../shared/data/td-fusion-emsl/TopDown.mzML.gz";
  if (!fs::exists(packed)) GTEST_SKIP() << "needs the real runs in ../shared/data";
  const TemporaryDirectory directory;
  const std::string input = directory / "TopDown.mzML";
  WriteFile(input, Unpacked(packed));
  EXPECT_EQ(Check({input, "-c", "5t18"}).Findings(false), Warnings{"warning mass-limit"});
  const CheckResult result = Check({input});
  std::string advice;
  for (const auto& finding : result.m_report.at("findings"))
    if (finding.at("code") == "charge-range") advice = finding.at("advice");
  const std::string start = "Run tarvek with -c ";
  ASSERT_EQ(advice.rfind(start, 0), 0U) << advice;
  const std::string range = advice.substr(
      start.size(), advice.find_first_not_of("-0123456789t", start.size()) - start.size());
  Process(input, directory / "out", {"-c", range});
  EXPECT_TRUE(fs::exists(directory / "out/TopDown.csv")) << range;
  EXPECT_EQ(Check({input, "-c", range}).Findings(false), Warnings()) << range;
}

}  // namespace
}  // namespace tarvek::tools::test
