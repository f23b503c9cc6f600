// tools/ReportSummary.h: the report for other programs.
// Does:     writes runs as JSON, and as custom content of MultiQC.
// Throws:   nothing but std::bad_alloc.
// Not here: files (ReportCommand.h). The fields are described in docs/report.md.
#pragma once

#include <span>
#include <string>

#include "ReportPage.h"

namespace tarvek::tools {

/// One object for a run.
std::string RunJson(const RunReport& report);

/// One object for a batch: its runs, with key figures and verdicts.
std::string BatchJson(std::span<const BatchRun> runs);

/// A section of a MultiQC report each; runs without a report are left out.
std::string FiguresForMultiQc(std::span<const BatchRun> runs);
std::string IsotopesForMultiQc(std::span<const BatchRun> runs);
std::string PrecursorsForMultiQc(std::span<const BatchRun> runs);

}  // namespace tarvek::tools
