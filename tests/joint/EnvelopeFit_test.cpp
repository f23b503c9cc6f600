#include "EnvelopeFit.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "PrecursorTestSupport.h"

namespace tarvek::joint {
namespace {

using test::Random;

constexpr EnvelopeColumn kFirst = {{0, 1, 2, -1, -1}, {0.5, 0.3, 0.2, 0.0, 0.0}};

TEST(EnvelopeFit, FindsTheAmplitudeOfOneEnvelope) {
  const std::vector<double> intensities = {50.0, 30.0, 20.0};
  EnvelopeFitResult fit;
  FitEnvelopes(intensities, std::span(&kFirst, 1), 1.0, 0.0, fit);
  ASSERT_EQ(fit.m_amplitudes.size(), 1u);
  EXPECT_NEAR(fit.m_amplitudes[0], 100.0, 1e-9);
  for (const double residual : fit.m_residuals) EXPECT_NEAR(residual, 0.0, 1e-9);
}

TEST(EnvelopeFit, SharesAPeakBetweenTwo) {
  const std::vector<EnvelopeColumn> columns = {kFirst,
                                               {{1, 3, -1, -1, -1}, {0.6, 0.4, 0.0, 0.0, 0.0}}};
  const std::vector<double> intensities = {50.0, 90.0, 20.0,
                                           40.0};  // 100 of the first and of the second
  EnvelopeFitResult fit;
  FitEnvelopes(intensities, columns, 1.0, 0.0, fit);
  EXPECT_NEAR(fit.m_amplitudes[0], 100.0, 0.5);
  EXPECT_NEAR(fit.m_amplitudes[1], 100.0, 0.5);
}

TEST(EnvelopeFit, PaysForPeaksThatAreNotThere) {
  EnvelopeColumn missing = kFirst;
  missing.m_lanes[0] = -1;  // the most intense one
  EnvelopeFitResult fit;
  FitEnvelopes(std::vector<double>{0.0, 30.0, 20.0}, std::span(&missing, 1), 1.0, 0.0, fit);
  // By hand: slope 30 x 0.3 / 31 + 20 x 0.2 / 21, curvature 0.09 / 31 + 0.04 / 21 + 0.25.
  EXPECT_NEAR(fit.m_amplitudes[0], (9.0 / 31 + 4.0 / 21) / (0.09 / 31 + 0.04 / 21 + 0.25), 1e-9);
}

TEST(EnvelopeFit, LeavesOutWhatIsNotWorthThePrice) {
  EnvelopeFitResult fit;
  // Slope by hand: 0.5 x 50/51 + 0.3 x 30/31 + 0.2 x 20/21 = 0.97.
  FitEnvelopes(std::vector<double>{50.0, 30.0, 20.0}, std::span(&kFirst, 1), 1.0, 0.98, fit);
  EXPECT_EQ(fit.m_amplitudes[0], 0.0);
  FitEnvelopes(std::vector<double>{50.0, 30.0, 20.0}, std::span(&kFirst, 1), 1.0, 0.96, fit);
  EXPECT_GT(fit.m_amplitudes[0], 0.0);
}

// The conditions of an optimum: slope 0 where the amplitude is free, not above 0 where the
// amplitude is 0.
TEST(EnvelopeFit, EndsWhereNoAmplitudeCanImprove) {
  Random random(9);
  for (int round = 0; round < 200; ++round) {
    std::vector<double> intensities;
    for (int i = 0; i < 12; ++i) intensities.push_back(random.Real(0.0, 100.0));
    std::vector<EnvelopeColumn> columns;
    for (int j = random.Int(1, 6); j > 0; --j) {
      EnvelopeColumn column;
      const int first = random.Int(0, 7);
      for (int i = 0; i < 5; ++i) {
        column.m_lanes[static_cast<std::size_t>(i)] = random.Chance(0.2) ? -1 : first + i;
        column.m_shares[static_cast<std::size_t>(i)] = random.Real(0.05, 0.35);
      }
      columns.push_back(column);
    }
    EnvelopeFitResult fit;
    constexpr double kNoise = 2.0;
    constexpr double kPrice = 0.3;
    FitEnvelopes(intensities, columns, kNoise, kPrice, fit);
    std::vector<double> residuals = intensities;
    for (std::size_t j = 0; j < columns.size(); ++j)
      for (std::size_t i = 0; i < kEnvelopePeaks; ++i)
        if (columns[j].m_lanes[i] >= 0)
          residuals[static_cast<std::size_t>(columns[j].m_lanes[i])] -=
              fit.m_amplitudes[j] * columns[j].m_shares[i];
    for (std::size_t k = 0; k < residuals.size(); ++k)
      EXPECT_NEAR(fit.m_residuals[k], residuals[k], 1e-9);
    for (std::size_t j = 0; j < columns.size(); ++j) {
      double slope = -kPrice;
      double curvature = 0.0;
      for (std::size_t i = 0; i < kEnvelopePeaks; ++i) {
        const double share = columns[j].m_shares[i];
        if (columns[j].m_lanes[i] < 0) {
          slope -= share * share * fit.m_amplitudes[j] / kNoise;
          curvature += share * share / kNoise;
        } else {
          const auto k = static_cast<std::size_t>(columns[j].m_lanes[i]);
          slope += share * residuals[k] / (intensities[k] + kNoise);
          curvature += share * share / (intensities[k] + kNoise);
        }
      }
      // In units of amplitude; overlapping envelopes settle slowly.
      if (fit.m_amplitudes[j] > 0.0)
        EXPECT_NEAR(slope / curvature, 0.0, 2.0);
      else
        EXPECT_LE(slope / curvature, 2.0);
    }
  }
}

}  // namespace
}  // namespace tarvek::joint
