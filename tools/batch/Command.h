// tools/batch/Command.h: "tarvek-tools batch", one tarvek process for each input file.
// Does:     declares the subcommand's options; plans the batch and has it performed.
// Throws:   while parsing, a CLI::ParseError naming the option; what PlanBatch and PerformBatch
//           throw; after a batch that did not do every file, a CLI::RuntimeError with the exit
//           status.
// Not here: the plan (batch/Plan.h), what is seen of it (batch/Console.h); "run", which takes other
//           options for the same (batch/RunCommand.h).
#pragma once

#include <CLI/CLI.hpp>

namespace tarvek::tools {

/// Adds the subcommand to app; it runs while app parses its arguments.
void AddBatchCommand(CLI::App& app);

}  // namespace tarvek::tools
