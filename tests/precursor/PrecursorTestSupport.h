// tests/precursor/PrecursorTestSupport.h: made-up peaks, envelopes and runs.
// Does:     makes random peak lists and small runs from a seed and an isotope table like that of
//           peptides; compares doubles exactly.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <random>
#include <span>
#include <vector>

#include "IsotopeTable.h"
#include "SpectrumRecords.h"
#include "SpectrumUtils.h"
#include "UserParameters.h"

namespace tarvek::test {

/// Random numbers that depend only on the seed, not on the standard library.
class Random {
 public:
  explicit Random(unsigned seed) : m_engine(seed) {}
  double Real(double low, double high) {
    return low + (high - low) * (static_cast<double>(m_engine() >> 11) * 0x1p-53);
  }
  int Int(int low, int high) {
    return low + static_cast<int>(m_engine() % static_cast<std::uint64_t>(high - low + 1));
  }
  bool Chance(double p) { return Real(0.0, 1.0) < p; }
  template <typename T>
  T OneOf(const std::vector<T>& values) {
    return values[static_cast<std::size_t>(Int(0, static_cast<int>(values.size()) - 1))];
  }

 private:
  std::mt19937_64 m_engine;
};

/// Same bits, or both NaN.
inline testing::AssertionResult SameDouble(double actual, double expected) {
  if (std::bit_cast<std::uint64_t>(actual) == std::bit_cast<std::uint64_t>(expected) ||
      (std::isnan(actual) && std::isnan(expected)))
    return testing::AssertionSuccess();
  return testing::AssertionFailure()
         << std::hexfloat << actual << " is not " << expected << std::defaultfloat << " (" << actual
         << ", " << expected << ")";
}

inline testing::AssertionResult SamePeaks(std::span<const Peak> actual,
                                          std::span<const Peak> expected) {
  if (actual.size() != expected.size())
    return testing::AssertionFailure() << actual.size() << " peaks, not " << expected.size();
  for (std::size_t i = 0; i < actual.size(); ++i) {
    if (!SameDouble(actual[i].m_mz, expected[i].m_mz) ||
        !SameDouble(actual[i].m_intensity, expected[i].m_intensity))
      return testing::AssertionFailure()
             << "peak " << i << ": (" << actual[i].m_mz << ", " << actual[i].m_intensity
             << ") is not (" << expected[i].m_mz << ", " << expected[i].m_intensity << ")";
  }
  return testing::AssertionSuccess();
}

inline testing::AssertionResult SamePrecursors(std::span<const Precursor> actual,
                                               std::span<const Precursor> expected) {
  if (actual.size() != expected.size())
    return testing::AssertionFailure() << actual.size() << " precursors, not " << expected.size();
  for (std::size_t i = 0; i < actual.size(); ++i) {
    if (!SameDouble(actual[i].m_mz, expected[i].m_mz) || actual[i].m_charge != expected[i].m_charge)
      return testing::AssertionFailure()
             << "precursor " << i << ": " << actual[i].m_mz << " charge " << actual[i].m_charge
             << " is not " << expected[i].m_mz << " charge " << expected[i].m_charge;
  }
  return testing::AssertionSuccess();
}

/// Peaks between low and high, ascending; on a grid of step m/z when step > 0, so that some share
/// their m/z.
inline PeakList RandomPeaks(Random& random, int count, double low, double high, double step = 0.0) {
  PeakList peaks;
  for (int i = 0; i < count; ++i) {
    double mz = random.Real(low, high);
    if (step > 0.0) mz = std::round(mz / step) * step;
    peaks.push_back({mz, std::pow(10.0, random.Real(0.0, 5.0))});
  }
  SortByMz(peaks);
  return peaks;
}

/// Isotope peaks of a mass in Da: Poisson weights, the highest of five 1.
inline IsotopeRow PoissonEnvelope(double mass_da) {
  const double lambda = mass_da * 0.0005;
  IsotopeRow row{};
  double weight = 1.0;
  for (std::size_t k = 0; k < row.size(); ++k) {
    row[k] = weight;
    weight *= lambda / static_cast<double>(k + 1);
  }
  const double highest = *std::max_element(row.begin(), row.end());
  for (double& value : row) value /= highest;
  return row;
}

inline IsotopeTable PoissonTable() {
  IsotopeTable table;
  for (std::size_t mass = 0; mass < kIsotopeTableRows; ++mass)
    table.push_back(PoissonEnvelope(static_cast<double>(mass)));
  return table;
}

/// One MS2 scan with the MS1 scans around it.
struct ScanRun {
  UserParameters m_params;
  Ms1Store m_store;
  MS2Spectrum m_ms2;
};

/// Adds to every MS1 scan the envelope of a peptide eluting around scan index apex.
inline void AddEnvelope(Random& random, ScanRun& run, double mono_mz, int abs_charge, double apex) {
  const IsotopeRow envelope = PoissonEnvelope((mono_mz - kProtonMass) * abs_charge + kProtonMass);
  const double amplitude = std::pow(10.0, random.Real(3.0, 6.0));
  const double width = random.Real(1.0, 4.0);
  for (std::size_t i = 0; i < run.m_store.size(); ++i) {
    const double d = (static_cast<double>(i) - apex) / width;
    for (std::size_t k = 0; k < envelope.size(); ++k) {
      const double intensity =
          amplitude * envelope[k] * std::exp(-0.5 * d * d) * random.Real(0.9, 1.1);
      const double mz = (mono_mz + static_cast<double>(k) * 1.00335 / abs_charge) *
                        (1.0 + random.Real(-3e-6, 3e-6));
      if (intensity > 0.002 * amplitude) run.m_store[i].m_peaks.push_back({mz, intensity});
    }
  }
}

inline UserParameters RandomParameters(Random& random) {
  UserParameters params;
  params.m_co_elute = random.Chance(0.5);
  params.m_check_activationcenter = random.Chance(0.5);
  params.m_cut_similiar_mono = random.Chance(0.5);
  params.m_mstolppm = random.Chance(0.7);
  params.m_mstol = params.m_mstolppm ? random.OneOf<double>({5.0, 10.0, 20.0, 50.0})
                                     : random.OneOf<double>({0.005, 0.02, 0.05, 0.2});
  params.m_isolation_width = random.OneOf<double>({0.7, 2.0, 2.5, 3.0, 4.0});
  params.m_recalibrate_window = random.OneOf<double>({0.5, 7.0, 20.0});
  params.m_mars_threshold = random.OneOf<double>({-0.34, -0.34, -100.0, 0.0});
  const auto charges = random.OneOf<std::pair<int, int>>(
      {{2, 6}, {2, 6}, {1, 4}, {-6, -1}, {-3, -1}, {-2, 3}, {3, 3}});
  params.m_charge_min = charges.first;
  params.m_charge_max = charges.second;
  DeriveHalfWidths(params);
  return params;
}

/// Rounds as a text format would, so that values coincide.
inline void RoundPeaks(PeakList& peaks) {
  for (Peak& peak : peaks) {
    peak.m_mz = std::round(peak.m_mz * 1e4) / 1e4;
    peak.m_intensity = std::round(peak.m_intensity * 10.0) / 10.0;
  }
}

/// A small run of several eluting peptides and noise around the activation centre.
inline ScanRun RandomRun(unsigned seed) {
  Random random(seed);
  ScanRun run;
  run.m_params = RandomParameters(random);
  run.m_store.resize(static_cast<std::size_t>(random.Int(1, 14)));
  int scan_no = 0;
  for (MS1Spectrum& scan : run.m_store) scan.m_scan_no = scan_no += random.Int(2, 12);
  const int s = random.Int(0, static_cast<int>(run.m_store.size()) - 1);
  const double centre = random.Real(200.0, 500.0);
  run.m_ms2.m_scan_no = run.m_store[static_cast<std::size_t>(s)].m_scan_no + 1;
  run.m_ms2.m_precursor_scan = run.m_ms2.m_scan_no - (random.Chance(0.03) ? 0 : 1);
  run.m_ms2.m_activation_center = centre;
  for (int e = random.Int(1, 4); e > 0; --e) {
    const int z = random.Int(1, 6);
    const bool centred = random.Chance(0.6);
    const double offset = centred ? -random.Int(0, 3) * 1.00335 / z + random.Real(-1e-3, 1e-3)
                                  : random.Real(-1.3, 1.1);
    AddEnvelope(random, run, centre + offset, z, s + random.Real(-2.0, 3.0));
  }
  const bool rounded = random.Chance(0.5);
  for (MS1Spectrum& scan : run.m_store) {
    for (int n = random.Int(0, 60); n > 0; --n)
      scan.m_peaks.push_back(
          {centre + random.Real(-6.0, 6.0), std::pow(10.0, random.Real(1.0, 4.0))});
    if (rounded) RoundPeaks(scan.m_peaks);
    SortByMz(scan.m_peaks);
  }
  return run;
}

}  // namespace tarvek::test
