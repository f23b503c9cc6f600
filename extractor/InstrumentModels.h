// extractor/InstrumentModels.h: which analyser an instrument of a given model has.
// Does:     holds the table of models; finds a model by its PSI-MS term or by its name.
// Throws:   nothing but std::bad_alloc.
// Not here: when a model decides (AnalyserDecision.h).
//
// Accessions and names are those of the PSI-MS vocabulary. Entries without an accession are models
// and families that are recognised by name only.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace tarvek::extractor {

enum class ModelKind {
  kUndecided,     // unit-mass analysers or several kinds: the model does not decide
  kFourier,       // every scan
  kTimeOfFlight,  // every scan
  kIonTrap,       // every scan
  kTrapHybrid     // surveys are Fourier; fragment scans are Fourier or ion trap
};

struct InstrumentModel {
  std::int32_t m_accession;  // the number of an MS: term; 0 without one
  std::string_view m_name;
  ModelKind m_kind;
};

/// The whole table.
std::span<const InstrumentModel> InstrumentModels();

/// The model for an accession (0: unknown), else for a name; null when the table has neither. In a
/// name, letter case, blanks and punctuation do not count, and words around the model ("Thermo
/// Scientific ...") do not matter; the longest table name that it contains as whole words wins. A
/// digit may directly follow a word: "esquire3000" contains "esquire".
const InstrumentModel* FindInstrumentModel(std::int32_t accession, std::string_view name);

}  // namespace tarvek::extractor
