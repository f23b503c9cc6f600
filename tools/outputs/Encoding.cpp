#include "outputs/Encoding.h"

#include <bit>

namespace tarvek::tools {
namespace {

constexpr std::string_view kBase64Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view kHexDigits = "0123456789abcdef";
constexpr std::size_t kRounds = 80;

std::uint32_t Byte(char c) { return static_cast<unsigned char>(c); }

// The next word of a block, most significant byte first.
std::uint32_t WordAt(const char* bytes) {
  return Byte(bytes[0]) << 24 | Byte(bytes[1]) << 16 | Byte(bytes[2]) << 8 | Byte(bytes[3]);
}

using Schedule = std::array<std::uint32_t, kRounds>;

Schedule ScheduleOf(const char* block) {
  Schedule words{};
  for (std::size_t t = 0; t < 16; ++t) words[t] = WordAt(block + 4 * t);
  for (std::size_t t = 16; t < kRounds; ++t)
    words[t] = std::rotl(words[t - 3] ^ words[t - 8] ^ words[t - 14] ^ words[t - 16], 1);
  return words;
}

// The function and the constant of a round together.
std::uint32_t Mix(std::size_t round, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  switch (round / 20) {
    case 0:
      return ((b & c) | (~b & d)) + 0x5A827999u;
    case 1:
      return (b ^ c ^ d) + 0x6ED9EBA1u;
    case 2:
      return ((b & c) | (b & d) | (c & d)) + 0x8F1BBCDCu;
    default:
      return (b ^ c ^ d) + 0xCA62C1D6u;
  }
}

}  // namespace

std::string Base64Text(std::string_view bytes) {
  std::string text;
  text.reserve(4 * ((bytes.size() + 2) / 3));
  for (; !bytes.empty(); bytes.remove_prefix(bytes.size() < 3 ? bytes.size() : 3)) {
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i)
      group = group << 8 | (i < bytes.size() ? Byte(bytes[i]) : 0);
    for (std::size_t i = 0; i < 4; ++i)
      text += i <= bytes.size() ? kBase64Digits[group >> (18 - 6 * i) & 0x3Fu] : '=';
  }
  return text;
}

void Sha1::Take(std::string_view bytes) {
  m_taken_bytes += bytes.size();
  if (!m_rest.empty()) {
    const std::string_view missing = bytes.substr(0, kBlockBytes - m_rest.size());
    m_rest += missing;
    bytes.remove_prefix(missing.size());
    if (m_rest.size() < kBlockBytes) return;
    TakeBlock(m_rest.data());
    m_rest.clear();
  }
  for (; bytes.size() >= kBlockBytes; bytes.remove_prefix(kBlockBytes)) TakeBlock(bytes.data());
  m_rest = bytes;
}

// A bit 1, zeros up to eight bytes before the end of a block, the length in bits.
std::string Sha1::Hex() {
  const std::uint64_t bits = 8 * m_taken_bytes;
  std::string padding(1, '\x80');
  padding.append((2 * kBlockBytes - 9 - m_rest.size()) % kBlockBytes, '\0');
  for (int shift = 56; shift >= 0; shift -= 8) padding += static_cast<char>(bits >> shift & 0xFFu);
  Take(padding);
  std::string text;
  for (const std::uint32_t word : m_state)
    for (int shift = 28; shift >= 0; shift -= 4) text += kHexDigits[word >> shift & 0xFu];
  return text;
}

void Sha1::TakeBlock(const char* block) {
  const Schedule words = ScheduleOf(block);
  auto [a, b, c, d, e] = m_state;
  for (std::size_t t = 0; t < kRounds; ++t) {
    const std::uint32_t next = std::rotl(a, 5) + Mix(t, b, c, d) + e + words[t];
    e = d;
    d = c;
    c = std::rotl(b, 30);
    b = a;
    a = next;
  }
  const std::array<std::uint32_t, 5> result = {a, b, c, d, e};
  for (std::size_t i = 0; i < result.size(); ++i) m_state[i] += result[i];
}

}  // namespace tarvek::tools
