// extractor/ExpatParser.h: parses XML with expat.
// Does:     passes elements and text to a handler as the bytes come, from the start of a file or
//           from a place inside it.
// Owns:     the parser; borrows the handler as long as it lives.
// Throws:   std::string "PATH: line L, byte B: ...", as a TruncatedFile (ByteSource.h) when the
//           file ends too early; what the handler throws; path and place go before its message when
//           that is a std::string.
// Not here: reading the file (XmlStream.h).
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "XmlHandler.h"
#include "XmlPlace.h"

namespace tarvek::extractor {

class ExpatParser {
 public:
  ExpatParser(const std::string& path, XmlHandler& handler);

  /// For the bytes of a file from start on. opening: XML that opens the elements open at start; the
  /// handler does not see it.
  ExpatParser(const std::string& path, XmlHandler& handler, const XmlPlace& start,
              std::string_view opening);

  ~ExpatParser();
  ExpatParser(const ExpatParser&) = delete;
  ExpatParser& operator=(const ExpatParser&) = delete;

  /// The next bytes of the file; is_last: they are its last.
  void Parse(std::string_view bytes, bool is_last);

 private:
  class Implementation;
  std::unique_ptr<Implementation> m_implementation;
};

}  // namespace tarvek::extractor
