// tools/score/IsotopeShift.h: two m/z compared, and the isotopes between them.
// Does:     differences in ppm; the m/z of isotopes; the shifts that are distinguished.
// Throws:   nothing.
// Not here: which precursors are compared (score/Score.h, report/Data.h, features/CandidateFeatures.h).
#pragma once

#include <cmath>
#include <cstddef>

namespace tarvek::tools {

/// Mass difference of carbon 13 and 12 in Da, the usual spacing of neighbouring isotopes.
inline constexpr double kIsotopeDifferenceDa = 1.00335;

/// A precursor that is off by at most this many isotopes counts as another peak of the same ion.
inline constexpr int kMaxShift = 3;
inline constexpr std::size_t kShifts = 2 * kMaxShift + 1;

/// Place of a shift, -3 to 3, in an array of kShifts.
constexpr std::size_t ShiftPlace(int shift) {
  const int place = shift + kMaxShift;
  return static_cast<std::size_t>(place);
}

/// The m/z of an isotope above the monoisotopic one; charge: without sign, not 0.
inline double IsotopeMz(double mono_mz, int isotope, int charge) {
  return mono_mz + isotope * kIsotopeDifferenceDa / charge;
}

/// How far mz is above expected_mz, in ppm of expected_mz. The signs of negative ions do not count.
inline double PpmError(double mz, double expected_mz) {
  return (std::fabs(mz) - std::fabs(expected_mz)) / std::fabs(expected_mz) * 1e6;
}

/// Includes both ends of the tolerance.
inline bool WithinPpm(double mz, double expected_mz, double tol_ppm) {
  return std::fabs(PpmError(mz, expected_mz)) <= tol_ppm;
}

}  // namespace tarvek::tools
