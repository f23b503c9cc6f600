// tests/tools/ToolsProgram.h: tarvek-tools as a user runs it, from a POSIX system.
// Does:     makes the request to run it, or runs it and keeps its output; installs it in a folder.
// Throws:   as ProcessRunner.h.
#pragma once

#include <string>
#include <vector>

#include "ProcessRunner.h"

namespace tarvek::test {

ProcessRequest ToolsRequest(std::vector<std::string> arguments,
                            const std::string& working_directory = ".");

ProcessResult RunTools(std::vector<std::string> arguments,
                       const std::string& working_directory = ".");

/// Copies the programs, the isotope table and the presets to their places in an installation in the
/// folder home.
void InstallPrograms(const std::string& home);

}  // namespace tarvek::test
