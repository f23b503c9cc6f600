#include "StoredFile.h"

#include <algorithm>
#include <cstring>

#include "FileUtils.h"

namespace tarvek::extractor {
namespace {

constexpr std::size_t kBlockBytes = std::size_t{1} << 18;

// From this size on, the system reads directly into the caller's buffer.
constexpr std::size_t kLargeRead = std::size_t{1} << 15;

}  // namespace

StoredFile::StoredFile(const std::string& path)
    : m_path(path),
      m_file(OpenFile(path, "rb", "instrument")),
      m_size_bytes(m_file.SizeBytes()),
      m_block(kBlockBytes) {}

bool StoredFile::Refill() {
  const std::size_t into_block = static_cast<std::size_t>(m_bytes_read) % kBlockBytes;
  const std::size_t size = m_file.Read(m_block.data(), kBlockBytes - into_block);
  m_bytes_read += static_cast<std::int64_t>(size);
  m_ahead = {m_block.data(), size};
  return size > 0;
}

std::size_t StoredFile::Read(char* bytes, std::size_t size) {
  if (m_ahead.empty() && size >= kLargeRead) {
    const std::size_t count = m_file.Read(bytes, size);
    m_bytes_read += static_cast<std::int64_t>(count);
    return count;
  }
  if (m_ahead.empty() && !Refill()) return 0;
  const std::size_t taken = std::min(size, m_ahead.size());
  std::memcpy(bytes, m_ahead.data(), taken);
  Take(taken);
  return taken;
}

bool StoredFile::Seek(std::int64_t offset_bytes) {
  if (!m_file.Seek(offset_bytes)) return false;
  m_bytes_read = offset_bytes;
  m_ahead = {};
  return true;
}

}  // namespace tarvek::extractor
