// tests/extractor/NaivePicker.h: a slow, literal implementation of the rules of PeakPicker.h.
// Does:     computes everything again for every question; keeps the origin of each peak.
// Throws:   nothing but std::bad_alloc.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>
#include <vector>

#include "SpectrumRecords.h"

namespace tarvek::extractor::test {

struct NaivePeak {
  Peak m_peak;
  std::size_t m_highest = 0;  // index of its highest sample
  std::size_t m_first = 0;    // of its stretch
  std::size_t m_last = 0;
};

class NaivePicker {
 public:
  NaivePicker(std::span<const Peak> samples, bool is_ion_trap)
      : m_samples(samples.begin(), samples.end()), m_is_ion_trap(is_ion_trap) {
    for (std::size_t i = 1; i + 1 < m_samples.size(); ++i) {
      const double limit = m_is_ion_trap ? 0.15 : 100e-6 * m_samples[i].m_mz;
      const double before = Distance(i - 1, i);
      const double after = Distance(i, i + 1);
      if (before >= limit || after >= limit || !Similar(before, after)) continue;
      m_regular_at.push_back(i);
      m_regular.push_back((before + after) / 2.0 / m_samples[i].m_mz);
    }
    for (std::size_t i = 0; i < m_samples.size(); ++i)
      m_stretch.push_back(i > 0 && Continues(i) ? m_stretch.back() : i);
  }

  /// Index of the first sample of the stretch of sample i.
  [[nodiscard]] std::size_t FirstOf(std::size_t i) const { return m_stretch[i]; }
  [[nodiscard]] std::size_t LastOf(std::size_t i) const {
    while (i + 1 < m_samples.size() && m_stretch[i + 1] == m_stretch[i]) ++i;
    return i;
  }
  [[nodiscard]] bool IsZero(std::size_t i) const { return m_samples[i].m_intensity <= 0.0; }
  [[nodiscard]] bool IsSpike(std::size_t i) const {
    if (FirstOf(i) != LastOf(i) || i == 0 || i + 1 == m_samples.size()) return false;
    const double near = 1.75 * ExpectedAt(i);
    return IsZero(i - 1) && IsZero(i + 1) && Distance(i - 1, i) <= near &&
           Distance(i, i + 1) <= near;
  }

  [[nodiscard]] std::vector<NaivePeak> Pick() const {
    const double floor = Floor();
    std::vector<NaivePeak> peaks;
    for (std::size_t i = 0; i < m_samples.size(); ++i) {
      if (IsZero(i) || IsSpike(i) || !IsKeptMaximum(i)) continue;
      const Peak peak = At(i);
      if (peak.m_intensity > floor) peaks.push_back({peak, i, FirstOf(i), LastOf(i)});
    }
    return peaks;
  }

 private:
  static bool Similar(double one, double other) {
    return std::max(one, other) < 1.5 * std::min(one, other);
  }
  [[nodiscard]] double Distance(std::size_t i, std::size_t j) const {
    return m_samples[j].m_mz - m_samples[i].m_mz;
  }
  [[nodiscard]] double Height(std::size_t i) const { return m_samples[i].m_intensity; }

  [[nodiscard]] double ExpectedAt(std::size_t i) const {
    if (m_regular.size() < 4) return Smallest();
    std::size_t first = 0;
    while (first < m_regular.size() && m_regular_at[first] <= i) ++first;
    for (int k = 0; k < 8 && first > 0; ++k) --first;
    while (first > 0 && m_regular.size() - first < 16) --first;
    std::vector<double> near;
    for (std::size_t k = first; k < m_regular.size() && k < first + 16; ++k)
      near.push_back(m_regular[k]);
    std::ranges::sort(near);
    return near[1] * m_samples[i].m_mz;
  }
  [[nodiscard]] double Smallest() const {
    double smallest = HUGE_VAL;
    for (std::size_t i = 1; i < m_samples.size(); ++i)
      if (Distance(i - 1, i) > 0.0) smallest = std::min(smallest, Distance(i - 1, i));
    return smallest;
  }

