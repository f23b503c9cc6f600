// precursor/ElutionGrid.h: intensities of the ten MS1 scans around an MS2 scan in fixed m/z bins.
// Does:     sums peaks into bins of 0.01 m/z, one row a scan, and sums ranges of bins.
// Owns:     its bins. The grid reaches from m/z 0 to c + W, but it stores only the bins within
//           reach of the centre: all others are 0, and zeros do not change a sum.
// Throws:   nothing; a peak out of reach fails an internal check.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "SpectrumRecords.h"

namespace tarvek {

class ElutionGrid {
 public:
  static constexpr std::size_t kRows = 10;  // m_ki_r_num: frozen, see docs/frozen-names.md
  using RowSums = std::array<double, kRows>;
  using RowSet = std::uint16_t;  // bit r for row r

  /// Empties the grid for a new scan. half_width W and center c, in m/z, define the bins. Peaks
  /// nearer than reach (in m/z) to the centre may be added.
  void Reset(double half_width, double center, double reach);

  /// Adds a peak to its bin of a row; drops a peak outside the grid's bins.
  void Add(std::size_t row, const Peak& peak);

  /// The bin of an m/z: trunc((mz - origin) x 100), with origin = W - c. It may lie outside the
  /// grid, by at most 2^42.
  [[nodiscard]] std::int64_t BinOf(double mz) const;

  /// For each row the sum over bins low <= b < high, added in ascending order.
  [[nodiscard]] RowSums Sum(std::int64_t low, std::int64_t high) const;

  /// The rows with a peak in bins low <= b < high, as bits; every other row's sum is 0.
  [[nodiscard]] RowSet RowsWithPeaks(std::int64_t low, std::int64_t high) const;

  [[nodiscard]] std::int64_t BinCount() const { return m_bin_num; }
  [[nodiscard]] double Origin() const { return m_origin; }

 private:
  struct StoredRange {
    std::size_t m_begin;
    std::size_t m_end;
  };
  [[nodiscard]] StoredRange StoredPart(std::int64_t low, std::int64_t high) const;

  static constexpr double kBinsPerUnit = 100.0;

  double m_origin = 0.0;
  std::int64_t m_bin_num = 0;
  std::int64_t m_first_bin = 0;  // of the stored bins
  std::vector<RowSums> m_bins;   // one entry per stored bin, as in m_rows_with_peaks
  std::vector<RowSet> m_rows_with_peaks;
};

}  // namespace tarvek
