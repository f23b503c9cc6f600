#include "Charge.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace tarvek {
namespace {

TEST(ChargeWithoutSign, IsTheSizeOfAnyNumber) {
  constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
  EXPECT_EQ(ChargeWithoutSign(0), 0);
  EXPECT_EQ(ChargeWithoutSign(3), 3);
  EXPECT_EQ(ChargeWithoutSign(-3), 3);
  EXPECT_EQ(ChargeWithoutSign(kLargest), kLargest);
  EXPECT_EQ(ChargeWithoutSign(-kLargest), kLargest);
}

TEST(ChargeWithoutSign, OfTheSmallestNumberIsTheLargest) {
  EXPECT_EQ(ChargeWithoutSign(std::numeric_limits<std::int32_t>::min()), 2147483647);
}

}  // namespace
}  // namespace tarvek
