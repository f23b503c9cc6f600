// tools/batch/Record.h: what a batch makes of the record of a run.
// Does:     tells whether a finished run had other settings, and whether a run exported nothing.
// Throws:   what ReadRunRecord and ReadIsotopeTable throw.
// Not here: what is in a record (RunRecord.h) and which settings count (RunSummary.h).
#pragma once

#include <optional>
#include <string>

#include "RunRecord.h"
#include "UserParameters.h"

namespace tarvek::tools {

/// Compares finished runs with the settings of now.
class FinishedRuns {
 public:
  /// settings: of now; their isotope table is read when it is first asked for.
  explicit FinishedRuns(const UserParameters& settings) : m_settings(settings) {}

  /// What the record of the current file would hold of its settings.
  RunRecord SettingsNow(const UserParameters& settings);

  /// "isolation_width 2.000000, now 3.000000", of the current file; empty when the settings are the
  /// same or there is no record.
  std::string OtherSettings(const UserParameters& settings);

 private:
  const std::string& Fingerprint();

  UserParameters m_settings;
  std::optional<std::string> m_fingerprint;  // of the table
};

/// The record at path; an empty one when there is none.
RunRecord RecordAt(const std::string& path);

/// Why a run that read MS2 scans and exported none is no success, with the largest reason, of equal
/// ones the first in the alphabet; empty for any other record.
std::string WhyNothingIsExported(const RunRecord& record);

}  // namespace tarvek::tools
