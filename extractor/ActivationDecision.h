// extractor/ActivationDecision.h: the dissociation method of an MS2 scan.
// Does:     finds the word of the text format: from the file's declaration, else from the filter
//           line, else from the analyser.
// Throws:   nothing but std::bad_alloc.
// Not here: the words and terms of instrument files, which the readers turn into bits.
#pragma once

#include <string>
#include <string_view>

#include "ExtractedScan.h"

namespace tarvek::extractor {

struct DeclaredActivation {
  std::string m_word;         // "HCD", "CID", "ETD", "ETHCD", "ETCID"; empty: see m_other
  std::string m_other;        // the declared method, when it has no word
  bool m_is_several = false;  // the scan's precursors name different ones
};

/// The method of the first precursor that declares one; precursors are not combined, because CID of
/// one and ETD of another are not both for either. Without any, the method in the filter line. Both
/// texts are empty when the file has no method.
DeclaredActivation ActivationOf(const ExtractedScan& scan);

/// The most likely method when the file has none: "CID" for "ITMS", else "HCD".
std::string_view UsualActivation(std::string_view instrument_word);

}  // namespace tarvek::extractor
