// tools/mzml/Head.h: what an mzML file has before its first spectrum.
// Does:     makes it that of an indexed file, names tarvek in it, and counts the spectra.
// Owns:     its text.
// Throws:   the constructor a std::string without place when the head is none.
// Not here: the rest of the file (mzml/Copy.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarvek::tools {

class MzmlHead {
 public:
  /// head: of the input, up to and with the start tag of spectrumList. has_room: the number of
  /// spectra may become longer.
  MzmlHead(std::string_view head, bool has_room);

  /// The number that the input declares.
  [[nodiscard]] std::int64_t DeclaredCount() const noexcept { return m_declared; }

  [[nodiscard]] const std::string& Text() const noexcept { return m_text; }

  /// Writes another number of spectra in place of the present one; the text keeps its length. False
  /// when there is no room for it.
  bool SetCount(std::int64_t count);

 private:
  std::string m_text;
  std::int64_t m_declared = 0;
  std::size_t m_count_begin = 0;  // digits, quote and blanks behind it
  std::size_t m_count_size = 0;
};

}  // namespace tarvek::tools
