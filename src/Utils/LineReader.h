// Utils/LineReader.h: lines of a text file, read in blocks.
// Does:     delivers what C's fgets would with a buffer of 1024 bytes: at most 1023 bytes a piece,
//           the line feed kept; a longer line comes in several pieces. A piece ends at a NUL byte.
// Owns:     the bytes read ahead; borrows the File, which must outlive it.
// Throws:   what File::Read throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "Platform.h"
#include "ReadAhead.h"

namespace tarvek {

/// A text line with its line feed and a terminator fits in this many bytes.
inline constexpr std::size_t kMaxLineLength = 1024;

class LineReader {
 public:
  explicit LineReader(File& file) : m_bytes(file) {}

  /// The next piece, valid until the next call; false at the end of the file.
  bool ReadPiece(std::string_view& piece);

  /// The bytes read from the file after the last piece; may be empty, or end inside a line. Skip
  /// whole lines that you take from them.
  [[nodiscard]] std::string_view Ahead() const noexcept { return m_bytes.View(); }
  void Skip(std::size_t size) noexcept { m_bytes.Consume(size); }

  /// Bytes delivered or skipped so far.
  [[nodiscard]] std::int64_t ConsumedBytes() const noexcept { return m_bytes.ConsumedBytes(); }

 private:
  void Refill();
  std::string_view Take(std::size_t size);

  ReadAhead m_bytes;
  bool m_at_end = false;
  bool m_has_nul = false;  // somewhere in the bytes read ahead
};

}  // namespace tarvek
