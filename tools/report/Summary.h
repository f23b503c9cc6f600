// tools/report/Summary.h: the report for other programs.
// Does:     writes runs as JSON, and as custom content of MultiQC.
// Throws:   nothing but std::bad_alloc.
// Not here: files (report/Command.h). The fields are described in docs/report.md.
#pragma once

#include <span>
#include <string>

#include "report/Page.h"

namespace tarvek::tools {

/// One object for a run.
std::string RunJson(const RunReport& report);

/// The same of a run that was stopped: its name and state.
std::string UnfinishedJson(const std::string& name);

/// One object for a batch: its runs with key figures and verdicts, and how many were stopped or
/// exported nothing.
std::string BatchJson(std::span<const BatchRun> runs);

/// Each makes a section of a MultiQC report. The table of figures has the state of every run; the
/// others leave out runs without a report.
std::string FiguresForMultiQc(std::span<const BatchRun> runs);
std::string IsotopesForMultiQc(std::span<const BatchRun> runs);
std::string PrecursorsForMultiQc(std::span<const BatchRun> runs);

}  // namespace tarvek::tools
