// IO/PeakDigits.h: the decimals of numbers in written spectra.
// Does:     holds the decimals of peaks, and writes peak lines with them.
// Throws:   nothing but std::bad_alloc.
// Not here: where the counts come from.
#pragma once

#include <span>
#include <string>

#include "SpectrumRecords.h"

namespace tarvek {

/// Numbers of decimals, 0 to 9 each.
struct PeakDigits {
  int m_mz = 5;
  int m_intensity = 1;
};

/// Decimals of times (seconds, milliseconds) in text spectra and in the scan table.
inline constexpr int kTimeDecimals = 4;

/// Appends one line per peak, in list order, as printf("%.*f %.*f\n") writes m/z and intensity.
void AppendPeakLines(std::string& text, std::span<const Peak> peaks, PeakDigits digits);

/// The same, and sets every number to the one that its text reads back as.
void AppendAndRoundPeakLines(std::string& text, std::span<Peak> peaks, PeakDigits digits);

}  // namespace tarvek
