#include "PeakPicker.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace tarvek::extractor {
namespace {

constexpr double kHole = 1.75;    // times the expected spacing; a removed sample makes it 2
constexpr double kSimilar = 1.5;  // two gaps differ by no more than this factor
constexpr double kTrapSpacing = 0.15;
constexpr double kRipple = 0.98;  // a valley above this part of a maximum does not count
constexpr double kMaxHeightOverSample = 1.5;
constexpr double kFloorOverMedian = 3.0;

/// A stretch of samples that belong together, as indices [m_begin, m_end).
struct Stretch {
  std::size_t m_begin = 0;
  std::size_t m_end = 0;
};

double GapAfter(std::span<const Peak> samples, std::size_t i) {
  return samples[i + 1].m_mz - samples[i].m_mz;
}

bool AreSimilar(double one, double other) {
  return one < kSimilar * other && other < kSimilar * one;
}

/// The distance between samples where none was removed.
class ExpectedSpacing {
 public:
  ExpectedSpacing(std::span<const Peak> samples, bool is_ion_trap) : m_samples(samples) {
    constexpr double kSpacingPerMz = 100e-6;
    for (std::size_t i = 1; i + 1 < samples.size(); ++i) {
      const double before = GapAfter(samples, i - 1);
      const double after = GapAfter(samples, i);
      const double mz = samples[i].m_mz;
      const double limit = is_ion_trap ? kTrapSpacing : mz * kSpacingPerMz;
      if (std::max(before, after) < limit && AreSimilar(before, after))
        m_regular.push_back({i, 0.5 * (before + after) / mz});
    }
  }

  /// At the gap after sample i. Fast when i changes little between calls.
  double After(std::size_t i) {
    if (m_regular.size() < kFewRegular) return SmallestGap();
    while (m_next < m_regular.size() && m_regular[m_next].m_middle <= i) ++m_next;
    while (m_next > 0 && m_regular[m_next - 1].m_middle > i) --m_next;
    if (m_next != m_known_at) {
      m_known = SecondSmallestAround(m_next);
      m_known_at = m_next;
    }
    return m_known * m_samples[i].m_mz;
  }

 private:
  struct Regular {
    std::size_t m_middle;  // the sample between the two gaps
    double m_spacing_per_mz;
  };
  static constexpr std::size_t kAround = 16;
  static constexpr std::size_t kFewRegular = 4;

  // The second smallest, because the smallest may be an accident.
  [[nodiscard]] double SecondSmallestAround(std::size_t place) const {
    const std::size_t count = std::min(m_regular.size(), kAround);
    const std::size_t begin =
        std::min(place - std::min(place, kAround / 2), m_regular.size() - count);
    double smallest = m_regular[begin].m_spacing_per_mz;
    double second = std::numeric_limits<double>::infinity();
    for (std::size_t i = begin + 1; i < begin + count; ++i) {
      const double spacing = m_regular[i].m_spacing_per_mz;
      second = std::min(second, std::max(smallest, spacing));
      smallest = std::min(smallest, spacing);
    }
    return second;
  }

  double SmallestGap() {
    if (m_smallest == 0.0) {
      m_smallest = std::numeric_limits<double>::infinity();
      for (std::size_t i = 0; i + 1 < m_samples.size(); ++i)
        if (const double gap = GapAfter(m_samples, i); gap > 0.0)
          m_smallest = std::min(m_smallest, gap);
    }
    return m_smallest;
  }

