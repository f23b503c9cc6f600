// joint/LaneTable.h: the peaks of the ten MS1 scans around an MS2 scan, one lane for each m/z.
// Does:     thins the peaks, puts those of nearly one m/z into a lane, finds lanes by m/z.
// Owns:     its lanes, reused from scan to scan.
// Throws:   nothing.
// Not here: isotope envelopes (EnvelopeCandidate.h).
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "SpectrumUtils.h"

namespace tarvek::joint {

/// The survey scans nearest in time: the precursor scan, the one before and the one after.
inline constexpr std::size_t kFirstNearRow = kPrecursorPosition - 1;
inline constexpr std::size_t kLastNearRow = kPrecursorPosition + 1;

/// Peaks of one m/z in the ten MS1 scans.
struct Lane {
  double m_mz = 0.0;                          // mean, weighted by intensity
  std::array<double, kWindowScans> m_rows{};  // intensity in each MS1 scan
  double m_near = 0.0;                        // sum over the three nearest scans
  double m_all = 0.0;                         // sum over all
  unsigned m_present = 0;                     // bit r for a peak in row r
};

/// The result of a search without a match.
inline constexpr int kNoLane = -1;

class LaneTable {
 public:
  /// Makes lanes from the peaks between low and high (m/z). Leaves out peaks below min_share of the
  /// highest peak from inner_low to inner_high in their own MS1 scan. tol_ppm: peaks nearer than
  /// this to the mean of a lane belong to it.
  void Build(const ScanWindow& window, double low, double high, double inner_low, double inner_high,
             double min_share, double tol_ppm);

  [[nodiscard]] std::span<const Lane> Lanes() const { return m_lanes; }

  /// Index of the lane nearest to mz within tol_mz, or kNoLane. O(1) on average.
  [[nodiscard]] int Find(double mz, double tol_mz) const;

  /// The smallest intensity that was kept in the three nearest MS1 scans, below which an ion is not
  /// seen. 0 when no peak was kept.
  [[nodiscard]] double DetectionLimit() const { return m_limit; }

 private:
  struct Point {
    double m_mz;
    double m_intensity;
    std::size_t m_row;
  };
  void Gather(const ScanWindow& window, double low, double high, double inner_low,
              double inner_high, double min_share);
  void SortPoints();
  void Join(double tol_ppm);
  void IndexLanes();
  [[nodiscard]] std::size_t FirstOfStep(std::size_t step, double mz, double tol_mz) const;

  std::vector<Point> m_points;
  std::vector<Point> m_sorted;
  std::vector<std::size_t> m_bins;
  std::vector<Lane> m_lanes;
  std::vector<int> m_first_lane;  // the first lane at or above each step from m_low
  double m_low = 0.0;             // of all peaks
  double m_limit = 0.0;
};

}  // namespace tarvek::joint
