#include "ScanTable.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "Logger.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;
using test::MessageOf;
using test::TemporaryDirectory;

const std::string kHeader =
    "ScanNo\tPrecursorScan\tactivationCenter\tRetTime\tIonInjectionTime\tactivationType\t"
    "InstrumentType\tNumberofPeaks\tStartPos\tEndPos\tlowerCharge\tmonoIsotopicMz\n";

ScanTable TableOf(const std::string& content) {
  const TemporaryDirectory directory;
  test::WriteFile(directory / "a.mscsv", content);
  ScanTable table;
  CaptureConsole([&] { table = LoadScanTable(directory / "a.mscsv"); });
  return table;
}

std::string ErrorOf(const std::string& content) {
  return MessageOf([&] { TableOf(content); });
}

/// A row of zeros except for one field.
std::string RowWith(std::size_t field, const std::string& value) {
  std::array<std::string, 12> fields;
  fields.fill("0");
  fields[field] = value;
  std::string line;
  for (std::size_t i = 0; i < fields.size(); ++i) line += (i == 0 ? "" : "\t") + fields[i];
  return line + "\n";
}

/// The entry of scan 0 after a header and a row of zeros except for one field.
ScanTableEntry EntryWith(std::size_t field, const std::string& value) {
  return *TableOf(kHeader + RowWith(field, value)).Find(0);
}

std::string Row(int scan_no) { return RowWith(0, std::to_string(scan_no)); }

void ExpectScanSeven(const ScanTable& table) {
  const ScanTableEntry* const entry = table.Find(7);
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->m_scan_no, 7);
  EXPECT_EQ(entry->m_precursor_scan, 5);
  EXPECT_EQ(entry->m_activation_center, 500.25);
  EXPECT_EQ(entry->m_rt, 61.5);
  EXPECT_EQ(entry->m_ion_injection_time, 12.75);
  EXPECT_EQ(entry->m_activation_type, "HCD");
  EXPECT_EQ(entry->m_instrument_type, "FTMS");
  EXPECT_EQ(entry->m_peak_num, 120);
  EXPECT_EQ(entry->m_start_pos, 5000000000);
  EXPECT_EQ(entry->m_end_pos, 5000001928);
  EXPECT_EQ(entry->m_lower_charge, 3);
  EXPECT_EQ(entry->m_mono_mz, 499.75);
}

TEST(ScanTable, FillsEveryFieldFromItsColumn) {
  ExpectScanSeven(TableOf(kHeader +
                          "7\t5\t500.25\t61.5\t12.75\tHCD\tFTMS\t120\t5000000000\t5000001928\t3\t"
                          "499.75\n"));
}

TEST(ScanTable, FindsTheColumnsInAnyOrder) {
  ExpectScanSeven(
      TableOf("monoIsotopicMz\tlowerCharge\tEndPos\tStartPos\tNumberofPeaks\tInstrumentType\t"
              "activationType\tIonInjectionTime\tRetTime\tactivationCenter\tPrecursorScan\tScanNo\n"
              "499.75\t3\t5000001928\t5000000000\t120\tFTMS\tHCD\t12.75\t61.5\t500.25\t5\t7\n"));
}

TEST(ScanTable, PassesOverColumnsOfOtherNames) {
  ExpectScanSeven(TableOf("scanno\t" + kHeader.substr(0, kHeader.size() - 1) + "\tScanNo2\n" +
                          "99\t7\t5\t500.25\t61.5\t12.75\tHCD\tFTMS\t120\t5000000000\t5000001928\t3"
                          "\t499.75\t98\n"));
}

TEST(ScanTable, FillsTheGapsWithDefaultEntries) {
  const ScanTable table = TableOf(kHeader + Row(1) + Row(2) + Row(5));
  EXPECT_EQ(table.Size(), 6u);
  for (const int gap : {0, 3, 4}) {
    SCOPED_TRACE(gap);
    ASSERT_NE(table.Find(gap), nullptr);
    EXPECT_EQ(table.Find(gap)->m_scan_no, 0);
    EXPECT_EQ(table.Find(gap)->m_precursor_scan, 0);
  }
}

TEST(ScanTable, HasNothingOutsideItsScans) {
  const ScanTable table = TableOf(kHeader + Row(2));
  EXPECT_EQ(table.Find(-1), nullptr);
  EXPECT_EQ(table.Find(3), nullptr);
}

