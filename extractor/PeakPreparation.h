// extractor/PeakPreparation.h: prepares the peaks of a spectrum for the text.
// Does:     sorts them, sums those with equal m/z of an ion-mobility frame, picks those of a
//           profile, leaves out those that the digits show as 0.
// Owns:     values derived from the digits; keeps no data of a spectrum.
// Throws:   nothing but std::bad_alloc.
// Not here: recognising and picking a profile (PeakPicker.h); the limit of the binary format
//           (Extraction.cpp).
#pragma once

#include <cstddef>
#include <vector>

#include "ExtractedScan.h"
#include "PeakPicker.h"
#include "ScanRules.h"
#include "SpectrumRecords.h"

namespace tarvek::extractor {

/// Whether a value is not 0 as text with these decimals. Close to half of the last decimal only the
/// text itself can tell.
class VisibilityTest {
 public:
  explicit VisibilityTest(int decimals);
  [[nodiscard]] bool IsVisible(double value) const;
  /// Visible without a look at the text; false decides nothing.
  [[nodiscard]] bool IsSurelyVisible(double value) const { return value > m_surely_visible; }

 private:
  int m_decimals;
  double m_surely_zero;
  double m_surely_visible;
};

/// What happened to the peaks of a spectrum.
struct PreparedPeaks {
  std::size_t m_merged = 0;              // how many disappeared when those of equal m/z were summed
  DataLook m_look = DataLook::kUnclear;  // of the samples, those of equal m/z summed
  bool m_is_picked = false;
  std::size_t m_left_out = 0;  // because the digits show them as 0
};

class PeakPreparation {
 public:
  PeakPreparation(int mz_digits, int intensity_digits)
      : m_mz_test(mz_digits), m_intensity_test(intensity_digits) {}

  /// output: the decision of the rules for scan. peaks: those of scan in any order; afterwards
  /// ascending in m/z, or empty when nothing of the spectrum would be written.
  PreparedPeaks Prepare(const ExtractedScan& scan, const OutputScan& output,
                        std::vector<Peak>& peaks) const;

 private:
  [[nodiscard]] bool AreSurelyVisible(const std::vector<Peak>& peaks) const;
  [[nodiscard]] std::size_t LeaveOutInvisible(std::vector<Peak>& peaks) const;

  VisibilityTest m_mz_test;
  VisibilityTest m_intensity_test;
};

}  // namespace tarvek::extractor
