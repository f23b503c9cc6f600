#include "NumberText.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <system_error>

#include "StringUtils.h"

namespace tarvek {
namespace {

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

template <class Integer>
ScannedNumber<Integer> ScanIntegerAs(std::string_view text) {
  text = SkipSpace(text);
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return {};  // a second sign
  }
  Integer value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec == std::errc()) return {value, NumberStatus::kOk};
  if (result.ec != std::errc::result_out_of_range) return {};
  using Limits = std::numeric_limits<Integer>;
  return {text.front() == '-' ? Limits::min() : Limits::max(), NumberStatus::kOutOfRange};
}

// 10^0 .. 10^22 are exact in binary64.
constexpr std::array<double, 23> kExactPowers = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                 1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// Whether text is a plain decimal up to its end or to a blank.
bool ScanPlainDecimal(std::string_view text, double& value) {
  const char* const last = text.data() + text.size();
  const char* const p = ReadPlainDecimal(text.data(), last, value);
  return p != nullptr && (p == last || *p == ' ' || *p == '\n' || *p == '\r' || *p == '\t');
}

// Whether a number that from_chars calls out of range is too large (true) or too small (false): the
// decimal (or binary) exponent of its first nonzero digit decides.
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
  if (result.ec != std::errc::result_out_of_range)  // "0xg" still contains the number 0
    return hexadecimal ? ScannedNumber<double>{0.0, NumberStatus::kOk} : ScannedNumber<double>{};
  const std::string_view taken(number.data(), static_cast<std::size_t>(result.ptr - number.data()));
  const bool overflow = IsOverflow(taken, hexadecimal);
  return {overflow ? std::numeric_limits<double>::infinity() : 0.0, NumberStatus::kOutOfRange};
}

std::string ConversionError(const std::string& value, const std::string& name, const char* kind) {
  return "cannot turn param: <name:" + name + "> <value:" + value + "> into an " + kind + ".";
}

__extension__ using Uint128 = unsigned __int128;

constexpr std::array<std::uint64_t, 10> kPowersOfTen = {
    1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000};

constexpr auto kDigitPairs = [] {
  std::array<char, 200> pairs{};
  for (std::size_t i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<char>('0' + i / 10);
    pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}();

// Writes the last count digits of value so that they end at end; returns where they begin.
char* WriteDigitsBefore(char* end, std::uint64_t value, std::size_t count) {
  for (; count >= 2; count -= 2) {
    end -= 2;
    std::memcpy(end, kDigitPairs.data() + 2 * (value % 100), 2);
    value /= 100;
  }
  if (count == 1) *--end = static_cast<char>('0' + value % 10);
  return end;
}

// Number of decimal digits of value; 1 for 0.
std::size_t DigitCount(std::uint64_t value) {
  std::size_t count = 1;
  for (; value >= 10000; value /= 10000) count += 4;
  return count + (value >= 10) + (value >= 100) + (value >= 1000);
}

constexpr std::uint64_t kEightDigits = 100'000'000;

// The eight digits of value, which is below kEightDigits, one per byte, the first in the lowest
// byte. Splits halves, quarters and single digits in all positions at once.
[[gnu::always_inline]] inline std::uint64_t DigitBytes(std::uint64_t value) {
  const std::uint64_t halves = value / 10000 + ((value % 10000) << 32);
  const std::uint64_t hundreds = ((halves * 10486) >> 20) & 0x0000007F0000007F;
  const std::uint64_t pairs = hundreds + ((halves - 100 * hundreds) << 16);
  const std::uint64_t tens = ((pairs * 103) >> 10) & 0x000F000F000F000F;
  return tens + ((pairs - 10 * tens) << 8);
}

constexpr std::uint64_t kZeroCharacters = 0x3030303030303030;

// Does the work of WriteScaled for an integer below kEightDigits; fraction has that many decimals.
// Writes up to eight characters beyond the end.
template <std::size_t decimals>
char* WriteShort(char* out, std::uint64_t integer, std::uint64_t fraction) {
  static_assert(std::endian::native == std::endian::little && decimals <= 8);
  const std::uint64_t digits = DigitBytes(integer);
  const int leading_zeros = std::min(std::countr_zero(digits) / 8, 7);
  const std::uint64_t characters = (digits + kZeroCharacters) >> (8 * leading_zeros);
  std::memcpy(out, &characters, 8);
  out += 8 - leading_zeros;
  if constexpr (decimals == 0) return out;
  *out++ = '.';
  const std::uint64_t decimal_characters =
      DigitBytes(fraction * (kEightDigits / kPowersOfTen[decimals])) + kZeroCharacters;
  std::memcpy(out, &decimal_characters, 8);
  return out + decimals;
}

// Writes scaled / 10^decimals; a template so that the division is by a constant.
template <std::size_t decimals>
char* WriteScaled(char* out, std::uint64_t scaled) {
  const std::uint64_t integer = scaled / kPowersOfTen[decimals];
  if constexpr (std::endian::native == std::endian::little && decimals <= 8)
    if (integer < kEightDigits)
      return WriteShort<decimals>(out, integer, scaled % kPowersOfTen[decimals]);
  char* const point = out + DigitCount(integer);
  WriteDigitsBefore(point, integer, static_cast<std::size_t>(point - out));
  if constexpr (decimals == 0) return point;
  *point = '.';
  char* const end = point + 1 + decimals;
  WriteDigitsBefore(end, scaled % kPowersOfTen[decimals], decimals);
  return end;
}

constexpr std::array<ScaledWriter, 10> kScaledWriters = {
    &WriteScaled<0>, &WriteScaled<1>, &WriteScaled<2>, &WriteScaled<3>, &WriteScaled<4>,
    &WriteScaled<5>, &WriteScaled<6>, &WriteScaled<7>, &WriteScaled<8>, &WriteScaled<9>};

// Rounds |value| x 10^decimals to the nearest integer where one multiplication decides it: below
// 2^40 the product is off by less than 2^-13, so only near a half could it round wrong.
bool ScaleByProduct(double value, int decimals, std::uint64_t& scaled) {
  constexpr double kLimit = 1099511627776.0;  // 2^40
  constexpr double kNearHalf = 1e-3;
  const double product = std::fabs(value) * kExactPowers[static_cast<std::size_t>(decimals)];
  if (!(product < kLimit)) return false;
  const auto whole = static_cast<std::int64_t>(product);
  const double over_half = product - static_cast<double>(whole) - 0.5;
  scaled = static_cast<std::uint64_t>(whole) + (over_half > 0.0 ? 1u : 0u);
  return std::fabs(over_half) > kNearHalf;
}

// The same for any value, ties to even, computed exactly: a double is m x 2^-shift, and
// m x 10^decimals fits in 83 bits. False where the result or the shift is out of range.
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

// Rounds value to what its text with that many decimals reads back as, and sets scaled to the
// digits of that text. One division rounds as reading does when the integer is below 2^53 and the
// power of ten is exact. Otherwise returns false and leaves value alone.
bool RoundByScale(double& value, int decimals, std::uint64_t& scaled) {
  constexpr std::uint64_t kExactLimit = std::uint64_t{1} << 53;
  if (!ScaleByProduct(value, decimals, scaled) && !ScaleExactly(value, decimals, scaled))
    return false;
  if (scaled >= kExactLimit) return false;
  value = std::copysign(
      static_cast<double>(scaled) / kExactPowers[static_cast<std::size_t>(decimals)], value);
  return true;
}

}  // namespace

