// Any bytes as the results of a search engine, of which kind their beginning decides.
#include "FuzzSupport.h"
#include "psms/Readers.h"

namespace tarvek::fuzz {
namespace {

void RequireSound(const tools::EngineMatch& match) {
  Require(match.m_run.size() <= tools::kMostRunNameBytes, "a run's name is cut");
  Require(match.m_scan_no >= 0 && match.m_place >= 0, "numbers of spectra are 0 or more");
  Require(match.m_index >= -1, "the index of a precursor is -1 or more");
  Require(!match.m_scores.m_engine.empty(), "the engine is known");
  const auto is_capital = [](char c) { return c >= 'A' && c <= 'Z'; };
  Require(std::ranges::all_of(match.m_sequence, is_capital), "a sequence is capital letters");
}

}  // namespace
}  // namespace tarvek::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvek;
  static const std::string path = fuzz::ScratchPath("result");
  fuzz::WriteInput(path, fuzz::InputText(data, size));
  fuzz::RunReader([] {
    tools::ReadMatches(path, [](tools::EngineMatch& match) { fuzz::RequireSound(match); });
  });
  return 0;
}
