// tools/batch/Console.h: shows a batch while it runs.
// Does:     runs the tasks and shows them: on a terminal one line that is rewritten, elsewhere a
//           line for each file; failures always go to standard error; a table at the end.
// Throws:   what RunBatch throws.
// Not here: the texts (batch/Report.h), the processes (batch/Runner.h).
#pragma once

#include <CLI/CLI.hpp>
#include <span>
#include <string>

#include "UserParameters.h"
#include "batch/Runner.h"

namespace tarvek::tools {

/// Exit statuses of a batch in which a file failed or was not started, and of a stopped one.
inline constexpr int kBatchFailed = 1;
inline constexpr int kBatchStopped = 130;

struct BatchStyle {
  std::string m_how_to_go_on;  // printed after a failure that ends the batch
  bool m_is_quiet = false;     // only warnings, failures and the last line are shown
};

/// Options that both commands share.
struct BatchOptions {
  std::size_t m_jobs = 1;
  std::string m_program;     // path of tarvek; empty: the one next to this program
  std::string m_analyser;    // for the extractor; empty: what the files say
  std::string m_activation;  // the same
  std::string m_joint;       // probability for the joint determination; empty: not that one
  ParameterTable m_preset;   // used where the user sets nothing
  bool m_is_auto = false;    // choose the rest from each input
  bool m_is_quiet = false;
};

/// Adds --jobs, --tarvek, --analyser, --activation, --auto, --preset and --quiet. options outlives the parsing.
void AddBatchOptions(CLI::App& command, BatchOptions& options);

/// The settings in options; processes started from now on inherit their environment. Throws when
/// the program is not found.
BatchSettings PrepareBatch(const BatchOptions& options);

/// Runs the tasks; 0 when all are done or were finished before, else one of the statuses above.
int PerformBatch(std::span<const BatchTask> tasks, const BatchSettings& settings,
                 const BatchStyle& style);

}  // namespace tarvek::tools
