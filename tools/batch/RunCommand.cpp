#include "batch/RunCommand.h"

#include <array>
#include <functional>
#include <iostream>
#include <memory>
#include <regex>
#include <utility>
#include <vector>

#include "Extractor.h"
#include "InputFormats.h"
#include "NumberText.h"
#include "Platform.h"
#include "ScoringModels.h"
#include "ShownText.h"
#include "UserParameters.h"
#include "batch/Console.h"
#include "batch/Presets.h"
#include "batch/RunInputs.h"
#include "batch/RunPlan.h"

namespace tarvek::tools {
namespace {

std::vector<std::string> ModelNumbers() {
  std::vector<std::string> numbers;
  for (const MarsModel& model : kMarsModels) numbers.push_back(std::to_string(model.m_number));
  numbers.push_back(std::to_string(kOtherNumberOfE));
  return numbers;
}

struct RunArguments {
  BatchOptions m_options;
  RunRequest m_request;
  std::vector<std::string> m_words;
  std::string m_format;
  double m_probability = 0.3;  // of the joint determination
  bool m_is_beside_input = false;
  bool m_stops_at_failure = false;
  bool m_has_no_check = false;
};

/// A flag that sets one of tarvek's parameters.
struct SettingFlag {
  const char* m_name;
  const char* m_key;
  const char* m_value;
  const char* m_help;
};
constexpr std::array<SettingFlag, 6> kSettingFlags = {{
    {"--one-precursor", "co-elute", "0", "Keep one precursor for each scan"},
    {"--no-mgf", "output_mgf", "0", "Write no MGF"},
    {"--no-pf", "output_pf", "0", "Write no PF1 and PF2"},
    {"--binary", "output_msb", "1", "Extract into binary files, which are read faster than text"},
    {"--delete-extracted", "delete_msn", "1", "Delete the extracted text spectra afterwards"},
    {"--again", "rewrite_files", "1", "Process finished inputs again"},
}};

std::string WithoutLastZeros(std::string text) {
  if (text.find('.') == std::string::npos) return text;
  text.erase(text.find_last_not_of('0') + 1);
  if (text.ends_with('.')) text.pop_back();
  return text;
}

/// An option with a value that becomes one of tarvek's parameters unchanged.
CLI::Option* AddSetting(CLI::App& run, ParameterTable& settings, const std::string& name,
                        const std::string& key, const std::string& help) {
  return run
      .add_option_function<std::string>(
          name, [&settings, key](const std::string& text) { settings[key] = text; }, help)
      ->default_str(WithoutLastZeros(ToParameterTable(UserParameters()).at(key)));
}

void AddSettings(CLI::App& run, ParameterTable& settings) {
  AddSetting(run, settings, "--width", "isolation_width", "Width of the isolation window in m/z")
      ->check(CLI::PositiveNumber);
  run.add_option_function<std::string>(
         "--charges",
         [&settings](const std::string& text) { settings["charge_range"] = ChargeRangeOf(text); },
         "Charges that are tried, as 2-6 or 2t6; -3--1 or -3t-1 for negative ions")
      ->default_str("2t6");
  AddSetting(run, settings, "--threshold", "mars_threshold",
             "Score from which a candidate is a precursor: a higher one keeps fewer")
      ->check(CLI::Number);
  AddSetting(run, settings, "--model", "mars_model", "Scoring model; 5 for 15N-labelled samples")
      ->check(CLI::IsMember(ModelNumbers()));
  AddSetting(run, settings, "--mz-digits", "m/z", "Decimals of m/z in written peaks")
      ->check(CLI::Range(0, 9));
  AddSetting(run, settings, "--intensity-digits", "intensity",
             "Decimals of intensities in written peaks")
      ->check(CLI::Range(0, 9));
  for (const SettingFlag& flag : kSettingFlags)
    run.add_flag_callback(
        flag.m_name, [&settings, flag] { settings[flag.m_key] = flag.m_value; }, flag.m_help);
}

void AddPlaces(CLI::App& run, RunArguments& arguments) {
  run.add_option("INPUT", arguments.m_words,
                 std::string("Files, folders, or patterns like 'runs/*.mzML'; ") + kInputNames)
      ->required();
  run.add_option("-o,--out", arguments.m_request.m_output_directory, "Folder of the results");
  run.add_flag("--beside-input", arguments.m_is_beside_input,
               "Put the results of each input into its own folder, in place of -o");
  run.add_option("--format", arguments.m_format, "Take only inputs of this format")
      ->transform(CLI::IsMember(std::vector<std::string>(kInputWords.begin(), kInputWords.end()),
                                CLI::ignore_case));
  run.add_option("--isotope-table", arguments.m_request.m_isotope_table,
                 "Table of expected isotope patterns; default: the installed one")
      ->check(CLI::ExistingFile);
}

void AddJoint(CLI::App& run, RunArguments& arguments) {
  CLI::Option* joint = run.add_flag("--joint", arguments.m_request.m_takes_declared_width,
                                    "Explain each isolation window as a whole, with the width that "
                                    "the file declares, and give each precursor a probability");
  for (const char* other : {"--threshold", "--model", "--one-precursor"})
    joint->excludes(run.get_option(other));
  run.add_option("--probability", arguments.m_probability,
                 "With --joint: probability from which a precursor is reported")
      ->check(CLI::Range(0.0, 1.0))
      ->needs(joint)
      ->capture_default_str();
}

void CheckPlaces(const RunArguments& arguments) {
  const bool has_folder = !arguments.m_request.m_output_directory.empty();
  if (has_folder == arguments.m_is_beside_input)
    throw CLI::ValidationError("-o DIR", has_folder ? "excludes --beside-input"
                                                    : "is required: the folder of the results; "
                                                      "--beside-input puts them next to each input");
}

/// The preset's values for settings that are not named, with its isotope table next to the logs.
void TakePreset(RunArguments& arguments, const std::function<void(const std::string&)>& note) {
  RunRequest& request = arguments.m_request;
  request.m_is_auto = arguments.m_options.m_is_auto;
  ParameterTable preset = arguments.m_options.m_preset;
  if (preset.contains(kIsotopeTableKey)) {
    if (request.m_isotope_table.empty()) {
      UserParameters settings;
      settings.m_outputpath = request.m_output_directory;
      PlaceIsotopeTable(preset, LogFolderFor(request.m_inputs.front(), settings), note);
      request.m_isotope_table = preset.at(kIsotopeTableKey);
    }
    preset.erase(kIsotopeTableKey);
  }
  request.m_settings.insert(preset.begin(), preset.end());
}

// A program that lies in a folder of data is not started, unless the user says so.
void TakeInstalledExtractors() {
  if (EnvironmentVariable(kExtractorsVariable).value_or("").empty() &&
      !SetEnvironment(kExtractorsVariable, kInstalledExtractors))
    throw "The environment variable " + std::string(kExtractorsVariable) + " cannot be set";
}

void RunRunCommand(RunArguments& arguments) {
  CheckPlaces(arguments);
  TakeInstalledExtractors();
  if (arguments.m_request.m_takes_declared_width)
    arguments.m_options.m_joint = ExactText(arguments.m_probability);
  BatchSettings settings = PrepareBatch(arguments.m_options);
  settings.m_program = AbsolutePath(settings.m_program);
  settings.m_keep_going = !arguments.m_stops_at_failure;
  RunInputs inputs = FindRunInputs(arguments.m_words, arguments.m_format);
  arguments.m_request.m_inputs = std::move(inputs.m_files);
  arguments.m_request.m_has_check = !arguments.m_has_no_check;
  const auto note = [&](const std::string& text) {
    if (!arguments.m_options.m_is_quiet) std::cout << "note: " << Shown(text) << std::endl;
  };
  TakePreset(arguments, note);
  const std::vector<BatchTask> tasks = PlanRun(arguments.m_request);
  for (const std::string& text : inputs.m_notes) note(text);
  BatchStyle style{"without --stop-at-failure the others would be", arguments.m_options.m_is_quiet};
  if (settings.m_keep_going) style.m_how_to_go_on.clear();
  const int status = PerformBatch(tasks, settings, style);
  if (status != 0) throw CLI::RuntimeError(status);
}

}  // namespace

std::string ChargeRangeOf(const std::string& text) {
  static const std::regex form("(-?[0-9]{1,4})(?:t|-)(-?[0-9]{1,4})");
  std::smatch parts;
  if (!std::regex_match(text, parts, form))
    throw CLI::ValidationError("--charges", "'" + text + "' is not like 2-6, 2t6 or -3t-1");
  const int low = std::stoi(parts[1]);
  const int high = std::stoi(parts[2]);
  if (low > high || (low <= 0 && high >= 0))
    throw CLI::ValidationError(
        "--charges", "'" + text + "': the lower one comes first, both of one sign and not 0");
  return std::to_string(low) + "t" + std::to_string(high);
}

void AddRunCommand(CLI::App& app) {
  const auto arguments = std::make_shared<RunArguments>();
  CLI::App* run = app.add_subcommand("run", "Process input files: check, determine, sum up");
  AddPlaces(*run, *arguments);
  AddSettings(*run, arguments->m_request.m_settings);
  AddBatchOptions(*run, arguments->m_options);
  run->add_flag("--stop-at-failure", arguments->m_stops_at_failure,
                "Start no further file after a failure");
  run->add_flag("--no-check", arguments->m_has_no_check, "Do not check the inputs before");
  run->add_flag("--calibrate", arguments->m_request.m_is_calibrated,
                "Correct the m/z of each run by its own fragments, where they tell the bias");
  AddJoint(*run, *arguments);
  run->callback([arguments] { RunRunCommand(*arguments); });
}

}  // namespace tarvek::tools
