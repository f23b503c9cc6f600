#include "batch/Runner.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>

#include "FileUtils.h"
#include "LineReader.h"
#include "Logger.h"
#include "Platform.h"
#include "RunSummary.h"
#include "ShownText.h"
#include "StringUtils.h"
#include "UnfinishedFile.h"
#include "check/Account.h"
#include "outputs/RunOutcome.h"

namespace tarvek::tools {
namespace {

constexpr int kLookMs = 200;
constexpr std::int64_t kPatienceMs = 3000;  // with a process that was asked to end

/// The processes of a task, in order.
enum class Step { kCheck, kTarvek, kCalibration };

/// A running task; its process has the same index in a list of processes.
struct RunningTask {
  std::size_t m_task = 0;
  std::int64_t m_start_ms = 0;
  Step m_step = Step::kTarvek;
};

const std::vector<std::string>& ArgumentsOf(const BatchTask& task, Step step) {
  if (step == Step::kCheck) return task.m_check;
  return step == Step::kTarvek ? task.m_arguments : task.m_calibration;
}

/// Options of tarvek with other charges.
std::vector<std::string> WithCharges(std::vector<std::string> arguments,
                                     const std::string& charges) {
  const std::string option = OptionOf(kChargeRangeKey);
  const auto given = std::ranges::find(arguments, option);
  if (given == arguments.end())
    arguments.insert(arguments.end(), {option, charges});
  else
    *std::next(given) = charges;
  return arguments;
}

std::string OutputOf(const BatchTask& task, Step step) {
  if (step == Step::kCheck) return CheckFileOf(task);
  return step == Step::kTarvek ? ConsoleFileOf(task) : CalibrationFileOf(task);
}

// Whether a line that is no error of tarvek says something to people.
bool IsQuotable(std::string_view line) {
  constexpr std::size_t kMostBytes = 300;
  return line.size() <= kMostBytes && Shown(line) == line;
}

class BatchRunner {
 public:
  BatchRunner(std::span<const BatchTask> tasks, const BatchSettings& settings,
              const BatchObserver& observer)
      : m_tasks(tasks), m_settings(settings), m_observer(observer), m_results(tasks.size()) {}

  std::vector<BatchResult> Run() {
    while (StartTasks() || !m_processes.empty()) {
      BackgroundProcess::WaitForAny(m_processes, kLookMs);
      TakeEnds();
      m_observer({m_tasks, m_results, nullptr});
      if (StopRequested()) EndAll();
    }
    return std::move(m_results);
  }

 private:
  /// Starts the tasks that may start; false when none is left to start or to watch.
  bool StartTasks() {
    while (m_next < m_tasks.size() && m_processes.size() < m_settings.m_jobs && MayStart()) {
      const std::size_t task = m_next++;
      if (!m_tasks[task].m_refusal.empty())
        Fail(task, m_tasks[task].m_refusal);
      else if (m_tasks[task].m_is_finished)
        TakeResults(task, BatchState::kFinishedBefore);
      else
        StartOrFail(task);
    }
    return !m_processes.empty();
  }

  [[nodiscard]] bool MayStart() const noexcept {
    return !StopRequested() && (m_settings.m_keep_going || !m_has_failed);
  }

  void StartOrFail(std::size_t number) {
    try {
      StartTask(number);
    } catch (const std::string& message) {  // of the file helpers
      Fail(number, message);
    }
  }

  void StartTask(std::size_t number) {
    const BatchTask& task = m_tasks[number];
    // MakeDirectory takes blanks from the end, which the name of an input may have.
    if (!MakeDirectoryTree(task.m_log_directory))
      throw "Can not make the directory: " + task.m_log_directory;
    if (!task.m_parameter_file.empty())
      WriteWhole(ParameterFileOf(task), task.m_parameter_file, "parameter");
    if (!task.m_choices.empty()) {
      std::string text;
      for (const AutoChoice& choice : task.m_choices) text += ChoiceText(choice) + "\n";
      WriteWhole(ChoicesFileOf(task), text, "chosen settings");
    }
    const RunningTask running{number, MonotonicMilliseconds(),
                              task.m_check.empty() ? Step::kTarvek : Step::kCheck};
    StartProcess(running);
    m_results[number].m_state = BatchState::kRunning;
    m_results[number].m_has_started = true;
  }

