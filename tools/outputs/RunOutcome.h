// tools/outputs/RunOutcome.h: how a run ended, according to the files that it left.
// Does:     finds the runs of a folder; tells a stopped run from a finished one; reads the record
//           of a run and puts into words what was left out of its outputs.
// Throws:   RecordAt what ReadRunRecord throws, FindRuns a std::string that names the folder; the rest
//           nothing.
// Not here: the record itself (RunRecord.h), what follows from the outcome (each command).
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "RunRecord.h"

namespace tarvek::tools {

/// Whether the run with this base path left only an incomplete table, maybe empty.
bool IsUnfinishedRun(const std::string& base_path);

/// Base paths, ascending.
struct FoundRuns {
  std::vector<std::string> m_finished;
  std::vector<std::string> m_unfinished;
};

/// The runs in a folder, found by their tables; other .csv files and subfolders are skipped. An
/// unfinished table may end anywhere, even before its first byte.
FoundRuns FindRuns(const std::string& folder);

/// The record at path; an empty one when there is none, as from an older program.
RunRecord RecordAt(const std::string& path);

/// Whether MS2 scans were read and none of them was exported.
bool LostAllScans(const RunRecord& record);

/// The reasons with their numbers of scans, the largest first: "12 activation not known, 3 no peaks".
/// At most `most` of them. Empty without reasons.
std::string ReasonsText(const RunRecord& record, std::size_t most);

/// Why a run that lost all scans has failed, with the largest reason; empty for any other record.
std::string WhyNothingIsExported(const RunRecord& record);

}  // namespace tarvek::tools
