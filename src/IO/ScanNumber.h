// IO/ScanNumber.h: scan numbers in text, which may be larger than a record can hold.
// Does:     reads a number, says once per file that some are too large, and still tells those apart.
// Throws:   nothing but std::bad_alloc.
// Not here: which field of which line holds the number.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Notice.h"

namespace tarvek {

/// A scan number as it is written and as records hold it.
struct WrittenScanNumber {
  std::int32_t m_scan_no = 0;                 // the nearest 32-bit limit when it is out of range
  std::optional<std::int64_t> m_written = 0;  // nothing when not even 64 bits hold it

  /// Whether both are the number of one scan. One of more than 64 bits is equal to none.
  [[nodiscard]] bool IsSameScan(const WrittenScanNumber& other) const {
    return m_written && m_written == other.m_written;
  }
};

class ScanNumberReader {
 public:
  /// The number at the start of text, 0 without digits. path: of the file, named in the notice.
  WrittenScanNumber Read(std::string_view text, const std::string& path,
                         NoticeTaker notice = TakeSilently);

 private:
  bool m_has_warned = false;
};

}  // namespace tarvek
