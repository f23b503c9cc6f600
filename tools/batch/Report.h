// tools/batch/Report.h: what people see of a batch.
// Does:     texts: a line for each task that ended, the progress line, the table at the end.
// Throws:   nothing but std::bad_alloc.
// Not here: where they are shown (batch/Command.h).
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "batch/Runner.h"

namespace tarvek::tools {

/// "[3/100] done, 0.4 s: path", without an end of line; number of the ended tasks in front. A
/// failure has its reason and log directory behind it, an input finished with other settings these,
/// and any the codes of what its check warned of.
std::string BatchLine(const BatchMoment& moment);

/// A line for each setting that was chosen: "auto: INPUT: -W 4, since ...".
std::string ChoiceLines(std::span<const BatchTask> tasks);

/// "[#####.....] 34/100 files, 2 running, 1 failed, 0:41 left". The time left goes by the sizes of
/// the inputs and shows once one is done. elapsed_ms: since the start of the batch.
std::string BatchProgressLine(const BatchMoment& moment, std::int64_t elapsed_ms);

/// A line for each setting that was chosen for several inputs and for each kind of warning of the checks,
/// one for each task in their order, and two with the sums, of which a single task has the last.
std::string BatchSummary(std::span<const BatchTask> tasks, std::span<const BatchResult> results,
                         std::int64_t elapsed_ms);

/// Of these the lines of the warnings and the last.
std::string QuietSummary(std::span<const BatchTask> tasks, std::span<const BatchResult> results,
                         std::int64_t elapsed_ms);

}  // namespace tarvek::tools
