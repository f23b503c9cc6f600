// tools/batch/Console.h: a batch as it is seen.
// Does:     runs the tasks and shows them: on a terminal a line that is replaced, elsewhere a line
//           for each file; failures are lines of standard error in any case; a table at the end.
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
  std::string m_how_to_go_on;  // said after a failure that ends the batch
  bool m_is_quiet = false;     // only warnings, failures and the last line are shown
};

/// What both commands ask for in the same words.
struct BatchOptions {
  std::size_t m_jobs = 1;
  std::string m_program;     // path of tarvek; empty: the one beside this
  std::string m_analyser;    // for the extractor; empty: what the files say
  std::string m_activation;  // the same
  std::string m_joint;       // probability for the joint determination; empty: not that one
  ParameterTable m_preset;   // settings that count where the user names none
  bool m_is_auto = false;    // choose by a look at each input what neither names
  bool m_is_quiet = false;
};

/// Adds --jobs, --tarvek, --analyser, --activation, --auto, --preset and --quiet. options outlives the parsing.
void AddBatchOptions(CLI::App& command, BatchOptions& options);

/// The settings that options ask for; the processes started from now on get their environment.
/// Throws when there is no program.
BatchSettings PrepareBatch(const BatchOptions& options);

/// Runs the tasks; 0 when all are done or were finished before, else one of the statuses above.
int PerformBatch(std::span<const BatchTask> tasks, const BatchSettings& settings,
                 const BatchStyle& style);

}  // namespace tarvek::tools
