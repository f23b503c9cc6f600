#include "simulate/Instrument.h"

#include <algorithm>
#include <cmath>

#include "simulate/Realism.h"

namespace tarvek::tools {
namespace {

/// The standard deviation of an error; one part of it shrinks with the root of the intensity.
struct RandomError {
  double m_best;
  double m_at_limit;  // the part that shrinks, of a peak at the detection limit

  [[nodiscard]] double Of(double intensity, double limit) const {
    return std::hypot(m_best, m_at_limit * std::sqrt(limit / intensity));
  }
};
constexpr RandomError kErrorPpm{.m_best = 0.4, .m_at_limit = 3.0};
constexpr RandomError kIntensityError{.m_best = 0.03, .m_at_limit = 0.25};

/// Sums the ions that the analyser cannot resolve; the largest one is the peak's source.
void Merge(const std::vector<Emission>& emissions, const Analyser& analyser,
           std::vector<Centroid>& centroids) {
  // A peak ten times as large hides a neighbour at this many more widths.
  constexpr double kWidthsPerDecade = 0.3;
  constexpr double kMaxHidingWidths = 2.5;
  double largest = 0.0;  // share of the last centroid
  for (const Emission& emission : emissions) {
    if (!centroids.empty()) {
      Centroid& last = centroids.back();
      const double width = analyser.PeakWidth(last.m_mz);
      const double gap = emission.m_mz - last.m_mz;
      if (gap < width * kMaxHidingWidths) {
        const double decades = std::abs(std::log10(emission.m_current / last.m_intensity));
        if (gap < width * std::min(kMaxHidingWidths, 1.0 + kWidthsPerDecade * decades)) {
          const double sum = last.m_intensity + emission.m_current;
          last.m_mz += gap * emission.m_current / sum;
          last.m_intensity = sum;
          if (emission.m_current > largest) {
            largest = emission.m_current;
            last.m_source = emission.m_source;
            last.m_isotope = emission.m_isotope;
          }
          continue;
        }
      }
    }
    largest = emission.m_current;
    centroids.push_back({emission.m_mz, emission.m_current, emission.m_source, emission.m_isotope});
  }
}

void AddErrors(const Analyser& analyser, const Exposure& exposure, double limit, Random& random,
               std::vector<Centroid>& centroids) {
  constexpr double kIonTrapErrorMz = 0.05;
  const double mz_growth = MzErrorGrowth(exposure.m_realism);
  const double intensity_growth = IntensityErrorGrowth(exposure.m_realism);
  for (Centroid& centroid : centroids) {
    const double error_ppm =
        exposure.m_calibration_ppm +
        mz_growth * kErrorPpm.Of(centroid.m_intensity, limit) * random.Normal();
    centroid.m_mz += analyser.m_is_ion_trap ? kIonTrapErrorMz * random.Normal()
                                            : centroid.m_mz * error_ppm / 1e6;
    centroid.m_intensity *=
        1.0 + intensity_growth * kIntensityError.Of(centroid.m_intensity, limit) * random.Normal();
  }
}

void DropWeakPeaks(double realism, double limit, Random& random, std::vector<Centroid>& centroids) {
  std::erase_if(centroids, [&](const Centroid& peak) {
    return random.Chance(DropoutChance(realism, peak.m_intensity / limit));
  });
}

void AddNoise(const Exposure& exposure, double limit, Random& random,
              std::vector<Centroid>& centroids) {
  constexpr double kMeanAboveLimit = 0.35;  // in limits
  const std::size_t count = random.Poisson(exposure.m_noise_peaks);
  const double ratio = exposure.m_high_mz / exposure.m_low_mz;
  for (std::size_t i = 0; i < count; ++i) {
    const double mz = exposure.m_low_mz * std::pow(ratio, random.Uniform());
    centroids.push_back({mz, limit * (1.0 + random.Exponential(kMeanAboveLimit)), kNoSource, 0});
  }
}

/// Of centroids closer than a peak width the larger one stays.
void Thin(const Analyser& analyser, std::vector<Centroid>& centroids) {
  std::size_t kept = 0;
  for (const Centroid& centroid : centroids) {
    const bool is_near =
        kept > 0 && centroid.m_mz - centroids[kept - 1].m_mz < analyser.PeakWidth(centroid.m_mz);
    if (!is_near) {
      centroids[kept++] = centroid;
    } else if (centroid.m_intensity > centroids[kept - 1].m_intensity) {
      centroids[kept - 1] = centroid;
    }
  }
  centroids.resize(kept);
}

}  // namespace

double Analyser::PeakWidth(double mz) const {
  constexpr double kIonTrapWidthMz = 0.5;
  constexpr double kReferenceMz = 400.0;
  if (m_is_ion_trap) return kIonTrapWidthMz;
  return mz / (m_resolution * std::sqrt(kReferenceMz / mz));
}

double DetectionLimit(const Analyser& analyser, double injection_s) {
  // Charges that a peak needs to rise above the noise of the image current, or of an ion trap's
  // multiplier.
  constexpr double kOrbitrapLimitCharges = 45.0;
  constexpr double kIonTrapLimitCharges = 10.0;
  return (analyser.m_is_ion_trap ? kIonTrapLimitCharges : kOrbitrapLimitCharges) / injection_s;
}

void Measure(const std::vector<Emission>& emissions, const Analyser& analyser,
             const Exposure& exposure, Random& random, std::vector<Centroid>& centroids) {
  const double limit = DetectionLimit(analyser, exposure.m_injection_s);
  centroids.clear();
  Merge(emissions, analyser, centroids);
  // Far below the limit no error lifts a peak above it.
  std::erase_if(centroids, [&](const Centroid& peak) { return peak.m_intensity < 0.3 * limit; });
  AddErrors(analyser, exposure, limit, random, centroids);
  std::erase_if(centroids, [&](const Centroid& peak) { return peak.m_intensity < limit; });
  if (exposure.m_realism > 0.0) DropWeakPeaks(exposure.m_realism, limit, random, centroids);
  AddNoise(exposure, limit, random, centroids);
  std::ranges::stable_sort(centroids, {}, &Centroid::m_mz);
  Thin(analyser, centroids);
}

}  // namespace tarvek::tools
