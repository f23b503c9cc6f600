#include "RunDriver.h"

#include <map>
#include <new>
#include <optional>
#include <utility>

#include "Check.h"
#include "Extractor.h"
#include "FileUtils.h"
#include "IO.h"
#include "InputFormats.h"
#include "IsotopeTable.h"
#include "Logger.h"
#include "MgfInput.h"
#include "Ms2Loop.h"
#include "NumberText.h"
#include "OutputSet.h"
#include "Platform.h"
#include "RunSummary.h"
#include "ScanQueue.h"
#include "ShownText.h"
#include "StringUtils.h"

namespace tarvek {
namespace {

// What a finished file that is skipped has of another run.
void WarnOfOtherRun(const UserParameters& parameters, InputKind kind) {
  WarnOfOtherInput(parameters, OldResults::kStay);
  WarnOfOtherSettings(parameters, InstalledTableFingerprint(), kind);
}

void WarnOfReplacedResults(const UserParameters& parameters) {
  if (FileExists(FinishedTablePath(parameters)))
    WarnOfOtherInput(parameters, OldResults::kAreReplaced);
}

void ProcessTextFile(UserParameters& parameters) {
  const std::int64_t start_ms = MonotonicMilliseconds();
  std::optional<OutputClaim> claim = ClaimUnlessFinished(parameters);
  if (!claim) return WarnOfOtherRun(parameters, InputKind::kSpectra);
  WarnOfReplacedResults(parameters);
  const RunRecord record = processTextSpectra(
      parameters, *claim, SettingsOf(parameters, InstalledTableFingerprint(), InputKind::kSpectra));
  LogSummary(parameters.m_current_file, record, start_ms);
}

// The start of the current file's output paths in a form in which equal texts are the same files.
// Windows ignores case.
std::string OutputKey(const UserParameters& parameters) {
  const std::string start = OutputPath(parameters, "");
  return kFileNamesIgnoreCase ? ToLower(start) : start;
}

// A failed request for memory becomes one that names the file in work.
template <class Action>
void NamingFile(const std::string& path, Action action) {
  try {
    action();
  } catch (const std::bad_alloc& error) {
    throw FileFault(path, error.what(), kNoMemory);
  }
}

// Walks the data paths of one run.
class DataPathWalk {
 public:
  explicit DataPathWalk(const UserParameters& parameters) : m_parameters(parameters) {}

  void Process(const std::string& path) {
    const std::string format = detectDataPathFormat(path, m_parameters.m_input_format);
    const InputFormat* known = FindInputFormat(format);
    if (known != nullptr) m_parameters.m_input_format = format;
    if (known != nullptr && known->m_input_path == InputPath::kText) {
      ForEachFile(path, format, ProcessTextFile);
    } else if (known != nullptr && known->m_input_path == InputPath::kMgf) {
      ForEachFile(path, format, [](UserParameters& parameters) { processMgfFile(parameters); });
    } else {
      const bool goes_on = IsInstrumentFormat(m_parameters.m_input_format);
      if (known == nullptr) logMessage(goes_on ? kWarn : kError, UnknownFormatText(path, format));
      TARVEK_CHECK(goes_on,
                   "m_input_format == \"raw\" || m_input_format == \"wiff\" || "
                   "m_input_format == \"mzxml\" || m_input_format == \"mzml\"",
                   "BasicProcessLogic");
      ForEachFile(path, m_parameters.m_input_format, processInstrumentFile);
    }
  }

 private:
  void ForEachFile(const std::string& path, const std::string& format,
                   void (*process)(UserParameters&)) {
    const std::vector<std::string> files = ListInputFiles(path, format);
    if (files.empty() && IsDirectory(path)) logMessage(kWarn, NoInputFileText(path, format));
    for (const std::string& file : files) {
      SetCurrentFile(m_parameters, file);
      WarnOfSameOutputs();
      NamingFile(file, [&] { process(m_parameters); });
    }
  }

  void WarnOfSameOutputs() {
    const std::string key = OutputKey(m_parameters);
    const auto [first, is_new] = m_input_of_outputs.emplace(key, m_parameters.m_current_file);
    if (is_new) return;
    logMessage(kWarn, first->second + " and " + m_parameters.m_current_file +
                          " have the same outputs, " + OutputPath(m_parameters, ".*") +
                          ": the second is skipped when the first is finished, and replaces it "
                          "with -r 1. Give each its own output directory.");
  }

