// extractor/ByteBuffer.h: bytes that are overwritten as a whole.
// Does:     gives room without first filling it, which a std::string would.
// Owns:     the bytes; keeps the largest room that it ever gave.
// Throws:   nothing but std::bad_alloc.
// Not here: growing with the content kept.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

namespace tarvek::extractor {

class ByteBuffer {
 public:
  /// Forgets the content. The size bytes at the result may be written; they have no values yet.
  char* Prepare(std::size_t size) {
    if (size > m_room || !m_bytes) {
      m_bytes.reset();  // never both at once
      m_room = m_size = 0;
      m_bytes = std::make_unique_for_overwrite<char[]>(size + 1);  // never null
      m_room = size;
    }
    m_size = size;
    return m_bytes.get();
  }

  /// size: at most that of Prepare.
  void Shrink(std::size_t size) noexcept { m_size = size; }

  [[nodiscard]] std::string_view View() const noexcept { return {m_bytes.get(), m_size}; }

 private:
  std::unique_ptr<char[]> m_bytes;
  std::size_t m_room = 0;
  std::size_t m_size = 0;
};

}  // namespace tarvek::extractor
