#include "check/Outputs.h"

#include <cmath>
#include <optional>
#include <utility>

#include "FileUtils.h"
#include "NumberText.h"
#include "PrecursorTable.h"
#include "RunSummary.h"
#include "UnfinishedFile.h"
#include "check/Account.h"
#include "check/Mgf.h"
#include "check/Pf.h"
#include "check/Table.h"
#include "outputs/RunOutcome.h"

namespace tarvek::tools {
namespace {

constexpr const char* kRunAgain = "Run tarvek again with -r 1 into an empty directory.";

// The table and the MGF file have six decimals.
constexpr double kRounding = 1.1e-6;

// Settings are recorded with six decimals.
constexpr double kSettingRounding = 1e-6;

// From this share of the MS2 scans on, a loss is more than a few odd scans.
constexpr double kNotableShare = 0.05;
constexpr std::size_t kReasonsNamed = 3;

std::string Dashed(const std::string& words, const char* ending) {
  return words.empty() ? std::string(ending) : "_" + words + ending;
}

class OutputsCheck {
 public:
  OutputsCheck(CheckReport& report, const RunOutputs& outputs, const ParameterTable& planned)
      : m_report(&report), m_outputs(&outputs), m_planned(&planned) {}

  void Check() {
    CheckFinished();
    if (m_outputs->m_has_table)
      Guarded(".csv", [&](const std::string& path) { m_table = CheckTable(*m_report, path); });
    if (m_outputs->m_has_pf1) CheckPf1();
    for (const std::string& words : m_outputs->m_pf2) CheckPf2(words);
    for (const std::string& words : m_outputs->m_mgf) CheckMgfFile(words);
    if (!m_outputs->m_mgf.empty()) CheckRunName(*m_report, m_outputs->Path(""), m_outputs->m_base);
    ReadRecord();
    CheckSets();
    if (m_record) CheckRecord();
    AddItem();
  }

 private:
  // A file that cannot be read is a finding.
  template <class Action>
  void Guarded(const std::string& ending, Action action) {
    const std::string path = m_outputs->Path(ending);
    try {
      action(path);
    } catch (const std::string& message) {
      m_report->Defect("unreadable", path, message + ".",
                       "See that the file is there and readable.");
    }
  }

  void CheckFinished() {
    if (m_outputs->m_has_unfinished)
      m_report->Defect("unfinished", m_outputs->Path(UnfinishedPathOf(kTableEnding)),
                       "The run was stopped before its end, or is still going on.",
                       "Run tarvek again: it processes this input from the start.");
    if (m_outputs->m_has_unfinished_record)
      m_report->Defect("unfinished", m_outputs->Path(UnfinishedPathOf(kRunRecordEnding)),
                       "It was left by a run that was stopped, or that is still going on.",
                       "Run tarvek again, or delete the file.");
    const bool is_of_mgf = m_outputs->m_pf2 == std::set<std::string>{""} &&
                           m_outputs->m_mgf.empty() && !m_outputs->m_has_pf1;
    if (m_outputs->m_has_table || m_outputs->m_has_unfinished || is_of_mgf) return;
    // Users copy MGF files elsewhere; the other files stay where a run put them.
    const bool is_mgf_alone =
        !m_outputs->m_mgf.empty() && m_outputs->m_pf2.empty() && !m_outputs->m_has_pf1;
    m_report->Add(
        {is_mgf_alone ? Severity::kWarning : Severity::kDefect,
         "no-table",
         m_outputs->Path(".csv"),
         {},
         "The precursor table is missing; it is there only when all outputs are complete.",
         "Run tarvek again, or put the table next to the other outputs."});
  }

  void CheckTitle(const std::string& path, const std::string& title) {
    if (title == m_outputs->m_base) return;
    m_report->Warning(
        "renamed", path,
        "It carries the run name '" + title + "' and is called after '" + m_outputs->m_base + "'.",
        "Keep the names that tarvek gave, since other programs pair files by them.");
  }

