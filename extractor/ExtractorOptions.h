// extractor/ExtractorOptions.h: the command line of the extractor programs.
// Does:     reads it; gives the names of input and outputs.
// Throws:   std::string, a sentence for the user.
// Not here: doing what it says (Extraction.h, Converter.h).
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "ScanOverrides.h"

namespace tarvek::extractor {

struct ExtractorOptions {
  bool m_help = false;
  bool m_version = false;
  bool m_mgf = false;  // an MGF file in place of spectra for the tool
  bool m_msb = false;  // the binary pair in place of the text pair
  int m_intensity_digits = 1;
  int m_mz_digits = 5;
  std::optional<double> m_faims_volts;
  ScanOverrides m_overrides;
  std::string m_output_directory;  // that of the input when not given
  std::string m_input;
  /// File name without its last extension (and without .gz before that); outputs carry it.
  std::string m_base_name;
  /// What the binary pair has between base name and ".msb": "mzml", "mzxml", "raw" or "wiff"; empty
  /// when only the content can tell.
  std::string m_format;
};

/// arguments: without the program's name. Throws when they make no sense.
ExtractorOptions ParseOptions(std::span<const std::string> arguments);

/// The value of an environment variable, if it is set.
using VariableOf = std::function<std::optional<std::string>(const std::string&)>;

/// Adds what kAnalyserVariable and kActivationVariable (RunRecord.h) say where no option says anything; an empty variable says nothing.
/// Throws when a value makes no sense, with the name of its variable.
void AddEnvironment(const VariableOf& variable_of, ScanOverrides& overrides);

/// What --help prints. program: its name; inputs: the files it takes, as "mzML and mzXML".
std::string HelpText(std::string_view program, std::string_view inputs);

/// "DIR/run.mzML.gz" gives "run", "run.raw" gives "run", "run" itself.
std::string BaseNameOf(std::string_view path);

}  // namespace tarvek::extractor
