#include "BatchCommand.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "BatchPlan.h"
#include "BatchReport.h"
#include "BatchRunner.h"
#include "FileUtils.h"
#include "Logger.h"
#include "Platform.h"

namespace tarvek::tools {
namespace {

struct BatchOptions {
  std::size_t m_jobs = std::max(1U, std::thread::hardware_concurrency());
  bool m_keep_going = false;
  std::string m_program;
  std::vector<std::string> m_words;
};

/// The tarvek that is installed with this program.
std::string OwnTarvek() {
  return JoinPath({ExecutableDirectory(), "tarvek" + std::string(kProgramEnding)});
}

bool IsDone(const BatchResult& result) {
  return result.m_state == BatchState::kDone || result.m_state == BatchState::kFinishedBefore;
}

/// Shows a batch as it goes: on a terminal a line that is replaced, elsewhere a line for each file;
/// failures are lines of standard error in any case.
class BatchDisplay {
 public:
  explicit BatchDisplay(bool keep_going) : m_keep_going(keep_going) {}

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
    std::cout << BatchSummary(tasks, results, MonotonicMilliseconds() - m_start_ms) << std::flush;
    if (StopRequested() && !std::ranges::all_of(results, IsDone))
      SayError("Stopped. The same command goes on with the files that are not done");
  }

 private:
  void ShowEnd(const BatchMoment& moment) {
    const BatchResult& result =
        moment.m_results[static_cast<std::size_t>(moment.m_ended - moment.m_tasks.data())];
    if (result.m_state == BatchState::kFailed) {
      SayError(BatchLine(moment));
      if (!m_keep_going && !m_said_failure)
        SayError("No further file is started; with --keep-going the others would be");
      m_said_failure = true;
    } else if (!m_is_terminal) {
      std::cout << BatchLine(moment) << std::endl;
    }
  }

  void SayError(const std::string& text) {
    if (m_is_terminal) GlobalLogger().ShowStatus({});
    std::cerr << text << std::endl;
  }

  bool m_keep_going;
  bool m_is_terminal = StandardErrorIsTerminal();
  bool m_said_stop = false;
  bool m_said_failure = false;
  std::int64_t m_start_ms = MonotonicMilliseconds();
};

void RunBatchCommand(const BatchOptions& options) {
  const BatchSettings settings{options.m_program.empty() ? OwnTarvek() : options.m_program,
                               options.m_jobs, options.m_keep_going};
  if (!FileExists(settings.m_program)) throw "There is no program " + settings.m_program;
  const std::vector<BatchTask> tasks = PlanBatch(options.m_words);
  NoteStopRequests();
  BatchDisplay display(options.m_keep_going);
  const std::vector<BatchResult> results =
      RunBatch(tasks, settings, [&](const BatchMoment& moment) { display.Show(moment); });
  display.ShowSummary(tasks, results);
  if (std::ranges::all_of(results, IsDone)) return;
  throw CLI::RuntimeError(StopRequested() ? kBatchStopped : kBatchFailed);
}

}  // namespace

void AddBatchCommand(CLI::App& app) {
  const auto options = std::make_shared<BatchOptions>();
  CLI::App* batch = app.add_subcommand("batch", "Run one tarvek for each input file");
  batch->add_option("--jobs", options->m_jobs, "Processes beside each other; default: one a core")
      ->check(CLI::Range(1, 1024));
  batch->add_flag("--keep-going", options->m_keep_going, "Start further files after a failure");
  batch->add_option("--tarvek", options->m_program,
                    "The program to run; default: the one beside this");
  batch
      ->add_option(
          "ARGS", options->m_words,
          "Behind --: a parameter file, or options of tarvek; -D takes any number of paths")
      ->required();
  batch->callback([options] { RunBatchCommand(*options); });
}

}  // namespace tarvek::tools
