// extractor/XmlHandler.h: the receiver of an XML file's elements, and their attributes.
// Does:     declares the calls that a reader of XML makes.
// Throws:   Get nothing; a handler may throw anything.
// Not here: reading (XmlStream.h), the meaning of elements (XmlReaders.h).
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace tarvek::extractor {

struct XmlAttribute {
  std::string_view m_name;
  std::string_view m_value;
};

/// The attributes of one element, in file order, each name once; borrowed from the reader for one
/// call.
class XmlAttributes {
 public:
  explicit XmlAttributes(std::span<const XmlAttribute> all) : m_all(all) {}

  /// The value of an attribute; empty when the element does not have it.
  [[nodiscard]] std::string_view Get(std::string_view name) const {
    for (const XmlAttribute& one : m_all)
      if (one.m_name == name) return one.m_value;
    return {};
  }

  [[nodiscard]] std::span<const XmlAttribute> All() const { return m_all; }

 private:
  std::span<const XmlAttribute> m_all;
};

class XmlHandler {
 public:
  virtual ~XmlHandler() = default;
  /// Before all else: the size of the file as it is stored, 0 when it has none, as a pipe.
  virtual void OnStoredBytes(std::int64_t) {}
  virtual void OnStart(std::string_view name, const XmlAttributes& attributes) = 0;
  virtual void OnEnd(std::string_view name) = 0;
  /// A piece of the text of the current element. A text may come in any number of pieces.
  virtual void OnText(std::string_view text) = 0;
};

}  // namespace tarvek::extractor