TEST(ScanTable, IsEmptyWithAHeaderAlone) {
  const ScanTable table = TableOf(kHeader);
  EXPECT_EQ(table.Size(), 0u);
  EXPECT_EQ(table.Find(0), nullptr);
}

TEST(ScanTable, TakesRowsInAnyOrder) {
  const ScanTable table = TableOf(kHeader + Row(5) + Row(2));
  EXPECT_EQ(table.Size(), 6u);
  EXPECT_EQ(table.Find(2)->m_scan_no, 2);
  EXPECT_EQ(table.Find(5)->m_scan_no, 5);
  ASSERT_EQ(table.Rows().size(), 2u);
  EXPECT_EQ(table.Rows()[0].m_scan_no, 2);
  EXPECT_EQ(table.Rows()[1].m_scan_no, 5);
}

TEST(ScanTable, ReplacesARowByALaterOneOfTheSameScan) {
  EXPECT_EQ(TableOf(kHeader + RowWith(1, "8") + RowWith(1, "9")).Find(0)->m_precursor_scan, 9);
}

TEST(ScanTable, TruncatesTheLowerChargeTowardsZero) {
  EXPECT_EQ(EntryWith(10, "2.9").m_lower_charge, 2);
  EXPECT_EQ(EntryWith(10, "-2.9").m_lower_charge, -2);
  EXPECT_EQ(EntryWith(10, "-0.5").m_lower_charge, 0);
}

TEST(ScanTable, KeepsAChargeBeyondTheRangeAtItsEnd) {
  EXPECT_EQ(EntryWith(10, "1e10").m_lower_charge, 2147483647);
  EXPECT_EQ(EntryWith(10, "-1e300").m_lower_charge, -2147483647 - 1);
}

TEST(ScanTable, TrimsTheTexts) {
  EXPECT_EQ(EntryWith(5, "HCD\r").m_activation_type, "HCD");
  EXPECT_EQ(EntryWith(5, " \rHCD ").m_activation_type, "HCD");
  EXPECT_EQ(EntryWith(6, " FTMS\r").m_instrument_type, "FTMS");
}

TEST(ScanTable, TrimsTheCarriageReturnOfALastTextField) {
  const std::string header =
      "ScanNo\tPrecursorScan\tactivationCenter\tRetTime\tIonInjectionTime\tInstrumentType\t"
      "NumberofPeaks\tStartPos\tEndPos\tlowerCharge\tmonoIsotopicMz\tactivationType\r\n";
  const ScanTable table = TableOf(header + "0\t1\t2\t3\t4\tFTMS\t5\t6\t7\t8\t9\tHCD\r\n");
  EXPECT_EQ(table.Find(0)->m_activation_type, "HCD");
}

TEST(ScanTable, KeepsTheCaseOfTexts) {
  EXPECT_EQ(EntryWith(5, "eThcd").m_activation_type, "eThcd");
}

TEST(ScanTable, TakesLeadingBlanksAndIgnoresTextAfterANumber) {
  EXPECT_EQ(EntryWith(1, "  12abc").m_precursor_scan, 12);
  EXPECT_EQ(EntryWith(3, " 1.5min").m_rt, 1.5);
}

TEST(ScanTable, MarksASurvey) { EXPECT_EQ(EntryWith(1, "-1").m_precursor_scan, -1); }

TEST(ScanTable, SkipsEmptyLines) {
  const ScanTable table = TableOf(kHeader + "\n" + Row(1) + "\r\n\n" + Row(2) + "\n");
  EXPECT_EQ(table.Size(), 3u);
}

TEST(ScanTable, ReadsMissingTextsAsEmpty) {
  const std::string texts_last =
      "ScanNo\tPrecursorScan\tactivationCenter\tRetTime\tIonInjectionTime\tNumberofPeaks\tStartPos"
      "\tEndPos\tlowerCharge\tmonoIsotopicMz\tactivationType\tInstrumentType\n";
  const ScanTable table = TableOf(texts_last + "0\t1\t2\t3\t4\t5\t6\t7\t8\t9\n");
  EXPECT_EQ(table.Find(0)->m_activation_type, "");
  EXPECT_EQ(table.Find(0)->m_instrument_type, "");
}

TEST(ScanTable, RefusesAnEmptyFile) { EXPECT_EQ(ErrorOf(""), "mscsv file is empty!"); }

TEST(ScanTable, NamesTheFirstColumnThatIsMissing) {
  EXPECT_EQ(ErrorOf("\n"), "mscsv file has no column ScanNo!");
  EXPECT_EQ(ErrorOf("ScanNo\tRetTime\n"), "mscsv file has no column PrecursorScan!");
}

