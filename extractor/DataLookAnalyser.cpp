#include "DataLookAnalyser.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace tarvek::extractor {
namespace {

constexpr std::size_t kMaxPeaks = 5000;  // of one spectrum
constexpr double kIsotopeGap = 1.00335;  // Th, 13C - 12C

/// The distance of isotope pairs at one charge and the windows around it, in Th.
struct PairWindow {
  double m_distance;
  double m_narrow;
  double m_wide;
};

constexpr std::array<PairWindow, 5> kPairWindows = {{{kIsotopeGap, 0.004, 0.1},
                                                     {kIsotopeGap / 2, 0.003, 0.08},
                                                     {kIsotopeGap / 3, 0.003, 0.04},
                                                     {kIsotopeGap / 4, 0.003, 0.03},
                                                     {kIsotopeGap / 5, 0.003, 0.02}}};

double GapBefore(std::span<const Peak> peaks, std::size_t i) {
  return peaks[i].m_mz - peaks[i - 1].m_mz;
}

/// Counts the samples with neighbours at nearly the same close distance on both sides.
SpacingCounts CountSteps(std::span<const Peak> samples) {
  constexpr double kWidest = 0.15;  // Th, of an ion trap
  constexpr double kFinePerMz = 30e-6;
  constexpr double kFine = 0.03;  // Th, half the step of ion traps
  constexpr double kSimilar = 1.5;
  SpacingCounts counts;
  for (std::size_t i = 1; i + 1 < samples.size(); ++i) {
    const double before = GapBefore(samples, i);
    const double after = GapBefore(samples, i + 1);
    const bool is_close = before > 0.0 && after > 0.0 && before < kWidest && after < kWidest;
    if (!is_close || before > kSimilar * after || after > kSimilar * before) continue;
    const bool is_fine = std::max(before, after) < std::max(kFine, kFinePerMz * samples[i].m_mz);
    ++(is_fine ? counts.m_fine_steps : counts.m_coarse_steps);
  }
  return counts;
}

// A 32-bit number differs from the decimal that it stands for by up to 3e-8 of its size.
bool IsBlunt(double mz) {
  const double tenths = mz * 10.0;
  return std::fabs(tenths - std::round(tenths)) <= 1e-7 * tenths;
}

void CountGaps(std::span<const Peak> peaks, SpacingCounts& counts) {
  constexpr double kWidest = 1.5;
  constexpr double kClose = 0.1;
  counts.m_peaks += static_cast<std::int64_t>(peaks.size());
  counts.m_blunt_peaks +=
      std::ranges::count_if(peaks, [](const Peak& peak) { return IsBlunt(peak.m_mz); });
  for (std::size_t i = 1; i < peaks.size(); ++i) {
    const double gap = GapBefore(peaks, i);
    if (gap > 0.0 && gap < kWidest) ++counts.m_gaps;
    if (gap > 0.0 && gap < kClose) ++counts.m_close_gaps;
  }
}

void CountPairs(std::span<const Peak> peaks, const PairWindow& window, SpacingCounts& counts) {
  std::size_t first = 0;
  std::int64_t pairs = 0;
  for (const Peak& peak : peaks) {
    const double target = peak.m_mz + window.m_distance;
    while (first < peaks.size() && peaks[first].m_mz < target - window.m_wide) ++first;
    for (std::size_t i = first; i < peaks.size(); ++i) {
      const double error = std::fabs(peaks[i].m_mz - target);
      if (peaks[i].m_mz > target && error > window.m_wide) break;
      ++pairs;
      if (error <= window.m_narrow) ++counts.m_true_pairs;
    }
  }
  counts.m_pairs += pairs;
  counts.m_chance_pairs += static_cast<double>(pairs) * window.m_narrow / window.m_wide;
}

// Whether there are far more true pairs than by chance.
bool ShowsIsotopes(const SpacingCounts& counts) {
  constexpr double kExcess = 2.0;
  constexpr double kDeviations = 6.0;
  const auto pairs = static_cast<double>(counts.m_true_pairs);
  return pairs >= 10.0 && pairs > kExcess * counts.m_chance_pairs &&
         pairs > counts.m_chance_pairs + kDeviations * std::sqrt(counts.m_chance_pairs + 1.0);
}

Resolution ResolutionOfProfiles(const SpacingCounts& counts) {
  constexpr double kMost = 0.8;
  const double steps = static_cast<double>(counts.m_fine_steps + counts.m_coarse_steps);
  const double part = static_cast<double>(counts.m_fine_steps) / steps;
  if (part >= kMost) return Resolution::kHigh;
  return part <= 1.0 - kMost ? Resolution::kUnit : Resolution::kUnclear;
}

Resolution ResolutionOfCentroids(const SpacingCounts& counts) {
  constexpr std::int64_t kManyPeaks = 50;
  constexpr std::int64_t kManyGaps = 200;
  constexpr std::int64_t kManyClose = 20;
  constexpr double kCloseOfTraps = 0.001;  // of all gaps
  constexpr double kCloseOfOthers = 0.01;
  constexpr double kMost = 0.95;
  if (counts.m_peaks >= kManyPeaks &&
      static_cast<double>(counts.m_blunt_peaks) > kMost * static_cast<double>(counts.m_peaks))
    return Resolution::kUnit;
  const double close =
      static_cast<double>(counts.m_close_gaps) / std::max(1.0, static_cast<double>(counts.m_gaps));
  if (counts.m_close_gaps >= kManyClose && close >= kCloseOfOthers) return Resolution::kHigh;
  if (ShowsIsotopes(counts)) return Resolution::kHigh;
  return counts.m_gaps >= kManyGaps && close < kCloseOfTraps ? Resolution::kUnit
                                                             : Resolution::kUnclear;
}

}  // namespace

