#include "PeakPicker.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace tarvek::extractor {
namespace {

constexpr double kMaxGapRatio = 3.0;
constexpr double kRipple = 0.98;  // a valley above this part of a maximum is no valley
constexpr double kFloorOverMedian = 3.0;

/// A stretch of samples that belong together, as indices [m_begin, m_end).
struct Stretch {
  std::size_t m_begin = 0;
  std::size_t m_end = 0;
};

double GapAfter(std::span<const Peak> samples, std::size_t i) {
  return samples[i + 1].m_mz - samples[i].m_mz;
}

std::vector<Stretch> FindStretches(std::span<const Peak> samples) {
  std::vector<Stretch> stretches;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    if (samples[i].m_intensity <= 0.0) {
      if (i > begin) stretches.push_back({begin, i});
      begin = i + 1;
      continue;
    }
    const bool has_gap =
        i >= begin + 2 && GapAfter(samples, i - 1) > kMaxGapRatio * GapAfter(samples, i - 2);
    if (!has_gap) continue;
    stretches.push_back({begin, i});
    begin = i;
  }
  if (samples.size() > begin) stretches.push_back({begin, samples.size()});
  return stretches;
}

// The maxima of a stretch that are no ripples, ascending.
std::vector<std::size_t> FindMaxima(std::span<const Peak> samples, Stretch stretch) {
  std::vector<std::size_t> maxima;
  double valley = 0.0;  // lowest since the last kept maximum
  for (std::size_t i = stretch.m_begin; i < stretch.m_end; ++i) {
    const double here = samples[i].m_intensity;
    valley = std::min(valley, here);
    const double before = i > stretch.m_begin ? samples[i - 1].m_intensity : 0.0;
    const double after = i + 1 < stretch.m_end ? samples[i + 1].m_intensity : 0.0;
    if (here <= before || here < after || stretch.m_end - stretch.m_begin < 2) continue;
    if (!maxima.empty()) {
      const double last = samples[maxima.back()].m_intensity;
      if (valley > kRipple * std::min(here, last)) {
        if (here > last) maxima.back() = i;
        valley = here > last ? here : valley;
        continue;
      }
    }
    maxima.push_back(i);
    valley = here;
  }
  return maxima;
}

Peak CentroidOf(std::span<const Peak> around, double height) {
  double weight = 0.0;
  double moment = 0.0;
  for (const Peak& sample : around) {
    weight += sample.m_intensity;
    moment += sample.m_intensity * sample.m_mz;
  }
  return {moment / weight, height};
}

// The apex of the parabola through (x, ln intensity) of three samples, x relative to the middle.
Peak ApexOf(const Peak& left, const Peak& middle, const Peak& right) {
  const double x0 = left.m_mz - middle.m_mz;
  const double x2 = right.m_mz - middle.m_mz;
  const double y0 = std::log(left.m_intensity / middle.m_intensity);
  const double y2 = std::log(right.m_intensity / middle.m_intensity);
  // y = a x^2 + b x, through (0, 0)
  const double a = (y2 / x2 - y0 / x0) / (x2 - x0);
  const double b = y0 / x0 - a * x0;
  if (!(a < 0.0)) return middle;  // a flat top
  const double apex = std::clamp(-b / (2.0 * a), x0, x2);
  return {middle.m_mz + apex, middle.m_intensity * std::exp((a * apex + b) * apex)};
}

Peak PeakAt(std::span<const Peak> samples, Stretch stretch, std::size_t i) {
  const bool has_left = i > stretch.m_begin && samples[i - 1].m_mz < samples[i].m_mz;
  const bool has_right = i + 1 < stretch.m_end && samples[i + 1].m_mz > samples[i].m_mz;
  if (has_left && has_right) return ApexOf(samples[i - 1], samples[i], samples[i + 1]);
  const std::size_t first = has_left ? i - 1 : i;
  const std::size_t last = has_right ? i + 1 : i;
  return CentroidOf(samples.subspan(first, last - first + 1), samples[i].m_intensity);
}

double NoiseFloor(std::span<const Peak> samples, std::size_t stretch_count) {
  // A thresholded spectrum falls into stretches of a peak or two each.
  constexpr std::size_t kLongStretch = 200;
  if (samples.size() < kLongStretch || samples.size() / stretch_count < kLongStretch) return 0.0;
  std::vector<double> intensities;
  intensities.reserve(samples.size());
  for (const Peak& sample : samples) intensities.push_back(sample.m_intensity);
  const auto middle = intensities.begin() + static_cast<std::ptrdiff_t>(intensities.size() / 2);
  std::ranges::nth_element(intensities, middle);
  return kFloorOverMedian * *middle;
}

}  // namespace

DataLook LookAt(std::span<const Peak> samples, bool is_ion_trap) {
  constexpr std::size_t kFewSamples = 5;  // of one profile peak
  constexpr double kTrapSpacing = 0.15;
  constexpr double kSpacingPerMz = 30e-6;
  constexpr double kSimilar = 1.5;  // two gaps differ by no more than this factor
  if (samples.size() < kFewSamples) return DataLook::kCentroid;
  std::size_t even = 0;
  for (std::size_t i = 1; i + 1 < samples.size(); ++i) {
    const double before = GapAfter(samples, i - 1);
    const double after = GapAfter(samples, i);
    const double limit = is_ion_trap ? kTrapSpacing : samples[i].m_mz * kSpacingPerMz;
    const bool is_close = before > 0.0 && after > 0.0 && before < limit && after < limit;
    if (is_close && before < kSimilar * after && after < kSimilar * before) ++even;
  }
  const double part = static_cast<double>(even) / static_cast<double>(samples.size() - 2);
  if (part >= 0.5) return DataLook::kProfile;
  return part < 0.2 ? DataLook::kCentroid : DataLook::kUnclear;
}

std::vector<Peak> PickPeaks(std::span<const Peak> samples) {
  const std::vector<Stretch> stretches = FindStretches(samples);
  if (stretches.empty()) return {};
  const double floor = NoiseFloor(samples, stretches.size());
  std::vector<Peak> peaks;
  for (const Stretch& stretch : stretches) {
    for (const std::size_t i : FindMaxima(samples, stretch)) {
      const Peak peak = PeakAt(samples, stretch, i);
      if (peak.m_intensity > floor) peaks.push_back(peak);
    }
  }
  return peaks;
}

}  // namespace tarvek::extractor
