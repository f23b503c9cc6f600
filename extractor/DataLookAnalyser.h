// extractor/DataLookAnalyser.h: what the peaks themselves say of the analyser.
// Does:     counts distances between the samples or peaks of spectra; says whether the analyser
//           resolves isotopes (Fourier, time of flight) or about a mass unit (ion trap).
// Owns:     its counts.
// Throws:   nothing but std::bad_alloc.
// Not here: which spectra are looked at (ExtractionPlan.h); whether a spectrum is picked
//           (PeakPicker.h).
//
// What is counted:
//  - of profiles, evenly spaced samples: within 0.03 Th or 30 ppm of each other they are finely
//    spaced; ion traps sample each 0.07 Th or so;
//  - of centroids, neighbours closer than 0.1 Th, which no ion trap separates;
//  - of centroids, pairs an isotope apart: 1.00335/z Th for z from 1 to 5, within 4 mTh at z = 1 and
//    3 mTh above, and of these how many a wider window holds around them. A trap places peaks so
//    badly that the narrow window gets its share of the wide one by chance alone;
//  - figures behind the point: m/z with one at most carry no more than a mass unit.
#pragma once

#include <cstdint>
#include <span>

#include "SpectrumRecords.h"

namespace tarvek::extractor {

enum class Resolution { kUnclear, kHigh, kUnit };

/// Counts over spectra; they add.
struct SpacingCounts {
  std::int64_t m_fine_steps = 0;    // evenly spaced samples, within 0.03 Th or 30 ppm
  std::int64_t m_coarse_steps = 0;  // evenly spaced samples, wider
  std::int64_t m_peaks = 0;         // of centroid spectra, as all that follows
  std::int64_t m_blunt_peaks = 0;   // whose m/z has one decimal at most
  std::int64_t m_gaps = 0;          // between neighbours, below 1.5 Th
  std::int64_t m_close_gaps = 0;    // below 0.1 Th
  std::int64_t m_pairs = 0;         // about an isotope apart
  std::int64_t m_true_pairs = 0;    // just an isotope apart
  double m_chance_pairs = 0.0;      // of m_pairs, as many as chance would call true

  SpacingCounts& operator+=(const SpacingCounts& other);
};

/// The counts of one spectrum. peaks: ascending in m/z, may be empty; at most the 5000 first are
/// looked at. O(n times the peaks within 0.1 Th).
SpacingCounts CountSpacings(std::span<const Peak> peaks);

/// What the counts say; kUnclear where they are too few or contradict each other.
Resolution ResolutionOf(const SpacingCounts& counts);

/// Gathers spectra of one kind.
class ResolutionLook {
 public:
  /// peaks: as for CountSpacings.
  void Add(std::span<const Peak> peaks);

  /// kUnclear also when some spectra are clearly of one kind and some of the other.
  [[nodiscard]] Resolution Verdict() const;

 private:
  SpacingCounts m_counts;
  std::int64_t m_high = 0;  // spectra that are clear by themselves
  std::int64_t m_unit = 0;
};

}  // namespace tarvek::extractor
