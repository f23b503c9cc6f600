#include "PeakPreparation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace tarvek::extractor {
namespace {

using testing::ElementsAre;
using testing::FieldsAre;

struct Prepared {
  PreparedPeaks m_report;
  std::vector<Peak> m_peaks;
};

Prepared Prepare(std::vector<Peak> peaks, bool has_mobility_array) {
  ExtractedScan scan;
  scan.m_has_mobility_array = has_mobility_array;
  scan.m_mode = PeakMode::kCentroid;
  const PreparedPeaks report = PeakPreparation(5, 1).Prepare(scan, OutputScan(), peaks);
  return {report, peaks};
}

const std::vector<Peak> kRepeated = {{500.0, 3.0}, {400.0, 1.0}, {500.0, 4.0},
                                     {600.0, 0.5}, {500.0, 5.0}, {400.0, 2.0}};

TEST(PeakPreparation, SumsPeaksOfEqualMzOfAnIonMobilityFrame) {
  const Prepared prepared = Prepare(kRepeated, true);
  EXPECT_THAT(prepared.m_peaks,
              ElementsAre(FieldsAre(400.0, 3.0), FieldsAre(500.0, 12.0), FieldsAre(600.0, 0.5)));
  EXPECT_EQ(prepared.m_report.m_merged, 3u);
}

TEST(PeakPreparation, SumsNothingOfOtherSpectra) {
  const Prepared prepared = Prepare(kRepeated, false);
  EXPECT_EQ(prepared.m_peaks.size(), kRepeated.size());
  EXPECT_EQ(prepared.m_report.m_merged, 0u);
}

TEST(PeakPreparation, SumsOnlyWhatIsExactlyEqual) {
  const double next = std::nextafter(500.0, 501.0);
  const Prepared prepared = Prepare({{500.0, 1.0}, {next, 2.0}}, true);
  EXPECT_EQ(prepared.m_peaks.size(), 2u);
  EXPECT_EQ(prepared.m_report.m_merged, 0u);
  EXPECT_EQ(Prepare({}, true).m_report.m_merged, 0u);
}

// Each sample comes once for every mobility, with a part of the peak each time.
TEST(PeakPreparation, LooksAtTheSums) {
  std::vector<Peak> samples;
  for (int mobility = 0; mobility < 3; ++mobility)
    for (int i = -10; i <= 10; ++i)
      samples.push_back({500.0 + 0.001 * i, 100.0 * std::exp(-0.125 * i * i)});
  const Prepared prepared = Prepare(samples, true);
  EXPECT_EQ(prepared.m_report.m_merged, 42u);
  EXPECT_TRUE(prepared.m_report.m_is_picked);
  ASSERT_EQ(prepared.m_peaks.size(), 1u);
  EXPECT_NEAR(prepared.m_peaks[0].m_mz, 500.0, 1e-9);
  EXPECT_NEAR(prepared.m_peaks[0].m_intensity, 300.0, 1e-6);
  EXPECT_FALSE(Prepare(samples, false).m_report.m_is_picked);
}

}  // namespace
}  // namespace tarvek::extractor
