#include "HeaderRepair.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

namespace tarvek::extractor {
namespace {

constexpr std::string_view kSpace = " \t\r\n";

bool IsSpace(char c) { return kSpace.find(c) != std::string_view::npos; }

/// Walks through one start tag, from the end of its name.
class TagWalker {
 public:
  explicit TagWalker(std::span<char> block, std::size_t at) : m_block(block), m_at(at) {}

  /// The end of the tag, after its '>'; the end of the block when it is cut off or not a tag.
  std::size_t BlankRepeated() {
    std::vector<std::string_view> names;
    while (SkipSpace() && m_block[m_at] != '>' && m_block[m_at] != '/') {
      const std::size_t begin = m_at;
      const std::string_view name = TakeName();
      if (name.empty() || !SkipValue()) return m_block.size();
      if (std::ranges::find(names, name) == names.end())
        names.push_back(name);
      else
        Blank(begin);
    }
    const auto close =
        std::find(m_block.begin() + static_cast<std::ptrdiff_t>(m_at), m_block.end(), '>');
    return static_cast<std::size_t>(close - m_block.begin()) + (close == m_block.end() ? 0 : 1);
  }

 private:
  bool SkipSpace() {
    while (m_at < m_block.size() && IsSpace(m_block[m_at])) ++m_at;
    return m_at < m_block.size();
  }

  std::string_view TakeName() {
    const std::size_t begin = m_at;
    while (m_at < m_block.size() && !IsSpace(m_block[m_at]) && m_block[m_at] != '=' &&
           m_block[m_at] != '>')
      ++m_at;
    return {m_block.data() + begin, m_at - begin};
  }

  // False when the value is cut off or missing.
  bool SkipValue() {
    if (!SkipSpace() || m_block[m_at] != '=') return false;
    ++m_at;
    if (!SkipSpace() || (m_block[m_at] != '"' && m_block[m_at] != '\'')) return false;
    const char quote = m_block[m_at++];
    while (m_at < m_block.size() && m_block[m_at] != quote) ++m_at;
    if (m_at == m_block.size()) return false;
    ++m_at;
    return true;
  }

  // Keeps line ends, and so the line numbers.
  void Blank(std::size_t begin) {
    for (std::size_t i = begin; i < m_at; ++i)
      if (!IsSpace(m_block[i])) m_block[i] = ' ';
  }

  std::span<char> m_block;
  std::size_t m_at;
};

bool StartsName(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':';
}

// The end of a comment or piece of character data, in which '<' begins no tag; 0 when at is
// neither.
std::size_t BehindText(std::string_view text, std::size_t at) {
  constexpr std::string_view kPairs[][2] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}};
  for (const auto& [opening, closing] : kPairs) {
    if (!text.substr(at).starts_with(opening)) continue;
    const std::size_t end = text.find(closing, at + opening.size());
    return end == std::string_view::npos ? text.size() : end + closing.size();
  }
  return 0;
}

}  // namespace

void BlankRepeatedAttributes(std::span<char> block) {
  const std::string_view text(block.data(), block.size());
  for (std::size_t at = text.find('<'); at < text.size(); at = text.find('<', at)) {
    if (const std::size_t behind = BehindText(text, at); behind > 0) {
      at = behind;
      continue;
    }
    ++at;
    if (at == text.size() || !StartsName(text[at])) continue;
    at = std::min(text.find_first_of(" \t\r\n/>", at), text.size());
    at = TagWalker(block, at).BlankRepeated();
  }
}

}  // namespace tarvek::extractor