// One division rounds correctly when the digits make an integer below 2^53 and the power of ten is
// exact.
const char* ReadPlainDecimal(const char* first, const char* last, double& value) {
  constexpr std::uint64_t kExactLimit = std::uint64_t{1} << 53;
  constexpr std::ptrdiff_t kMaxDigits = 18;  // cannot overflow 64 bits
  const char* p = first;
  std::uint64_t digits = 0;
  for (; p != last && IsDigit(*p); ++p) digits = digits * 10 + static_cast<std::uint64_t>(*p - '0');
  std::ptrdiff_t count = p - first;
  std::ptrdiff_t decimals = 0;
  if (p != last && *p == '.') {
    const char* const fraction = ++p;
    for (; p != last && IsDigit(*p); ++p)
      digits = digits * 10 + static_cast<std::uint64_t>(*p - '0');
    decimals = p - fraction;
    count += decimals;
  }
  if (count == 0 || count > kMaxDigits || digits > kExactLimit) return nullptr;
  value = static_cast<double>(digits) / kExactPowers[static_cast<std::size_t>(decimals)];
  return p;
}

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
  return ScanIntegerAs<std::int32_t>(text);
}

ScannedNumber<std::int64_t> ScanInteger64(std::string_view text) {
  return ScanIntegerAs<std::int64_t>(text);
}

std::optional<double> FiniteReal(std::string_view text) {
  const auto scanned = ScanReal(text);
  if (scanned.m_status == NumberStatus::kNoDigits || !std::isfinite(scanned.m_value))
    return std::nullopt;
  return scanned.m_value;
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

char* WriteFixed(char* out, double value, int decimals) {
  std::uint64_t scaled = 0;
  if (!ScaleByProduct(value, decimals, scaled) && !ScaleExactly(value, decimals, scaled))
    return std::to_chars(out, out + kMaxFixedText, value, std::chars_format::fixed, decimals).ptr;
  if (std::signbit(value)) *out++ = '-';
  return kScaledWriters[static_cast<std::size_t>(decimals)](out, scaled);
}

char* WriteRounded(char* out, double& value, int decimals) {
  std::uint64_t scaled = 0;
  const bool is_negative = std::signbit(value);
  if (!RoundByScale(value, decimals, scaled)) {
    char* const end = WriteFixed(out, value, decimals);
    value = ParseReal({out, static_cast<std::size_t>(end - out)});
    return end;
  }
  if (is_negative) *out++ = '-';
  return kScaledWriters[static_cast<std::size_t>(decimals)](out, scaled);
}

ScaledWriter ScaledWriterFor(int decimals) {
  return kScaledWriters[static_cast<std::size_t>(decimals)];
}

void AppendFixed(std::string& text, double value, int decimals) {
  char field[kMaxFixedText];
  text.append(field, WriteFixed(field, value, decimals));
}

std::string Fixed(double value, int decimals) {
  std::string text;
  AppendFixed(text, value, decimals);
  return text;
}

double Rounded(double value, int decimals) {
  std::uint64_t scaled = 0;
  if (!RoundByScale(value, decimals, scaled)) value = ParseReal(Fixed(value, decimals));
  return value;
}

void AppendExactReal(std::string& text, double value) {
  char digits[32];
  text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

std::string ExactText(double value) {
  std::string text;
  AppendExactReal(text, value);
  return text;
}

void AppendInteger(std::string& text, std::int64_t value) {
  char field[24];
  text.append(field, std::to_chars(field, field + sizeof field, value).ptr);
}

}  // namespace tarvek
