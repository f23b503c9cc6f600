#include "NumberText.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace tarvek {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool IsHexDigit(char c) { return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

std::string_view SkipSpace(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
  return text;
}

bool TakeSign(std::string_view& text) {
  if (text.empty() || (text.front() != '-' && text.front() != '+')) return false;
  const bool negative = text.front() == '-';
  text.remove_prefix(1);
  return negative;
}

// 10^0 .. 10^22 are exact in binary64.
constexpr std::array<double, 23> kExactPowers = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                 1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// Plain decimals such as "512.34567". When the digits make an integer below 2^53 and the power of
// ten is exact, one division gives the correctly rounded value. False for every other form.
bool ScanPlainDecimal(std::string_view text, double& value) {
  constexpr std::uint64_t kExactLimit = std::uint64_t{1} << 53;
  const char* p = text.data();
  const char* const end = p + text.size();
  std::uint64_t digits = 0;
  const char* const integer_begin = p;
  for (; p != end && IsDigit(*p); ++p) digits = digits * 10 + static_cast<std::uint64_t>(*p - '0');
  std::ptrdiff_t count = p - integer_begin;
  std::ptrdiff_t decimals = 0;
  if (p != end && *p == '.') {
    const char* const fraction_begin = ++p;
    for (; p != end && IsDigit(*p); ++p)
      digits = digits * 10 + static_cast<std::uint64_t>(*p - '0');
    decimals = p - fraction_begin;
    count += decimals;
  }
  const bool plain_end = p == end || *p == ' ' || *p == '\n' || *p == '\r' || *p == '\t';
  // 18 digits cannot overflow 64 bits, so digits is exact here.
  if (!plain_end || count == 0 || count > 18 || digits > kExactLimit) return false;
  value = static_cast<double>(digits) / kExactPowers[static_cast<std::size_t>(decimals)];
  return true;
}

// Whether a number that from_chars calls out of range is too large (true) or too small (false): the
// decimal (or binary) exponent of its first digit that is not zero decides.
bool IsOverflow(std::string_view number, bool hexadecimal) {
  const std::size_t exponent_at = number.find_first_of(hexadecimal ? "pP" : "eE");
  const std::string_view mantissa = number.substr(0, exponent_at);
  const std::int64_t exponent = exponent_at == std::string_view::npos
                                    ? 0
                                    : ScanInteger(number.substr(exponent_at + 1)).m_value;
  const auto point = static_cast<std::int64_t>(std::min(mantissa.find('.'), mantissa.size()));
  const auto first = static_cast<std::int64_t>(mantissa.find_first_not_of("0."));
  const std::int64_t places = first < point ? point - first - 1 : point - first;
  return places * (hexadecimal ? 4 : 1) + exponent > 0;
}

ScannedNumber<double> ScanAnyReal(std::string_view text) {
  const bool hexadecimal = text.size() > 2 && text[0] == '0' &&
                           (text[1] == 'x' || text[1] == 'X') &&
                           (IsHexDigit(text[2]) || text[2] == '.');
  const std::string_view number = hexadecimal ? text.substr(2) : text;
  if (number.empty() || number.front() == '-') return {};  // a second sign
  double value = 0.0;
  const char* const end = number.data() + number.size();
  const auto result = std::from_chars(
      number.data(), end, value, hexadecimal ? std::chars_format::hex : std::chars_format::general);
  if (result.ec == std::errc()) {
    const bool subnormal = value != 0.0 && value < std::numeric_limits<double>::min();
    return {value, subnormal ? NumberStatus::kOutOfRange : NumberStatus::kOk};
  }
  if (result.ec != std::errc::result_out_of_range)  // "0xg" still holds the number 0
    return hexadecimal ? ScannedNumber<double>{0.0, NumberStatus::kOk} : ScannedNumber<double>{};
  const std::string_view taken(number.data(), static_cast<std::size_t>(result.ptr - number.data()));
  const bool overflow = IsOverflow(taken, hexadecimal);
  return {overflow ? std::numeric_limits<double>::infinity() : 0.0, NumberStatus::kOutOfRange};
}

std::string ConversionError(const std::string& value, const std::string& name, const char* kind) {
  return "cannot turn param: <name:" + name + "> <value:" + value + "> into an " + kind + ".";
}

void AppendUnsigned(std::string& text, std::uint64_t value, std::size_t min_digits) {
  char digits[20];
  char* p = digits + sizeof digits;
  for (; value != 0; value /= 10) *--p = static_cast<char>('0' + value % 10);
  while (static_cast<std::size_t>(digits + sizeof digits - p) < min_digits) *--p = '0';
  text.append(p, digits + sizeof digits);
}

