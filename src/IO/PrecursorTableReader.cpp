#include "PrecursorTableReader.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <span>
#include <string_view>

#include "FileUtils.h"
#include "NumberText.h"
#include "PrecursorTable.h"
#include "RunRecord.h"
#include "StringUtils.h"

namespace tarvek {
namespace {

// Enough of the header to tell it from other tables.
constexpr std::string_view kHeaderStart =
    kPrecursorTableHeader.substr(0, kPrecursorTableHeader.find("OrigCharge"));

constexpr std::ptrdiff_t kMostFields{kPrecursorTableFixedFields +
                                     kPrecursorTableSlotFields * kMostTablePrecursors};

// Of an activation or analyser; tables write it for each precursor of the row.
constexpr std::size_t kMostWordBytes = 100;

// A comma and a blank follow every field, including the last.
std::vector<std::string_view> FieldsOf(std::string_view line) {
  std::vector<std::string_view> fields;
  for (const std::string_view field : Split(line, ",")) fields.push_back(Trim(field));
  if (!fields.empty() && fields.back().empty()) fields.pop_back();
  return fields;
}

// Nothing when the last line has no end.
std::optional<std::int64_t> CountRows(LineReader& lines) {
  std::int64_t rows = 0;
  bool is_whole = true;
  for (std::string_view piece; lines.ReadPiece(piece);) {
    is_whole = piece.ends_with('\n');
    rows += is_whole ? 1 : 0;
  }
  if (!is_whole) return std::nullopt;
  return rows;
}

// What the record of the run says of its table; nothing without a record that can be used.
std::optional<std::int64_t> RecordedRows(std::string_view table) {
  if (!table.ends_with(kTableEnding)) return std::nullopt;
  std::string record(table.substr(0, table.size() - kTableEnding.size()));
  record += kRunRecordEnding;
  if (!FileExists(record)) return std::nullopt;
  try {
    return ReadRunRecord(record).Count(kCountMs2Exported);
  } catch (const UnusableRecord&) {
    return std::nullopt;
  }
}

// The numbers begin with the third field; only the m/z are real.
bool IsNumber(std::span<const std::string_view> fields, std::size_t i) {
  const bool is_mz = i < kPrecursorTableFixedFields
                         ? i == 3
                         : (i - kPrecursorTableFixedFields) % kPrecursorTableSlotFields == 1;
  return (is_mz ? ScanReal(fields[i]).m_status : ScanInteger(fields[i]).m_status) ==
         NumberStatus::kOk;
}

std::string FaultOf(std::span<const std::string_view> fields) {
  if (fields.size() < kPrecursorTableFixedFields)
    return "The row is cut off or has too few fields.";
  for (const std::string_view word : fields.first(2))
    if (word.size() > kMostWordBytes)
      return "The row has a word of more than " + std::to_string(kMostWordBytes) + " bytes.";
  for (std::size_t i = 2; i < fields.size(); ++i)
    if (!IsNumber(fields, i)) return "'" + std::string(fields[i]) + "' is not a number.";
  const std::int64_t given = std::ssize(fields) - std::int64_t{kPrecursorTableFixedFields};
  const std::int32_t count = ParseInteger(fields[5]);
  if (count >= 0 && given == std::int64_t{kPrecursorTableSlotFields} * count) return {};
  return "The row counts " + std::to_string(count) + " precursors and has " +
         std::to_string(given) + " fields for them.";
}

}  // namespace

PrecursorTableReader::PrecursorTableReader(const std::string& path)
    : m_lines(path), m_has_header(NextLine() && m_line.starts_with(kHeaderStart)) {}

bool PrecursorTableReader::Next(PrecursorRow& row) {
  if (!m_has_header) m_lines.Fail("not a precursor table.");
  if (!NextLine()) return false;
  const std::string fault = ReadRow(row);
  if (!fault.empty()) m_lines.Fail(fault);
  return true;
}

std::string PrecursorTableReader::ReadRow(PrecursorRow& row) const {
  if (std::ranges::count(m_line, ',') > kMostFields)
    return "The row has more than " + std::to_string(kMostFields) + " fields, which no scan needs.";
  const std::vector<std::string_view> fields = FieldsOf(m_line);
  std::string fault = FaultOf(fields);
  if (!fault.empty()) return fault;
  row.m_activation = fields[0];
  row.m_analyser = fields[1];
  row.m_scan_no = ParseInteger(fields[2]);
  row.m_declared = {ParseReal(fields[3]), ParseInteger(fields[4])};
  row.m_determined.clear();
  for (std::size_t i = kPrecursorTableFixedFields; i < fields.size();
       i += kPrecursorTableSlotFields)
    row.m_determined.push_back({ParseReal(fields[i + 1]), ParseInteger(fields[i + 2])});
  return {};
}

bool IsPrecursorTable(const std::string& path) {
  if (!FileExists(path)) return false;
  File file = OpenOwnFile(path, "table");
  LineReader lines(file);
  std::string_view piece;
  return lines.ReadPiece(piece) && piece.starts_with(kHeaderStart);
}

std::string FlawOfTable(const std::string& path) {
  const FileState state = StateAt(path);
  if (state == FileState::kUnreadable) return "it cannot be read";
  if (state != FileState::kReadable) return "it is not there";
  File file = OpenOwnFile(path, "table");
  LineReader lines(file);
  std::string_view piece;
  if (!lines.ReadPiece(piece)) return "it is empty";
  constexpr std::string_view kHeader =
      kPrecursorTableHeader.substr(0, kPrecursorTableHeader.size() - 1);
  if (!piece.ends_with('\n') || TrimRight(piece, "\r\n") != kHeader)
    return "it does not begin with the header";
  const std::optional<std::int64_t> recorded = RecordedRows(path);
  if (!recorded) return "";
  const std::optional<std::int64_t> rows = CountRows(lines);
  if (!rows) return "its last line is cut off";
  if (rows == recorded) return "";
  return "it has " + std::to_string(*rows) + " rows, and its record counts " +
         std::to_string(*recorded);
}

bool IsFinishedTable(const std::string& path) { return FlawOfTable(path).empty(); }

}  // namespace tarvek
