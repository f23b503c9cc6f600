#include "ElutionGrid.h"

#include <algorithm>

#include "Check.h"
#include "NumericUtils.h"

namespace tarvek {
namespace {

// trunc(100 c) beyond this is not a real m/z; the limit keeps 2 x trunc(100 c) in the integer
// range.
constexpr std::int64_t kMaxCenterBins = std::int64_t{1} << 40;

// A bin number beyond any grid, so that sums of bin numbers stay inside the integer range.
constexpr std::int64_t kBeyondBins = std::int64_t{1} << 42;

}  // namespace

void ElutionGrid::Reset(double half_width, double center, double reach) {
  m_origin = half_width - center;
  m_bin_num =
      2 * std::clamp(TruncateToInt64(kBinsPerUnit * center), -kMaxCenterBins, kMaxCenterBins);
  m_first_bin =
      std::clamp<std::int64_t>(BinOf(center - reach), 0, std::max<std::int64_t>(m_bin_num, 0));
  const std::int64_t end =
      std::clamp(BinOf(center + reach) + 1, m_first_bin, std::max(m_bin_num, m_first_bin));
  m_bins.assign(static_cast<std::size_t>(end - m_first_bin), RowSums{});
  m_rows_with_peaks.assign(m_bins.size(), RowSet{0});
}

void ElutionGrid::Add(std::size_t row, const Peak& peak) {
  const std::int64_t bin = BinOf(peak.m_mz);
  if (row >= kRows || bin < 0 || bin >= m_bin_num) return;
  const auto stored = static_cast<std::size_t>(bin - m_first_bin);
  TARVEK_CHECK(bin >= m_first_bin && stored < m_bins.size(), "peak within reach", "ElutionGrid");
  m_bins[stored][row] += peak.m_intensity;
  m_rows_with_peaks[stored] = static_cast<RowSet>(m_rows_with_peaks[stored] | 1u << row);
}

std::int64_t ElutionGrid::BinOf(double mz) const {
  const std::int64_t bin = TruncateToInt64((mz - m_origin) * kBinsPerUnit);
  return std::clamp(bin, -kBeyondBins, kBeyondBins);
}

ElutionGrid::StoredRange ElutionGrid::StoredPart(std::int64_t low, std::int64_t high) const {
  const std::int64_t begin = std::max(low, m_first_bin) - m_first_bin;
  const std::int64_t end = std::min(high - m_first_bin, static_cast<std::int64_t>(m_bins.size()));
  return {static_cast<std::size_t>(begin), static_cast<std::size_t>(std::max(begin, end))};
}

ElutionGrid::RowSums ElutionGrid::Sum(std::int64_t low, std::int64_t high) const {
  RowSums sums{};
  const StoredRange range = StoredPart(low, high);
  for (std::size_t bin = range.m_begin; bin < range.m_end; ++bin)
    for (std::size_t row = 0; row < kRows; ++row) sums[row] += m_bins[bin][row];
  return sums;
}

ElutionGrid::RowSet ElutionGrid::RowsWithPeaks(std::int64_t low, std::int64_t high) const {
  unsigned rows = 0;
  const StoredRange range = StoredPart(low, high);
  for (std::size_t bin = range.m_begin; bin < range.m_end; ++bin) rows |= m_rows_with_peaks[bin];
  return static_cast<RowSet>(rows);
}

}  // namespace tarvek
