#include "NumericUtils.h"

#include <cmath>
#include <limits>

#include "Check.h"

namespace tarvek {
namespace {

// Below this a denominator counts as zero.
constexpr double kZeroDenominator = 1e-6;

}  // namespace

double CosineSimilarity(std::span<const double> a, std::span<const double> b) {
  double aa = 0.0;
  double bb = 0.0;
  double ab = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    aa += a[i] * a[i];
    bb += b[i] * b[i];
    ab += a[i] * b[i];
  }
  const double denominator = std::sqrt(aa * bb);
  return denominator <= kZeroDenominator ? 0.0 : ab / denominator;
}

double WeightedStdDev(std::span<const double> values, std::span<const double> weights) {
  TARVEK_CHECK(values.size() == weights.size(), "values.size() == weights.size()", "Utils");
  double w = 0.0;
  double s1 = 0.0;
  double s2 = 0.0;
  for (std::size_t i = 0; i < values.size(); ++i) {
    w += weights[i];
    s1 += weights[i] * values[i];
    s2 += weights[i] * values[i] * values[i];
  }
  if (values.empty() || w <= kZeroDenominator) return 0.0;
  return std::sqrt(std::fabs((s2 - s1 * s1 / w) / w));
}

std::int64_t TruncateToInt64(double value) {
  constexpr double kLimit = 9223372036854775808.0;  // 2^63, exact
  if (std::isnan(value)) return 0;
  if (value >= kLimit) return std::numeric_limits<std::int64_t>::max();
  if (value <= -kLimit) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(value);
}

}  // namespace tarvek
