#include "Check.h"

#include <cstdlib>
#include <iostream>

namespace tarvek {
namespace {

void PrintFailure(const char* expression, const char* module) {
  std::cout.flush();
  std::cerr << "Assertion failed: " << expression << ", module " << module << std::endl;
}

CheckFailureHandler g_handler = &PrintFailure;

}  // namespace

CheckFailureHandler SetCheckFailureHandler(CheckFailureHandler handler) noexcept {
  const CheckFailureHandler former = g_handler;
  g_handler = handler;
  return former;
}

void FailCheck(const char* expression, const char* module) {
  g_handler(expression, module);
  std::abort();
}

}  // namespace tarvek
