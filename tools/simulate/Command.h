// tools/simulate/Command.h: "tarvek-tools simulate", which writes a run with known truth.
// Does:     declares the subcommand's options, checks them and starts the run.
// Owns:     nothing; the options live as long as the App.
// Throws:   while parsing, a CLI::ParseError naming the option; when writing, a std::string of the
//           file helpers naming the path.
// Not here: the run (simulate/Acquisition.h), the files (simulate/FileSink.h, simulate/MzmlSink.h).
#pragma once

#include <CLI/CLI.hpp>

namespace tarvek::tools {

/// Adds the subcommand to app; it runs while app parses its arguments.
void AddSimulateCommand(CLI::App& app);

}  // namespace tarvek::tools
