#include "BinarySpectrumSource.h"

namespace tarvek {

bool BinarySpectrumSource::IsHighResolution(const MS1Spectrum& scan) const {
  return scan.m_instrument_type.starts_with('F');
}

bool BinarySpectrumSource::AllowsDetermination(const MS2Spectrum& scan) const {
  return !scan.m_orig_precursors.empty() && scan.m_orig_precursors.front().m_charge > 0;
}

}  // namespace tarvek