__extension__ using Uint128 = unsigned __int128;

constexpr std::array<std::uint64_t, 10> kPowersOfTen = {
    1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000};

// |value| x 10^decimals rounded to the nearest integer, ties to even, computed exactly: a double is
// m x 2^-shift, and m x 10^decimals fits in 83 bits. False outside the range of such values.
bool ScaleExactly(double value, int decimals, std::uint64_t& scaled) {
  const auto bits = std::bit_cast<std::uint64_t>(value);
  const int biased_exponent = static_cast<int>(bits >> 52 & 0x7FFu);
  const int shift = 1075 - biased_exponent;
  if (biased_exponent == 0 || shift < 1 || shift > 120) return false;
  const std::uint64_t mantissa = (bits & ((std::uint64_t{1} << 52) - 1)) | std::uint64_t{1} << 52;
  const Uint128 product = Uint128{mantissa} * kPowersOfTen[static_cast<std::size_t>(decimals)];
  const Uint128 rest = product & ((Uint128{1} << shift) - 1);
  const Uint128 half = Uint128{1} << (shift - 1);
  const Uint128 quotient = product >> shift;
  if (quotient >> 63 != 0) return false;
  scaled = static_cast<std::uint64_t>(quotient);
  if (rest > half || (rest == half && (scaled & 1u) != 0)) ++scaled;
  return true;
}

}  // namespace

ScannedNumber<double> ScanReal(std::string_view text) {
  ScannedNumber<double> scanned;
  if (ScanPlainDecimal(text, scanned.m_value)) {
    scanned.m_status = NumberStatus::kOk;
    return scanned;
  }
  text = SkipSpace(text);
  const bool negative = TakeSign(text);
  scanned = ScanAnyReal(text);
  if (negative && scanned.m_status != NumberStatus::kNoDigits) scanned.m_value = -scanned.m_value;
  return scanned;
}

ScannedNumber<std::int32_t> ScanInteger(std::string_view text) {
  text = SkipSpace(text);
  const bool negative = TakeSign(text);
  ScannedNumber<std::int32_t> scanned;
  std::int64_t value = 0;
  bool in_range = true;
  for (const char c : text) {
    if (!IsDigit(c)) break;
    scanned.m_status = NumberStatus::kOk;
    value = value * 10 + (negative ? '0' - c : c - '0');
    if (value != static_cast<std::int32_t>(value)) {
      in_range = false;
      break;
    }
  }
  if (!in_range) {
    using Limits = std::numeric_limits<std::int32_t>;
    return {negative ? Limits::min() : Limits::max(), NumberStatus::kOutOfRange};
  }
  scanned.m_value = static_cast<std::int32_t>(value);
  return scanned;
}

double ParseReal(std::string_view text) { return ScanReal(text).m_value; }

std::int32_t ParseInteger(std::string_view text) { return ScanInteger(text).m_value; }

std::int32_t StringToInt(const std::string& value, const std::string& name) {
  const auto scanned = ScanInteger(value);
  if (scanned.m_status != NumberStatus::kOk) throw ConversionError(value, name, "int");
  return scanned.m_value;
}

double StringToDouble(const std::string& value, const std::string& name) {
  const auto scanned = ScanReal(value);
  if (scanned.m_status != NumberStatus::kOk) throw ConversionError(value, name, "double");
  return scanned.m_value;
}

void AppendFixed(std::string& text, double value, int decimals) {
  std::uint64_t scaled = 0;
  if (!ScaleExactly(value, decimals, scaled)) {
    char field[330];  // 309 digits of the largest double, sign, point and 9 decimals
    const auto result =
        std::to_chars(field, field + sizeof field, value, std::chars_format::fixed, decimals);
    text.append(field, result.ptr);
    return;
  }
  if (std::signbit(value)) text.push_back('-');
  const std::uint64_t power = kPowersOfTen[static_cast<std::size_t>(decimals)];
  AppendUnsigned(text, scaled / power, 1);
  if (decimals == 0) return;
  text.push_back('.');
  AppendUnsigned(text, scaled % power, static_cast<std::size_t>(decimals));
}

void AppendInteger(std::string& text, std::int64_t value) {
  char field[24];
  text.append(field, std::to_chars(field, field + sizeof field, value).ptr);
}

}  // namespace tarvek
