// tools/batch/Runner.h: runs the tasks of a batch, several at a time.
// Does:     starts the tasks in order, up to the given number at a time, each with a check before
//           and a calibration after it; collects their results and records; on a stop request ends
//           the running ones and waits for them.
// Owns:     the running processes; none outlives a call of Run.
// Throws:   nothing but std::bad_alloc; a task that cannot be started has failed.
// Not here: what to run (batch/Plan.h); what people see (batch/Report.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "RunRecord.h"
#include "batch/Check.h"
#include "batch/Plan.h"

namespace tarvek::tools {

enum class BatchState { kNotStarted, kRunning, kDone, kFinishedBefore, kFailed, kStopped };

struct BatchResult {
  BatchState m_state = BatchState::kNotStarted;
  std::int64_t m_milliseconds = 0;
  std::string m_reason;        // of a failure
  bool m_has_started = false;  // so that there is a log
  std::vector<CheckWarning> m_warnings;
  std::string m_narrowed_charges;  // in place of those of the task; empty for most
  RunRecord m_record;              // of a done or finished input; empty when it has none
};

struct BatchSettings {
  std::string m_program;  // path of tarvek
  std::size_t m_jobs = 1;
  bool m_keep_going = false;
  std::string m_check_program;  // path of tarvek-tools, for checks and calibrations
};

/// The state of a batch: what is known of each task, and the task that has just ended, if any.
struct BatchMoment {
  std::span<const BatchTask> m_tasks;
  std::span<const BatchResult> m_results;
  const BatchTask* m_ended = nullptr;
};
using BatchObserver = std::function<void(const BatchMoment&)>;

/// The results in the order of the tasks. After a failure no further task is started, unless
/// settings say to keep going; running tasks finish. An input with a defect in its check has
/// failed, and so has a run that read MS2 scans and exported none. observer is called for each task
/// that ends, for each finished before, and several times a second in between.
std::vector<BatchResult> RunBatch(std::span<const BatchTask> tasks, const BatchSettings& settings,
                                  const BatchObserver& observer);

/// The files for standard output and standard error of a task's process, its check and its
/// calibration.
std::string ConsoleFileOf(const BatchTask& task);
std::string CheckFileOf(const BatchTask& task);
std::string CalibrationFileOf(const BatchTask& task);

/// The file that lists the settings chosen for a task, with reasons.
std::string ChoicesFileOf(const BatchTask& task);

/// Why a process failed, from what it printed: the first line of its last error, else its status with its
/// last line where that is short and printed text.
std::string FailureReason(const std::string& console_file, int status);

}  // namespace tarvek::tools
