#include "simulate/MsbSink.h"

#include <cmath>
#include <cstdlib>
#include <utility>

#include "NumberText.h"

namespace tarvek::tools {
namespace {

// Those of the text (SimulateTextSink.cpp).
constexpr int kMzDecimals = 5;
constexpr int kIntensityDecimals = 1;
constexpr int kTimeDecimals = 4;

constexpr std::int32_t kNoPrecursorScan = -1;  // marks a survey
constexpr std::int32_t kAssumedCharge = 2;     // what readers of the text take for an unknown one

constexpr const char* kTableHeader =
    "ScanNo\tPrecursorScan\tactivationCenter\tRetTime\tIonInjectionTime\tactivationType\t"
    "InstrumentType\tNumberofPeaks\tStartPos\tEndPos\tlowerCharge\tmonoIsotopicMz\n";

/// The number that reading value's text gives.
double Rounded(double value, int decimals) {
  char text[kMaxFixedText];
  const char* const end = WriteFixed(text, value, decimals);
  return ParseReal({text, static_cast<std::size_t>(end - text)});
}

void RoundPeaks(const std::vector<Peak>& peaks, std::vector<Peak>& rounded) {
  rounded.clear();
  for (const Peak& peak : peaks) {
    const double intensity = Rounded(peak.m_intensity, kIntensityDecimals);
    if (intensity > kZeroTolerance) rounded.push_back({Rounded(peak.m_mz, kMzDecimals), intensity});
  }
}

/// The text gives the mass of the ion with one proton and no sign; this is the way to it and back.
Precursor DeclaredAsInText(const MS2Spectrum& scan) {
  const Precursor& declared = scan.m_orig_precursors.front();
  const std::int32_t charge = std::abs(declared.m_charge);
  const double center_mz = Rounded(scan.m_activation_center, kMzDecimals);
  if (charge == 0) return {center_mz, kAssumedCharge};
  const double protons = (charge - 1) * kProtonMass;
  const double mass_da = Rounded(declared.m_mz * charge - protons, kMzDecimals);
  if (std::fabs(mass_da) < kZeroTolerance) return {center_mz, charge};
  return {(mass_da + protons) / charge, charge};
}

void AppendRecord(std::string& bytes, std::int32_t scan_no, const std::vector<Peak>& peaks) {
  PutInt32(bytes, scan_no);
  PutInt32(bytes, static_cast<std::int32_t>(peaks.size()));
  for (const Peak& peak : peaks) PutReal(bytes, peak.m_mz);
  for (const Peak& peak : peaks) PutReal(bytes, peak.m_intensity);
}

void CheckPeakCount(std::int32_t scan_no, std::size_t count) {
  if (count <= static_cast<std::size_t>(kMaxMsbPeaks)) return;
  throw "Scan " + std::to_string(scan_no) + " has " + std::to_string(count) +
      " peaks, but the msb format holds " + std::to_string(kMaxMsbPeaks) + " at most";
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

}  // namespace

void AppendTableRow(std::string& text, const ScanTableEntry& entry) {
  const auto integer = [&text](std::int64_t value) {
    AppendInteger(text, value);
    text += '\t';
  };
  const auto real = [&text](double value, int decimals) {
    AppendFixed(text, value, decimals);
    text += '\t';
  };
  integer(entry.m_scan_no);
  integer(entry.m_precursor_scan);
  real(entry.m_activation_center, kMzDecimals);
  real(entry.m_rt, kTimeDecimals);
  real(entry.m_ion_injection_time, kTimeDecimals);
  text.append(entry.m_activation_type).append("\t").append(entry.m_instrument_type) += '\t';
  integer(entry.m_peak_num);
  integer(entry.m_start_pos);
  integer(entry.m_end_pos);
  integer(entry.m_lower_charge);
  AppendExactReal(text, entry.m_mono_mz);
  text += '\n';
}

MsbSink::MsbSink(const std::string& out_base)
    : m_msb(out_base + ".msb", "MSB"), m_table(out_base + ".mscsv", "MSCSV"), m_truth(out_base) {
  m_table.File().Write(kTableHeader);
}

void MsbSink::TakeSurvey(const MS1Spectrum& scan) {
  ScanTableEntry entry = CommonEntry(scan);
  entry.m_precursor_scan = kNoPrecursorScan;
  WriteScan(std::move(entry), scan.m_peaks);
}

void MsbSink::TakeFragments(const MS2Spectrum& scan, std::span<const TruthRow> truth) {
  ScanTableEntry entry = CommonEntry(scan);
  entry.m_precursor_scan = scan.m_precursor_scan;
  entry.m_activation_center = scan.m_activation_center;
  entry.m_activation_type = scan.m_activation_type;
  const Precursor declared = DeclaredAsInText(scan);
  entry.m_lower_charge = declared.m_charge;
  entry.m_mono_mz = declared.m_mz;
  WriteScan(std::move(entry), scan.m_peaks);
  m_truth.Write(truth);
}

void MsbSink::WriteScan(ScanTableEntry entry, const std::vector<Peak>& peaks) {
  RoundPeaks(peaks, m_peaks);
  if (m_peaks.empty()) return;
  CheckPeakCount(entry.m_scan_no, m_peaks.size());
  m_bytes.clear();
  AppendRecord(m_bytes, entry.m_scan_no, m_peaks);
  entry.m_peak_num = static_cast<std::int32_t>(m_peaks.size());
  entry.m_start_pos = m_msb.File().PositionBytes();
  m_msb.File().Write(m_bytes);
  entry.m_end_pos = m_msb.File().PositionBytes();
  m_bytes.clear();
  AppendTableRow(m_bytes, entry);
  m_table.File().Write(m_bytes);
}

void MsbSink::Complete() { m_truth.CompleteWith({&m_msb, &m_table}); }

}  // namespace tarvek::tools
