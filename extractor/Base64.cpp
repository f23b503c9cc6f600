#include "Base64.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace tarvek::extractor {
namespace {

constexpr std::uint8_t kInvalid = 0xFF;
constexpr std::uint8_t kBlank = 0xFE;
constexpr std::uint8_t kPadding = 0xFD;

constexpr std::array<std::uint8_t, 256> kValues = [] {
  std::array<std::uint8_t, 256> values{};
  values.fill(kInvalid);
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (std::size_t i = 0; i < kAlphabet.size(); ++i)
    values[static_cast<unsigned char>(kAlphabet[i])] = static_cast<std::uint8_t>(i);
  for (const char c : {' ', '\t', '\r', '\n'}) values[static_cast<unsigned char>(c)] = kBlank;
  values[static_cast<unsigned char>('=')] = kPadding;
  return values;
}();

std::uint32_t ValueOf(char c) { return kValues[static_cast<unsigned char>(c)]; }

// Decodes groups of four digits as long as they come without blanks or padding; returns where the
// first other character of a group begins.
std::size_t DecodePlainGroups(std::string_view text, char*& out) {
  std::size_t at = 0;
  for (; at + 4 <= text.size(); at += 4) {
    const std::uint32_t a = ValueOf(text[at]);
    const std::uint32_t b = ValueOf(text[at + 1]);
    const std::uint32_t c = ValueOf(text[at + 2]);
    const std::uint32_t d = ValueOf(text[at + 3]);
    if (((a | b | c | d) & 0xC0u) != 0) break;
    const std::uint32_t bits = a << 18 | b << 12 | c << 6 | d;
    *out++ = static_cast<char>(bits >> 16);
    *out++ = static_cast<char>(bits >> 8 & 0xFFu);
    *out++ = static_cast<char>(bits & 0xFFu);
  }
  return at;
}

/// Collects digits one by one.
struct Group {
  std::uint32_t m_bits = 0;
  int m_digits = 0;
  int m_padding = 0;

  // False when c cannot stand here.
  bool Take(char c) {
    const std::uint32_t value = ValueOf(c);
    if (value == kBlank) return true;
    if (value == kPadding) return m_digits + ++m_padding <= 4 && m_digits >= 2;
    if (value == kInvalid || m_padding > 0) return false;
    m_bits = m_bits << 6 | value;
    ++m_digits;
    return true;
  }
  [[nodiscard]] bool IsFull() const { return m_digits == 4; }
  [[nodiscard]] bool IsClosed() const { return m_digits == 0 || m_digits + m_padding == 4; }
};

void WriteBytes(const Group& group, char*& out) {
  const std::uint32_t bits = group.m_bits << 6 * (4 - group.m_digits);
  for (int i = 0; i + 1 < group.m_digits; ++i)
    *out++ = static_cast<char>(bits >> (16 - 8 * i) & 0xFFu);
}

}  // namespace

bool DecodeBase64(std::string_view text, std::string& bytes) {
  bytes.resize(text.size() / 4 * 3 + 3);
  char* out = bytes.data();
  Group group;
  while (!text.empty()) {
    if (group.m_digits == 0) text.remove_prefix(DecodePlainGroups(text, out));
    if (text.empty()) break;
    if (!group.Take(text.front())) return false;
    text.remove_prefix(1);
    if (!group.IsFull()) continue;
    WriteBytes(group, out);
    group = {};
  }
  if (!group.IsClosed()) return false;
  WriteBytes(group, out);
  bytes.resize(static_cast<std::size_t>(out - bytes.data()));
  return true;
}

}  // namespace tarvek::extractor
