// tools/simulate/Instrument.h: how an analyser measures ions.
// Does:     merges ions that it cannot resolve, adds the errors of m/z and intensity, drops peaks
//           below the detection limit and adds noise peaks.
// Owns:     nothing; working memory is the caller's.
// Throws:   nothing.
// Not here: which ions there are (simulate/Elution.h, simulate/Fragments.h).
#pragma once

#include <cstdint>
#include <vector>

#include "simulate/Random.h"

namespace tarvek::tools {

/// Ions of one m/z that reach the analyser.
struct Emission {
  double m_mz = 0.0;
  double m_current = 0.0;     // charges per second
  std::int32_t m_source = 0;  // of the caller's list of ions
  std::int32_t m_isotope = 0;
};

inline constexpr std::int32_t kNoSource = -1;

/// A measured peak and the ions that give most of it; kNoSource for noise.
struct Centroid {
  double m_mz = 0.0;
  double m_intensity = 0.0;
  std::int32_t m_source = kNoSource;
  std::int32_t m_isotope = 0;
};

struct Analyser {
  bool m_is_ion_trap = false;
  double m_resolution =
      60000.0;  // at m/z 400; falls with the square root of m/z. Not for ion traps

  /// Full width at half maximum in m/z.
  [[nodiscard]] double PeakWidth(double mz) const;
};

/// One measurement.
struct Exposure {
  double m_injection_s = 0.0;
  double m_calibration_ppm = 0.0;  // error common to all peaks
  double m_noise_peaks = 0.0;      // mean number
  double m_low_mz = 0.0;           // of the noise peaks
  double m_high_mz = 0.0;
  double m_realism = 0.0;  // larger errors, and peaks near the limit that drop out
};

/// Smallest current that gives a peak, in charges per second.
double DetectionLimit(const Analyser& analyser, double injection_s);

/// Replaces centroids: ascending, no two closer than a peak width. emissions: ascending in m/z.
void Measure(const std::vector<Emission>& emissions, const Analyser& analyser,
             const Exposure& exposure, Random& random, std::vector<Centroid>& centroids);

}  // namespace tarvek::tools
