// joint/FragmentPairs.h: fragments of one scan with masses that add up to that of a precursor.
// Does:     keeps the most intense fragments; sums up the pairs that add up to a given mass.
// Owns:     its list, reused from scan to scan.
// Throws:   nothing.
#pragma once

#include <cstddef>
#include <vector>

#include "SpectrumUtils.h"

namespace tarvek::joint {

class FragmentPairs {
 public:
  /// Takes the most intense fragments of a scan.
  void Take(const std::vector<Peak>& fragments, double tol_ppm);

  /// For each pair of singly charged fragments with neutral masses that add up to mass_da within
  /// the tolerance: the root of the product of their intensities. Returns the sum as a share of all
  /// intensity.
  [[nodiscard]] double PairShare(double mass_da) const;

  /// Share of all intensity within the tolerance of mz.
  [[nodiscard]] double ShareAt(double mz) const;

  /// Share of all intensity above mz.
  [[nodiscard]] double ShareAbove(double mz) const;

  [[nodiscard]] bool IsEmpty() const { return m_strongest.empty(); }

 private:
  std::vector<Peak> m_strongest;  // ascending in m/z
  std::vector<double> m_roots;    // of their intensities
  double m_total = 0.0;
  double m_tol_ppm = 0.0;
};

}  // namespace tarvek::joint
