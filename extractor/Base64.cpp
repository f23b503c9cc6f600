#include "Base64.h"

#include <array>
#include <cstddef>
#include <cstdint>

#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#define TARVEK_BASE64_SSSE3 1
#endif

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

// The value that a character adds to the 24 bits of its group, by its place in the group; kNoDigit
// for a character that is not a digit.
constexpr std::uint32_t kNoDigit = std::uint32_t{1} << 31;
using PlaceTable = std::array<std::uint32_t, 256>;
constexpr PlaceTable TableOfPlace(int place) {
  PlaceTable table{};
  for (std::size_t c = 0; c < table.size(); ++c)
    table[c] = kValues[c] < 64 ? std::uint32_t{kValues[c]} << 6 * (3 - place) : kNoDigit;
  return table;
}
constexpr std::array<PlaceTable, 4> kPlaces = {TableOfPlace(0), TableOfPlace(1), TableOfPlace(2),
                                               TableOfPlace(3)};

std::uint32_t GroupAt(const char* text) {
  return kPlaces[0][static_cast<unsigned char>(text[0])] |
         kPlaces[1][static_cast<unsigned char>(text[1])] |
         kPlaces[2][static_cast<unsigned char>(text[2])] |
         kPlaces[3][static_cast<unsigned char>(text[3])];
}

// Decodes groups of four digits up to the first blank or padding; returns their number of
// characters.
std::size_t DecodePlainGroups(std::string_view text, char*& out) {
  std::size_t at = 0;
  for (; at + 4 <= text.size(); at += 4) {
    const std::uint32_t bits = GroupAt(text.data() + at);
    if ((bits & kNoDigit) != 0) break;
    *out++ = static_cast<char>(bits >> 16);
    *out++ = static_cast<char>(bits >> 8 & 0xFFu);
    *out++ = static_cast<char>(bits & 0xFFu);
  }
  return at;
}

// A vector is written whole, including bytes beyond the decoded ones.
constexpr std::size_t kVectorSlack = 4;

#if TARVEK_BASE64_SSSE3

// Like DecodePlainGroups, four groups at once: stops when 16 characters are not all digits.
//
// The upper half of a character gives its range, except that '/' shares one with '+'; each range
// has a number to add. A character is a digit unless the bits that the tables give for its two
// halves overlap.
__attribute__((target("ssse3"))) std::size_t DecodeVectors(std::string_view text, char*& out) {
  constexpr std::size_t kVector = 16;
  const __m128i half = _mm_set1_epi8(0x0F);
  const __m128i slash = _mm_set1_epi8('/');
  const __m128i lower_bits = _mm_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11,
                                           0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A);
  const __m128i upper_bits = _mm_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10,
                                           0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10);
  // '/' at 1, '+' at 2, '0'..'9' at 3, 'A'..'Z' at 4 and 5, 'a'..'z' at 6 and 7
  const __m128i to_add = _mm_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0);
  const __m128i pairs = _mm_set1_epi32(0x01400140);  // one digit << 6, the next unshifted
  const __m128i fours = _mm_set1_epi32(0x00011000);  // one pair << 12, the next unshifted
  const __m128i order = _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
  std::size_t at = 0;
  for (; at + kVector <= text.size(); at += kVector) {
    const auto* const from = reinterpret_cast<const __m128i*>(text.data() + at);
    const __m128i characters = _mm_loadu_si128(from);
    const __m128i upper = _mm_and_si128(_mm_srli_epi32(characters, 4), half);
    const __m128i lower = _mm_and_si128(characters, half);
    const __m128i wrong =
        _mm_and_si128(_mm_shuffle_epi8(lower_bits, lower), _mm_shuffle_epi8(upper_bits, upper));
    if (_mm_movemask_epi8(_mm_cmpgt_epi8(wrong, _mm_setzero_si128())) != 0) break;
    const __m128i range = _mm_add_epi8(upper, _mm_cmpeq_epi8(characters, slash));
    const __m128i digits = _mm_add_epi8(characters, _mm_shuffle_epi8(to_add, range));
    const __m128i groups = _mm_madd_epi16(_mm_maddubs_epi16(digits, pairs), fours);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_shuffle_epi8(groups, order));
    out += kVector / 4 * 3;
  }
  return at;
}

std::size_t DecodeFastest(std::string_view text, char*& out) {
  static const bool has_vectors = __builtin_cpu_supports("ssse3") != 0;
  const std::size_t taken = has_vectors ? DecodeVectors(text, out) : 0;
  return taken + DecodePlainGroups(text.substr(taken), out);
}

#else

std::size_t DecodeFastest(std::string_view text, char*& out) {
  return DecodePlainGroups(text, out);
}

#endif

/// Collects digits one by one.
struct Group {
  std::uint32_t m_bits = 0;
  int m_digits = 0;
  int m_padding = 0;

  // False when c is not allowed here.
  bool Take(char c) {
    const std::uint32_t value = kValues[static_cast<unsigned char>(c)];
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

// decode_plain: decodes groups without blanks or padding from the front, like DecodePlainGroups.
template <class DecodePlain>
bool Decode(std::string_view text, ByteBuffer& bytes, DecodePlain decode_plain) {
  char* const begin = bytes.Prepare(text.size() / 4 * 3 + 3 + kVectorSlack);
  char* out = begin;
  Group group;
  while (!text.empty()) {
    if (group.m_digits == 0) text.remove_prefix(decode_plain(text, out));
    if (text.empty()) break;
    if (!group.Take(text.front())) return false;
    text.remove_prefix(1);
    if (!group.IsFull()) continue;
    WriteBytes(group, out);
    group = {};
  }
  if (!group.IsClosed()) return false;
  WriteBytes(group, out);
  bytes.Shrink(static_cast<std::size_t>(out - begin));
  return true;
}

}  // namespace

bool DecodeBase64(std::string_view text, ByteBuffer& bytes) {
  return Decode(text, bytes, DecodeFastest);
}

bool DecodeBase64Portably(std::string_view text, ByteBuffer& bytes) {
  return Decode(text, bytes, DecodePlainGroups);
}

}  // namespace tarvek::extractor
