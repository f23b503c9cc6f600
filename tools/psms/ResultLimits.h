// tools/psms/ResultLimits.h: what no result of a search has more of.
// Does:     says the limits that keep the memory and time for a result in proportion to its size, and
//           counts what is read of an XML result, which may be packed.
// Throws:   XmlResultLimits and the checks a std::string without file and place; the rest nothing.
// Not here: how much a packed file may unpack to (ReadingLimits.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "psms/Match.h"

namespace tarvek::tools {

inline constexpr std::size_t kMostProteins = 100'000;      // of a match
inline constexpr std::size_t kMostFields = 100'000;        // of a line in a table
inline constexpr std::size_t kMostXmlTextBytes = 100'000;  // of a peptide or a title in XML

inline std::string TooManyProteins() {
  return "a match of more than " + std::to_string(kMostProteins) + " proteins, which cannot be";
}

/// Throws when a text of so many bytes is longer than any peptide or title. what: "a peptide".
void CheckXmlText(std::size_t bytes, std::string_view what);

/// Counts what is kept of an XML file. With these limits one of up to 10 MB takes below 256 MB.
class XmlResultLimits {
 public:
  /// stored_bytes: of the file; 0, for an unknown size, sets no limit but that of a spectrum.
  explicit XmlResultLimits(std::int64_t stored_bytes = 0);

  /// An entry of a map of so many bytes, texts included, that is kept to the end of the file.
  void Keep(std::size_t bytes);

  /// A match that is held until its spectrum ends, without its proteins; each of these.
  void Hold(const EngineMatch& match);
  void HoldProtein(std::string_view protein);

  /// Texts of matches, which may repeat what the file has once.
  void Repeat(std::size_t text_bytes);

  /// The same, for texts that the present spectrum holds.
  void HoldText(std::size_t bytes);

  /// What the spectrum held is let go.
  void EndSpectrum() { m_of_spectrum = 0; }

 private:
  std::int64_t m_most_kept, m_most_matches, m_most_text;
  std::int64_t m_kept = 0, m_of_spectrum = 0, m_matches = 0, m_text = 0;
};

}  // namespace tarvek::tools
