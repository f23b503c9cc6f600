// tools/outputs/OutputNames.h: what the names of tarvek's files say besides the run.
// Does:     splits names, without their endings, into run and rest; finds whether two paths mean
//           one file.
// Throws:   nothing but std::bad_alloc. A part of a name borrows from it.
// Not here: finding the files.
#pragma once

#include <string>
#include <string_view>

namespace tarvek::tools {

/// The name of an output that is split by activation and analyser: "run_HCDFT".
struct SplitName {
  std::string_view m_run;    // the whole name when it has no such words
  std::string_view m_words;  // "HCDFT"
};
SplitName SplitOutputName(std::string_view stem);

/// The run of a binary pair. The name ends in the format that it was extracted from: "run" of
/// "run.mzml".
std::string_view RunOfBinaryPair(std::string_view stem);

/// One text for all spellings of the path of a file, which need not exist: absolute, without ".", ".."
/// and links; path itself when the system fails to resolve it.
std::string CanonicalPath(const std::string& path);

}  // namespace tarvek::tools
