// BasicProcessLogic/RunDriver.h: every data path and every file of it, each down its road.
// Does:     decides the format of each data path, lists its files, and hands each to the MS2 loop,
//           to the MGF path, or through the extractor to the loop.
// Owns:     its working copy of the parameter record.
// Throws:   whatever ends the run.
#pragma once

#include <string>
#include <vector>

#include "UserParameters.h"

namespace tarvek {

/// The whole run after configuration.
void runAllDataPaths(const UserParameters& parameters);

/// The lower-case extension of a path that is a file ("mzml" or "mzxml" also of a packed one), else
/// input_format, the configured one.
std::string detectDataPathFormat(const std::string& path, const std::string& input_format);

/// The files that a data path stands for in a format: ListFiles with its ending, and with that of its
/// packed files.
std::vector<std::string> ListInputFiles(const std::string& path, const std::string& format);

/// What is said of a data path without a file of the format: which known ones it has instead.
std::string NoInputFileText(const std::string& path, const std::string& format);

/// What is said of a data path that has another one.
std::string UnknownFormatText(const std::string& path, const std::string& format);

/// Converts the current file, an instrument file, and processes its spectra.
void processInstrumentFile(UserParameters& parameters);

/// Where an installed program has its isotope table, which may not exist; empty when the program's
/// own place is unknown.
std::string InstalledTablePath();

/// The isotope table to read: the installed one when ipv_file has its default value, was not given
/// by the settings, and is not in the current directory; else ipv_file. installed_table: path of the
/// installed one, which may not exist.
std::string IsotopeTablePath(const std::string& ipv_file, bool is_given,
                             const std::string& installed_table);

/// The same for settings; the log says when it is the installed one or, with its full path, one of the current
/// directory that nobody named.
std::string SayIsotopeTablePath(const UserParameters& parameters,
                                const std::string& installed_table);

}  // namespace tarvek
