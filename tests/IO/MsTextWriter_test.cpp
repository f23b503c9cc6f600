#include "MsTextWriter.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "MsTextReader.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

// 14 November 2026 was a Saturday.
constexpr LocalTime kTime = {2026, 11, 14, 23, 38, 5, 6};

std::vector<std::string> HeaderLines() {
  std::istringstream text(MsTextHeader(kTime));
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  return lines;
}

TEST(MsTextHeader, HoldsFiveLinesInTheirOrder) {
  const std::vector<std::string> lines = HeaderLines();
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(lines[0], "H\tCreationDate\tSat Nov 14 23:38:05 2026");
  EXPECT_EQ(lines[1], "H\tExtractor\tTarvek");
  EXPECT_EQ(lines[2], "H\tExtractorVersion\t2.0.8");
  EXPECT_TRUE(lines[3].starts_with("H\tComments\t") && lines[3].size() > 11) << lines[3];
  EXPECT_EQ(lines[4], "H\tDataType\tCentroided");
}

TEST(MsTextHeader, EndsWithALineFeed) {
  EXPECT_TRUE(MsTextHeader(kTime).ends_with("Centroided\n"));
}

TEST(MsTextHeader, IsSkippedByTheReaders) {
  const test::TemporaryDirectory directory;
  test::WriteFile(directory / "a.ms1", MsTextHeader(kTime) + "S\t3\t3\n100.5 7\n");
  MS1Spectrum scan;
  test::CaptureConsole([&] {
    Ms1TextReader reader(directory / "a.ms1", "r");
    ASSERT_TRUE(reader.ReadNext(scan));
  });
  EXPECT_EQ(scan.m_scan_no, 3);
  EXPECT_EQ(scan.m_peaks.size(), 1u);
}

TEST(MsTextHeader, IsNotWrittenToAFileThatIsRead) {
  const test::TemporaryDirectory directory;
  test::WriteFile(directory / "a.ms2", "S\t3\t3\n");
  test::CaptureConsole([&] { Ms2TextReader reader(directory / "a.ms2", "r"); });
  EXPECT_EQ(test::ReadFile(directory / "a.ms2"), "S\t3\t3\n");
}

// Mass with one proton: 2 * 650.32 - 1.007276 = 1299.632724.
TEST(AppendMsText, WritesAttributesAndDeclaredPrecursorsBeforeThePeaks) {
  MS2Spectrum scan;
  scan.m_scan_no = 1500;
  scan.m_precursor_scan = 1498;
  scan.m_activation_center = 650.32;
  scan.m_rt = 1234.5;
  scan.m_ion_injection_time = 12.75;
  scan.m_activation_type = "HCD";
  scan.m_instrument_type = "FTMS";
  scan.m_orig_precursors = {{650.32, -2}};
  scan.m_peaks = {{175.118952, 20431.54}};
  std::string text;
  AppendMsText(text, scan, {});
  EXPECT_EQ(text,
            "S\t1500\t1500\t650.32000\nI\tRetTime\t1234.5000\nI\tIonInjectionTime\t12.7500\n"
            "I\tInstrumentType\tFTMS\nI\tActivationType\tHCD\nI\tActivationCenter\t650.32000\n"
            "I\tPrecursorScan\t1498\nZ\t2\t1299.63272\n175.11895 20431.5\n");
}

TEST(AppendMsText, WritesAnUnknownChargeAsALineOfZeros) {
  MS2Spectrum scan;
  scan.m_orig_precursors = {{650.32, 0}};
  std::string text;
  AppendMsText(text, scan, {});
  EXPECT_NE(text.find("\nZ\t0\t0\n"), std::string::npos);
}

TEST(AppendMsText, GivesTheCentreOfAnIonWithoutMz) {
  MS2Spectrum scan;
  scan.m_activation_center = 500.25;
  scan.m_orig_precursors = {{0.0, 3}, {433.5, 1}};
  std::string text;
  AppendMsText(text, scan, {2, 0});
  EXPECT_TRUE(text.starts_with("S\t0\t0\t500.25\n")) << text;
  EXPECT_TRUE(text.ends_with("\nZ\t3\t0\nZ\t1\t433.50\n")) << text;
}

TEST(AppendMsText, WritesASurveyWithItsDigits) {
  MS1Spectrum scan;
  scan.m_scan_no = 7;
  scan.m_rt = 12.34567;
  scan.m_ion_injection_time = 1.5;
  scan.m_instrument_type = "ITMS";
  scan.m_peaks = {{400.123456, 100.66}};
  std::string text = "before\n";
  AppendMsText(text, scan, {3, 0});
  EXPECT_EQ(text,
            "before\nS\t7\t7\nI\tRetTime\t12.3457\nI\tIonInjectionTime\t1.5000\n"
            "I\tInstrumentType\tITMS\n400.123 101\n");
}

}  // namespace
}  // namespace tarvek
