#include "NumberText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <vector>

#include "TestSupport.h"

namespace tarvek {
namespace {

using test::MessageOf;

// The slow twin: the C library in the "C" locale.
struct Twin {
  double m_value = 0.0;
  bool m_digits = false;
};

Twin WithStrtod(const std::string& text) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  return {value, end != text.c_str()};
}

bool SameReal(double a, double b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

void ExpectLikeStrtod(const std::string& text) {
  SCOPED_TRACE("text \"" + text + "\"");
  const Twin twin = WithStrtod(text);
  const auto scanned = ScanReal(text);
  EXPECT_EQ(scanned.m_status != NumberStatus::kNoDigits, twin.m_digits);
  EXPECT_TRUE(SameReal(scanned.m_value, twin.m_value)) << scanned.m_value << " " << twin.m_value;
  EXPECT_TRUE(SameReal(ParseReal(text), twin.m_value));
}

class OddReal : public testing::TestWithParam<const char*> {};

TEST_P(OddReal, ReadsAsStrtodReadsIt) { ExpectLikeStrtod(GetParam()); }

INSTANTIATE_TEST_SUITE_P(
    Texts, OddReal,
    testing::Values("1e5", " +2", "0x1p3", "inf", "nan", "1e999", "1e-999", "1e-310", "", "-",
                    "+-1", "-+1", "--1", "++1", "1,5", "1.5abc", ".5", "5.", ".", "-.", "+.5e1",
                    "e5", ".e5", "1e", "1e+", "1e-", "1e+5", "1E5", "1e5.5", "-inf", "INFINITY",
                    "infinit", "-nan", "NaN", "nan(12)", "\t\n\v\f\r 7", "0", "-0", "-0.0", "+0",
                    "00012.50", "0x", "0xg", "0x.", "0x.8", "0X1.8P-2", "0x1p", "0x1pz", "-0x10",
                    "0x1p1024", "0x1p-1080", "0x1p-1074", "-1e999", "-1e-999", "1e400000000000",
                    "1e-400000000000", "0e999", "0e-999", "0.0000e99999", "123456789012345678",
                    "1234567890123456789", "12345678901234567890123", "9007199254740993",
                    "9007199254740992", "9007199254740991", "0.1", "0.30000000000000004",
                    "2.2250738585072014e-308", "2.2250738585072011e-308", "4.9e-324", "2e-324",
                    "1.7976931348623157e308", "1.7976931348623159e308", "1 2", "12\r\n", "1\t2",
                    "512.34567 889.1", "1_000", "- 1", "1.2.3", "0.000000000000000001",
                    "123456789.123456789", "1d5", "1f", "i", "n", "in", "na"));

TEST(ScanReal, AgreesWithStrtodOnPlainDecimals) {
  std::mt19937_64 random(11);
  SCOPED_TRACE("seed 11");
  for (int round = 0; round < 50000; ++round) {
    std::string text;
    for (std::uint64_t digits = random() % 11; digits > 0; --digits)
      text += static_cast<char>('0' + random() % 10);
    if (random() % 4 != 0) text += '.';
    for (std::uint64_t digits = random() % 11; digits > 0; --digits)
      text += static_cast<char>('0' + random() % 10);
    text += std::vector<std::string>{"", " ", "\n", "\r\n", "x", "\t1"}[random() % 6];
    ExpectLikeStrtod(text);
  }
}

TEST(ScanReal, AgreesWithStrtodOnRandomBitPatterns) {
  std::mt19937_64 random(12);
  SCOPED_TRACE("seed 12");
  for (int round = 0; round < 20000; ++round) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*e", static_cast<int>(random() % 20),
                  std::bit_cast<double>(random()));
    ExpectLikeStrtod(text);
  }
}

TEST(ScanReal, AgreesWithStrtodOnRandomGarbage) {
  constexpr std::string_view kAlphabet = "0123456789..--++eExXpPaAfF \tinfnan,";
  std::mt19937 random(13);
  SCOPED_TRACE("seed 13");
  for (int round = 0; round < 100000; ++round) {
    std::string text;
    for (auto length = random() % 10; length > 0; --length)
      text += kAlphabet[random() % kAlphabet.size()];
    ExpectLikeStrtod(text);
  }
}

