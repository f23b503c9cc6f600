#include "calibrate/Mode.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace tarvek::tools {
namespace {

constexpr ModeDemands kDemands = {20.0, 2.0, 0.5};

/// The height of a triweight kernel of 4.55 ppm half-width over points, at a place.
double SlowDensity(const std::vector<double>& points, double place) {
  double sum = 0.0;
  for (const double point : points) {
    const double share = std::fabs(point - place) / 4.55;
    if (share < 1.0) sum += std::pow(1.0 - share * share, 3.0);
  }
  return sum;
}

std::vector<double> Crowd(unsigned seed, double centre, int count, int background) {
  std::mt19937 random(seed);
  std::normal_distribution<double> near(centre, 1.5);
  std::uniform_real_distribution<double> anywhere(-25.0, 25.0);
  std::vector<double> points;
  for (int i = 0; i < count; ++i) points.push_back(near(random));
  for (int i = 0; i < background; ++i) points.push_back(anywhere(random));
  return points;
}

PpmHistogram HistogramOf(const std::vector<double>& points) {
  PpmHistogram histogram;
  for (std::size_t i = 0; i < points.size(); ++i)
    histogram.Add(points[i], static_cast<std::uint32_t>(i * 7));
  return histogram;
}

TEST(PpmHistogram, AgreesWithASlowSearch) {
  for (unsigned seed = 0; seed < 12; ++seed) {
    SCOPED_TRACE(seed);
    const std::vector<double> points = Crowd(seed, -15.0 + 2.5 * seed, 150, 300);
    double best = -20.0;
    for (double place = -20.0; place <= 20.0; place += 0.01)
      if (SlowDensity(points, place) > SlowDensity(points, best)) best = place;
    EXPECT_NEAR(HistogramOf(points).FindMode()->m_ppm, best, 0.15);
  }
}

TEST(PpmHistogram, CountsTheCrowdWithoutItsBackground) {
  const Mode mode = *HistogramOf(Crowd(1, 3.0, 1000, 1000)).FindMode();
  EXPECT_NEAR(mode.m_matches, 1000.0, 80.0);
  EXPECT_NEAR(mode.m_spread_ppm, 1.5, 0.25);
  EXPECT_TRUE(IsSure(mode, kDemands));
}

TEST(PpmHistogram, HasNoModeWithoutDifferences) {
  PpmHistogram histogram;
  EXPECT_FALSE(histogram.FindMode());
  histogram.Add(25.0, 0);
  histogram.Add(-25.01, 0);
  histogram.Add(std::nan(""), 0);
  EXPECT_FALSE(histogram.FindMode());
}

TEST(PpmHistogram, TakesTheLowestOfEqualModes) {
  PpmHistogram histogram;
  for (std::uint32_t i = 0; i < 64; ++i) {
    histogram.Add(10.02, i);
    histogram.Add(-10.02, i);
  }
  const Mode mode = *histogram.FindMode();
  EXPECT_NEAR(mode.m_ppm, -10.02, 0.05);
  EXPECT_FALSE(IsSure(mode, kDemands)) << "it has a rival";
}

TEST(PpmHistogram, IsNotSureOfABackground) {
  for (unsigned seed = 0; seed < 20; ++seed)
    EXPECT_FALSE(IsSure(*HistogramOf(Crowd(seed, 0.0, 0, 2000)).FindMode(), kDemands)) << seed;
}

TEST(PpmHistogram, IsNotSureOfACrowdAtTheEndOfTheRange) {
  EXPECT_TRUE(IsSure(*HistogramOf(Crowd(1, 19.0, 500, 100)).FindMode(), kDemands));
  EXPECT_FALSE(IsSure(*HistogramOf(Crowd(1, 22.0, 500, 100)).FindMode(), kDemands));
}

TEST(PpmHistogram, IsNotSureWhenScansDisagree) {
  PpmHistogram histogram;
  for (std::uint32_t i = 0; i < 320; ++i)
    histogram.Add(i % 16 < 8 ? -2.6 : 2.6, i);  // half of the scans 5.2 ppm from the others
  EXPECT_GT(histogram.FindMode()->m_error_ppm, 0.5);
}

}  // namespace
}  // namespace tarvek::tools
