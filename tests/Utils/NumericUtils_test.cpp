#include "NumericUtils.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "TestSupport.h"

namespace tarvek {
namespace {

using Values = std::vector<double>;

TEST(CosineSimilarity, OfNothingIsZero) { EXPECT_EQ(CosineSimilarity({}, {}), 0.0); }
TEST(CosineSimilarity, OfParallelVectorsIsOne) {
  // sqrt(5 * 20) = 10 and the product is 10, all exact.
  EXPECT_EQ(CosineSimilarity(Values{1, 2}, Values{2, 4}), 1.0);
}
TEST(CosineSimilarity, OfOpposedVectorsIsMinusOne) {
  EXPECT_EQ(CosineSimilarity(Values{1, 2}, Values{-2, -4}), -1.0);
}
TEST(CosineSimilarity, OfPerpendicularVectorsIsZero) {
  EXPECT_EQ(CosineSimilarity(Values{1, 0}, Values{0, 1}), 0.0);
}
TEST(CosineSimilarity, UsesTheLengthOfTheFirst) {
  EXPECT_EQ(CosineSimilarity(Values{3}, Values{5, 100}), 1.0);
}
TEST(CosineSimilarity, IsNotCentred) {
  // (1*4 + 2*3) / sqrt(5 * 25)
  EXPECT_DOUBLE_EQ(CosineSimilarity(Values{1, 2}, Values{4, 3}), 10.0 / std::sqrt(125.0));
}
TEST(CosineSimilarity, IsZeroAtADenominatorOfOneMillionth) {
  EXPECT_EQ(CosineSimilarity(Values{1e-6}, Values{1}), 0.0);
}
TEST(CosineSimilarity, IsComputedAboveADenominatorOfOneMillionth) {
  EXPECT_DOUBLE_EQ(CosineSimilarity(Values{1.01e-6}, Values{1}), 1.0);
}

TEST(WeightedStdDev, OfTwoEqualWeightsIsHalfTheDistance) {
  EXPECT_EQ(WeightedStdDev(Values{1, 3}, Values{1, 1}), 1.0);
}
TEST(WeightedStdDev, IsZeroForWeightsOfZero) {
  EXPECT_EQ(WeightedStdDev(Values{1, 3}, Values{0, 0}), 0.0);
}
TEST(WeightedStdDev, OfNothingIsZero) { EXPECT_EQ(WeightedStdDev({}, {}), 0.0); }
TEST(WeightedStdDev, WeighsTheValues) {
  // mean 3, variance (3 * 1 + 1 * 9) / 4 = 3
  EXPECT_DOUBLE_EQ(WeightedStdDev(Values{2, 6}, Values{3, 1}), std::sqrt(3.0));
}
TEST(WeightedStdDev, IsZeroAtAWeightOfOneMillionth) {
  EXPECT_EQ(WeightedStdDev(Values{1, 3}, Values{5e-7, 5e-7}), 0.0);
}
TEST(WeightedStdDev, IsZeroForNegativeWeights) {
  EXPECT_EQ(WeightedStdDev(Values{1, 3}, Values{-1, -1}), 0.0);
}
TEST(WeightedStdDev, NeverGivesNanForEqualValues) {
  for (const double value : {0.1, 445.120025, 1e9 / 3}) {
    const double deviation = WeightedStdDev(Values(7, value), Values(7, 0.3));
    EXPECT_GE(deviation, 0.0);
    EXPECT_LT(deviation, 1e-6 * value);
  }
}
TEST(WeightedStdDev, ChecksTheLengths) {
  EXPECT_EQ(test::MessageOf([] {
              WeightedStdDev(Values{1}, Values{1, 2});
            }),
            "values.size() == weights.size(), module Utils");
}

TEST(TruncateToInt64, CutsTowardsZero) {
  EXPECT_EQ(TruncateToInt64(2.99), 2);
  EXPECT_EQ(TruncateToInt64(-2.99), -2);
}
TEST(TruncateToInt64, OfNanIsZero) { EXPECT_EQ(TruncateToInt64(std::nan("")), 0); }
TEST(TruncateToInt64, HoldsTheLimits) {
  using Limits = std::numeric_limits<std::int64_t>;
  EXPECT_EQ(TruncateToInt64(1e300), Limits::max());
  EXPECT_EQ(TruncateToInt64(9223372036854775808.0), Limits::max());
  EXPECT_EQ(TruncateToInt64(-9223372036854775808.0), Limits::min());
  EXPECT_EQ(TruncateToInt64(-std::numeric_limits<double>::infinity()), Limits::min());
}
TEST(TruncateToInt64, KeepsTheLargestDoubleBelowTheLimit) {
  EXPECT_EQ(TruncateToInt64(9223372036854774784.0), 9223372036854774784);
}

}  // namespace
}  // namespace tarvek
