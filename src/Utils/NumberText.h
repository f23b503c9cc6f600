// Utils/NumberText.h: numbers to text and back, whatever the locale.
// Does:     reads numbers as strtod and strtol do in the "C" locale; writes them as printf does.
// Throws:   StringToInt and StringToDouble a std::string with the parameter's name; the rest
//           nothing.
// Not here: where in a file a number comes from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarvek {

enum class NumberStatus { kOk, kNoDigits, kOutOfRange };

/// A number read from the start of a text. Without digits m_value is 0. Out of range it is what
/// strtod returns (plus or minus infinity, 0 or the nearest subnormal), or the nearest 32-bit
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

/// Reads a plain decimal ("512.34567", "20", ".5") at first and returns its end. Returns null for
/// any other form and for more digits than this method reads exactly; ScanReal reads every form.
const char* ReadPlainDecimal(const char* first, const char* last, double& value);

/// What ScanReal reads; std::nullopt when there are no digits or the number is not finite.
std::optional<double> FiniteReal(std::string_view text);

/// Lenient forms: text that is not a number reads as 0.
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

/// Writes what WriteFixed writes, and sets value to the number that the text reads back as.
char* WriteRounded(char* out, double& value, int decimals);

/// Writes digits with a decimal point (1234 with two decimals gives "12.34") and returns the end;
/// needs as much room as WriteFixed.
using ScaledWriter = char* (*)(char* out, std::uint64_t digits);
ScaledWriter ScaledWriterFor(int decimals);

/// Appends what WriteFixed writes.
void AppendFixed(std::string& text, double value, int decimals);

/// What WriteFixed writes.
std::string Fixed(double value, int decimals);

/// value after WriteFixed writes it and a reader reads it back.
double Rounded(double value, int decimals);

/// Appends the shortest decimal text that reads back as value, which must be finite.
void AppendExactReal(std::string& text, double value);

/// The text that AppendExactReal appends.
std::string ExactText(double value);

/// Appends value in decimal.
void AppendInteger(std::string& text, std::int64_t value);

}  // namespace tarvek
