// tools/batch/Runner.h: runs the tasks of a batch, several at a time.
// Does:     starts the tasks in their order, as many beside each other as told, each with its check
//           before it and its calibration behind it; takes their ends and what their records say; on a stop request ends those
//           that run and waits for them.
// Owns:     the running processes, none of which outlives a call of Run.
// Throws:   nothing but std::bad_alloc; a task that cannot be started is a failed one.
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
  RunRecord m_record;  // of a done or finished input; empty when it has none
};

struct BatchSettings {
  std::string m_program;  // path of tarvek
  std::size_t m_jobs = 1;
  bool m_keep_going = false;
  std::string m_check_program;  // path of tarvek-tools, for checks and calibrations
};

/// A moment of a batch: what is known of each task, and the task that has just ended, if any.
struct BatchMoment {
  std::span<const BatchTask> m_tasks;
  std::span<const BatchResult> m_results;
  const BatchTask* m_ended = nullptr;
};
using BatchObserver = std::function<void(const BatchMoment&)>;

/// The results in the order of the tasks. After a failure no further task is started, unless it is
/// told to keep going; those that run come to their ends. An input whose check finds a defect, and a
/// run that read MS2 scans and exported none, have failed. observer is called for each task that
/// ends, for each finished before, and several times a second in between.
std::vector<BatchResult> RunBatch(std::span<const BatchTask> tasks, const BatchSettings& settings,
                                  const BatchObserver& observer);

/// Where both outputs of a task's process are kept, and those of its check and its calibration.
std::string ConsoleFileOf(const BatchTask& task);
std::string CheckFileOf(const BatchTask& task);
std::string CalibrationFileOf(const BatchTask& task);

/// Where the settings that were chosen for a task are told, with their reasons.
std::string ChoicesFileOf(const BatchTask& task);

/// Why a process failed, from what it printed: the first line of its last error, else its status with its
/// last line where that is short and printed text.
std::string FailureReason(const std::string& console_file, int status);

}  // namespace tarvek::tools
