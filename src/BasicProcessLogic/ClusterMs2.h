// BasicProcessLogic/ClusterMs2.h: groups of near-identical MS2 spectra.
// Does:     reads all MS2 scans of a file and picks one of each group, so that repeated
//           acquisitions of one precursor are processed once.
// Owns:     all MS2 scans of the file while it runs.
// Throws:   what reading throws.
// Not here: the switch; it is in the parameter record and no key sets it.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "SpectrumRecords.h"

namespace tarvek {

/// The scan numbers to process, one of each cluster: its scan of the largest summed intensity, the
/// lowest scan number of equals.
std::set<std::int32_t> clusterMs2Scans(const std::string& ms2_path);

/// Cosine, 0 to 1, of the intensities of a and b paired by m/z within tol_ppm, peaks of a against b
/// and then of b against a. Peaks ascend in m/z.
double SpectralSimilarity(std::span<const Peak> a, std::span<const Peak> b, double tol_ppm);

/// Clusters scans given in file order.
class Ms2Clusters {
 public:
  /// A scan joins the cluster of the earliest scan of nearly the same activation centre to which it
  /// is similar, or starts its own.
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
