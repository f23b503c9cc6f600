#include "IsoPattern.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace tarvek {
namespace {

// The column of isotope position i, which is at least -kLeftNum.
std::size_t ColumnOf(int i) {
  const int column = IsoPattern::kLeftNum + i;
  return static_cast<std::size_t>(column);
}

// Bins of the elution grid around one isotope position: low <= b < high, none when high <= low.
struct BinRange {
  std::int64_t m_low;
  std::int64_t m_high;
};

// Looks up intensities at the isotope positions of one precursor.
class IsotopeSearch {
 public:
  IsotopeSearch(const EnvelopeInput& input, const Precursor& precursor)
      : m_input(&input),
        m_precursor(precursor),
        // Negative for negative ions because of the signed m/z, so their row 0 stays empty.
        m_tol_peak(input.m_tol_is_ppm ? input.m_tol * precursor.m_mz / 1e6 : input.m_tol),
        m_tol_grid(input.m_tol_is_ppm ? input.m_center * input.m_tol / 1e6 : input.m_tol) {}

  // Intensity of the candidate peak at isotope position i; 0 when there is none.
  [[nodiscard]] double PeakIntensity(int i) const {
    const double x = IsotopePositionMz(m_precursor, i);
    const Peak& nearest = nearest_peak(m_input->m_candidates, x);
    return std::fabs(nearest.m_mz - x) < m_tol_peak ? nearest.m_intensity : 0.0;
  }

  [[nodiscard]] BinRange Bins(int i) const {
    const double x = IsotopePositionMz(m_precursor, i);
    const ElutionGrid& grid = m_input->m_grid;
    const std::int64_t low = grid.BinOf(x - m_tol_grid);
    if (low < 1) return {0, 0};
    return {low, std::min(grid.BinCount(), grid.BinOf(x + m_tol_grid) + 1)};
  }

 private:
  const EnvelopeInput* m_input;
  Precursor m_precursor;
  double m_tol_peak;
  double m_tol_grid;
};

double SumElutionRows(const IsoPattern::Matrix& matrix, std::size_t first_column) {
  double sum = 0.0;
  for (std::size_t r = 1; r < IsoPattern::kRowNum; ++r)
    for (std::size_t c = first_column; c < IsoPattern::kColNum; ++c) sum += matrix[r][c];
  return sum;
}

}  // namespace

bool MayHoldIsotopes(const EnvelopeInput& input, const Precursor& precursor, int wanted) {
  const IsotopeSearch search(input, precursor);
  unsigned rows = ~0u;
  for (int i = 0; i < wanted && rows != 0; ++i) {
    const BinRange bins = search.Bins(i);
    rows &= input.m_grid.RowsWithPeaks(bins.m_low, bins.m_high);
  }
  if (rows != 0) return true;
  for (int i = 0; i < wanted; ++i)
    if (!(search.PeakIntensity(i) > 0.0)) return false;
  return true;
}

IsoPattern::IsoPattern(const EnvelopeInput& input, const Precursor& precursor, int lowest) {
  const IsotopeSearch search(input, precursor);
  for (int i = lowest; i < kRightNum; ++i) {
    const std::size_t column = ColumnOf(i);
    m_matrix[0][column] = search.PeakIntensity(i);
    const BinRange bins = search.Bins(i);
    const ElutionGrid::RowSums sums = input.m_grid.Sum(bins.m_low, bins.m_high);
    for (std::size_t r = 0; r < sums.size(); ++r) m_matrix[r + 1][column] = sums[r];
  }
  m_total = SumElutionRows(m_matrix, kMonoColumn - 1);
  for (Row& row : m_matrix) CutAfterFirstValley(row);
}

double IsoPattern::SumFromMono() const { return SumElutionRows(m_matrix, kMonoColumn); }

std::array<double, ElutionGrid::kRows> IsoPattern::ElutionProfile(int i) const {
  std::array<double, ElutionGrid::kRows> profile{};
  for (std::size_t r = 0; r < profile.size(); ++r) profile[r] = m_matrix[r + 1][ColumnOf(i)];
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
