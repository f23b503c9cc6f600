// What libFuzzer calls in the targets that read XML.
#include "XmlMutator.h"

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t max_size, unsigned int seed);
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t max_size, unsigned int seed) {
  return tarvek::fuzz::MutateXml(data, size, max_size, seed);
}
