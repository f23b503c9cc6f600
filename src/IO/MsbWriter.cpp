#include "MsbWriter.h"

#include <cstdlib>

#include "LittleEndian.h"
#include "MsTextReader.h"
#include "MsTextWriter.h"
#include "NumberText.h"
#include "ScanTable.h"

namespace tarvek {
namespace {

// Converts to text and back, because the text has a mass and no sign.
Precursor DeclaredAsInText(const MS2Spectrum& scan, int mz_decimals) {
  const Precursor& declared = scan.m_orig_precursors.front();
  return PrecursorOfChargeLine(std::abs(declared.m_charge),
                               Rounded(StatedMassDa(declared).value_or(0.0), mz_decimals),
                               Rounded(scan.m_activation_center, mz_decimals));
}

template <class Spectrum>
ScanTableEntry CommonEntry(const Spectrum& scan) {
  ScanTableEntry entry;
  entry.m_scan_no = scan.m_scan_no;
  entry.m_rt = scan.m_rt;
  entry.m_ion_injection_time = scan.m_ion_injection_time;
  entry.m_instrument_type = scan.m_instrument_type;
  return entry;
}

void CheckPeakCount(std::int32_t scan_no, std::size_t count) {
  if (count <= static_cast<std::size_t>(kMaxMsbPeaks)) return;
  throw "Scan " + std::to_string(scan_no) + " has " + std::to_string(count) +
      " peaks, but the msb format holds " + std::to_string(kMaxMsbPeaks) + " at most";
}

}  // namespace

MsbWriter::MsbWriter(OutputFile& msb, OutputFile& table, PeakDigits digits)
    : m_msb(&msb), m_table(&table), m_digits(digits) {
  m_table->Write(ScanTableHeader());
}

void MsbWriter::Write(const MS1Spectrum& scan) {
  ScanTableEntry entry = CommonEntry(scan);
  entry.m_precursor_scan = kNoPrecursorScan;
  WriteScan(entry, scan.m_peaks);
}

void MsbWriter::Write(const MS2Spectrum& scan) {
  ScanTableEntry entry = CommonEntry(scan);
  entry.m_precursor_scan = scan.m_precursor_scan;
  entry.m_activation_center = scan.m_activation_center;
  entry.m_activation_type = scan.m_activation_type;
  const Precursor declared = DeclaredAsInText(scan, m_digits.m_mz);
  entry.m_lower_charge = declared.m_charge;
  entry.m_mono_mz = declared.m_mz;
  WriteScan(entry, scan.m_peaks);
}

// All m/z come first, then all intensities.
void MsbWriter::WriteScan(ScanTableEntry& entry, const std::vector<Peak>& peaks) {
  RoundPeaks(peaks);
  if (m_peaks.empty()) return;
  CheckPeakCount(entry.m_scan_no, m_peaks.size());
  entry.m_peak_num = static_cast<std::int32_t>(m_peaks.size());
  entry.m_start_pos = m_msb->PositionBytes();
  m_bytes.clear();
  PutInt32(m_bytes, entry.m_scan_no);
  PutInt32(m_bytes, entry.m_peak_num);
  for (const Peak& peak : m_peaks) PutReal(m_bytes, peak.m_mz);
  for (const Peak& peak : m_peaks) PutReal(m_bytes, peak.m_intensity);
  m_msb->Write(m_bytes);
  entry.m_end_pos = m_msb->PositionBytes();
  m_bytes.clear();
  AppendScanTableRow(m_bytes, entry, m_digits.m_mz);
  m_table->Write(m_bytes);
}

void MsbWriter::RoundPeaks(const std::vector<Peak>& peaks) {
  m_peaks.clear();
  for (const Peak& peak : peaks) {
    const double intensity = Rounded(peak.m_intensity, m_digits.m_intensity);
    if (intensity > 0.0) m_peaks.push_back({Rounded(peak.m_mz, m_digits.m_mz), intensity});
  }
}

}  // namespace tarvek
