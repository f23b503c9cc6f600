#include "RunDriver.h"

#include <algorithm>
#include <optional>

#include "Check.h"
#include "Extractor.h"
#include "FileUtils.h"
#include "IO.h"
#include "IsotopeTable.h"
#include "Logger.h"
#include "MgfInput.h"
#include "Ms2Loop.h"
#include "OutputSet.h"
#include "StringUtils.h"

namespace tarvek {
namespace {

bool IsInstrumentFormat(std::string_view format) {
  return std::ranges::find(kInstrumentFormats, format) != kInstrumentFormats.end();
}

template <class Process>
void ForEachFile(UserParameters& parameters, const std::string& path, const std::string& ext,
                 Process process) {
  for (const std::string& file : ListFiles(path, ext)) {
    SetCurrentFile(parameters, file);
    process(parameters);
  }
}

void ProcessTextFile(const UserParameters& parameters) {
  std::optional<OutputClaim> claim = ClaimUnlessFinished(parameters);
  if (claim) processTextSpectra(parameters, *claim);
}

void ProcessDataPath(UserParameters& parameters, const std::string& path) {
  const std::string format = detectDataPathFormat(path, parameters);
  if (IsKnownFormat(format)) parameters.m_input_format = format;
  if (format == "ms1") {
    ForEachFile(parameters, path, ".ms1", ProcessTextFile);
  } else if (format == "mgf") {
    ForEachFile(parameters, path, ".mgf", processMgfFile);
  } else {
    if (!IsKnownFormat(format)) logMessage(kError, UnknownFormatText(path, format));
    TARVEK_CHECK(IsInstrumentFormat(parameters.m_input_format),
                 "m_input_format == \"raw\" || m_input_format == \"wiff\" || "
                 "m_input_format == \"mzxml\" || m_input_format == \"mzml\"",
                 "BasicProcessLogic");
    ForEachFile(parameters, path, "." + parameters.m_input_format, processInstrumentFile);
  }
}

void DeleteExtracted(const UserParameters& parameters) {
  for (const char* ending : {".ms1", ".ms2", ".morvex"}) RemoveFile(OutputPath(parameters, ending));
}

}  // namespace

void runAllDataPaths(const UserParameters& parameters) {
  UserParameters working = parameters;
  SetPeakLineFormat(working.m_peak_format);
  LoadIsotopeTable(IsotopeTablePath(working.m_ipv_file, InstalledTablePath()));
  for (const std::string& path : parameters.m_datapaths) ProcessDataPath(working, path);
}

std::string detectDataPathFormat(const std::string& path, const UserParameters& parameters) {
  if (!FileExists(path)) return parameters.m_input_format;
  return ToLower(path.substr(path.rfind('.') + 1));
}

bool IsKnownFormat(std::string_view format) {
  return format == "ms1" || format == "mgf" || IsInstrumentFormat(format);
}

std::string UnknownFormatText(const std::string& path, const std::string& format) {
  return "Data path " + path + " has the format '" + format +
         "'. Known are ms1, mgf, raw, wiff, mzxml and mzml, in lower case.";
}

void processInstrumentFile(UserParameters& parameters) {
  std::optional<OutputClaim> claim = ClaimUnlessFinished(parameters);
  if (!claim) return;
  runExtractor(parameters, "ms");
  SetCurrentFile(parameters,
                 JoinPath({parameters.m_outputpath, parameters.m_current_basename + ".ms1"}));
  if (parameters.m_output_msb)
    processMsbSpectra(parameters, *claim);
  else
    processTextSpectra(parameters, *claim);
  if (parameters.m_delete_msn) DeleteExtracted(parameters);
}

std::string InstalledTablePath() {
  const std::string directory = ExecutableDirectory();
  return directory.empty() ? directory
                           : JoinPath({directory, "..", "share", "tarvek", kDefaultIpvFile});
}

std::string IsotopeTablePath(const std::string& ipv_file, const std::string& installed_table) {
  if (ipv_file != kDefaultIpvFile || FileExists(ipv_file) || !FileExists(installed_table))
    return ipv_file;
  logInfo("Uses the installed isotope table " + installed_table);
  return installed_table;
}

}  // namespace tarvek
