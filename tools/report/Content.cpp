#include "report/Content.h"

#include <algorithm>

namespace tarvek::tools {

RunContent::RunContent(const RunFiles& files) : m_rows(ReadReportRows(files.m_table)) {
  std::ranges::stable_sort(m_rows, {}, &ReportRow::m_scan_no);
  if (!files.m_record.empty()) m_record = ReadRunRecord(files.m_record);
  // The text is preferred: it tells all precursors that were declared.
  if (!files.m_ms2.empty()) {
    m_kind = InputKind::kText;
    m_input = ReadTextInput(files.m_ms2);
  } else if (!files.m_scan_table.empty()) {
    m_kind = InputKind::kTable;
    m_input = ReadTableInput(files.m_scan_table);
  }
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
