// extractor/InstrumentTerms.h: the meaning of instrument terms and words in instrument files.
// Does:     recognises analysers, detectors, models and ion-mobility arrays, by PSI-MS term and by
//           name.
// Throws:   nothing but std::bad_alloc.
// Not here: conclusions from the instrument (ScanRules.h).
#pragma once

#include <cstdint>
#include <string_view>

#include "ExtractedScan.h"

namespace tarvek::extractor {

/// The analyser of a PSI-MS term; kUnknown for other terms.
Analyser AnalyserOfTerm(std::int32_t accession);

/// The analyser of a word in mzXML files: "FTMS", "Orbitrap", "time-of-flight".
Analyser AnalyserOfWord(std::string_view word);

/// Whether a detector measures an image current, as those of Fourier analysers do.
bool IsInductiveTerm(std::int32_t accession);
bool IsInductiveWord(std::string_view word);

/// Whether a term directly inside an instrument configuration may name a model: not a serial
/// number, a customization or another attribute, and not only a maker.
bool MayBeModel(std::int32_t accession, std::string_view name);

/// Whether the value of a parameter there is the name of a model.
bool HasModelValue(std::int32_t accession, std::string_view name);

/// Whether a binary array gives the ion mobility of each peak.
bool IsMobilityArray(std::int32_t accession, std::string_view name, std::string_view value);

/// The last known analyser of a configuration; kUnknown without one.
Analyser LastKnownAnalyser(const InstrumentConfiguration& configuration);

}  // namespace tarvek::extractor
