// extractor/ScanOverrides.h: the user's choice of analysers and activation, which overrides the
// file.
// Does:     reads and writes the values of --analyser and --activation.
// Throws:   std::string, the end of a sentence that begins with the name of the option.
// Not here: options and environment (ExtractorOptions.h), effects (ScanRules.h).
#pragma once

#include <string>
#include <string_view>

namespace tarvek::extractor {

struct ScanOverrides {
  std::string m_ms1_analyser;  // "FTMS" or "ITMS"; empty: the file decides
  std::string m_ms2_analyser;
  std::string m_activation;  // "HCD", "CID", ...; empty: the file decides
};

/// Adds a value of --analyser: "FTMS", "ms2=ITMS", "ms1=FTMS,ms2=ITMS". Letter case does not
/// matter; of two values for one level the last counts.
void AddAnalyserOverride(std::string_view value, ScanOverrides& overrides);

/// Sets a value of --activation: one of the words of the text format, in any letter case.
void SetActivationOverride(std::string_view value, ScanOverrides& overrides);

/// The analysers as a value of --analyser: "FTMS" when both levels have it; empty without any.
std::string AnalyserOverrideText(const ScanOverrides& overrides);

}  // namespace tarvek::extractor
