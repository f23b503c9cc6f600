#include "MsTextEcho.h"

#include <cstddef>
#include <cstdlib>
#include <string>

#include "MsTextReader.h"
#include "MsTextWriter.h"
#include "NumberText.h"

namespace tarvek {
namespace {

void RoundPeaks(std::vector<Peak>& peaks, PeakDigits digits) {
  for (Peak& peak : peaks) {
    peak.m_mz = Rounded(peak.m_mz, digits.m_mz);
    peak.m_intensity = Rounded(peak.m_intensity, digits.m_intensity);
  }
}

}  // namespace

template <class Spectrum>
bool MsTextEcho::EchoCommon(Spectrum& scan, std::string* lines) const {
  scan.m_rt = Rounded(scan.m_rt, kTimeDecimals);
  scan.m_ion_injection_time = Rounded(scan.m_ion_injection_time, kTimeDecimals);
  scan.m_instrument_type = InstrumentTypeOfText(std::string(scan.m_instrument_type));
  if (lines != nullptr)
    AppendAndRoundPeakLines(*lines, scan.m_peaks, m_digits);
  else
    RoundPeaks(scan.m_peaks, m_digits);
  std::erase_if(scan.m_peaks,
                [](const Peak& peak) { return !(peak.m_intensity > kZeroTolerance); });
  return !scan.m_peaks.empty();
}

bool MsTextEcho::Echo(MS1Spectrum& scan, std::string* lines) const {
  return EchoCommon(scan, lines);
}

bool MsTextEcho::Echo(MS2Spectrum& scan, std::string* lines) {
  scan.m_activation_center = Rounded(scan.m_activation_center, m_digits.m_mz);
  scan.m_evidence.clear();
  scan.m_peak_lines.clear();
  scan.m_precursors = m_carried;
  for (const Precursor& declared : scan.m_orig_precursors)
    scan.m_precursors.push_back(PrecursorOfChargeLine(
        std::abs(declared.m_charge), Rounded(StatedMassDa(declared).value_or(0.0), m_digits.m_mz),
        scan.m_activation_center));
  const bool has_peaks = EchoCommon(scan, lines);
  if (has_peaks)
    m_carried.clear();
  else
    m_carried = scan.m_precursors;
  return has_peaks;
}

}  // namespace tarvek
