// extractor/XmlPlace.h: a place in an XML file, for messages.
// Does:     counts bytes and lines as they pass; a line ends with LF, CR or CR LF.
// Throws:   nothing.
// Not here: which place a message names (XmlScanner.h, ExpatParser.h).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tarvek::extractor {

/// The parsers reject tokens longer than this, which would take them minutes; no instrument file
/// has any.
inline constexpr std::size_t kMaxXmlTokenBytes = std::size_t{8} << 20;
inline constexpr const char* kHugeXmlToken = "a tag or comment of more than 8 MB, which cannot be";

class XmlPlace {
 public:
  /// Moves past bytes.
  void Pass(std::string_view bytes);

  /// "line L, byte B: "; lines are counted from 1 and bytes from 0.
  [[nodiscard]] std::string Text() const;

  std::int64_t m_byte = 0;
  std::int64_t m_line = 1;

 private:
  bool m_is_behind_cr = false;
};

}  // namespace tarvek::extractor
