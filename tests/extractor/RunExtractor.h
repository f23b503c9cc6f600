// tests/extractor/RunExtractor.h: the extractor programs as a user runs them, from a POSIX system.
// Does:     starts morvex_KIND.exe and keeps what it printed.
// Throws:   as ProcessRunner.h.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "ProcessRunner.h"

namespace tarvek::extractor::test {

/// The folder of the extractor programs themselves.
std::string ExtractorFolder();

/// The command for the extractor program of kind: itself, or its stand-in.
std::string ExtractorProgram(const std::string& kind);

tarvek::test::ProcessResult RunExtractor(const std::string& kind,
                                         const std::vector<std::string>& arguments,
                                         const std::map<std::string, std::string>& variables = {});

}  // namespace tarvek::extractor::test
