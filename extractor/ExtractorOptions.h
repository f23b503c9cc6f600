// extractor/ExtractorOptions.h: the command line of the extractor programs.
// Does:     reads it; gives the names of input and outputs.
// Throws:   std::string, a sentence for the user.
// Not here: the work that it asks for (Extraction.h, Converter.h).
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
  bool m_mgf = false;  // an MGF file instead of spectra for tarvek
  bool m_msb = false;  // the binary pair instead of the text pair
  int m_intensity_digits = 1;
  int m_mz_digits = 5;
  std::optional<double> m_faims_volts;
  ScanOverrides m_overrides;
  std::string m_output_directory;  // by default that of the input
  std::string m_input;
  /// File name without its last extension (and without .gz before that); outputs begin with it.
  std::string m_base_name;
  /// The part of the binary pair's names between base name and ".msb": "mzml", "mzxml", "raw" or
  /// "wiff"; empty when only the contents can tell.
  std::string m_format;
};

/// arguments: without the program's name. Throws when they are invalid.
ExtractorOptions ParseOptions(std::span<const std::string> arguments);

/// The value of an environment variable, if it is set.
using VariableOf = std::function<std::optional<std::string>(const std::string&)>;

/// Fills options that the command line does not give from kAnalyserVariable and kActivationVariable
/// (RunRecord.h); ignores an empty variable. Throws with the variable's name when its value is
/// invalid.
void AddEnvironment(const VariableOf& variable_of, ScanOverrides& overrides);

/// The text of --help. program: its name; inputs: the files it takes, such as "mzML and mzXML".
std::string HelpText(std::string_view program, std::string_view inputs);

/// "DIR/run.mzML.gz" gives "run", "run.raw" gives "run", "run" itself.
std::string BaseNameOf(std::string_view path);

}  // namespace tarvek::extractor
