#include "simulate/TextSink.h"

#include <cstdlib>

#include "MsTextHeader.h"
#include "NumberText.h"

namespace tarvek::tools {
namespace {

constexpr int kMzDecimals = 5;
constexpr int kIntensityDecimals = 1;
constexpr int kTimeDecimals = 4;
constexpr int kTruthMzDecimals = 6;

// The same for every run: the files of a seed never differ.
constexpr LocalTime kCreationTime{2000, 1, 1, 0, 0, 0, 6};

void AppendAttribute(std::string& text, std::string_view key, double value, int decimals) {
  text.append("I\t").append(key) += '\t';
  AppendFixed(text, value, decimals);
  text += '\n';
}

void AppendAttribute(std::string& text, std::string_view key, std::string_view value) {
  text.append("I\t").append(key).append("\t").append(value) += '\n';
}

void AppendScanLine(std::string& text, std::int32_t scan_no) {
  text += "S\t";
  AppendInteger(text, scan_no);
  text += '\t';
  AppendInteger(text, scan_no);
}

void AppendPeaks(std::string& text, const std::vector<Peak>& peaks) {
  for (const Peak& peak : peaks) {
    AppendFixed(text, peak.m_mz, kMzDecimals);
    text += ' ';
    AppendFixed(text, peak.m_intensity, kIntensityDecimals);
    text += '\n';
  }
}

/// Charge without sign, and the mass with one proton from which a reader gets the m/z back.
void AppendPrecursor(std::string& text, const Precursor& precursor) {
  const int charge = std::abs(precursor.m_charge);
  if (charge == 0) {
    text += "Z\t0\t0\n";
    return;
  }
  text += "Z\t";
  AppendInteger(text, charge);
  text += '\t';
  AppendFixed(text, precursor.m_mz * charge - (charge - 1) * kProtonMass, kMzDecimals);
  text += '\n';
}

}  // namespace

void AppendSurveyText(std::string& text, const MS1Spectrum& scan) {
  AppendScanLine(text, scan.m_scan_no);
  text += '\n';
  AppendAttribute(text, "RetTime", scan.m_rt, kTimeDecimals);
  AppendAttribute(text, "IonInjectionTime", scan.m_ion_injection_time, kTimeDecimals);
  AppendAttribute(text, "InstrumentType", scan.m_instrument_type);
  AppendPeaks(text, scan.m_peaks);
}

void AppendFragmentsText(std::string& text, const MS2Spectrum& scan) {
  AppendScanLine(text, scan.m_scan_no);
  text += '\t';
  AppendFixed(text, scan.m_orig_precursors.front().m_mz, kMzDecimals);
  text += '\n';
  AppendAttribute(text, "RetTime", scan.m_rt, kTimeDecimals);
  AppendAttribute(text, "IonInjectionTime", scan.m_ion_injection_time, kTimeDecimals);
  AppendAttribute(text, "InstrumentType", scan.m_instrument_type);
  AppendAttribute(text, "ActivationType", scan.m_activation_type);
  AppendAttribute(text, "ActivationCenter", scan.m_activation_center, kMzDecimals);
  text += "I\tPrecursorScan\t";
  AppendInteger(text, scan.m_precursor_scan);
  text += '\n';
  for (const Precursor& precursor : scan.m_orig_precursors) AppendPrecursor(text, precursor);
  AppendPeaks(text, scan.m_peaks);
}

void AppendTruthText(std::string& text, const TruthRow& row) {
  AppendInteger(text, row.m_scan_no);
  text += '\t';
  AppendFixed(text, row.m_mz, kTruthMzDecimals);
  text += '\t';
  AppendInteger(text, row.m_charge);
  text += '\t';
  AppendFixed(text, row.m_share, 6);
  text.append(row.m_is_target ? "\t1\t" : "\t0\t").append(row.m_peptide) += '\t';
  AppendInteger(text, row.m_isotope_offset);
  text += '\t';
  AppendFixed(text, row.m_declared_mz, kMzDecimals);
  text += '\t';
  AppendInteger(text, row.m_declared_charge);
  text += '\t';
  AppendFixed(text, row.m_isolated_current, 1);
  text += '\n';
}

TextSink::TextSink(const std::string& out_base)
    : m_ms1(out_base + ".ms1", "MS1"), m_ms2(out_base + ".ms2", "MS2"), m_truth(out_base) {
  m_ms1.File().Write(MsTextHeader(kCreationTime));
  m_ms2.File().Write(MsTextHeader(kCreationTime));
}

void TextSink::TakeSurvey(const MS1Spectrum& scan) {
  m_text.clear();
  AppendSurveyText(m_text, scan);
  m_ms1.File().Write(m_text);
}

void TextSink::TakeFragments(const MS2Spectrum& scan, std::span<const TruthRow> truth) {
  m_text.clear();
  AppendFragmentsText(m_text, scan);
  m_ms2.File().Write(m_text);
  m_truth.Write(truth);
}

void TextSink::Complete() { m_truth.CompleteWith({&m_ms1, &m_ms2}); }

}  // namespace tarvek::tools
