#include "EnvelopeFit.h"

#include <algorithm>
#include <cmath>

namespace tarvek::joint {
namespace {

constexpr int kMaxSweeps = 50;
constexpr double kSettled = 1e-3;

// The best amplitude for one column while the others stay fixed.
double BestAmplitude(const EnvelopeColumn& column, double present, std::span<const double> weights,
                     std::span<const double> residuals, double noise, double price) {
  double slope = 0.0;
  double curvature = 0.0;
  for (std::size_t i = 0; i < kEnvelopePeaks; ++i) {
    const double share = column.m_shares[i];
    if (column.m_lanes[i] < 0) {
      curvature += share * share / noise;
      continue;
    }
    const auto k = static_cast<std::size_t>(column.m_lanes[i]);
    slope += weights[k] * share * (residuals[k] + present * share);
    curvature += weights[k] * share * share;
  }
  return curvature > 0.0 ? std::max(0.0, (slope - price) / curvature) : 0.0;
}

}  // namespace

void FitEnvelopes(std::span<const double> intensities, std::span<const EnvelopeColumn> columns,
                  double noise, double price, EnvelopeFitResult& result) {
  std::vector<double>& residuals = result.m_residuals;
  residuals.assign(intensities.begin(), intensities.end());
  result.m_amplitudes.assign(columns.size(), 0.0);
  std::vector<double> weights(intensities.size());
  std::ranges::transform(intensities, weights.begin(),
                         [noise](double y) { return 1.0 / (y + noise); });
  const double highest = intensities.empty() ? 0.0 : std::ranges::max(intensities);
  for (int sweep = 0; sweep < kMaxSweeps; ++sweep) {
    double largest_change = 0.0;
    for (std::size_t j = 0; j < columns.size(); ++j) {
      double& amplitude = result.m_amplitudes[j];
      const double best = BestAmplitude(columns[j], amplitude, weights, residuals, noise, price);
      const double change = best - amplitude;
      if (change == 0.0) continue;
      for (std::size_t i = 0; i < kEnvelopePeaks; ++i)
        if (columns[j].m_lanes[i] >= 0)
          residuals[static_cast<std::size_t>(columns[j].m_lanes[i])] -=
              change * columns[j].m_shares[i];
      amplitude = best;
      largest_change = std::max(largest_change, std::fabs(change));
    }
    if (largest_change <= kSettled * highest) return;
  }
}

}  // namespace tarvek::joint
