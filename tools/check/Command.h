// tools/check/Command.h: "tarvek-tools check", which looks at the files of a run before or after it.
// Does:     declares the subcommand, checks what the paths stand for, prints the report.
// Throws:   while parsing, a CLI::ParseError; CLI::RuntimeError with exit status 1 when there is a
//           defect.
// Not here: what the paths stand for (check/Targets.h), what is looked for (check/Inputs.h,
//           check/Outputs.h).
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "check/Findings.h"
#include "check/Inputs.h"

namespace tarvek::tools {

/// Adds the subcommand to app; it runs while app parses its arguments.
void AddCheckCommand(CLI::App& app);

/// Checks all paths: inputs as a run with these options would take them, outputs as it left them.
CheckReport CheckPaths(const std::vector<std::string>& paths, const CheckOptions& options);

}  // namespace tarvek::tools
