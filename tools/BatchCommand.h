// tools/BatchCommand.h: "tarvek-tools batch", one tarvek process for each input file.
// Does:     declares the subcommand's options; runs the batch, showing a progress line on a
//           terminal and plain lines elsewhere, and prints the summary.
// Throws:   while parsing, a CLI::ParseError naming the option; what PlanBatch and RunBatch throw;
//           after a batch that did not do every file, a CLI::RuntimeError with the exit status.
// Not here: the plan (BatchPlan.h), the processes (BatchRunner.h), the texts (BatchReport.h).
#pragma once

#include <CLI/CLI.hpp>

namespace tarvek::tools {

/// Exit statuses of a batch in which a file failed or was not started, and of a stopped one.
inline constexpr int kBatchFailed = 1;
inline constexpr int kBatchStopped = 130;

/// Adds the subcommand to app; it runs while app parses its arguments.
void AddBatchCommand(CLI::App& app);

}  // namespace tarvek::tools
