#include "batch/Record.h"

#include <algorithm>

#include "FileUtils.h"
#include "InputFormats.h"
#include "IsotopeTable.h"
#include "RunDriver.h"
#include "RunSummary.h"
#include "StringUtils.h"
#include "outputs/QuietLibrary.h"

namespace tarvek::tools {
namespace {

std::string FingerprintOf(const UserParameters& settings) {
  const QuietLibrary quiet;  // it says which table it takes
  return IsotopeTableFingerprint(
      ReadIsotopeTable(IsotopeTablePath(settings, InstalledTablePath())));
}

InputKind KindOf(const UserParameters& settings) {
  const InputFormat* const format = FindInputFormat(ToLower(settings.m_current_ext));
  const bool is_spectra = format != nullptr && format->m_extractor.empty();
  return is_spectra ? InputKind::kSpectra : InputKind::kInstrumentFile;
}

}  // namespace

const std::string& FinishedRuns::Fingerprint() {
  if (!m_fingerprint) m_fingerprint = FingerprintOf(m_settings);
  return *m_fingerprint;
}

RunRecord FinishedRuns::SettingsNow(const UserParameters& settings) {
  return SettingsOf(settings, Fingerprint(), KindOf(settings));
}

std::string FinishedRuns::OtherSettings(const UserParameters& settings) {
  if (RecordAt(RunRecordPath(settings)).m_settings.empty())
    return {};  // without asking for a table
  return RecordedDifference(settings, Fingerprint(), KindOf(settings));
}

RunRecord RecordAt(const std::string& path) {
  return FileExists(path) ? ReadRunRecord(path) : RunRecord();
}

std::string WhyNothingIsExported(const RunRecord& record) {
  const std::int64_t read = record.Count(kCountMs2Read).value_or(0);
  if (read == 0 || record.Count(kCountMs2Exported).value_or(1) > 0) return {};
  std::string text = "none of " + std::to_string(read) + " MS2 scans is exported";
  const auto largest = std::ranges::max_element(record.m_left_out, {},
                                                [](const auto& entry) { return entry.second; });
  if (largest == record.m_left_out.end()) return text;
  return text + "; " + std::to_string(largest->second) + " left out: " + largest->first;
}

}  // namespace tarvek::tools
