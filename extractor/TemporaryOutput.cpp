#include "TemporaryOutput.h"

#include "FileUtils.h"
#include "UnfinishedFile.h"

namespace tarvek::extractor {

TemporaryOutput::TemporaryOutput(const std::string& path)
    : m_path(path), m_temporary_path(UnfinishedPathOf(path)), m_lock(LockFile(m_temporary_path)) {
  m_file.emplace(m_temporary_path, "wb", "output");
}

TemporaryOutput::~TemporaryOutput() {
  m_file.reset();
  if (!m_is_committed) static_cast<void>(DeleteFileAt(m_temporary_path));
}

void TemporaryOutput::Close() { m_file->Close(); }

void TemporaryOutput::Commit() {
  RenameFile(m_temporary_path, m_path);
  m_is_committed = true;
}

}  // namespace tarvek::extractor
