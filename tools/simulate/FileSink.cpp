#include "simulate/FileSink.h"

#include "FileUtils.h"
#include "MsTextWriter.h"
#include "NumberText.h"

namespace tarvek::tools {
namespace {

constexpr const char* kTruthHeader =
    "scan\tmz\tcharge\tshare\tis_target\tpeptide\tisotope_offset\tdeclared_mz\tdeclared_charge\t"
    "isolated_current\n";

constexpr int kMzDecimals = 6;

// Those of the spectra.
constexpr PeakDigits kDigits;

// The same for every run: the files of a seed never differ.
constexpr LocalTime kCreationTime{2000, 1, 1, 0, 0, 0, 6};

}  // namespace

TruthFile::TruthFile(const std::string& out_base) : m_file(out_base + ".truth.tsv", "truth") {
  m_file.File().Write(kTruthHeader);
}

void TruthFile::Write(std::span<const TruthRow> rows) {
  m_text.clear();
  for (const TruthRow& row : rows) AppendTruthText(m_text, row);
  m_file.File().Write(m_text);
}

void TruthFile::CompleteWith(std::initializer_list<UnfinishedFile*> scan_files) {
  for (UnfinishedFile* file : scan_files) file->Close();
  m_file.Close();
  RemoveFile(m_file.Path());
  for (UnfinishedFile* file : scan_files) file->TakeName();
  m_file.TakeName();
}

void AppendTruthText(std::string& text, const TruthRow& row) {
  AppendInteger(text, row.m_scan_no);
  text += '\t';
  AppendFixed(text, row.m_mz, kMzDecimals);
  text += '\t';
  AppendInteger(text, row.m_charge);
  text += '\t';
  AppendFixed(text, row.m_share, 6);
  text.append(row.m_is_target ? "\t1\t" : "\t0\t").append(row.m_peptide) += '\t';
  AppendInteger(text, row.m_isotope_offset);
  text += '\t';
  AppendFixed(text, row.m_declared_mz, kDigits.m_mz);
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
  AppendMsText(m_text, scan, kDigits);
  m_ms1.File().Write(m_text);
}

void TextSink::TakeFragments(const MS2Spectrum& scan, std::span<const TruthRow> truth) {
  m_text.clear();
  AppendMsText(m_text, scan, kDigits);
  m_ms2.File().Write(m_text);
  m_truth.Write(truth);
}

void TextSink::Complete() { m_truth.CompleteWith({&m_ms1, &m_ms2}); }

MsbSink::MsbSink(const std::string& out_base)
    : m_msb(out_base + ".msb", "MSB"),
      m_table(out_base + ".mscsv", "MSCSV"),
      m_truth(out_base),
      m_writer(m_msb.File(), m_table.File(), kDigits) {}

void MsbSink::TakeSurvey(const MS1Spectrum& scan) { m_writer.Write(scan); }

void MsbSink::TakeFragments(const MS2Spectrum& scan, std::span<const TruthRow> truth) {
  m_writer.Write(scan);
  m_truth.Write(truth);
}

void MsbSink::Complete() { m_truth.CompleteWith({&m_msb, &m_table}); }

}  // namespace tarvek::tools
