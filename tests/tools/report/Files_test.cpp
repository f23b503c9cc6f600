#include "report/Files.h"
#include "outputs/RunOutcome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "ReportTestRun.h"

namespace tarvek::tools {
namespace {

using test::MessageOf;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

// Path separators differ between systems.
std::string Slashed(std::string path) {
  std::ranges::replace(path, '\\', '/');
  return path;
}

TEST(FindRunFiles, TakesNoFileOfARunWhoseNameBeginsAlike) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a.csv", kTableHeader);
  WriteFile(directory / "a_HCDFT.mgf", "");
  WriteFile(directory / "a_ETHCDIT.pf2", "");
  WriteFile(directory / "a_b_HCDFT.mgf", "");
  WriteFile(directory / "ab.pf1", "");
  const RunFiles files = FindRunFiles(directory / "a", "");
  EXPECT_EQ(files.m_name, "a");
  EXPECT_THAT(files.m_mgf, ElementsAre(directory / "a_HCDFT.mgf"));
  EXPECT_THAT(files.m_pf2, ElementsAre(directory / "a_ETHCDIT.pf2"));
  EXPECT_EQ(files.m_pf1, "");
  EXPECT_EQ(files.m_ms2, "");
}

TEST(FindRunFiles, TakesTheTableItselfForTheRun) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a.csv", kTableHeader);
  EXPECT_EQ(FindRunFiles(directory / "a.csv", "").m_name, "a");
}

TEST(FindRunFiles, LooksForTheInputWhereItIsSaidToBe) {
  const TemporaryDirectory directory;
  const TemporaryDirectory input;
  WriteFile(directory / "a.csv", kTableHeader);
  WriteFile(input / "a.ms2", "");
  EXPECT_EQ(FindRunFiles(directory / "a", "").m_ms2, "");
  EXPECT_EQ(Slashed(FindRunFiles(directory / "a", input.Path()).m_ms2), Slashed(input / "a.ms2"));
}

TEST(FindRunFiles, FindsTheScanTableWhateverFormatItCameFrom) {
  const TemporaryDirectory directory;
  for (const char* name : {"a.csv", "b.csv", "c.csv"}) WriteFile(directory / name, kTableHeader);
  WriteFile(directory / "a.mzml.mscsv", "");
  WriteFile(directory / "b.mscsv", "");
  WriteFile(directory / "c.2.mzml.mscsv", "");  // of the run "c.2"
  EXPECT_EQ(Slashed(FindRunFiles(directory / "a", "").m_scan_table),
            Slashed(directory / "a.mzml.mscsv"));
  EXPECT_EQ(Slashed(FindRunFiles(directory / "b", "").m_scan_table),
            Slashed(directory / "b.mscsv"));
  EXPECT_EQ(FindRunFiles(directory / "c", "").m_scan_table, "");
}

TEST(FindRunFiles, TakesNoScanTableOfARunWhoseNameGoesOnBehindAPoint) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a.csv", kTableHeader);
  WriteFile(directory / "a.2.mscsv", "");
  EXPECT_EQ(FindRunFiles(directory / "a", "").m_scan_table, "");
  WriteFile(directory / "a.mzml.mscsv", "");
  WriteFile(directory / "a.mscsv", "");
  EXPECT_EQ(Slashed(FindRunFiles(directory / "a", "").m_scan_table),
            Slashed(directory / "a.mscsv"));
}

TEST(FindRunFiles, NamesTheTableThatIsMissingAndSaysWhenTheRunDidNotFinish) {
  const TemporaryDirectory directory;
  EXPECT_EQ(MessageOf([&] { FindRunFiles(directory / "a", ""); }),
            directory / "a.csv is not there.");
  WriteFile(directory / "a.csv_unfinished", kTableHeader);
  EXPECT_THAT(MessageOf([&] { FindRunFiles(directory / "a", ""); }), HasSubstr("did not finish"));
}

