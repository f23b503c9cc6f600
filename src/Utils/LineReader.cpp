#include "LineReader.h"

#include <algorithm>
#include <cstring>

namespace tarvek {
namespace {

constexpr std::size_t kBlockBytes = std::size_t{1} << 18;
constexpr std::size_t kMaxPiece = kMaxLineLength - 1;

}  // namespace

bool LineReader::ReadPiece(std::string_view& piece) {
  while (true) {
    const std::size_t available = m_end - m_begin;
    const std::size_t searched = std::min(available, kMaxPiece);
    const char* const start = m_block.data() + m_begin;
    const void* const line_feed = searched == 0 ? nullptr : std::memchr(start, '\n', searched);
    if (line_feed != nullptr) {
      piece = Take(static_cast<std::size_t>(static_cast<const char*>(line_feed) - start) + 1);
      return true;
    }
    if (available >= kMaxPiece || (m_at_end && available > 0)) {
      piece = Take(searched);
      return true;
    }
    if (m_at_end || !Refill()) {
      if (m_end == m_begin) return false;
    }
  }
}

// Moves the unread rest to the front and reads behind it; false when nothing more came.
bool LineReader::Refill() {
  m_block.resize(kBlockBytes);
  std::copy(m_block.begin() + static_cast<std::ptrdiff_t>(m_begin),
            m_block.begin() + static_cast<std::ptrdiff_t>(m_end), m_block.begin());
  m_end -= m_begin;
  m_begin = 0;
  const std::size_t count = m_file->Read(m_block.data() + m_end, m_block.size() - m_end);
  m_end += count;
  m_read_bytes += static_cast<std::int64_t>(count);
  m_at_end = count == 0;
  m_block_has_nul = m_end > 0 && std::memchr(m_block.data(), '\0', m_end) != nullptr;
  return count != 0;
}

std::string_view LineReader::Take(std::size_t size) {
  std::string_view piece(m_block.data() + m_begin, size);
  m_begin += size;
  if (m_block_has_nul) piece = piece.substr(0, piece.find('\0'));
  return piece;
}

}  // namespace tarvek
