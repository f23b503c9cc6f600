// extractor/XmlStream.h: an XML file read in one pass.
// Does:     hands elements and text to a handler as they come; the file must be well-formed to its
//           end, so a truncated one is an error. What instrument files are made of is read by the
//           scanner (XmlScanner.h); the first thing that is not for it, and all behind that, by expat.
// Owns:     the parsers; borrows the handler for one call.
// Throws:   std::string "PATH: line L, byte B: ...", as a TruncatedFile (ByteSource.h) when the file
//           ends too early; what the handler throws, a std::string with path and place before it: the
//           end of the tag, or of the piece of text, that the handler was called for; what ByteSource
//           throws.
// Not here: what the elements mean (XmlReaders.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "XmlHandler.h"

namespace tarvek::extractor {

/// How far a file was read, in bytes of the file as it is stored.
struct ReadingState {
  std::int64_t m_bytes = 0;
  std::int64_t m_bytes_read = 0;
  bool m_is_by_expat = false;  // now and to the end
};

/// Which parser reads, and in which blocks; for tests, which compare the two.
struct XmlReading {
  bool m_by_expat_alone = false;
  std::size_t m_block_bytes = std::size_t{1} << 16;
};

/// Reads a plain or gzip file. on_block: called after every block; it may throw to stop.
void ReadXmlFile(const std::string& path, XmlHandler& handler,
                 const std::function<void(const ReadingState&)>& on_block,
                 const XmlReading& reading = {});

}  // namespace tarvek::extractor
