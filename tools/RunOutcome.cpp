#include "RunOutcome.h"

#include <vector>

#include "FileUtils.h"
#include "RunSummary.h"

namespace tarvek::tools {

bool IsUnfinishedRun(const std::string& base_path) {
  return FileExists(base_path + std::string(kUnfinishedTableEnding)) &&
         !FileExists(base_path + ".csv");
}

RunRecord RecordAt(const std::string& path) {
  return PathExists(path) ? ReadRunRecord(path) : RunRecord();
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
