// joint/EnvelopeFit.h: overlapping isotope envelopes that explain one list of intensities together.
// Does:     finds amplitudes of 0 or more by coordinate descent, with a price per unit.
// Owns:     nothing.
// Throws:   nothing.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

namespace tarvek::joint {

inline constexpr std::size_t kEnvelopePeaks = 5;

/// One envelope: where its isotopes lie among the intensities, and their shares.
struct EnvelopeColumn {
  std::array<int, kEnvelopePeaks> m_lanes{};      // -1: without a peak
  std::array<double, kEnvelopePeaks> m_shares{};  // 0 or more; their sum is at most 1
};

struct EnvelopeFitResult {
  std::vector<double> m_amplitudes;  // in intensity units, one for each column
  std::vector<double> m_residuals;   // intensity minus the explained part, one per lane
};

/// Minimises  sum w_k (y_k - sum_j a_j e_jk)^2 + v sum_j (a_j m_j)^2 + 2 price sum_j a_j  over
/// a >= 0, with w_k = 1 / (y_k + noise), v = 1 / noise, and m_j the root of the sum of squares of
/// those shares of column j that meet no peak. Relative price: 0 is plain least squares.
/// Sweeps through the columns in their order until no amplitude changes by more than a thousandth
/// of the largest intensity, at most 50 times. noise: above 0.
void FitEnvelopes(std::span<const double> intensities, std::span<const EnvelopeColumn> columns,
                  double noise, double price, EnvelopeFitResult& result);

}  // namespace tarvek::joint
