#include "MgfText.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <regex>
#include <string>

#include "StringUtils.h"

namespace tarvek {
namespace {

TEST(MgfTitle, IsReadFromItsEnd) {
  const auto title = ParseMgfTitle("a.b.7.7.-2.1.dta");
  ASSERT_TRUE(title);
  EXPECT_EQ(title->m_run, "a.b");
  EXPECT_EQ(title->m_scan_no, 7);
  EXPECT_EQ(title->m_charge, -2);
  EXPECT_EQ(title->m_index, 1);
  EXPECT_TRUE(title->m_is_whole);
}

TEST(MgfTitle, MayLackIndexAndEnding) {
  for (const char* text : {"run.5.7.7.2.dta", "run.5.7.7.2"}) {
    const auto title = ParseMgfTitle(text);
    ASSERT_TRUE(title) << text;
    EXPECT_EQ(title->m_run, "run.5");
    EXPECT_EQ(title->m_scan_no, 7);
    EXPECT_EQ(title->m_charge, 2);
    EXPECT_EQ(title->m_index, 0);
    EXPECT_FALSE(title->m_is_whole);
  }
  EXPECT_EQ(ParseMgfTitle("7.7.2")->m_run, "");
}

TEST(MgfTitle, IsNotWholeWithoutOneScanNumberTwiceRunIndexAndEnding) {
  for (const char* text : {"run.5.6.2.0.dta", "5.5.2.0.dta", "run.5.5.2.-1.dta", "run.5.5.2.0"}) {
    ASSERT_TRUE(ParseMgfTitle(text)) << text;
    EXPECT_FALSE(ParseMgfTitle(text)->m_is_whole) << text;
  }
}

TEST(MgfTitle, IsNothingWithoutThreeNumbers) {
  for (const char* text : {"", "scan 5", "run.7.2.dta", "run.7.7.x.dta", "run.7.7.99999999999.dta",
                           "7.7", "run.7..2.dta"})
    EXPECT_FALSE(ParseMgfTitle(text)) << text;
}

TEST(MgfTitle, MayHaveALineEndBehindIt) {
  const auto title = ParseMgfTitle("run.7.7.2.0.dta \r\n");
  ASSERT_TRUE(title);
  EXPECT_TRUE(title->m_is_whole);
}

TEST(MgfTitle, IsWrittenAsItIsRead) {
  std::string line;
  AppendMgfTitle(line, {"a.b", 7, -2, 1});
  EXPECT_EQ(line, "TITLE=a.b.7.7.-2.1.dta\n");
}

TEST(MgfLine, IsToldByItsBeginning) {
  struct Case {
    const char* m_line;
    MgfToken m_token;
    const char* m_text;
  };
  for (const Case& c :
       {Case{"BEGIN IONS\n", MgfToken::kBegin, ""}, Case{"END IONS \r\n", MgfToken::kEnd, ""},
        Case{"END IONS and more", MgfToken::kEnd, " and more"},
        Case{"TITLE=a b\r\n", MgfToken::kTitle, "a b"}, Case{"CHARGE=2+", MgfToken::kCharge, "2+"},
        Case{"RTINSECONDS=1.5\n", MgfToken::kTime, "1.5"},
        Case{"PEPMASS=400.5 9\n", MgfToken::kPepmass, "400.5 9"},
        Case{"0.5 1 \n", MgfToken::kPeak, "0.5 1 \n"},
        Case{"title=a\n", MgfToken::kOther, "title=a\n"},
        Case{" 0.5 1", MgfToken::kOther, " 0.5 1"}, Case{"", MgfToken::kOther, ""}}) {
    EXPECT_EQ(ReadMgfLine(c.m_line).m_token, c.m_token) << c.m_line;
    EXPECT_EQ(ReadMgfLine(c.m_line).m_text, c.m_text) << c.m_line;
  }
}

TEST(MgfCharge, HasItsSignBehindIt) {
  EXPECT_EQ(ScanMgfCharge("2+").m_value, 2);
  EXPECT_EQ(ScanMgfCharge("3-").m_value, -3);
  EXPECT_EQ(ScanMgfCharge("4").m_value, 4);
  EXPECT_EQ(ScanMgfCharge("2+ and 3+").m_value, 2);
  for (const char* text : {"", "+2", "-2", "x"})
    EXPECT_EQ(ScanMgfCharge(text).m_status, NumberStatus::kNoDigits) << text;
}

/// The text of the scan number, by regular expressions for the rule in docs/formats/mgf.md.
std::string ScanTextByPattern(const std::string& title) {
  static const std::regex kWithIndex(R"((?:.*)\.(\d+)\.\1\.-?\d+\.\d+\.dta)");
  static const std::regex kWithoutIndex(R"((?:.*)\.(\d+)\.\1\.-?\d+\.dta)");
  std::smatch match;
  if (std::regex_match(title, match, kWithIndex) || std::regex_match(title, match, kWithoutIndex))
    return match[1];
  return std::string(TokenAt(title, '.', 1));
}

TEST(MgfScanNumber, AgreesWithAPatternForTitlesOfAnyFields) {
  constexpr std::array<const char*, 9> kFields = {"1", "1",  "2",   "07",         "-1",
                                                  "",  "ab", "dta", "99999999999"};
  std::mt19937 random(20);
  std::size_t ours = 0;
  for (int i = 0; i < 100'000; ++i) {
    std::string title = kFields[random() % kFields.size()];
    for (auto fields = random() % 7; fields > 0; --fields) {
      title += '.';
      title += kFields[random() % kFields.size()];
    }
    if (random() % 2 == 0) title += ".dta";
    const std::string expected_text = ScanTextByPattern(title);
    if (expected_text != TokenAt(title, '.', 1)) ++ours;
    const auto expected = ScanInteger(expected_text);
    const auto scanned = ScanMgfScanNumber(title);
    ASSERT_EQ(scanned.m_status, expected.m_status) << title;
    ASSERT_EQ(scanned.m_value, expected.m_value) << title;
  }
  EXPECT_GT(ours, 1000U);
}

}  // namespace
}  // namespace tarvek
