#include "batch/RunPlan.h"

#include <utility>

#include "FileUtils.h"
#include "NumberText.h"
#include "Platform.h"
#include "RunDriver.h"
#include "RunSummary.h"
#include "batch/RunInputs.h"
#include "calibrate/Calibration.h"
#include "check/Account.h"
#include "check/Check.h"
#include "outputs/DeclaredWidth.h"

namespace tarvek::tools {
namespace {

constexpr const char* kOutputKey = "outputpath";
constexpr const char* kTableKey = "ipv_file";
constexpr const char* kWidthKey = "isolation_width";

/// The settings without data paths, which are the inputs.
UserParameters SettingsOf(ParameterTable table) {
  table["datanum"] = "0";
  UserParameters settings;
  ApplyParameterTable(settings, table);
  return settings;
}

/// The settings that a check compares with its input.
std::vector<std::string> CheckArguments(const std::string& input, const ParameterTable& table) {
  std::vector<std::string> words{"check", "--json", "-I", table.at(kTableKey)};
  if (const auto width = table.find(kWidthKey); width != table.end())
    words.push_back("--isolation-width=" + width->second);
  if (const auto charges = table.find(kChargeRangeKey); charges != table.end())
    words.push_back("--charge-range=" + charges->second);
  words.push_back(AbsolutePath(input));
  return words;
}

void SetArguments(BatchTask& task, const ParameterTable& table) {
  task.m_arguments = {"-D", AbsolutePath(task.m_input)};
  for (const auto& [key, value] : table)
    task.m_arguments.insert(task.m_arguments.end(), {OptionOf(key), value});
  task.m_arguments.insert(task.m_arguments.end(), {"-L", AbsolutePath(task.m_log_directory)});
  task.m_working_directory = AbsolutePath(task.m_log_directory);
}

UserParameters CurrentOf(UserParameters settings, const std::string& input) {
  settings.m_outputpath_follows_input = settings.m_outputpath.empty();
  SetCurrentFile(settings, input);
  return settings;
}

/// What the record of a calibrated run holds in addition to tarvek's settings.
RunRecord CalibrationSettings(const RunRequest& request) {
  RunRecord more;
  if (request.m_is_calibrated) more.m_settings[std::string(kSettingCalibrated)] = "1";
  return more;
}

/// The settings for one input: those asked for; for the rest, what fits it or at least the width
/// that it declares.
ParameterTable TableFor(const std::string& input, const RunRequest& request, ParameterTable table,
                        std::vector<AutoChoice>& choices) {
  if (request.m_is_auto) choices = AddFittingSettings(input, table);
  if (!request.m_takes_declared_width || table.contains(kWidthKey)) return table;
  if (const std::optional<double> width = DeclaredWidthOf(input))
    table[kWidthKey] = ExactText(*width);
  return table;
}

/// MGF has no table: its record shows that it is finished. tarvek would skip an MGF file in the
/// folder of its outputs.
void TakeMgf(BatchTask& task, bool is_again) {
  task.m_table = task.m_record;
  task.m_is_finished = task.m_has_record && !is_again;
  if (!is_again) task.m_arguments.insert(task.m_arguments.end(), {"-r", "1"});
}

/// Why a finished input may not be what was asked for; empty when it is.
std::string RefusalOf(const BatchTask& task) {
  constexpr const char* kAdvice = "; --again processes it again";
  if (!task.m_is_finished) return {};
  if (!task.m_other_settings.empty())
    return "finished before, with other settings: " + task.m_other_settings + kAdvice;
  if (!task.m_has_record)
    return "finished before, and there is no " + task.m_record + " that says with which settings" +
           kAdvice;
  return {};
}

/// The charges that a run of input with these settings is narrowed to; empty when it is not.
std::string NarrowedCharges(const std::string& input, const UserParameters& settings) {
  CheckOptions options;
  options.m_settings.m_isolation_width = settings.m_isolation_width;
  options.m_settings.m_charge_min = settings.m_charge_min;
  options.m_settings.m_charge_max = settings.m_charge_max;
  options.m_ipv_file = settings.m_ipv_file;
  options.m_ipv_file_is_given = true;
  const CheckReport report = CheckPaths({input}, options);
  for (const Finding& finding : report.Findings())
    if (const auto charges = finding.m_settings.find(kChargeRangeKey);
        finding.m_code == kMassLimitCode && charges != finding.m_settings.end())
      return charges->second;
  return {};
}

/// In what the finished run of a task differs from settings, narrowed in the same way if it was.
std::string OtherSettings(const BatchTask& task, const UserParameters& settings,
                          FinishedRuns& finished) {
  const std::string others = finished.OtherSettings(CurrentOf(settings, task.m_input));
  if (!task.m_narrows_charges || others.find(kChargeRangeKey) == std::string::npos) return others;
  const std::string charges = NarrowedCharges(task.m_input, settings);
  if (charges.empty()) return others;
  UserParameters narrowed = settings;
  ApplyParameterTable(narrowed, {{kChargeRangeKey, charges}, {"datanum", "0"}});
  return finished.OtherSettings(CurrentOf(narrowed, task.m_input));
}

/// A finished run that lacks only its calibration, as after an interruption, goes on with that:
/// tarvek skips the finished table.
void TakeUncalibrated(BatchTask& task, const UserParameters& settings, FinishedRuns& uncalibrated) {
  if (task.m_other_settings.empty() || task.m_calibration.empty()) return;
  if (!OtherSettings(task, settings, uncalibrated).empty()) return;
  task.m_is_finished = false;
  task.m_other_settings.clear();
}

}  // namespace

std::string InstalledIsotopeTable() {
  const std::string path = InstalledTablePath();
  if (!FileExists(path))
    throw "There is no isotope table " + path + "; name one with --isotope-table";
  return path;
}

std::vector<BatchTask> PlanRun(const RunRequest& request) {
  ParameterTable table = request.m_settings;
  table[kTableKey] = AbsolutePath(request.m_isotope_table.empty() ? InstalledIsotopeTable()
                                                                  : request.m_isotope_table);
  if (!request.m_output_directory.empty())
    table[kOutputKey] = AbsolutePath(request.m_output_directory);
  FinishedRuns finished(SettingsOf(table), CalibrationSettings(request));
  FinishedRuns uncalibrated(SettingsOf(table));
  std::vector<BatchTask> tasks;
  for (const std::string& input : request.m_inputs) {
    std::vector<AutoChoice> choices;
    const ParameterTable own = TableFor(input, request, table, choices);
    UserParameters settings = SettingsOf(own);
    settings.m_outputpath = WithoutTrailingSeparators(request.m_output_directory);
    tasks.push_back(TaskFor(input, settings, finished));
    BatchTask& task = tasks.back();
    task.m_choices = std::move(choices);
    // The joint determination passes over such candidates by itself.
    task.m_narrows_charges = !request.m_takes_declared_width;
    if (!task.m_other_settings.empty())
      task.m_other_settings = OtherSettings(task, settings, finished);
    SetArguments(task, own);
    task.m_wanted = finished.SettingsNow(CurrentOf(settings, input));
    if (InputFormatOf(input) == "mgf")
      TakeMgf(task, settings.m_rewrite_files);
    else if (request.m_is_calibrated)
      task.m_calibration = {"calibrate", "--apply", AbsolutePath(task.m_table)};
    TakeUncalibrated(task, settings, uncalibrated);
    if (request.m_has_check) task.m_check = CheckArguments(input, own);
    task.m_refusal = RefusalOf(task);
  }
  RefuseMeetings(tasks);
  return tasks;
}

}  // namespace tarvek::tools
