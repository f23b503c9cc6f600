#include "CheckTable.h"

#include <set>

namespace tarvek::tools {
namespace {

constexpr const char* kRunAgain = "Run tarvek again with -r 1, or ask for the file again.";

// Reads the current line and says what is wrong with it; empty when nothing is. Nothing that tarvek
// wrote whole lacks the comma and blank at its end, or the line feed.
std::string ReadRow(const PrecursorTableReader& reader, PrecursorRow& row) {
  std::string fault = reader.ReadRow(row);
  if (!fault.empty()) return fault;
  if (!reader.Line().ends_with(", ")) return "The row is cut off or has too few fields.";
  return reader.IsLineComplete() ? "" : "The last row has no end.";
}

}  // namespace

TableContent CheckTable(CheckReport& report, const std::string& path) {
  TableContent content;
  std::set<std::int32_t> scan_numbers;
  PrecursorTableReader reader(path);
  const auto defect = [&](const std::string& code, const std::string& meaning) {
    content.m_is_whole = false;
    report.Defect(code, path, meaning, kRunAgain, {std::nullopt, reader.Number()});
  };
  if (!reader.HasHeader()) {
    defect("csv-header", "It does not begin with the header of a precursor table.");
    return content;
  }
  for (PrecursorRow row; reader.NextLine();) {
    const std::string fault = ReadRow(reader, row);
    if (!fault.empty()) {
      defect("csv-row", fault);
      return content;
    }
    if (!scan_numbers.insert(row.m_scan_no).second)
      defect("csv-repeated", "Scan " + std::to_string(row.m_scan_no) + " has another row already.");
    content.m_scans[row.m_activation + row.m_analyser].push_back(
        {row.m_scan_no, std::move(row.m_determined)});
    ++content.m_rows;
  }
  return content;
}

}  // namespace tarvek::tools
