#include "ShownText.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "StringUtils.h"

namespace tarvek {
namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";

/// A character at the front of a text. m_code: of bytes that are no UTF-8, none.
struct Character {
  std::uint32_t m_code = kNone;
  std::size_t m_size = 1;
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;
};

std::size_t SizeOfLead(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  return lead >= 0xF0 && lead <= 0xF4 ? 4 : 0;
}

// text is not empty.
Character FirstCharacter(std::string_view text) {
  constexpr std::uint32_t kLowest[] = {0, 0, 0x80, 0x800, 0x10000};
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t size = SizeOfLead(lead);
  if (size == 1) return {lead, 1};
  if (size == 0 || size > text.size()) return {};
  std::uint32_t code = lead & (0xFFU >> (size + 1));
  for (const char c : text.substr(1, size - 1)) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0U) != 0x80U) return {};
    code = code << 6 | (byte & 0x3FU);
  }
  const bool is_surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < kLowest[size] || code > 0x10FFFF || is_surrogate) return {};
  return {code, size};
}

// Beyond ASCII: controls of terminals, ends of lines, and marks that turn the direction of writing.
bool IsHarmful(std::uint32_t code) {
  return (code >= 0x80 && code <= 0x9F) || (code >= 0x2028 && code <= 0x202E) ||
         (code >= 0x2066 && code <= 0x2069);
}

bool IsPlain(char c) { return c >= ' ' && c < 0x7F; }

void AppendHex(std::string& shown, std::string_view start, std::uint32_t value, int digits) {
  shown += start;
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
    shown += kHexDigits[value >> shift & 0xFU];
}

void AppendShown(std::string& shown, std::string_view character, std::uint32_t code) {
  if (code == Character::kNone)
    AppendHex(shown, "\\x", static_cast<unsigned char>(character.front()), 2);
  else if (code == '\n')
    shown += "\\n";
  else if (code == '\r')
    shown += "\\r";
  else if (code == '\t')
    shown += "\\t";
  else if (code < 0x20 || code == 0x7F)
    AppendHex(shown, "\\x", code, 2);
  else if (IsHarmful(code))
    AppendHex(shown, "\\u", code, 4);
  else
    shown += character;
}

std::string Escaped(std::string_view text, std::size_t most, std::string_view kept) {
  const std::size_t whole = text.size();
  std::string shown;
  shown.reserve(std::min(whole, most));
  while (!text.empty()) {
    const std::size_t start = shown.size();
    const Character character = FirstCharacter(text);
    if (IsPlain(text.front()) || kept.find(text.front()) != std::string_view::npos)
      shown += text.front();
    else
      AppendShown(shown, text.substr(0, character.m_size), character.m_code);
    if (shown.size() > most) {
      shown.resize(start);
      return shown + "... (" + std::to_string(whole) + " bytes)";
    }
    text.remove_prefix(character.m_size);
  }
  return shown;
}

}  // namespace

std::string Shown(std::string_view text, std::size_t most) { return Escaped(text, most, {}); }

std::string ShownLines(std::string_view text) { return Escaped(text, std::string::npos, "\n\t"); }

FileFault::FileFault(const std::string& path, std::string text, std::string_view meaning)
    : LinesMessage(std::move(text)),
      m_naming_line("Cannot process " + Shown(path) + ": " +
                    Shown(meaning.empty() ? TokenAt(*this, '\n', 0) : meaning)) {}

}  // namespace tarvek
