// tests/extractor/Base64Twin.h: a reference decoder for base64, one character at a time.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tarvek::extractor::test {

/// The bytes that text encodes; std::nullopt when it is not base64. White space is removed first;
/// then the text must be groups of four; only the last may end in one or two '='.
inline std::optional<std::string> DecodeBase64Slowly(std::string_view text) {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string dense;
  for (const char c : text)
    if (std::string_view(" \t\r\n").find(c) == std::string_view::npos) dense += c;
  if (dense.size() % 4 != 0) return std::nullopt;
  std::size_t padding = 0;
  while (padding < 2 && dense.ends_with('=')) {
    dense.pop_back();
    ++padding;
  }
  std::string bytes;
  unsigned bits = 0;
  int bit_count = 0;
  for (const char c : dense) {
    const std::size_t value = kAlphabet.find(c);
    if (value == std::string_view::npos) return std::nullopt;
    bits = (bits << 6 | static_cast<unsigned>(value)) & 0xFFFFu;
    bit_count += 6;
    if (bit_count < 8) continue;
    bit_count -= 8;
    bytes += static_cast<char>(bits >> bit_count & 0xFFu);
  }
  return bytes;
}

}  // namespace tarvek::extractor::test
