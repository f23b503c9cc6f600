#include "outputs/RunOutcome.h"

#include <algorithm>
#include <vector>

#include "FileUtils.h"
#include "Platform.h"
#include "PrecursorTable.h"
#include "PrecursorTableReader.h"
#include "RunSummary.h"
#include "StringUtils.h"
#include "UnfinishedFile.h"

namespace tarvek::tools {
namespace {

// Whether the file may be the table of a stopped run.
bool MayBeUnfinishedTable(const std::string& path) {
  if (!FileExists(path)) return false;
  File file = OpenFile(path, "rb", "table");
  return file.SizeBytes() == 0 || IsPrecursorTable(path);
}

}  // namespace

bool IsUnfinishedRun(const std::string& base_path) {
  const std::string table = base_path + std::string(kTableEnding);
  return FileExists(UnfinishedPathOf(table)) && !IsThere(table);
}

FoundRuns FindRuns(const std::string& folder) {
  const auto names = ListDirectoryNames(folder);
  if (!names) throw "Cannot list the folder " + folder;
  FoundRuns runs;
  for (const std::string& name : *names) {
    const std::string path = JoinPath({folder, name});
    // The ending first: the folder may hold anything, for example a pipe.
    std::string_view base = path;
    const bool is_finished = !CutEnding(base, kUnfinished);
    if (name.starts_with('.') || !CutEnding(base, kTableEnding)) continue;
    if (!(is_finished ? IsPrecursorTable(path) : MayBeUnfinishedTable(path))) continue;
    (is_finished ? runs.m_finished : runs.m_unfinished).emplace_back(base);
  }
  std::ranges::sort(runs.m_finished);
  std::ranges::sort(runs.m_unfinished);
  return runs;
}

RunRecord RecordAt(const std::string& path) {
  return IsThere(path) ? ReadRunRecord(path) : RunRecord();
}

bool LostAllScans(const RunRecord& record) {
  return record.Count(kCountMs2Exported) == 0 && record.Count(kCountMs2Read).value_or(0) > 0;
}

std::string ReasonsText(const RunRecord& record, std::size_t most) {
  std::vector<LeftOutReason> reasons = ReasonsByFrequency(record);
  if (reasons.size() > most) reasons.resize(most);
  std::string text;
  for (const auto& [reason, scans] : reasons)
    text += (text.empty() ? "" : ", ") + std::to_string(scans) + " " + reason;
  return text;
}

std::string WhyNothingIsExported(const RunRecord& record) {
  if (!LostAllScans(record)) return {};
  const std::string text =
      "none of " + std::to_string(*record.Count(kCountMs2Read)) + " MS2 scans is exported";
  const std::vector<LeftOutReason> reasons = ReasonsByFrequency(record);
  if (reasons.empty()) return text;
  return text + "; " + std::to_string(reasons.front().second) +
         " left out: " + reasons.front().first;
}

}  // namespace tarvek::tools