  UserParameters m_parameters;
  std::map<std::string, std::string> m_input_of_outputs;  // key: OutputKey
};

RunRecord SettingsOfExtraction(const UserParameters& parameters) {
  return SettingsOf(parameters, InstalledTableFingerprint(), InputKind::kInstrumentFile);
}

// Extracts the current file unless that was done before; returns the start of the run's record.
RunRecord ExtractAndBegin(const UserParameters& parameters) {
  const bool is_new = runExtractor(parameters, "ms");
  const RunRecord now = SettingsOfExtraction(parameters);
  const RunRecord extraction = ExtractionRecord(parameters);
  const RunRecord begun = WithExtraction(now, extraction);
  if (is_new) return begun;
  const std::string difference = ExtractionDifference(extraction, now);
  if (!difference.empty())
    logMessage(kWarn, "The spectra of " + parameters.m_current_file +
                          " were extracted with other settings: " + difference +
                          ". Give -r 1 to extract it again.");
  return WithSettingsOfExtraction(begun, extraction);
}

// Extracts the current file and determines its precursors at the same time; std::nullopt when the
// order of its scans requires the text files.
std::optional<RunRecord> ProcessWhileExtracting(const UserParameters& parameters,
                                                OutputClaim& claim) {
  ForgetFlawedExtraction(parameters);
  logInfo(ExtractorCommand(parameters, "ms", ChosenExtractor(parameters)));
  try {
    return ProcessInstrumentSpectra(parameters, claim, SettingsOfExtraction(parameters));
  } catch (const OrderNeedsFiles&) {
    logInfo(
        parameters.m_current_file +
        " is extracted as a whole before precursors are determined: the order of its scans asks "
        "for that.");
    return std::nullopt;
  }
}

RunRecord ProcessAfterExtracting(UserParameters& parameters, OutputClaim& claim) {
  const RunRecord begun = ExtractAndBegin(parameters);
  SetCurrentFileIn(parameters, parameters.m_outputpath, parameters.m_current_basename + ".ms1");
  return parameters.m_output_msb ? processMsbSpectra(parameters, claim, begun)
                                 : processTextSpectra(parameters, claim, begun);
}

// Anybody who may write into a folder of data can put a table there.
void SayForeignTable(const std::string& path, const std::string& installed_table) {
  const auto identity = IdentityAt(path);
  if (identity && identity != IdentityAt(installed_table))
    logInfo("Uses the isotope table " + AbsolutePath(path) + ", which is not the installed one");
}

void DeleteExtracted(const UserParameters& parameters) {
  for (const char* ending : {".ms1", ".ms2", ".morvex"}) RemoveFile(OutputPath(parameters, ending));
}

}  // namespace

void runAllDataPaths(const UserParameters& parameters) {
  LoadIsotopeTable(SayIsotopeTablePath(parameters, InstalledTablePath()));
  DataPathWalk walk(parameters);
  for (const std::string& path : parameters.m_datapaths) walk.Process(path);
}

std::string detectDataPathFormat(const std::string& path, const std::string& input_format) {
  if (!IsThere(path)) return input_format;
  if (const InputFormat* const packed = PackedFormatOf(path)) return std::string(packed->m_word);
  return ToLower(path.substr(path.rfind('.') + 1));
}

std::vector<std::string> ListInputFiles(const std::string& path, const std::string& format) {
  std::vector<std::string> endings = {"." + format};
  if (const InputFormat* const known = FindInputFormat(format);
      known != nullptr && !known->m_packed_ending.empty())
    endings.emplace_back(known->m_packed_ending);
  return ListFilesOfAny(path, endings);
}

std::string NoInputFileText(const std::string& path, const std::string& format) {
  std::string found;
  for (const InputFormat& known : kInputFormats) {
    const std::string word(known.m_word);
    const auto count = static_cast<std::int64_t>(ListInputFiles(path, word).size());
    if (count == 0) continue;
    if (!found.empty()) found += ", ";
    AppendInteger(found, count);
    found += " ." + word + " (-F " + word + ")";
  }
  return "No ." + format + " file in " + path + ". It has " +
         (found.empty() ? "no file of a known format" : found) + ".";
}

std::string UnknownFormatText(const std::string& path, const std::string& format) {
  return "Data path " + path + " has the format '" + format + "'. Known are " + kInputWordList +
         ", in lower case.";
}

void processInstrumentFile(UserParameters& parameters) {
  const std::int64_t start_ms = MonotonicMilliseconds();
  const std::string input = parameters.m_current_file;
  std::optional<StopRequestsNoted> noted;  // outlives the claim, so that the claim is released
  if (CanExtractHere(parameters)) noted.emplace();
  std::optional<OutputClaim> claim = ClaimUnlessFinished(parameters);
  if (!claim) return WarnOfOtherRun(parameters, InputKind::kInstrumentFile);
  WarnOfReplacedResults(parameters);
  std::optional<RunRecord> record;
  if (noted) record = ProcessWhileExtracting(parameters, *claim);
  if (!record) {
    noted.reset();
    record = ProcessAfterExtracting(parameters, *claim);
  }
  if (parameters.m_delete_msn) DeleteExtracted(parameters);
  LogSummary(input, *record, start_ms);
}

std::string InstalledTablePath() {
  const std::string directory = ExecutableDirectory();
  return directory.empty() ? directory
                           : JoinPath({directory, "..", "share", "tarvek", kDefaultIpvFile});
}

std::string IsotopeTablePath(const std::string& ipv_file, bool is_given,
                             const std::string& installed_table) {
  const bool is_default = !is_given && ipv_file == kDefaultIpvFile && !FileExists(ipv_file);
  return is_default && FileExists(installed_table) ? installed_table : ipv_file;
}

std::string SayIsotopeTablePath(const UserParameters& parameters,
                                const std::string& installed_table) {
  std::string path =
      IsotopeTablePath(parameters.m_ipv_file, parameters.m_ipv_file_is_given, installed_table);
  if (path != parameters.m_ipv_file)
    logInfo("Uses the installed isotope table " + path);
  else if (!parameters.m_ipv_file_is_given && path == kDefaultIpvFile)
    SayForeignTable(path, installed_table);
  return path;
}

}  // namespace tarvek
