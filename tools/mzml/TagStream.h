// tools/mzml/TagStream.h: the bytes of an mzML file, tag by tag.
// Does:     gives each tag with the text before it, so that both together are the file, byte for
//           byte; checks that elements are closed in order and that the file ends after the root.
// Owns:     the open file and its current block.
// Throws:   a std::string naming the file: what ByteSource throws, or PATH + ": byte N: ..." for XML
//           that is not well-formed or of a kind that instrument files do not have (a document type,
//           CDATA).
// Not here: what happens with the tags (mzml/Copy.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ByteSource.h"

namespace tarvek::tools {

/// A start or end tag. It borrows from the text that it is in.
class Tag {
 public:
  Tag() = default;
  explicit Tag(std::string_view text);

  [[nodiscard]] std::string_view Text() const noexcept { return m_text; }
  [[nodiscard]] std::string_view Name() const noexcept { return m_name; }
  [[nodiscard]] bool IsEnd() const noexcept { return m_text.starts_with("</"); }
  [[nodiscard]] bool IsEmpty() const noexcept { return m_text.ends_with("/>"); }
  [[nodiscard]] bool Starts(std::string_view name) const noexcept {
    return !IsEnd() && m_name == name;
  }
  [[nodiscard]] bool Ends(std::string_view name) const noexcept {
    return IsEnd() && m_name == name;
  }

  /// The value as written between its quotes; std::nullopt without the attribute.
  [[nodiscard]] std::optional<std::string_view> Attribute(std::string_view name) const;

 private:
  std::string_view m_text;
  std::string_view m_name;
};

/// value with the five entities of XML replaced, the only references that an id may have.
std::string Unescaped(std::string_view value);

/// The text of tag with another value, which needs no escaping; unchanged without the attribute.
std::string WithAttribute(const Tag& tag, std::string_view name, std::string_view value);

/// Finds the tags of XML that is in memory, comments left out.
class TagFinder {
 public:
  explicit TagFinder(std::string_view xml) : m_xml(xml) {}

  /// The next tag; false after the last one.
  bool Next();

  [[nodiscard]] const Tag& Present() const noexcept { return m_tag; }
  [[nodiscard]] std::size_t Begin() const noexcept { return m_begin; }
  [[nodiscard]] std::size_t End() const noexcept { return m_end; }

 private:
  std::string_view m_xml;
  Tag m_tag;
  std::size_t m_begin = 0;
  std::size_t m_end = 0;
};

class TagStream {
 public:
  explicit TagStream(const std::string& path);

  /// Moves to the next tag; false at the end of the file, which must come after the root.
  bool Next();

  /// What is between the previous tag and this one: text, comments, processing instructions. After
  /// the last tag, the rest of the file. Valid until the next call, like the tag.
  [[nodiscard]] std::string_view Before() const noexcept {
    return std::string_view(m_buffer).substr(m_start, m_tag_begin - m_start);
  }
  [[nodiscard]] const Tag& Present() const noexcept { return m_tag; }

  /// Throws with the place of the current tag.
  [[noreturn]] void Fail(const std::string& what) const;

 private:
  std::size_t Find(std::string_view text, std::size_t from, const char* what);
  std::size_t FindTagEnd(std::size_t from);
  bool FindTagBegin(std::size_t& at);
  void PassMarkup(std::size_t& at);
  bool HasBytes(std::size_t end);
  bool ReadMore();
  void ForgetTaken();
  void FollowElement();

  std::string m_path;
  extractor::ByteSource m_source;
  std::string m_buffer;
  std::int64_t m_buffer_at = 0;  // byte of the file
  std::size_t m_start = 0;       // of Before
  std::size_t m_tag_begin = 0;
  std::size_t m_tag_end = 0;
  Tag m_tag;
  std::vector<std::string> m_open;
  bool m_has_root = false;
};

}  // namespace tarvek::tools
