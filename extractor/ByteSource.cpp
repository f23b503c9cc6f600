#include "ByteSource.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "BgzfBlocks.h"
#include "ReadingLimits.h"
#include "Threads.h"

namespace tarvek::extractor {
namespace {

// The reader cannot keep up with more threads.
constexpr std::size_t kMostInflaters = 6;

}  // namespace

// A pipe is read in step with its reader, which may stop before the writer has more.
ByteSource::ByteSource(const std::string& path)
    : m_file(path), m_threads(m_file.SizeBytes() > 0 ? ThreadsAllowed() : 1) {
  m_file.Refill();
  if (!m_file.Ahead().starts_with(kGzipMagic)) return;
  if (m_file.SizeBytes() > 0 && BeginsBgzf(m_file.Ahead()))
    m_blocks.emplace(std::make_unique<BgzfBlocks>(m_file), std::min(m_threads - 1, kMostInflaters));
  else
    ReadMembers(GzipStream::Place::kFirstMember);
}

void ByteSource::ReadMembers(GzipStream::Place place) {
  if (m_threads > 1)
    m_blocks.emplace(std::make_unique<GzipBlocks>(m_file, place), 1);
  else
    m_stream.emplace(m_file, place);
}

std::int64_t ByteSource::StoredBytesRead() const noexcept {
  return m_blocks ? m_block.m_stored_bytes_read : m_file.BytesRead();
}

std::size_t ByteSource::Read(char* bytes, std::size_t size) {
  const std::size_t count = ReadSome(bytes, size);
  m_given_bytes += static_cast<std::int64_t>(count);
  if (m_given_bytes > std::max(kFreeUnpackedBytes, kMaxUnpackedRatio * StoredBytes()) &&
      StoredBytes() > 0)
    throw m_file.Path() + ": unpacks to more than " + std::to_string(kMaxUnpackedRatio) +
        " times its size, which no instrument file does";
  return count;
}

std::size_t ByteSource::ReadSome(char* bytes, std::size_t size) {
  while (m_blocks && m_ahead.empty())
    if (!NextBlock()) return 0;
  if (!m_ahead.empty()) {
    const std::size_t taken = std::min(size, m_ahead.size());
    std::memcpy(bytes, m_ahead.data(), taken);
    m_ahead.remove_prefix(taken);
    return taken;
  }
  return m_stream ? m_stream->Read(bytes, size) : m_file.Read(bytes, size);
}

// False at the end. After the last block of its kind, continues member by member.
bool ByteSource::NextBlock() {
  if (m_block.m_goes_on_at) {
    const std::int64_t offset_bytes = *m_block.m_goes_on_at;
    m_blocks.reset();
    m_block.m_goes_on_at.reset();
    if (!m_file.Seek(offset_bytes)) throw "Cannot read " + m_file.Path();
    ReadMembers(offset_bytes == 0 ? GzipStream::Place::kFirstMember
                                  : GzipStream::Place::kBehindMember);
    return true;
  }
  if (!m_blocks->Next(m_block)) return false;
  m_ahead = m_block.m_bytes.View();
  return true;
}

}  // namespace tarvek::extractor
