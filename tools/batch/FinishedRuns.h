// tools/batch/FinishedRuns.h: finished runs compared with the settings of now.
// Does:     tells the settings that the record of a run would have now, and whether those of its
//           record are others.
// Throws:   what ReadRunRecord and ReadIsotopeTable throw.
// Not here: what is in a record (RunRecord.h), which settings count (RunSummary.h), how a run ended
//           (outputs/RunOutcome.h).
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "RunRecord.h"
#include "UserParameters.h"

namespace tarvek::tools {

/// Compares finished runs with the settings of now.
class FinishedRuns {
 public:
  /// settings: of now; their isotope table is read when it is first asked for.
  /// more: settings of now that are none of tarvek's own.
  explicit FinishedRuns(const UserParameters& settings, RunRecord more = {})
      : m_settings(settings), m_more(std::move(more)) {}

  /// What the record of the current file would hold of its settings.
  RunRecord SettingsNow(const UserParameters& settings);

  /// "isolation_width 2.000000, now 3.000000", of the current file; empty when the settings are the
  /// same or there is no record.
  std::string OtherSettings(const UserParameters& settings);

 private:
  const std::string& Fingerprint();

  UserParameters m_settings;
  RunRecord m_more;
  std::optional<std::string> m_fingerprint;  // of the table
};

}  // namespace tarvek::tools
