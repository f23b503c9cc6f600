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

#include "ExtractorOptions.h"

namespace tarvek::extractor {

enum class VendorKind { kRaw, kWiff };

/// The environment variable that holds a command template with {in} and {outdir}.
std::string TemplateVariable(VendorKind kind);

/// The template to use: that of the environment, else one for a program on the search path; nothing
/// when there is none. search_path: directories as in PATH.
std::optional<std::string> FindConverter(VendorKind kind, const std::string& from_environment,
                                         std::string_view search_path);

/// The command line: {in} and {outdir} become the paths in quotes for the shell; quotes that the
/// template has around them already are dropped.
std::string ConverterCommand(std::string_view command_template, const std::string& input,
                             const std::string& output_directory);

/// Three lines that say what to install and how.
std::string NoConverterText(VendorKind kind);

/// A vendor file converted to mzML; the mzML goes with this object.
class ConvertedFile {
 public:
  /// Runs the converter; its output lines go to report.
  ConvertedFile(const ExtractorOptions& options, const std::string& command_template,
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
