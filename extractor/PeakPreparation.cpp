#include "PeakPreparation.h"

#include "ScanSinks.h"

namespace tarvek::extractor {

VisibilityTest::VisibilityTest(int decimals) : m_decimals(decimals) {
  double half = 0.5;
  for (int i = 0; i < decimals; ++i) half /= 10.0;
  m_surely_zero = 0.99 * half;
  m_surely_visible = 1.01 * half;
}

bool VisibilityTest::IsVisible(double value) const {
  if (value > m_surely_visible) return true;
  return value > m_surely_zero && Rounded(value, m_decimals) > 0.0;
}

PreparedPeaks PeakPreparation::Prepare(const ExtractedScan& scan, const OutputScan& output,
                                       std::vector<Peak>& peaks) const {
  PreparedPeaks prepared;
  SortByMz(peaks);
  prepared.m_look = LookAt(peaks, output.m_instrument == "ITMS");
  prepared.m_is_picked =
      prepared.m_look == DataLook::kProfile ||
      (prepared.m_look == DataLook::kUnclear && scan.m_mode == PeakMode::kProfile);
  if (prepared.m_is_picked) peaks = PickPeaks(peaks);
  prepared.m_left_out = std::erase_if(peaks, [this](const Peak& peak) {
    return !m_mz_test.IsVisible(peak.m_mz) || !m_intensity_test.IsVisible(peak.m_intensity);
  });
  return prepared;
}

}  // namespace tarvek::extractor
