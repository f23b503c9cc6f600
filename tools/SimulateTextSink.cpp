#include "SimulateTextSink.h"

#include <cstdlib>

#include "FileUtils.h"
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

constexpr const char* kTruthHeader =
    "scan\tmz\tcharge\tshare\tis_target\tpeptide\tisotope_offset\tdeclared_mz\tdeclared_charge\t"
    "isolated_current\n";

std::string UnfinishedPath(const std::string& path) { return path + "_unfinished"; }

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
    : m_paths{out_base + ".ms1", out_base + ".ms2", out_base + ".truth.tsv"} {
  try {
    Open();
  } catch (...) {
    for (std::size_t i = 0; i < kOutputs; ++i)
      if (m_files[i]) RemoveFile(UnfinishedPath(m_paths[i]));
    throw;
  }
}

void TextSink::Open() {
  constexpr std::array<const char*, kOutputs> kKinds{"MS1", "MS2", "truth"};
  for (std::size_t i = 0; i < kOutputs; ++i)
    m_files[i].emplace(UnfinishedPath(m_paths[i]), "wb", kKinds[i]);
  m_files[kMs1]->Write(MsTextHeader(kCreationTime));
  m_files[kMs2]->Write(MsTextHeader(kCreationTime));
  m_files[kTruth]->Write(kTruthHeader);
}

TextSink::~TextSink() {
  if (m_is_complete) return;
  for (const std::string& path : m_paths) static_cast<void>(DeleteFileAt(UnfinishedPath(path)));
}

void TextSink::TakeSurvey(const MS1Spectrum& scan) {
  m_text.clear();
  AppendSurveyText(m_text, scan);
  m_files[kMs1]->Write(m_text);
}

void TextSink::TakeFragments(const MS2Spectrum& scan, std::span<const TruthRow> truth) {
  m_text.clear();
  AppendFragmentsText(m_text, scan);
  m_files[kMs2]->Write(m_text);
  m_text.clear();
  for (const TruthRow& row : truth) AppendTruthText(m_text, row);
  m_files[kTruth]->Write(m_text);
}

void TextSink::Complete() {
  for (auto& file : m_files) file->Close();
  RemoveFile(m_paths[kTruth]);  // an old one must not stand beside new scans
  for (const std::string& path : m_paths) RenameFile(UnfinishedPath(path), path);
  m_is_complete = true;
}

}  // namespace tarvek::tools
