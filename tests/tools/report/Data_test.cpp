#include "report/Data.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "ExtractorTestSupport.h"
#include "ReportTestRun.h"
#include "outputs/DeclaredWidth.h"
#include "report/Findings.h"
#include "report/Page.h"
#include "report/Purity.h"

namespace tarvek::tools {
namespace {

using test::TemporaryDirectory;
using test::WriteFile;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::Pair;

RunReport ReportOf(const TemporaryDirectory& directory, const ReportSettings& settings = {}) {
  return ReadRunReport(FindRunFiles(directory / "hand", ""), settings);
}

RunReport HandReport() {
  const TemporaryDirectory directory;
  WriteHandRun(directory);
  return ReportOf(directory);
}

constexpr double kStep = 1.00335;  // isotopes of charge 1, m/z

std::optional<DeclaredMatch> Match(const Precursor& declared, std::vector<Precursor> determined) {
  return MatchDeclared(declared, determined, 20.0);
}

TEST(MatchDeclared, FindsEveryShiftUpToThree) {
  for (int shift = -3; shift <= 3; ++shift) {
    const auto match = Match({500.0, 2}, {{600.0, 2}, {500.0 + shift * kStep / 2, 2}});
    ASSERT_TRUE(match) << shift;
    EXPECT_EQ(match->m_index, 1u);
    EXPECT_EQ(match->m_shift, shift);
  }
  EXPECT_FALSE(Match({500.0, 2}, {{500.0 - 4 * kStep / 2, 2}}));
}

TEST(MatchDeclared, PrefersTheSmallestShiftToTheOrder) {
  const auto match = Match({500.0, 2}, {{500.0 - kStep, 2}, {500.0, 2}});
  EXPECT_EQ(match->m_index, 1u);
  EXPECT_EQ(match->m_shift, 0);
}

TEST(MatchDeclared, PrefersAShiftOfTheSameChargeToAnotherChargeAtTheDeclaredMz) {
  const auto match = Match({500.0, 2}, {{500.0, 3}, {500.0 - kStep / 2, 2}});
  EXPECT_EQ(match->m_index, 1u);
  EXPECT_EQ(match->m_shift, -1);
}

TEST(MatchDeclared, TakesAnotherChargeAtTheDeclaredMzOnly) {
  EXPECT_EQ(Match({500.0, 2}, {{500.0, 3}})->m_shift, 0);
  EXPECT_FALSE(Match({500.0, 2}, {{500.0 - kStep / 3, 3}}));
}

TEST(MatchDeclared, HoldsToTheTolerance) {
  EXPECT_TRUE(Match({500.0, 2}, {{500.0099, 2}}));   // 19.8 ppm
  EXPECT_FALSE(Match({500.0, 2}, {{500.0101, 2}}));  // 20.2 ppm
  EXPECT_FALSE(Match({500.0, 2}, {}));
}

const std::vector<Peak> kPeaks = {{499.0, 10.0}, {500.0, 40.0}, {500.501675, 20.0},
                                  {500.6, 20.0}, {501.0, 10.0}, {501.1, 99.0}};

TEST(SharesInWindow, CountsBothEdgesAndIsotopesWithinTheTolerance) {
  const std::vector<Precursor> determined = {{500.0, 2}};
  const auto shares = SharesInWindow(kPeaks, 500.0, 1.0, determined, 20.0);
  ASSERT_TRUE(shares);
  EXPECT_DOUBLE_EQ(shares->m_main, 0.7);  // 40 + 20 + 10 of 100; 501.0 is 7 ppm off an isotope
}

TEST(SharesInWindow, AreUnknownWhereTheSumIsNotFinite) {
  const std::vector<Precursor> determined = {{500.0, 2}};
  const std::vector<Peak> peaks = {{500.0, 1e308}, {500.1, 1e308}};
  EXPECT_FALSE(SharesInWindow(peaks, 500.0, 1.0, determined, 20.0));
}

TEST(SharesInWindow, GivesTheLargestAloneAndAllTogetherWithoutCountingAPeakTwice) {
  const std::vector<Precursor> determined = {{500.6, 2}, {500.0, 2}, {500.501675, 3}};
  const auto shares = SharesInWindow(kPeaks, 500.0, 0.8, determined, 20.0);
  ASSERT_TRUE(shares);
  EXPECT_DOUBLE_EQ(shares->m_main, 0.75);  // 60 of 80
  EXPECT_DOUBLE_EQ(shares->m_all, 1.0);    // 80 of 80
}

TEST(SharesInWindow, CountsTheIsotopesOfAPrecursorBelowTheWindow) {
  const std::vector<Precursor> determined = {{500.501675 - 3 * kStep / 2, 2}};
  const auto shares = SharesInWindow(kPeaks, 500.5, 0.3, determined, 20.0);
  EXPECT_DOUBLE_EQ(shares->m_main, 0.5);  // 20 of 40
}

TEST(SharesInWindow, CountsAPeakOnceForOnePrecursorHoweverWideTheTolerance) {
  const std::vector<Precursor> determined = {{500.0, 3}};
  // 500 ppm are 0.25 m/z and isotopes are 0.33 m/z apart: 500.2 is within reach of two of them.
  const std::vector<Peak> peaks = {{500.0, 10.0}, {500.2, 80.0}, {500.9, 10.0}};
  const auto shares = SharesInWindow(peaks, 500.0, 1.0, determined, 500.0);
  ASSERT_TRUE(shares);
  EXPECT_DOUBLE_EQ(shares->m_main, 1.0);
  EXPECT_DOUBLE_EQ(shares->m_all, 1.0);
}

TEST(SharesInWindow, IsNothingForAWindowWithoutCurrent) {
  EXPECT_FALSE(SharesInWindow(kPeaks, 600.0, 1.0, {}, 20.0));
  EXPECT_FALSE(SharesInWindow({}, 500.0, 1.0, {}, 20.0));
  EXPECT_EQ(SharesInWindow(kPeaks, 500.0, 1.0, {}, 20.0)->m_all, 0.0);
}

TEST(TimeOfScan, LiesOnTheLineBetweenItsNeighbours) {
  const std::vector<ScanTime> knots = {{10, 100.0}, {20, 200.0}, {21, 260.0}};
  EXPECT_EQ(TimeOfScan(knots, 10), 100.0);
  EXPECT_EQ(TimeOfScan(knots, 13), 130.0);
  EXPECT_EQ(TimeOfScan(knots, 21), 260.0);
  EXPECT_EQ(TimeOfScan(knots, 1), 100.0);
  EXPECT_EQ(TimeOfScan(knots, 99), 260.0);
  EXPECT_FALSE(TimeOfScan({}, 1));
}

TEST(Median, TakesTheMiddle) {
  EXPECT_EQ(Median({5.0, 1.0, 9.0}), 5.0);
  EXPECT_EQ(Median({5.0, 1.0, 9.0, 7.0}), 6.0);
  EXPECT_FALSE(Median({}));
}

TEST(RunReport, CountsScansAndPrecursors) {
  const RunReport report = HandReport();
  EXPECT_EQ(report.m_scans, 6);
  EXPECT_EQ(report.m_precursors, 7);
  EXPECT_THAT(report.m_by_count, ElementsAre(0, 5, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0));
  EXPECT_THAT(report.m_scans_by_kind, ElementsAre(Pair("CID IT", 1), Pair("HCD FT", 5)));
}

TEST(RunReport, ComparesDeclaredWithDetermined) {
  const RunReport report = HandReport();
  EXPECT_THAT(report.m_by_shift, ElementsAre(0, 0, 1, 2, 0, 0, 0));
  EXPECT_EQ(report.m_unmatched, 1);
  EXPECT_EQ(report.m_kept, 1);
  EXPECT_EQ(report.m_undeclared, 1);
  EXPECT_THAT(report.m_charges,
              ElementsAre(Pair(Pair(2, 0), 1), Pair(Pair(2, 2), 2), Pair(Pair(2, 3), 1)));
}

// Z lines of 2 and 3 protons with 999.0 for the singly protonated mass: (999 + 1.007276) / 2 and
// (999 + 2.014552) / 3.
constexpr const char* kRowBothKept =
    "HCD, FT, 2, 500.003638, 2, 2, 1, 500.003638, 2, 2, 333.671517, 3, \n";
constexpr const char* kRowFirstAlone = "HCD, FT, 3, 500.003638, 2, 1, 1, 500.003638, 2, \n";

TEST(RunReport, ComparesAllPrecursorsThatTheInputDeclaresWithThoseOfTheTable) {
  const TemporaryDirectory directory;
  WriteFile(directory / "hand.csv", std::string(kTableHeader) + kRowBothKept + kRowFirstAlone);
  std::string input;
  for (const int scan_no : {2, 3}) {
    std::string scan = Ms2Text(scan_no, 1, 60.0 + scan_no, "HCD", "FTMS", 2);
    input += scan.insert(scan.find("100.5"), "Z\t3\t999.0\n");
  }
  WriteFile(directory / "hand.ms2", input);
  const RunReport report = ReportOf(directory);
  EXPECT_EQ(report.m_kept, 1);
  EXPECT_EQ(report.m_by_shift[ShiftPlace(0)], 1);  // one of two declared ones was determined again
  ASSERT_EQ(report.m_ppm.size(), 1u);
  EXPECT_EQ(report.m_ppm[0].m_rt_s, 63.0);
}

TEST(RunReport, LeavesScansThatMayBeKeptOutOfThePpmWhereTheInputIsNotThere) {
  const TemporaryDirectory directory;
  WriteFile(directory / "hand.csv", std::string(kTableHeader) + kRowBothKept + kRowAtDeclared);
  const RunReport report = ReportOf(directory);
  EXPECT_EQ(report.m_kept, 0);
  EXPECT_EQ(report.m_by_shift[ShiftPlace(0)], 2);
  EXPECT_THAT(report.m_median_ppm, testing::Optional(DoubleNear(1.0, 1e-6)));
}

TEST(RunReport, MeasuresPpmAtTheDeclaredIsotopeAndCharge) {
  const RunReport report = HandReport();
  ASSERT_EQ(report.m_ppm.size(), 1u);
  EXPECT_NEAR(report.m_ppm[0].m_value, 1.0, 1e-6);
  EXPECT_EQ(report.m_ppm[0].m_rt_s, 75.0);  // scan 2, between surveys 1 at 60 s and 5 at 120 s
  EXPECT_THAT(report.m_median_ppm, testing::Optional(DoubleNear(1.0, 1e-6)));
  EXPECT_THAT(report.m_absolute_ppm_95, testing::Optional(DoubleNear(1.0, 1e-6)));
}

// Windows of 2 m/z around the declared m/z. Scans 2 and 3: 82 of 100; 4: 10 of 40; 6: 0 of 50;
// 7: 100 of 100; 8 declares nothing.
TEST(RunReport, MeasuresPurityInTheSurveyBefore) {
  const RunReport report = HandReport();
  EXPECT_EQ(report.m_windows, 5);
  EXPECT_EQ(report.m_empty_windows, 0);
  EXPECT_EQ(report.m_main_share[0], 1);
  EXPECT_EQ(report.m_main_share[5], 1);
  EXPECT_EQ(report.m_main_share[16], 2);
  EXPECT_EQ(report.m_main_share[19], 1);
  EXPECT_THAT(report.m_median_main_share, testing::Optional(DoubleNear(0.82, 1e-12)));
  EXPECT_TRUE(report.m_declared_centres);
}

TEST(RunReport, TakesTheIsolationWidthThatItIsGiven) {
  const TemporaryDirectory directory;
  WriteHandRun(directory);
  ReportSettings settings;
  settings.m_isolation_width = 0.2;  // scan 6 alone sees 700.0, the others only their own peak
  const RunReport report = ReportOf(directory, settings);
  EXPECT_EQ(report.m_isolation_width, 0.2);
  EXPECT_THAT(report.m_median_main_share, testing::Optional(1.0));
  EXPECT_EQ(HandReport().m_isolation_width, 2.0);
}

TEST(RunReport, TakesTheIsolationWidthOfTheRecordAndKnowsNoneWithout) {
  const TemporaryDirectory directory;
  WriteHandRun(directory);
  WriteFile(directory / "TarvekPlusLog.txt",
            "[Tarvek] <INFO> - 11: isolation_width = 3.000000\n"
            "[Tarvek] <INFO> - Start to process in/hand.ms1\n");
  const RunReport without = ReportOf(directory);
  EXPECT_FALSE(without.m_knows_width);
  EXPECT_EQ(without.m_isolation_width, 2.0);
  EXPECT_THAT(RunPage(without), testing::HasSubstr("2 m/z (not known, so tarvek&#39;s default)"));
  WriteFile(directory / "hand.tarvek", "setting\tisolation_width\t4.000000\n");
  EXPECT_EQ(ReportOf(directory).m_isolation_width, 4.0);
}

TEST(RunReport, SumsTheIonCurrentOfEachSurvey) {
  const RunReport report = HandReport();
  ASSERT_EQ(report.m_surveys.size(), 2u);
  EXPECT_EQ(report.m_surveys[0].m_rt_s, 60.0);
  EXPECT_EQ(report.m_surveys[0].m_value, 140.0);
  EXPECT_EQ(report.m_surveys[1].m_value, 205.0);
  EXPECT_THAT(report.m_ms2_times_s, ElementsAre(75.0, 90.0, 105.0, 120.0, 120.0, 120.0));
}

TEST(RunReport, TakesMissingNumbersForScansLeftOutWhereTheInputIsNotThere) {
  const TemporaryDirectory directory;
  WriteHandRun(directory);
  EXPECT_EQ(ReportOf(directory).m_left_out_count, 0);
  WriteFile(directory / "hand.csv", std::string(kTableHeader) + kRowAtDeclared);
  const RunReport report = ReportOf(directory);
  EXPECT_EQ(report.m_left_out_count, 2);
  EXPECT_THAT(report.m_left_out_reasons, ElementsAre(Pair("number in no output", 2)));
  EXPECT_EQ(report.m_left_out[0].m_scan_no, 3);
  EXPECT_EQ(report.m_left_out[0].m_rt_s, 90.0);
  EXPECT_EQ(LeftOutShare(report), 2.0 / 3.0);
}

TEST(RunReport, LooksForMissingNumbersUpToTheLastScanOfAnyKind) {
  const TemporaryDirectory directory;
  WriteHandRun(directory);  // the last survey is 5
  WriteFile(directory / "hand.csv", std::string(kTableHeader) + kRowAtDeclared + kRowOneBelow +
                                        kRowOtherCharge + kRowUndeclared);
  const RunReport report = ReportOf(directory);
  EXPECT_EQ(report.m_left_out_count, 2);
  ASSERT_EQ(report.m_left_out.size(), 2u);
  EXPECT_EQ(report.m_left_out[0].m_scan_no, 6);
  EXPECT_EQ(report.m_left_out[1].m_scan_no, 7);
}

TEST(RunReport, GivesTheReasonOfEachScanLeftOutOfTheInput) {
  const TemporaryDirectory directory;
  WriteHandRun(directory);
  std::string input;
  for (const int scan_no : {2, 3, 4, 6, 7, 8})
    input += Ms2Text(scan_no, scan_no < 5 ? 1 : 5, 60.0 + scan_no, "HCD", "FTMS", 2);
  input += Ms2Text(9, 5, 130.0, "PQD", "FTMS", 2) + Ms2Text(10, 5, 131.0, "HCD", "TOFMS", 2) +
           Ms2Text(11, 5, 132.0, "HCD", "FTMS", 0) + Ms2Text(12, 5, 133.0, "HCD", "FTMS", 2);
  WriteFile(directory / "hand.ms2", input);
  const RunReport report = ReportOf(directory);
  EXPECT_EQ(report.m_left_out_count, 4);
  EXPECT_THAT(report.m_left_out_reasons,
              ElementsAre(Pair("activation type not known", 1), Pair("analyser not known", 1),
                          Pair("no usable precursor declared or determined", 1),
                          Pair("not exported for another reason", 1)));
  EXPECT_EQ(report.m_left_out[0].m_rt_s, 130.0);
  EXPECT_THAT(report.m_ms2_times_s, ElementsAre(62.0, 63.0, 64.0, 66.0, 67.0, 68.0));
  EXPECT_FALSE(report.m_declared_centres);
}

// The names of the existing sources.
std::vector<std::string> ReadSources(const RunReport& report) {
  std::vector<std::string> names;
  for (const ReportSource& source : report.m_sources)
    if (source.m_is_there) names.push_back(source.m_file);
  return names;
}

constexpr const char* kScanTable =
    "ScanNo\tPrecursorScan\tactivationCenter\tRetTime\tIonInjectionTime\tactivationType\t"
    "InstrumentType\tNumberofPeaks\tStartPos\tEndPos\tlowerCharge\tmonoIsotopicMz\n"
    "2\t1\t500.4\t61.5\t1\tHCD\tFTMS\t1\t0\t16\t2\t500.0\n";

TEST(RunReport, NamesTheInputThatItRead) {
  const TemporaryDirectory directory;
  WriteHandRun(directory);
  WriteFile(directory / "hand.mzml.mscsv", kScanTable);
  const RunReport by_table = ReportOf(directory);
  EXPECT_THAT(ReadSources(by_table), ElementsAre("hand.csv", "hand.pf1", "hand.mzml.mscsv"));
  EXPECT_EQ(by_table.m_time_source, "the .mscsv table");
  WriteFile(directory / "hand.ms2", Ms2Text(2, 1, 62.0, "HCD", "FTMS", 2));
  const RunReport by_text = ReportOf(directory);
  EXPECT_THAT(ReadSources(by_text), ElementsAre("hand.csv", "hand.pf1", "hand.ms2"));
  EXPECT_EQ(by_text.m_time_source, "the .ms2 file");
}

TEST(RunReport, SaysNothingOfWhatItCannotKnow) {
  const TemporaryDirectory directory;
  WriteFile(directory / "hand.csv", HandTable());
  const RunReport report = ReportOf(directory);
  EXPECT_EQ(report.m_scans, 6);
  EXPECT_TRUE(report.m_surveys.empty());
  EXPECT_TRUE(report.m_ms2_times_s.empty());
  EXPECT_TRUE(report.m_ppm.empty());
  EXPECT_TRUE(report.m_median_ppm.has_value());
  EXPECT_EQ(report.m_windows, 0);
  EXPECT_FALSE(LeftOutShare(report));
}

// 20 scans with declared charge 2 and a determined precursor of this charge at that m/z.
std::string RowsOfCharge2(int determined_charge) {
  std::string rows = kTableHeader;
  for (int scan = 1; scan <= 20; ++scan)
    rows += "HCD, FT, " + std::to_string(scan) + ", 500.000000, 2, 1, 1, 500.000500, " +
            std::to_string(determined_charge) + ", \n";
  return rows;
}

TEST(RunReport, DoesNotCallAnAssumedChargeDeclared) {
  const TemporaryDirectory directory;
  WriteHandRun(directory);
  WriteFile(directory / "hand.ms2",
            "S\t2\t2\nI\tActivationCenter\t500.0\nI\tPrecursorScan\t1\nZ\t0\t0.0\n100.5 10.0\n" +
                Ms2Text(3, 1, 61.0, "HCD", "FT", 2));
  const RunReport report = ReportOf(directory);
  EXPECT_EQ(report.m_without_charge, 1);
  EXPECT_EQ(report.m_undeclared, 2);            // and scan 8, which declares nothing
  EXPECT_EQ((report.m_charges.at({2, 2})), 1);  // scan 3; scan 2 is the other one in HandTable
  EXPECT_THAT(RunPage(report), testing::HasSubstr("1 scans declare no charge"));
}

TEST(RunReport, TakesChargesThatAreAllTwoForAssumedWhereTheDeterminedOnesDiffer) {
  const TemporaryDirectory directory;
  WriteFile(directory / "hand.csv", RowsOfCharge2(3));
  EXPECT_EQ(ReportOf(directory).m_without_charge, 20);
  EXPECT_TRUE(ReportOf(directory).m_charges.empty());
  WriteFile(directory / "hand.csv", RowsOfCharge2(2));
  EXPECT_EQ(ReportOf(directory).m_without_charge, 0);
  EXPECT_EQ((ReportOf(directory).m_charges.at({2, 2})), 20);
}

TEST(RunReport, TakesTheReasonsOfTheRecordForThoseOfTheInput) {
  const TemporaryDirectory directory;
  WriteHandRun(directory);
  WriteFile(directory / "hand.tarvek",
            "count\tms2_exported\t6\ncount\tms2_read\t10\nleft_out\tMS level above 2\t4\n");
  const RunReport report = ReportOf(directory);
  EXPECT_EQ(report.m_left_out_count, 4);
  EXPECT_EQ(report.m_left_out_reasons,
            (std::map<std::string, std::int64_t>{{"MS level above 2", 4}}));
  EXPECT_EQ(LeftOutShare(report), 0.4);
  EXPECT_THAT(RunPage(report), testing::HasSubstr("MS level above 2"));
}

// Scan 9 has a declared precursor that the run could not use: only its record says so.
TEST(RunReport, NamesTheScansOfTheRecordWithTheInputAndWithout) {
  const TemporaryDirectory directory;
  WriteHandRun(directory);
  WriteFile(directory / "hand.tarvek",
            "count\tms2_exported\t6\ncount\tms2_read\t10\nleft_out\tempty\t3\n"
            "left_out\tno usable precursor declared or determined\t1\n"
            "left_out_scan\t9\tno usable precursor declared or determined\n");
  for (const bool has_input : {false, true}) {
    SCOPED_TRACE(has_input);
    if (has_input) WriteFile(directory / "hand.ms2", Ms2Text(9, 5, 130.0, "HCD", "FTMS", 2));
    const RunReport report = ReportOf(directory);
    EXPECT_EQ(report.m_left_out_count, 4);
    ASSERT_EQ(report.m_left_out.size(), 1u);
    EXPECT_EQ(report.m_left_out[0].m_scan_no, 9);
    EXPECT_EQ(report.m_left_out[0].m_reason, "no usable precursor declared or determined");
    EXPECT_EQ(report.m_left_out[0].m_rt_s, has_input ? 130.0 : 120.0);  // of the last survey
    EXPECT_THAT(RunPage(report), testing::HasSubstr("<td class=\"number\">1</td><td>9</td>"));
  }
}

std::vector<std::string> RemarksOf(const RunReport& report) {
  std::vector<std::string> remarks;
  for (const ReportFinding& remark : ReportRemarks(report)) remarks.push_back(remark.m_id);
  return remarks;
}

TEST(RunReport, ComparesTheWidthWithThatOfTheInstrumentFile) {
  const TemporaryDirectory directory;
  WriteHandRun(directory);
  extractor::test::TestPrecursor window;
  window.m_lower = window.m_upper = "1.1";
  WriteFile(directory / "hand.mzML", extractor::test::Mzml({extractor::test::Survey(1),
                                                            extractor::test::Fragment(2, window)}));
  EXPECT_THAT(RemarksOf(ReportOf(directory)), testing::IsEmpty());  // the run's width is not known
  const auto remarks_of_width = [&](const std::string& width) {
    WriteFile(directory / "hand.tarvek", "setting\tisolation_width\t" + width + "\n");
    return RemarksOf(ReportOf(directory));
  };
  EXPECT_THAT(remarks_of_width("2.000000"), testing::IsEmpty());  // 0.2 of 2.2 is less than a tenth
  EXPECT_THAT(remarks_of_width("1.900000"), testing::ElementsAre("isolation-width"));
  EXPECT_THAT(remarks_of_width("2.500000"), testing::ElementsAre("isolation-width"));
  EXPECT_THAT(RunPage(ReportOf(directory)),
              testing::HasSubstr("declares a width of 2.2 m/z (hand.mzML)"));
}

TEST(RunReport, PrefersTheDeclaredWidthOfTheRecordToThatOfTheMarkerAndThatToTheInstrumentFile) {
  const TemporaryDirectory directory;
  WriteHandRun(directory);
  WriteFile(directory / "hand.mzML", extractor::test::Mzml({extractor::test::Fragment(2)}));
  EXPECT_EQ(ReportOf(directory).m_declared_width, 2.0);
  WriteFile(directory / "hand.morvex", "All spectra of hand were extracted.\nwidth\t3.00\t1\n");
  EXPECT_EQ(ReportOf(directory).m_declared_width, 3.0);
  EXPECT_EQ(ReportOf(directory).m_declared_width_source, "hand.morvex");
  EXPECT_THAT(ReadSources(ReportOf(directory)), ElementsAre("hand.csv", "hand.pf1", "hand.morvex"));
  WriteFile(directory / "hand.tarvek", "width\t3.00\t9\nwidth\t4.00\t10\n");
  EXPECT_EQ(ReportOf(directory).m_declared_width, 4.0);
  EXPECT_EQ(ReportOf(directory).m_declared_width_source, "hand.tarvek");
}

TEST(RunReport, NeverFindsAnEmptyTableAsUsual) {
  const TemporaryDirectory directory;
  WriteFile(directory / "hand.csv", kTableHeader);
  EXPECT_THAT(RemarksOf(ReportOf(directory)), testing::ElementsAre("empty"));
  WriteFile(directory / "hand.ms2", Ms2Text(3, 1, 61.0, "HCD", "TOF", 2));
  EXPECT_THAT(RemarksOf(ReportOf(directory)), testing::ElementsAre("nothing-exported"));
  EXPECT_THAT(RunPage(ReportOf(directory)), testing::Not(testing::HasSubstr("Nothing unusual")));
}

TEST(DeclaredWidthOf, IsNothingForAFileThatCannotBeReadOrSaysNothing) {
  const TemporaryDirectory directory;
  EXPECT_EQ(DeclaredWidthOf(directory / "none.mzML"), std::nullopt);
  WriteFile(directory / "cut.mzML", "<mzML");
  EXPECT_EQ(DeclaredWidthOf(directory / "cut.mzML"), std::nullopt);
}

// More scans than are read, and damage after them.
TEST(DeclaredWidthOf, StopsWhenItHasSeenEnough) {
  const TemporaryDirectory directory;
  std::vector<extractor::test::TestScan> scans = {extractor::test::Survey(1)};
  for (int i = 0; i < 1001; ++i) scans.push_back(extractor::test::Fragment(2 + i));
  std::string mzml = extractor::test::Mzml(scans);
  const std::size_t last = mzml.rfind("</spectrum>");
  WriteFile(directory / "run.mzML", mzml.substr(0, last));
  EXPECT_EQ(DeclaredWidthOf(directory / "run.mzML"), 2.0);
}

TEST(IsOtherWidth, MeansMoreThanATenthOfTheDeclaredOne) {
  EXPECT_FALSE(IsOtherWidth(2.0, 2.0));
  EXPECT_FALSE(IsOtherWidth(2.0, 1.8));
  EXPECT_FALSE(IsOtherWidth(2.0, 2.2));
  EXPECT_TRUE(IsOtherWidth(2.0, 1.79));
  EXPECT_TRUE(IsOtherWidth(2.0, 2.21));
  EXPECT_TRUE(IsOtherWidth(0.7, 0.8));
}

TEST(RunReport, IsEmptyForATableWithoutRows) {
  const TemporaryDirectory directory;
  WriteFile(directory / "hand.csv", kTableHeader);
  const RunReport report = ReportOf(directory);
  EXPECT_EQ(report.m_scans, 0);
  for (const KeyFigure& figure : KeyFigures(report)) {
    if (figure.m_id != "ms2_scans" && figure.m_id != "precursors") {
      EXPECT_FALSE(figure.m_value) << figure.m_id;
    }
  }
}

TEST(KeyFigures, SumUpTheRun) {
  std::map<std::string, double> values;
  for (const KeyFigure& figure : KeyFigures(HandReport()))
    values[figure.m_id] = figure.m_value.value_or(std::nan(""));
  EXPECT_EQ(values["ms2_scans"], 6.0);
  EXPECT_EQ(values["precursors"], 7.0);
  EXPECT_DOUBLE_EQ(values["precursors_per_scan"], 7.0 / 6.0);
  EXPECT_DOUBLE_EQ(values["isotope_corrected"], 100.0 / 3.0);  // one of three with a match
  EXPECT_DOUBLE_EQ(values["charge_corrected"], 100.0 / 3.0);
  EXPECT_NEAR(values["main_precursor_share"], 82.0, 1e-9);
  EXPECT_EQ(values["left_out"], 0.0);
}

}  // namespace
}  // namespace tarvek::tools
