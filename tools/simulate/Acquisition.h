// tools/simulate/Acquisition.h: a data-dependent run from its first scan to its last.
// Does:     takes surveys and fragment scans in turn and passes them with their truth to a sink.
// Owns:     everything of the run; memory does not grow with the number of scans.
// Throws:   what the sink throws.
// Not here: formats (simulate/Sink.h).
#pragma once

#include "simulate/Options.h"
#include "simulate/Sink.h"

namespace tarvek::tools {

/// An ion with a smaller share of the window's current is left out of the truth; the target never
/// is.
inline constexpr double kSmallestTruthShare = 0.01;

/// The gradient in seconds: as stated in options, else long enough for the MS2 scans asked for,
/// else an hour.
double GradientSeconds(const SimulateOptions& options);

/// Ends after the MS2 scans asked for or at the end of a stated gradient, whichever comes first.
/// Calls sink.Complete().
void SimulateRun(const SimulateOptions& options, RunSink& sink);

}  // namespace tarvek::tools
