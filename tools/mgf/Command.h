// tools/mgf/Command.h: "tarvek-tools mgf", which rewrites tarvek's MGF for one search engine.
// Does:     declares the subcommand's options; finds the input files, groups those of one run,
//           refuses outputs that would replace each other or an input; streams the scans, on
//           request only with the best-scored precursors.
// Throws:   while parsing, a CLI::ParseError naming the option; later a std::string that names the
//           file, and the line where there is one.
// Not here: the forms (mgf/Profiles.h), the reading (mgf/Blocks.h), the files (mgf/Output.h).
#pragma once

#include <CLI/CLI.hpp>

namespace tarvek::tools {

/// Adds the subcommand to app; it runs while app parses its arguments.
void AddMgfCommand(CLI::App& app);

}  // namespace tarvek::tools
