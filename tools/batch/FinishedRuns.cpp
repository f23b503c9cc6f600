#include "batch/FinishedRuns.h"

#include "FileUtils.h"
#include "InputFormats.h"
#include "IsotopeTable.h"
#include "RunDriver.h"
#include "RunSummary.h"
#include "StringUtils.h"
#include "outputs/RunOutcome.h"

namespace tarvek::tools {
namespace {

std::string FingerprintOf(const UserParameters& settings) {
  return IsotopeTableFingerprint(ReadIsotopeTable(
      IsotopeTablePath(settings.m_ipv_file, settings.m_ipv_file_is_given, InstalledTablePath())));
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
  RunRecord now = SettingsOf(settings, Fingerprint(), KindOf(settings));
  now.m_settings.insert(m_more.m_settings.begin(), m_more.m_settings.end());
  return now;
}

std::string FinishedRuns::OtherSettings(const UserParameters& settings) {
  if (RecordAt(RunRecordPath(settings)).m_settings.empty())
    return {};  // without asking for a table
  std::string text = RecordedDifference(settings, Fingerprint(), KindOf(settings), m_more);
  if (const std::string input = RecordedInputDifference(settings); !input.empty())
    text += (text.empty() ? "input " : "; input ") + input;
  return text;
}

}  // namespace tarvek::tools
