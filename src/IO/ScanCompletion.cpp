#include "ScanCompletion.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace tarvek {

void CompleteScan(MS1Spectrum& scan, NoticeTaker) { SortByMz(scan.m_peaks); }

void CompleteScan(MS2Spectrum& scan, NoticeTaker notice) {
  SortByMz(scan.m_peaks);
  const auto removed = std::erase_if(
      scan.m_precursors, [](const Precursor& precursor) { return !IsUsable(precursor); });
  for (std::size_t i = 0; i < removed; ++i) {
    // "infomation": frozen, see docs/frozen-names.md.
    notice(kWarn, "Scan " + std::to_string(scan.m_scan_no) +
                      " has incorrect precursor infomation, skipping this precursor...");
  }
  scan.m_orig_precursors = scan.m_precursors;
}

}  // namespace tarvek
