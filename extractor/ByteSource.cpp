#include "ByteSource.h"

#include <algorithm>
#include <cstring>

#include "FileUtils.h"

namespace tarvek::extractor {
namespace {

constexpr std::size_t kBlockBytes = std::size_t{1} << 18;
constexpr std::string_view kGzipMagic = "\x1f\x8b";

}  // namespace

ByteSource::ByteSource(const std::string& path)
    : m_path(path),
      m_file(OpenFile(path, "rb", "instrument")),
      m_stored_bytes(m_file.SizeBytes()),
      m_block(kBlockBytes) {
  Refill();
  if (m_ahead.starts_with(kGzipMagic)) m_inflater.emplace(StreamKind::kGzip);
}

bool ByteSource::Refill() {
  const std::size_t size = m_file.Read(m_block.data(), m_block.size());
  m_stored_bytes_read += static_cast<std::int64_t>(size);
  m_ahead = {m_block.data(), size};
  return size > 0;
}

std::size_t ByteSource::Read(char* bytes, std::size_t size) {
  if (m_inflater) return ReadInflated(bytes, size);
  if (m_ahead.empty() && !Refill()) return 0;
  const std::size_t taken = std::min(size, m_ahead.size());
  std::memcpy(bytes, m_ahead.data(), taken);
  m_ahead.remove_prefix(taken);
  return taken;
}

std::size_t ByteSource::ReadInflated(char* bytes, std::size_t size) {
  while (!m_at_end) {
    if (m_ahead.empty() && !Refill())
      throw TruncatedFile(m_path + ": the compressed file is truncated; nothing was extracted");
    std::size_t written = size;
    const auto status = m_inflater->InflateSome(m_ahead, bytes, written);
    if (status == Inflater::Status::kDamaged)
      throw m_path + ": the compressed file is damaged; nothing was extracted";
    if (status == Inflater::Status::kStreamEnd) StartNextMember();
    if (written > 0) return written;
  }
  return 0;
}

// A gzip file may hold several members one after the other; anything else behind one is padding.
void ByteSource::StartNextMember() {
  if (m_ahead.empty()) Refill();
  m_at_end = m_ahead.empty() || m_ahead.front() != kGzipMagic.front();
  m_inflater->Restart();
}

}  // namespace tarvek::extractor
