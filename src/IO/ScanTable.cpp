#include "ScanTable.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <string_view>
#include <utility>

#include "NumberText.h"
#include "NumericUtils.h"
#include "PeakDigits.h"
#include "ShownText.h"
#include "SpectrumFile.h"
#include "StringUtils.h"

namespace tarvek {
namespace {

// No run has more scans; a larger number is a damaged table.
constexpr std::int32_t kMaxScanNumber = 100'000'000;

enum Column : std::size_t {
  kScanNo,
  kPrecursorScan,
  kActivationCenter,
  kRetTime,
  kIonInjectionTime,
  kActivationType,
  kInstrumentType,
  kNumberOfPeaks,
  kStartPos,
  kEndPos,
  kLowerCharge,
  kMonoIsotopicMz,
  kColumnCount
};

constexpr std::array<std::string_view, kColumnCount> kColumnNames = {
    "ScanNo",           "PrecursorScan",  "activationCenter", "RetTime",
    "IonInjectionTime", "activationType", "InstrumentType",   "NumberofPeaks",
    "StartPos",         "EndPos",         "lowerCharge",      "monoIsotopicMz"};

std::string_view WithoutLineEnd(std::string_view line) { return TrimRight(line, "\r\n"); }

// The messages of the standard conversions, which users' logs have always shown.
template <class Number>
Number Checked(const ScannedNumber<Number>& scanned, const std::string& conversion) {
  if (scanned.m_status == NumberStatus::kNoDigits) throw "invalid " + conversion + " argument";
  if (scanned.m_status == NumberStatus::kOutOfRange) throw conversion + " argument out of range";
  return scanned.m_value;
}

/// The fields of one row by column.
class RowFields {
 public:
  explicit RowFields(const std::array<std::size_t, kColumnCount>& positions)
      : m_positions(&positions) {}

  /// Refills with the fields of a line, from which they borrow.
  void Assign(std::string_view line) {
    m_fields.clear();
    for (std::size_t tab = line.find('\t'); tab != std::string_view::npos; tab = line.find('\t')) {
      m_fields.push_back(line.substr(0, tab));
      line.remove_prefix(tab + 1);
    }
    m_fields.push_back(line);
  }

  [[nodiscard]] std::string_view Text(Column column) const {
    const std::size_t position = (*m_positions)[column];
    return position < m_fields.size() ? m_fields[position] : std::string_view();
  }
  [[nodiscard]] std::int32_t Integer(Column column) const {
    return Checked(ScanInteger(Text(column)), "stoi");
  }
  [[nodiscard]] std::int64_t Integer64(Column column) const {
    return Checked(ScanInteger64(Text(column)), "stoll");
  }
  [[nodiscard]] double Real(Column column) const { return Checked(ScanReal(Text(column)), "stod"); }
  [[nodiscard]] std::string Trimmed(Column column) const { return std::string(Trim(Text(column))); }

 private:
  std::vector<std::string_view> m_fields;
  const std::array<std::size_t, kColumnCount>* m_positions;
};

// The shortest text without exponent that reads back as value.
void AppendExactFixed(std::string& text, double value) {
  char field[kMaxFixedText];
  text.append(field,
              std::to_chars(field, field + sizeof field, value, std::chars_format::fixed).ptr);
}

std::int32_t TruncateToInt32(double value) {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(
      std::clamp<std::int64_t>(TruncateToInt64(value), Limits::min(), Limits::max()));
}

// Fields are converted in column order, so the first bad one decides the message.
ScanTableEntry ParseRow(const RowFields& fields) {
  ScanTableEntry entry;
  entry.m_scan_no = fields.Integer(kScanNo);
  entry.m_precursor_scan = fields.Integer(kPrecursorScan);
  entry.m_activation_center = fields.Real(kActivationCenter);
  entry.m_rt = fields.Real(kRetTime);
  entry.m_ion_injection_time = fields.Real(kIonInjectionTime);
  entry.m_activation_type = fields.Trimmed(kActivationType);
  entry.m_instrument_type = fields.Trimmed(kInstrumentType);
  entry.m_peak_num = fields.Integer(kNumberOfPeaks);
  entry.m_start_pos = fields.Integer64(kStartPos);
  entry.m_end_pos = fields.Integer64(kEndPos);
  entry.m_lower_charge = TruncateToInt32(fields.Real(kLowerCharge));
  entry.m_mono_mz = fields.Real(kMonoIsotopicMz);
  return entry;
}

class ScanTableReader final : public SpectrumReader {
 public:
  ScanTableReader(const std::string& path, NoticeTaker notice)
      : SpectrumReader(path, "r", "MSCSV", notice) {}

