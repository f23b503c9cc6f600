// tools/ipv/Command.h: "tarvek-tools ipv", which writes the isotope table.
// Does:     declares the subcommand's options and checks them.
// Owns:     nothing; the options live as long as the App.
// Throws:   while parsing, a CLI::ParseError naming the option; when writing, a std::string of the
//           file helpers naming the path.
// Not here: the numbers (ipv/AveragineTable.h), the file (ipv/TableFile.h).
#pragma once

#include <CLI/CLI.hpp>

namespace tarvek::tools {

/// Adds the subcommand to app; it runs while app parses its arguments.
void AddIpvCommand(CLI::App& app);

}  // namespace tarvek::tools
