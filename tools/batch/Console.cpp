#include "batch/Console.h"

#include <algorithm>
#include <iostream>
#include <string_view>
#include <thread>

#include "FileUtils.h"
#include "Logger.h"
#include "Platform.h"
#include "RunRecord.h"
#include "ScanOverrides.h"
#include "Threads.h"
#include "batch/Presets.h"
#include "batch/Report.h"

namespace tarvek::tools {
namespace {

/// The program of this name that is installed with this one.
std::string OwnProgram(std::string_view name) {
  return JoinPath({ExecutableDirectory(), std::string(name) + std::string(kProgramEnding)});
}

bool IsDone(const BatchResult& result) {
  return result.m_state == BatchState::kDone || result.m_state == BatchState::kFinishedBefore;
}

/// What is wrong with the value of --analyser; empty when it is valid. A valid one is rewritten as
/// the extractors record it, so that equal values are equal texts.
std::string AnalyserMistake(std::string& value) {
  extractor::ScanOverrides overrides;
  try {
    extractor::AddAnalyserOverride(value, overrides);
  } catch (const std::string&) {
    return "'" + value + "' is not FTMS or ITMS, nor like ms2=ITMS or ms1=FTMS,ms2=ITMS";
  }
  value = extractor::AnalyserOverrideText(overrides);
  return {};
}

class BatchDisplay {
 public:
  explicit BatchDisplay(const BatchStyle& style) : m_style(style) {}

  void ShowChoices(std::span<const BatchTask> tasks) {
    if (!m_style.m_is_quiet) std::cout << ChoiceLines(tasks) << std::flush;
  }

  void Show(const BatchMoment& moment) {
    if (moment.m_ended != nullptr) ShowEnd(moment);
    if (StopRequested() && !m_said_stop) {
      m_said_stop = true;
      SayError("Stopping: the running processes are ended");
    }
    if (m_is_terminal)
      GlobalLogger().ShowStatus(BatchProgressLine(moment, MonotonicMilliseconds() - m_start_ms));
  }

  void ShowSummary(std::span<const BatchTask> tasks, std::span<const BatchResult> results) {
    if (m_is_terminal) GlobalLogger().ShowStatus({});
    const std::int64_t elapsed_ms = MonotonicMilliseconds() - m_start_ms;
    std::cout << (m_style.m_is_quiet ? QuietSummary(tasks, results, elapsed_ms)
                                     : BatchSummary(tasks, results, elapsed_ms))
              << std::flush;
    if (StopRequested() && !std::ranges::all_of(results, IsDone))
      SayError("Stopped. The same command goes on with the files that are not done");
  }

 private:
  void ShowEnd(const BatchMoment& moment) {
    const BatchResult& result =
        moment.m_results[static_cast<std::size_t>(moment.m_ended - moment.m_tasks.data())];
    const bool has_other_settings =
        result.m_state == BatchState::kFinishedBefore && !moment.m_ended->m_other_settings.empty();
    if (result.m_state == BatchState::kFailed || has_other_settings)
      SayError(BatchLine(moment));
    else if (!m_is_terminal && !m_style.m_is_quiet)
      std::cout << BatchLine(moment) << std::endl;
    if (result.m_state != BatchState::kFailed) return;
    if (!m_style.m_how_to_go_on.empty() && !m_said_failure)
      SayError("No further file is started; " + m_style.m_how_to_go_on);
    m_said_failure = true;
  }

  void SayError(const std::string& text) {
    if (m_is_terminal) GlobalLogger().ShowStatus({});
    std::cerr << text << std::endl;
  }

  const BatchStyle& m_style;
  bool m_is_terminal = StandardErrorIsTerminal() && !m_style.m_is_quiet;
  bool m_said_stop = false;
  bool m_said_failure = false;
  std::int64_t m_start_ms = MonotonicMilliseconds();
};

/// The settings of an installed preset; "help" lists the presets and ends the program.
ParameterTable TakePreset(const std::string& name) {
  if (name == "help") throw CLI::CallForVersion(PresetList(), 0);
  return ReadPreset(name);
}

void SetOrFail(const char* name, const std::string& value) {
  if (!value.empty() && !SetEnvironment(name, value))
    throw "The environment variable " + std::string(name) + " cannot be set";
}

// The threads of this machine, or as many as the environment allows, divided among the processes
// that run at the same time.
void ShareThreads(std::span<const BatchTask> tasks, std::size_t jobs) {
  const auto to_run = static_cast<std::size_t>(std::ranges::count_if(
      tasks, [](const BatchTask& task) { return !task.m_is_finished && task.m_refusal.empty(); }));
  const std::size_t at_once = std::max<std::size_t>(std::min(jobs, to_run), 1);
  SetOrFail(kThreadsVariable, std::to_string(std::max<std::size_t>(ThreadsAllowed() / at_once, 1)));
}

}  // namespace

void AddBatchOptions(CLI::App& command, BatchOptions& options) {
  options.m_jobs = std::max(1U, std::thread::hardware_concurrency());
  command.add_option("--jobs", options.m_jobs, "Processes at the same time; default: one a core")
      ->check(CLI::Range(1, 1024));
  command.add_option("--tarvek", options.m_program,
                     "The program to run; default: the one next to this");
  command
      .add_option("--analyser", options.m_analyser,
                  "Analyser of all scans, whatever the files say: FTMS, ITMS, ms2=ITMS, ...")
      ->transform(CLI::Validator(AnalyserMistake, ""));
  command
      .add_option("--activation", options.m_activation,
                  "Activation of all MS2 scans, whatever the files say")
      ->check(CLI::IsMember({"HCD", "CID", "ETD", "ETHCD", "ETCID"}));
  command.add_flag(
      "--auto", options.m_is_auto,
      "Choose width and charges for each input by what it declares; what is named wins");
  command
      .add_option_function<std::string>(
          "--preset", [&options](const std::string& name) { options.m_preset = TakePreset(name); },
          "Settings for a kind of run; help lists what is installed")
      ->type_name("NAME:{lipid,lumos,n15,qe,topdown,velos,help}");
  command.add_flag("-q,--quiet", options.m_is_quiet,
                   "Show only warnings, failures and the last line");
}

BatchSettings PrepareBatch(const BatchOptions& options) {
  BatchSettings settings;
  settings.m_program = options.m_program.empty() ? OwnProgram("tarvek") : options.m_program;
  settings.m_check_program = OwnProgram("tarvek-tools");
  settings.m_jobs = options.m_jobs;
  if (!FileExists(settings.m_program)) throw "There is no program " + settings.m_program;
  SetOrFail(kAnalyserVariable, options.m_analyser);
  SetOrFail(kActivationVariable, options.m_activation);
  SetOrFail(kJointVariable, options.m_joint);
  return settings;
}

int PerformBatch(std::span<const BatchTask> tasks, const BatchSettings& settings,
                 const BatchStyle& style) {
  NoteStopRequests();
  ShareThreads(tasks, settings.m_jobs);
  BatchDisplay display(style);
  display.ShowChoices(tasks);
  const std::vector<BatchResult> results =
      RunBatch(tasks, settings, [&](const BatchMoment& moment) { display.Show(moment); });
  display.ShowSummary(tasks, results);
  if (std::ranges::all_of(results, IsDone)) return 0;
  return StopRequested() ? kBatchStopped : kBatchFailed;
}

}  // namespace tarvek::tools
