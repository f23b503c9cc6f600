#include "IsotopeTable.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "TestSupport.h"

namespace tarvek {
namespace {

using test::MessageOf;
using test::TemporaryDirectory;
using test::WriteFile;

constexpr const char* kNoRow =
    "m_h_is_IPV_inited && (int)mz < m_h_IPV_Matrix.size(), module FeaturesExtractor";

std::string ParseMessage(std::string_view text) {
  return MessageOf([text] { ParseIsotopeTable(text, "dir/IPV.txt"); });
}

TEST(ParseIsotopeTable, FillsThreeRowsAndLeavesTheRestAtZero) {
  const IsotopeTable table = ParseIsotopeTable("1 2 3 4 5\n6 7 8 9 10\n0.5 1e-3 .25 -2 +3\n", "p");
  ASSERT_EQ(table.size(), 15000u);
  EXPECT_EQ(table[0], (IsotopeRow{1, 2, 3, 4, 5}));
  EXPECT_EQ(table[1], (IsotopeRow{6, 7, 8, 9, 10}));
  EXPECT_EQ(table[2], (IsotopeRow{0.5, 1e-3, 0.25, -2, 3}));
  EXPECT_EQ(table[3], IsotopeRow{});
  EXPECT_EQ(table[14999], IsotopeRow{});
}

TEST(ParseIsotopeTable, TakesLineBreaksForWhiteSpace) {
  const IsotopeTable table = ParseIsotopeTable("1\n2\n\n3 4\t5 6\n", "p");
  EXPECT_EQ(table[0], (IsotopeRow{1, 2, 3, 4, 5}));
  EXPECT_EQ(table[1], (IsotopeRow{6, 0, 0, 0, 0}));
}

TEST(ParseIsotopeTable, LeavesTheEndOfAPartialLastRowAtZero) {
  const IsotopeTable table = ParseIsotopeTable("1 2 3 4 5\n6 7", "p");
  EXPECT_EQ(table[1], (IsotopeRow{6, 7, 0, 0, 0}));
}

TEST(ParseIsotopeTable, ReadsCarriageReturnsAsWhiteSpace) {
  const IsotopeTable table = ParseIsotopeTable("1 2 3 4 5\r\n6 7 8 9 10\r\n", "p");
  EXPECT_EQ(table[0], (IsotopeRow{1, 2, 3, 4, 5}));
  EXPECT_EQ(table[1], (IsotopeRow{6, 7, 8, 9, 10}));
}

TEST(ParseIsotopeTable, GivesZerosForEmptyText) {
  EXPECT_EQ(ParseIsotopeTable("", "p"), IsotopeTable(15000, IsotopeRow{}));
}

TEST(ParseIsotopeTable, GivesZerosForWhiteSpaceAlone) {
  EXPECT_EQ(ParseIsotopeTable(" \r\n\t\n", "p"), IsotopeTable(15000, IsotopeRow{}));
}

TEST(ParseIsotopeTable, NamesFileAndLineOfATokenThatIsNoNumber) {
  EXPECT_EQ(ParseMessage("1 2 3 4 5\n6 seven 8 9 10\n"),
            "Isotope table dir/IPV.txt, line 2: 'seven' is not a number.");
}

TEST(ParseIsotopeTable, CountsEmptyLinesAndCarriageReturnLineFeedsOnce) {
  EXPECT_EQ(ParseMessage("1\r\n\r\n\r\nx"),
            "Isotope table dir/IPV.txt, line 4: 'x' is not a number.");
}

TEST(ParseIsotopeTable, RefusesANumberWithTextBehindIt) {
  EXPECT_EQ(ParseMessage("1,5"), "Isotope table dir/IPV.txt, line 1: '1,5' is not a number.");
}

TEST(ParseIsotopeTable, RefusesValuesThatAreNotFinite) {
  EXPECT_EQ(ParseMessage("nan"), "Isotope table dir/IPV.txt, line 1: 'nan' is not a number.");
  EXPECT_EQ(ParseMessage("inf"), "Isotope table dir/IPV.txt, line 1: 'inf' is not a number.");
  EXPECT_EQ(ParseMessage("1e999"), "Isotope table dir/IPV.txt, line 1: '1e999' is not a number.");
}

TEST(ParseIsotopeTable, RefusesASignAlone) {
  EXPECT_EQ(ParseMessage("+"), "Isotope table dir/IPV.txt, line 1: '+' is not a number.");
}

TEST(ParseIsotopeTable, RefusesTwoSigns) {
  EXPECT_EQ(ParseMessage("+-5"), "Isotope table dir/IPV.txt, line 1: '+-5' is not a number.");
}

TEST(ParseIsotopeTable, ShowsAtMostFortyCharactersOfTheToken) {
  EXPECT_EQ(ParseMessage(std::string(100, 'x')),
            "Isotope table dir/IPV.txt, line 1: '" + std::string(40, 'x') + "' is not a number.");
}

/// Text of this many rows, each "row 1 0 0 0".
std::string RowsOfText(std::size_t count) {
  std::string text;
  for (std::size_t row = 0; row < count; ++row) text += std::to_string(row) + " 1 0 0 0\n";
  return text;
}

TEST(ParseIsotopeTable, ReadsTheLastOfFifteenThousandRows) {
  EXPECT_EQ(ParseIsotopeTable(RowsOfText(15000), "p")[14999], (IsotopeRow{14999, 1, 0, 0, 0}));
}

TEST(ParseIsotopeTable, DoesNotReadRowsBeyondTheLast) {
  const std::string rows = RowsOfText(15000);
  const IsotopeTable table = ParseIsotopeTable(rows + "7 7 7 7 7\nno number at all\n", "p");
  EXPECT_EQ(table, ParseIsotopeTable(rows, "p"));
}

/// A table with i in the first column of row i.
IsotopeTable NumberedTable(std::size_t rows) {
  IsotopeTable table(rows);
  for (std::size_t i = 0; i < rows; ++i) table[i][0] = static_cast<double>(i);
  return table;
}

TEST(LookUpIsotopeRow, UsesRow1003ForChargeMinusTwoAtMz500) {
  InstallIsotopeTable(NumberedTable(15000));
  // Both signs are negative: 1000 + 2.014552 + 1.007276 = 1003.02.
  EXPECT_EQ(LookUpIsotopeRow({-500.0, -2})[0], 1003.0);
}

TEST(LookUpIsotopeRow, UsesRow998ForChargeTwoAtMz500) {
  InstallIsotopeTable(NumberedTable(15000));
  EXPECT_EQ(LookUpIsotopeRow({500.0, 2})[0], 998.0);  // 1000 - 2.014552 + 1.007276 = 998.99
}

TEST(LookUpIsotopeRow, UsesTheMzItselfForChargeOne) {
  InstallIsotopeTable(NumberedTable(15000));
  EXPECT_EQ(LookUpIsotopeRow({700.5, 1})[0], 700.0);
}

TEST(LookUpIsotopeRow, GivesAnAllZeroRowAboveATableOfThreeRows) {
  InstallIsotopeTable(ParseIsotopeTable("1 2 3 4 5\n6 7 8 9 10\n1 1 1 1 1\n", "p"));
  EXPECT_EQ(LookUpIsotopeRow({3.5, 1}), IsotopeRow{});
  EXPECT_EQ(LookUpIsotopeRow({14999.5, 1}), IsotopeRow{});
}

TEST(LookUpIsotopeRow, UsesTheLastRowJustBelowTheEndOfTheTable) {
  InstallIsotopeTable(NumberedTable(15000));
  EXPECT_EQ(LookUpIsotopeRow({14999.99, 1})[0], 14999.0);
}

TEST(LookUpIsotopeRow, FailsACheckAtTheEndOfTheTable) {
  InstallIsotopeTable(NumberedTable(15000));
  EXPECT_FALSE(IsInIsotopeTable({15000.01, 1}));
  EXPECT_EQ(MessageOf([] { LookUpIsotopeRow({15000.01, 1}); }), kNoRow);
}

TEST(LookUpIsotopeRow, FailsACheckForANegativeIndex) {
  InstallIsotopeTable(NumberedTable(15000));
  EXPECT_FALSE(IsInIsotopeTable({0.1, 4}));  // 0.4 - 4.03 + 1.01 = -2.6
  EXPECT_EQ(MessageOf([] { LookUpIsotopeRow({0.1, 4}); }), kNoRow);
}

TEST(LookUpIsotopeRow, FailsACheckWithAnEmptyTable) {
  InstallIsotopeTable({});
  EXPECT_EQ(MessageOf([] { LookUpIsotopeRow({500.0, 2}); }), kNoRow);
}

TEST(ProtonatedMassDa, IsTheMzOfASinglyProtonatedIon) {
  EXPECT_EQ(ProtonatedMassDa({700.25, 1}), 700.25);
}

TEST(ProtonatedMassDa, AddsTheProtonsThatADeprotonatedIonLost) {
  EXPECT_NEAR(ProtonatedMassDa({-500.0, -2}), 1003.021828, 1e-9);
}

TEST(LoadIsotopeTable, DoesNothingOnceATableIsThere) {
  InstallIsotopeTable(NumberedTable(15000));
  EXPECT_EQ(MessageOf([] { LoadIsotopeTable("no/such/file"); }), test::kNothingThrown);
  EXPECT_EQ(LookUpIsotopeRow({500.0, 1})[0], 500.0);
}

// The table is loaded once per process, so each test of loading runs in a separate process, which
// exits with 0 on success.

[[noreturn]] void LoadTwiceAndLeave(const std::string& first, const std::string& second) {
  const bool before = IsInIsotopeTable({1.5, 1});
  LoadIsotopeTable(first);
  LoadIsotopeTable(second);
  const bool loaded = LookUpIsotopeRow({1.5, 1}) == IsotopeRow{6, 7, 8, 9, 10};
  std::exit(!before && loaded ? 0 : 1);
}

[[noreturn]] void LoadMissingAndLeave(const std::string& path) {
  const std::string message = MessageOf([&] { LoadIsotopeTable(path); });
  const bool row = IsInIsotopeTable({1.5, 1});
  std::exit(message == "Cannot open IPV Store File, Path: " + path && !row ? 0 : 1);
}

[[noreturn]] void LookUpWithoutTableAndLeave() {
  std::exit(MessageOf([] { LookUpIsotopeRow({500.0, 2}); }) == kNoRow ? 0 : 1);
}

TEST(LoadIsotopeTableDeathTest, ReadsTheFirstFileAndNoOther) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const TemporaryDirectory directory;
  WriteFile(directory / "a.txt", "1 2 3 4 5\n6 7 8 9 10\n");
  WriteFile(directory / "b.txt", "9 9 9 9 9\n9 9 9 9 9\n");
  EXPECT_EXIT(LoadTwiceAndLeave(directory / "a.txt", directory / "b.txt"),
              testing::ExitedWithCode(0), "");
}

TEST(LoadIsotopeTableDeathTest, NamesAFileThatCannotBeOpened) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const TemporaryDirectory directory;
  EXPECT_EXIT(LoadMissingAndLeave(directory / "none.txt"), testing::ExitedWithCode(0), "");
}

TEST(LoadIsotopeTableDeathTest, LooksNothingUpBeforeATableIsThere) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(LookUpWithoutTableAndLeave(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace tarvek
