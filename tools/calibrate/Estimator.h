// tools/calibrate/Estimator.h: the bias of the m/z scales of a run, from its own fragments.
// Does:     takes fragment spectra in any order; estimates the bias of fragments and of surveys,
//           how sure both are, and the tolerance that a search needs after the correction.
// Owns:     what it keeps of the spectra, which has a bounded size.
// Throws:   nothing but std::bad_alloc.
// Not here: evidence of one spectrum (calibrate/Evidence.h), modes (calibrate/Mode.h), files.
//
// Small ions that every tryptic run has give the bias of fragments up to m/z 420; ladders of
// residues that begin at them give it above. Sums of complementary fragments, compared with the
// precursor's mass, give the bias of precursors (measured in surveys) relative to that of
// fragments.
#pragma once

#include <cstdint>
#include <vector>

#include "calibrate/Calibration.h"
#include "calibrate/Evidence.h"

namespace tarvek::tools {

/// Items of scans, up to a limit: above it, half of the scans are dropped, chosen by their numbers
/// and not by their order.
template <class Item>
class ScanSample {
 public:
  struct Kept {
    std::int32_t m_scan_no = 0;
    double m_rt_s = 0.0;
    Item m_item;
  };

  explicit ScanSample(std::size_t most) : m_most(most) {}

  void Add(const Kept& kept) {
    if (!IsKept(kept.m_scan_no)) return;
    m_items.push_back(kept);
    while (m_items.size() > m_most) {
      m_mask = m_mask << 1U | 1U;
      std::erase_if(m_items, [this](const Kept& item) { return !IsKept(item.m_scan_no); });
    }
  }

  [[nodiscard]] const std::vector<Kept>& Items() const noexcept { return m_items; }

 private:
  [[nodiscard]] bool IsKept(std::int32_t scan_no) const noexcept;

  std::size_t m_most;
  std::uint32_t m_mask = 0;
  std::vector<Kept> m_items;
};

/// A number that looks random and depends on the scan number alone.
std::uint32_t ScrambledScan(std::int32_t scan_no) noexcept;

template <class Item>
bool ScanSample<Item>::IsKept(std::int32_t scan_no) const noexcept {
  return (ScrambledScan(scan_no) & m_mask) == 0;
}

class CalibrationEstimator {
 public:
  /// Items kept of each kind of evidence.
  static constexpr std::size_t kMostItems = 400'000;

  explicit CalibrationEstimator(std::size_t most_items = kMostItems);

  /// Skips spectra of ion traps, of electron transfer alone and of negative ions. No scan may come
  /// twice.
  void Add(const FragmentScan& scan);

  /// The calibration from the spectra so far.
  [[nodiscard]] Calibration Estimate() const;

 private:
  std::int64_t m_scans = 0;
  std::int64_t m_ion_trap_scans = 0;
  std::int64_t m_used_scans = 0;
  EvidenceFinder m_finder;
  ScanSample<IonMatch> m_small_ions;
  ScanSample<IonMatch> m_ladders;
  ScanSample<FragmentPair> m_pairs;
};

}  // namespace tarvek::tools
