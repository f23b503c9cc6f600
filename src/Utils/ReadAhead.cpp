#include "ReadAhead.h"

#include <algorithm>
#include <cstring>

namespace tarvek {
namespace {

constexpr std::size_t kBlockBytes = std::size_t{1} << 18;

}  // namespace

// Moves the rest of the block to its front so that the view stays contiguous.
bool ReadAhead::Refill() {
  const std::size_t rest = m_end - m_begin;
  if (rest != 0 && m_begin != 0) std::memmove(m_block.data(), m_block.data() + m_begin, rest);
  m_begin = 0;
  m_end = rest;
  if (m_block.size() < kBlockBytes + rest) m_block.resize(kBlockBytes + rest);
  const std::size_t count = m_file->Read(m_block.data() + m_end, m_block.size() - m_end);
  m_end += count;
  m_read_bytes += static_cast<std::int64_t>(count);
  return count != 0;
}

std::string_view ReadAhead::Take(std::size_t size) {
  while (View().size() < size && Refill()) {
  }
  const std::string_view taken = View().substr(0, size);
  Consume(taken.size());
  return taken;
}

bool ReadAhead::Skip(std::int64_t size) {
  const std::int64_t behind_view = size - static_cast<std::int64_t>(m_end - m_begin);
  if (behind_view <= 0) {
    Consume(static_cast<std::size_t>(size));
    return true;
  }
  m_begin = m_end = 0;
  m_read_bytes += behind_view;
  return m_file->Seek(m_read_bytes);
}

}  // namespace tarvek
