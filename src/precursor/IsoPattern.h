// precursor/IsoPattern.h: the observed isotope envelope of one candidate precursor.
// Does:     reads twelve isotope positions off the candidate peaks and the elution grid, then cuts
//           each row after its first valley, where another envelope may begin.
// Owns:     its matrix.
// Throws:   nothing; an empty list of candidate peaks fails an internal check.
// Not here: conclusions from the envelope (FeaturesExtractor.h).
#pragma once

#include <array>
#include <cstddef>

#include "ElutionGrid.h"
#include "SpectrumRecords.h"
#include "SpectrumUtils.h"

namespace tarvek {

/// Distance of isotope peaks in m/z, times charge.
inline constexpr double kIsotopeSpacing = 1.003;

/// m/z of isotope position i of a precursor with signed m/z and charge; always positive:
/// |mz| + i x 1.003 / |z|.
inline double IsotopePositionMz(const Precursor& precursor, int i) {
  const double offset = i * kIsotopeSpacing / precursor.m_charge;
  return precursor.m_charge > 0 ? precursor.m_mz + offset : -precursor.m_mz - offset;
}

/// The data from which the envelopes of all candidates of one MS2 scan are read.
struct EnvelopeInput {
  double m_center;  // activation centre, m/z
  double m_tol;     // mass tolerance, in ppm with m_tol_is_ppm, else in m/z
  bool m_tol_is_ppm;
  PeakSpan m_candidates;  // not empty
  const ElutionGrid& m_grid;
};

/// False only when no row of the precursor's envelope can have intensity at all isotope positions
/// from 0 to wanted - 1; much cheaper than the envelope.
bool MayHoldIsotopes(const EnvelopeInput& input, const Precursor& precursor, int wanted);

class IsoPattern {
 public:
  static constexpr int kLeftNum = 7;   // isotope positions below the monoisotopic peak
  static constexpr int kRightNum = 5;  // positions 0 to 4
  static constexpr std::size_t kColNum = kLeftNum + kRightNum;
  static constexpr std::size_t kMonoColumn = kLeftNum;
  static constexpr std::size_t kRowNum = 1 + ElutionGrid::kRows;
  using Row = std::array<double, kColNum>;
  using Matrix = std::array<Row, kRowNum>;

  /// Reads the isotope positions from lowest, -kLeftNum to -1, up.
  IsoPattern(const EnvelopeInput& input, const Precursor& precursor, int lowest = -kLeftNum);

  /// Column 7 + i holds isotope position i, 0 below the lowest that was read. Row 0 holds
  /// intensities of single candidate peaks, row r + 1 sums of grid row r. Every row is cut after its
  /// first valley.
  [[nodiscard]] const Matrix& Rows() const { return m_matrix; }

  /// Sum of rows 1 to 10 over isotope positions -1 to 4 before the cut.
  [[nodiscard]] double Total() const { return m_total; }

  /// Sum of rows 1 to 10 over isotope positions 0 to 4 after the cut.
  [[nodiscard]] double SumFromMono() const;

  /// The ten values of an isotope position over the MS1 scans, in scan order.
  [[nodiscard]] std::array<double, ElutionGrid::kRows> ElutionProfile(int i) const;

 private:
  double m_total = 0.0;
  Matrix m_matrix{};
};

/// Zeroes everything after the first valley beyond the +1 isotope; the valley itself keeps its
/// value.
void CutAfterFirstValley(IsoPattern::Row& row);

}  // namespace tarvek
