// tools/report/LeftOut.h: the scans of a run that are not in the outputs, and why.
// Does:     finds them by the input, else by the record of the run, else by missing scan numbers.
// Throws:   nothing but std::bad_alloc.
// Not here: how the others were exported (report/Data.h).
#pragma once

#include <cstdint>
#include <span>

#include "report/Content.h"
#include "report/Data.h"

namespace tarvek::tools {

/// Counts them into report. times: of surveys and MS2 scans, ascending by scan number. has_surveys:
/// whether these include surveys; without surveys, input and record nothing is known.
void CountLeftOut(const RunContent& content, std::span<const ScanTime> times, bool has_surveys,
                  RunReport& report);

}  // namespace tarvek::tools
