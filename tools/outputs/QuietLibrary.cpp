#include "outputs/QuietLibrary.h"

#include <iostream>
#include <string>

namespace tarvek::tools {
namespace {

void ThrowFailure(const char* expression, const char* module) {
  throw "internal check failed: " + std::string(expression) + ", module " + module;
}

}  // namespace

QuietLibrary::QuietLibrary()
    : m_out(std::cout.rdbuf(m_log.rdbuf())),
      m_err(std::cerr.rdbuf(m_log.rdbuf())),
      m_handler(SetCheckFailureHandler(&ThrowFailure)) {}

QuietLibrary::~QuietLibrary() {
  std::cout.rdbuf(m_out);
  std::cerr.rdbuf(m_err);
  SetCheckFailureHandler(m_handler);
}

}  // namespace tarvek::tools
