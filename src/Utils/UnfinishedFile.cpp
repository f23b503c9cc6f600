#include "UnfinishedFile.h"

#include <utility>

#include "FileUtils.h"

namespace tarvek {

UnfinishedFile::UnfinishedFile(std::string path, const std::string& kind,
                               const UnfinishedForm& form)
    : m_path(std::move(path)),
      m_naming(form.m_naming),
      m_lock(form.m_is_locked ? LockFile(ClearedTemporaryPath()) : FileLock()),
      m_file(std::in_place, ClearedTemporaryPath(), form.m_mode, kind),
      m_is_kept(form.m_is_kept || form.m_naming == Naming::kAtOnce) {
  // Where the system does not know its own file by its name, nothing can be told of it later.
  if (m_file->Identity() == IdentityAt(TemporaryPath())) m_identity = m_file->Identity();
}

UnfinishedFile::~UnfinishedFile() {
  m_file.reset();
  if (!m_is_kept) static_cast<void>(DeleteFileAt(TemporaryPath()));
}

std::string UnfinishedFile::ClearedTemporaryPath() const {
  std::string path = TemporaryPath();
  if (m_naming == Naming::kWhenComplete && IsNamedPipe(path)) RemoveFile(path);
  return path;
}

void UnfinishedFile::Close() {
  if (!m_file) return;
  m_file->Sync();
  CheckName();
  m_file->Close();
  m_file.reset();
}

void UnfinishedFile::CheckName() const {
  if (m_identity && IdentityAt(TemporaryPath()) != m_identity)
    throw "Cannot finish " + m_path + ": " + TemporaryPath() +
        " was removed or replaced while it was written.";
}

void UnfinishedFile::TakeName() {
  Close();
  if (m_naming == Naming::kWhenComplete) {
    CheckName();
    RenameFile(TemporaryPath(), m_path);
  }
  m_is_kept = true;
}

void WriteWhole(const std::string& path, std::string_view content, const std::string& kind) {
  UnfinishedFile file(path, kind);
  file.File().Write(content);
  file.TakeName();
}

}  // namespace tarvek