  void StartProcess(const RunningTask& running) {
    const BatchTask& task = m_tasks[running.m_task];
    const bool is_tarvek = running.m_step == Step::kTarvek;
    std::vector<std::string> words{is_tarvek ? m_settings.m_program : m_settings.m_check_program};
    std::vector<std::string> arguments = ArgumentsOf(task, running.m_step);
    const std::string& charges = m_results[running.m_task].m_narrowed_charges;
    if (is_tarvek && !charges.empty()) arguments = WithCharges(std::move(arguments), charges);
    words.insert(words.end(), arguments.begin(), arguments.end());
    BackgroundProcess process =
        BackgroundProcess::Start(words, OutputOf(task, running.m_step), task.m_working_directory);
    if (!process.IsRunning()) throw "cannot start " + words.front();
    m_processes.push_back(std::move(process));
    m_running.push_back(running);
  }

  void TakeEnds() {
    std::vector<BackgroundProcess> processes;
    std::vector<RunningTask> running;
    std::vector<std::pair<RunningTask, int>> ended;
    for (std::size_t i = 0; i < m_processes.size(); ++i) {
      const std::optional<int> status = m_processes[i].Poll();
      if (status) {
        ended.emplace_back(m_running[i], *status);
      } else {
        processes.push_back(std::move(m_processes[i]));
        running.push_back(m_running[i]);
      }
    }
    m_processes.swap(processes);
    m_running.swap(running);
    for (const auto& [task, status] : ended) TakeEnd(task, status);
  }

  void TakeEnd(const RunningTask& running, int status) {
    const BatchTask& task = m_tasks[running.m_task];
    m_results[running.m_task].m_milliseconds = MonotonicMilliseconds() - running.m_start_ms;
    if (running.m_step == Step::kCheck)
      TakeCheck(running, status);
    else if (status == 0 && (task.m_table.empty() || FileExists(task.m_table)))
      TakeSuccess(running);
    else if (m_is_ending)
      Note(running.m_task, BatchState::kStopped);
    else
      Fail(running.m_task, status == 0 ? "ended without " + task.m_table
                                       : FailureReason(OutputOf(task, running.m_step), status));
  }

  /// The end of tarvek, which a calibration may follow, or of that calibration.
  void TakeSuccess(const RunningTask& running) {
    const bool has_more =
        running.m_step == Step::kTarvek && !m_tasks[running.m_task].m_calibration.empty();
    if (!has_more)
      TakeResults(running.m_task, BatchState::kDone);
    else if (m_is_ending)
      Note(running.m_task, BatchState::kStopped);
    else
      GoOn(running, Step::kCalibration);
  }

  void GoOn(RunningTask running, Step step) {
    running.m_step = step;
    try {
      StartProcess(running);
    } catch (const std::string& message) {
      Fail(running.m_task, message);
    }
  }

  void TakeCheck(const RunningTask& running, int status) {
    if (m_is_ending) return Note(running.m_task, BatchState::kStopped);
    CheckVerdict verdict = ReadCheckVerdict(CheckFileOf(m_tasks[running.m_task]), status);
    m_results[running.m_task].m_warnings = std::move(verdict.m_warnings);
    if (!verdict.m_defect.empty()) return Fail(running.m_task, verdict.m_defect);
    if (m_tasks[running.m_task].m_narrows_charges) NarrowCharges(m_results[running.m_task]);
    GoOn(running, Step::kTarvek);
  }

  /// As the check advises, where a candidate would stop tarvek. Its warning then says what is done.
  static void NarrowCharges(BatchResult& result) {
    for (CheckWarning& warning : result.m_warnings) {
      const auto charges = warning.m_settings.find(kChargeRangeKey);
      if (warning.m_code != kMassLimitCode || charges == warning.m_settings.end()) continue;
      result.m_narrowed_charges = charges->second;
      warning.m_code = "charges-narrowed";
      warning.m_meaning = "Only the charges " + charges->second +
                          " are tried: masses of higher ones have no rows in the isotope table.";
    }
  }

