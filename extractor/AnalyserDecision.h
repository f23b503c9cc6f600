// extractor/AnalyserDecision.h: finds which analyser measured a scan, and records the evidence.
// Does:     takes the first of these that decides: the user's option, the analyser of the scan, its
//           filter line, its configuration, the detector, the instrument model, the peaks.
// Owns:     the models that it looked up for the file.
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

/// The evidence that decided, in the order of the checks.
enum class AnalyserStep {
  kUser,
  kScan,           // the configuration that the scan names, by its last analyser
  kFilter,         // the filter line
  kConfiguration,  // any analyser of the configuration, which may be the default of the run
  kDetector,
  kModel,
  kPeaks,
  kAssumed,   // no evidence
  kUndecided  // no evidence so far, before the look at the peaks
};

struct AnalyserDecision {
  std::string_view m_word;  // "FTMS" or "ITMS"; empty while undecided
  AnalyserStep m_step = AnalyserStep::kUndecided;
};

class AnalyserDecider {
 public:
  explicit AnalyserDecider(const ScanOverrides& overrides) : m_overrides(overrides) {}

  /// scan: a mass spectrum of level 1 or 2. activation: its word, for level 2. plan: with the
  /// result of the look at the peaks, if there was one.
  [[nodiscard]] AnalyserDecision Decide(const ExtractedScan& scan, std::string_view activation,
                                        const ExtractionPlan& plan);

 private:
  [[nodiscard]] const InstrumentModel* ModelOf(const ExtractedScan& scan);

  ScanOverrides m_overrides;
  std::map<std::pair<std::int32_t, std::string>, const InstrumentModel*> m_models;
};

/// The model's name for people: that in the file, else that in the table.
std::string ShownModel(const InstrumentConfiguration& configuration);

}  // namespace tarvek::extractor
