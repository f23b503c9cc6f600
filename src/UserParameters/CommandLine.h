// UserParameters/CommandLine.h: parameters from the arguments of the program.
// Does:     turns pairs of an option and its value, or a single data path, into a table; prints the
//           usage text.
// Throws:   a character string for a wrong number of arguments, a std::string that names a wrong
//           option, and what CompleteParameters throws.
// Not here: the meaning and limits of a value (UserParameters.h).
#pragma once

#include <array>
#include <string_view>

#include "UserParameters.h"

namespace tarvek {

struct OptionLetter {
  char m_letter;
  std::string_view m_key;
};

/// The options in byte order of their case-sensitive letters. Keys: frozen, see
/// docs/frozen-names.md.
inline constexpr std::array<OptionLetter, 20> OptionLetters = {{
    {'C', "co-elute"},
    {'D', "datapath"},
    {'F', "input_format"},
    {'I', "ipv_file"},
    {'L', "logfilepath"},
    {'M', "mars_model"},
    {'O', "outputpath"},
    {'R', "recalibrate_window"},
    {'S', "cut_similiar_mono"},
    {'W', "isolation_width"},
    {'a', "check_activationcenter"},
    {'b', "output_msb"},
    {'c', "charge_range"},
    {'d', "delete_msn"},
    {'i', "intensity"},
    {'m', "output_mgf"},
    {'p', "output_pf"},
    {'r', "rewrite_files"},
    {'t', "mars_threshold"},
    {'z', "m/z"},
}};

/// The validated record of these arguments, echoed as notices. argc counts the program name.
UserParameters ReadCommandLine(int argc, const char* const* argv,
                               NoticeTaker notice = TakeSilently);

/// The table of these arguments. A single argument is a data path, whatever it looks like; a
/// repeated option keeps its last value; without arguments the table is empty.
ParameterTable ParseCommandLine(int argc, const char* const* argv);

/// Writes the usage text, with every option, its default and its comment, to standard output.
void PrintUsage();

}  // namespace tarvek
