#include "MsTextWriter.h"

#include <cstdlib>
#include <string_view>

#include "NumberText.h"

namespace tarvek {
namespace {

void AppendField(std::string& text, std::string_view start, double value, int decimals) {
  text += start;
  AppendFixed(text, value, decimals);
}

void AppendField(std::string& text, std::string_view start, std::int64_t value) {
  text += start;
  AppendInteger(text, value);
}

void AppendScanNumbers(std::string& text, std::int32_t scan_no) {
  AppendField(text, "S\t", scan_no);
  AppendField(text, "\t", scan_no);
}

template <class Spectrum>
void AppendCommonAttributes(std::string& text, const Spectrum& scan) {
  AppendField(text, "\nI\tRetTime\t", scan.m_rt, kTimeDecimals);
  AppendField(text, "\nI\tIonInjectionTime\t", scan.m_ion_injection_time, kTimeDecimals);
  text.append("\nI\tInstrumentType\t").append(scan.m_instrument_type) += '\n';
}

void AppendChargeLine(std::string& text, const Precursor& declared, int mz_decimals) {
  AppendField(text, "Z\t", std::abs(declared.m_charge));
  const std::optional<double> mass_da = StatedMassDa(declared);
  if (mass_da)
    AppendField(text, "\t", *mass_da, mz_decimals);
  else
    text += "\t0";
  text += '\n';
}

}  // namespace

std::string MsTextHeader(const LocalTime& creation_time) {
  // The version is that of the file layout, which has not changed since 2.0.8.
  return "H\tCreationDate\t" + AsctimeText(creation_time) +
         "H\tExtractor\tTarvek"
         "\nH\tExtractorVersion\t2.0.8"
         "\nH\tComments\tTarvek and the files it extracts belong to their users"
         "\nH\tDataType\tCentroided\n";
}

void AppendMsTextStart(std::string& text, const MS1Spectrum& scan, PeakDigits) {
  AppendScanNumbers(text, scan.m_scan_no);
  AppendCommonAttributes(text, scan);
}

void AppendMsTextStart(std::string& text, const MS2Spectrum& scan, PeakDigits digits) {
  AppendScanNumbers(text, scan.m_scan_no);
  const double mz = scan.m_orig_precursors.front().m_mz;
  AppendField(text, "\t", mz > 0.0 ? mz : scan.m_activation_center, digits.m_mz);
  AppendCommonAttributes(text, scan);
  text.append("I\tActivationType\t").append(scan.m_activation_type);
  AppendField(text, "\nI\tActivationCenter\t", scan.m_activation_center, digits.m_mz);
  AppendField(text, "\nI\tPrecursorScan\t", scan.m_precursor_scan);
  text += '\n';
  for (const Precursor& declared : scan.m_orig_precursors)
    AppendChargeLine(text, declared, digits.m_mz);
}

void AppendMsText(std::string& text, const MS1Spectrum& scan, PeakDigits digits) {
  AppendMsTextStart(text, scan, digits);
  AppendPeakLines(text, scan.m_peaks, digits);
}

void AppendMsText(std::string& text, const MS2Spectrum& scan, PeakDigits digits) {
  AppendMsTextStart(text, scan, digits);
  AppendPeakLines(text, scan.m_peaks, digits);
}

std::optional<double> StatedMassDa(const Precursor& declared) {
  if (declared.m_charge == 0 || declared.m_mz <= 0.0) return std::nullopt;
  return SinglyProtonatedMass(declared.m_mz, std::abs(declared.m_charge));
}

}  // namespace tarvek
