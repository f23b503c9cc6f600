#include "PeakPicker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace tarvek::extractor {
namespace {

struct Gaussian {
  double m_mz;
  double m_height;
};

/// Samples of a sum of Gaussians on an even grid; below cut they are 0.
std::vector<Peak> Profile(const std::vector<Gaussian>& peaks, double first, double last,
                          double spacing, double sigma, double cut = 1.0) {
  std::vector<Peak> samples;
  for (double mz = first; mz <= last; mz += spacing) {
    double value = 0.0;
    for (const Gaussian& peak : peaks) {
      const double x = (mz - peak.m_mz) / sigma;
      value += peak.m_height * std::exp(-0.5 * x * x);
    }
    samples.push_back({mz, value < cut ? 0.0 : value});
  }
  return samples;
}

TEST(PickPeaks, FindsTheApexOfAGaussianBetweenSamples) {
  for (const double offset : {0.0, 0.0003, 0.0005, 0.0009}) {
    SCOPED_TRACE(offset);
    const auto peaks =
        PickPeaks(Profile({{500.0 + offset, 1000.0}}, 499.99, 500.01, 0.001, 0.002), false);
    ASSERT_EQ(peaks.size(), 1u);
    EXPECT_NEAR(peaks[0].m_mz, 500.0 + offset, 1e-9);
    EXPECT_NEAR(peaks[0].m_intensity, 1000.0, 1e-6);
  }
}

TEST(PickPeaks, FindsTheApexOnAnUnevenGrid) {
  std::vector<Peak> samples;
  for (const double x : {-0.004, -0.0027, -0.001, 0.0004, 0.0021, 0.0035})
    samples.push_back({500.0 + x, 1000.0 * std::exp(-0.5 * x * x / 4e-6)});
  const auto peaks = PickPeaks(samples, false);
  ASSERT_EQ(peaks.size(), 1u);
  EXPECT_NEAR(peaks[0].m_mz, 500.0, 1e-9);
}

TEST(PickPeaks, SeparatesTwoPeaksThatOverlap) {
  const std::vector<Gaussian> written = {{500.0, 1000.0}, {500.006, 400.0}};
  const auto peaks = PickPeaks(Profile(written, 499.98, 500.03, 0.001, 0.002), false);
  ASSERT_EQ(peaks.size(), 2u);
  // the second maximum of the sum, which the first peak's flank shifts
  const auto dense = Profile(written, 500.004, 500.008, 1e-6, 0.002);
  const auto top = std::ranges::max_element(dense, {}, &Peak::m_intensity);
  EXPECT_NEAR(peaks[1].m_mz, top->m_mz, 1e-4);  // a tenth of the spacing
}

TEST(PickPeaks, TakesASmallRippleOnATopForOnePeak) {
  const std::vector<Peak> samples = {{1.00, 10.0},  {1.01, 50.0}, {1.02, 100.0}, {1.03, 99.5},
                                     {1.04, 101.0}, {1.05, 50.0}, {1.06, 10.0}};
  EXPECT_EQ(PickPeaks(samples, false).size(), 1u);
}

TEST(PickPeaks, DropsALoneSampleBetweenZeros) {
  const std::vector<Peak> samples = {{1.00, 0.0}, {1.01, 50.0}, {1.02, 0.0}};
  EXPECT_TRUE(PickPeaks(samples, false).empty());
}

/// The samples of a profile above a threshold, as after a converter.
std::vector<Peak> Above(double threshold, std::vector<Peak> samples) {
  std::erase_if(samples, [&](const Peak& sample) { return sample.m_intensity <= threshold; });
  return samples;
}

TEST(PickPeaks, KeepsTheTipThatAThresholdLeft) {
  // five samples of the first peak, one of the second, five of the third
  const std::vector<Peak> samples = Above(
      30.0,
      Profile({{500.0, 100.0}, {500.0502, 31.0}, {500.1, 100.0}}, 499.95, 500.15, 0.001, 0.002));
  const auto peaks = PickPeaks(samples, false);
  ASSERT_EQ(peaks.size(), 3u);
  EXPECT_NEAR(peaks[0].m_mz, 500.0, 1e-9);
  EXPECT_NEAR(peaks[1].m_mz, 500.05, 1e-9);
  EXPECT_NEAR(peaks[1].m_intensity, 31.0, 0.2);
  EXPECT_NEAR(peaks[2].m_mz, 500.1, 1e-9);
}

TEST(PickPeaks, JoinsNoLoneSampleToTheNextStretch) {
  std::vector<Peak> samples = Above(0.0, Profile({{500.0, 1000.0}}, 499.98, 500.02, 0.001, 0.002));
  const std::vector<Peak> alone = {{450.0, 70.0}, {480.0, 900.0}, {499.9, 20.0}};
  samples.insert(samples.begin(), alone.begin(), alone.end());
  const auto peaks = PickPeaks(samples, false);
  ASSERT_EQ(peaks.size(), 4u);
  for (std::size_t i = 0; i < alone.size(); ++i) {
    EXPECT_EQ(peaks[i].m_mz, alone[i].m_mz);
    EXPECT_EQ(peaks[i].m_intensity, alone[i].m_intensity);
  }
  EXPECT_NEAR(peaks[3].m_mz, 500.0, 1e-9);
  EXPECT_NEAR(peaks[3].m_intensity, 1000.0, 1e-6);
}

TEST(PickPeaks, PicksTheSameWithoutZeros) {
  const auto samples = Profile({{500.0, 1e3}, {500.02, 50.0}, {500.0327, 4e4}, {500.08, 2.5}},
                               499.9, 500.2, 0.001, 0.002, 2.0);
  const auto peaks = PickPeaks(samples, false);
  const auto without = PickPeaks(Above(0.0, samples), false);
  ASSERT_EQ(peaks.size(), 4u);
  ASSERT_EQ(without.size(), 4u);
  for (std::size_t i = 0; i < peaks.size(); ++i) {
    EXPECT_EQ(without[i].m_mz, peaks[i].m_mz);
    EXPECT_EQ(without[i].m_intensity, peaks[i].m_intensity);
  }
}

TEST(PickPeaks, SeparatesPeaksBetweenWhichTheValleyWasRemoved) {
  const std::vector<Gaussian> written = {{500.0, 1000.0}, {500.0062, 400.0}};
  const auto samples = Profile(written, 499.98, 500.03, 0.001, 0.002);
  EXPECT_EQ(PickPeaks(Above(330.0, samples), false).size(), 2u);
}

TEST(PickPeaks, IsNoHigherThanHalfAboveTheHighestSample) {
  // ln 1000 = 6.9: the parabola rises to exp(6.9 / 8) = 2.4 times the samples
  std::vector<Peak> samples = {{499.998, 0.0}, {499.999, 0.0}, {500.000, 999.999},
                               {500.001, 1e3}, {500.002, 1.0}, {500.003, 0.0}};
  const auto peaks = PickPeaks(samples, false);
  ASSERT_EQ(peaks.size(), 1u);
  EXPECT_NEAR(peaks[0].m_mz, 500.0005, 1e-6);
  EXPECT_EQ(peaks[0].m_intensity, 1500.0);
}

TEST(PickPeaks, CutsWhereTheSpacingJumps) {
  // no zeros between two peaks far from each other
  std::vector<Peak> samples = Profile({{500.0, 1000.0}}, 499.996, 500.0045, 0.001, 0.002);
  const std::vector<Peak> more = Profile({{600.0, 500.0}}, 599.996, 600.0045, 0.001, 0.002);
  samples.insert(samples.end(), more.begin(), more.end());
  const auto peaks = PickPeaks(samples, false);
  ASSERT_EQ(peaks.size(), 2u);
  EXPECT_NEAR(peaks[0].m_mz, 500.0, 1e-9);
  EXPECT_NEAR(peaks[1].m_mz, 600.0, 1e-9);
}

TEST(PickPeaks, DropsNoiseWhereTheInstrumentDidNot) {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> noise(1.0, 3.0);
  std::vector<Peak> samples = Profile({{500.05, 1000.0}}, 500.0, 502.0, 0.001, 0.002, 0.0);
  for (Peak& sample : samples) sample.m_intensity += noise(random);
  const auto peaks = PickPeaks(samples, false);
  ASSERT_EQ(peaks.size(), 1u);
  EXPECT_NEAR(peaks[0].m_mz, 500.05, 1e-4);
}

TEST(PickPeaks, KeepsWeakPeaksWhereTheInstrumentDroppedTheNoise) {
  std::vector<Gaussian> written;
  for (int i = 0; i < 40; ++i) written.push_back({500.0 + 0.05 * i, i % 4 == 0 ? 1e6 : 10.0});
  EXPECT_EQ(PickPeaks(Profile(written, 499.9, 502.2, 0.001, 0.002), false).size(), 40u);
}

TEST(PickPeaks, GivesNothingForNothing) { EXPECT_TRUE(PickPeaks({}, false).empty()); }

TEST(LookAt, KnowsProfilesByTheirSpacing) {
  EXPECT_EQ(LookAt(Profile({{500.0, 1e3}}, 499.9, 500.1, 0.001, 0.002), false), DataLook::kProfile);
  EXPECT_EQ(LookAt(Profile({{500.0, 1e3}}, 490.0, 510.0, 0.07, 0.2), true), DataLook::kProfile);
}

TEST(LookAt, KnowsCentroidsBySpacing) {
  std::mt19937 random(2);
  std::uniform_real_distribution<double> mz(300.0, 1500.0);
  std::vector<Peak> peaks;
  for (int i = 0; i < 2000; ++i) peaks.push_back({mz(random), 1.0});
  SortByMz(peaks);
  EXPECT_EQ(LookAt(peaks, false), DataLook::kCentroid);
}

TEST(LookAt, DoesNotTakeTheEnvelopeOfAHighChargeForAProfile) {
  std::vector<Peak> peaks;
  for (int i = 0; i < 100; ++i) peaks.push_back({900.0 + i * 1.003 / 25.0, 1.0});
  EXPECT_EQ(LookAt(peaks, false), DataLook::kCentroid);
}

TEST(LookAt, TakesFewSamplesForCentroids) {
  EXPECT_EQ(LookAt(std::vector<Peak>{{1.0, 1.0}, {1.00001, 2.0}, {1.00002, 1.0}}, false),
            DataLook::kCentroid);
}

}  // namespace
}  // namespace tarvek::extractor
