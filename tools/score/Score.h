// tools/score/Score.h: how well a precursor table agrees with a known truth.
// Does:     reads a precursor table (.csv) and a truth table (.truth.tsv) and counts what was
//           found, missed and wrong, for the determined and for the declared precursors.
// Throws:   a std::string naming file and line for a table that cannot be read.
// Not here: options and output (score/Command.h).
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "SpectrumRecords.h"
#include "score/IsotopeShift.h"

namespace tarvek::tools {

/// A precursor that was truly isolated.
struct TruePrecursor {
  Precursor m_precursor;  // signed m/z and charge: both negative for negative ions
  double m_share = 0.0;   // of the current in the isolation window, 0 to 1
  bool m_is_target = false;
};
using TruthTable = std::map<std::int32_t, std::vector<TruePrecursor>>;  // by scan number

/// One row of a precursor table.
struct TableRow {
  std::vector<Precursor> m_declared;  // one, or none
  std::vector<Precursor> m_determined;
};
using PrecursorTable = std::map<std::int32_t, TableRow>;  // by scan number

TruthTable ReadTruthTable(const std::string& path);
PrecursorTable ReadPrecursorTable(const std::string& path);

struct Ratio {
  std::int64_t m_part = 0;
  std::int64_t m_whole = 0;
  [[nodiscard]] double Value() const;  // 0 when the whole is 0
};

/// Figures of one set of precursors (the determined, or the declared ones).
struct ScoreFigures {
  std::int64_t m_precursors = 0;
  Ratio m_target_recall;  // targeted precursors found, of all
  Ratio m_recall_10;      // isolated precursors of at least 10 % share found, of all
  Ratio m_recall_5;       // the same for 5 %
  Ratio m_precision;      // precursors that are true, of all
  Ratio m_wrong_isotope;  // those that are one to three isotopes off a true one, of all
  Ratio m_wrong_charge;   // those at the m/z of a true one with wrong charge, of all
  std::array<std::int64_t, kShifts> m_by_isotope_offset{};  // -3 .. 3; 0: true
  double m_median_ppm = 0.0;                                // error of the true ones
  double m_median_absolute_ppm = 0.0;
  double m_absolute_ppm_95 = 0.0;  // 95 % are at most this far off
};

struct ScoreReport {
  std::int64_t m_scans = 0;        // with a truth
  std::int64_t m_table_scans = 0;  // in the precursor table
  ScoreFigures m_determined;
  ScoreFigures m_declared;
};

/// tol_ppm: largest m/z error of a precursor that counts as true; the charge must agree. min_share:
/// share that a true precursor must have for another to count as true by it.
ScoreReport ScoreTable(const PrecursorTable& table, const TruthTable& truth, double tol_ppm,
                       double min_share);

}  // namespace tarvek::tools
