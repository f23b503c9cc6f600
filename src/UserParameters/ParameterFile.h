// UserParameters/ParameterFile.h: parameters from a file of "key = value" lines.
// Does:     reads the lines into a table; "#" starts a comment, lines that begin with ";" or "["
//           are skipped, a repeated key keeps its last value. Also skips a byte order mark before
//           the first line.
// Throws:   the character string "Unexpected INI format!", the message of OpenFile, a std::string
//           that names a file with too many keys, and what CompleteParameters throws.
// Not here: which keys exist and what they mean (UserParameters.h).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "UserParameters.h"

namespace tarvek {

/// Whether a single argument is a parameter file: by its extension, in any case.
bool IsParameterFile(std::string_view path);

/// A parameter file has at most this many keys, those of its data paths included.
inline constexpr std::size_t kMostParameters = 20'000;

/// The table of the parameter file path, without an isotope table of the default name: the template
/// contains that name, so the user did not choose it.
ParameterTable ReadParameterTable(const std::string& path);

/// The validated record of the parameter file path, echoed as notices.
UserParameters ReadParameterFile(const std::string& path, NoticeTaker notice = TakeSilently);

/// Stores the key (lower-cased) and the value (case kept) of one line in table. A line of blanks, a
/// comment or a section line adds nothing.
void AddParameterLine(std::string_view line, ParameterTable& table);

}  // namespace tarvek
