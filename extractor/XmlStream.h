// extractor/XmlStream.h: an XML file read in one pass.
// Does:     passes elements and text to a handler as they come; the file must be well-formed to its
//           end, so a truncated one is an error. The scanner (XmlScanner.h) reads the XML that
//           instrument files normally contain; from the first thing that it cannot handle, expat
//           reads the rest.
// Owns:     the parsers; borrows the handler for one call.
// Throws:   std::string "PATH: line L, byte B: ...", as a TruncatedFile (ByteSource.h) when the
//           file ends too early; what the handler throws; path and place (the end of the tag or
//           piece of text that it was called for) go before its message when that is a std::string;
//           what ByteSource throws.
// Not here: the meaning of elements (XmlReaders.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "XmlHandler.h"

namespace tarvek::extractor {

/// How far a file was read, in stored bytes.
struct ReadingState {
  std::int64_t m_bytes = 0;
  std::int64_t m_bytes_read = 0;
  bool m_is_by_expat = false;  // from now on to the end
};

/// Which parser reads, in blocks of which size; for tests that compare the two.
struct XmlReading {
  bool m_by_expat_alone = false;
  std::size_t m_block_bytes = std::size_t{1} << 16;
};

/// Reads a plain or gzip file. on_block: called after every block; it may throw to stop.
void ReadXmlFile(const std::string& path, XmlHandler& handler,
                 const std::function<void(const ReadingState&)>& on_block,
                 const XmlReading& reading = {});

}  // namespace tarvek::extractor
