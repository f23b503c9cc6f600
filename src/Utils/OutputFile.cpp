#include "OutputFile.h"

#include "FileUtils.h"

namespace tarvek {
namespace {

// Large enough to hide the cost of a system call, small enough for a dozen open files.
constexpr std::size_t kFlushBytes = std::size_t{1} << 18;

}  // namespace

OutputFile::OutputFile(const std::string& path, std::string_view mode, const std::string& kind)
    : m_path(path), m_file(OpenFile(path, mode, kind)) {}

OutputFile::~OutputFile() {
  if (m_file.IsOpen()) static_cast<void>(m_file.Write(m_buffer));
}

void OutputFile::Write(std::string_view bytes) {
  if (bytes.size() < kFlushBytes) {
    m_buffer.append(bytes);
    if (m_buffer.size() >= kFlushBytes) Flush();
    return;
  }
  Flush();
  WriteThrough(bytes);
}

void OutputFile::WriteThrough(std::string_view bytes) {
  if (!m_file.Write(bytes)) Fail();
  m_flushed_bytes += static_cast<std::int64_t>(bytes.size());
}

void OutputFile::Flush() {
  WriteThrough(m_buffer);
  m_buffer.clear();
}

void OutputFile::OverwriteStart(std::string_view bytes) {
  Flush();
  RewindFile(m_path, m_file);
  if (!m_file.Write(bytes)) Fail();
}

void OutputFile::Sync() {
  Flush();
  if (!m_file.Sync()) Fail();
}

void OutputFile::Close() {
  if (!m_file.IsOpen()) return;
  Flush();
  if (!m_file.Close()) Fail();
}

void OutputFile::Fail() const { throw "Cannot write " + m_path; }

}  // namespace tarvek
