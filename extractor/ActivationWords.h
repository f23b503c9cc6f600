// extractor/ActivationWords.h: the words and terms for dissociation methods.
// Does:     one table for both formats: terms of the PSI-MS vocabulary, and names as files write
//           them, in any letter case.
// Throws:   nothing but std::bad_alloc.
// Not here: the words that the outputs have (ScanRules.h).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "ExtractedScan.h"

namespace tarvek::extractor {

/// The bits of a method in words: "HCD", "beam-type CID", "ETD+SA"; several methods are joined by
/// '+', '/', ',', ';' or '&'. 0 where nothing is declared ("", "none", "dissociation method");
/// kActivationOther for a method without a bit and for words that are not known.
unsigned ActivationOfWords(std::string_view words);

/// Collects what the parameters of one activation say.
class ActivationTerms {
 public:
  /// accession: the number of an MS: term, or 0. A term that is not known counts by its name. The
  /// term for methods as such ("dissociation method") counts by its value.
  void Add(std::int32_t accession, std::string_view name, std::string_view value);

  /// ActivationBit; 0 when no method is declared.
  [[nodiscard]] unsigned Bits() const;

  /// Of the method that has no bit of its own; empty when there is none.
  [[nodiscard]] const std::string& OtherName() const;

 private:
  unsigned m_bits = 0;
  std::string m_other_name;
  // In-source fragmentation comes before the method of the scan and counts where it is alone.
  std::string m_in_source_name;
};

}  // namespace tarvek::extractor
