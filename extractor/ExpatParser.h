// extractor/ExpatParser.h: XML by expat.
// Does:     hands elements and text to a handler as the bytes come, from the start of a file or from
//           a place inside it.
// Owns:     the parser; borrows the handler as long as it lives.
// Throws:   std::string "PATH: line L, byte B: ...", as a TruncatedFile (ByteSource.h) when the file
//           ends too early; what the handler throws, a std::string with path and place before it.
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

  /// For the bytes of a file from start on. opening: XML that opens what is open there; the handler
  /// learns nothing of it.
  ExpatParser(const std::string& path, XmlHandler& handler, const XmlPlace& start,
              std::string_view opening);

  ~ExpatParser();
  ExpatParser(const ExpatParser&) = delete;
  ExpatParser& operator=(const ExpatParser&) = delete;

  /// The next bytes of the file; is_last: nothing follows them.
  void Parse(std::string_view bytes, bool is_last);

 private:
  class Implementation;
  std::unique_ptr<Implementation> m_implementation;
};

}  // namespace tarvek::extractor
