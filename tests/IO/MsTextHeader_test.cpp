#include "MsTextHeader.h"

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

}  // namespace
}  // namespace tarvek
