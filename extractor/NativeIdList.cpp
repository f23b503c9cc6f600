#include "NativeIdList.h"

#include "FileUtils.h"
#include "NativeId.h"
#include "NumberText.h"

namespace tarvek::extractor {

void NativeIdList::Add(std::int32_t scan_no, std::string_view native_id) {
  if (!m_takes_all && ScanNumberOf(native_id) == scan_no) return;
  if (!m_file) {
    m_file.emplace(m_path, "output", UnfinishedForm{.m_is_locked = true});
    m_file->File().Write("scan\tnativeID\n");
  }
  std::string line;
  AppendInteger(line, scan_no);
  line.append("\t").append(native_id) += '\n';
  m_file->File().Write(line);
}

void NativeIdList::Close() {
  if (m_file) m_file->Close();
}

void NativeIdList::Commit() {
  if (m_file)
    m_file->TakeName();
  else
    RemoveFile(m_path);
}

}  // namespace tarvek::extractor
