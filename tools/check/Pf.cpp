#include "check/Pf.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "FileUtils.h"
#include "PfReader.h"

namespace tarvek::tools {
namespace {

class PfWalk {
 public:
  PfWalk(CheckReport& report, const std::string& path)
      : m_report(&report), m_path(path), m_reader(path) {}

  PfContent Walk() {
    m_content.m_title = m_reader.Title();
    if (!m_reader.HasHeader()) {
      Defect("pf-truncated", "The file ends inside its header.");
      return std::move(m_content);
    }
    ReadRecords();
    CheckCount();
    CheckIndex();
    return std::move(m_content);
  }

 private:
  // The records before the first incomplete one.
  void ReadRecords() {
    for (PfRecord record; !m_reader.AtEnd();) {
      if (!m_reader.ReadNext(record, PfPeaks::kStepOver)) {
        Defect("pf-truncated",
               "The file ends inside the record that begins at byte " +
                   std::to_string(record.m_offset_bytes) + ".",
               {record.m_scan_no, std::nullopt});
        return;
      }
      m_offsets.push_back(record.m_offset_bytes);
      m_content.m_scans.push_back({record.m_scan_no, std::move(record.m_precursors)});
    }
  }

  void CheckCount() {
    const auto records = static_cast<std::int64_t>(m_content.m_scans.size());
    if (m_reader.Count() == records || !m_content.m_is_whole) return;
    Defect("pf-count", m_reader.Count() == 0
                           ? "Its header counts no records although it holds " +
                                 std::to_string(records) + ", as after a run that was stopped."
                           : "Its header counts " + std::to_string(m_reader.Count()) +
                                 " records and it holds " + std::to_string(records) + ".");
  }

  void CheckIndex() {
    const std::string path = PfIndexPath(m_path);
    if (!IsThere(path)) {
      Defect("pf-index-missing", "Its index " + path + " is missing.");
      return;
    }
    const auto [entries, is_whole] = ReadPfIndex(path);
    if (!is_whole)
      Defect("pf-index-size", "Its index does not consist of whole entries of 8 bytes.");
    if (entries.size() != m_content.m_scans.size() && m_content.m_is_whole)
      Defect("pf-index-count", "Its index has " + std::to_string(entries.size()) + " entries for " +
                                   std::to_string(m_content.m_scans.size()) + " records.");
    CompareEntries(entries);
    NoteWrapped();
  }

  void CompareEntries(const std::vector<PfIndexEntry>& entries) {
    for (std::size_t i = 0; i < std::min(entries.size(), m_offsets.size()); ++i) {
      const std::int32_t scan_no = m_content.m_scans[i].m_scan_no;
      if (entries[i].m_scan_no == scan_no &&
          entries[i].m_offset_bytes == PfIndexOffset(m_offsets[i]))
        continue;
      Defect("pf-index-entry",
             "Its index has scan " + std::to_string(entries[i].m_scan_no) + " at byte " +
                 std::to_string(entries[i].m_offset_bytes) + " where scan " +
                 std::to_string(scan_no) + " begins at byte " + std::to_string(m_offsets[i]) + ".",
             {scan_no, std::nullopt});
      return;
    }
  }

  // Not a defect: the format has 32 bits for an offset.
  void NoteWrapped() {
    for (std::size_t i = 0; i < m_offsets.size(); ++i) {
      if (!IsWrappedInPfIndex(m_offsets[i])) continue;
      m_report->Note("pf-wrapped", m_path,
                     "From this scan on its index holds the low 32 bits of offsets beyond 2 GiB.",
                     "Read it with tarvek_io, which unwraps them, or walk the records.",
                     {m_content.m_scans[i].m_scan_no, std::nullopt});
      return;
    }
  }

  void Defect(const std::string& code, const std::string& meaning, FindingPlace place = {}) {
    m_content.m_is_whole = false;
    m_report->Defect(code, m_path, meaning, kRunOrAskAgain, place);
  }

  CheckReport* m_report;
  std::string m_path;
  PfReader m_reader;
  std::vector<std::int64_t> m_offsets;  // of the records
  PfContent m_content;
};

}  // namespace

PfContent CheckPf(CheckReport& report, const std::string& path) {
  return PfWalk(report, path).Walk();
}

}  // namespace tarvek::tools
