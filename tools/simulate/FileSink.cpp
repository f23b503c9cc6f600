#include "simulate/FileSink.h"

#include "FileUtils.h"
#include "MsTextWriter.h"
#include "MsbWriter.h"
#include "NumberText.h"

namespace tarvek::tools {
namespace {

constexpr const char* kTruthHeader =
    "scan\tmz\tcharge\tshare\tis_target\tpeptide\tisotope_offset\tdeclared_mz\tdeclared_charge\t"
    "isolated_current\n";

constexpr int kMzDecimals = 6;

// Decimals of the spectra.
constexpr PeakDigits kDigits;

// The same for every run: the files of a seed never differ.
constexpr LocalTime kCreationTime{2000, 1, 1, 0, 0, 0, 6};

void AppendTruthText(std::string& text, const TruthRow& row) {
  using std::to_string;
  for (const std::string& field :
       {to_string(row.m_scan_no), Fixed(row.m_mz, kMzDecimals), to_string(row.m_charge),
        Fixed(row.m_share, 6), std::string(row.m_is_target ? "1" : "0"), row.m_peptide,
        to_string(row.m_isotope_offset), Fixed(row.m_declared_mz, kDigits.m_mz),
        to_string(row.m_declared_charge)})
    text.append(field).append("\t");
  text.append(Fixed(row.m_isolated_current, 1)).append("\n");
}

class TextSink final : public RunSink {
 public:
  explicit TextSink(const std::string& out_base)
      : m_ms1(out_base + ".ms1", "MS1"), m_ms2(out_base + ".ms2", "MS2"), m_truth(out_base) {
    for (UnfinishedFile* file : {&m_ms1, &m_ms2}) file->File().Write(MsTextHeader(kCreationTime));
  }

  void TakeSurvey(const MS1Spectrum& scan) override { Write(scan, m_ms1); }
  void TakeFragments(const MS2Spectrum& scan, std::span<const TruthRow> truth) override {
    Write(scan, m_ms2);
    m_truth.Write(truth);
  }
  void Complete() override { m_truth.CompleteWith({&m_ms1, &m_ms2}); }

 private:
  template <class Spectrum>
  void Write(const Spectrum& scan, UnfinishedFile& file) {
    m_text.clear();
    AppendMsText(m_text, scan, kDigits);
    file.File().Write(m_text);
  }

  UnfinishedFile m_ms1;
  UnfinishedFile m_ms2;
  TruthFile m_truth;
  std::string m_text;  // of one scan
};

class MsbSink final : public RunSink {
 public:
  explicit MsbSink(const std::string& out_base)
      : m_msb(out_base + ".msb", "MSB"), m_table(out_base + ".mscsv", "MSCSV"), m_truth(out_base) {}

  void TakeSurvey(const MS1Spectrum& scan) override { m_writer.Write(scan); }
  void TakeFragments(const MS2Spectrum& scan, std::span<const TruthRow> truth) override {
    m_writer.Write(scan);
    m_truth.Write(truth);
  }
  void Complete() override { m_truth.CompleteWith({&m_msb, &m_table}); }

 private:
  UnfinishedFile m_msb;
  UnfinishedFile m_table;
  TruthFile m_truth;
  MsbWriter m_writer{m_msb.File(), m_table.File(), kDigits};
};

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

std::unique_ptr<RunSink> MakeTextSink(const std::string& out_base) {
  return std::make_unique<TextSink>(out_base);
}

std::unique_ptr<RunSink> MakeMsbSink(const std::string& out_base) {
  return std::make_unique<MsbSink>(out_base);
}

}  // namespace tarvek::tools
