// BasicProcessLogic/PackedPeaks.h: peaks with few decimals in less than half of their memory.
// Does:     stores numbers that are whole multiples of their last decimal as differences and
//           digits, and restores the same doubles.
// Owns:     the bytes.
// Throws:   nothing but std::bad_alloc.
// Not here: which peaks are packed (Ms1Feed.h).
#pragma once

#include <span>
#include <vector>

#include "PeakDigits.h"
#include "SpectrumRecords.h"

namespace tarvek {

class PackedPeaks {
 public:
  /// Packs peaks and discards the former contents. False, and empty, when a number has more
  /// decimals than digits allows, or the m/z do not ascend.
  bool Pack(std::span<const Peak> peaks, PeakDigits digits);

  /// Writes the packed peaks to peaks.
  void Unpack(std::vector<Peak>& peaks) const;

  [[nodiscard]] bool IsEmpty() const noexcept { return m_bytes.empty(); }
  [[nodiscard]] std::size_t Bytes() const noexcept { return m_bytes.size(); }

 private:
  std::vector<unsigned char> m_bytes;
  std::size_t m_count = 0;
  PeakDigits m_digits;
};

}  // namespace tarvek