  ScanTable Read() {
    ReadHeader();
    std::vector<ScanTableEntry> rows;
    RowFields fields(m_positions);
    std::string_view line;
    for (std::int64_t number = 2; ReadLine(line); ++number) {
      line = WithoutLineEnd(line);
      if (line.empty()) continue;
      fields.Assign(line);
      rows.push_back(RowOf(fields, number));
      CheckScanNumber(rows.back().m_scan_no, number);
      CountRecord();
    }
    return ScanTable(std::move(rows));
  }

 private:
  void ReadHeader() {
    std::string_view line;
    if (!ReadLine(line)) throw FileFault(Path(), "mscsv file is empty!");
    m_positions.fill(std::string_view::npos);
    const auto names = Split(WithoutLineEnd(line), "\t");
    for (std::size_t column = 0; column < kColumnCount; ++column) {
      for (std::size_t i = 0; i < names.size(); ++i)
        if (names[i] == kColumnNames[column]) m_positions[column] = i;
      if (m_positions[column] == std::string_view::npos)
        throw FileFault(Path(),
                        "mscsv file has no column " + std::string(kColumnNames[column]) + "!");
    }
  }

  [[nodiscard]] ScanTableEntry RowOf(const RowFields& fields, std::int64_t line_number) const {
    try {
      return ParseRow(fields);
    } catch (const std::string& what) {
      throw FileFault(Path(), what, "line " + std::to_string(line_number) + ": " + what);
    }
  }

  void CheckScanNumber(std::int32_t scan_no, std::int64_t line_number) const {
    if (scan_no >= 0 && scan_no <= kMaxScanNumber) return;
    throw "mscsv file " + Path() + ", line " + std::to_string(line_number) + ": scan number " +
        std::to_string(scan_no) + " is out of range!";
  }

  std::array<std::size_t, kColumnCount> m_positions{};
};

}  // namespace

ScanTable::ScanTable(std::vector<ScanTableEntry> rows) : m_rows(std::move(rows)) {
  const auto not_ascending = [](const ScanTableEntry& a, const ScanTableEntry& b) {
    return a.m_scan_no >= b.m_scan_no;
  };
  if (std::ranges::adjacent_find(m_rows, not_ascending) == m_rows.end()) return;
  // Reversed, so that of equal numbers the last row comes first and is kept.
  std::ranges::reverse(m_rows);
  std::ranges::stable_sort(m_rows, {}, &ScanTableEntry::m_scan_no);
  const auto same_scan = [](const ScanTableEntry& a, const ScanTableEntry& b) {
    return a.m_scan_no == b.m_scan_no;
  };
  m_rows.erase(std::unique(m_rows.begin(), m_rows.end(), same_scan), m_rows.end());
}

std::size_t ScanTable::Size() const noexcept {
  return m_rows.empty() ? 0 : static_cast<std::size_t>(m_rows.back().m_scan_no) + 1;
}

const ScanTableEntry* ScanTable::Find(std::int32_t scan_no) const {
  static const ScanTableEntry kDefaultEntry;
  if (scan_no < 0 || std::cmp_greater_equal(scan_no, Size())) return nullptr;
  const std::int64_t guess = std::int64_t{scan_no} - m_rows.front().m_scan_no;
  if (guess >= 0 && guess < std::ssize(m_rows)) {
    const ScanTableEntry& row = m_rows[static_cast<std::size_t>(guess)];
    if (row.m_scan_no == scan_no) return &row;
  }
  const auto row = std::ranges::lower_bound(m_rows, scan_no, {}, &ScanTableEntry::m_scan_no);
  return row->m_scan_no == scan_no ? &*row : &kDefaultEntry;
}

std::string ScanTableHeader() {
  std::string header;
  for (const std::string_view name : kColumnNames) header.append(name) += '\t';
  header.back() = '\n';
  return header;
}

// In the order of kColumnNames.
void AppendScanTableRow(std::string& text, const ScanTableEntry& entry, int mz_decimals) {
  const auto integer = [&text](std::int64_t value) {
    AppendInteger(text, value);
    text += '\t';
  };
  const auto real = [&text](double value, int decimals) {
    AppendFixed(text, value, decimals);
    text += '\t';
  };
  integer(entry.m_scan_no);
  integer(entry.m_precursor_scan);
  real(entry.m_activation_center, mz_decimals);
  real(entry.m_rt, kTimeDecimals);
  real(entry.m_ion_injection_time, kTimeDecimals);
  text.append(entry.m_activation_type).append("\t").append(entry.m_instrument_type) += '\t';
  integer(entry.m_peak_num);
  integer(entry.m_start_pos);
  integer(entry.m_end_pos);
  integer(entry.m_lower_charge);
  AppendExactFixed(text, entry.m_mono_mz);
  text += '\n';
}

ScanTable LoadScanTable(const std::string& path, NoticeTaker notice) {
  ScanTableReader reader(path, notice);
  ScanTable table = reader.Read();
  reader.Finish();
  return table;
}

}  // namespace tarvek
