#include "RunSummary.h"

#include <algorithm>
#include <array>
#include <set>
#include <utility>
#include <vector>

#include "FileUtils.h"
#include "Logger.h"
#include "NumberText.h"
#include "OutputSet.h"
#include "Platform.h"
#include "StringUtils.h"

namespace tarvek {
namespace {

constexpr int kJointDecimals = 4;

// The parameters that shape outputs, without those for paths and for repeating work. Keys: frozen,
// see docs/frozen-names.md.
constexpr std::array<const char*, 14> kShapingKeys = {"check_activationcenter",
                                                      "co-elute",
                                                      "cut_similiar_mono",
                                                      "intensity",
                                                      "isolation_width",
                                                      "m/z",
                                                      "mars_model",
                                                      "mars_threshold",
                                                      "mstol",
                                                      "mstolppm",
                                                      "output_mgf",
                                                      "output_msb",
                                                      "output_pf",
                                                      "recalibrate_window"};

constexpr std::array<std::string_view, 2> kDigitsKeys = {kSettingIntensityDigits, kSettingMzDigits};

// In the input form: in the echo's form "2212" could be 2 to 12 or 22 to 2.
std::string ChargeRangeText(const UserParameters& parameters) {
  return std::to_string(parameters.m_charge_min) + "t" + std::to_string(parameters.m_charge_max);
}

void AddEnvironment(RunRecord& record, std::string_view key, const char* variable) {
  const std::string value(Trim(EnvironmentVariable(variable).value_or("")));
  if (!value.empty()) record.m_settings[std::string(key)] = value;
}

std::string ValueText(const std::map<std::string, std::string>& settings, const std::string& key) {
  const auto found = settings.find(key);
  return found == settings.end() ? "not set" : found->second;
}

// Our own settings are fewer.
constexpr std::size_t kMostShownDifferences = 40;

void AppendDifference(std::string& text, const std::string& key, const RunRecord& before,
                      const RunRecord& now) {
  text += (text.empty() ? "" : "; ") + key + " " + ValueText(before.m_settings, key) + ", now " +
          ValueText(now.m_settings, key);
}

// Whether key is for the decimals of peaks, which both the extractor and the outputs use.
bool IsDigitsKey(std::string_view key) {
  return std::ranges::find(kDigitsKeys, key) != kDigitsKeys.end();
}

// The keys of extraction settings that have another value now, letter case ignored. The marker of
// an older program does not record all of them.
std::vector<std::string> KeysThatDiffer(const RunRecord& extraction, const RunRecord& now) {
  std::vector<std::string_view> told;
  if (extraction.Count(kCountMs2Read)) told = {kSettingActivation, kSettingAnalyser};
  for (const std::string_view key : kDigitsKeys)
    if (extraction.m_settings.contains(std::string(key))) told.push_back(key);
  std::vector<std::string> keys;
  for (const std::string_view name : told) {
    const std::string key(name);
    if (ToLower(ValueText(extraction.m_settings, key)) != ToLower(ValueText(now.m_settings, key)))
      keys.push_back(key);
  }
  return keys;
}

// "run.mzML (120 bytes)".
std::string InputText(const std::map<std::string, std::string>& input) {
  return ValueText(input, "name") + " (" + ValueText(input, "bytes") + " bytes)";
}

// Spectra that an extraction left in the output directory are not another input than its own.
bool AreExtractedHere(const UserParameters& parameters) {
  const auto spectra = IdentityAt(OutputPath(parameters, ".ms1"));
  return spectra && spectra == IdentityAt(parameters.m_current_file) &&
         FileExists(OutputPath(parameters, ".morvex"));
}

std::int64_t CountOrZero(const RunRecord& record, std::string_view key) {
  return record.Count(key).value_or(0);
}

// "1 precursor", "2 precursors".
std::string Counted(std::int64_t count, const char* thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

// ", 3 left out (2 REASON, 1 REASON)", or empty.
std::string LeftOutText(const std::vector<LeftOutReason>& reasons) {
  std::string list;
  std::int64_t sum = 0;
  for (const auto& [reason, count] : reasons) {
    list += (list.empty() ? "" : ", ") + std::to_string(count) + " " + reason;
    sum += count;
  }
  return sum == 0 ? "" : ", " + std::to_string(sum) + " left out (" + list + ")";
}

}  // namespace

std::optional<double> JointThreshold() {
  const std::string text(Trim(EnvironmentVariable(kJointVariable).value_or("")));
  if (text.empty()) return std::nullopt;
  const std::optional<double> threshold = FiniteReal(text);
  if (!threshold || *threshold < 0.0 || *threshold > 1.0)
    throw std::string(kJointVariable) + " has to be a probability from 0 to 1, not " + text;
  return threshold;
}

std::map<std::string, std::string> InputOf(const UserParameters& parameters) {
  std::map<std::string, std::string> input = SourceOf(parameters.m_current_file);
  input.erase("modified_ns");  // a copy of the input is the same input
  return input;
}

RunRecord SettingsOf(const UserParameters& parameters, std::string_view isotope_table,
                     InputKind kind) {
  RunRecord record;
  record.m_source = InputOf(parameters);
  ParameterTable table = ToParameterTable(parameters);
  for (const char* const key : kShapingKeys) record.m_settings[key] = table[key];
  record.m_settings[kChargeRangeKey] = ChargeRangeText(parameters);
  record.m_settings[std::string(kSettingIsotopeTable)] = isotope_table;
  if (kind == InputKind::kInstrumentFile) {
    AddEnvironment(record, kSettingAnalyser, kAnalyserVariable);
    AddEnvironment(record, kSettingActivation, kActivationVariable);
  }
  if (const auto threshold = JointThreshold())
    record.m_settings[std::string(kSettingJoint)] = Fixed(*threshold, kJointDecimals);
  return record;
}

std::string RunRecordPath(const UserParameters& parameters) {
  return JoinPath(
      {parameters.m_outputpath, parameters.m_current_basename + std::string(kRunRecordEnding)});
}

std::string SettingsDifference(const RunRecord& recorded, const RunRecord& now) {
  if (recorded.m_settings.empty()) return "";
  std::set<std::string> keys;
  for (const auto* settings : {&recorded.m_settings, &now.m_settings})
    for (const auto& entry : *settings) keys.insert(entry.first);
  std::string text;
  std::size_t differences = 0;
  for (const std::string& key : keys) {
    if (ValueText(recorded.m_settings, key) == ValueText(now.m_settings, key)) continue;
    if (++differences <= kMostShownDifferences) AppendDifference(text, key, recorded, now);
  }
  if (differences > kMostShownDifferences)
    text += "; and " + std::to_string(differences - kMostShownDifferences) + " more";
  return text;
}

std::string RecordedDifference(const UserParameters& parameters, std::string_view isotope_table,
                               InputKind kind, const RunRecord& more) {
  const std::string path = RunRecordPath(parameters);
  if (!FileExists(path)) return "";
  RunRecord recorded = ReadRunRecord(path);
  if (kind == InputKind::kSpectra)
    for (const std::string_view key : {kSettingAnalyser, kSettingActivation})
      recorded.m_settings.erase(std::string(key));
  RunRecord now = SettingsOf(parameters, isotope_table, kind);
  now.m_settings.insert(more.m_settings.begin(), more.m_settings.end());
  return SettingsDifference(recorded, now);
}

void WarnOfOtherSettings(const UserParameters& parameters, std::string_view isotope_table,
                         InputKind kind) {
  try {
    const std::string difference = RecordedDifference(parameters, isotope_table, kind);
    if (!difference.empty())
      logMessage(kWarn, "The results of " + parameters.m_current_file + " have other settings: " +
                            difference + ". Give -r 1 to process it again.");
  } catch (const std::string& what) {
    logMessage(kWarn, what + ". With which settings it was processed is not known.");
  }
}

std::string RecordedInputDifference(const UserParameters& parameters) {
  const std::string path = RunRecordPath(parameters);
  if (!FileExists(path) || AreExtractedHere(parameters)) return "";
  const RunRecord recorded = ReadRunRecord(path);
  const auto now = InputOf(parameters);
  if (recorded.m_source.empty() || now.empty() || recorded.m_source == now) return "";
  return InputText(recorded.m_source) + ", now " + InputText(now);
}

void WarnOfOtherInput(const UserParameters& parameters, OldResults results) {
  std::string difference;
  try {
    difference = RecordedInputDifference(parameters);
  } catch (const std::string&) {
    // WarnOfOtherSettings tells of the record.
  }
  if (difference.empty()) return;
  const std::string others =
      OutputPath(parameters, ".*") + " are the results of another input, " + difference;
  logMessage(kWarn, results == OldResults::kAreReplaced
                        ? others + ", and are replaced."
                        : parameters.m_current_file + " is skipped: " + others +
                              ". Give each its own output directory, or -r 1 to replace them.");
}

RunRecord WithExtraction(RunRecord record, const RunRecord& extraction) {
  record.m_counts = extraction.m_counts;
  record.m_widths = extraction.m_widths;
  record.m_left_out = extraction.m_left_out;
  return record;
}

std::string ExtractionDifference(const RunRecord& extraction, const RunRecord& now) {
  std::string text;
  for (const std::string& key : KeysThatDiffer(extraction, now))
    AppendDifference(text, key, extraction, now);
  return text;
}

RunRecord WithSettingsOfExtraction(RunRecord record, const RunRecord& extraction) {
  for (const std::string& key : KeysThatDiffer(extraction, record)) {
    const auto before = extraction.m_settings.find(key);
    if (IsDigitsKey(key))
      record.m_settings[key] += " (extracted with " + before->second + ")";
    else if (before == extraction.m_settings.end())
      record.m_settings.erase(key);
    else
      record.m_settings[key] = before->second;
  }
  return record;
}

RunRecord WholeRecord(RunRecord begun, const RunRecord& loop) {
  RunRecord record = std::move(begun);
  const std::int64_t read = CountOrZero(loop, kCountMs2Read);
  const std::int64_t before_extraction = CountOrZero(record, kCountMs2Read);
  const std::int64_t lost = before_extraction - CountLeftOut(record) - read;
  if (lost > 0) record.m_left_out[std::string(kLostAfterExtraction)] += lost;
  for (const auto& [reason, count] : loop.m_left_out) record.m_left_out[reason] += count;
  record.m_left_out_scans = loop.m_left_out_scans;
  for (const auto& [key, count] : loop.m_counts) record.m_counts[key] = count;
  record.m_counts[std::string(kCountMs2Read)] =
      CountOrZero(loop, kCountMs2Exported) + CountLeftOut(record);
  return record;
}

std::int64_t CountLeftOut(const RunRecord& record) {
  std::int64_t sum = 0;
  for (const auto& [reason, count] : record.m_left_out) sum += count;
  return sum;
}

std::vector<LeftOutReason> ReasonsByFrequency(const RunRecord& record) {
  std::vector<LeftOutReason> reasons;
  for (const auto& [reason, count] : record.m_left_out)
    if (count > 0) reasons.emplace_back(reason, count);
  std::ranges::stable_sort(reasons, std::ranges::greater(), &LeftOutReason::second);
  return reasons;
}

bool ExportedNothing(const RunRecord& record) {
  return CountOrZero(record, kCountMs2Exported) == 0;
}

std::string SummaryText(const std::string& input, const RunRecord& record,
                        std::int64_t elapsed_ms) {
  const std::vector<LeftOutReason> reasons = ReasonsByFrequency(record);
  std::string text =
      input + ": " + Counted(CountOrZero(record, kCountMs2Read), "MS2 scan") + " read, " +
      std::to_string(CountOrZero(record, kCountMs2Exported)) + " exported with " +
      Counted(CountOrZero(record, kCountPrecursors), "precursor") + LeftOutText(reasons) + ", in " +
      Fixed(static_cast<double>(elapsed_ms) / 1000.0, 1) + " s";
  if (!ExportedNothing(record)) return text;
  if (reasons.empty()) return text + ". Nothing was exported: there is no MS2 scan in it.";
  return text + ". Nothing was exported; the main reason: " + reasons.front().first + ".";
}

void LogSummary(const std::string& input, const RunRecord& record, std::int64_t start_ms) {
  logMessage(ExportedNothing(record) ? kWarn : kInfo,
             SummaryText(input, record, MonotonicMilliseconds() - start_ms));
}

}  // namespace tarvek
