// tools/check/Command.h: "tarvek-tools check", which checks the files of a run before or after it.
// Does:     declares the subcommand, checks the files at the paths, prints the report.
// Throws:   while parsing, a CLI::ParseError; CLI::RuntimeError with exit status 1 when there is a
//           defect.
// Not here: which files a path means (check/Targets.h), the checks (check/Inputs.h,
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

/// Checks all paths: inputs as a run with these options would read them, outputs as they are.
CheckReport CheckPaths(const std::vector<std::string>& paths, const CheckOptions& options);

}  // namespace tarvek::tools
