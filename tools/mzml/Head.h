// tools/mzml/Head.h: the part of an mzML file before its first spectrum.
// Does:     makes it that of an indexed file, names tarvek in it, and counts the spectra.
// Owns:     its text.
// Throws:   the constructor a std::string without place when the text is not such a head.
// Not here: the rest of the file (mzml/Copy.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarvek::tools {

class MzmlHead {
 public:
  /// head: of the input, up to and including the start tag of spectrumList. has_room: leaves room
  /// for a longer number of spectra.
  MzmlHead(std::string_view head, bool has_room);

  /// The number of spectra that the input declares.
  [[nodiscard]] std::int64_t DeclaredCount() const noexcept { return m_declared; }

  [[nodiscard]] const std::string& Text() const noexcept { return m_text; }

  /// Replaces the number of spectra; the text keeps its length. False when there is no room.
  bool SetCount(std::int64_t count);

 private:
  std::string m_text;
  std::int64_t m_declared = 0;
  std::size_t m_count_begin = 0;  // digits, quote and the blanks after it
  std::size_t m_count_size = 0;
};

}  // namespace tarvek::tools
