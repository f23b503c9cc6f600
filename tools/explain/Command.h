// tools/explain/Command.h: "tarvek-tools explain", which says why a scan has its precursors.
// Does:     options; finds the scan; prints the explanation.
// Throws:   while parsing, a CLI::ParseError; what explain/RunToExplain.h throws, and a std::string for a
//           scan that the run does not have.
#pragma once

#include <CLI/CLI.hpp>

namespace tarvek::tools {

/// Adds the subcommand to app; it runs while app parses its arguments.
void AddExplainCommand(CLI::App& app);

}  // namespace tarvek::tools