  std::optional<PfContent> ReadPf(const std::string& ending) {
    std::optional<PfContent> content;
    Guarded(ending, [&](const std::string& path) {
      if (!IsThere(path)) {
        m_report->Defect("pf-data-missing", path, "It is missing, but its index is there.",
                         kRunAgain);
        return;
      }
      content = CheckPf(*m_report, path);
      if (content->m_is_whole) CheckTitle(path, content->m_title);
    });
    return content;
  }

  void CheckPf1() {
    const auto content = ReadPf(".pf1");
    if (!content || !content->m_is_whole) return;
    m_surveys = static_cast<std::int64_t>(content->m_scans.size());
    for (const CheckedPfScan& record : content->m_scans) {
      if (record.m_precursors.size() == 1 && record.m_precursors.front().m_charge == 1) continue;
      m_report->Defect("pf1-shape", m_outputs->Path(".pf1"),
                       "A survey has no retention time, as if it were a fragment scan.", kRunAgain,
                       {record.m_scan_no, std::nullopt});
      return;
    }
  }

  /// The rows of these words; null without a table that can be trusted.
  [[nodiscard]] const std::vector<ExportedScan>* Rows(const std::string& words) const {
    if (!m_table || !m_table->m_is_whole) return nullptr;
    const auto rows = m_table->m_scans.find(words);
    return rows == m_table->m_scans.end() ? nullptr : &rows->second;
  }

  void CheckPf2(const std::string& words) {
    const std::string ending = Dashed(words, ".pf2");
    const auto content = ReadPf(ending);
    if (!content || !content->m_is_whole || words.empty()) return;
    if (const auto* rows = Rows(words)) ComparePf2(m_outputs->Path(ending), *content, *rows);
  }

  void ComparePf2(const std::string& path, const PfContent& content,
                  const std::vector<ExportedScan>& rows) {
    if (content.m_scans.size() != rows.size()) {
      Disagree(path, std::to_string(content.m_scans.size()) + " scans stand against " +
                         std::to_string(rows.size()) + " rows of the table.");
      return;
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const CheckedPfScan& record = content.m_scans[i];
      if (record.m_scan_no == rows[i].m_scan_no && SameList(record.m_precursors, rows[i])) continue;
      Disagree(path, "The table has other precursors for this scan, or another scan in its place.",
               record.m_scan_no);
      return;
    }
  }

  static bool SameList(const std::vector<Precursor>& precursors, const ExportedScan& row) {
    if (precursors.size() != row.m_precursors.size()) return false;
    for (std::size_t i = 0; i < precursors.size(); ++i)
      if (!Same(precursors[i], row.m_precursors[i])) return false;
    return true;
  }
  static bool Same(const Precursor& a, const Precursor& b) {
    return a.m_charge == b.m_charge && std::fabs(a.m_mz - b.m_mz) < kRounding;
  }

  void CheckMgfFile(const std::string& words) {
    Guarded(Dashed(words, ".mgf"), [&](const std::string& path) {
      const MgfContent content = CheckMgf(*m_report, path);
      if (!content.m_is_whole) return;
      if (!content.m_blocks.empty()) CheckTitle(path, content.m_run_name);
      if (const auto* rows = Rows(words)) CompareMgf(path, content, *rows);
    });
  }

  void CompareMgf(const std::string& path, const MgfContent& content,
                  const std::vector<ExportedScan>& rows) {
    std::size_t precursors = 0;
    for (const ExportedScan& row : rows) precursors += row.m_precursors.size();
    m_blocks += static_cast<std::int64_t>(content.m_blocks.size());
    if (content.m_blocks.size() != precursors) {
      Disagree(path, std::to_string(content.m_blocks.size()) + " blocks stand against " +
                         std::to_string(precursors) + " precursors of the table.");
      return;
    }
    std::size_t place = 0;
    for (const ExportedScan& row : rows) {
      for (Precursor precursor : row.m_precursors) {
        const CheckedBlock& block = content.m_blocks[place++];
        precursor.m_mz = std::fabs(precursor.m_mz);
        if (block.m_scan_no == row.m_scan_no && Same(block.m_precursor, precursor)) continue;
        m_report->Defect("disagree", path,
                         "The table has another precursor or scan in the place of this block.",
                         kRunAgain, {block.m_scan_no, block.m_line});
        return;
      }
    }
  }

