#include "SimulateFileSink.h"

#include <charconv>
#include <utility>

#include "FileUtils.h"
#include "SimulateTextSink.h"

namespace tarvek::tools {
namespace {

constexpr const char* kTruthHeader =
    "scan\tmz\tcharge\tshare\tis_target\tpeptide\tisotope_offset\tdeclared_mz\tdeclared_charge\t"
    "isolated_current\n";

}  // namespace

UnfinishedFile::UnfinishedFile(std::string path, const std::string& kind)
    : m_path(std::move(path)), m_file(std::in_place, TemporaryPath(), "wb", kind) {}

UnfinishedFile::~UnfinishedFile() {
  m_file.reset();
  if (!m_has_name) static_cast<void>(DeleteFileAt(TemporaryPath()));
}

void UnfinishedFile::TakeName() {
  RenameFile(TemporaryPath(), m_path);
  m_has_name = true;
}

TruthFile::TruthFile(const std::string& out_base) : m_file(out_base + ".truth.tsv", "truth") {
  m_file.File().Write(kTruthHeader);
}

void TruthFile::Write(std::span<const TruthRow> rows) {
  m_text.clear();
  for (const TruthRow& row : rows) AppendTruthText(m_text, row);
  m_file.File().Write(m_text);
}

void TruthFile::CompleteWith(std::initializer_list<UnfinishedFile*> scan_files) {
  for (UnfinishedFile* file : scan_files) file->File().Close();
  m_file.File().Close();
  RemoveFile(m_file.Path());
  for (UnfinishedFile* file : scan_files) file->TakeName();
  m_file.TakeName();
}

void AppendExactReal(std::string& text, double value) {
  char digits[32];
  text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

}  // namespace tarvek::tools
