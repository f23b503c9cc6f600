// Any bytes as an .mzML file, extracted to text.
#include "ExtractorFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tarvek::fuzz::ExtractInput(tarvek::fuzz::InputText(data, size), "run.mzML", "-ms");
  return 0;
}
