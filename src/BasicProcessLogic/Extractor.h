// BasicProcessLogic/Extractor.h: the external program that turns instrument files into spectra.
// Does:     runs it for one file as a child process, forwards its output to the log line by line,
//           and checks that it finished.
// Throws:   a std::runtime_error when it cannot be started or the pipe breaks; a std::string when
//           it fails or writes no marker.
// Not here: the extractor itself.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "RunRecord.h"
#include "UserParameters.h"

namespace tarvek {

/// Converts the current file into the output directory, unless it was extracted already and rewriting
/// is off; tells whether it did. mode: "ms" for spectra, "mgf" for an MGF file.
bool runExtractor(const UserParameters& parameters, std::string_view mode);

/// Whether the marker of the current file is there and counts: it is whole, it is of this file as it is
/// now where it says so, and the spectra that it speaks of are not of other sizes, nor empty.
bool IsExtracted(const UserParameters& parameters);

/// Deletes a marker that does not count, and says why in the log; not when everything is rewritten.
void ForgetFlawedExtraction(const UserParameters& parameters);

/// What the marker of the current file says of the extraction: settings, counts, and why scans were
/// left out. Empty when it says nothing; also, with a warning, when its text is no record. Throws a
/// std::string when the file cannot be read.
RunRecord ExtractionRecord(const UserParameters& parameters);

/// The environment variable that names the folder of the extractors, or says kInstalledExtractors: none is
/// then looked for in the current directory.
inline constexpr const char* kExtractorsVariable = "TARVEK_EXTRACTORS";
inline constexpr const char* kInstalledExtractors = "installed";

/// File name of the extractor for an input format, such as "mzml".
std::string_view ExtractorName(std::string_view input_format);

/// The shell's text for starting the extractor: the program in the current directory when it
/// exists, else the one in installed_directory in quotes when that exists, else the former.
std::string ExtractorProgram(std::string_view name, const std::string& installed_directory);

/// Whether this process can extract the current file itself: the extractor would be the installed
/// one for mzML and mzXML, there is work to do, and only text output is wanted.
bool CanExtractHere(const UserParameters& parameters);

/// What the shell would be given to start the extractor of the current file: as ExtractorProgram, unless
/// the environment says where it is.
std::string ChosenExtractor(const UserParameters& parameters);

/// The extractor's arguments for writing the current file as text.
std::vector<std::string> ExtractorArguments(const UserParameters& parameters);

/// The error for a file that the extractor did not finish.
std::string ExtractionFailedText(const std::string& path);

/// The command line for the current file, starting with program.
std::string ExtractorCommand(const UserParameters& parameters, std::string_view mode,
                             const std::string& program);

}  // namespace tarvek
