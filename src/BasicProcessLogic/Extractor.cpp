#include "Extractor.h"

#include <stdexcept>

#include "FileUtils.h"
#include "InputFormats.h"
#include "Logger.h"
#include "NumberText.h"
#include "OutputSet.h"
#include "Platform.h"

namespace tarvek {
namespace {

std::string InstalledDirectory() {
  const std::string directory = ExecutableDirectory();
  return directory.empty() ? directory : JoinPath({directory, "..", "libexec", "tarvek"});
}

// The text is frozen, see docs/frozen-names.md.
std::string PipeError(const std::string& command, const char* what) {
  return "popen(\"" + command + "\",\"r\") " + what;
}

std::string MarkerPath(const UserParameters& parameters) {
  return OutputPath(parameters, ".morvex");
}

void ForwardOutput(ChildProcess& child, const std::string& command) {
  std::string line;
  while (child.ReadLine(line)) logMessage(kSubprocess, line);
  if (!child.AtEnd()) throw std::runtime_error(PipeError(command, "lose connection with Tarvek!"));
}

int RunChild(const std::string& command) {
  ChildProcess child = ChildProcess::Start(command);
  if (!child.IsRunning()) throw std::runtime_error(PipeError(command, "failed!"));
  ForwardOutput(child, command);
  return child.Wait();
}

std::string CurrentDirectoryExtractor(std::string_view name) { return JoinPath({".", name}); }

// The extractor would take a path that begins with a dash for an option.
std::string NoOption(const std::string& path) { return path.starts_with('-') ? "./" + path : path; }

}  // namespace

bool runExtractor(const UserParameters& parameters, std::string_view mode) {
  const std::string marker = MarkerPath(parameters);
  if (!parameters.m_rewrite_files && FileExists(marker)) {
    logInfo(parameters.m_current_file + " has existed results, skipping morvex process...");
    return false;
  }
  const std::string command = ExtractorCommand(parameters, mode, ChosenExtractor(parameters));
  logInfo(command);
  const int status = RunChild(command);
  if (status != 0 || !FileExists(marker)) throw ExtractionFailedText(parameters.m_current_file);
  return true;
}

bool CanExtractHere(const UserParameters& parameters) {
  if (parameters.m_output_msb || parameters.m_cluster_ms2) return false;
  if (!IsInstrumentFormat(parameters.m_input_format)) return false;
  const std::string_view name = ExtractorName(parameters.m_input_format);
  if (name != ExtractorName("mzml")) return false;
  if (!parameters.m_rewrite_files && FileExists(MarkerPath(parameters))) return false;
  return ChosenExtractor(parameters) != CurrentDirectoryExtractor(name);
}

std::string ChosenExtractor(const UserParameters& parameters) {
  return ExtractorProgram(ExtractorName(parameters.m_input_format), InstalledDirectory());
}

RunRecord ExtractionRecord(const UserParameters& parameters) {
  const std::string marker = MarkerPath(parameters);
  try {
    return ReadRunRecord(marker);
  } catch (const std::string& what) {
    logMessage(kWarn, what + ". What the extraction left out is not counted.");
    return {};
  }
}

std::string_view ExtractorName(std::string_view input_format) {
  return FindInputFormat(IsInstrumentFormat(input_format) ? input_format : "raw")->m_extractor;
}

std::string ExtractorProgram(std::string_view name, const std::string& installed_directory) {
  std::string here = CurrentDirectoryExtractor(name);
  if (installed_directory.empty() || FileExists(here)) return here;
  const std::string installed = JoinPath({installed_directory, name});
  return FileExists(installed) ? QuotedForShell(installed) : here;
}

std::vector<std::string> ExtractorArguments(const UserParameters& parameters) {
  return {"-ms",
          "-a",
          "-i",
          std::to_string(parameters.m_intensity_digits),
          "-m",
          std::to_string(parameters.m_mz_digits),
          "-o",
          parameters.m_outputpath,
          NoOption(parameters.m_current_file)};
}

std::string ExtractionFailedText(const std::string& path) {
  return "Cannot use morvex to extract signals from: " + path;
}

std::string ExtractorCommand(const UserParameters& parameters, std::string_view mode,
                             const std::string& program) {
  std::string command = program + (mode == "mgf" ? " -mgf" : " -ms") + " -a -i ";
  AppendInteger(command, parameters.m_intensity_digits);
  command += " -m ";
  AppendInteger(command, parameters.m_mz_digits);
  command += " -o " + QuotedForShell(parameters.m_outputpath) + " " +
             QuotedForShell(NoOption(parameters.m_current_file));
  if (parameters.m_output_msb) command += " -msb";
  return command;
}

}  // namespace tarvek
