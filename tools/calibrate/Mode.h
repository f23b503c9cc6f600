// tools/calibrate/Mode.h: the commonest of many mostly random differences.
// Does:     counts differences in ppm; finds where they crowd, how far the crowd is above the
//           background, its width, and the error of its place.
// Owns:     its counts, which have a fixed size.
// Throws:   nothing but std::bad_alloc.
// Not here: what the differences are of (calibrate/Estimator.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace tarvek::tools {

/// Differences from -kModeRangePpm to kModeRangePpm are counted.
inline constexpr double kModeRangePpm = 25.0;

struct Mode {
  double m_ppm = 0.0;        // place of the highest density
  double m_error_ppm = 0.0;  // its standard error, leaving out one group of scans at a time
  double m_matches = 0.0;    // differences in the crowd, without the background under it
  double m_strength = 0.0;   // density at the mode, as a multiple of the background
  double m_rival = 0.0;  // height above the background of the best other crowd, as share of its own
  double m_spread_ppm = 0.0;  // half the width that holds 68.27 % of the crowd
};

/// The requirements for a reliable mode.
struct ModeDemands {
  double m_least_matches = 0.0;
  double m_least_strength = 0.0;
  double m_most_error_ppm = 0.0;
};

/// Whether the mode has that, is far from the ends of the range, and has no rival of half its
/// height.
bool IsSure(const Mode& mode, const ModeDemands& demands);

class PpmHistogram {
 public:
  PpmHistogram();

  /// group: any number that is the same for all differences of a scan. A difference outside the range
  /// is ignored.
  void Add(double ppm, std::uint32_t group);

  /// The mode under a triweight kernel of 1.5 ppm standard deviation; the lowest of equal ones.
  /// std::nullopt without differences.
  [[nodiscard]] std::optional<Mode> FindMode() const;

 private:
  using Counts = std::vector<std::int64_t>;

  Counts m_all;
  std::vector<Counts> m_groups;
};

}  // namespace tarvek::tools
