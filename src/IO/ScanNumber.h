// IO/ScanNumber.h: scan numbers in text, which may be larger than a record can hold.
// Does:     reads a number, warns once per file about numbers that are too large, and still tells
//           those apart.
// Throws:   nothing but std::bad_alloc.
// Not here: which field of which line holds the number.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Notice.h"

namespace tarvek {

/// A scan number in the file and in records.
struct WrittenScanNumber {
  std::int32_t m_scan_no = 0;                 // the nearest 32-bit limit when it is out of range
  std::optional<std::int64_t> m_written = 0;  // std::nullopt when it needs more than 64 bits

  /// Whether both are the number of one scan. A number of more than 64 bits equals no other.
  [[nodiscard]] bool IsSameScan(const WrittenScanNumber& other) const {
    return m_written && m_written == other.m_written;
  }
};

class ScanNumberReader {
 public:
  /// The number at the start of text, 0 without digits. path: the file that the notice names.
  WrittenScanNumber Read(std::string_view text, const std::string& path,
                         NoticeTaker notice = TakeSilently);

 private:
  bool m_has_warned = false;
};

}  // namespace tarvek
