#include "LaneTable.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace tarvek::joint {
namespace {

constexpr double kStepsPerMz = 50.0;

// A step with more points is sorted before: insertion takes the square of their number.
constexpr std::size_t kMostForInsertion = 64;

// Of one MS1 scan, in the few Th of an isolation window: more than any instrument resolves. The rest
// would only take memory.
constexpr std::size_t kMostPeaksOfRow = 100'000;

// The tolerance has room for fewer in a window, but at an m/z that no precursor has.
constexpr std::size_t kMostLanes = 20'000;

bool IsNear(std::size_t row) { return row >= kFirstNearRow && row <= kLastNearRow; }

double HighestBetween(PeakSpan peaks, double low, double high) {
  double highest = 0.0;
  for (const Peak& peak : peaks)
    if (peak.m_mz >= low && peak.m_mz <= high) highest = std::max(highest, peak.m_intensity);
  return highest;
}

PeakSpan Between(PeakSpan peaks, double low, double high) {
  const auto first = std::ranges::lower_bound(peaks, low, {}, &Peak::m_mz);
  const auto last = std::ranges::upper_bound(first, peaks.end(), high, {}, &Peak::m_mz);
  return PeakSpan(first, last)
      .first(std::min(kMostPeaksOfRow, static_cast<std::size_t>(last - first)));
}

void AddTo(Lane& lane, double mz, double intensity, std::size_t row) {
  const double sum = lane.m_all + intensity;
  lane.m_mz += (mz - lane.m_mz) * (intensity / sum);
  lane.m_all = sum;
  if (IsNear(row)) lane.m_near += intensity;
  lane.m_rows[row] += intensity;
  lane.m_present |= 1u << row;
}

}  // namespace

void LaneTable::Build(const ScanWindow& window, double low, double high, double inner_low,
                      double inner_high, double min_share, double tol_ppm) {
  Gather(window, low, high, inner_low, inner_high, min_share);
  SortPoints();
  Join(tol_ppm);
  IndexLanes();
}

void LaneTable::Gather(const ScanWindow& window, double low, double high, double inner_low,
                       double inner_high, double min_share) {
  m_points.clear();
  m_limit = 0.0;
  for (std::size_t row = 0; row < window.size(); ++row) {
    const PeakSpan peaks = Between(window[row], low, high);
    const double least = min_share * HighestBetween(peaks, inner_low, inner_high);
    for (const Peak& peak : peaks) {
      if (!(peak.m_intensity > 0.0) || peak.m_intensity < least) continue;
      m_points.push_back({peak.m_mz, peak.m_intensity, row});
      if (IsNear(row) && (m_limit == 0.0 || peak.m_intensity < m_limit)) m_limit = peak.m_intensity;
    }
  }
}

// Sorts by m/z; equal m/z stay in the order of the rows. A counting sort into steps, then
// insertion.
void LaneTable::SortPoints() {
  m_low = m_points.empty() ? 0.0 : std::ranges::min(m_points, {}, &Point::m_mz).m_mz;
  std::size_t last_bin = 0;
  const auto bin_of = [low = m_low](const Point& point) {
    return static_cast<std::size_t>((point.m_mz - low) * kStepsPerMz);
  };
  for (const Point& point : m_points) last_bin = std::max(last_bin, bin_of(point));
  m_bins.assign(last_bin + 2, 0);
  for (const Point& point : m_points) ++m_bins[bin_of(point) + 1];
  for (std::size_t i = 1; i < m_bins.size(); ++i) m_bins[i] += m_bins[i - 1];
  m_sorted.resize(m_points.size());
  for (const Point& point : m_points) m_sorted[m_bins[bin_of(point)]++] = point;
  std::size_t begin = 0;
  for (const std::size_t end : m_bins) {  // where its points end now
    const auto step = std::span(m_sorted).subspan(begin, end - begin);
    if (step.size() > kMostForInsertion) std::ranges::stable_sort(step, {}, &Point::m_mz);
    begin = end;
  }
  for (std::size_t i = 1; i < m_sorted.size(); ++i) {
    const Point point = m_sorted[i];
    std::size_t place = i;
    for (; place > 0 && m_sorted[place - 1].m_mz > point.m_mz; --place)
      m_sorted[place] = m_sorted[place - 1];
    m_sorted[place] = point;
  }
}

void LaneTable::Join(double tol_ppm) {
  m_lanes.clear();
  for (const Point& point : m_sorted) {
    const bool joins =
        !m_lanes.empty() && point.m_mz - m_lanes.back().m_mz < tol_ppm * 1e-6 * point.m_mz;
    if (!joins && m_lanes.size() == kMostLanes) return;
    if (!joins) m_lanes.emplace_back();
    AddTo(m_lanes.back(), point.m_mz, point.m_intensity, point.m_row);
  }
}

void LaneTable::IndexLanes() {
  const double reach = m_lanes.empty() ? 0.0 : m_lanes.back().m_mz - m_low;
  const auto steps = static_cast<std::size_t>(reach * kStepsPerMz) + 1;
  m_first_lane.assign(steps, static_cast<int>(m_lanes.size()));
  std::size_t filled = 0;
  for (std::size_t i = 0; i < m_lanes.size(); ++i) {
    const auto step = static_cast<std::size_t>((m_lanes[i].m_mz - m_low) * kStepsPerMz);
    for (; filled <= step; ++filled) m_first_lane[filled] = static_cast<int>(i);
  }
}

// The first lane of a step that is not below mz by more than tol_mz: at a low m/z a step has thousands.
std::size_t LaneTable::FirstOfStep(std::size_t step, double mz, double tol_mz) const {
  const auto begin = m_lanes.begin() + m_first_lane[step];
  const auto end =
      step + 1 < m_first_lane.size() ? m_lanes.begin() + m_first_lane[step + 1] : m_lanes.end();
  const auto is_too_low = [&](const Lane& lane) {
    return lane.m_mz < mz && std::fabs(lane.m_mz - mz) > tol_mz;
  };
  return static_cast<std::size_t>(std::partition_point(begin, end, is_too_low) - m_lanes.begin());
}

int LaneTable::Find(double mz, double tol_mz) const {
  const double from = mz - tol_mz;
  const double place = (from - m_low) * kStepsPerMz;
  if (!(place < static_cast<double>(m_first_lane.size()))) return kNoLane;
  const auto step = place <= 0.0 ? std::size_t{0} : static_cast<std::size_t>(place);
  int best = kNoLane;
  double best_distance = tol_mz;
  for (auto i = FirstOfStep(step, mz, tol_mz); i < m_lanes.size(); ++i) {
    if (m_lanes[i].m_mz > mz + tol_mz) break;
    const double distance = std::fabs(m_lanes[i].m_mz - mz);
    if (distance > best_distance) continue;
    best = static_cast<int>(i);
    best_distance = distance;
  }
  return best;
}

}  // namespace tarvek::joint