  std::span<const Peak> m_samples;
  std::vector<Regular> m_regular;
  std::size_t m_next = 0;  // the first regular spacing after the last place
  std::size_t m_known_at = std::numeric_limits<std::size_t>::max();
  double m_known = 0.0;
  double m_smallest = 0.0;  // 0: not looked for
};

// The end of the stretch that begins with a sample that is not 0.
std::size_t EndOfStretch(std::span<const Peak> samples, std::size_t begin,
                         ExpectedSpacing& spacing) {
  double smallest = 0.0;
  std::size_t i = begin;
  for (; i + 1 < samples.size() && samples[i + 1].m_intensity > 0.0; ++i) {
    const double gap = GapAfter(samples, i);
    if (gap > kSimilar * smallest && gap > kHole * spacing.After(i)) break;
    smallest = i == begin ? gap : std::min(smallest, gap);
  }
  return i + 1;
}

std::vector<Stretch> FindStretches(std::span<const Peak> samples, ExpectedSpacing& spacing) {
  std::vector<Stretch> stretches;
  for (std::size_t i = 0; i < samples.size();) {
    if (samples[i].m_intensity <= 0.0) {
      ++i;
      continue;
    }
    stretches.push_back({i, EndOfStretch(samples, i, spacing)});
    i = stretches.back().m_end;
  }
  return stretches;
}

// The maxima of a stretch, without ripples, ascending.
std::vector<std::size_t> FindMaxima(std::span<const Peak> samples, Stretch stretch) {
  std::vector<std::size_t> maxima;
  double valley = 0.0;  // lowest since the last kept maximum
  for (std::size_t i = stretch.m_begin; i < stretch.m_end; ++i) {
    const double here = samples[i].m_intensity;
    valley = std::min(valley, here);
    const double before = i > stretch.m_begin ? samples[i - 1].m_intensity : 0.0;
    const double after = i + 1 < stretch.m_end ? samples[i + 1].m_intensity : 0.0;
    if (here <= before || here < after) continue;
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

double CentroidOf(const Peak& left, const Peak& right) {
  const double moment = left.m_intensity * left.m_mz + right.m_intensity * right.m_mz;
  return std::clamp(moment / (left.m_intensity + right.m_intensity), left.m_mz, right.m_mz);
}

// The apex of the parabola through (x, ln intensity) of three samples, x relative to the middle
// one, which is the highest. The apex is at most half way to a neighbour.
Peak ApexOf(const Peak& left, const Peak& middle, const Peak& right) {
  const double x0 = left.m_mz - middle.m_mz;
  const double x2 = right.m_mz - middle.m_mz;
  const double y0 = std::log(left.m_intensity / middle.m_intensity);
  const double y2 = std::log(right.m_intensity / middle.m_intensity);
  // y = a x^2 + b x, through (0, 0)
  const double a = (y2 / x2 - y0 / x0) / (x2 - x0);
  const double b = y0 / x0 - a * x0;
  if (!(a < 0.0) || !std::isfinite(b)) return middle;  // a flat top, or a neighbour of almost 0
  const double apex = std::clamp(-b / (2.0 * a), x0, x2);
  const double height = middle.m_intensity * std::exp((a * apex + b) * apex);
  return {middle.m_mz + apex,
          std::clamp(height, middle.m_intensity, kMaxHeightOverSample * middle.m_intensity)};
}

Peak PeakAt(std::span<const Peak> samples, Stretch stretch, std::size_t i) {
  const double left = i > stretch.m_begin ? GapAfter(samples, i - 1) : 0.0;
  const double right = i + 1 < stretch.m_end ? GapAfter(samples, i) : 0.0;
  const bool has_left = left > 0.0 && !(right > 0.0 && left >= kSimilar * right);
  const bool has_right = right > 0.0 && !(left > 0.0 && right >= kSimilar * left);
  if (has_left && has_right) return ApexOf(samples[i - 1], samples[i], samples[i + 1]);
  Peak peak = samples[i];
  if (has_left) peak.m_mz = CentroidOf(samples[i - 1], samples[i]);
  if (has_right) peak.m_mz = CentroidOf(samples[i], samples[i + 1]);
  return peak;
}

// Whether the only sample of a stretch is between zeros, without room for a removed one.
bool IsSpike(std::span<const Peak> samples, Stretch stretch, ExpectedSpacing& spacing) {
  const std::size_t i = stretch.m_begin;
  if (stretch.m_end - i > 1 || i == 0 || i + 1 == samples.size()) return false;
  const double limit = kHole * spacing.After(i);
  return samples[i - 1].m_intensity <= 0.0 && samples[i + 1].m_intensity <= 0.0 &&
         GapAfter(samples, i - 1) <= limit && GapAfter(samples, i) <= limit;
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
  constexpr double kSpacingPerMz = 30e-6;
  if (samples.size() < kFewSamples) return DataLook::kCentroid;
  std::size_t even = 0;
  for (std::size_t i = 1; i + 1 < samples.size(); ++i) {
    const double before = GapAfter(samples, i - 1);
    const double after = GapAfter(samples, i);
    const double limit = is_ion_trap ? kTrapSpacing : samples[i].m_mz * kSpacingPerMz;
    const bool is_close = before > 0.0 && after > 0.0 && before < limit && after < limit;
    if (is_close && AreSimilar(before, after)) ++even;
  }
  const double part = static_cast<double>(even) / static_cast<double>(samples.size() - 2);
  if (part >= 0.5) return DataLook::kProfile;
  return part < 0.2 ? DataLook::kCentroid : DataLook::kUnclear;
}

std::vector<Peak> PickPeaks(std::span<const Peak> samples, bool is_ion_trap) {
  ExpectedSpacing spacing(samples, is_ion_trap);
  const std::vector<Stretch> stretches = FindStretches(samples, spacing);
  if (stretches.empty()) return {};
  const double floor = NoiseFloor(samples, stretches.size());
  std::vector<Peak> peaks;
  for (const Stretch& stretch : stretches) {
    if (IsSpike(samples, stretch, spacing)) continue;
    for (const std::size_t i : FindMaxima(samples, stretch)) {
      const Peak peak = PeakAt(samples, stretch, i);
      if (peak.m_intensity > floor) peaks.push_back(peak);
    }
  }
  return peaks;
}

}  // namespace tarvek::extractor
