// tools/batch/FinishedRuns.h: finished runs compared with the current settings.
// Does:     gives the settings that the record of a run would have now, and how its record differs.
// Throws:   what ReadRunRecord and ReadIsotopeTable throw.
// Not here: the contents of a record (RunRecord.h), which settings count (RunSummary.h), how a run
//           ended (outputs/RunOutcome.h).
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "RunRecord.h"
#include "UserParameters.h"

namespace tarvek::tools {

/// Compares finished runs with the current settings.
class FinishedRuns {
 public:
  /// settings: the current ones; their isotope table is read when it is first needed. more: further
  /// current settings that are not tarvek's own.
  explicit FinishedRuns(const UserParameters& settings, RunRecord more = {})
      : m_settings(settings), m_more(std::move(more)) {}

  /// The settings that the record of the current file would hold.
  RunRecord SettingsNow(const UserParameters& settings);

  /// "isolation_width 2.000000, now 3.000000" for the current file; empty when the settings agree
  /// or there is no record.
  std::string OtherSettings(const UserParameters& settings);

 private:
  const std::string& Fingerprint();

  UserParameters m_settings;
  RunRecord m_more;
  std::optional<std::string> m_fingerprint;  // of the table
};

}  // namespace tarvek::tools