TEST(FindRuns, TellsPrecursorTablesFromOtherFilesAndFinishedOnesFromOthers) {
  const TemporaryDirectory directory;
  WriteFile(directory / "b.csv", kTableHeader);
  WriteFile(directory / "a.csv", kTableHeader);
  WriteFile(directory / "plan.csv", "sample,day\n");
  WriteFile(directory / "c.csv_unfinished", kTableHeader);
  WriteFile(directory / "d.txt", kTableHeader);
  WriteFile(directory / ".e.csv", kTableHeader);
  const FoundRuns runs = FindRuns(directory.Path());
  ASSERT_EQ(runs.m_finished.size(), 2u);
  EXPECT_EQ(Slashed(runs.m_finished[0]), Slashed(directory / "a"));
  EXPECT_EQ(Slashed(runs.m_finished[1]), Slashed(directory / "b"));
  ASSERT_EQ(runs.m_unfinished.size(), 1u);
  EXPECT_EQ(Slashed(runs.m_unfinished[0]), Slashed(directory / "c"));
}

TEST(FindRuns, TakesTheTableOfACrashedRunHoweverShort) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a.csv_unfinished", "");
  WriteFile(directory / "b.csv_unfinished", kTableHeader);
  WriteFile(directory / "c.csv_unfinished", "x,y\n");
  WriteFile(directory / "d.csv", "");
  const FoundRuns found = FindRuns(directory.Path());
  EXPECT_THAT(found.m_finished, testing::IsEmpty());
  ASSERT_EQ(found.m_unfinished.size(), 2u);
  EXPECT_EQ(Slashed(found.m_unfinished[0]), Slashed(directory / "a"));
  EXPECT_EQ(Slashed(found.m_unfinished[1]), Slashed(directory / "b"));
}

TEST(ReadReportRows, ReadsDeclaredAndDeterminedWithoutSigns) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a.csv", std::string(kTableHeader) +
                                     "HCD, FT, 6, 700.500000, 2, 2, 1, -710.250000, -2, 2, "
                                     "-720.125000, -3, \n" +
                                     "CID, ITMS, 7, -1.000000, -1, 0, \n");
  const auto rows = ReadReportRows(directory / "a.csv");
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0].m_scan_no, 6);
  EXPECT_EQ(rows[0].m_kind, "HCD FT");
  EXPECT_EQ(rows[0].m_declared.m_mz, 700.5);
  ASSERT_EQ(rows[0].m_determined.size(), 2u);
  EXPECT_EQ(rows[0].m_determined[1].m_mz, 720.125);
  EXPECT_EQ(rows[0].m_determined[1].m_charge, 3);
  EXPECT_EQ(rows[1].m_declared.m_charge, 0);
  EXPECT_TRUE(rows[1].m_determined.empty());
}

TEST(ReadReportRows, NamesFileAndLineOfABadRow) {
  const TemporaryDirectory directory;
  const std::string path = directory / "a.csv";
  for (const std::string row :
       {"HCD, FT, 6\n", "HCD, FT, six, 700.5, 2, 0, \n", "HCD, FT, 6, 700.5, 2, 1, \n",
        "HCD, FT, 6, 700.5, 2, 0, 1, 700.5, 2, \n"}) {
    WriteFile(path, std::string(kTableHeader) + row);
    EXPECT_THAT(MessageOf([&] { ReadReportRows(path); }), HasSubstr(path + ", line 2: ")) << row;
  }
  WriteFile(path, "sample,day\n");
  EXPECT_EQ(MessageOf([&] { ReadReportRows(path); }),
            path + " is not a precursor table of tarvek.");
}

TEST(AppendMgfTimes, TakesTheScanNumberFromTheEndOfTheTitle) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a.mgf",
            "BEGIN IONS\nTITLE=my.run.1.17.17.2.0.dta\nCHARGE=2+\nRTINSECONDS=61.5000000\n"
            "PEPMASS=500.0\n100.0 1.0\nEND IONS\nBEGIN IONS\nTITLE=my.run.1.17.17.3.1.dta\n"
            "RTINSECONDS=61.5000000\nEND IONS\nBEGIN IONS\nTITLE=my.run.1.18.18.-2.0.dta\n"
            "RTINSECONDS=62.0000000\nEND IONS\n");
  std::vector<ScanTime> times;
  AppendMgfTimes(directory / "a.mgf", times);
  EXPECT_THAT(times, ElementsAre(Pair(17, 61.5), Pair(18, 62.0)));
}

