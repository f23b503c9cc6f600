#include "simulate/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace tarvek::tools {
namespace {

constexpr std::size_t kDraws = 20000;

template <class Draw>
std::vector<double> Collect(Draw draw) {
  std::vector<double> values(kDraws);
  for (double& value : values) value = static_cast<double>(draw());
  return values;
}

double Mean(const std::vector<double>& values) {
  double sum = 0.0;
  for (const double value : values) sum += value;
  return sum / static_cast<double>(values.size());
}

double Variance(const std::vector<double>& values) {
  const double mean = Mean(values);
  double sum = 0.0;
  for (const double value : values) sum += (value - mean) * (value - mean);
  return sum / static_cast<double>(values.size());
}

TEST(Random, TheSameSeedAndStreamGiveTheSameNumbers) {
  Random a(7, 3);
  Random b(7, 3);
  for (int i = 0; i < 100; ++i) EXPECT_EQ(a.Bits(), b.Bits());
}

TEST(Random, OtherStreamsGiveOtherNumbers) { EXPECT_NE(Random(7, 3).Bits(), Random(7, 4).Bits()); }

TEST(Random, OtherSeedsGiveOtherNumbers) { EXPECT_NE(Random(7, 3).Bits(), Random(8, 3).Bits()); }

TEST(Random, SeedAndStreamAreNotInterchangeable) {
  EXPECT_NE(Random(7, 3).Bits(), Random(3, 7).Bits());
}

TEST(Random, UniformNumbersFillTheHalfOpenRange) {
  Random random(1);
  const std::vector<double> values = Collect([&] { return random.Uniform(2.0, 4.0); });
  EXPECT_GE(*std::ranges::min_element(values), 2.0);
  EXPECT_LT(*std::ranges::max_element(values), 4.0);
  EXPECT_NEAR(Mean(values), 3.0, 0.02);
}

TEST(Random, BelowReachesEveryNumberUnderItsLimitAndNoOther) {
  Random random(1);
  std::vector<int> counts(5, 0);
  for (std::size_t i = 0; i < kDraws; ++i) ++counts.at(random.Below(5));
  for (const int count : counts) EXPECT_NEAR(count, 4000, 300);
}

TEST(Random, NormalNumbersHaveMeanZeroAndVarianceOne) {
  Random random(1);
  const std::vector<double> values = Collect([&] { return random.Normal(); });
  EXPECT_NEAR(Mean(values), 0.0, 0.03);
  EXPECT_NEAR(Variance(values), 1.0, 0.04);
}

TEST(Random, HalfOfTheLogNormalNumbersLieBelowTheMedian) {
  Random random(1);
  const std::vector<double> values = Collect([&] { return random.LogNormal(50.0, 2.0); });
  const auto below = std::ranges::count_if(values, [](double value) { return value < 50.0; });
  EXPECT_NEAR(static_cast<double>(below), 10000.0, 300.0);
}

TEST(Random, ExponentialNumbersHaveTheirMean) {
  Random random(1);
  EXPECT_NEAR(Mean(Collect([&] { return random.Exponential(3.0); })), 3.0, 0.1);
}

class PoissonMean : public testing::TestWithParam<double> {};

TEST_P(PoissonMean, IsMeanAndVariance) {
  Random random(1);
  const std::vector<double> values = Collect([&] { return random.Poisson(GetParam()); });
  EXPECT_NEAR(Mean(values), GetParam(), 0.02 + 0.02 * GetParam());
  EXPECT_NEAR(Variance(values), GetParam(), 0.02 + 0.06 * GetParam());
}

INSTANTIATE_TEST_SUITE_P(CountedAndApproximated, PoissonMean,
                         testing::Values(0.0, 0.5, 8.0, 200.0));

TEST(Random, ChanceComesTrueAsOftenAsStated) {
  Random random(1);
  EXPECT_NEAR(Mean(Collect([&] { return random.Chance(0.3) ? 1.0 : 0.0; })), 0.3, 0.015);
}

}  // namespace
}  // namespace tarvek::tools
