// IO/MsTextWriter.h: .ms1 and .ms2 text.
// Does:     gives the header block and the lines of a scan as text.
// Throws:   nothing but std::bad_alloc.
// Not here: files; reading (MsTextReader.h). Line kinds and keys: docs/formats/ms1-ms2.md.
#pragma once

#include <optional>
#include <string>

#include "PeakDigits.h"
#include "Platform.h"
#include "SpectrumRecords.h"

namespace tarvek {

/// The five "H" lines, each with its line feed; creation_time is local time.
std::string MsTextHeader(const LocalTime& creation_time);

/// Appends the lines of one scan.
void AppendMsText(std::string& text, const MS1Spectrum& scan, PeakDigits digits);

/// The same; m_orig_precursors holds the declared precursors, at least one, with a charge or an m/z
/// of 0 when it is unknown. The sign of a charge is not written.
void AppendMsText(std::string& text, const MS2Spectrum& scan, PeakDigits digits);

/// Appends the lines of one scan that come before its peaks.
void AppendMsTextStart(std::string& text, const MS1Spectrum& scan, PeakDigits digits);
void AppendMsTextStart(std::string& text, const MS2Spectrum& scan, PeakDigits digits);

/// The singly protonated mass in Da for a "Z" line; std::nullopt, which the line shows as 0, when
/// charge or m/z is unknown.
std::optional<double> StatedMassDa(const Precursor& declared);

}  // namespace tarvek