  void Disagree(const std::string& path, const std::string& meaning,
                std::optional<std::int64_t> scan_no = std::nullopt) {
    m_report->Defect("disagree", path, meaning, kRunAgain, {scan_no, std::nullopt});
  }

  void ReadRecord() {
    if (!m_outputs->m_has_record) return;
    const std::string path = m_outputs->Path(std::string(kRunRecordEnding));
    try {
      m_record = ReadRunRecord(path);
    } catch (const std::string& message) {
      const std::string start = path + ": ";
      m_report->Defect("record", path,
                       "The record of the run cannot be read: " +
                           (message.starts_with(start) ? message.substr(start.size()) : message) +
                           ".",
                       kRunAgain);
    }
  }

  // An unfinished run may be next to the record of an earlier one.
  void CheckRecord() {
    CompareSettings();
    if (m_outputs->m_has_unfinished && !m_outputs->m_has_table) return;
    if (m_table && m_table->m_is_whole) CompareCounts();
    ReportLosses();
  }

  void CompareSettings() {
    for (const auto& [key, planned] : *m_planned) {
      const auto recorded = m_record->m_settings.find(key);
      if (recorded == m_record->m_settings.end() || IsSameSetting(key, recorded->second, planned))
        continue;
      m_report->Warning("other-settings", m_outputs->Path(""),
                        "It was made with " + key + " = " + recorded->second +
                            ", and the planned run has " + planned + ".",
                        "Run tarvek with -r 1, or into another directory: without it a finished "
                        "run is skipped.");
    }
  }

  void CompareCounts() {
    std::int64_t precursors = 0;
    for (const auto& [words, rows] : m_table->m_scans)
      for (const ExportedScan& row : rows)
        precursors += static_cast<std::int64_t>(row.m_precursors.size());
    CompareCount(kCountMs2Exported, m_table->m_rows, "rows");
    CompareCount(kCountPrecursors, precursors, "precursors");
  }

  void CompareCount(std::string_view key, std::int64_t in_table, const std::string& things) {
    const auto recorded = m_record->Count(key);
    if (!recorded || *recorded == in_table) return;
    m_report->Defect("record-disagrees", m_outputs->Path(std::string(kRunRecordEnding)),
                     "The run counted " + std::to_string(*recorded) + " as " + std::string(key) +
                         ", and the table holds " + std::to_string(in_table) + " " + things + ".",
                     kRunAgain);
  }

  void ReportLosses() {
    const std::string path = m_outputs->Path(std::string(kRunRecordEnding));
    const std::int64_t read = m_record->Count(kCountMs2Read).value_or(0);
    const std::int64_t left_out = CountLeftOut(*m_record);
    if (LostAllScans(*m_record))
      m_report->Defect(
          "nothing-exported", path,
          "The run read " + std::to_string(read) + " MS2 scans and exported none" +
              Because(ReasonsText(*m_record, 1)),
          "Check the input: tarvek-tools check says which scans are left out and why.");
    else if (static_cast<double>(left_out) > kNotableShare * static_cast<double>(read))
      m_report->Warning("ms2-left-out", path,
                        ShareText(left_out, read, "MS2 scans") + " were left out" +
                            Because(ReasonsText(*m_record, kReasonsNamed)),
                        "Check the input if these scans should have been used.");
  }

