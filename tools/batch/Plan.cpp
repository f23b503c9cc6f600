#include "batch/Plan.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

#include "CommandLine.h"
#include "FileUtils.h"
#include "InputFormats.h"
#include "Logger.h"
#include "OutputSet.h"
#include "ParameterFile.h"
#include "Platform.h"
#include "PrecursorTableReader.h"
#include "RunDriver.h"
#include "RunSummary.h"
#include "StringUtils.h"
#include "UserParameters.h"
#include "batch/Presets.h"
#include "outputs/OutputNames.h"

namespace tarvek::tools {
namespace {

/// The arguments of a batch, understood.
struct BatchRequest {
  ParameterTable m_table;              // all settings; the data paths numbered
  std::vector<std::string> m_options;  // passed on to each process, without -D and -L
  bool m_is_parameter_file = false;
};

bool IsOption(const std::string& word) {
  return word.size() == 2 && word[0] == '-' && !IsDigit(word[1]);
}

BatchRequest ReadOptions(std::span<const std::string> words) {
  BatchRequest request;
  std::vector<std::string> paths;
  std::vector<const char*> pairs{"tarvek"};
  bool takes_paths = true;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i] == "-D") {
      takes_paths = true;
    } else if (takes_paths && !IsOption(words[i])) {
      paths.push_back(words[i]);
    } else {
      takes_paths = false;
      pairs.push_back(words[i].c_str());
      if (++i == words.size()) throw "The option " + words.back() + " has no value";
      pairs.push_back(words[i].c_str());
      if (words[i - 1] != "-L")
        request.m_options.insert(request.m_options.end(), {words[i - 1], words[i]});
    }
  }
  request.m_table = ParseCommandLine(static_cast<int>(pairs.size()), pairs.data());
  request.m_table["datanum"] = std::to_string(paths.size());
  for (std::size_t i = 0; i < paths.size(); ++i)
    request.m_table["datapath" + std::to_string(i + 1)] = paths[i];
  return request;
}

/// Sets a key that the request does not name.
void AddSetting(BatchRequest& request, const std::string& key, const std::string& value) {
  if (request.m_table.try_emplace(key, value).second)
    request.m_options.insert(request.m_options.end(), {OptionOf(key), value});
}

BatchRequest ReadParameters(const std::string& path) {
  BatchRequest request;
  request.m_is_parameter_file = true;
  request.m_table = ReadParameterTable(path);
  return request;
}

/// The settings with their data paths; a missing path ends the batch before it starts.
UserParameters SettingsOf(const BatchRequest& request) {
  UserParameters settings;
  ApplyParameterTable(settings, request.m_table, logMessage);
  if (settings.m_datapaths.size() != DataPathCandidates(request.m_table).size())
    throw "Not every data path is there; nothing was started";
  return settings;
}

/// The files of a data path in the order in which tarvek would process them; the format of a file
/// also applies to the directories after it.
std::vector<std::string> FilesOf(const std::string& path, UserParameters& settings) {
  const std::string format = detectDataPathFormat(path, settings.m_input_format);
  if (FindInputFormat(format) == nullptr) throw UnknownFormatText(path, format);
  settings.m_input_format = format;
  std::vector<std::string> files = ListInputFiles(path, format);
  std::ranges::sort(files);
  return files;
}

/// What the data paths hold instead of inputs; goes after "There is no input file".
std::string WhatIsThere(const UserParameters& settings) {
  std::string text;
  for (const std::string& path : settings.m_datapaths)
    text += ". " + NoInputFileText(path, settings.m_input_format);
  return text;
}

/// "key = value" lines. Throws for a value that would read back differently.
std::string ParameterText(ParameterTable table, const BatchTask& task) {
  std::erase_if(table, [](const auto& entry) { return entry.first.starts_with("data"); });
  table["datapath"] = task.m_input;
  table["logfilepath"] = task.m_log_directory;
  std::string text;
  for (const auto& [key, value] : table) {
    const std::string line = key + " = " + value;
    ParameterTable read;
    AddParameterLine(line, read);
    if (read[key] != value) throw "A parameter file cannot hold '" + value + "'; give options";
    text += line + "\n";
  }
  return text;
}

void SetArguments(BatchTask& task, const BatchRequest& request) {
  if (request.m_is_parameter_file) {
    task.m_parameter_file = ParameterText(request.m_table, task);
    task.m_arguments = {ParameterFileOf(task)};
    return;
  }
  task.m_arguments = {"-D", task.m_input};
  task.m_arguments.insert(task.m_arguments.end(), request.m_options.begin(),
                          request.m_options.end());
  task.m_arguments.insert(task.m_arguments.end(), {"-L", task.m_log_directory});
}

/// what(task): the path that no two tasks may share; an empty path is not compared.
template <class What>
void RefuseEqual(const std::vector<BatchTask>& tasks, What what) {
  std::map<std::string, std::string> taken;
  for (const BatchTask& task : tasks) {
    const std::string path = what(task);
    if (path.empty()) continue;
    const std::string canonical = CanonicalPath(path);
    const auto [entry, is_new] =
        taken.try_emplace(kFileNamesIgnoreCase ? ToLower(canonical) : canonical, task.m_input);
    if (!is_new)
      throw entry->second + " and " + task.m_input + " would both write " + path +
          "; nothing was started";
  }
}

