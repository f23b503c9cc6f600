// tools/outputs/RunOutcome.h: how a run ended, told by the files that it left.
// Does:     finds the runs of a folder; tells one that was stopped from one that came to its end;
//           reads the record of a run and says in words what was left out of its outputs.
// Throws:   RecordAt what ReadRunRecord throws, FindRuns a std::string that names the folder; the rest
//           nothing.
// Not here: the record itself (RunRecord.h), what is made of the outcome (each command).
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "RunRecord.h"

namespace tarvek::tools {

/// Whether the run with this path of its base name left a table that is not complete, maybe empty,
/// and none that is.
bool IsUnfinishedRun(const std::string& base_path);

/// Base paths, ascending.
struct FoundRuns {
  std::vector<std::string> m_finished;
  std::vector<std::string> m_unfinished;
};

/// The runs in a folder, told by their tables; other .csv files are passed over. A table that is not
/// finished may be cut anywhere, even before its first byte. Folders below it are not looked into.
FoundRuns FindRuns(const std::string& folder);

/// The record at path; an empty one when there is none, as an older program leaves it.
RunRecord RecordAt(const std::string& path);

/// Whether MS2 scans were read and none of them was exported.
bool LostAllScans(const RunRecord& record);

/// The reasons with their numbers of scans, the largest first: "12 activation not known, 3 no peaks".
/// Not more than most of them. Empty without reasons.
std::string ReasonsText(const RunRecord& record, std::size_t most);

/// Why a run that lost all scans is no success, with the largest reason; empty for any other record.
std::string WhyNothingIsExported(const RunRecord& record);

}  // namespace tarvek::tools
