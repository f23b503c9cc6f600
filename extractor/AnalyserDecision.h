// extractor/AnalyserDecision.h: which analyser measured a scan, and how that is known.
// Does:     takes the first of these that decides: what the user says, the analyser of the scan, its
//           filter line, its configuration, the detector, the instrument model, the peaks.
// Owns:     what it found of the models of the file.
// Throws:   nothing but std::bad_alloc.
// Not here: the table of models (InstrumentModels.h), the look at the peaks (ExtractionPlan.h).
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "ExtractedScan.h"
#include "ExtractionPlan.h"
#include "InstrumentModels.h"
#include "ScanOverrides.h"

namespace tarvek::extractor {

/// What decided, in the order in which it is asked.
enum class AnalyserStep {
  kUser,
  kScan,           // the configuration that the scan names, by its last analyser
  kFilter,         // the filter line
  kConfiguration,  // any analyser of the configuration, which may be the default of the run
  kDetector,
  kModel,
  kPeaks,
  kAssumed,   // nothing did
  kUndecided  // nothing did so far, and the peaks were not looked at
};

struct AnalyserDecision {
  std::string_view m_word;  // "FTMS" or "ITMS"; empty while undecided
  AnalyserStep m_step = AnalyserStep::kUndecided;
};

class AnalyserDecider {
 public:
  explicit AnalyserDecider(const ScanOverrides& overrides) : m_overrides(overrides) {}

  /// scan: a mass spectrum of level 1 or 2. activation: its word, for level 2. plan: what the look
  /// at the peaks gave, if there was one.
  [[nodiscard]] AnalyserDecision Decide(const ExtractedScan& scan, std::string_view activation,
                                        const ExtractionPlan& plan);

 private:
  [[nodiscard]] const InstrumentModel* ModelOf(const ExtractedScan& scan);

  ScanOverrides m_overrides;
  std::map<std::pair<std::int32_t, std::string>, const InstrumentModel*> m_models;
};

/// The model of a configuration as a person calls it: the name in the file, else that of the table.
std::string ShownModel(const InstrumentConfiguration& configuration);

}  // namespace tarvek::extractor
