// tools/outputs/OutputNames.h: what the names of tarvek's files say beside the name of their run.
// Does:     cuts names, without their endings, into run and rest; tells paths of one file.
// Throws:   nothing but std::bad_alloc. A part of a name borrows from it.
// Not here: which files there are.
#pragma once

#include <string>
#include <string_view>

namespace tarvek::tools {

/// The name of an output that is split by activation and analyser: "run_HCDFT".
struct SplitName {
  std::string_view m_run;    // all of the name when it has no such words
  std::string_view m_words;  // "HCDFT"
};
SplitName SplitOutputName(std::string_view stem);

/// The run of a binary pair, whose name goes on with the format that it was extracted from:
/// "run" of "run.mzml".
std::string_view RunOfBinaryPair(std::string_view stem);

/// One text for all spellings of the path of a file, which need not exist: absolute, without ".", ".."
/// and links; path itself when the system cannot tell.
std::string CanonicalPath(const std::string& path);

}  // namespace tarvek::tools
