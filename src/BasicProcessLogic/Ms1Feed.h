// BasicProcessLogic/Ms1Feed.h: the sliding store of recent MS1 scans.
// Does:     streams MS1 scans into the store and to the PF1 file, a fixed look-ahead beyond the
//           precursor scan.
// Owns:     the store; borrows the source and the PF1 writer.
// Throws:   what reading and writing throw.
#pragma once

#include <cstddef>
#include <cstdint>

#include "IO.h"
#include "SpectrumSource.h"
#include "SpectrumUtils.h"

namespace tarvek {

inline constexpr std::size_t kMs1StoreCapacity = 10000;

class Ms1Feed {
 public:
  /// pf1 may be null. The store starts with capacity empty scans of number 0.
  Ms1Feed(SpectrumSource& source, PfWriter* pf1, std::size_t capacity = kMs1StoreCapacity);

  /// Reads on until the store holds five scans beyond precursor_scan or the input ends.
  void AdvanceTo(std::int32_t precursor_scan);

  /// Reads what is left.
  void Drain();

  [[nodiscard]] const Ms1Store& Store() const { return m_store; }

  /// MS1 scans read so far, of whatever resolution.
  [[nodiscard]] std::int64_t ReadCount() const { return m_read_count; }

 private:
  bool readNextMs1();
  void Keep(const MS1Spectrum& scan);

  SpectrumSource* m_source;
  PfWriter* m_pf1;
  MS1Spectrum m_current;
  Ms1Store m_store;
  std::int64_t m_read_count = 0;
};

/// Logs message followed by count when count is a positive multiple of step.
void ReportProgress(const char* message, std::int64_t count, std::int64_t step = 1000);

}  // namespace tarvek