TEST(ScanTable, NeedsTheExactColumnName) {
  std::string header = kHeader;
  header[header.find("RetTime")] = 'r';
  EXPECT_EQ(ErrorOf(header), "mscsv file has no column RetTime!");
}

TEST(ScanTable, TellsWhichConversionFoundNoNumber) {
  const std::array<const char*, 12> conversion = {"stoi",  "stoi",  "stod",  "stod",
                                                  "stod",  nullptr, nullptr, "stoi",
                                                  "stoll", "stoll", "stod",  "stod"};
  for (std::size_t field = 0; field < conversion.size(); ++field) {
    if (conversion[field] == nullptr) continue;
    SCOPED_TRACE(field);
    EXPECT_EQ(ErrorOf(kHeader + RowWith(field, "x")),
              "invalid " + std::string(conversion[field]) + " argument");
  }
}

TEST(ScanTable, TellsWhichConversionLeftItsRange) {
  EXPECT_EQ(ErrorOf(kHeader + RowWith(0, "2147483648")), "stoi argument out of range");
  EXPECT_EQ(ErrorOf(kHeader + RowWith(7, "-2147483649")), "stoi argument out of range");
  EXPECT_EQ(ErrorOf(kHeader + RowWith(8, "9223372036854775808")), "stoll argument out of range");
  EXPECT_EQ(ErrorOf(kHeader + RowWith(9, "-9223372036854775809")), "stoll argument out of range");
  EXPECT_EQ(ErrorOf(kHeader + RowWith(2, "1e999")), "stod argument out of range");
  EXPECT_EQ(ErrorOf(kHeader + RowWith(10, "-1e999")), "stod argument out of range");
}

TEST(ScanTable, ReportsTheFirstMissingNumberOfARow) {
  EXPECT_EQ(ErrorOf(kHeader + "1\t2\n"), "invalid stod argument");
  EXPECT_EQ(ErrorOf(kHeader + "1\t2\t3\t4\t5\tHCD\tFT\n"), "invalid stoi argument");
  EXPECT_EQ(ErrorOf(kHeader + "1\t2\t3\t4\t5\tHCD\tFT\t6\n"), "invalid stoll argument");
}

TEST(ScanTable, ReportsTheFirstBadFieldByColumnAndNotByPlace) {
  EXPECT_EQ(ErrorOf("monoIsotopicMz\tlowerCharge\tEndPos\tStartPos\tNumberofPeaks\tInstrumentType\t"
                    "activationType\tIonInjectionTime\tRetTime\tactivationCenter\tPrecursorScan\t"
                    "ScanNo\n1e999\t0\t0\t0\t0\t\t\t0\t0\t0\t0\tx\n"),
            "invalid stoi argument");
}

TEST(ScanTable, RefusesANegativeScanNumber) {
  EXPECT_TRUE(ErrorOf(kHeader + Row(3) + Row(-1))
                  .ends_with("a.mscsv, line 3: scan number -1 is out of range!"));
}

TEST(ScanTable, RefusesAScanNumberThatNoRunHas) {
  EXPECT_TRUE(ErrorOf(kHeader + Row(100000001))
                  .ends_with("a.mscsv, line 2: scan number 100000001 is out of range!"));
}

TEST(ScanTable, TakesTheLargestScanNumber) {
  EXPECT_EQ(TableOf(kHeader + Row(100000000)).Size(), 100000001u);
}

TEST(ScanTable, NamesAFileThatCannotBeOpened) {
  std::string message;
  CaptureConsole([&] { message = MessageOf([] { LoadScanTable("no-such-directory/a.mscsv"); }); });
  EXPECT_EQ(message, "Cannot open MSCSV File, Path: no-such-directory/a.mscsv");
}

TEST(ScanTable, AnnouncesItsFileFromStartToFinish) {
  const TemporaryDirectory directory;
  const std::string path = directory / "a.mscsv";
  test::WriteFile(path, kHeader + Row(1) + Row(4));
  const auto console = CaptureConsole([&] { LoadScanTable(path, logMessage); });
  EXPECT_EQ(console.m_out, "[Tarvek] <INFO> - Start to process " + path +
                               "\n[Tarvek] <INFO> - Closed " + path +
                               "\n[Tarvek] <INFO> - Finished Operations on " + path +
                               "\n[Tarvek] <INFO> - Scan Number in " + path + ": 2\n");
}

}  // namespace
}  // namespace tarvek
