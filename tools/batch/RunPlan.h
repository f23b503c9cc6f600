// tools/batch/RunPlan.h: the tasks of "tarvek-tools run".
// Does:     turns inputs and settings into the tasks of a batch, with paths that do not depend on
//           the current directory; refuses inputs that were finished with other settings.
// Throws:   a character string or a std::string, each the whole message, before anything is
//           written.
// Not here: finding the inputs (batch/RunInputs.h), the tasks of "batch" (batch/Plan.h).
#pragma once

#include <string>
#include <vector>

#include "UserParameters.h"
#include "batch/Plan.h"

namespace tarvek::tools {

struct RunRequest {
  std::vector<std::string> m_inputs;    // files
  std::string m_output_directory;       // empty: that of each input
  ParameterTable m_settings;            // those asked for, by tarvek's keys
  std::string m_isotope_table;          // path; empty: the installed one
  bool m_has_check = true;              // look at each input before its run
  bool m_takes_declared_width = false;  // the declared one of each input, unless one is asked for
  bool m_is_auto = false;               // choose the rest from each input
  bool m_is_calibrated = false;         // correct the m/z of each run by its own fragments
};

/// A task for each input, in their order.
std::vector<BatchTask> PlanRun(const RunRequest& request);

/// The table that is installed with this program. Throws when there is none.
std::string InstalledIsotopeTable();

}  // namespace tarvek::tools
