// tools/psms/Match.h: a match of a spectrum and a peptide, as a search engine reports it.
// Does:     holds what all engines have in common, and the order of their scores.
// Throws:   nothing but std::bad_alloc.
// Not here: its place in a file (psms/Readers.h), its precursor (psms/Blocks.h).
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace tarvek::tools {

/// An engine and its scores. Matches are ordered by the first score.
struct EngineScores {
  std::string_view m_engine;
  std::string_view m_score;
  bool m_is_lower_better = true;
  std::string_view m_second_score;  // empty when there is none

  friend bool operator==(const EngineScores&, const EngineScores&) = default;
};

/// No file has a longer name. What is longer is cut, since it is repeated for each match.
inline constexpr std::size_t kMostRunNameBytes = 1000;

/// The number of a scan or the place of a spectrum; 0, for unknown, in place of one below 0.
inline std::int32_t NumberOrUnknown(std::int32_t number) { return std::max(number, 0); }

struct EngineMatch {
  EngineScores m_scores;
  std::string m_run;           // from the title, else the name of the searched file without ending
  std::string m_title;         // of the spectrum; empty when the engine drops it
  std::int32_t m_scan_no = 0;  // 0 when unknown
  std::int64_t m_place = 0;    // of the spectrum in the searched file, from 1; 0 when unknown
  std::int32_t m_index = -1;   // of the precursor in its scan, from 0; -1 when unknown
  std::int32_t m_charge = 0;   // without sign
  std::int32_t m_rank = 1;     // among the matches of its spectrum
  double m_searched_mass_da = 0.0;    // neutral, as the engine took it from the spectrum
  double m_calculated_mass_da = 0.0;  // neutral, of the peptide
  double m_score = 0.0;
  double m_second_score = 0.0;
  std::string m_peptide;   // with modifications, as the engine writes it
  std::string m_sequence;  // letters alone
  std::vector<std::string> m_proteins;
  bool m_is_called_decoy = false;  // from a field of the engine, whatever the names say

  /// Lower is better, whatever the score is.
  [[nodiscard]] double Cost() const { return m_scores.m_is_lower_better ? m_score : -m_score; }
};

}  // namespace tarvek::tools
