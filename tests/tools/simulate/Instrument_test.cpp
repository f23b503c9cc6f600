#include "simulate/Instrument.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace tarvek::tools {
namespace {

constexpr Analyser kOrbitrap{false, 60000.0};
constexpr Analyser kIonTrap{true, 0.0};

/// Long enough that no peak here is near the detection limit, and without noise peaks.
constexpr Exposure kLong{1e6, 0.0, 0.0, 350.0, 1500.0};

std::vector<Centroid> MeasureOnce(const std::vector<Emission>& emissions, const Analyser& analyser,
                                  const Exposure& exposure) {
  Random random(5);
  std::vector<Centroid> centroids;
  Measure(emissions, analyser, exposure, random, centroids);
  return centroids;
}

/// n equal peaks a unit of m/z apart.
std::vector<Emission> Comb(std::size_t n, double current) {
  std::vector<Emission> emissions;
  for (std::size_t i = 0; i < n; ++i)
    emissions.push_back({400.0 + static_cast<double>(i), current, 0, 0});
  return emissions;
}

double ErrorPpm(const std::vector<Centroid>& comb) {
  double sum = 0.0;
  for (const Centroid& peak : comb) {
    const double error_ppm = (peak.m_mz - std::round(peak.m_mz)) / peak.m_mz * 1e6;
    sum += error_ppm * error_ppm;
  }
  return std::sqrt(sum / static_cast<double>(comb.size()));
}

TEST(PeakWidth, FollowsTheResolvingPowerAtTheReference) {
  EXPECT_NEAR(kOrbitrap.PeakWidth(400.0), 400.0 / 60000.0, 1e-12);
}

// At four times the m/z half the resolving power.
TEST(PeakWidth, GrowsAsResolvingPowerFallsWithTheRoot) {
  EXPECT_NEAR(kOrbitrap.PeakWidth(1600.0), 1600.0 / 30000.0, 1e-12);
}

TEST(PeakWidth, OfAnIonTrapIsTheSameEverywhere) {
  EXPECT_EQ(kIonTrap.PeakWidth(400.0), kIonTrap.PeakWidth(1600.0));
}

// (500.0000 * 100 + 500.0050 * 300) / 400
TEST(Measure, MergesIonsNearerThanAPeakWidthIntoTheirWeightedMean) {
  const auto peaks = MeasureOnce({{500.0, 100.0, 0, 0}, {500.005, 300.0, 1, 2}}, kOrbitrap, kLong);
  ASSERT_EQ(peaks.size(), 1u);
  EXPECT_NEAR(peaks[0].m_mz, 500.00375, 1e-3);
  EXPECT_NEAR(peaks[0].m_intensity, 400.0, 60.0);
}

TEST(Measure, AMergedPeakIsNamedAfterItsLargestPart) {
  const auto peaks = MeasureOnce({{500.0, 100.0, 0, 0}, {500.005, 300.0, 1, 2}}, kOrbitrap, kLong);
  ASSERT_EQ(peaks.size(), 1u);
  EXPECT_EQ(peaks[0].m_source, 1);
  EXPECT_EQ(peaks[0].m_isotope, 2);
}

TEST(Measure, KeepsIonsApartThatAreResolved) {
  EXPECT_EQ(MeasureOnce({{500.0, 100.0, 0, 0}, {500.02, 300.0, 1, 0}}, kOrbitrap, kLong).size(),
            2u);
}

// The width is 0.0093: equal peaks 0.012 apart are resolved, a peak a thousand times smaller is
// not.
TEST(Measure, ALargePeakHidesAFarSmallerNeighbour) {
  EXPECT_EQ(MeasureOnce({{500.0, 1e5, 0, 0}, {500.012, 1e5, 1, 0}}, kOrbitrap, kLong).size(), 2u);
  EXPECT_EQ(MeasureOnce({{500.0, 1e5, 0, 0}, {500.012, 1e2, 1, 0}}, kOrbitrap, kLong).size(), 1u);
}

TEST(Measure, AnIonTrapMergesWhatAnOrbitrapResolves) {
  EXPECT_EQ(MeasureOnce({{500.0, 100.0, 0, 0}, {500.2, 300.0, 1, 0}}, kIonTrap, kLong).size(), 1u);
}

TEST(Measure, DropsWhatIsBelowTheDetectionLimit) {
  const double limit = DetectionLimit(kOrbitrap, 1.0);
  const auto peaks = MeasureOnce({{500.0, 0.2 * limit, 0, 0}, {600.0, 10.0 * limit, 1, 0}},
                                 kOrbitrap, {1.0, 0.0, 0.0, 350.0, 1500.0});
  ASSERT_EQ(peaks.size(), 1u);
  EXPECT_EQ(peaks[0].m_source, 1);
}

TEST(Measure, NoPeakIsBelowTheDetectionLimit) {
  const double limit = DetectionLimit(kOrbitrap, 1.0);
  for (const Centroid& peak :
       MeasureOnce(Comb(500, limit), kOrbitrap, {1.0, 0.0, 50.0, 350.0, 900.0}))
    EXPECT_GE(peak.m_intensity, limit);
}

TEST(DetectionLimit, FallsWithTheInjectionTime) {
  EXPECT_NEAR(DetectionLimit(kOrbitrap, 0.01), 10.0 * DetectionLimit(kOrbitrap, 0.1), 1e-6);
}

TEST(Measure, MzErrorsOfWeakPeaksAreLarger) {
  const double limit = DetectionLimit(kOrbitrap, 1.0);
  const Exposure second{1.0, 0.0, 0.0, 350.0, 1500.0};
  const double weak = ErrorPpm(MeasureOnce(Comb(800, 2.0 * limit), kOrbitrap, second));
  const double strong = ErrorPpm(MeasureOnce(Comb(800, 1000.0 * limit), kOrbitrap, second));
  EXPECT_GT(weak, 3.0 * strong);
  EXPECT_LT(weak, 5.0);
}

TEST(Measure, TheCalibrationShiftsAllPeaks) {
  const auto peaks = MeasureOnce(Comb(200, 1e3), kOrbitrap, {1e6, 20.0, 0.0, 350.0, 1500.0});
  for (const Centroid& peak : peaks)
    EXPECT_NEAR((peak.m_mz / std::round(peak.m_mz) - 1.0) * 1e6, 20.0, 3.0);
}

Exposure AsRealRuns() {
  Exposure exposure{1.0, 0.0, 0.0, 350.0, 1500.0};
  exposure.m_realism = 1.0;
  return exposure;
}

// At 4 limits 0.5 exp(-3 / 1.5) = 6.8 % of the peaks, a little more as their heights scatter.
TEST(RealisticMeasure, DropsPeaksNearTheLimit) {
  const double limit = DetectionLimit(kOrbitrap, 1.0);
  const auto kept = [&](double limits) {
    return static_cast<double>(
        MeasureOnce(Comb(1000, limits * limit), kOrbitrap, AsRealRuns()).size());
  };
  EXPECT_NEAR(kept(4.0), 932.0, 40.0);
  EXPECT_LT(kept(2.0), 850.0);
  EXPECT_GT(kept(20.0), 995.0);
}

// A quarter larger.
TEST(RealisticMeasure, HasLargerErrorsOfMz) {
  const double limit = DetectionLimit(kOrbitrap, 1.0);
  const auto usual =
      MeasureOnce(Comb(1000, 30.0 * limit), kOrbitrap, {1.0, 0.0, 0.0, 350.0, 1500.0});
  const auto real = MeasureOnce(Comb(1000, 30.0 * limit), kOrbitrap, AsRealRuns());
  EXPECT_NEAR(ErrorPpm(real) / ErrorPpm(usual), 1.25, 0.1);
}

// Twice 0.03 far above the limit.
TEST(RealisticMeasure, HasLargerErrorsOfIntensity) {
  const double current = 1e5 * DetectionLimit(kOrbitrap, 1.0);
  double square = 0.0;
  const auto peaks = MeasureOnce(Comb(1000, current), kOrbitrap, AsRealRuns());
  for (const Centroid& peak : peaks) square += std::pow(peak.m_intensity / current - 1.0, 2.0);
  EXPECT_NEAR(std::sqrt(square / static_cast<double>(peaks.size())), 0.06, 0.006);
}

TEST(Measure, AddsNoisePeaksInTheirRange) {
  const auto peaks = MeasureOnce({}, kOrbitrap, {1.0, 0.0, 400.0, 350.0, 1500.0});
  EXPECT_NEAR(static_cast<double>(peaks.size()), 400.0, 100.0);
  EXPECT_GE(peaks.front().m_mz, 350.0);
  EXPECT_LE(peaks.back().m_mz, 1500.0);
  for (const Centroid& peak : peaks) EXPECT_EQ(peak.m_source, kNoSource);
}

TEST(Measure, PeaksAscendAndNoTwoAreNearerThanAPeakWidth) {
  const auto peaks = MeasureOnce(Comb(300, 1e4), kOrbitrap, {1.0, 0.0, 5000.0, 350.0, 700.0});
  ASSERT_GT(peaks.size(), 1000u);
  for (std::size_t i = 1; i < peaks.size(); ++i)
    ASSERT_GE(peaks[i].m_mz - peaks[i - 1].m_mz, kOrbitrap.PeakWidth(peaks[i].m_mz));
}

TEST(Measure, NothingWithoutNoiseGivesNothing) {
  EXPECT_TRUE(MeasureOnce({}, kOrbitrap, kLong).empty());
}

}  // namespace
}  // namespace tarvek::tools
