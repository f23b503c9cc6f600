// tools/batch/Command.h: "tarvek-tools batch", one tarvek process for each input file.
// Does:     declares the subcommand's options; plans and runs the batch.
// Throws:   while parsing, a CLI::ParseError naming the option; what PlanBatch and PerformBatch
//           throw; when the batch did not finish every file, a CLI::RuntimeError with the exit
//           status.
// Not here: the plan (batch/Plan.h), the display (batch/Console.h); "run", which does the same with
//           other options (batch/RunCommand.h).
#pragma once

#include <CLI/CLI.hpp>

namespace tarvek::tools {

/// Adds the subcommand to app; it runs while app parses its arguments.
void AddBatchCommand(CLI::App& app);

}  // namespace tarvek::tools
