// tools/report/Command.h: "tarvek-tools report", which shows the outputs of a run.
// Does:     reads the options; finds the runs; writes the files, each under a temporary name until
//           it is complete.
// Throws:   while parsing, a CLI::ParseError; a std::string naming the file that cannot be read or
//           written. In a batch the other runs are finished first.
#pragma once

#include <CLI/CLI.hpp>

namespace tarvek::tools {

/// Adds the subcommand to app; it runs while app parses its arguments.
void AddReportCommand(CLI::App& app);

}  // namespace tarvek::tools
