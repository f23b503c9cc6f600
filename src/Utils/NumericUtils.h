// Utils/NumericUtils.h: small numeric kernels over spans.
// Does:     pure functions; each sum adds the values in their order, which affects the result.
// Throws:   nothing; in a corner case each returns the fallback that its comment names.
#pragma once

#include <cstdint>
#include <span>

namespace tarvek {

/// Uncentred cosine sum(a b) / sqrt(sum(a a) sum(b b)) over the length of a; b is at least as long.
/// 0 when a is empty or the root is at most 1e-6.
double CosineSimilarity(std::span<const double> a, std::span<const double> b);

/// Weighted population standard deviation sqrt(|(S2 - S1^2 / W) / W|) with W = sum w, S1 = sum w x,
/// S2 = sum w x^2. 0 when there are no values or W is at most 1e-6. Checks that the lengths agree.
double WeightedStdDev(std::span<const double> values, std::span<const double> weights);

/// value without its fraction, clamped to the 64-bit range; 0 for NaN.
std::int64_t TruncateToInt64(double value);

}  // namespace tarvek
