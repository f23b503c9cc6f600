// tools/report/LeftOut.h: the scans of a run that are in no output, and why.
// Does:     finds them by the input, else by the record of the run, else by the scan numbers that are
//           missing.
// Throws:   nothing but std::bad_alloc.
// Not here: how the others were exported (report/Data.h).
#pragma once

#include <cstdint>
#include <span>

#include "report/Content.h"
#include "report/Data.h"

namespace tarvek::tools {

/// Counts them into report. times: of surveys and MS2 scans, ascending by scan number. has_surveys:
/// whether those are among them; without them, the input and the record nothing can be known.
void CountLeftOut(const RunContent& content, std::span<const ScanTime> times, bool has_surveys,
                  RunReport& report);

}  // namespace tarvek::tools
