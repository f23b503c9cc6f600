#include "report/Content.h"

#include <algorithm>

namespace tarvek::tools {

RunContent::RunContent(const RunFiles& files) : m_rows(ReadReportRows(files.m_table)) {
  std::ranges::stable_sort(m_rows, {}, &ReportRow::m_scan_no);
  if (!files.m_record.empty()) m_record = ReadRunRecord(files.m_record);
  // The text is preferred: it has all declared precursors.
  if (!files.m_ms2.empty()) {
    m_kind = InputKind::kText;
    m_input = ReadTextInput(files.m_ms2);
  } else if (!files.m_scan_table.empty()) {
    m_kind = InputKind::kTable;
    m_input = ReadTableInput(files.m_scan_table);
  }
  if (m_record) m_correction = CalibrationIn(*m_record);
  if (m_correction && m_correction->IsOn()) CorrectDeclared(files);
}

void RunContent::CorrectDeclared(const RunFiles& files) {
  std::vector<ScanTime> times;
  for (const InputScan& scan : m_input) times.emplace_back(scan.m_scan_no, scan.m_rt_s);
  if (times.empty())
    for (const std::string& path : files.m_mgf) AppendMgfTimes(path, times);
  std::ranges::stable_sort(times, {}, &ScanTime::first);
  const auto correct = [&](std::int32_t scan_no, Precursor& declared) {
    const auto found = std::ranges::lower_bound(times, scan_no, {}, &ScanTime::first);
    const double rt_s = found == times.end() ? 0.0 : found->second;
    declared.m_mz = WithoutBias(declared.m_mz, m_correction->SurveyPpm(rt_s));
  };
  for (ReportRow& row : m_rows) correct(row.m_scan_no, row.m_declared);
  for (InputScan& scan : m_input)
    for (Precursor& declared : scan.m_declared) correct(scan.m_scan_no, declared);
}

std::string RunContent::InputText() const {
  return m_kind == InputKind::kText ? "the .ms2 file" : "the .mscsv table";
}

const InputScan* RunContent::InputOf(std::int32_t scan_no) const noexcept {
  const auto found = std::ranges::lower_bound(m_input, scan_no, {}, &InputScan::m_scan_no);
  return found != m_input.end() && found->m_scan_no == scan_no ? &*found : nullptr;
}

bool RunContent::IsExported(std::int32_t scan_no) const noexcept {
  return std::ranges::binary_search(m_rows, scan_no, {}, &ReportRow::m_scan_no);
}

}  // namespace tarvek::tools
