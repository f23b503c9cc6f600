// tools/batch/RunCommand.h: "tarvek-tools run", from input files to results.
// Does:     declares the subcommand's options; finds and checks the inputs, runs one tarvek for
//           each, and shows the results.
// Throws:   while parsing, a CLI::ParseError naming the option; what FindRunInputs, PlanRun and
//           PerformBatch throw; when not every input was processed as asked, a CLI::RuntimeError
//           with the exit status.
// Not here: "batch", which takes tarvek's own options (batch/Command.h).
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace tarvek::tools {

/// The charges of --charges, "2-6", "2t6" or "-3--1", as tarvek takes them: "2t6". Throws a
/// CLI::ValidationError for anything else.
std::string ChargeRangeOf(const std::string& text);

/// Adds the subcommand to app; it runs while app parses its arguments.
void AddRunCommand(CLI::App& app);

}  // namespace tarvek::tools
