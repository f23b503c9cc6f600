// extractor/XmlStream.h: an XML file read in one pass.
// Does:     hands elements and text to a handler as they come; the file must be well-formed to its
//           end, so a truncated one is an error.
// Owns:     the parser; borrows the handler for one call.
// Throws:   std::string "PATH: line L, byte B: ...", as a TruncatedFile (ByteSource.h) when the file
//           ends too early; what the handler throws; what ByteSource throws.
// Not here: what the elements mean (XmlReaders.h).
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace tarvek::extractor {

/// The attributes of one element; values borrow from the parser for one call.
class XmlAttributes {
 public:
  explicit XmlAttributes(const char** pairs) : m_pairs(pairs) {}

  /// The value of an attribute; empty when there is none.
  [[nodiscard]] std::string_view Get(std::string_view name) const;

  /// Name and value of each attribute until a null name; as expat gives them.
  [[nodiscard]] const char** Pairs() const { return m_pairs; }

 private:
  const char** m_pairs;
};

class XmlHandler {
 public:
  virtual ~XmlHandler() = default;
  virtual void OnStart(std::string_view name, const XmlAttributes& attributes) = 0;
  virtual void OnEnd(std::string_view name) = 0;
  /// A piece of the text of the present element.
  virtual void OnText(std::string_view text) = 0;
};

/// How far a file was read, in bytes of the file as it is stored.
struct ReadingState {
  std::int64_t m_bytes = 0;
  std::int64_t m_bytes_read = 0;
};

/// Reads a plain or gzip file. on_block: called after every block; it may throw to stop.
void ReadXmlFile(const std::string& path, XmlHandler& handler,
                 const std::function<void(const ReadingState&)>& on_block);

}  // namespace tarvek::extractor
