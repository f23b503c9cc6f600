#include "calibrate/Mode.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace tarvek::tools {
namespace {

constexpr double kBinPpm = 0.05;
constexpr std::size_t kBins = 1000;      // of the whole range
constexpr std::size_t kKernelBins = 90;  // to each side: 4.5 ppm, three standard deviations
constexpr std::size_t kCrowdBins = 150;  // 7.5 ppm: what is farther from the mode is background
constexpr std::size_t kGroups = 16;
constexpr double kMostPpm = 20.0;
constexpr double kMostRival = 0.5;
constexpr double kShareOfSpread = 0.6827;  // within one standard deviation of a normal distribution

using Density = std::vector<double>;

double PpmOf(std::size_t bin) { return (static_cast<double>(bin) + 0.5) * kBinPpm - kModeRangePpm; }

/// Weights by distance in bins; products alone, so that every compiler gives the same.
const std::array<double, kKernelBins + 1>& Kernel() {
  static const std::array<double, kKernelBins + 1> kKernel = [] {
    std::array<double, kKernelBins + 1> weights{};
    for (std::size_t i = 0; i <= kKernelBins; ++i) {
      const double share = static_cast<double>(i) / static_cast<double>(kKernelBins + 1);
      const double rest = 1.0 - share * share;
      weights[i] = rest * rest * rest;
    }
    return weights;
  }();
  return kKernel;
}

double KernelArea() {
  double area = Kernel()[0];
  for (std::size_t i = 1; i <= kKernelBins; ++i) area += 2.0 * Kernel()[i];
  return area;
}

double DensityAt(const std::vector<std::int64_t>& counts, std::size_t bin) {
  double density = static_cast<double>(counts[bin]) * Kernel()[0];
  for (std::size_t i = 1; i <= kKernelBins; ++i)
    density += static_cast<double>(counts[bin - i] + counts[bin + i]) * Kernel()[i];
  return density;
}

/// Bins where the whole kernel fits: [first, last).
constexpr std::size_t kFirst = kKernelBins;
constexpr std::size_t kLast = kBins - kKernelBins;

Density DensityOf(const std::vector<std::int64_t>& counts) {
  Density density(kBins, 0.0);
  for (std::size_t bin = kFirst; bin < kLast; ++bin) density[bin] = DensityAt(counts, bin);
  return density;
}

std::size_t HighestIn(const Density& density, std::size_t first, std::size_t last) {
  const auto begin = density.begin();
  return static_cast<std::size_t>(std::max_element(begin + static_cast<std::ptrdiff_t>(first),
                                                   begin + static_cast<std::ptrdiff_t>(last)) -
                                  begin);
}

std::size_t Below(std::size_t bin, std::size_t bins) {
  return bin < kFirst + bins ? kFirst : bin - bins;
}
std::size_t Above(std::size_t bin, std::size_t bins) { return std::min(bin + bins + 1, kLast); }

/// The densities far from the mode.
Density Elsewhere(const Density& density, std::size_t mode) {
  Density rest;
  for (std::size_t bin = kFirst; bin < kLast; ++bin)
    if (bin + kCrowdBins < mode || bin > mode + kCrowdBins) rest.push_back(density[bin]);
  return rest;
}

double MiddleOf(Density values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// The standard error by leaving out each group: sqrt((G - 1) / G * sum of squared changes).
double ErrorOf(const std::vector<std::int64_t>& all,
               const std::vector<std::vector<std::int64_t>>& groups, std::size_t mode) {
  double sum = 0.0;
  for (const std::vector<std::int64_t>& group : groups) {
    std::vector<std::int64_t> rest = all;
    for (std::size_t bin = 0; bin < kBins; ++bin) rest[bin] -= group[bin];
    Density density(kBins, -1.0);
    const std::size_t first = Below(mode, kKernelBins);
    const std::size_t last = Above(mode, kKernelBins);
    for (std::size_t bin = first; bin < last; ++bin) density[bin] = DensityAt(rest, bin);
    const double change = PpmOf(HighestIn(density, first, last)) - PpmOf(mode);
    sum += change * change;
  }
  const double error = std::sqrt(sum * static_cast<double>(kGroups - 1) / kGroups);
  return std::max(error, kBinPpm);
}

double CountAt(const std::vector<std::int64_t>& counts, std::size_t mode, std::size_t distance) {
  if (distance == 0) return static_cast<double>(counts[mode]);
  const double below = mode < distance ? 0.0 : static_cast<double>(counts[mode - distance]);
  const double above =
      mode + distance >= kBins ? 0.0 : static_cast<double>(counts[mode + distance]);
  return below + above;
}

/// Counts above the background up to a distance in bins, for each distance.
std::vector<double> CrowdUpTo(const std::vector<std::int64_t>& counts, std::size_t mode,
                              double background) {
  std::vector<double> sums;
  double sum = 0.0;
  for (std::size_t distance = 0; distance <= kCrowdBins; ++distance) {
    sum += CountAt(counts, mode, distance) - (distance == 0 ? background : 2.0 * background);
    sums.push_back(sum);
  }
  return sums;
}

}  // namespace

bool IsSure(const Mode& mode, const ModeDemands& demands) {
  return mode.m_matches >= demands.m_least_matches && mode.m_strength >= demands.m_least_strength &&
         mode.m_error_ppm <= demands.m_most_error_ppm && std::fabs(mode.m_ppm) <= kMostPpm &&
         mode.m_rival <= kMostRival;
}

PpmHistogram::PpmHistogram() : m_all(kBins, 0), m_groups(kGroups, Counts(kBins, 0)) {}

void PpmHistogram::Add(double ppm, std::uint32_t group) {
  if (!(ppm >= -kModeRangePpm && ppm < kModeRangePpm)) return;
  const auto bin = static_cast<std::size_t>((ppm + kModeRangePpm) / kBinPpm);
  if (bin >= kBins) return;
  ++m_all[bin];
  ++m_groups[group % kGroups][bin];
}

std::optional<Mode> PpmHistogram::FindMode() const {
  const Density density = DensityOf(m_all);
  const std::size_t place = HighestIn(density, kFirst, kLast);
  if (!(density[place] > 0.0)) return std::nullopt;
  const Density rest = Elsewhere(density, place);
  // A background that is nearly empty would make every crowd infinitely strong.
  const double background = std::max(MiddleOf(rest), 1.0);
  const double height = std::max(density[place] - background, 0.0);
  const double rival = std::max(*std::ranges::max_element(rest) - background, 0.0);
  const std::vector<double> crowd = CrowdUpTo(m_all, place, background / KernelArea());
  const double wanted = kShareOfSpread * crowd.back();
  const auto reached = std::ranges::find_if(crowd, [wanted](double sum) { return sum >= wanted; });
  Mode mode;
  mode.m_ppm = PpmOf(place);
  mode.m_error_ppm = ErrorOf(m_all, m_groups, place);
  mode.m_matches = std::max(crowd[kKernelBins], 0.0);
  mode.m_strength = density[place] / background;
  mode.m_rival = height > 0.0 ? rival / height : 1.0;
  mode.m_spread_ppm = (static_cast<double>(reached - crowd.begin()) + 0.5) * kBinPpm;
  return mode;
}

}  // namespace tarvek::tools
