// tools/batch/SettingsCommand.h: "tarvek-tools settings", the settings that a run would get.
// Does:     declares the subcommand's options; prints for each input the settings that are named,
//           those of a preset and those that fit it, with reasons or as options of tarvek.
// Throws:   while parsing, a CLI::ParseError naming the option; what FindRunInputs and ReadPreset throw.
// Not here: the choice (batch/AutoSettings.h), runs (batch/RunCommand.h).
#pragma once

#include <CLI/CLI.hpp>

namespace tarvek::tools {

/// Adds the subcommand to app; it runs while app parses its arguments.
void AddSettingsCommand(CLI::App& app);

}  // namespace tarvek::tools
