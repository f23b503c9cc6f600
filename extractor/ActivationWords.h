// extractor/ActivationWords.h: the words and terms for dissociation methods.
// Does:     keeps one table for both formats: terms of the PSI-MS vocabulary, and names as files
//           write them, in any letter case.
// Throws:   nothing but std::bad_alloc.
// Not here: the words in the outputs (ScanRules.h).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "ExtractedScan.h"

namespace tarvek::extractor {

/// The bits of the methods in words: "HCD", "beam-type CID", "ETD+SA"; '+', '/', ',', ';' or '&'
/// join several methods. 0 when no method is declared ("", "none", "dissociation method");
/// kActivationOther for a method without a bit and for unknown words.
unsigned ActivationOfWords(std::string_view words);

/// Collects the parameters of one activation.
class ActivationTerms {
 public:
  /// accession: the number of an MS: term, or 0. An unknown term counts by its name, the generic
  /// term "dissociation method" by its value.
  void Add(std::int32_t accession, std::string_view name, std::string_view value);

  /// ActivationBit; 0 when no method is declared.
  [[nodiscard]] unsigned Bits() const;

  /// The name of the method that has no bit; empty without one.
  [[nodiscard]] const std::string& OtherName() const;

 private:
  unsigned m_bits = 0;
  std::string m_other_name;
  // In-source fragmentation comes before the method of the scan; it only counts when it is alone.
  std::string m_in_source_name;
};

}  // namespace tarvek::extractor