  // Whether sample i belongs to the same stretch as the one before.
  [[nodiscard]] bool Continues(std::size_t i) const {
    if (IsZero(i) || IsZero(i - 1)) return false;
    const double gap = Distance(i - 1, i);
    double smallest = HUGE_VAL;
    for (std::size_t k = m_stretch[i - 1]; k + 1 < i; ++k)
      if (Distance(k, k + 1) < smallest) smallest = Distance(k, k + 1);
    if (smallest < HUGE_VAL && gap <= 1.5 * smallest) return true;
    return gap <= 1.75 * ExpectedAt(i - 1);
  }

  [[nodiscard]] bool IsMaximum(std::size_t i) const {
    const bool above_left = i == FirstOf(i) || Height(i - 1) < Height(i);
    return above_left && (i == LastOf(i) || Height(i + 1) <= Height(i));
  }
  // Removes ripples from left to right until i is decided.
  [[nodiscard]] bool IsKeptMaximum(std::size_t i) const {
    std::vector<std::size_t> maxima;
    for (std::size_t k = FirstOf(i); k <= LastOf(i); ++k)
      if (IsMaximum(k)) maxima.push_back(k);
    for (std::size_t k = 0; k + 1 < maxima.size();) {
      const std::size_t one = maxima[k];
      const std::size_t other = maxima[k + 1];
      double valley = Height(one);
      for (std::size_t j = one; j <= other; ++j) valley = std::min(valley, Height(j));
      if (valley <= 0.98 * std::min(Height(one), Height(other)))
        ++k;
      else
        maxima.erase(maxima.begin() +
                     static_cast<std::ptrdiff_t>(Height(other) > Height(one) ? k : k + 1));
    }
    return std::ranges::find(maxima, i) != maxima.end();
  }

  [[nodiscard]] Peak At(std::size_t i) const {
    double left = i > FirstOf(i) ? Distance(i - 1, i) : 0.0;
    double right = i < LastOf(i) ? Distance(i, i + 1) : 0.0;
    const bool both = left > 0.0 && right > 0.0;
    const bool drop_left = both && left >= 1.5 * right;
    const bool drop_right = both && right >= 1.5 * left;
    if (drop_left) left = 0.0;
    if (drop_right) right = 0.0;
    if (left > 0.0 && right > 0.0) return Apex(i);
    double mz = m_samples[i].m_mz;
    if (left > 0.0) mz -= left * Height(i - 1) / (Height(i - 1) + Height(i));
    if (right > 0.0) mz += right * Height(i + 1) / (Height(i + 1) + Height(i));
    return {mz, Height(i)};
  }
  // Newton's form of the parabola through (0, y0), (x1, y1), (x2, y2), from the left sample on.
  [[nodiscard]] Peak Apex(std::size_t i) const {
    const double x1 = Distance(i - 1, i);
    const double x2 = Distance(i - 1, i + 1);
    const double y0 = std::log(Height(i - 1));
    const double y1 = std::log(Height(i));
    const double y2 = std::log(Height(i + 1));
    const double slope = (y1 - y0) / x1;
    const double curve = ((y2 - y1) / (x2 - x1) - slope) / x2;
    const double apex = x1 / 2.0 - slope / (2.0 * curve);
    const double top = y0 + slope * apex + curve * apex * (apex - x1);
    return {m_samples[i - 1].m_mz + apex, std::min(std::exp(top), 1.5 * Height(i))};
  }

  [[nodiscard]] double Floor() const {
    std::size_t stretches = 0;
    std::vector<double> heights;
    for (std::size_t i = 0; i < m_samples.size(); ++i) {
      if (!IsZero(i) && FirstOf(i) == i) ++stretches;
      heights.push_back(Height(i));
    }
    if (stretches == 0 || heights.size() < 200 || heights.size() / stretches < 200) return 0.0;
    std::ranges::sort(heights);
    return 3.0 * heights[heights.size() / 2];
  }

  std::vector<Peak> m_samples;
  bool m_is_ion_trap;
  std::vector<std::size_t> m_regular_at;  // the sample between two regular gaps
  std::vector<double> m_regular;          // as a part of m/z
  std::vector<std::size_t> m_stretch;     // first sample of the stretch of each
};

}  // namespace tarvek::extractor::test
