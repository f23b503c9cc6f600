// precursor/SpectrumUtils.h: peak lists around an MS2 scan.
// Does:     finds peaks by m/z, gathers the ten MS1 scans around a precursor scan, filters them by
//           intensity, and collects the candidate monoisotopic peaks.
// Owns:     nothing; a PeakSpan borrows from its list.
// Throws:   nothing; a broken precondition fails an internal check.
// Not here: isotope envelopes (IsoPattern.h). Every peak list ascends in m/z.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <vector>

#include "SpectrumRecords.h"
#include "UserParameters.h"

namespace tarvek {

using PeakSpan = std::span<const Peak>;
using PeakList = std::vector<Peak>;

/// The most recent high-resolution MS1 scans, ascending in scan number.
using Ms1Store = std::deque<MS1Spectrum>;

/// The number of scans in a scan window, and the place of the precursor scan in it.
inline constexpr std::size_t kWindowScans = 10;
inline constexpr std::size_t kPrecursorPosition = 4;

/// Position p has the peaks of the MS1 scan p - 4 places after the precursor scan; a position
/// outside the store is empty. Borrows from the store.
using ScanWindow = std::array<PeakSpan, kWindowScans>;
using FilteredWindow = std::array<PeakList, kWindowScans>;

/// The peaks with centre - t < m/z < centre + t, both ends excluded; t = tol, or centre x tol / 1e6
/// with tol_is_ppm. May be empty. O(log n).
PeakSpan peaks_in_window(PeakSpan peaks, double centre, double tol, bool tol_is_ppm);

/// The peak nearest to mz, the higher one of two equally near. peaks must not be empty. O(log n).
const Peak& nearest_peak(PeakSpan peaks, double mz);

/// Peaks within extended_halfwidth of the activation centre in the ten scans around the precursor
/// scan of ms2; std::nullopt when that scan is not in the store.
std::optional<ScanWindow> gather_ms1_window(const Ms1Store& store, const MS2Spectrum& ms2,
                                            double extended_halfwidth);

/// The peaks of all ten lists.
std::int64_t PeakCount(const ScanWindow& window);

/// Keeps in each list the peaks of at least 2 % of that list's most intense peak near centre.
/// filtered: emptied first, its capacity reused.
void filter_by_local_intensity(const ScanWindow& window, double centre, FilteredWindow& filtered);

/// The candidate monoisotopic peaks near the activation centre, from the precursor scan and, unless
/// that contains the centre, from its neighbour scans; close peaks are merged into their
/// intensity-weighted mean. candidates: emptied first, its capacity reused.
void collect_peak_candidates(const UserParameters& parameters, const FilteredWindow& filtered,
                             const MS2Spectrum& ms2, PeakList& candidates);

}  // namespace tarvek
