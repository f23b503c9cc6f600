// extractor/ByteBuffer.h: a buffer of bytes that are overwritten as a whole.
// Does:     gives room without filling it first, as a std::string would.
// Owns:     the bytes; keeps the largest room that it ever gave.
// Throws:   nothing but std::bad_alloc.
// Not here: growing while keeping the contents.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

namespace tarvek::extractor {

class ByteBuffer {
 public:
  /// Discards the contents and returns room for size bytes, which are not initialised.
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

  /// size: at most the size given to Prepare.
  void Shrink(std::size_t size) noexcept { m_size = size; }

  [[nodiscard]] std::string_view View() const noexcept { return {m_bytes.get(), m_size}; }

 private:
  std::unique_ptr<char[]> m_bytes;
  std::size_t m_room = 0;
  std::size_t m_size = 0;
};

}  // namespace tarvek::extractor
