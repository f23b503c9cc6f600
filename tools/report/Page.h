// tools/report/Page.h: the pages of the report.
// Does:     writes a run, and a batch of runs, as one HTML text each: style and pictures inside, no
//           external files, no script; light, dark and on paper.
// Throws:   nothing but std::bad_alloc.
// Not here: files (report/Command.h); the same figures for programs (report/Summary.h).
#pragma once

#include <span>
#include <string>
#include <vector>

#include "report/Advice.h"
#include "report/Data.h"
#include "report/Findings.h"

namespace tarvek::tools {

/// What a batch keeps of one run.
struct BatchRun {
  std::string m_name;
  std::string m_page;            // file name of the run's page; empty without one
  std::string m_error;           // why there is no page
  ScanPageOutcome m_scan_page;
  bool m_is_unfinished = false;  // the run was stopped; then there is no page of figures
  std::vector<KeyFigure> m_figures;
  std::vector<ReportFinding> m_findings;
  std::vector<ReportFinding> m_remarks;
  std::vector<Advice> m_advice;
  std::map<std::string, std::string> m_settings;
  std::vector<ReportOutput> m_outputs;
  std::array<std::int64_t, kShifts> m_by_shift{};
  std::int64_t m_unmatched = 0;
  std::int64_t m_kept = 0;
  std::array<std::int64_t, kPrecursorCounts> m_by_count{};
};

/// The entry of a run that was stopped before its end.
BatchRun UnfinishedRun(const std::string& name);

/// "finished", "nothing exported", "unfinished" or "no report".
std::string StateWord(const BatchRun& run);

BatchRun BatchRunOf(const RunReport& report, const std::string& page);

/// A figure with its decimals and unit; a dash when it is not known.
std::string FigureText(const KeyFigure& figure);

std::string RunPage(const RunReport& report);

/// The page of a stopped run: its state, and what to do.
std::string UnfinishedPage(const std::string& name);

/// Marks the figures that are far from those of the other runs: more than 3.5 times the scaled
/// median absolute deviation, which counts as at least 2 % of the median, 1 % for per cents and 0.3
/// ppm. None among fewer than five.
std::string BatchPage(const std::string& title, std::span<const BatchRun> runs);

}  // namespace tarvek::tools
