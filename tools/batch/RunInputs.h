// tools/batch/RunInputs.h: the input files meant by paths, folders and patterns.
// Does:     takes files as they are; lists the inputs of folders; expands *, ? and [...], which a
//           shell may have left alone; leaves out files that a run has written next to its input.
// Throws:   a std::string for a path that leads to no input.
// Not here: the options of a run (batch/RunCommand.h).
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tarvek::tools {

struct RunInputs {
  std::vector<std::string> m_files;  // each once, in the order of the words, then of the names
  std::vector<std::string> m_notes;  // what was left out and why, one line per reason
};

/// The format of a file by its name, as in --format: "mzml" for "run.mzML.gz"; empty when tarvek
/// does not take it.
std::string_view InputFormatOf(std::string_view name);

/// format: only inputs of this one; empty: of all. An extracted .ms1 file (next to its .morvex or
/// its instrument file) and an .mgf file that a run has written or may write are left out unless
/// the name, the ending of a pattern or format asks for them.
RunInputs FindRunInputs(std::span<const std::string> words, std::string_view format);

}  // namespace tarvek::tools
