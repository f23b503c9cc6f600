// BasicProcessLogic/ClusterMs2.h: groups of near-identical MS2 spectra.
// Does:     reads all MS2 scans of a file and picks one of each group, so that a precursor that was
//           acquired several times is processed once.
// Owns:     all MS2 scans of the file while it runs.
// Throws:   what reading throws.
// Not here: the switch, which is in the parameter record; no key sets it.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "SpectrumRecords.h"

namespace tarvek {

/// The scan numbers to process, one of each cluster: the scan with the largest summed intensity, of
/// equals the lowest scan number.
std::set<std::int32_t> clusterMs2Scans(const std::string& ms2_path);

/// Cosine, 0 to 1, of the intensities of a and b paired by m/z within tol_ppm, peaks of a against b
/// and then of b against a. Peaks ascend in m/z.
double SpectralSimilarity(std::span<const Peak> a, std::span<const Peak> b, double tol_ppm);

/// Clusters scans given in file order.
class Ms2Clusters {
 public:
  /// Adds a scan to the cluster of the earliest similar scan with nearly the same activation
  /// centre, or starts a new cluster with it.
  void Add(std::int32_t scan_no, double activation_center, std::vector<Peak> peaks);

  [[nodiscard]] std::set<std::int32_t> Representatives() const;

 private:
  struct Member {
    std::int32_t m_scan_no;
    double m_activation_center;
    double m_total_intensity;
    std::size_t m_cluster;
    std::vector<Peak> m_peaks;
  };
  [[nodiscard]] std::size_t ClusterFor(double activation_center, std::span<const Peak> peaks) const;

  std::vector<Member> m_members;  // in file order
  std::multimap<double, std::size_t> m_member_by_center;
  std::size_t m_cluster_count = 0;
};

}  // namespace tarvek
