// tools/outputs/SameIon.h: whether two entries of tables mean one ion.
// Throws:   nothing.
#pragma once

#include <cmath>

#include "Charge.h"
#include "SpectrumRecords.h"

namespace tarvek::tools {

/// The largest difference of two m/z with six decimals when one was corrected and rounded again.
inline constexpr double kSameMz = 1.6e-6;

/// Equal charges and m/z. Signs do not count: declared values have none.
inline bool IsSameIon(const Precursor& a, const Precursor& b) {
  return ChargeWithoutSign(a.m_charge) == ChargeWithoutSign(b.m_charge) &&
         std::fabs(std::fabs(a.m_mz) - std::fabs(b.m_mz)) < kSameMz;
}

}  // namespace tarvek::tools
