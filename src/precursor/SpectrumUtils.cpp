#include "SpectrumUtils.h"

#include <algorithm>
#include <cmath>

#include "Check.h"

namespace tarvek {
namespace {

constexpr const char* kModule = "SpectrumUtils";

// Half-width in m/z around the activation centre in which to find the reference intensity, and the
// share of it that a peak must reach.
constexpr double kLocalHalfWidthMz = 1.05;
constexpr double kLocalShare = 0.02;

// Index of the first peak above mz.
std::size_t FirstAbove(PeakSpan peaks, double mz) {
  const auto first = std::ranges::upper_bound(peaks, mz, {}, &Peak::m_mz);
  return static_cast<std::size_t>(first - peaks.begin());
}

double HighestIntensity(PeakSpan peaks) {
  double highest = 0.0;
  for (const Peak& peak : peaks) highest = std::max(highest, peak.m_intensity);
  return highest;
}

// Peaks that compare equal here are identical, so an unstable sort loses no order.
bool ByMzThenIntensity(const Peak& a, const Peak& b) {
  return a.m_mz != b.m_mz ? a.m_mz < b.m_mz : a.m_intensity < b.m_intensity;
}

void MergeInto(PeakList& accumulated, PeakSpan more) {
  accumulated.insert(accumulated.end(), more.begin(), more.end());
  std::ranges::sort(accumulated, ByMzThenIntensity);
}

bool HoldsActivationCentre(const UserParameters& parameters, PeakSpan peaks, double centre) {
  if (peaks.empty()) return false;
  return std::fabs(nearest_peak(peaks, centre).m_mz - centre) < ToleranceMz(parameters, centre);
}

// Replaces each run of peaks closer than tol_mz to its running mean by that mean, in place.
void CollapseClosePeaks(PeakList& peaks, double tol_mz) {
  std::size_t written = 0;
  for (std::size_t next = 0; next < peaks.size();) {
    Peak group = peaks[next++];
    for (; next < peaks.size() && std::fabs(group.m_mz - peaks[next].m_mz) < tol_mz; ++next) {
      const Peak& peak = peaks[next];
      group.m_mz = (peak.m_intensity * peak.m_mz + group.m_intensity * group.m_mz) /
                   (group.m_intensity + peak.m_intensity);
      group.m_intensity = group.m_intensity + peak.m_intensity;
    }
    peaks[written++] = group;
  }
  peaks.resize(written);
}

}  // namespace

PeakSpan peaks_in_window(PeakSpan peaks, double centre, double tol, bool tol_is_ppm) {
  const double t = tol_is_ppm ? centre * tol / 1e6 : tol;
  const std::size_t i_peak = FirstAbove(peaks, centre - t);
  TARVEK_CHECK(
      i_peak == peaks.size() || peaks[i_peak].m_mz > centre - t,
      "i_peak == peakCandidates.size() || peakCandidates[i_peak].m_mz > centerMZ - err_tol",
      kModule);
  const PeakSpan above = peaks.subspan(i_peak);
  const auto end = std::ranges::partition_point(
      above, [centre, t](const Peak& peak) { return t > peak.m_mz - centre; });
  return above.first(static_cast<std::size_t>(end - above.begin()));
}

const Peak& nearest_peak(PeakSpan peaks, double mz) {
  TARVEK_CHECK(!peaks.empty(), "peakCandidates.size() > 0", kModule);
  const std::size_t k = FirstAbove(peaks, mz);
  if (k == peaks.size()) return peaks.back();
  if (k > 0 && std::fabs(peaks[k].m_mz - mz) > std::fabs(peaks[k - 1].m_mz - mz))
    return peaks[k - 1];
  return peaks[k];
}

std::optional<ScanWindow> gather_ms1_window(const Ms1Store& store, const MS2Spectrum& ms2,
                                            double extended_halfwidth) {
  const auto precursor_scan =
      std::ranges::lower_bound(store, ms2.m_precursor_scan, {}, &MS1Spectrum::m_scan_no);
  if (precursor_scan == store.end() || precursor_scan->m_scan_no != ms2.m_precursor_scan)
    return std::nullopt;
  const auto s = static_cast<std::size_t>(precursor_scan - store.begin());
  ScanWindow window;
  for (std::size_t p = 0; p < kWindowScans; ++p) {
    const std::size_t i = s + p - kPrecursorPosition;  // wraps to a huge index before the store
    if (i < store.size())
      window[p] =
          peaks_in_window(store[i].m_peaks, ms2.m_activation_center, extended_halfwidth, false);
  }
  return window;
}

std::int64_t PeakCount(const ScanWindow& window) {
  std::int64_t count = 0;
  for (const PeakSpan peaks : window) count += static_cast<std::int64_t>(peaks.size());
  return count;
}

void filter_by_local_intensity(const ScanWindow& window, double centre, FilteredWindow& filtered) {
  for (std::size_t p = 0; p < kWindowScans; ++p) {
    const double highest =
        HighestIntensity(peaks_in_window(window[p], centre, kLocalHalfWidthMz, false));
    filtered[p].clear();
    std::ranges::copy_if(window[p], std::back_inserter(filtered[p]), [highest](const Peak& peak) {
      return peak.m_intensity >= kLocalShare * highest;
    });
  }
}

void collect_peak_candidates(const UserParameters& parameters, const FilteredWindow& filtered,
                             const MS2Spectrum& ms2, PeakList& candidates) {
  const double centre = ms2.m_activation_center;
  candidates.clear();
  for (const std::size_t p : {kPrecursorPosition, kPrecursorPosition - 1, kPrecursorPosition + 1}) {
    MergeInto(candidates,
              peaks_in_window(filtered[p], centre, parameters.m_candidate_halfwidth, false));
    if (parameters.m_check_activationcenter &&
        HoldsActivationCentre(parameters, candidates, centre))
      break;
  }
  if (parameters.m_cut_similiar_mono && !candidates.empty())
    CollapseClosePeaks(candidates, ToleranceMz(parameters, candidates.front().m_mz));
}

}  // namespace tarvek
