// tools/mzml/Command.h: "tarvek-tools mzml", which puts the precursors of a run into its mzML file.
// Throws:   while parsing, a CLI::ParseError; a std::string naming what cannot be read or written.
#pragma once

#include <CLI/CLI.hpp>

namespace tarvek::tools {

/// Adds the subcommand to app; it runs while app parses its arguments.
void AddMzmlCommand(CLI::App& app);

}  // namespace tarvek::tools
