// extractor/Converter.h: reads vendor files through a converter that the user has installed.
// Does:     finds the converter, runs it into a temporary directory next to the outputs, checks
//           that it wrote one complete mzML file.
// Owns:     the temporary directory while the conversion is used.
// Throws:   std::string for the user.
// Not here: reading the mzML (Extraction.h). Never downloads, never asks the user.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "ExtractorOptions.h"

namespace tarvek::extractor {

enum class VendorKind { kRaw, kWiff };

/// The environment variable that holds a command template with {in} and {outdir}.
std::string TemplateVariable(VendorKind kind);

/// A command without its paths. It runs as a list of words, never through a shell.
struct CommandTemplate {
  std::vector<std::string> m_program;    // fixed words: the program, or mono and the program
  std::vector<std::string> m_arguments;  // words with {in} and {outdir} for the paths
  bool operator==(const CommandTemplate&) const = default;
};

/// Splits a command that a user wrote into words, all of which may contain placeholders. Blanks
/// separate words; "..." and '...' keep their contents together, also inside a word; every other
/// character means itself. name: the origin of the text. Throws when a quote is not closed, when
/// the text has no word, and when an unquoted word is one that only a shell understands.
CommandTemplate ParseTemplate(std::string_view text, const std::string& name);

/// The template to use: from the environment, else for a program on the search path; std::nullopt
/// without either. search_path: directories in the form of PATH.
std::optional<CommandTemplate> FindConverter(VendorKind kind, const std::string& from_environment,
                                             std::string_view search_path);

/// The words to run. A path that begins with a dash, which a program would take for an option, gets
/// "./" in front.
std::vector<std::string> ConverterCommand(const CommandTemplate& command, const std::string& input,
                                          const std::string& output_directory);

/// A command for people: words that are not plain are in quotes for the system's shell.
std::string ShownCommand(const std::vector<std::string>& words);

/// Three lines that say what to install and how.
std::string NoConverterText(VendorKind kind);

/// A vendor file converted to mzML; the mzML is deleted with this object.
class ConvertedFile {
 public:
  /// Runs the converter; its output lines go to report.
  ConvertedFile(const ExtractorOptions& options, const CommandTemplate& command,
                std::ostream& report);
  ~ConvertedFile();
  ConvertedFile(const ConvertedFile&) = delete;
  ConvertedFile& operator=(const ConvertedFile&) = delete;

  [[nodiscard]] const std::string& MzmlPath() const { return m_mzml_path; }

 private:
  std::string m_directory;
  std::string m_mzml_path;
};

}  // namespace tarvek::extractor
