// tools/batch/Report.h: the texts that a batch shows.
// Does:     texts: a line for each task that ended, the progress line, the table at the end.
// Throws:   nothing but std::bad_alloc.
// Not here: where they are shown (batch/Command.h).
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "batch/Runner.h"

namespace tarvek::tools {

/// "[3/100] done, 0.4 s: path", without an end of line; 3 tasks have ended. After it come the
/// reason and log directory of a failure, the other settings of a finished input, and the codes of
/// warnings from its check.
std::string BatchLine(const BatchMoment& moment);

/// A line for each setting that was chosen: "auto: INPUT: -W 4, since ...".
std::string ChoiceLines(std::span<const BatchTask> tasks);

/// "[#####.....] 34/100 files, 2 running, 1 failed, 0:41 left". The time left is estimated from the
/// sizes of the inputs and shown once one is done. elapsed_ms: since the start of the batch.
std::string BatchProgressLine(const BatchMoment& moment, std::int64_t elapsed_ms);

/// One line for each setting chosen for several inputs, for each kind of check warning, and for
/// each task in order, then two lines with the sums; a single task gets only the last of these.
std::string BatchSummary(std::span<const BatchTask> tasks, std::span<const BatchResult> results,
                         std::int64_t elapsed_ms);

/// Only the warning lines and the last line of BatchSummary.
std::string QuietSummary(std::span<const BatchTask> tasks, std::span<const BatchResult> results,
                         std::int64_t elapsed_ms);

}  // namespace tarvek::tools
