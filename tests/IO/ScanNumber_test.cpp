#include "ScanNumber.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "Logger.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;

constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kSmallest = std::numeric_limits<std::int32_t>::min();

class ScanNumberTest : public testing::Test {
 protected:
  WrittenScanNumber Read(const std::string& text) {
    WrittenScanNumber number;
    m_warnings += CaptureConsole([&] { number = m_reader.Read(text, "a.ms2", logMessage); }).m_err;
    return number;
  }
  bool AreSame(const std::string& a, const std::string& b) { return Read(a).IsSameScan(Read(b)); }

  ScanNumberReader m_reader;
  std::string m_warnings;
};

TEST_F(ScanNumberTest, IsTheNumberAtTheStartOfTheText) {
  EXPECT_EQ(Read("17").m_scan_no, 17);
  EXPECT_EQ(Read(" 18x").m_scan_no, 18);
  EXPECT_EQ(Read("-3").m_scan_no, -3);
  EXPECT_EQ(Read("2147483647").m_scan_no, kLargest);
  EXPECT_EQ(Read("").m_scan_no, 0);
  EXPECT_EQ(m_warnings, "");
}
TEST_F(ScanNumberTest, IsTheLimitWhenItIsTooLarge) {
  EXPECT_EQ(Read("2147483648").m_scan_no, kLargest);
  EXPECT_EQ(Read("9223372036854775808").m_scan_no, kLargest);
  EXPECT_EQ(Read("-2147483649").m_scan_no, kSmallest);
}
TEST_F(ScanNumberTest, WarnsOnceOfAllThatAreTooLarge) {
  for (const char* const text : {"1", "2147483648", "2147483649", "99999999999999999999"})
    Read(text);
  EXPECT_EQ(m_warnings,
            "[Tarvek] <WARN> - a.ms2 has scan numbers that are too large: each such scan gets the "
            "number 2147483647, and which survey belongs to it is not known.\n");
}
TEST_F(ScanNumberTest, IsTheSameScanWhenTheWrittenNumbersAreEqual) {
  EXPECT_TRUE(AreSame("7", "07"));
  EXPECT_TRUE(AreSame("3000000000", "3000000000"));
  EXPECT_FALSE(AreSame("7", "8"));
  EXPECT_FALSE(AreSame("3000000000", "3000000001"));
  EXPECT_FALSE(AreSame("2147483647", "2147483648"));
}
TEST_F(ScanNumberTest, OfMoreThanSixtyFourBitsIsLikeNoOther) {
  EXPECT_FALSE(AreSame("9223372036854775808", "9223372036854775808"));
  EXPECT_FALSE(AreSame("9223372036854775808", "9223372036854775807"));
}

}  // namespace
}  // namespace tarvek
