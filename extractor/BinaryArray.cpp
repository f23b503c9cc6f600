#include "BinaryArray.h"

#include <libmsnumpress/MSNumpress.hpp>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "Base64.h"

namespace tarvek::extractor {
namespace {

template <class Unsigned>
Unsigned Reversed(Unsigned value) {
  Unsigned reversed = 0;
  for (std::size_t i = 0; i < sizeof value; ++i, value = static_cast<Unsigned>(value >> 8))
    reversed = static_cast<Unsigned>(reversed << 8 | (value & 0xFFu));
  return reversed;
}

template <class Number>
void Convert(std::string_view bytes, ByteOrder order, std::vector<double>& numbers) {
  using Bits = std::conditional_t<sizeof(Number) == 4, std::uint32_t, std::uint64_t>;
  const bool is_native =
      (order == ByteOrder::kLittle) == (std::endian::native == std::endian::little);
  numbers.resize(bytes.size() / sizeof(Number));
  const char* from = bytes.data();
  for (double& number : numbers) {
    Bits bits;
    std::memcpy(&bits, from, sizeof bits);
    from += sizeof bits;
    number = static_cast<double>(std::bit_cast<Number>(is_native ? bits : Reversed(bits)));
  }
}

std::size_t WidthOf(NumberType type) {
  return type == NumberType::kFloat32 || type == NumberType::kInt32 ? 4 : 8;
}

void ConvertPlain(std::string_view bytes, const ArrayEncoding& encoding,
                  std::vector<double>& numbers) {
  switch (encoding.m_type) {
    case NumberType::kFloat32:
      return Convert<float>(bytes, encoding.m_order, numbers);
    case NumberType::kFloat64:
      return Convert<double>(bytes, encoding.m_order, numbers);
    case NumberType::kInt32:
      return Convert<std::int32_t>(bytes, encoding.m_order, numbers);
    case NumberType::kInt64:
      return Convert<std::int64_t>(bytes, encoding.m_order, numbers);
    case NumberType::kUnknown:
      break;
  }
  throw std::string("has no number type");
}

std::string TooManyError(std::int64_t most) {
  return "holds more than " + std::to_string(most) + " numbers, which cannot be";
}

// Every number takes at least half a byte (a half byte of 8 is a zero), and two reals may come
// first.
constexpr std::size_t kNumpressNumbersPerByte = 2;
constexpr std::size_t kNumpressSlack = 16;

// What the decoders need for bytes of which each half may be a number.
constexpr std::size_t kFreeNumpressRoom = std::size_t{1} << 20;

// The numbers that are packed into half bytes, which the first half byte of each says the number of: 0
// to 8 leading zeros are left out, or with 9 to 15 one to seven leading ones.
std::size_t CountPacked(std::string_view bytes) {
  const auto half_at = [&](std::size_t place) {
    const auto byte = static_cast<unsigned char>(bytes[place / 2]);
    return static_cast<std::size_t>(place % 2 == 0 ? byte >> 4 : byte & 0xFU);
  };
  std::size_t count = 0;
  for (std::size_t place = 0; place < 2 * bytes.size(); ++count) {
    const std::size_t left_out = half_at(place);
    place += 1 + (left_out <= 8 ? 8 - left_out : 16 - left_out);
  }
  return count;
}

std::size_t MostNumpressNumbers(std::string_view bytes, Numpress kind) {
  constexpr std::size_t kLinearHead = 16;  // the scale and two numbers
  if (kind == Numpress::kSlof) return bytes.size() / 2;
  if (kind == Numpress::kPic) return CountPacked(bytes);
  return CountPacked(bytes.substr(std::min(kLinearHead, bytes.size())));
}

// The room in numbers that the decoders need, which write without a limit.
std::size_t NumpressRoom(std::string_view bytes, Numpress kind, std::int64_t most) {
  const std::size_t room = bytes.size() * kNumpressNumbersPerByte + kNumpressSlack;
  if (room <= kFreeNumpressRoom) return room;
  const std::size_t numbers = MostNumpressNumbers(bytes, kind);
  if (numbers > static_cast<std::size_t>(most)) throw TooManyError(most);
  return numbers + kNumpressSlack;
}

void ConvertNumpress(std::string_view bytes, Numpress kind, std::int64_t most,
                     std::vector<double>& numbers) {
  const std::size_t size = bytes.size();
  numbers.assign(NumpressRoom(bytes, kind, most), 0.0);
  std::string padded(bytes);  // the decoders read beyond the end
  padded.append(kNumpressSlack, '\0');
  const auto* const data = reinterpret_cast<const unsigned char*>(padded.data());
  namespace numpress = ms::numpress::MSNumpress;
  std::size_t count = 0;
  try {
    if (kind == Numpress::kLinear) count = numpress::decodeLinear(data, size, numbers.data());
    if (kind == Numpress::kPic) count = numpress::decodePic(data, size, numbers.data());
    if (kind == Numpress::kSlof) count = numpress::decodeSlof(data, size, numbers.data());
  } catch (const char*) {
    throw std::string("holds damaged numpress data");
  }
  if (count > numbers.size()) throw std::string("holds damaged numpress data");
  numbers.resize(count);
}

std::string LengthError(std::size_t found, std::int64_t declared) {
  if (declared == kUnknownLength) return "ends inside a number";
  return "holds " + std::to_string(found) + " numbers where " + std::to_string(declared) +
         " are declared";
}

// Without a branch, so that the compiler vectorises it.
bool AreFinite(const std::vector<double>& numbers) {
  constexpr std::uint64_t kExponent = 0x7FF0'0000'0000'0000;
  constexpr std::uint64_t kLowestOfExponent = 0x0010'0000'0000'0000;
  std::uint64_t carried = 0;  // into the highest bit, from an exponent that is all ones
  for (const double number : numbers)
    carried |= (std::bit_cast<std::uint64_t>(number) & kExponent) + kLowestOfExponent;
  return carried >> 63 == 0;
}

void CheckNumbers(const std::vector<double>& numbers) {
  if (AreFinite(numbers)) return;
  const auto bad =
      std::ranges::find_if(numbers, [](double number) { return !std::isfinite(number); });
  if (bad != numbers.end())
    throw "holds a value that is no finite number at position " +
        std::to_string(bad - numbers.begin() + 1);
}

}  // namespace

// The bytes of m_bytes, inflated if they are packed.
std::string_view ArrayDecoder::Unpack(const ArrayEncoding& encoding, std::int64_t count,
                                      const std::string& what, std::int64_t most) {
  if (!encoding.m_zlib) return m_bytes.View();
  // numpress takes at most 5 bytes per number and two reals
  const std::size_t width = encoding.m_numpress == Numpress::kNone ? WidthOf(encoding.m_type) : 8;
  const std::size_t slack = encoding.m_numpress == Numpress::kNone ? 0 : kNumpressSlack;
  if (count != kUnknownLength) most = count;
  const std::size_t max_bytes = static_cast<std::size_t>(most) * width + slack;
  if (!m_zlib.Inflate(m_bytes.View(), max_bytes, m_inflated))
    throw what + " holds damaged zlib data";
  if (m_inflated.View().size() > max_bytes)
    throw what + (count == kUnknownLength
                      ? " " + TooManyError(most)
                      : " holds more than the " + std::to_string(most) + " numbers declared");
  return m_inflated.View();
}

void ArrayDecoder::Decode(std::string_view text, const ArrayEncoding& encoding, std::int64_t count,
                          std::string_view what, std::vector<double>& numbers, std::int64_t most) {
  const std::string name(what);
  if (!encoding.m_unsupported.empty())
    throw name + " uses a compression that is not supported: " + encoding.m_unsupported;
  if (count != kUnknownLength && (count < 0 || count > kMaxArrayLength))
    throw name + " declares " + std::to_string(count) + " numbers, which cannot be";
  if (!DecodeBase64(text, m_bytes)) throw name + " is no base64 text";
  const std::string_view bytes = Unpack(encoding, count, name, most);
  try {
    if (encoding.m_numpress != Numpress::kNone) {
      ConvertNumpress(bytes, encoding.m_numpress, most, numbers);
    } else {
      const std::size_t width = WidthOf(encoding.m_type);
      if (bytes.size() % width != 0) throw LengthError(bytes.size() / width, count);
      ConvertPlain(bytes, encoding, numbers);
    }
    if (numbers.size() > static_cast<std::size_t>(most)) throw TooManyError(most);
    if (count != kUnknownLength && numbers.size() != static_cast<std::size_t>(count))
      throw LengthError(numbers.size(), count);
    CheckNumbers(numbers);
  } catch (const std::string& detail) {
    throw name + " " + detail;
  }
}

}  // namespace tarvek::extractor
