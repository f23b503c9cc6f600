// tools/simulate/Acquisition.h: a data-dependent run from its first scan to its last.
// Does:     takes surveys and fragment scans in turn and hands them with their truth to a sink.
// Owns:     everything of the run; memory does not grow with the number of scans.
// Throws:   what the sink throws.
// Not here: formats (simulate/Sink.h).
#pragma once

#include "simulate/Options.h"
#include "simulate/Sink.h"

namespace tarvek::tools {

/// An ion is left out of the truth when it has less of the current in the window; the target never.
inline constexpr double kSmallestTruthShare = 0.01;

/// The gradient that the options give, in seconds: as stated, or long enough for the MS2 scans that
/// are asked for, or an hour.
double GradientSeconds(const SimulateOptions& options);

/// Ends when the MS2 scans are taken, and at the end of a stated gradient, whichever comes first.
/// Calls sink.Complete().
void SimulateRun(const SimulateOptions& options, RunSink& sink);

}  // namespace tarvek::tools