SpacingCounts& SpacingCounts::operator+=(const SpacingCounts& other) {
  m_fine_steps += other.m_fine_steps;
  m_coarse_steps += other.m_coarse_steps;
  m_peaks += other.m_peaks;
  m_blunt_peaks += other.m_blunt_peaks;
  m_gaps += other.m_gaps;
  m_close_gaps += other.m_close_gaps;
  m_pairs += other.m_pairs;
  m_true_pairs += other.m_true_pairs;
  m_chance_pairs += other.m_chance_pairs;
  return *this;
}

SpacingCounts CountSpacings(std::span<const Peak> peaks) {
  constexpr double kPartOfProfiles = 0.4;  // the evenly spaced part
  peaks = peaks.first(std::min(peaks.size(), kMaxPeaks));
  SpacingCounts counts = CountSteps(peaks);
  const auto steps = static_cast<double>(counts.m_fine_steps + counts.m_coarse_steps);
  if (steps > 0.0 && steps >= kPartOfProfiles * static_cast<double>(peaks.size())) return counts;
  counts = {};
  CountGaps(peaks, counts);
  for (const PairWindow& window : kPairWindows) CountPairs(peaks, window, counts);
  return counts;
}

Resolution ResolutionOf(const SpacingCounts& counts) {
  constexpr std::int64_t kManySteps = 100;
  const std::int64_t steps = counts.m_fine_steps + counts.m_coarse_steps;
  return steps >= kManySteps ? ResolutionOfProfiles(counts) : ResolutionOfCentroids(counts);
}

void ResolutionLook::Add(std::span<const Peak> peaks) {
  const SpacingCounts counts = CountSpacings(peaks);
  const Resolution resolution = ResolutionOf(counts);
  m_high += resolution == Resolution::kHigh ? 1 : 0;
  m_unit += resolution == Resolution::kUnit ? 1 : 0;
  m_counts += counts;
}

Resolution ResolutionLook::Verdict() const {
  constexpr double kFew = 0.2;
  const auto clear = static_cast<double>(m_high + m_unit);
  const bool is_mixed =
      static_cast<double>(m_high) > kFew * clear && static_cast<double>(m_unit) > kFew * clear;
  return is_mixed ? Resolution::kUnclear : ResolutionOf(m_counts);
}

}  // namespace tarvek::extractor
