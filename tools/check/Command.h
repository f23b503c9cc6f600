// tools/check/Command.h: "tarvek-tools check", which checks the files of a run before or after it.
// Does:     declares the subcommand, prints the report.
// Throws:   while parsing, a CLI::ParseError; CLI::RuntimeError with exit status 1 when there is a
//           defect.
// Not here: the checks (check/Check.h).
#pragma once

#include <CLI/CLI.hpp>

namespace tarvek::tools {

/// Adds the subcommand to app; it runs while app parses its arguments.
void AddCheckCommand(CLI::App& app);

}  // namespace tarvek::tools
