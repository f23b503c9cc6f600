// BasicProcessLogic/RunDriver.h: takes each file of every data path along its input path.
// Does:     finds the format of each data path, lists its files, and hands each to the MS2 loop, to
//           the MGF conversion, or through the extractor to the loop.
// Owns:     its working copy of the parameter record.
// Throws:   every error that ends the run.
#pragma once

#include <string>
#include <vector>

#include "UserParameters.h"

namespace tarvek {

/// The whole run after configuration.
void runAllDataPaths(const UserParameters& parameters);

/// The lower-case extension when path is a file ("mzml" or "mzxml" also for a packed one), else
/// input_format, the configured one.
std::string detectDataPathFormat(const std::string& path, const std::string& input_format);

/// The files of a format in a data path: ListFiles with its extension and with that of packed
/// files.
std::vector<std::string> ListInputFiles(const std::string& path, const std::string& format);

/// The message for a data path without a file of the format: which known formats it has instead.
std::string NoInputFileText(const std::string& path, const std::string& format);

/// The message for a data path with an unknown format.
std::string UnknownFormatText(const std::string& path, const std::string& format);

/// Converts the current file, an instrument file, and processes its spectra.
void processInstrumentFile(UserParameters& parameters);

/// Where an installed program keeps its isotope table, which may not exist; empty when the
/// program's own directory is unknown.
std::string InstalledTablePath();

/// The isotope table to read: installed_table when it exists and ipv_file has its default value,
/// was not given by the settings, and is not in the current directory; else ipv_file.
std::string IsotopeTablePath(const std::string& ipv_file, bool is_given,
                             const std::string& installed_table);

/// The same for settings; the log says when it is the installed one or, with its full path, one of the current
/// directory that nobody named.
std::string SayIsotopeTablePath(const UserParameters& parameters,
                                const std::string& installed_table);

}  // namespace tarvek
