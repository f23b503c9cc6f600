// tools/calibrate/Command.h: "tarvek-tools calibrate", the m/z scales of finished runs.
// Does:     declares the subcommand's options; estimates, prints, and on request corrects.
// Throws:   while parsing, a CLI::ParseError naming the option; else a std::string naming the file.
// Not here: "run --calibrate", which starts this command for each input (batch/Runner.h).
#pragma once

#include <CLI/CLI.hpp>

namespace tarvek::tools {

/// Adds the subcommand to app; it runs while app parses its arguments.
void AddCalibrateCommand(CLI::App& app);

}  // namespace tarvek::tools
