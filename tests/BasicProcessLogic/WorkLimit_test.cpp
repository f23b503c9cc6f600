#include "WorkLimit.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>

namespace tarvek {
namespace {

constexpr std::int64_t kNone = std::numeric_limits<std::int64_t>::max();

UserParameters WithCharges(std::int32_t least, std::int32_t most) {
  UserParameters parameters;
  parameters.m_charge_min = least;
  parameters.m_charge_max = most;
  return parameters;
}

UserParameters WithHalfWidth(double half_width) {
  UserParameters parameters;
  parameters.m_candidate_halfwidth = half_width;
  return parameters;
}

TEST(MostWork, GrowsWithTheInput) {
  EXPECT_EQ(MostWork({}, 0), 20'000'000);
  EXPECT_EQ(MostWork({}, 10'000'000), 100'000'000);
}

TEST(MostWork, GrowsWithTheChargesAskedFor) {
  EXPECT_EQ(MostWork(WithCharges(1, 10), 0), 40'000'000);
  EXPECT_EQ(MostWork(WithCharges(-10, -1), 0), 40'000'000);
  EXPECT_EQ(MostWork(WithCharges(2, 2), 0), 20'000'000);
}

TEST(MostWork, GrowsWithTheWidth) {
  EXPECT_EQ(MostWork(WithHalfWidth(4.5), 0), 30'000'000);
  EXPECT_EQ(MostWork(WithHalfWidth(1.0), 0), 20'000'000);
  EXPECT_EQ(MostWork(WithHalfWidth(std::numeric_limits<double>::quiet_NaN()), 0), 20'000'000);
}

TEST(MostWork, HasNoLimitForAnInputWithoutASize) { EXPECT_EQ(MostWork({}, std::nullopt), kNone); }

TEST(MostWork, StaysInsideTheIntegerRange) {
  EXPECT_EQ(MostWork({}, kNone), kNone);
  EXPECT_EQ(MostWork(WithHalfWidth(1e300), 1), kNone);
  EXPECT_EQ(MostWork(WithHalfWidth(std::numeric_limits<double>::infinity()), 1), kNone);
}

}  // namespace
}  // namespace tarvek
