#include "mzml/TagStream.h"

#include <algorithm>
#include <array>
#include <utility>

#include "StringUtils.h"

namespace tarvek::tools {
namespace {

constexpr std::size_t kBlockBytes = std::size_t{1} << 18;

// No instrument file has as much; all three keep the memory small whatever a packed file inflates to.
constexpr std::size_t kLargestTagBytes = std::size_t{1} << 20;
constexpr std::size_t kLargestTextBytes = std::size_t{32} << 20;  // between two tags
constexpr std::size_t kMostOpenElements = 256;
constexpr std::string_view kNameEnds = " \t\r\n/>";

/// The value of an attribute and its place in the text of the tag.
struct PlacedValue {
  std::size_t m_begin = 0;
  std::size_t m_size = 0;
};

/// The place of an attribute's value; std::nullopt without the attribute.
std::optional<PlacedValue> FindValue(std::string_view tag, std::string_view name) {
  std::size_t at = tag.find_first_of(kNameEnds);
  while (at != std::string_view::npos) {
    at = tag.find_first_not_of(kBlanks, at);
    if (at == std::string_view::npos || tag[at] == '/' || tag[at] == '>') return std::nullopt;
    const std::size_t equals = tag.find('=', at);
    const std::size_t quote = tag.find_first_of("\"'", at);
    if (equals == std::string_view::npos || quote == std::string_view::npos || quote < equals)
      return std::nullopt;
    const std::size_t end = tag.find(tag[quote], quote + 1);
    if (end == std::string_view::npos) return std::nullopt;
    if (Trim(tag.substr(at, equals - at)) == name) return PlacedValue{quote + 1, end - quote - 1};
    at = end + 1;
  }
  return std::nullopt;
}

/// The place after the tag that begins at from; npos when the text ends inside it.
std::size_t TagEnd(std::string_view text, std::size_t from) {
  std::size_t at = from;
  while ((at = text.find_first_of("\"'>", at)) != std::string_view::npos) {
    if (text[at] == '>') return at + 1;
    at = text.find(text[at], at + 1);
    if (at == std::string_view::npos) break;
    ++at;
  }
  return std::string_view::npos;
}

}  // namespace

Tag::Tag(std::string_view text) : m_text(text) {
  const std::size_t begin = IsEnd() ? 2 : 1;
  m_name = text.substr(begin, text.find_first_of(kNameEnds, begin) - begin);
}

std::optional<std::string_view> Tag::Attribute(std::string_view name) const {
  const auto value = FindValue(m_text, name);
  if (!value) return std::nullopt;
  return m_text.substr(value->m_begin, value->m_size);
}

std::string Unescaped(std::string_view value) {
  constexpr std::array<std::pair<std::string_view, char>, 5> kEntities = {
      {{"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}, {"&quot;", '"'}, {"&apos;", '\''}}};
  std::string text;
  while (!value.empty()) {
    const auto entity = std::ranges::find_if(
        kEntities, [&](const auto& known) { return value.starts_with(known.first); });
    const bool is_entity = entity != kEntities.end();
    text += is_entity ? entity->second : value.front();
    value.remove_prefix(is_entity ? entity->first.size() : 1);
  }
  return text;
}

std::string WithAttribute(const Tag& tag, std::string_view name, std::string_view value) {
  std::string text(tag.Text());
  if (const auto place = FindValue(text, name)) text.replace(place->m_begin, place->m_size, value);
  return text;
}

bool TagFinder::Next() {
  while (true) {
    m_begin = m_xml.find('<', m_end);
    if (m_begin == std::string_view::npos) return false;
    const bool is_comment = m_xml.substr(m_begin).starts_with("<!--");
    const bool is_instruction = m_xml.substr(m_begin).starts_with("<?");
    if (!is_comment && !is_instruction) break;
    const std::string_view end = is_comment ? "-->" : "?>";
    const std::size_t at = m_xml.find(end, m_begin + (is_comment ? 4 : 2));
    if (at == std::string_view::npos) return false;
    m_end = at + end.size();
  }
  const std::size_t end = TagEnd(m_xml, m_begin);
  if (end == std::string_view::npos) return false;
  m_end = end;
  m_tag = Tag(m_xml.substr(m_begin, m_end - m_begin));
  return true;
}

TagStream::TagStream(const std::string& path) : m_path(path), m_source(path) {}

void TagStream::Fail(const std::string& what) const {
  throw m_path + ": byte " + std::to_string(m_buffer_at + static_cast<std::int64_t>(m_tag_begin)) +
      ": " + what;
}

bool TagStream::ReadMore() {
  const std::size_t size = m_buffer.size();
  if (size - m_start > kLargestTextBytes) Fail("more than 32 MB between two tags");
  m_buffer.resize(size + kBlockBytes);
  const std::size_t read = m_source.Read(m_buffer.data() + size, kBlockBytes);
  m_buffer.resize(size + read);
  return read > 0;
}

bool TagStream::HasBytes(std::size_t end) {
  while (m_buffer.size() < end)
    if (!ReadMore()) return false;
  return true;
}

// The place after the next occurrence of text, which must exist.
std::size_t TagStream::Find(std::string_view text, std::size_t from, const char* what) {
  while (true) {
    const std::size_t at = m_buffer.find(text, from);
    if (at != std::string::npos) return at + text.size();
    const std::size_t rest = std::min(m_buffer.size() - from, text.size() - 1);
    from = m_buffer.size() - rest;
    if (!ReadMore()) Fail(what);
  }
}

std::size_t TagStream::FindTagEnd(std::size_t from) {
  while (true) {
    const std::size_t end = TagEnd(m_buffer, from);
    if (end != std::string::npos) return end;
    if (m_buffer.size() - from > kLargestTagBytes) Fail("a tag of more than 1 MB");
    if (!ReadMore()) Fail("the file ends inside a tag");
  }
}

// Skips a comment or a processing instruction: at moves past it.
void TagStream::PassMarkup(std::size_t& at) {
  constexpr std::size_t kStartOfComment = 4;
  static_cast<void>(HasBytes(at + kStartOfComment));
  if (m_buffer.compare(at, 4, "<!--") == 0)
    at = Find("-->", at + 4, "the file ends inside a comment");
  else if (m_buffer.compare(at, 2, "<?") == 0)
    at = Find("?>", at + 2, "the file ends inside a processing instruction");
  else
    Fail("a document type or CDATA, which no instrument file has");
}

// Moves at to the next tag; false at the end of the file.
bool TagStream::FindTagBegin(std::size_t& at) {
  while (true) {
    const std::size_t found = m_buffer.find('<', at);
    if (found == std::string::npos) {
      at = m_buffer.size();
      if (!ReadMore()) return false;
      continue;
    }
    at = found;
    m_tag_begin = at;
    if (!HasBytes(at + 2)) Fail("the file ends inside a tag");
    if (m_buffer[at + 1] != '!' && m_buffer[at + 1] != '?') return true;
    PassMarkup(at);
  }
}

// Drops a whole block at once, since what is left is moved to the front.
void TagStream::ForgetTaken() {
  m_start = m_tag_end;
  if (m_start < kBlockBytes) return;
  m_buffer.erase(0, m_start);
  m_buffer_at += static_cast<std::int64_t>(m_start);
  m_start = m_tag_begin = m_tag_end = 0;
}

bool TagStream::Next() {
  m_tag = Tag();
  ForgetTaken();
  std::size_t at = m_start;
  if (!FindTagBegin(at)) {
    m_tag_begin = m_tag_end = m_buffer.size();
    if (!m_has_root || !m_open.empty()) Fail("the file ends before its root element does");
    return false;
  }
  m_tag_begin = at;
  m_tag_end = FindTagEnd(at);
  m_tag = Tag(std::string_view(m_buffer).substr(at, m_tag_end - at));
  FollowElement();
  return true;
}

void TagStream::FollowElement() {
  if (m_tag.IsEnd()) {
    if (m_open.empty() || m_open.back() != m_tag.Name())
      Fail("</" + std::string(m_tag.Name()) + "> closes no open element");
    m_open.pop_back();
    return;
  }
  if (m_open.empty() && std::exchange(m_has_root, true)) Fail("a second root element");
  if (m_open.size() >= kMostOpenElements) Fail("elements are nested too deep");
  if (!m_tag.IsEmpty()) m_open.emplace_back(m_tag.Name());
}

}  // namespace tarvek::tools
