// extractor/InstrumentTerms.h: what terms and words of instrument files say of the instrument.
// Does:     analysers, detectors, models and ion-mobility arrays, by PSI-MS term and by name.
// Throws:   nothing but std::bad_alloc.
// Not here: what follows from the instrument (ScanRules.h).
#pragma once

#include <cstdint>
#include <string_view>

#include "ExtractedScan.h"

namespace tarvek::extractor {

/// The analyser of a PSI-MS term; kUnknown for terms that are none.
Analyser AnalyserOfTerm(std::int32_t accession);

/// The analyser in a word as mzXML files have it: "FTMS", "Orbitrap", "time-of-flight".
Analyser AnalyserOfWord(std::string_view word);

/// Whether a detector measures an image current, as Fourier analysers need it.
bool IsInductiveTerm(std::int32_t accession);
bool IsInductiveWord(std::string_view word);

/// Whether a term directly inside an instrument configuration may name a model: no serial number,
/// no customization, no other attribute, no maker alone.
bool MayBeModel(std::int32_t accession, std::string_view name);

/// Whether the value of a parameter there is the name of a model.
bool HasModelValue(std::int32_t accession, std::string_view name);

/// Whether a binary array gives the ion mobility of each peak.
bool IsMobilityArray(std::int32_t accession, std::string_view name, std::string_view value);

/// The last analyser of a configuration that is known; kUnknown when there is none.
Analyser LastKnownAnalyser(const InstrumentConfiguration& configuration);

}  // namespace tarvek::extractor
