#include "mzml/RunPrecursors.h"

#include <algorithm>
#include <cmath>

#include "EvidenceTable.h"
#include "NumberText.h"
#include "PrecursorTable.h"
#include "PrecursorTableReader.h"
#include "RunRecord.h"
#include "outputs/SameIon.h"
#include "report/Files.h"

namespace tarvek::tools {
namespace {

template <class Scans>
auto FindScan(Scans& scans, std::int32_t scan_no) {
  const auto found = std::ranges::lower_bound(scans, scan_no, {}, &RunPrecursors::Scan::m_scan_no);
  return found != scans.end() && found->m_scan_no == scan_no ? &*found : nullptr;
}

}  // namespace

RunPrecursors::RunPrecursors(const std::string& base_path) {
  const RunFiles files = FindRunFiles(base_path, "");
  m_base = files.m_table.substr(0, files.m_table.size() - kTableEnding.size());
  ReadTable(files.m_table);
  if (!files.m_evidence.empty()) ReadEvidence(files.m_evidence);
  if (!files.m_record.empty()) ReadRecord(files.m_record);
}

void RunPrecursors::ReadTable(const std::string& path) {
  PrecursorTableReader reader(path);
  if (!reader.HasHeader()) throw path + " is not a precursor table of tarvek.";
  for (PrecursorRow row; reader.Next(row);) {
    m_scans.push_back(
        {row.m_scan_no, row.m_declared, m_precursors.size(), row.m_determined.size(), false});
    m_precursors.insert(m_precursors.end(), row.m_determined.begin(), row.m_determined.end());
  }
  std::ranges::stable_sort(m_scans, {}, &Scan::m_scan_no);
}

void RunPrecursors::ReadEvidence(const std::string& path) {
  m_is_joint = true;
  EvidenceReader reader(path);
  for (EvidenceRow row; reader.Next(row);)
    if (Scan* const scan = FindScan(m_scans, row.m_scan_no)) scan->m_has_evidence = true;
}

void RunPrecursors::ReadRecord(const std::string& path) {
  const RunRecord record = ReadRunRecord(path);
  m_correction = CalibrationIn(record);
  const auto digits = record.m_settings.find(std::string(kSettingMzDigits));
  if (digits != record.m_settings.end())
    m_rounding_mz += std::pow(10.0, -ParseInteger(digits->second));
}

const RunPrecursors::Scan* RunPrecursors::Find(std::int32_t scan_no) const noexcept {
  return FindScan(m_scans, scan_no);
}

bool RunPrecursors::IsKept(const Scan& scan, double rt_s, std::size_t ions) const {
  if (m_is_joint) return !scan.m_has_evidence;
  if (scan.m_count == 0) return true;
  if (scan.m_declared.m_mz <= 0.0 || scan.m_count != std::max<std::size_t>(ions, 1)) return false;
  Precursor declared = scan.m_declared;
  if (m_correction && m_correction->IsOn())
    declared.m_mz = WithoutBias(declared.m_mz, m_correction->SurveyPpm(rt_s));
  return IsSameIon(m_precursors[scan.m_first], declared);
}

}  // namespace tarvek::tools
