#include "CheckTable.h"

#include <set>
#include <string_view>

#include "NumberText.h"
#include "TableReader.h"

namespace tarvek::tools {
namespace {

constexpr std::string_view kHeaderStart = "ActivationType, InstrumentType, MS2Scan, OrigMZ, ";
constexpr const char* kRunAgain = "Run tarvek again with -r 1, or ask for the file again.";

// Fields before those of the precursors, and of each precursor.
constexpr std::size_t kFixedFields = 6;
constexpr std::size_t kPrecursorFields = 3;

/// The fields of a row, which a comma and a blank follow each; empty when the row is cut off.
std::vector<std::string_view> Fields(std::string_view row) {
  std::vector<std::string_view> fields;
  while (!row.empty()) {
    const std::size_t end = row.find(", ");
    if (end == std::string_view::npos) return {};
    fields.push_back(row.substr(0, end));
    row.remove_prefix(end + 2);
  }
  return fields;
}

bool IsNumber(std::string_view field) { return ScanReal(field).m_status == NumberStatus::kOk; }

// What is wrong with a row; empty when nothing is.
std::string RowFault(const std::vector<std::string_view>& fields) {
  if (fields.size() < kFixedFields) return "The row is cut off or has too few fields.";
  for (std::size_t i = 2; i < fields.size(); ++i)
    if (!IsNumber(fields[i])) return "'" + std::string(fields[i]) + "' is not a number.";
  const std::size_t determined = fields.size() - kFixedFields;
  const std::int32_t count = ParseInteger(fields[5]);
  if (count < 0 || determined != kPrecursorFields * static_cast<std::size_t>(count))
    return "The row counts " + std::to_string(count) + " precursors and has " +
           std::to_string(determined) + " fields for them.";
  return {};
}

}  // namespace

TableContent CheckTable(CheckReport& report, const std::string& path) {
  TableContent content;
  std::set<std::int32_t> scan_numbers;
  TextLines lines(path);
  const auto defect = [&](const std::string& code, const std::string& meaning) {
    content.m_is_whole = false;
    report.Defect(code, path, meaning, kRunAgain, {std::nullopt, lines.Number()});
  };
  std::string line;
  if (!lines.Next(line) || !line.starts_with(kHeaderStart)) {
    defect("csv-header", "It does not begin with the header of a precursor table.");
    return content;
  }
  while (lines.Next(line)) {
    const std::vector<std::string_view> fields = Fields(line);
    std::string fault = RowFault(fields);
    if (fault.empty() && !lines.IsComplete()) fault = "The last row has no end.";
    if (!fault.empty()) {
      defect("csv-row", fault);
      return content;
    }
    ExportedScan scan;
    scan.m_scan_no = ParseInteger(fields[2]);
    if (!scan_numbers.insert(scan.m_scan_no).second)
      defect("csv-repeated",
             "Scan " + std::to_string(scan.m_scan_no) + " has another row already.");
    for (std::size_t i = kFixedFields; i < fields.size(); i += kPrecursorFields)
      scan.m_precursors.push_back({ParseReal(fields[i + 1]), ParseInteger(fields[i + 2])});
    content.m_scans[std::string(fields[0]) + std::string(fields[1])].push_back(std::move(scan));
    ++content.m_rows;
  }
  return content;
}

bool IsPrecursorTable(const std::string& path) {
  TextLines lines(path);
  std::string line;
  return lines.Next(line) && line.starts_with(kHeaderStart);
}

}  // namespace tarvek::tools
