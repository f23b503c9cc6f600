// extractor/ActivationDecision.h: how the precursor of a fragment scan was broken up.
// Does:     gives the word of the text format from what the file declares, else from the filter
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
  std::string m_other;        // the method, when it is declared and has no word
  bool m_is_several = false;  // the precursors of the scan name different ones
};

/// What the first precursor with a method declares; each is taken for itself, since CID of one and
/// ETD of another are not both for either. Without any, what the filter line says. Both texts are
/// empty when the file says nothing.
DeclaredActivation ActivationOf(const ExtractedScan& scan);

/// What is most likely where the file says nothing: "CID" for "ITMS", else "HCD".
std::string_view UsualActivation(std::string_view instrument_word);

}  // namespace tarvek::extractor
