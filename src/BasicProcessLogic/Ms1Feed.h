// BasicProcessLogic/Ms1Feed.h: the sliding store of recent MS1 scans.
// Does:     streams MS1 scans into the store and to the PF1 file, a fixed look-ahead beyond the
//           precursor scan. Packs the peaks of the oldest scans when the store takes much memory,
//           and unpacks those that a determination needs.
// Owns:     the store; borrows the source and the PF1 writer.
// Throws:   what reading and writing throw.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "IO.h"
#include "PackedPeaks.h"
#include "SpectrumSource.h"
#include "SpectrumUtils.h"

namespace tarvek {

inline constexpr std::size_t kMs1StoreCapacity = 10000;
inline constexpr std::size_t kMaxStoreBytes = std::size_t{48} << 20;

class Ms1Feed {
 public:
  /// pf1 may be null. The store starts with capacity empty scans of number 0. digits: the decimals
  /// of peaks that can be packed. max_bytes: the limit for peaks that are not packed; the newest
  /// scans, as many as a determination needs, are never packed.
  Ms1Feed(SpectrumSource& source, PfWriter* pf1, std::size_t capacity = kMs1StoreCapacity,
          PeakDigits digits = {}, std::size_t max_bytes = kMaxStoreBytes);

  /// Reads until the store holds five scans beyond precursor_scan or the input ends. Afterwards the
  /// scans around precursor_scan have their peaks.
  void AdvanceTo(std::int32_t precursor_scan);

  /// Reads the rest.
  void Drain();

  /// The store for determinations at the scan of the last AdvanceTo: scans further away may have no
  /// peaks, because these are packed.
  [[nodiscard]] const Ms1Store& Store() const { return m_store; }

  /// MS1 scans read so far, of any resolution.
  [[nodiscard]] std::int64_t ReadCount() const { return m_read_count; }

 private:
  bool readNextMs1();
  void Keep(const MS1Spectrum& scan);
  void DropOldest();
  void PackOldest();
  void UnpackAround(std::int32_t scan_no);
  void PackAgain();

  SpectrumSource* m_source;
  PfWriter* m_pf1;
  MS1Spectrum m_current;
  Ms1Store m_store;
  PeakDigits m_digits;
  std::size_t m_max_bytes;
  std::deque<PackedPeaks>
      m_packed;             // of the scans at the front of the store; empty when not packed
  std::size_t m_bytes = 0;  // of peaks that are not packed
  std::vector<std::size_t>
      m_opened;  // places in the store of packed scans that also have their peaks
  std::int64_t m_read_count = 0;
};

/// Logs message followed by count when count is a positive multiple of step.
void ReportProgress(const char* message, std::int64_t count, std::int64_t step = 1000);

}  // namespace tarvek
