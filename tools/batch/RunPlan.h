// tools/batch/RunPlan.h: what "tarvek-tools run" has to run.
// Does:     makes of inputs and settings the tasks of a batch, each in a directory and with paths
//           that leave nothing to the current directory; refuses what was finished in another way.
// Throws:   a character string or a std::string, each the whole message, before anything is
//           written.
// Not here: which inputs there are (batch/RunInputs.h), the tasks of "batch" (batch/Plan.h).
#pragma once

#include <string>
#include <vector>

#include "UserParameters.h"
#include "batch/Plan.h"

namespace tarvek::tools {

struct RunRequest {
  std::vector<std::string> m_inputs;  // files
  std::string m_output_directory;     // empty: that of each input
  ParameterTable m_settings;          // those that were asked for, by the keys of tarvek
  std::string m_isotope_table;        // path; empty: the installed one
  bool m_has_check = true;            // look at each input before its run
  bool m_takes_declared_width =
      false;                     // of each input that declares one, unless a width is asked for
  bool m_is_auto = false;        // choose what is not asked for by a look at each input
  bool m_is_calibrated = false;  // correct the m/z of each run by its own fragments
};

/// A task for each input, in their order.
std::vector<BatchTask> PlanRun(const RunRequest& request);

/// The table that is installed with this program. Throws when there is none.
std::string InstalledIsotopeTable();

}  // namespace tarvek::tools
