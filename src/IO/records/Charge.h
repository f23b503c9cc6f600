// IO/records/Charge.h: charges as files state them.
// Does:     takes off the sign of any 32-bit number that a file may state as a charge.
// Throws:   nothing.
// Not here: which charges are possible (precursor/); reading them (Utils/NumberText.h).
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace tarvek {

/// A charge without its sign; the smallest number there is, which has no opposite, gives the
/// largest.
inline std::int32_t ChargeWithoutSign(std::int32_t charge) {
  return std::abs(std::max(charge, -std::numeric_limits<std::int32_t>::max()));
}

}  // namespace tarvek
