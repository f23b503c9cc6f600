#include "ipv/TableFile.h"

#include "NumberText.h"
#include "UnfinishedFile.h"

namespace tarvek::tools {
namespace {

// Enough for every comparison of envelopes; a table of 15000 rows stays below a megabyte.
constexpr int kDecimals = 6;

}  // namespace

std::string IsotopeTableText(std::span<const IsotopeEnvelope> rows) {
  std::string text;
  for (const IsotopeEnvelope& row : rows) {
    for (std::size_t k = 0; k < row.size(); ++k) {
      if (k > 0) text += ' ';
      AppendFixed(text, row[k], kDecimals);
    }
    text += '\n';
  }
  return text;
}

void WriteIsotopeTable(const std::string& path, std::span<const IsotopeEnvelope> rows) {
  WriteWhole(path, IsotopeTableText(rows), "isotope table");
}

}  // namespace tarvek::tools
