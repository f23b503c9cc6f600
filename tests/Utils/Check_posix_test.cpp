// A failed check ends the process by a signal; other systems do not have signals.
#include <gtest/gtest.h>

#include <csignal>

#include "Check.h"

namespace tarvek {
namespace {

void Return(const char*, const char*) {}

TEST(CheckDeathTest, AbortsWhenTheHandlerReturns) {
  EXPECT_EXIT(
      {
        SetCheckFailureHandler(&Return);
        FailCheck("x", "Check");
      },
      testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
}  // namespace tarvek