TEST(ScanReal, ReadsNoFurtherThanItsText) {
  const std::string text = "123456";
  EXPECT_EQ(ParseReal(std::string_view(text).substr(0, 3)), 123.0);
}
TEST(ScanReal, CallsAnOverflowOutOfRange) {
  EXPECT_EQ(ScanReal("1e999").m_status, NumberStatus::kOutOfRange);
}
TEST(ScanReal, CallsAnUnderflowOutOfRange) {
  EXPECT_EQ(ScanReal("1e-999").m_status, NumberStatus::kOutOfRange);
}
TEST(ScanReal, CallsASubnormalOutOfRange) {
  EXPECT_EQ(ScanReal("1e-310").m_status, NumberStatus::kOutOfRange);
}
TEST(ScanReal, TakesInfinityAsANumber) { EXPECT_EQ(ScanReal("-inf").m_status, NumberStatus::kOk); }
TEST(ScanReal, StopsAtACommaWhateverTheLocale) {
  const std::string former = std::setlocale(LC_ALL, nullptr);
  // Harmless when the machine lacks them: the "C" locale stays.
  for (const char* const locale : {"de_DE.UTF-8", "fr_FR.UTF-8", "de_DE"})
    static_cast<void>(std::setlocale(LC_ALL, locale));
  EXPECT_EQ(ParseReal("1,5"), 1.0);
  EXPECT_EQ(ParseReal("1.5"), 1.5);
  std::setlocale(LC_ALL, former.c_str());
}