  /// The end of a task whose outputs are there.
  void TakeResults(std::size_t number, BatchState state) {
    BatchResult& result = m_results[number];
    std::string failure;
    try {
      result.m_record = RecordAt(m_tasks[number].m_record);
      failure = WhyNothingIsExported(result.m_record);
      if (failure.empty() && state == BatchState::kDone) failure = OtherThanWanted(number);
    } catch (const std::string& message) {
      failure = message;
    }
    WarnOfDeclared(result);
    if (failure.empty()) return Note(number, state);
    Fail(number, (state == BatchState::kFinishedBefore ? "finished before, but " : "") + failure);
  }

  static void WarnOfDeclared(BatchResult& result) {
    const std::int64_t scans = result.m_record.Count(kCountMs2Declared).value_or(0);
    if (scans == 0) return;
    result.m_warnings.push_back(
        {"dense-surveys",
         std::to_string(scans) +
             " of its MS2 scans keep the declared precursors: the surveys have "
             "far more peaks around them than those of a real run of this size.",
         {}});
  }

  /// tarvek reuses spectra that an earlier run has extracted.
  [[nodiscard]] std::string OtherThanWanted(std::size_t number) const {
    RunRecord wanted = m_tasks[number].m_wanted;
    if (wanted.m_settings.empty()) return {};
    const std::string& charges = m_results[number].m_narrowed_charges;
    if (!charges.empty()) wanted.m_settings[kChargeRangeKey] = charges;
    const std::string difference = SettingsDifference(m_results[number].m_record, wanted);
    return difference.empty()
               ? difference
               : "its spectra were extracted before, with other settings: " + difference +
                     "; --again extracts them again";
  }

  void Fail(std::size_t task, const std::string& reason) {
    m_has_failed = true;
    m_results[task].m_reason = reason;
    Note(task, BatchState::kFailed);
  }

  void Note(std::size_t task, BatchState state) {
    m_results[task].m_state = state;
    m_observer({m_tasks, m_results, &m_tasks[task]});
  }

  /// Asks the running processes to end, later kills them, and waits for them.
  void EndAll() {
    m_is_ending = true;
    for (BackgroundProcess& process : m_processes) process.End(BackgroundProcess::Ending::kAsked);
    const std::int64_t deadline_ms = MonotonicMilliseconds() + kPatienceMs;
    while (!m_processes.empty()) {
      if (MonotonicMilliseconds() >= deadline_ms)
        for (BackgroundProcess& process : m_processes)
          process.End(BackgroundProcess::Ending::kForced);
      BackgroundProcess::WaitForAny(m_processes, kLookMs);
      TakeEnds();
    }
  }

  std::span<const BatchTask> m_tasks;
  const BatchSettings& m_settings;
  const BatchObserver& m_observer;
  std::vector<BatchResult> m_results;
  std::vector<BackgroundProcess> m_processes;
  std::vector<RunningTask> m_running;
  std::size_t m_next = 0;
  bool m_has_failed = false;
  bool m_is_ending = false;
};

}  // namespace

std::vector<BatchResult> RunBatch(std::span<const BatchTask> tasks, const BatchSettings& settings,
                                  const BatchObserver& observer) {
  return BatchRunner(tasks, settings, observer).Run();
}

std::string ConsoleFileOf(const BatchTask& task) {
  return JoinPath({task.m_log_directory, "console.txt"});
}

std::string ChoicesFileOf(const BatchTask& task) {
  return JoinPath({task.m_log_directory, "auto.txt"});
}

std::string CheckFileOf(const BatchTask& task) {
  return JoinPath({task.m_log_directory, "check.json"});
}

std::string CalibrationFileOf(const BatchTask& task) {
  return JoinPath({task.m_log_directory, "calibration.txt"});
}

std::string FailureReason(const std::string& console_file, int status) {
  std::string last_error;
  std::string last_line;
  const std::string prefix = LinePrefix(kError);
  File file = File::Open(console_file, "r");
  if (file.IsOpen()) {
    LineReader lines(file);
    std::string_view piece;
    for (bool is_start = true; lines.ReadPiece(piece); is_start = piece.ends_with('\n')) {
      const std::string_view text = Trim(piece);
      const bool is_error = is_start && text.starts_with(prefix);
      if (is_error) last_error = Shown(text.substr(prefix.size()));
      if (!text.empty()) last_line = is_start && IsQuotable(text) ? text : "";
    }
  }
  if (!last_error.empty()) return last_error;
  const std::string ending = "ended with status " + std::to_string(status);
  return last_line.empty() ? ending : ending + ": " + last_line;
}

}  // namespace tarvek::tools
