#include "IsoPattern.h"

#include <algorithm>
#include <cmath>

namespace tarvek {
namespace {

double SumElutionRows(const IsoPattern::Matrix& matrix, std::size_t first_column) {
  double sum = 0.0;
  for (std::size_t r = 1; r < IsoPattern::kRowNum; ++r)
    for (std::size_t c = first_column; c < IsoPattern::kColNum; ++c) sum += matrix[r][c];
  return sum;
}

}  // namespace

IsoPattern::IsoPattern(double center, double tol, bool tol_is_ppm, const Precursor& precursor,
                       PeakSpan candidates, const ElutionGrid& grid) {
  // The signed m/z makes tol_peak negative for negative ions, whose row 0 therefore stays empty.
  const double tol_peak = tol_is_ppm ? tol * precursor.m_mz / 1e6 : tol;
  const double tol_grid = tol_is_ppm ? center * tol / 1e6 : tol;
  for (int i = -kLeftNum; i < kRightNum; ++i)
    FillColumn(i, IsotopePositionMz(precursor, i), tol_peak, tol_grid, candidates, grid);
  m_total = SumElutionRows(m_matrix, kMonoColumn - 1);
  for (Row& row : m_matrix) CutAfterFirstValley(row);
}

void IsoPattern::FillColumn(int i, double x, double tol_peak, double tol_grid, PeakSpan candidates,
                            const ElutionGrid& grid) {
  const auto column = static_cast<std::size_t>(kLeftNum + i);
  const Peak& nearest = nearest_peak(candidates, x);
  if (std::fabs(nearest.m_mz - x) < tol_peak) m_matrix[0][column] = nearest.m_intensity;
  const std::int64_t low = grid.BinOf(x - tol_grid);
  if (low < 1) return;
  const std::int64_t high = std::min(grid.BinCount(), grid.BinOf(x + tol_grid) + 1);
  const ElutionGrid::RowSums sums = grid.Sum(low, high);
  for (std::size_t r = 0; r < sums.size(); ++r) m_matrix[r + 1][column] = sums[r];
}

double IsoPattern::SumFromMono() const { return SumElutionRows(m_matrix, kMonoColumn); }

std::array<double, ElutionGrid::kRows> IsoPattern::ElutionProfile(int i) const {
  std::array<double, ElutionGrid::kRows> profile{};
  for (std::size_t r = 0; r < profile.size(); ++r)
    profile[r] = m_matrix[r + 1][static_cast<std::size_t>(kLeftNum + i)];
  return profile;
}

void CutAfterFirstValley(IsoPattern::Row& row) {
  for (std::size_t k = IsoPattern::kMonoColumn + 1; k + 1 < row.size(); ++k) {
    if (row[k - 1] >= row[k] && row[k + 1] > row[k]) {
      std::fill(row.begin() + static_cast<std::ptrdiff_t>(k) + 1, row.end(), 0.0);
      return;
    }
  }
}

}  // namespace tarvek
