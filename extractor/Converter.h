// extractor/Converter.h: vendor files through a converter that the user has installed.
// Does:     finds the converter, runs it into a temporary directory beside the outputs, checks that
//           it wrote one whole mzML.
// Owns:     the temporary directory while the conversion is used.
// Throws:   std::string for the user.
// Not here: reading the mzML (Extraction.h). Nothing is fetched, nobody is asked.
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

/// A command before it knows its paths. It is run as a list of words, never by a shell.
struct CommandTemplate {
  std::vector<std::string> m_program;    // words as they are: the program, or mono and the program
  std::vector<std::string> m_arguments;  // words in which {in} and {outdir} stand for the paths
  bool operator==(const CommandTemplate&) const = default;
};

/// The words of a command that a user wrote, all of them with places for paths. Blanks separate
/// them; "..." and '...' keep together what is between them, also inside a word; every other
/// character means itself. name: where the text comes from. Throws when a quote is not closed, when
/// there is no word, and when a word outside of quotes is one that only a shell understands.
CommandTemplate ParseTemplate(std::string_view text, const std::string& name);

/// The template to use: that of the environment, else one for a program on the search path; nothing
/// when there is none. search_path: directories as in PATH.
std::optional<CommandTemplate> FindConverter(VendorKind kind, const std::string& from_environment,
                                             std::string_view search_path);

/// The words to run. A path that begins with a dash, which a program would take for an option, gets
/// "./" before it.
std::vector<std::string> ConverterCommand(const CommandTemplate& command, const std::string& input,
                                          const std::string& output_directory);

/// A command for people: words that are not plain are in quotes for the system's shell.
std::string ShownCommand(const std::vector<std::string>& words);

/// Three lines that say what to install and how.
std::string NoConverterText(VendorKind kind);

/// A vendor file converted to mzML; the mzML goes with this object.
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
