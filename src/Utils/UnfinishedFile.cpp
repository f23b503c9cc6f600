#include "UnfinishedFile.h"

#include <utility>

#include "FileUtils.h"

namespace tarvek {

UnfinishedFile::UnfinishedFile(std::string path, const std::string& kind,
                               const UnfinishedForm& form)
    : m_path(std::move(path)),
      m_naming(form.m_naming),
      m_lock(form.m_is_locked ? LockFile(TemporaryPath()) : FileLock()),
      m_file(std::in_place, TemporaryPath(), form.m_mode, kind),
      m_is_kept(form.m_is_kept || form.m_naming == Naming::kAtOnce) {}

UnfinishedFile::~UnfinishedFile() {
  m_file.reset();
  if (!m_is_kept) static_cast<void>(DeleteFileAt(TemporaryPath()));
}

void UnfinishedFile::Close() {
  if (!m_file) return;
  m_file->Close();
  m_file.reset();
}

void UnfinishedFile::TakeName() {
  Close();
  if (m_naming == Naming::kWhenComplete) RenameFile(TemporaryPath(), m_path);
  m_is_kept = true;
}

void WriteWhole(const std::string& path, std::string_view content, const std::string& kind) {
  UnfinishedFile file(path, kind);
  file.File().Write(content);
  file.TakeName();
}

}  // namespace tarvek