TEST(AppendMgfTimes, NamesATitleWithoutScanNumber) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a.mgf", "BEGIN IONS\nTITLE=scan 17\n");
  std::vector<ScanTime> times;
  EXPECT_THAT(MessageOf([&] { AppendMgfTimes(directory / "a.mgf", times); }),
              HasSubstr("a.mgf, line 2: "));
}

TEST(AppendMgfTimes, NamesATimeThatIsNoNumber) {
  const TemporaryDirectory directory;
  const std::string path = directory / "a.mgf";
  WriteFile(path, "BEGIN IONS\nTITLE=run.17.17.2.0.dta\nRTINSECONDS=abc\n");
  std::vector<ScanTime> times;
  EXPECT_EQ(MessageOf([&] { AppendMgfTimes(path, times); }),
            path + ", line 3: 'abc' is not a number.");
}

TEST(ReadTextInput, SaysWhatEachScanDeclares) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a.ms2",
            Ms2Text(3, 1, 62.0, "PQD", "TOFMS", 2) + Ms2Text(2, 1, 61.0, "HCD", "FTMS", 0));
  const auto scans = ReadTextInput(directory / "a.ms2");
  ASSERT_EQ(scans.size(), 2u);
  EXPECT_EQ(scans[0].m_scan_no, 2);  // sorted
  EXPECT_EQ(scans[0].m_rt_s, 61.0);
  EXPECT_EQ(scans[0].m_centre_mz, 500.4);
  EXPECT_TRUE(scans[0].m_declared.empty());
  EXPECT_EQ(scans[1].m_activation, "PQD");
  EXPECT_EQ(scans[1].m_analyser, "Unknown");
  EXPECT_EQ(scans[1].m_survey, 1);
  EXPECT_FALSE(scans[1].m_declared.empty());
}

TEST(ReadTextInput, TellsAnAssumedChargeFromADeclaredOne) {
  const TemporaryDirectory directory;
  const auto scan = [](int number, const std::string& charges) {
    const std::string text = std::to_string(number);
    return "S\t" + text + "\t" + text + "\nI\tActivationCenter\t500.4\n" + charges + "100.5 10.0\n";
  };
  WriteFile(directory / "run.ms2", scan(2, "Z\t0\t0.0\n") + scan(3, "Z\t2\t999.0\n") +
                                       scan(4, "Z\t0\t999.0\nZ\t3\t999.0\n") + scan(5, ""));
  const auto scans = ReadTextInput(directory / "run.ms2");
  ASSERT_EQ(scans.size(), 4u);
  EXPECT_FALSE(scans[0].m_has_charge);
  EXPECT_TRUE(scans[1].m_has_charge);
  EXPECT_FALSE(scans[2].m_has_charge);
  EXPECT_TRUE(scans[3].m_declared.empty());  // nothing is declared, so nothing is assumed
}

TEST(ReadTableInput, TakesTheFragmentScansOfTheTable) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a.mscsv",
            "ScanNo\tPrecursorScan\tactivationCenter\tRetTime\tIonInjectionTime\tactivationType\t"
            "InstrumentType\tNumberofPeaks\tStartPos\tEndPos\tlowerCharge\tmonoIsotopicMz\n"
            "1\t-1\t0\t60\t1\t\tFTMS\t5\t0\t80\t0\t0\n"
            "2\t1\t500.4\t61.5\t1\tHCD\tFTMS\t1\t80\t96\t2\t500.0\n"
            "3\t1\t501.4\t62.5\t1\tCID\tITMS\t1\t96\t112\t0\t0\n");
  const auto scans = ReadTableInput(directory / "a.mscsv");
  ASSERT_EQ(scans.size(), 2u);
  EXPECT_EQ(scans[0].m_scan_no, 2);
  EXPECT_EQ(scans[0].m_rt_s, 61.5);
  EXPECT_FALSE(scans[0].m_declared.empty());
  EXPECT_EQ(scans[1].m_centre_mz, 501.4);
  EXPECT_EQ(scans[1].m_analyser, "ITMS");
  EXPECT_TRUE(scans[1].m_declared.empty());
}

}  // namespace
}  // namespace tarvek::tools
