// IO/PeakLineFormat.h: how many decimals a peak line of text output has.
// Does:     keeps the process-wide format, "%.5f %.1f\n" until another is installed, and writes
//           peaks with it.
// Owns:     the installed format.
// Throws:   nothing but std::bad_alloc; a text that is no such format fails a check.
// Not here: where the digit counts come from.
#pragma once

#include <span>
#include <string>

#include "SpectrumRecords.h"

namespace tarvek {

/// Installs the format of the peak lines written from now on. format: "%.Nf %.Mf\n" with one digit
/// each for the decimals of m/z (N) and intensity (M).
void SetPeakLineFormat(const std::string& format);

const std::string& GetPeakLineFormat();

/// Appends one line per peak, in list order, as printf with the installed format writes m/z and
/// intensity.
void AppendPeakLines(std::string& text, std::span<const Peak> peaks);

}  // namespace tarvek
