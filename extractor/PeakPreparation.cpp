#include "PeakPreparation.h"

#include "NumberText.h"

namespace tarvek::extractor {
namespace {

// Replaces peaks of exactly equal m/z by one with their summed intensity. peaks: ascending in m/z.
// Returns how many disappeared.
std::size_t MergeEqualMz(std::vector<Peak>& peaks) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < peaks.size(); ++i) {
    if (kept > 0 && peaks[kept - 1].m_mz == peaks[i].m_mz)
      peaks[kept - 1].m_intensity += peaks[i].m_intensity;
    else
      peaks[kept++] = peaks[i];
  }
  const std::size_t merged = peaks.size() - kept;
  peaks.resize(kept);
  return merged;
}

}  // namespace

VisibilityTest::VisibilityTest(int decimals) : m_decimals(decimals) {
  double half = 0.5;
  for (int i = 0; i < decimals; ++i) half /= 10.0;
  m_surely_zero = 0.99 * half;
  m_surely_visible = 1.01 * half;
}

bool VisibilityTest::IsVisible(double value) const {
  if (IsSurelyVisible(value)) return true;
  return value > m_surely_zero && Rounded(value, m_decimals) > 0.0;
}

// Whether no peak needs the test. peaks: ascending in m/z. Without a branch per peak, because
// nearly always all are visible.
bool PeakPreparation::AreSurelyVisible(const std::vector<Peak>& peaks) const {
  if (!peaks.empty() && !m_mz_test.IsSurelyVisible(peaks.front().m_mz)) return false;
  bool are_visible = true;
  for (const Peak& peak : peaks) are_visible &= m_intensity_test.IsSurelyVisible(peak.m_intensity);
  return are_visible;
}

// Returns how many were left out.
std::size_t PeakPreparation::LeaveOutInvisible(std::vector<Peak>& peaks) const {
  if (AreSurelyVisible(peaks)) return 0;
  return std::erase_if(peaks, [this](const Peak& peak) {
    return !m_mz_test.IsVisible(peak.m_mz) || !m_intensity_test.IsVisible(peak.m_intensity);
  });
}

PreparedPeaks PeakPreparation::Prepare(const ExtractedScan& scan, const OutputScan& output,
                                       std::vector<Peak>& peaks) const {
  PreparedPeaks prepared;
  SortByMz(peaks);
  if (scan.m_has_mobility_array) prepared.m_merged = MergeEqualMz(peaks);
  const bool is_ion_trap = output.m_instrument == "ITMS";
  prepared.m_look = LookAt(peaks, is_ion_trap);
  prepared.m_is_picked =
      prepared.m_look == DataLook::kProfile ||
      (prepared.m_look == DataLook::kUnclear && scan.m_mode == PeakMode::kProfile);
  if (prepared.m_is_picked) peaks = PickPeaks(peaks, is_ion_trap);
  prepared.m_left_out = LeaveOutInvisible(peaks);
  return prepared;
}

}  // namespace tarvek::extractor
