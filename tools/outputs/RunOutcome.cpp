#include "outputs/RunOutcome.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "FileUtils.h"

namespace tarvek::tools {

bool IsUnfinishedRun(const std::string& base_path) {
  return FileExists(base_path + std::string(kUnfinishedTableEnding)) &&
         !FileExists(base_path + ".csv");
}

std::optional<RunRecord> ReadRecordOf(const std::string& base_path) {
  const std::string path = base_path + std::string(kRunRecordEnding);
  if (!PathExists(path)) return std::nullopt;
  return ReadRunRecord(path);
}

bool ExportedNothing(const RunRecord& record) {
  return record.Count(kCountMs2Exported) == 0 && record.Count(kCountMs2Read).value_or(0) > 0;
}

std::int64_t CountLeftOutScans(const RunRecord& record) {
  std::int64_t sum = 0;
  for (const auto& [reason, scans] : record.m_left_out) sum += scans;
  return sum;
}

std::string ReasonsText(const RunRecord& record, std::size_t most) {
  std::vector<std::pair<std::string, std::int64_t>> reasons(record.m_left_out.begin(),
                                                            record.m_left_out.end());
  std::ranges::stable_sort(reasons, std::ranges::greater{},
                           &std::pair<std::string, std::int64_t>::second);
  if (reasons.size() > most) reasons.resize(most);
  std::string text;
  for (const auto& [reason, scans] : reasons)
    text += (text.empty() ? "" : ", ") + std::to_string(scans) + " " + reason;
  return text;
}

}  // namespace tarvek::tools
