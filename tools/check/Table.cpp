#include "check/Table.h"

#include <set>

namespace tarvek::tools {
namespace {

// Reads the current line and returns what is wrong with it; empty when it is valid. Every complete
// line of tarvek ends in a comma, a blank and a line feed.
std::string ReadRow(const PrecursorTableReader& reader, PrecursorRow& row) {
  std::string fault = reader.ReadRow(row);
  if (!fault.empty()) return fault;
  if (!reader.Line().ends_with(", ")) return "The row is cut off or has too few fields.";
  return reader.IsLineComplete() ? "" : "The last row has no end.";
}

/// Rows of scans that already have a row: a doubled table has very many.
struct RepeatedRows {
  std::int64_t m_count = 0;
  std::int32_t m_first_scan = 0;
  std::int64_t m_first_line = 0;

  void Add(std::int32_t scan_no, std::int64_t line) {
    if (m_count++ > 0) return;
    m_first_scan = scan_no;
    m_first_line = line;
  }
  void Report(CheckReport& report, const std::string& path) const {
    if (m_count == 0) return;
    const std::string more =
        m_count > 1 ? " So have " + std::to_string(m_count - 1) + " later rows." : "";
    report.Defect("csv-repeated", path,
                  "Scan " + std::to_string(m_first_scan) + " has another row already." + more,
                  kRunOrAskAgain, {std::nullopt, m_first_line});
  }
};

}  // namespace

TableContent CheckTable(CheckReport& report, const std::string& path) {
  TableContent content;
  std::set<std::int32_t> scan_numbers;
  RepeatedRows repeated;
  PrecursorTableReader reader(path);
  const auto defect = [&](const std::string& code, const std::string& meaning) {
    content.m_is_whole = false;
    report.Defect(code, path, meaning, kRunOrAskAgain, {std::nullopt, reader.Number()});
  };
  if (!reader.HasHeader()) {
    defect("csv-header", "It does not begin with the header of a precursor table.");
    return content;
  }
  for (PrecursorRow row; reader.NextLine();) {
    const std::string fault = ReadRow(reader, row);
    if (!fault.empty()) {
      defect("csv-row", fault);
      break;
    }
    if (!scan_numbers.insert(row.m_scan_no).second) repeated.Add(row.m_scan_no, reader.Number());
    content.m_scans[row.m_activation + row.m_analyser].push_back(
        {row.m_scan_no, std::move(row.m_determined)});
    ++content.m_rows;
  }
  repeated.Report(report, path);
  if (repeated.m_count > 0) content.m_is_whole = false;
  return content;
}

}  // namespace tarvek::tools
