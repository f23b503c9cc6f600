#include "mgf/Title.h"

#include <gtest/gtest.h>

namespace tarvek::tools {
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

}  // namespace
}  // namespace tarvek::tools
