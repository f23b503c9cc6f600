// tools/psms/Command.h: "tarvek-tools psms", which counts and lists what a search engine found.
// Does:     declares the subcommand's options; reads the results twice, first for the competition,
//           then for the rows to write; prints the counts.
// Throws:   while parsing, a CLI::ParseError naming the option; later a std::string that names the
//           file, and the line where there is one.
// Not here: the files of engines (psms/Readers.h), the join (psms/Blocks.h), the rule of counting
//           (psms/Competition.h), the columns (psms/Table.h).
#pragma once

#include <CLI/CLI.hpp>

namespace tarvek::tools {

/// Adds the subcommand to app; it runs while app parses its arguments.
void AddPsmsCommand(CLI::App& app);

}  // namespace tarvek::tools
