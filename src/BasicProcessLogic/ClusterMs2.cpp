#include "ClusterMs2.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "IO.h"
#include "Logger.h"
#include "Ms1Feed.h"
#include "Ms2Loop.h"
#include "NumberText.h"
#include "NumericUtils.h"

namespace tarvek {
namespace {

constexpr double kCenterDistanceMz = 0.001;
constexpr double kMinSimilarity = 0.92;
constexpr double kPeakTolerancePpm = 20.0;
constexpr std::int64_t kProgressStep = 10000;

double SummedIntensity(std::span<const Peak> peaks) {
  double sum = 0.0;
  for (const Peak& peak : peaks) sum += peak.m_intensity;
  return sum;
}

// For each peak of a: its intensity, and the summed intensity of b within tolerance of its m/z. A
// peak of b may count for two neighbours in a.
void AppendPairs(std::span<const Peak> a, std::span<const Peak> b, double tol_ppm,
                 std::vector<double>& x, std::vector<double>& y) {
  std::size_t start = 0;
  for (const Peak& peak : a) {
    const double tol_mz = peak.m_mz * tol_ppm / 1e6;
    while (start < b.size() && b[start].m_mz < peak.m_mz - tol_mz) ++start;
    double sum = 0.0;
    for (std::size_t i = start; i < b.size() && b[i].m_mz < peak.m_mz + tol_mz; ++i)
      sum += b[i].m_intensity;
    x.push_back(peak.m_intensity);
    y.push_back(sum);
  }
}

}  // namespace

double SpectralSimilarity(std::span<const Peak> a, std::span<const Peak> b, double tol_ppm) {
  std::vector<double> x;
  std::vector<double> y;
  x.reserve(a.size() + b.size());
  y.reserve(a.size() + b.size());
  AppendPairs(a, b, tol_ppm, x, y);
  AppendPairs(b, a, tol_ppm, x, y);
  return CosineSimilarity(x, y);
}

void Ms2Clusters::Add(std::int32_t scan_no, double activation_center, std::vector<Peak> peaks) {
  const std::size_t cluster = ClusterFor(activation_center, peaks);
  m_cluster_count = std::max(m_cluster_count, cluster + 1);
  // A NaN centre is near none, and would spoil the order of the index.
  if (!std::isnan(activation_center))
    m_member_by_center.emplace(activation_center, m_members.size());
  const double total = SummedIntensity(peaks);
  m_members.push_back({scan_no, activation_center, total, cluster, std::move(peaks)});
}

// The cluster of the earliest similar scan, or the number of a new one.
std::size_t Ms2Clusters::ClusterFor(double activation_center, std::span<const Peak> peaks) const {
  std::vector<std::size_t> near;
  for (auto it = m_member_by_center.lower_bound(activation_center - 2.0 * kCenterDistanceMz);
       it != m_member_by_center.end() && it->first <= activation_center + 2.0 * kCenterDistanceMz;
       ++it) {
    if (std::fabs(it->first - activation_center) < kCenterDistanceMz) near.push_back(it->second);
  }
  std::ranges::sort(near);
  for (const std::size_t i : near)
    if (SpectralSimilarity(m_members[i].m_peaks, peaks, kPeakTolerancePpm) >= kMinSimilarity)
      return m_members[i].m_cluster;
  return m_cluster_count;
}

std::set<std::int32_t> Ms2Clusters::Representatives() const {
  std::vector<const Member*> best(m_cluster_count, nullptr);
  for (const Member& member : m_members) {
    const Member*& chosen = best[member.m_cluster];
    if (chosen == nullptr || member.m_total_intensity > chosen->m_total_intensity ||
        (member.m_total_intensity == chosen->m_total_intensity &&
         member.m_scan_no < chosen->m_scan_no))
      chosen = &member;
  }
  std::set<std::int32_t> scans;
  for (const Member* member : best) scans.insert(member->m_scan_no);
  return scans;
}

std::set<std::int32_t> clusterMs2Scans(const std::string& ms2_path) {
  logInfo("Clustering MS2...");
  Ms2TextReader reader(ms2_path, "r", logMessage);
  Ms2Clusters clusters;
  MS2Spectrum scan;
  while (reader.ReadNext(scan)) {
    ReportProgress(kMs2Progress, reader.RecordCount(), kProgressStep);
    clusters.Add(scan.m_scan_no, scan.m_activation_center, scan.m_peaks);
  }
  std::set<std::int32_t> selected = clusters.Representatives();
  reader.Finish();
  std::string report = "Select MS2 Cluster: ";
  AppendInteger(report, static_cast<std::int64_t>(selected.size()));
  logInfo(report);
  return selected;
}

}  // namespace tarvek
