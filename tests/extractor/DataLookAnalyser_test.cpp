#include "DataLookAnalyser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace tarvek::extractor {
namespace {

constexpr unsigned kSeed = 20261122;
using Peaks = std::vector<Peak>;

Peaks Sorted(Peaks peaks) {
  SortByMz(peaks);
  return peaks;
}

/// Isotope envelopes at random m/z and charges, with errors of mz_error (Th, standard deviation).
Peaks Envelopes(int count, int max_charge, double mz_error, std::mt19937& random) {
  std::uniform_real_distribution<double> place(200.0, 1500.0);
  std::uniform_int_distribution<int> charge_of(1, max_charge);
  std::normal_distribution<double> error(0.0, mz_error);
  Peaks peaks;
  for (int i = 0; i < count; ++i) {
    const double mz = place(random);
    const int charge = charge_of(random);
    for (int isotope = 0; isotope < 4; ++isotope)
      peaks.push_back({mz + isotope * 1.00335 / charge + error(random), 1000.0});
  }
  return Sorted(peaks);
}

/// Peaks as an ion trap sees them: those closer than half a mass unit merge.
Peaks Merged(const Peaks& peaks) {
  Peaks merged;
  for (const Peak& peak : peaks)
    if (merged.empty() || peak.m_mz - merged.back().m_mz > 0.5) merged.push_back(peak);
  return merged;
}

/// A Gaussian each 5 Th, sampled at spacing.
Peaks Profile(double spacing, double width) {
  Peaks samples;
  for (int i = 0; i < 40; ++i)
    for (double x = -3.0 * width; x <= 3.0 * width; x += spacing)
      samples.push_back({400.0 + 5.0 * i + x, 1e4 * std::exp(-x * x / (2.0 * width * width))});
  return samples;
}

Resolution VerdictOf(const std::vector<Peaks>& spectra) {
  ResolutionLook look;
  for (const Peaks& peaks : spectra) look.Add(peaks);
  return look.Verdict();
}

std::vector<Peaks> Spectra(int count, int envelopes, int max_charge, double mz_error) {
  std::mt19937 random(kSeed);
  std::vector<Peaks> spectra;
  for (int i = 0; i < count; ++i)
    spectra.push_back(Envelopes(envelopes, max_charge, mz_error, random));
  return spectra;
}

std::vector<Peaks> TrapSpectra(int count) {
  std::vector<Peaks> spectra = Spectra(count, 60, 2, 0.08);
  for (Peaks& peaks : spectra) peaks = Merged(peaks);
  return spectra;
}

TEST(ResolutionLook, TellsWellResolvedCentroidsByTheirIsotopes) {
  EXPECT_EQ(VerdictOf(Spectra(20, 15, 3, 0.001)), Resolution::kHigh);
  EXPECT_EQ(VerdictOf(Spectra(20, 15, 1, 0.001)), Resolution::kHigh);
}

TEST(ResolutionLook, TellsTrapCentroidsByDistancesAndScatter) {
  EXPECT_EQ(VerdictOf(TrapSpectra(20)), Resolution::kUnit);
}

TEST(ResolutionLook, TellsProfilesByTheirSamples) {
  EXPECT_EQ(VerdictOf({Profile(0.002, 0.006)}), Resolution::kHigh);
  EXPECT_EQ(VerdictOf({Profile(1.0 / 15, 0.25)}), Resolution::kUnit);
}

TEST(ResolutionLook, TellsMzWithOneDecimal) {
  std::vector<Peaks> spectra = Spectra(5, 20, 2, 0.001);
  for (Peaks& peaks : spectra) {
    for (Peak& peak : peaks) peak.m_mz = static_cast<float>(std::round(peak.m_mz * 10.0) / 10.0);
    peaks = Sorted(peaks);
  }
  EXPECT_EQ(VerdictOf(spectra), Resolution::kUnit);
}

TEST(ResolutionLook, SaysNothingOfLittleOrMixedData) {
  EXPECT_EQ(VerdictOf({}), Resolution::kUnclear);
  EXPECT_EQ(VerdictOf({Peaks{}, Peaks{{500.1234, 1.0}}}), Resolution::kUnclear);
  EXPECT_EQ(VerdictOf({{{300.1203, 1.0}, {411.5566, 2.0}, {512.4412, 1.0}}}), Resolution::kUnclear);
  std::vector<Peaks> mixed;
  for (int i = 0; i < 10; ++i) {
    mixed.push_back(Profile(0.002, 0.006));
    mixed.push_back(Profile(1.0 / 15, 0.25));
  }
  EXPECT_EQ(VerdictOf(mixed), Resolution::kUnclear);
}

// Every pair, one by one.
SpacingCounts SlowPairs(const Peaks& peaks) {
  const double narrow[] = {0.004, 0.003, 0.003, 0.003, 0.003};
  const double wide[] = {0.1, 0.08, 0.04, 0.03, 0.02};
  SpacingCounts counts;
  for (const Peak& a : peaks) {
    for (const Peak& b : peaks) {
      for (int charge = 1; charge <= 5; ++charge) {
        const double error = std::fabs(b.m_mz - (a.m_mz + 1.00335 / charge));
        if (error <= wide[charge - 1]) ++counts.m_pairs;
        if (error <= narrow[charge - 1]) ++counts.m_true_pairs;
      }
    }
  }
  return counts;
}

TEST(CountSpacings, AgreesWithEveryPairOneByOne) {
  std::mt19937 random(kSeed);
  for (int round = 0; round < 200; ++round) {
    const Peaks peaks = Envelopes(1 + round % 40, 1 + round % 5, 0.002, random);
    const SpacingCounts counts = CountSpacings(peaks);
    const SpacingCounts slow = SlowPairs(peaks);
    // at the edge of a window, rounding may decide
    EXPECT_NEAR(static_cast<double>(counts.m_pairs), static_cast<double>(slow.m_pairs), 1.0);
    EXPECT_NEAR(static_cast<double>(counts.m_true_pairs), static_cast<double>(slow.m_true_pairs),
                1.0);
  }
}

TEST(CountSpacings, CountsByHand) {
  // gaps 0.05, 0.95335 and 48.99665; the second peak is 1.00335 - 0.05 below the third, which is a
  // true pair of the first
  const Peaks peaks = {{500.0, 1.0}, {500.05, 1.0}, {501.00335, 1.0}, {550.0, 1.0}};
  const SpacingCounts counts = CountSpacings(peaks);
  EXPECT_EQ(counts.m_peaks, 4);
  EXPECT_EQ(counts.m_blunt_peaks, 2);
  EXPECT_EQ(counts.m_gaps, 2);
  EXPECT_EQ(counts.m_close_gaps, 1);
  EXPECT_EQ(counts.m_pairs, 2);
  EXPECT_EQ(counts.m_true_pairs, 1);
  EXPECT_NEAR(counts.m_chance_pairs, 2 * 0.04, 1e-12);
}

}  // namespace
}  // namespace tarvek::extractor
