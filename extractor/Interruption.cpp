#include "Interruption.h"

#include <string>

#include "Platform.h"

namespace tarvek::extractor {

void ThrowIfInterrupted() {
  if (StopRequested()) throw std::string("interrupted; nothing was extracted");
}

}  // namespace tarvek::extractor
