// Utils/ReadAhead.h: the bytes of a file, read in blocks and looked at in place.
// Does:     keeps the bytes that were read but not yet consumed contiguous.
// Owns:     its block; borrows the File, which must outlive it.
// Throws:   what File::Read throws.
// Not here: lines (LineReader.h), records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "Platform.h"

namespace tarvek {

class ReadAhead {
 public:
  explicit ReadAhead(File& file) : m_file(&file) {}

  /// The bytes read and not consumed, valid until the next Refill or Take.
  [[nodiscard]] std::string_view View() const noexcept {
    return {m_block.data() + m_begin, m_end - m_begin};
  }

  /// size is at most the size of View().
  void Consume(std::size_t size) noexcept { m_begin += size; }

  /// Reads more bytes at the end of the view; false at the end of the file.
  bool Refill();

  /// Consumes the next size bytes, fewer only at the end of the file; valid until the next Refill
  /// or Take.
  std::string_view Take(std::size_t size);

  /// Consumes the next size bytes without reading them all; the file must have them. False when the
  /// file cannot be repositioned. Works only for a file that was at its start when this object
  /// began to read.
  bool Skip(std::int64_t size);

  [[nodiscard]] std::int64_t ConsumedBytes() const noexcept {
    return m_read_bytes - static_cast<std::int64_t>(m_end - m_begin);
  }

 private:
  File* m_file;
  std::vector<char> m_block;
  std::size_t m_begin = 0;
  std::size_t m_end = 0;
  std::int64_t m_read_bytes = 0;
};

}  // namespace tarvek
