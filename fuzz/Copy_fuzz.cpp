// Any bytes as the mzML file of a run, copied with two precursors for its scan 2.
#include <fstream>
#include <optional>

#include "ExtractorFuzz.h"
#include "NumberText.h"
#include "PrecursorTable.h"
#include "mzml/Copy.h"

namespace tarvek::fuzz {
namespace {

// Nothing is declared, so that no file is refused for its declared precursors.
constexpr std::string_view kRow =
    "HCD, FT, 2, -1.000000, -1, 2, 1, 500.250000, 2, 2, 501.500000, 3, \n";

tools::RunPrecursors Run() {
  const std::string table = ScratchPath("table.csv");
  WriteInput(table, std::string(kPrecursorTableHeader) + std::string(kRow));
  return tools::RunPrecursors(table);
}

std::optional<tools::CopyCounts> Copy(const std::string& input, const std::string& output,
                                      tools::PrecursorForm form) {
  static const tools::RunPrecursors run = Run();
  std::optional<tools::CopyCounts> counts;
  tools::CopyOptions options;
  options.m_form = form;
  RunReader([&] { counts = tools::CopyMzml(run, input, output, options); });
  return counts;
}

// Whether the file can be extracted and its scan 2 can be used, with whatever precursor.
bool HasTheScan(const std::string& path) {
  if (!ExtractFile(path, "-ms")) return false;
  std::ifstream text(path.substr(0, path.rfind('.')) + ".ms2");
  for (std::string line; std::getline(text, line);)
    if (line.starts_with("S\t") && ParseInteger(std::string_view(line).substr(2)) == 2) return true;
  return false;
}

void CopyInput(std::string_view content) {
  const std::string input = ScratchPath("input.mzML");
  const std::string output = ScratchPath("output.mzML");
  WriteInput(input, content);
  for (const auto form : {tools::PrecursorForm::kAll, tools::PrecursorForm::kSplit}) {
    const auto counts = Copy(input, output, form);
    Require(FileExists(output) == counts.has_value(), "a copy under its name is complete");
    if (!counts) continue;
    Require(counts->m_precursors <= 2, "the run has two precursors");
    if (form == tools::PrecursorForm::kAll && HasTheScan(input))
      Require(HasTheScan(output), "a copy is as readable as its input");
    Require(DeleteFileAt(output), "the copy can be removed");
  }
}

}  // namespace
}  // namespace tarvek::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tarvek::fuzz::CopyInput(tarvek::fuzz::InputText(data, size));
  return 0;
}
