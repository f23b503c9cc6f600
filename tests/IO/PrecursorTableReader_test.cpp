#include "PrecursorTableReader.h"

#include <gtest/gtest.h>

#include <string>

#include "TestSupport.h"

namespace tarvek {
namespace {

using test::MessageOf;
using test::TemporaryDirectory;
using test::WriteFile;

const std::string kHeader =
    "ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, TotleNumOfPrecursor\n";

/// What is wrong with the only row of a table.
std::string FaultOfRow(const std::string& row) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a.csv", kHeader + row);
  PrecursorTableReader reader(directory / "a.csv");
  PrecursorRow read;
  return reader.NextLine() ? reader.ReadRow(read) : "(no row)";
}

TEST(PrecursorTableReader, GivesTheRowsInTheirOrderWithTheirSigns) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a.csv",
            kHeader +
                "HCD, FT, 15, -650.32, -2, 2, 1, -650.321234, -2, 2, -433.88, -3, \r\n"
                "CID, ITMS, 7, -1.000000, -1, 0, \n");
  PrecursorTableReader reader(directory / "a.csv");
  ASSERT_TRUE(reader.HasHeader());
  PrecursorRow row;
  ASSERT_TRUE(reader.Next(row));
  EXPECT_EQ(row.m_activation, "HCD");
  EXPECT_EQ(row.m_analyser, "FT");
  EXPECT_EQ(row.m_scan_no, 15);
  EXPECT_EQ(row.m_declared.m_mz, -650.32);
  EXPECT_EQ(row.m_declared.m_charge, -2);
  ASSERT_EQ(row.m_determined.size(), 2u);
  EXPECT_EQ(row.m_determined[1].m_mz, -433.88);
  EXPECT_EQ(row.m_determined[1].m_charge, -3);
  ASSERT_TRUE(reader.Next(row));
  EXPECT_EQ(row.m_scan_no, 7);
  EXPECT_EQ(row.m_declared.m_mz, -1.0);
  EXPECT_TRUE(row.m_determined.empty());
  EXPECT_EQ(reader.Number(), 3);
  EXPECT_FALSE(reader.Next(row));
}

TEST(PrecursorTableReader, SaysWhatIsWrongWithARow) {
  const std::string too_few = "The row is cut off or has too few fields.";
  EXPECT_EQ(FaultOfRow("\n"), too_few);
  EXPECT_EQ(FaultOfRow("HCD, FT, 15, 650.32, 2, \n"), too_few);
  EXPECT_EQ(FaultOfRow("HCD, FT, x, 650.32, 2, 0, \n"), "'x' is not a number.");
  EXPECT_EQ(FaultOfRow("HCD, FT, 15, y, 2, 0, \n"), "'y' is not a number.");
  EXPECT_EQ(FaultOfRow("HCD, FT, 15, 650.32, nan, 0, \n"), "'nan' is not a number.");
  EXPECT_EQ(FaultOfRow("HCD, FT, 15, 650.32, 2, 1, 1, 650.32, , \n"), "'' is not a number.");
  EXPECT_EQ(FaultOfRow("HCD, FT, 15, 650.32, 2, 2, 1, 650.32, 2, \n"),
            "The row counts 2 precursors and has 3 fields for them.");
  EXPECT_EQ(FaultOfRow("HCD, FT, 15, 650.32, 2, -1, \n"),
            "The row counts -1 precursors and has 0 fields for them.");
  EXPECT_EQ(FaultOfRow("HCD, FT, 15, 650.32, 2, 0, \n"), "");
}

/// A row that counts so many precursors and has them.
std::string RowOf(int precursors) {
  std::string row = "HCD, FT, 15, 650.32, 2, " + std::to_string(precursors) + ", ";
  for (int i = 1; i <= precursors; ++i) row += std::to_string(i) + ", 650.32, 2, ";
  return row + "\n";
}

TEST(PrecursorTableReader, RefusesMorePrecursorsThanAnyScanHas) {
  EXPECT_EQ(FaultOfRow(RowOf(2000)), "");
  const std::string too_many = "The row has more than 6006 fields, which no scan needs.";
  EXPECT_EQ(FaultOfRow(RowOf(2001)), too_many);
  EXPECT_EQ(FaultOfRow(std::string(9'800'000, ',') + "\n"), too_many);
}

TEST(PrecursorTableReader, RefusesLongWords) {
  const std::string end = ", 15, 650.32, 2, 0, \n";
  EXPECT_EQ(FaultOfRow(std::string(100, 'H') + ", " + std::string(100, 'F') + end), "");
  const std::string fault = "The row has a word of more than 100 bytes.";
  EXPECT_EQ(FaultOfRow(std::string(101, 'H') + ", FT" + end), fault);
  EXPECT_EQ(FaultOfRow("HCD, " + std::string(101, 'F') + end), fault);
}

TEST(PrecursorTableReader, NamesFileAndLineOfADamagedRow) {
  const TemporaryDirectory directory;
  const std::string path = directory / "a.csv";
  WriteFile(path, kHeader + "HCD, FT, 15, 650.32, 2, 0, \nHCD\n");
  PrecursorTableReader reader(path);
  PrecursorRow row;
  ASSERT_TRUE(reader.Next(row));
  EXPECT_EQ(MessageOf([&] { reader.Next(row); }),
            path + ", line 3: The row is cut off or has too few fields.");
}

TEST(IsPrecursorTable, LooksAtTheBeginningOfAFile) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a", kHeader);
  WriteFile(directory / "b", "sample,day\n");
  WriteFile(directory / "c", "");
  EXPECT_TRUE(IsPrecursorTable(directory / "a"));
  EXPECT_FALSE(IsPrecursorTable(directory / "b"));
  EXPECT_FALSE(IsPrecursorTable(directory / "c"));
  EXPECT_FALSE(IsPrecursorTable(directory / "none"));
  EXPECT_FALSE(IsPrecursorTable(directory.Path()));
}

}  // namespace
}  // namespace tarvek
