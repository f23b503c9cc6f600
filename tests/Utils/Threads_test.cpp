#include "Threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "Platform.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

class ThreadsAllowedTest : public testing::Test {
 protected:
  void TearDown() override { EXPECT_TRUE(SetEnvironment(kThreadsVariable, "")); }

  static std::size_t AllowedWith(const std::string& value) {
    EXPECT_TRUE(SetEnvironment(kThreadsVariable, value));
    return ThreadsAllowed();
  }
};

TEST_F(ThreadsAllowedTest, AreThoseOfTheMachineUnlessTheVariableSaysANumber) {
  EXPECT_EQ(AllowedWith(""), std::max(std::thread::hardware_concurrency(), 1u));
}

TEST_F(ThreadsAllowedTest, AreWhatTheVariableSays) {
  EXPECT_EQ(AllowedWith("1"), 1u);
  EXPECT_EQ(AllowedWith("12"), 12u);
}

TEST_F(ThreadsAllowedTest, AreRefusedUnlessAWholeNumberOfOneOrMore) {
  for (const std::string value :
       {"0", "-1", "+2", "2.5", "two", "2 ", " 2", "1e3", "99999999999999999999999"})
    EXPECT_EQ(test::MessageOf([&] { AllowedWith(value); }),
              "TARVEK_THREADS needs a whole number of 1 or more, not \"" + value + "\"");
}

}  // namespace
}  // namespace tarvek
