// extractor/StoredFile.h: the stored bytes of a file, before any inflating.
// Does:     reads them in blocks that begin at multiples of their size, or directly into the
//           caller's buffer.
// Owns:     the open file and a block of it.
// Throws:   std::string: OpenFile's message, File::Read's.
// Not here: unpacking (GzipStream.h, BgzfBlocks.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Platform.h"

namespace tarvek::extractor {

class StoredFile {
 public:
  explicit StoredFile(const std::string& path);

  [[nodiscard]] const std::string& Path() const noexcept { return m_path; }

  /// The bytes read and not taken; valid until the next Refill.
  [[nodiscard]] std::string_view Ahead() const noexcept { return m_ahead; }
  /// size: at most the size of Ahead().
  void Take(std::size_t size) noexcept { m_ahead.remove_prefix(size); }

  /// Reads the next block into Ahead(), which must be empty; false at the end.
  bool Refill();

  /// Reads up to size bytes and returns how many came; 0 only at the end.
  std::size_t Read(char* bytes, std::size_t size);

  /// Continues at an offset from the start; false when the file cannot, such as a pipe.
  [[nodiscard]] bool Seek(std::int64_t offset_bytes);

  /// 0 for a pipe.
  [[nodiscard]] std::int64_t SizeBytes() const noexcept { return m_size_bytes; }
  [[nodiscard]] std::int64_t BytesRead() const noexcept { return m_bytes_read; }
  /// Offset of the first byte of Ahead().
  [[nodiscard]] std::int64_t Offset() const noexcept {
    return m_bytes_read - static_cast<std::int64_t>(m_ahead.size());
  }

 private:
  std::string m_path;
  File m_file;
  std::int64_t m_size_bytes = 0;
  std::int64_t m_bytes_read = 0;
  std::vector<char> m_block;
  std::string_view m_ahead;  // into m_block
};

}  // namespace tarvek::extractor