/// The folder of the logs of the first data path, a file or a directory.
std::string FirstLogFolder(const UserParameters& settings) {
  if (!settings.m_logfilepath.empty()) return settings.m_logfilepath;
  std::string place = settings.m_outputpath;
  if (place.empty() && !settings.m_datapaths.empty()) {
    const std::string& first = settings.m_datapaths.front();
    place = FileExists(first) ? FolderOf(first) : first;
  }
  return JoinPath(
      {place.empty() ? "." : WithoutTrailingSeparators(place), std::string(kBatchLogFolder)});
}

/// The settings of the preset that the request does not name, with its isotope table.
void AddPreset(BatchRequest& request, const PlanExtras& extras) {
  ParameterTable preset = extras.m_preset;
  if (request.m_table.contains(kIsotopeTableKey)) preset.erase(kIsotopeTableKey);
  if (preset.contains(kIsotopeTableKey))
    PlaceIsotopeTable(preset, FirstLogFolder(SettingsOf(request)), extras.m_note);
  for (const auto& [key, value] : preset) AddSetting(request, key, value);
}

/// The request for one input; settings that nobody named are chosen to fit it.
BatchRequest FittingRequest(const std::string& input, BatchRequest request,
                            std::vector<AutoChoice>& choices) {
  ParameterTable table = request.m_table;
  choices = AddFittingSettings(input, table);
  for (const AutoChoice& choice : choices) AddSetting(request, choice.m_key, choice.m_value);
  return request;
}

BatchTask PlanTask(const std::string& input, const BatchRequest& request,
                   const UserParameters& settings, FinishedRuns& finished) {
  BatchTask task = TaskFor(input, settings, finished);
  SetArguments(task, request);
  return task;
}

BatchTask PlanFittingTask(const std::string& input, const BatchRequest& request,
                          UserParameters settings, FinishedRuns& finished) {
  std::vector<AutoChoice> choices;
  const BatchRequest fitting = FittingRequest(input, request, choices);
  ParameterTable chosen;
  for (const AutoChoice& choice : choices) chosen[choice.m_key] = choice.m_value;
  chosen["datanum"] = "0";
  ApplyParameterTable(settings, chosen);
  BatchTask task = PlanTask(input, fitting, settings, finished);
  task.m_choices = std::move(choices);
  return task;
}

}  // namespace

std::string OptionOf(const std::string& key) {
  const auto found = std::ranges::find(OptionLetters, key, &OptionLetter::m_key);
  return {'-', found->m_letter};
}

std::string ParameterFileOf(const BatchTask& task) {
  return JoinPath({task.m_log_directory, "batch.params"});
}

std::string LogFolderFor(const std::string& input, const UserParameters& settings) {
  if (!settings.m_logfilepath.empty()) return settings.m_logfilepath;
  UserParameters current = settings;
  current.m_outputpath_follows_input = settings.m_outputpath.empty();
  SetCurrentFile(current, input);
  return JoinPath({current.m_outputpath, kBatchLogFolder});
}

BatchTask TaskFor(const std::string& input, const UserParameters& settings,
                  FinishedRuns& finished) {
  UserParameters current = settings;
  current.m_outputpath_follows_input = settings.m_outputpath.empty();
  SetCurrentFile(current, input);
  BatchTask task;
  task.m_input = input;
  task.m_log_directory = JoinPath({LogFolderFor(input, settings), current.m_current_basename});
  // MGF is only rewritten, so there is no table that shows a finished run.
  if (ToLower(current.m_current_ext) != "mgf") task.m_table = FinishedTablePath(current);
  task.m_record = RunRecordPath(current);
  task.m_has_record = IsThere(task.m_record);
  task.m_is_finished =
      !settings.m_rewrite_files && !task.m_table.empty() && IsFinishedTable(task.m_table);
  if (task.m_is_finished) task.m_other_settings = finished.OtherSettings(current);
  task.m_size_bytes = File::Open(input, "r").SizeBytes();
  return task;
}

void RefuseMeetings(const std::vector<BatchTask>& tasks) {
  RefuseEqual(tasks, [](const BatchTask& task) { return task.m_table; });
  RefuseEqual(tasks, [](const BatchTask& task) { return task.m_record; });
  RefuseEqual(tasks, [](const BatchTask& task) { return task.m_log_directory; });
}

std::vector<BatchTask> PlanBatch(std::span<const std::string> words, const PlanExtras& extras) {
  BatchRequest request = words.size() == 1 && IsParameterFile(words.front())
                             ? ReadParameters(words.front())
                             : ReadOptions(words);
  AddPreset(request, extras);
  UserParameters settings = SettingsOf(request);
  FinishedRuns finished(settings);
  std::vector<BatchTask> tasks;
  for (const std::string& path : settings.m_datapaths) {
    for (const std::string& file : FilesOf(path, settings)) {
      tasks.push_back(extras.m_is_auto ? PlanFittingTask(file, request, settings, finished)
                                       : PlanTask(file, request, settings, finished));
    }
  }
  if (tasks.empty()) throw "There is no input file" + WhatIsThere(settings);
  RefuseMeetings(tasks);
  return tasks;
}

}  // namespace tarvek::tools
