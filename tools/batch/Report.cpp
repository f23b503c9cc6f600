#include "batch/Report.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "NumberText.h"
#include "ProgressBar.h"
#include "ShownText.h"

namespace tarvek::tools {
namespace {

constexpr std::size_t kBarWidth = 30;
constexpr std::size_t kStateWidth = 17;
constexpr std::size_t kSecondsWidth = 9;
constexpr std::size_t kReadWidth = 9;
constexpr std::size_t kExportedWidth = 10;
constexpr std::size_t kPrecursorsWidth = 12;

constexpr std::array<std::pair<BatchState, std::string_view>, 6> kStateWords = {{
    {BatchState::kDone, "done"},
    {BatchState::kFinishedBefore, "finished before"},
    {BatchState::kFailed, "failed"},
    {BatchState::kStopped, "stopped"},
    {BatchState::kNotStarted, "not started"},
    {BatchState::kRunning, "running"},
}};

std::string_view WordOf(BatchState state) {
  return std::ranges::find(kStateWords, state, &std::pair<BatchState, std::string_view>::first)
      ->second;
}

std::size_t CountOf(std::span<const BatchResult> results, BatchState state) {
  return static_cast<std::size_t>(std::ranges::count(results, state, &BatchResult::m_state));
}

bool HasEnded(BatchState state) {
  return state != BatchState::kNotStarted && state != BatchState::kRunning;
}

std::size_t CountEnded(std::span<const BatchResult> results) {
  return static_cast<std::size_t>(std::ranges::count_if(results, HasEnded, &BatchResult::m_state));
}

std::string Seconds(std::int64_t milliseconds) {
  return Fixed(static_cast<double>(milliseconds) / 1000.0, 1);
}

std::string Padded(std::string text, std::size_t width, bool to_the_right) {
  const std::size_t missing = width - std::min(width, text.size());
  return to_the_right ? text.insert(0, missing, ' ') : text.append(missing, ' ');
}

/// The text after the path of an input: why it failed, that it had other settings, or empty.
std::string Remark(const BatchTask& task, const BatchResult& result) {
  if (result.m_state == BatchState::kFinishedBefore && !task.m_other_settings.empty())
    return ": with other settings: " + Shown(task.m_other_settings);
  if (result.m_state != BatchState::kFailed) return {};
  return ": " + Shown(result.m_reason) +
         (result.m_has_started ? " (log: " + Shown(task.m_log_directory) + ")" : "");
}

/// The codes of the warnings of a check, each once: "; check: isolation-width, dotted-name".
std::string WarningCodes(const BatchResult& result) {
  std::set<std::string> codes;
  std::string text;
  for (const CheckWarning& warning : result.m_warnings)
    if (codes.insert(warning.m_code).second)
      text += (text.empty() ? "; check: " : ", ") + warning.m_code;
  return text;
}

/// Warnings of one code in all inputs.
struct SharedWarning {
  std::string m_first_input;
  std::string m_meaning;  // there
  std::size_t m_inputs = 0;
  const BatchTask* m_last = nullptr;
};

std::string WarningLines(std::span<const BatchTask> tasks, std::span<const BatchResult> results) {
  std::map<std::string, SharedWarning> shared;
  for (std::size_t i = 0; i < tasks.size(); ++i) {
    for (const CheckWarning& warning : results[i].m_warnings) {
      SharedWarning& one = shared[warning.m_code];
      if (one.m_inputs == 0) one = {tasks[i].m_input, warning.m_meaning, 0, nullptr};
      if (one.m_last != &tasks[i]) ++one.m_inputs;
      one.m_last = &tasks[i];
    }
  }
  std::string text;
  for (const auto& [code, one] : shared)
    text += "warning: " + code + ": " + Shown(one.m_first_input) +
            (one.m_inputs > 1 ? " and " + std::to_string(one.m_inputs - 1) + " more" : "") + ": " +
            Shown(one.m_meaning) + "\n";
  return text;
}

/// Each choice once for all its inputs, with the reason of the first. Those of a single input were
/// just shown.
std::string SharedChoiceLines(std::span<const BatchTask> tasks) {
  if (tasks.size() < 2) return {};
  struct Shared {
    std::string m_first;
    std::size_t m_inputs = 0;
  };
  std::map<std::string, Shared> shared;
  for (const BatchTask& task : tasks)
    for (const AutoChoice& choice : task.m_choices) {
      Shared& one = shared[OptionOf(choice.m_key) + " " + choice.m_value];
      if (one.m_inputs++ == 0) one.m_first = Shown(task.m_input) + ": since " + choice.m_reason;
    }
  std::string text;
  for (const auto& [setting, one] : shared)
    text += "auto: " + setting + ": " +
            (one.m_inputs > 1 ? std::to_string(one.m_inputs) + " inputs, the first " : "") +
            one.m_first + "\n";
  return text;
}

/// "3 done, 1 failed, in 0.3 s".
std::string LastLine(std::span<const BatchResult> results, std::int64_t elapsed_ms) {
  std::string sums;
  for (const auto& [state, word] : kStateWords)
    if (const std::size_t count = CountOf(results, state); count > 0)
      sums += (sums.empty() ? "" : ", ") + std::to_string(count) + " " + std::string(word);
  return sums + ", in " + Seconds(elapsed_ms) + " s\n";
}

std::string CountText(std::optional<std::int64_t> count) {
  return count ? std::to_string(*count) : "";
}

std::string Row(std::string_view state, const RunRecord& record, const std::string& seconds) {
  return Padded(std::string(state), kStateWidth, false) +
         Padded(CountText(record.Count(kCountMs2Read)), kReadWidth, true) +
         Padded(CountText(record.Count(kCountMs2Exported)), kExportedWidth, true) +
         Padded(CountText(record.Count(kCountPrecursors)), kPrecursorsWidth, true) +
         Padded(seconds, kSecondsWidth, true);
}

RunRecord TotalOf(std::span<const BatchResult> results) {
  RunRecord total;
  for (const BatchResult& result : results)
    for (const auto& [key, count] : result.m_record.m_counts) total.m_counts[key] += count;
  return total;
}

/// Bytes of the inputs that this batch has done, and of those still to do. Inputs finished before
/// cost no work, and a file that failed at once says nothing about the speed.
std::pair<double, double> Work(const BatchMoment& moment) {
  double done = 0.0;
  double left = 0.0;
  for (std::size_t i = 0; i < moment.m_tasks.size(); ++i) {
    const BatchState state = moment.m_results[i].m_state;
    if (moment.m_tasks[i].m_is_finished || (HasEnded(state) && state != BatchState::kDone))
      continue;
    const auto bytes = static_cast<double>(moment.m_tasks[i].m_size_bytes + 1);
    (state == BatchState::kDone ? done : left) += bytes;
  }
  return {done, left};
}

}  // namespace

std::string ChoiceLines(std::span<const BatchTask> tasks) {
  std::string text;
  for (const BatchTask& task : tasks)
    for (const AutoChoice& choice : task.m_choices)
      text += "auto: " + Shown(task.m_input) + ": " + ChoiceText(choice) + "\n";
  return text;
}

std::string BatchLine(const BatchMoment& moment) {
  const auto task = static_cast<std::size_t>(moment.m_ended - moment.m_tasks.data());
  const BatchResult& result = moment.m_results[task];
  std::string line = "[" + std::to_string(CountEnded(moment.m_results)) + "/" +
                     std::to_string(moment.m_tasks.size()) + "] " +
                     std::string(WordOf(result.m_state));
  if (result.m_has_started) line += ", " + Seconds(result.m_milliseconds) + " s";
  return line + ": " + Shown(moment.m_ended->m_input) + Remark(*moment.m_ended, result) +
         WarningCodes(result);
}

std::string BatchProgressLine(const BatchMoment& moment, std::int64_t elapsed_ms) {
  const std::size_t ended = CountEnded(moment.m_results);
  const std::size_t filled = ended * kBarWidth / std::max<std::size_t>(1, moment.m_tasks.size());
  std::string line = "[";
  line.append(filled, '#').append(kBarWidth - filled, '.').append("] ");
  line += std::to_string(ended) + "/" + std::to_string(moment.m_tasks.size()) + " files, " +
          std::to_string(CountOf(moment.m_results, BatchState::kRunning)) + " running";
  const std::size_t failed = CountOf(moment.m_results, BatchState::kFailed);
  if (failed > 0) line += ", " + std::to_string(failed) + " failed";
  const auto [done, left] = Work(moment);
  if (done > 0.0) {
    const double left_ms = static_cast<double>(elapsed_ms) * left / done;
    line += ", " + MinutesAndSeconds(static_cast<std::int64_t>(left_ms / 1000.0)) + " left";
  }
  return line;
}

std::string BatchSummary(std::span<const BatchTask> tasks, std::span<const BatchResult> results,
                         std::int64_t elapsed_ms) {
  std::string text = SharedChoiceLines(tasks) + WarningLines(tasks, results);
  text += Padded("state", kStateWidth, false) + Padded("MS2 scans", kReadWidth, true) +
          Padded("exported", kExportedWidth, true) + Padded("precursors", kPrecursorsWidth, true) +
          Padded("seconds", kSecondsWidth, true) + "  input\n";
  for (std::size_t i = 0; i < tasks.size(); ++i) {
    const BatchResult& result = results[i];
    text += Row(WordOf(result.m_state), result.m_record,
                result.m_has_started ? Seconds(result.m_milliseconds) : "") +
            "  " + Shown(tasks[i].m_input) + Remark(tasks[i], result) + '\n';
  }
  if (tasks.size() > 1) text += Row("all", TotalOf(results), Seconds(elapsed_ms)) + "\n";
  return text + LastLine(results, elapsed_ms);
}

std::string QuietSummary(std::span<const BatchTask> tasks, std::span<const BatchResult> results,
                         std::int64_t elapsed_ms) {
  return WarningLines(tasks, results) + LastLine(results, elapsed_ms);
}

}  // namespace tarvek::tools
