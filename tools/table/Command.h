// tools/table/Command.h: "tarvek-tools table", which gives the precursors of runs as one table.
// Throws:   while parsing, a CLI::ParseError; a std::string naming what cannot be read or written.
#pragma once

#include <CLI/CLI.hpp>

namespace tarvek::tools {

/// Adds the subcommand to app; it runs while app parses its arguments.
void AddTableCommand(CLI::App& app);

}  // namespace tarvek::tools
