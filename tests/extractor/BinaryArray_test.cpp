#include "BinaryArray.h"

#include <gtest/gtest.h>

#include <cmath>
#include <libmsnumpress/MSNumpress.hpp>
#include <limits>

#include "ExtractorTestSupport.h"

namespace tarvek::extractor {
namespace {

using test::Deflated;
using test::EncodeBase64;

std::vector<double> Decoded(const std::string& bytes, const ArrayEncoding& encoding,
                            std::int64_t count) {
  std::vector<double> numbers = {99.0};  // of an earlier array
  ArrayDecoder().Decode(EncodeBase64(bytes), encoding, count, "m/z array", numbers);
  return numbers;
}

std::string ErrorOf(const std::string& bytes, const ArrayEncoding& encoding, std::int64_t count) {
  return tarvek::test::MessageOf([&] { Decoded(bytes, encoding, count); });
}

const std::vector<double> kNumbers = {100.25, 250.5, 1999.125};

ArrayEncoding Encoding(NumberType type) {
  ArrayEncoding encoding;
  encoding.m_type = type;
  return encoding;
}

TEST(ArrayDecoder, ReadsBothFloatingTypes) {
  EXPECT_EQ(Decoded(test::Reals64(kNumbers), Encoding(NumberType::kFloat64), 3), kNumbers);
  EXPECT_EQ(Decoded(test::Reals32(kNumbers), Encoding(NumberType::kFloat32), 3), kNumbers);
}

TEST(ArrayDecoder, ReadsBothIntegerTypes) {
  const std::string four("\x07\0\0\0\xFF\xFF\xFF\xFF", 8);
  EXPECT_EQ(Decoded(four, Encoding(NumberType::kInt32), 2), (std::vector<double>{7.0, -1.0}));
  const std::string eight("\0\0\0\0\x01\0\0\0", 8);
  EXPECT_EQ(Decoded(eight, Encoding(NumberType::kInt64), 1), (std::vector<double>{4294967296.0}));
}

TEST(ArrayDecoder, ReadsNetworkByteOrder) {
  ArrayEncoding encoding = Encoding(NumberType::kFloat32);
  encoding.m_order = ByteOrder::kNetwork;
  EXPECT_EQ(Decoded(std::string("\x42\xC8\x80\0", 4), encoding, 1), (std::vector<double>{100.25}));
}

TEST(ArrayDecoder, InflatesZlib) {
  ArrayEncoding encoding = Encoding(NumberType::kFloat64);
  encoding.m_zlib = true;
  EXPECT_EQ(Decoded(Deflated(test::Reals64(kNumbers)), encoding, 3), kNumbers);
  const std::vector<double> many(100000, 1.5);  // packs to a thousandth
  EXPECT_EQ(Decoded(Deflated(test::Reals64(many)), encoding, 100000), many);
}

std::string NumpressBytes(Numpress kind, const std::vector<double>& numbers = kNumbers) {
  namespace numpress = ms::numpress::MSNumpress;
  std::vector<unsigned char> bytes;
  if (kind == Numpress::kLinear) numpress::encodeLinear(numbers, bytes, 100000.0);
  if (kind == Numpress::kPic) numpress::encodePic(numbers, bytes);
  if (kind == Numpress::kSlof) numpress::encodeSlof(numbers, bytes, 1000.0);
  return {bytes.begin(), bytes.end()};
}

class NumpressArrays : public testing::TestWithParam<Numpress> {};

TEST_P(NumpressArrays, AreReadPlainAndInflated) {
  ArrayEncoding encoding;
  encoding.m_numpress = GetParam();
  // pic keeps whole numbers, slof half a thousandth of the value
  const double tolerance = GetParam() == Numpress::kLinear ? 1e-5 : 1.0;
  const std::string bytes = NumpressBytes(GetParam());
  for (const bool zlib : {false, true}) {
    encoding.m_zlib = zlib;
    const auto numbers = Decoded(zlib ? Deflated(bytes) : bytes, encoding, 3);
    ASSERT_EQ(numbers.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(numbers[i], kNumbers[i], tolerance);
  }
}

// Numbers that take from half a byte to four and a half, as many as the decoder counts first.
TEST_P(NumpressArrays, OfManyNumbersAreReadAndLimited) {
  std::vector<double> numbers;
  for (int i = 0; i < 700'000; ++i) numbers.push_back(i % 3 == 0 ? 0.0 : std::ldexp(1.0, i % 14));
  ArrayEncoding encoding;
  encoding.m_numpress = GetParam();
  const std::string bytes = NumpressBytes(GetParam(), numbers);
  const auto read = Decoded(bytes, encoding, 700'000);
  ASSERT_EQ(read.size(), numbers.size());
  for (std::size_t i = 0; i < numbers.size(); ++i)
    ASSERT_NEAR(read[i], numbers[i], 1e-5 + 0.001 * numbers[i]) << i;
  const auto with_limit = [&] {
    std::vector<double> none;
    ArrayDecoder().Decode(EncodeBase64(bytes), encoding, kUnknownLength, "array", none, 600'000);
  };
  EXPECT_EQ(tarvek::test::MessageOf(with_limit),
            "array holds more than 600000 numbers, which cannot be");
}

TEST_P(NumpressArrays, AreRefusedWhenCutOrTooLong) {
  ArrayEncoding encoding;
  encoding.m_numpress = GetParam();
  const std::string bytes = NumpressBytes(GetParam());
  EXPECT_NE(ErrorOf(bytes.substr(0, bytes.size() - 2), encoding, 3), tarvek::test::kNothingThrown);
  EXPECT_NE(ErrorOf(bytes, encoding, 2), tarvek::test::kNothingThrown);
  EXPECT_NE(ErrorOf("", encoding, 3), tarvek::test::kNothingThrown);
}

INSTANTIATE_TEST_SUITE_P(Kinds, NumpressArrays,
                         testing::Values(Numpress::kLinear, Numpress::kPic, Numpress::kSlof));

TEST(ArrayDecoder, SaysHowManyNumbersThereAreAndShouldBe) {
  const ArrayEncoding encoding = Encoding(NumberType::kFloat64);
  EXPECT_EQ(ErrorOf(test::Reals64(kNumbers), encoding, 4),
            "m/z array holds 3 numbers where 4 are declared");
  EXPECT_EQ(ErrorOf(test::Reals64(kNumbers), encoding, 2),
            "m/z array holds 3 numbers where 2 are declared");
  EXPECT_EQ(ErrorOf(test::Reals64(kNumbers).substr(1), encoding, 3),
            "m/z array holds 2 numbers where 3 are declared");
}

TEST(ArrayDecoder, StopsInflatingBehindTheDeclaredLength) {
  ArrayEncoding encoding = Encoding(NumberType::kFloat64);
  encoding.m_zlib = true;
  const std::string huge = Deflated(std::string(10'000'000, '\0'));
  EXPECT_EQ(ErrorOf(huge, encoding, 3), "m/z array holds more than the 3 numbers declared");
}

TEST(ArrayDecoder, TakesAsManyNumbersAsThereAreWhereTheLengthIsUnknown) {
  ArrayEncoding encoding = Encoding(NumberType::kFloat64);
  EXPECT_EQ(Decoded(test::Reals64(kNumbers), encoding, kUnknownLength), kNumbers);
  EXPECT_EQ(ErrorOf(test::Reals64(kNumbers).substr(1), encoding, kUnknownLength),
            "m/z array ends inside a number");
  encoding.m_zlib = true;
  EXPECT_EQ(Decoded(Deflated(test::Reals64(kNumbers)), encoding, kUnknownLength), kNumbers);
  const std::string huge = Deflated(std::string(8 * (kMaxArrayLength + 1), '\0'));
  EXPECT_EQ(ErrorOf(huge, encoding, kUnknownLength),
            "m/z array holds more than 20000000 numbers, which cannot be");
}

TEST(ArrayDecoder, RefusesDamagedZlib) {
  ArrayEncoding encoding = Encoding(NumberType::kFloat64);
  encoding.m_zlib = true;
  std::string bytes = Deflated(test::Reals64(kNumbers));
  EXPECT_EQ(ErrorOf(bytes.substr(0, bytes.size() - 5), encoding, 3),
            "m/z array holds damaged zlib data");
  bytes[0] = 'x' ^ 1;
  EXPECT_EQ(ErrorOf(bytes, encoding, 3), "m/z array holds damaged zlib data");
}

TEST(ArrayDecoder, RefusesValuesThatAreNotFinite) {
  for (const double bad :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()})
    EXPECT_EQ(ErrorOf(test::Reals64({1.0, bad}), Encoding(NumberType::kFloat64), 2),
              "m/z array holds a value that is no finite number at position 2");
}

TEST(ArrayDecoder, RefusesABadBase64TextAnUnknownTypeAndAnAbsurdLength) {
  std::vector<double> numbers;
  EXPECT_EQ(tarvek::test::MessageOf([&] {
              ArrayDecoder().Decode("%", Encoding(NumberType::kFloat64), 1, "x", numbers);
            }),
            "x is no base64 text");
  EXPECT_EQ(ErrorOf(test::Reals64({1.0}), {}, 1), "m/z array has no number type");
  EXPECT_EQ(ErrorOf("", Encoding(NumberType::kFloat64), 3'000'000'000),
            "m/z array declares 3000000000 numbers, which cannot be");
}

TEST(ArrayDecoder, NamesTheCompressionThatItDoesNotKnow) {
  ArrayEncoding encoding = Encoding(NumberType::kFloat64);
  encoding.m_unsupported = "zstd compression";
  EXPECT_EQ(ErrorOf("", encoding, 1),
            "m/z array uses a compression that is not supported: zstd compression");
}

}  // namespace
}  // namespace tarvek::extractor