  static std::string Because(const std::string& reasons) {
    return reasons.empty() ? "." : ": " + reasons + ".";
  }

  // Each kind of file exists for all pairs of words of the table or, switched off, for none.
  void CheckSets() {
    if (!m_table || !m_table->m_is_whole) return;
    const bool is_told_by_record = m_record && LostAllScans(*m_record);
    if (m_table->m_rows == 0 && !is_told_by_record)
      m_report->Warning("empty-run", m_outputs->Path(".csv"), "The run exported no scan.",
                        "Check the input: tarvek-tools check says which scans are left out and "
                        "why.");
    const bool has_pf = m_outputs->m_has_pf1 || !m_outputs->m_pf2.empty();
    if (has_pf) CompareSets(m_outputs->m_pf2, ".pf2");
    if (!m_outputs->m_mgf.empty()) CompareSets(m_outputs->m_mgf, ".mgf");
    if (has_pf && !m_outputs->m_has_pf1) Missing(".pf1");
    if (!has_pf && m_outputs->m_mgf.empty() && m_table->m_rows > 0)
      m_report->Note("table-alone", m_outputs->Path(".csv"),
                     "There are no MGF or PF files with the table.",
                     "Nothing needs to be done if the run had -m 0 -p 0 or they were moved.");
  }

  void CompareSets(const std::set<std::string>& present, const char* ending) {
    for (const auto& [words, rows] : m_table->m_scans)
      if (!present.contains(words)) Missing(Dashed(words, ending));
    for (const std::string& words : present)
      if (!words.empty() && !m_table->m_scans.contains(words))
        m_report->Defect("stale", m_outputs->Path(Dashed(words, ending)),
                         "The table has no scan of this kind, so that the file is of another run.",
                         "Delete it, or run tarvek again into an empty directory.");
  }

  void Missing(const std::string& ending) {
    m_report->Defect("missing-output", m_outputs->Path(ending),
                     "It is missing; the other files of its run are there.", kRunAgain);
  }

  void AddItem() {
    CheckedItem item{m_outputs->Path(""), "outputs", {}, {}};
    if (m_table) item.m_facts.push_back({"exported_scans", "exported MS2 scans", m_table->m_rows});
    if (m_blocks > 0) item.m_facts.push_back({"mgf_blocks", "MGF blocks", m_blocks});
    if (m_outputs->m_has_pf1) item.m_facts.push_back({"pf1_surveys", "surveys in PF1", m_surveys});
    if (m_record) AddRecorded(item);
    m_report->AddItem(std::move(item));
  }

  void AddRecorded(CheckedItem& item) const {
    if (const auto read = m_record->Count(kCountMs2Read))
      item.m_facts.push_back({"ms2_read", "MS2 scans read", *read});
    for (const auto& [reason, scans] : m_record->m_left_out)
      item.m_left_out[reason].m_count = scans;
  }

  CheckReport* m_report;
  const RunOutputs* m_outputs;
  const ParameterTable* m_planned;
  std::optional<RunRecord> m_record;
  std::optional<TableContent> m_table;
  std::int64_t m_blocks = 0;
  std::int64_t m_surveys = 0;
};

}  // namespace

std::string RunOutputs::Path(const std::string& ending) const {
  return JoinPath({m_directory, m_base + ending});
}

void CheckOutputs(CheckReport& report, const RunOutputs& outputs, const ParameterTable& planned) {
  OutputsCheck(report, outputs, planned).Check();
}

bool IsSameSetting(const std::string& key, const std::string& first, const std::string& second) {
  if (first == second) return true;
  // These begin with a number too.
  if (key == "charge_range" || key == "isotope_table") return false;
  const auto a = ScanReal(first);
  const auto b = ScanReal(second);
  return a.m_status == NumberStatus::kOk && b.m_status == NumberStatus::kOk &&
         std::fabs(a.m_value - b.m_value) < kSettingRounding;
}

}  // namespace tarvek::tools
