// tools/psms/Blocks.h: the best match of each spectrum of a search, joined to its scan and precursor.
// Does:     groups consecutive matches of one spectrum, keeps the best with all proteins of its
//           peptide, and finds its scan and its precursor.
// Owns:     one match.
// Throws:   what ReadMatches throws; a std::string when a map does not belong to a result, and for a
//           match of too many proteins.
// Not here: matches of one spectrum that are apart, as with a separate decoy file; the competition
//           (psms/Competition.h) brings them together.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "SpectrumRecords.h"
#include "psms/Match.h"
#include "psms/Precursors.h"

namespace tarvek::tools {

struct JoinedMatch {
  EngineMatch m_match;
  std::string m_run;
  std::int32_t m_scan_no = 0;  // 0 when unknown
  std::int32_t m_index = -1;   // of the precursor, from 0; -1 when it was not determined
  std::optional<Precursor> m_declared;
  std::optional<DeterminedPrecursor> m_determined;
  std::uint64_t m_block = 0;  // a number for the block, equal in every file

  /// The m/z that was searched, and that of the peptide, without sign.
  [[nodiscard]] double SearchedMz() const;
  [[nodiscard]] double CalculatedMz() const;

  /// Scan number, or a number below 0 for a spectrum that has none.
  [[nodiscard]] std::int64_t ScanKey() const;

  /// A name for the block that is unique within the same results.
  [[nodiscard]] std::string BlockId() const;
};

/// The isotope, 0 to 3 up or down, that was searched instead of the monoisotopic one, and the
/// deviation from it in ppm of the calculated mass.
struct MassError {
  int m_isotope = 0;
  double m_ppm = 0.0;
};
MassError MassErrorOf(const EngineMatch& match);

/// A message about the result that is being read, to which ReadBlocks adds its path.
struct ResultFault {
  std::string m_text;
};

using JoinedTaker = std::function<void(const JoinedMatch&)>;

/// Passes on the best match of each block, files in order. Among equals the peptide with the
/// smaller key wins, as in the competition. Returns the number of rows read.
std::int64_t ReadBlocks(const std::vector<std::string>& paths, const PrecursorSource& precursors,
                        const JoinedTaker& take);

}  // namespace tarvek::tools
