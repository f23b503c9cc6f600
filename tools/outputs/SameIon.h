// tools/outputs/SameIon.h: whether two entries of tables mean one ion.
// Throws:   nothing.
#pragma once

#include <cmath>
#include <cstdlib>

#include "SpectrumRecords.h"

namespace tarvek::tools {

/// Two m/z of six decimals differ by no more when one of them was corrected and rounded again.
inline constexpr double kSameMz = 1.6e-6;

/// Equal charges and m/z. Signs do not count: what an input declares has none.
inline bool IsSameIon(const Precursor& a, const Precursor& b) {
  return std::abs(a.m_charge) == std::abs(b.m_charge) &&
         std::fabs(std::fabs(a.m_mz) - std::fabs(b.m_mz)) < kSameMz;
}

}  // namespace tarvek::tools