TEST(ScanInteger, IgnoresTextAfterTheDigits) { EXPECT_EQ(ParseInteger("12abc"), 12); }
TEST(ScanInteger, StopsAtThePoint) { EXPECT_EQ(ParseInteger("7.9"), 7); }
TEST(ScanInteger, SkipsLeadingWhiteSpace) { EXPECT_EQ(ParseInteger(" \t\n\v\f\r-4"), -4); }
TEST(ScanInteger, TakesAPlusSign) { EXPECT_EQ(ParseInteger("+4"), 4); }
TEST(ScanInteger, TakesOneSignOnly) {
  EXPECT_EQ(ScanInteger("+-4").m_status, NumberStatus::kNoDigits);
}
TEST(ScanInteger, OfNoDigitsIsZeroWithoutDigits) {
  const auto scanned = ScanInteger("x");
  EXPECT_EQ(scanned.m_value, 0);
  EXPECT_EQ(scanned.m_status, NumberStatus::kNoDigits);
}
TEST(ScanInteger, OfAnEmptyTextHasNoDigits) {
  EXPECT_EQ(ScanInteger("").m_status, NumberStatus::kNoDigits);
}
TEST(ScanInteger, TakesTheLargestValue) {
  EXPECT_EQ(ScanInteger("2147483647").m_value, 2147483647);
  EXPECT_EQ(ScanInteger("2147483647").m_status, NumberStatus::kOk);
}
TEST(ScanInteger, TakesTheSmallestValue) {
  EXPECT_EQ(ScanInteger("-2147483648").m_value, std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(ScanInteger("-2147483648").m_status, NumberStatus::kOk);
}
TEST(ScanInteger, SaturatesAboveTheLargestValue) {
  EXPECT_EQ(ScanInteger("2147483648").m_value, 2147483647);
  EXPECT_EQ(ScanInteger("2147483648").m_status, NumberStatus::kOutOfRange);
}
TEST(ScanInteger, SaturatesBelowTheSmallestValue) {
  EXPECT_EQ(ParseInteger("-2147483649"), std::numeric_limits<std::int32_t>::min());
}
TEST(ScanInteger, SaturatesBeyondSixtyFourBits) {
  EXPECT_EQ(ParseInteger("99999999999999999999999999"), 2147483647);
}
TEST(ScanInteger, AgreesWithStrtol) {
  constexpr std::string_view kAlphabet = "0123456789-+ \tx.";
  std::mt19937 random(14);
  SCOPED_TRACE("seed 14");
  for (int round = 0; round < 100000; ++round) {
    std::string text;
    for (auto length = random() % 12; length > 0; --length)
      text += kAlphabet[random() % (random() % 2 == 0 ? 10 : kAlphabet.size())];
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    const long limited = std::clamp<long>(value, std::numeric_limits<std::int32_t>::min(),
                                          std::numeric_limits<std::int32_t>::max());
    const auto scanned = ScanInteger(text);
    EXPECT_EQ(scanned.m_value, limited) << text;
    EXPECT_EQ(scanned.m_status == NumberStatus::kNoDigits, end == text.c_str()) << text;
    EXPECT_EQ(scanned.m_status == NumberStatus::kOutOfRange, value != limited) << text;
  }
}

TEST(StringToInt, IgnoresTrailingText) { EXPECT_EQ(StringToInt("12abc", "n"), 12); }
TEST(StringToInt, NamesTheParameterAndTheValue) {
  EXPECT_EQ(MessageOf([] { StringToInt("abc", "User Defined Parameter: m/z"); }),
            "cannot turn param: <name:User Defined Parameter: m/z> <value:abc> into an int.");
}
TEST(StringToInt, RefusesAValueOutOfRange) {
  EXPECT_EQ(MessageOf([] { StringToInt("2147483648", "n"); }),
            "cannot turn param: <name:n> <value:2147483648> into an int.");
}
TEST(StringToInt, ThrowsAString) { EXPECT_THROW(StringToInt("x", "n"), std::string); }
TEST(StringToDouble, IgnoresTrailingText) { EXPECT_EQ(StringToDouble(" -2.5e1ppm", "n"), -25.0); }
TEST(StringToDouble, RefusesAnEmptyValue) {
  EXPECT_EQ(MessageOf([] { StringToDouble("", "n"); }),
            "cannot turn param: <name:n> <value:> into an double.");
}
TEST(StringToDouble, RefusesAnOverflow) {
  EXPECT_EQ(MessageOf([] { StringToDouble("1e999", "n"); }),
            "cannot turn param: <name:n> <value:1e999> into an double.");
}

void ExpectLikePrintf(double value) {
  for (int decimals = 0; decimals <= 9; ++decimals) {
    char expected[400];
    std::snprintf(expected, sizeof expected, "%.*f", decimals, value);
    ASSERT_EQ(Fixed(value, decimals), expected) << "decimals " << decimals;
  }
}

TEST(AppendFixed, AppendsToWhatIsThere) {
  std::string text = "mz ";
  AppendFixed(text, 512.25, 1);
  EXPECT_EQ(text, "mz 512.2");
}
TEST(AppendFixed, RoundsAHalfToTheEvenNeighbour) {
  EXPECT_EQ(Fixed(0.5, 0), "0");
  EXPECT_EQ(Fixed(1.5, 0), "2");
  EXPECT_EQ(Fixed(2.5, 0), "2");
  EXPECT_EQ(Fixed(0.125, 2), "0.12");
  EXPECT_EQ(Fixed(0.375, 2), "0.38");
}
TEST(AppendFixed, KeepsTheSignOfZero) { EXPECT_EQ(Fixed(-0.0, 1), "-0.0"); }
TEST(AppendFixed, KeepsTheSignOfAValueThatRoundsToZero) { EXPECT_EQ(Fixed(-0.04, 1), "-0.0"); }
TEST(AppendFixed, CarriesIntoTheInteger) { EXPECT_EQ(Fixed(999.99999, 3), "1000.000"); }

TEST(AppendFixed, AgreesWithPrintfOnSpecialValues) {
  using Limits = std::numeric_limits<double>;
  for (const double value : {0.0,
                             0.5,
                             1.5,
                             2.5,
                             0.125,
                             0.0625,
                             1e-9,
                             5e-10,
                             1e15,
                             9007199254740992.0,
                             9007199254740993.5,
                             1e18,
                             9223372036854775808.0,
                             1e19,
                             1e22,
                             1e23,
                             1e300,
                             Limits::max(),
                             Limits::min(),
                             Limits::denorm_min(),
                             1e-310,
                             0x1p-45,
                             0x1p-46,
                             0x1.8p-68,
                             0x1p-69,
                             Limits::infinity(),
                             Limits::quiet_NaN()}) {
    ExpectLikePrintf(value);
    ExpectLikePrintf(-value);
  }
}
TEST(AppendFixed, AgreesWithPrintfOnExactHalves) {
  // For some number of decimals, k / 2^n with n <= 10 is exactly half way between two results.
  for (int n = 1; n <= 10; ++n)
    for (int k = 1; k < 4096; k += 2) ExpectLikePrintf(std::ldexp(k, -n));
}
TEST(AppendFixed, AgreesWithPrintfOnSpectrumValues) {
  std::mt19937_64 random(15);
  SCOPED_TRACE("seed 15");
  std::uniform_real_distribution<double> mz(-3000.0, 3000.0);
  std::uniform_real_distribution<double> exponent(-12.0, 18.0);
  for (int round = 0; round < 60000; ++round) {
    ExpectLikePrintf(mz(random));
    ExpectLikePrintf(std::pow(10.0, exponent(random)));
  }
}
TEST(AppendFixed, AgreesWithPrintfOnRandomBitPatterns) {
  std::mt19937_64 random(16);
  SCOPED_TRACE("seed 16");
  for (int round = 0; round < 20000; ++round) ExpectLikePrintf(std::bit_cast<double>(random()));
}

TEST(AppendInteger, WritesTheLimits) {
  std::string text = "x";
  AppendInteger(text, std::numeric_limits<std::int64_t>::min());
  AppendInteger(text, 0);
  AppendInteger(text, std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(text, "x-922337203685477580809223372036854775807");
}

TEST(Rounded, IsTheNumberThatTheTextGives) {
  EXPECT_EQ(Rounded(650.2499975, 5), 650.25);
  EXPECT_EQ(Rounded(3.25, 1), 3.2);  // a tie, which goes to the even digit
  EXPECT_EQ(Rounded(0.04, 1), 0.0);
  EXPECT_EQ(Rounded(-1.6, 0), -2.0);
}

void ExpectAsItsText(double value, int decimals) {
  const double expected = ParseReal(Fixed(value, decimals));
  if (std::bit_cast<std::uint64_t>(Rounded(value, decimals)) ==
      std::bit_cast<std::uint64_t>(expected))
    return;
  ADD_FAILURE() << ExactText(value) << " with " << decimals << " decimals";
}

TEST(Rounded, AgreesWithItsTextOnTenMillionNumbers) {
  std::mt19937_64 random(17);
  SCOPED_TRACE("seed 17");
  std::uniform_real_distribution<double> mz(50.0, 4000.0);
  std::uniform_real_distribution<double> exponent(-3.0, 11.0);
  for (int round = 0; round < 2'500'000; ++round) {
    const int decimals = static_cast<int>(random() % 10);
    ExpectAsItsText(mz(random), 5);
    ExpectAsItsText(std::pow(10.0, exponent(random)), decimals);
    // ties and their neighbours: odd multiples of a half, a quarter or an eighth of the last decimal
    const double tie = static_cast<double>(random() % 100'000'000) / 8.0;
    ExpectAsItsText(tie, static_cast<int>(random() % 4));
    ExpectAsItsText(std::nextafter(tie, 1e300), static_cast<int>(random() % 4));
  }
}
TEST(Rounded, AgreesWithItsTextOnRandomBitPatternsAndLimits) {
  std::mt19937_64 random(18);
  SCOPED_TRACE("seed 18");
  for (int round = 0; round < 100'000; ++round) {
    const auto value = std::bit_cast<double>(random());
    if (!std::isnan(value)) ExpectAsItsText(value, static_cast<int>(random() % 10));
  }
  for (const double value : {0.0, -0.0, 0x1p53, 0x1p53 - 1, 0x1p52 + 0.5, 9007199254740.993, 1e22,
                             5e-324, std::numeric_limits<double>::infinity()})
    for (int decimals = 0; decimals <= 9; ++decimals) {
      ExpectAsItsText(value, decimals);
      ExpectAsItsText(-value, decimals);
    }
}

TEST(AppendExactReal, GivesBackTheSameNumber) {
  using Limits = std::numeric_limits<double>;
  for (const double value : {0.0, 0.1, 650.2499980000001, 1.0 / 3.0, std::nextafter(500.0, 501.0),
                             Limits::min(), Limits::denorm_min(), Limits::max(), -1e-7}) {
    std::string text;
    AppendExactReal(text, value);
    EXPECT_EQ(ParseReal(text), value) << text;
  }
}
TEST(AppendExactReal, NeedsNoMoreDigitsThanThat) {
  std::string text = "x";
  AppendExactReal(text, 0.1);
  EXPECT_EQ(text, "x0.1");
}

TEST(FiniteReal, IsNothingForATextThatIsNoNumberOrNoFiniteOne) {
  EXPECT_EQ(FiniteReal("-2.5e1 Th"), -25.0);
  for (const char* text : {"", "x", "nan", "inf", "-inf", "1e999"})
    EXPECT_EQ(FiniteReal(text), std::nullopt) << text;
}

}  // namespace
}  // namespace tarvek
