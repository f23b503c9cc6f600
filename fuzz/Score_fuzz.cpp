// Any bytes as a precursor table, a NUL byte, and its truth table.
#include "score/Score.h"

#include "FuzzSupport.h"

namespace tarvek::fuzz {
namespace {

void RequireRatio(const tools::Ratio& ratio) {
  Require(ratio.m_part >= 0 && ratio.m_part <= ratio.m_whole, "a part is no more than its whole");
}

void Compare(const std::string& table_path, const std::string& truth_path) {
  const tools::ScoreReport report = tools::ScoreTable(
      tools::ReadPrecursorTable(table_path), tools::ReadTruthTable(truth_path), 10.0, 0.05);
  for (const tools::ScoreFigures* figures : {&report.m_determined, &report.m_declared}) {
    RequireRatio(figures->m_target_recall);
    RequireRatio(figures->m_recall_10);
    RequireRatio(figures->m_precision);
    RequireRatio(figures->m_wrong_isotope);
  }
}

}  // namespace
}  // namespace tarvek::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvek;
  static const std::string table = fuzz::ScratchPath("run.csv");
  static const std::string truth = fuzz::ScratchPath("run.truth.tsv");
  const std::string_view input = fuzz::InputText(data, size);
  const std::size_t nul = std::min(input.find('\0'), input.size());
  fuzz::WriteInput(table, input.substr(0, nul));
  fuzz::WriteInput(truth, input.substr(std::min(nul + 1, input.size())));
  fuzz::RunReader([] { fuzz::Compare(table, truth); });
  return 0;
}
