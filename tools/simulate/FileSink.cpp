#include "simulate/FileSink.h"

#include "FileUtils.h"
#include "simulate/TextSink.h"

namespace tarvek::tools {
namespace {

constexpr const char* kTruthHeader =
    "scan\tmz\tcharge\tshare\tis_target\tpeptide\tisotope_offset\tdeclared_mz\tdeclared_charge\t"
    "isolated_current\n";

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

}  // namespace tarvek::tools
