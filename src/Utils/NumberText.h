// Utils/NumberText.h: numbers to text and back, whatever the locale.
// Does:     reads numbers as strtod and strtol do in the "C" locale; writes them as printf does.
// Throws:   StringToInt and StringToDouble a std::string with the parameter's name; the rest
//           nothing.
// Not here: which field of which line a number is in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarvek {

enum class NumberStatus { kOk, kNoDigits, kOutOfRange };

/// A number read from the front of a text. m_value is 0 without digits; out of range it is what
/// strtod gives (plus or minus infinity, or 0 or the nearest subnormal), or the nearest 32-bit
/// limit.
template <class Number>
struct ScannedNumber {
  Number m_value{};
  NumberStatus m_status = NumberStatus::kNoDigits;
};

/// Leading white space, an optional sign, then a decimal or hexadecimal real, "inf" or "nan"; the
/// text after the number is ignored.
ScannedNumber<double> ScanReal(std::string_view text);

/// Leading white space, an optional sign and decimal digits; the text after them is ignored.
ScannedNumber<std::int32_t> ScanInteger(std::string_view text);
ScannedNumber<std::int64_t> ScanInteger64(std::string_view text);

/// Reads a plain decimal ("512.34567", "20", ".5") at first and returns where it ends, or null when
/// the text there has another form or more digits than are exact this way; ScanReal reads every
/// form.
const char* ReadPlainDecimal(const char* first, const char* last, double& value);

/// What ScanReal reads; nothing when there are no digits or the number is not finite.
std::optional<double> FiniteReal(std::string_view text);

/// Lenient forms: a text that is no number reads as 0.
double ParseReal(std::string_view text);
std::int32_t ParseInteger(std::string_view text);

/// Strict forms for parameters. Throw "cannot turn param: <name:NAME> <value:VALUE> into an int."
/// (or "an double.") when there are no digits or the number is out of range.
std::int32_t StringToInt(const std::string& value, const std::string& name);
double StringToDouble(const std::string& value, const std::string& name);

/// Room that WriteFixed may need: 309 digits of the largest double, sign, point and 9 decimals.
inline constexpr std::size_t kMaxFixedText = 330;

/// Writes value with the given number of decimals (0 to 9), as printf("%.*f") does without its
/// final NUL, and returns the end of what it wrote. out: room for kMaxFixedText characters.
char* WriteFixed(char* out, double value, int decimals);

/// Writes what WriteFixed writes, and makes value the number that reading it gives.
char* WriteRounded(char* out, double& value, int decimals);

/// Writes digits with a point before the last of them, 1234 with two decimals as "12.34", and returns
/// the end; needs as much room as WriteFixed.
using ScaledWriter = char* (*)(char* out, std::uint64_t digits);
ScaledWriter ScaledWriterFor(int decimals);

/// Appends what WriteFixed writes.
void AppendFixed(std::string& text, double value, int decimals);

/// What WriteFixed writes.
std::string Fixed(double value, int decimals);

/// The number that reading what WriteFixed writes gives.
double Rounded(double value, int decimals);

/// Appends the shortest decimal text that reads back as value, which is finite.
void AppendExactReal(std::string& text, double value);

/// What AppendExactReal appends.
std::string ExactText(double value);

/// Appends value in decimal.
void AppendInteger(std::string& text, std::int64_t value);

}  // namespace tarvek
