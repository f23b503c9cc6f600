#include "ScanTable.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>
#include <utility>

#include "NumberText.h"
#include "NumericUtils.h"
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

// The messages are those of the standard conversions, which users' logs have always shown.
template <class Number>
Number Checked(const ScannedNumber<Number>& scanned, const std::string& conversion) {
  if (scanned.m_status == NumberStatus::kNoDigits) throw "invalid " + conversion + " argument";
  if (scanned.m_status == NumberStatus::kOutOfRange) throw conversion + " argument out of range";
  return scanned.m_value;
}

/// The fields of one row by column.
class RowFields {
 public:
  RowFields(std::string_view line, const std::array<std::size_t, kColumnCount>& positions)
      : m_fields(Split(line, "\t")), m_positions(&positions) {}

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
  explicit ScanTableReader(const std::string& path) : SpectrumReader(path, "r", "MSCSV") {}

  ScanTable Read() {
    ReadHeader();
    ScanTable table;
    std::string_view line;
    for (std::int64_t number = 2; ReadLine(line); ++number) {
      line = WithoutLineEnd(line);
      if (line.empty()) continue;
      ScanTableEntry entry = ParseRow(RowFields(line, m_positions));
      CheckScanNumber(entry.m_scan_no, number);
      table.Put(std::move(entry));
      CountRecord();
    }
    return table;
  }

 private:
  void ReadHeader() {
    std::string_view line;
    if (!ReadLine(line)) throw std::string("mscsv file is empty!");
    m_positions.fill(std::string_view::npos);
    const auto names = Split(WithoutLineEnd(line), "\t");
    for (std::size_t column = 0; column < kColumnCount; ++column) {
      for (std::size_t i = 0; i < names.size(); ++i)
        if (names[i] == kColumnNames[column]) m_positions[column] = i;
      if (m_positions[column] == std::string_view::npos)
        throw "mscsv file has no column " + std::string(kColumnNames[column]) + "!";
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

void ScanTable::Put(ScanTableEntry entry) {
  const std::int32_t scan_no = entry.m_scan_no;
  const auto [row, is_new] = m_row_of_scan.try_emplace(scan_no, m_rows.size());
  if (is_new)
    m_rows.push_back(std::move(entry));
  else
    m_rows[row->second] = std::move(entry);
  m_size = std::max(m_size, static_cast<std::size_t>(scan_no) + 1);
}

const ScanTableEntry* ScanTable::Find(std::int32_t scan_no) const {
  static const ScanTableEntry kDefaultEntry;
  const auto row = m_row_of_scan.find(scan_no);
  if (row != m_row_of_scan.end()) return &m_rows[row->second];
  return scan_no >= 0 && std::cmp_less(scan_no, m_size) ? &kDefaultEntry : nullptr;
}

ScanTable LoadScanTable(const std::string& path) {
  ScanTableReader reader(path);
  ScanTable table = reader.Read();
  reader.Finish();
  return table;
}

}  // namespace tarvek
