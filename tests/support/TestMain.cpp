#include <gtest/gtest.h>

#include <string>

#include "Check.h"
#include "TestSupport.h"

namespace {

void ThrowCheckFailure(const char* expression, const char* module) {
  throw tarvek::test::CheckFailure(std::string(expression) + ", module " + module);
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  tarvek::SetCheckFailureHandler(&ThrowCheckFailure);
  return RUN_ALL_TESTS();
}
