#include "Check.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "TestSupport.h"

namespace tarvek {
namespace {

void ThrowRuntimeError(const char* expression, const char*) {
  throw std::runtime_error(expression);
}

// Installs a handler while it lives.
class WithHandler {
 public:
  explicit WithHandler(CheckFailureHandler handler) : m_former(SetCheckFailureHandler(handler)) {}
  ~WithHandler() { SetCheckFailureHandler(m_former); }
  WithHandler(const WithHandler&) = delete;
  WithHandler& operator=(const WithHandler&) = delete;

 private:
  CheckFailureHandler m_former;
};

TEST(Check, PassesWhenItsConditionHolds) {
  EXPECT_NO_THROW(TARVEK_CHECK(1 + 1 == 2, "1 + 1 == 2", "Check"));
}
TEST(Check, HandsExpressionAndModuleToTheHandler) {
  EXPECT_EQ(test::MessageOf([] { TARVEK_CHECK(false, "peaks.size() > 0", "Check"); }),
            "peaks.size() > 0, module Check");
}
TEST(Check, EvaluatesItsConditionOnce) {
  int count = 0;
  TARVEK_CHECK(++count > 0, "++count > 0", "Check");
  EXPECT_EQ(count, 1);
}
TEST(Check, LetsTheHandlerBeReplaced) {
  const WithHandler handler(&ThrowRuntimeError);
  EXPECT_THROW(FailCheck("x", "Check"), std::runtime_error);
}

}  // namespace
}  // namespace tarvek
