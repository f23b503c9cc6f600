#include "Extractor.h"

#include <array>
#include <optional>
#include <set>
#include <stdexcept>

#include "FileUtils.h"
#include "InputFormats.h"
#include "Logger.h"
#include "NumberText.h"
#include "OutputSet.h"
#include "Platform.h"
#include "StringUtils.h"

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

std::string InstalledExtractor(std::string_view name) {
  return JoinPath({InstalledDirectory(), name});
}

// The file of the extractor: that of the current directory, or the installed one when there is none.
std::string FoundExtractor(std::string_view name, const std::string& installed_directory) {
  std::string here = CurrentDirectoryExtractor(name);
  if (installed_directory.empty() || FileExists(here)) return here;
  std::string installed = JoinPath({installed_directory, name});
  return FileExists(installed) ? installed : here;
}

// The same, unless the environment says where it is.
std::string ExtractorFile(const UserParameters& parameters) {
  const std::string_view name = ExtractorName(parameters.m_input_format);
  const std::string folder(Trim(EnvironmentVariable(kExtractorsVariable).value_or("")));
  if (folder.empty()) return FoundExtractor(name, InstalledDirectory());
  return folder == kInstalledExtractors ? InstalledExtractor(name) : JoinPath({folder, name});
}

// The shell gets the one of the current directory as it is.
std::string ProgramText(const std::string& file, std::string_view name) {
  return file == CurrentDirectoryExtractor(name) ? file : QuotedForShell(file);
}

// Anybody who may write into a folder of data can put a program there. Said once of each.
void SayForeignExtractor(const UserParameters& parameters) {
  static std::set<std::string> said;
  const std::string_view name = ExtractorName(parameters.m_input_format);
  const std::string file = ExtractorFile(parameters);
  const std::optional<FileIdentity> identity = IdentityAt(file);
  if (!identity || identity == IdentityAt(InstalledExtractor(name))) return;
  const bool is_here = file == CurrentDirectoryExtractor(name);
  const std::string path = AbsolutePath(is_here ? std::string(name) : file);
  if (!said.insert(path).second) return;
  logMessage(is_here ? kWarn : kInfo,
             "Uses the extractor " + path + ", which is not the installed one.");
}

// Why the first line of a marker is not one that an extractor wrote, empty when it may be: there are
// others than ours, which may write any text, but none of a power failure.
std::string FlawOfFirstLine(const std::string& marker) {
  std::array<char, 4096> bytes{};
  const std::size_t size = OpenOwnFile(marker, "marker").Read(bytes.data(), bytes.size());
  if (size == 0) return "is empty";
  const std::string_view start(bytes.data(), size);
  const std::size_t end = start.find('\n');
  const std::string_view line = TrimRight(start.substr(0, end), "\r");
  const bool is_ended = end != std::string_view::npos;
  const bool is_cut = line.starts_with(kMarkerStart) && !(is_ended && line.ends_with(kMarkerEnd));
  const bool has_zeros = line.find('\0') != std::string_view::npos;
  return is_cut || has_zeros ? "is damaged" : "";
}

bool IsOfAnotherFile(const RunRecord& record, const std::string& input) {
  const auto now = SourceOf(input);
  return !record.m_source.empty() && !now.empty() && record.m_source != now;
}

// Spectra that are gone are no flaw: their reader says so.
std::string FlawOfSpectra(const UserParameters& parameters, const RunRecord& record) {
  for (const char* const ending : {".ms1", ".ms2"}) {
    const std::string path = OutputPath(parameters, ending);
    const std::optional<FileStamp> stamp = StampAt(path);
    if (stamp && stamp->m_bytes == 0) return path + " is empty";
  }
  for (const auto& [ending, bytes] : record.m_output_bytes) {
    const std::string path = OutputPath(parameters, ending);
    const std::optional<FileStamp> stamp = StampAt(path);
    if (stamp && stamp->m_bytes != bytes)
      return path + " has " + std::to_string(stamp->m_bytes) + " bytes and not the " +
             std::to_string(bytes) + " that were written";
  }
  return {};
}

// Why the marker that is there does not count; empty when it does.
std::string FlawOfExtraction(const UserParameters& parameters) {
  const std::string marker = MarkerPath(parameters);
  const std::string flaw = FlawOfFirstLine(marker);
  if (!flaw.empty()) return marker + " " + flaw;
  RunRecord record;
  try {
    record = ReadRunRecord(marker);
  } catch (const UnusableRecord&) {
    // ExtractionRecord warns of it; the spectra are whole.
  }
  if (IsOfAnotherFile(record, parameters.m_current_file))
    return marker + " is of another file of this name, or of an earlier state of it";
  return FlawOfSpectra(parameters, record);
}

// The extractor would take a path that begins with a dash for one of its options.
std::string NoOption(const std::string& path) { return path.starts_with('-') ? "./" + path : path; }

}  // namespace

bool IsExtracted(const UserParameters& parameters) {
  return FileExists(MarkerPath(parameters)) && FlawOfExtraction(parameters).empty();
}

void ForgetFlawedExtraction(const UserParameters& parameters) {
  const std::string marker = MarkerPath(parameters);
  if (parameters.m_rewrite_files || !FileExists(marker)) return;
  const std::string flaw = FlawOfExtraction(parameters);
  if (flaw.empty()) return;
  logInfo(parameters.m_current_file + " is extracted anew: " + flaw + ".");
  RemoveFile(marker);
}

bool runExtractor(const UserParameters& parameters, std::string_view mode) {
  const std::string marker = MarkerPath(parameters);
  ForgetFlawedExtraction(parameters);
  if (!parameters.m_rewrite_files && FileExists(marker)) {
    logInfo(parameters.m_current_file + " has existed results, skipping morvex process...");
    return false;
  }
  SayForeignExtractor(parameters);
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
  if (!parameters.m_rewrite_files && IsExtracted(parameters)) return false;
  const std::string file = ExtractorFile(parameters);
  const std::optional<FileIdentity> identity = IdentityAt(file);
  return file != CurrentDirectoryExtractor(name) && identity &&
         identity == IdentityAt(InstalledExtractor(name));
}

std::string ChosenExtractor(const UserParameters& parameters) {
  return ProgramText(ExtractorFile(parameters), ExtractorName(parameters.m_input_format));
}

RunRecord ExtractionRecord(const UserParameters& parameters) {
  const std::string marker = MarkerPath(parameters);
  try {
    return ReadRunRecord(marker);
  } catch (const UnusableRecord& what) {
    logMessage(kWarn, what + ". What the extraction left out is not counted.");
    return {};
  }
}

std::string_view ExtractorName(std::string_view input_format) {
  return FindInputFormat(IsInstrumentFormat(input_format) ? input_format : "raw")->m_extractor;
}

std::string ExtractorProgram(std::string_view name, const std::string& installed_directory) {
  return ProgramText(FoundExtractor(name, installed_directory), name);
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
