// extractor/DataLookAnalyser.h: recognises the analyser from the peaks.
// Does:     counts distances between the samples or peaks of spectra; decides whether the analyser
//           resolves isotopes (Fourier, time of flight) or only about a mass unit (ion trap).
// Owns:     its counts.
// Throws:   nothing but std::bad_alloc.
// Not here: which spectra are used (ExtractionPlan.h); whether a spectrum is picked (PeakPicker.h).
//
// It counts:
//  - in profiles, evenly spaced samples. Within 0.03 Th or 30 ppm of each other they are finely
//    spaced; ion traps sample each 0.07 Th or so;
//  - in centroids, neighbours closer than 0.1 Th, which no ion trap separates;
//  - in centroids, pairs an isotope apart: 1.00335/z Th for z from 1 to 5, within 4 mTh at z = 1
//    and 3 mTh above, and how many pairs a wider window around them contains. A trap places peaks
//    so badly that the narrow window gets only its share of the wide one, by chance;
//  - decimals: m/z with at most one are accurate to no more than a mass unit.
#pragma once

#include <cstdint>
#include <span>

#include "SpectrumRecords.h"

namespace tarvek::extractor {

enum class Resolution { kUnclear, kHigh, kUnit };

/// Counts over spectra; they can be added.
struct SpacingCounts {
  std::int64_t m_fine_steps = 0;    // evenly spaced samples, within 0.03 Th or 30 ppm
  std::int64_t m_coarse_steps = 0;  // evenly spaced samples, wider
  std::int64_t m_peaks = 0;         // from here on of centroid spectra
  std::int64_t m_blunt_peaks = 0;   // with at most one decimal in m/z
  std::int64_t m_gaps = 0;          // between neighbours, below 1.5 Th
  std::int64_t m_close_gaps = 0;    // below 0.1 Th
  std::int64_t m_pairs = 0;         // about an isotope apart
  std::int64_t m_true_pairs = 0;    // exactly an isotope apart
  double m_chance_pairs = 0.0;      // expected number of m_true_pairs by chance

  SpacingCounts& operator+=(const SpacingCounts& other);
};

/// The counts of one spectrum. peaks: ascending in m/z, may be empty; only the first 5000 are used.
/// O(n times the peaks within 0.1 Th).
SpacingCounts CountSpacings(std::span<const Peak> peaks);

/// The verdict for these counts; kUnclear when they are too few or contradict each other.
Resolution ResolutionOf(const SpacingCounts& counts);

/// Gathers spectra of one kind.
class ResolutionLook {
 public:
  /// peaks: as for CountSpacings.
  void Add(std::span<const Peak> peaks);

  /// Also kUnclear when some spectra are clearly of one kind and some of the other.
  [[nodiscard]] Resolution Verdict() const;

 private:
  SpacingCounts m_counts;
  std::int64_t m_high = 0;  // spectra that are clear on their own
  std::int64_t m_unit = 0;
};

}  // namespace tarvek::extractor
