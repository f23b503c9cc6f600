#include "ScanNumber.h"

#include <algorithm>
#include <limits>

#include "NumberText.h"

namespace tarvek {

WrittenScanNumber ScanNumberReader::Read(std::string_view text, const std::string& path,
                                         NoticeTaker notice) {
  const ScannedNumber<std::int64_t> scanned = ScanInteger64(text);
  using Limits = std::numeric_limits<std::int32_t>;
  const std::int64_t held = std::clamp<std::int64_t>(scanned.m_value, Limits::min(), Limits::max());
  WrittenScanNumber number{static_cast<std::int32_t>(held), scanned.m_value};
  if (scanned.m_status == NumberStatus::kOutOfRange) number.m_written.reset();
  if (number.m_written == held || m_has_warned) return number;
  m_has_warned = true;
  notice(kWarn, path + " has scan numbers that are too large: each such scan gets the number " +
                    std::to_string(held) + ", and which survey belongs to it is not known.");
  return number;
}

}  // namespace tarvek
