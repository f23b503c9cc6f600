// tools/features/Command.h: the subcommand features of tarvek-tools.
// Does:     reads its options and writes the table of candidates of a run.
// Throws:   what features/CandidateFeatures.h throws.
#pragma once

#include <CLI/CLI.hpp>

namespace tarvek::tools {

void AddFeaturesCommand(CLI::App& app);

}  // namespace tarvek::tools
