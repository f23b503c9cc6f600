#include "MsTextEcho.h"

#include <cstddef>
#include <cstdlib>
#include <string>

#include "MsTextReader.h"
#include "MsTextWriter.h"
#include "NumberText.h"

namespace tarvek {
namespace {

// Rounds the peaks and drops those that the reader drops.
void EchoPeaks(std::vector<Peak>& peaks, PeakDigits digits) {
  std::size_t kept = 0;
  for (const Peak& peak : peaks) {
    const double intensity = Rounded(peak.m_intensity, digits.m_intensity);
    if (intensity > kZeroTolerance) peaks[kept++] = {Rounded(peak.m_mz, digits.m_mz), intensity};
  }
  peaks.resize(kept);
}

}  // namespace

template <class Spectrum>
bool MsTextEcho::EchoCommon(Spectrum& scan) const {
  scan.m_rt = Rounded(scan.m_rt, kTimeDecimals);
  scan.m_ion_injection_time = Rounded(scan.m_ion_injection_time, kTimeDecimals);
  scan.m_instrument_type = InstrumentTypeOfText(std::string(scan.m_instrument_type));
  EchoPeaks(scan.m_peaks, m_digits);
  return !scan.m_peaks.empty();
}

bool MsTextEcho::Echo(MS1Spectrum& scan) const { return EchoCommon(scan); }

bool MsTextEcho::Echo(MS2Spectrum& scan) {
  scan.m_activation_center = Rounded(scan.m_activation_center, m_digits.m_mz);
  scan.m_evidence.clear();
  scan.m_precursors = m_carried;
  for (const Precursor& declared : scan.m_orig_precursors)
    scan.m_precursors.push_back(PrecursorOfChargeLine(
        std::abs(declared.m_charge), Rounded(StatedMassDa(declared).value_or(0.0), m_digits.m_mz),
        scan.m_activation_center));
  const bool has_peaks = EchoCommon(scan);
  if (has_peaks)
    m_carried.clear();
  else
    m_carried = scan.m_precursors;
  return has_peaks;
}

}  // namespace tarvek
