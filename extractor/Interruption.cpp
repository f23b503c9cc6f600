#include "Interruption.h"

#include <csignal>
#include <string>

namespace tarvek::extractor {
namespace {

volatile std::sig_atomic_t interrupted = 0;

}  // namespace

void CatchInterruptions() noexcept {
  const auto remember = [](int) { interrupted = 1; };
  std::signal(SIGINT, remember);
  std::signal(SIGTERM, remember);
}

void ThrowIfInterrupted() {
  if (interrupted != 0) throw std::string("interrupted; nothing was extracted");
}

}  // namespace tarvek::extractor
