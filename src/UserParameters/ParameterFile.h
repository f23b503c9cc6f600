// UserParameters/ParameterFile.h: parameters from a file of "key = value" lines.
// Does:     reads the lines into a table; "#" starts a comment, lines that begin with ";" or "["
//           are skipped, a key that occurs twice keeps its last value. A byte order mark before
//           the first line is skipped, too.
// Throws:   the character string "Unexpected INI format!", the message of OpenFile, and what
//           CompleteParameters throws.
// Not here: which keys exist and what they mean (UserParameters.h).
#pragma once

#include <string>
#include <string_view>

#include "UserParameters.h"

namespace tarvek {

/// Whether the program takes a lone argument for a parameter file: by its ending, in any case.
bool IsParameterFile(std::string_view path);

/// The table of the parameter file path. An isotope table of the default name is left out: the
/// template names it, so that it is no choice of the user's.
ParameterTable ReadParameterTable(const std::string& path);

/// The validated record of the parameter file path, echoed as notices.
UserParameters ReadParameterFile(const std::string& path, NoticeTaker notice = TakeSilently);

/// Stores the key (lower-cased) and the value (case kept) of one line in table. A line of blanks, a
/// comment or a section line adds nothing.
void AddParameterLine(std::string_view line, ParameterTable& table);

}  // namespace tarvek
