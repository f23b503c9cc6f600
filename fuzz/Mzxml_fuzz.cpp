// Any bytes as an .mzXML file, extracted to the binary pair.
#include "ExtractorFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tarvek::fuzz::ExtractInput(tarvek::fuzz::InputText(data, size), "run.mzXML", "-msb");
  return 0;
}
