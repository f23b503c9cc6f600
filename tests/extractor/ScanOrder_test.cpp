// Files with scan numbers that do not ascend: merged runs, files sorted by level, repeated ids.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "Extraction.h"
#include "ExtractorTestSupport.h"

namespace tarvek::extractor {
namespace {

using test::Cv;
using test::Extracted;
using test::ExtractXml;
using test::Fragment;
using test::LinesFrom;
using test::Mzml;
using test::ReadFile;
using test::Survey;
using test::TemporaryDirectory;
using test::TestPrecursor;
using test::TestScan;
using test::WriteFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

TestPrecursor Of(int survey) {
  TestPrecursor precursor;
  precursor.m_ref = "scan=" + std::to_string(survey);
  return precursor;
}

TestScan At(double seconds, TestScan scan) {
  scan.m_scan_params = Cv(1000016, std::to_string(seconds), "UO:0000010");
  return scan;
}

std::vector<std::string> PrecursorScans(const std::vector<TestScan>& scans) {
  return LinesFrom(ExtractXml(Mzml(scans)).m_ms2, "I\tPrecursorScan");
}

constexpr const char* kNote =
    "scans numbered by their position, since numbers in the file do not ascend";

TEST(ScanOrder, NumbersAFileByPositionWhereItsNumbersRepeatOrDescend) {
  const Extracted out = ExtractXml(Mzml({Survey(5), Survey(5), Survey(4), Survey(6)}));
  EXPECT_THAT(LinesFrom(out.m_ms1, "S"), ElementsAre("S\t1\t1", "S\t2\t2", "S\t3\t3", "S\t4\t4"));
  EXPECT_THAT(out.m_report, HasSubstr(std::string("Notes: 4 ") + kNote));
}

TEST(ScanOrder, CountsSpectraThatAreLeftOutToo) {
  TestScan third_level = Survey(7);
  third_level.m_params = Cv(1000511, "3");
  const Extracted out = ExtractXml(Mzml({third_level, Survey(5), Survey(5)}));
  EXPECT_THAT(LinesFrom(out.m_ms1, "S"), ElementsAre("S\t2\t2", "S\t3\t3"));
}

TEST(ScanOrder, KeepsTheNumbersWhenOnlyUnusedSpectraBreakTheirOrder) {
  TestScan third_level = Survey(2);
  third_level.m_params = Cv(1000511, "3");
  const Extracted out = ExtractXml(Mzml({Survey(5), third_level, Survey(9)}));
  EXPECT_THAT(LinesFrom(out.m_ms1, "S"), ElementsAre("S\t5\t5", "S\t9\t9"));
  EXPECT_THAT(out.m_report, Not(HasSubstr(kNote)));
}

TEST(ScanOrder, ListsTheIdOfEveryScanThatIsNumberedByPosition) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.mzML", Mzml({Survey(2), Fragment(3), Survey(1)}));
  const ExtractorOptions options = ParseOptions(std::vector<std::string>{directory / "run.mzML"});
  Marker marker(options);
  std::ostringstream report;
  Extract(options, options.m_input, marker, report);
  EXPECT_EQ(ReadFile(directory / "run.nativeid.tsv"),
            "scan\tnativeID\n1\tscan=2\n2\tscan=3\n3\tscan=1\n");
}

TEST(ScanOrder, FindsTheSurveyOfTheSameRunInAMergedFile) {
  EXPECT_THAT(PrecursorScans({Survey(1), Fragment(2, Of(1)), Survey(3), Fragment(4, Of(3)),
                              Survey(1), Fragment(2, Of(1)), Fragment(3, Of(1))}),
              ElementsAre("I\tPrecursorScan\t1", "I\tPrecursorScan\t3", "I\tPrecursorScan\t5",
                          "I\tPrecursorScan\t5"));
}

TEST(ScanOrder, FindsTheSurveyInAFileSortedByLevel) {
  EXPECT_THAT(PrecursorScans({Survey(1), Survey(4), Survey(6), Fragment(2, Of(1)),
                              Fragment(3, Of(1)), Fragment(5, Of(4)), Fragment(7, Of(6))}),
              ElementsAre("I\tPrecursorScan\t1", "I\tPrecursorScan\t1", "I\tPrecursorScan\t2",
                          "I\tPrecursorScan\t3"));
}

TEST(ScanOrder, TakesTheLatestSurveyByTimeInAFileSortedByLevel) {
  EXPECT_THAT(PrecursorScans({At(10, Survey(1)), At(20, Survey(4)), At(30, Survey(6)),
                              At(5, Fragment(9)), At(12, Fragment(2)), At(20, Fragment(5)),
                              At(29, Fragment(7)), At(31, Fragment(8))}),
              ElementsAre("I\tPrecursorScan\t0", "I\tPrecursorScan\t1", "I\tPrecursorScan\t2",
                          "I\tPrecursorScan\t2", "I\tPrecursorScan\t3"));
}

TEST(ScanOrder, TakesTheSurveyByTimeOfTheSamePolarity) {
  const auto negative = [](TestScan scan) {
    scan.m_params += Cv(1000129);
    return scan;
  };
  const auto positive = [](TestScan scan) {
    scan.m_params += Cv(1000130);
    return scan;
  };
  EXPECT_THAT(PrecursorScans({positive(At(10, Survey(1))), negative(At(11, Survey(2))),
                              positive(At(20, Survey(4))), negative(At(21, Survey(5))),
                              positive(At(12, Fragment(3))), negative(At(12, Fragment(6)))}),
              ElementsAre("I\tPrecursorScan\t1", "I\tPrecursorScan\t2"));
}

TEST(ScanOrder, TakesTheLatestSurveyOfTheFileWhereTimesAscendInEachMergedRun) {
  EXPECT_THAT(PrecursorScans({At(10, Survey(1)), At(11, Fragment(2)), At(20, Survey(3)),
                              At(10, Survey(1)), At(21, Fragment(2))}),
              ElementsAre("I\tPrecursorScan\t1", "I\tPrecursorScan\t4"));
}

TEST(ScanOrder, HasNoSurveyForFragmentScansThatComeBeforeAllOfThem) {
  EXPECT_THAT(PrecursorScans({Fragment(2, Of(1)), Fragment(3, Of(1)), Survey(1)}),
              ElementsAre("I\tPrecursorScan\t0", "I\tPrecursorScan\t0"));
}

TEST(ScanOrder, TakesNumbersThatAreTooLargeForPositions) {
  TestScan large = Survey(0);
  large.m_id = "scan=2147483647";
  TestScan larger = Survey(0);
  larger.m_id = "scan=3000000000";
  TestScan largest = Survey(0);
  largest.m_id = "scan=2147483646";
  EXPECT_THAT(LinesFrom(ExtractXml(Mzml({large, larger})).m_ms1, "S"),
              ElementsAre("S\t1\t1", "S\t2\t2"));
  EXPECT_THAT(LinesFrom(ExtractXml(Mzml({largest})).m_ms1, "S"),
              ElementsAre("S\t2147483646\t2147483646"));
  EXPECT_THAT(LinesFrom(ExtractXml(Mzml({largest, large})).m_ms1, "S"),
              ElementsAre("S\t1\t1", "S\t2\t2"));
}

/// The lines of the marker after its first, without those of input and outputs, which are at the end.
std::string Record(const std::vector<TestScan>& scans, std::vector<std::string> arguments = {}) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.mzML", Mzml(scans));
  arguments.push_back(directory / "run.mzML");
  const ExtractorOptions options = ParseOptions(arguments);
  Marker marker(options);
  std::ostringstream report;
  Extract(options, options.m_input, marker, report);
  const std::string text = ReadFile(directory / "run.morvex");
  const std::string first = "All spectra of run were extracted.\n";
  if (!text.starts_with(first)) return "no marker";
  return text.substr(first.size(), text.find("source\t") - first.size());
}

TEST(MarkerRecord, CountsSurveysAndWhyFragmentScansWereLeftOut) {
  TestPrecursor ecd;
  ecd.m_activation = Cv(1000250);
  TestScan third_level = Survey(5);
  third_level.m_params = Cv(1000511, "3");
  TestScan empty = Fragment(6);
  empty.m_arrays.clear();
  empty.m_length = 0;
  EXPECT_EQ(Record({Survey(1), Survey(2), Fragment(3), Fragment(4, ecd), third_level, empty}),
            "setting\tintensity\t1\nsetting\tm/z\t5\n"
            "count\tms2_read\t3\ncount\tsurveys\t2\nwidth\t2.00\t1\n"
            "left_out\tactivation without a word: term 1000250\t1\nleft_out\tempty\t1\n");
}

TEST(MarkerRecord, NamesTheInputAndTheSizesOfTheOutputs) {
  const TemporaryDirectory directory;
  const std::string input = directory / "run.mzML";
  WriteFile(input, Mzml({Survey(1), Fragment(2)}));
  // 2001-09-09 01:46:40.5 UTC
  ASSERT_EQ(std::system(("touch -d @1000000000.5 " + input).c_str()), 0);
  const std::string bytes = std::to_string(ReadFile(input).size());
  const ExtractorOptions options = ParseOptions(std::vector{input});
  Marker marker(options);
  std::ostringstream report;
  Extract(options, options.m_input, marker, report);
  const std::string text = ReadFile(directory / "run.morvex");
  EXPECT_EQ(text.substr(text.find("source\t")),
            "source\tbytes\t" + bytes +
                "\nsource\tmodified_ns\t1000000000500000000\nsource\tname\trun.mzML\n"
                "output\t.ms1\t" +
                std::to_string(ReadFile(directory / "run.ms1").size()) + "\noutput\t.ms2\t" +
                std::to_string(ReadFile(directory / "run.ms2").size()) + "\n");
}
TEST(MarkerRecord, CountsOnceWhenTheFileIsReadAgain) {
  EXPECT_EQ(Record({Survey(2), Fragment(3), Survey(1), Fragment(4)}),
            "setting\tintensity\t1\nsetting\tm/z\t5\n"
            "count\tms2_read\t2\ncount\tsurveys\t2\nwidth\t2.00\t2\n");
}

TEST(MarkerRecord, CountsTheDeclaredIsolationWidths) {
  TestPrecursor wide;
  wide.m_lower = "1.25";
  wide.m_upper = "2.75";
  TestPrecursor unknown;
  unknown.m_lower = unknown.m_upper = "-1";
  EXPECT_EQ(Record({Fragment(1, wide), Fragment(2), Fragment(3, wide), Fragment(4, unknown)}),
            "setting\tintensity\t1\nsetting\tm/z\t5\n"
            "count\tms2_read\t4\ncount\tsurveys\t0\n"
            "width\t2.00\t1\nwidth\t4.00\t2\nwidth\tnot declared\t1\n");
}

TEST(MarkerRecord, HoldsWhatTheUserSays) {
  EXPECT_EQ(
      Record({Survey(1)}, {"--analyser", "ms2=ITMS", "--activation", "cid", "-m", "3", "-i", "2"}),
      "setting\tactivation\tCID\nsetting\tanalyser\tms2=ITMS\n"
      "setting\tintensity\t2\nsetting\tm/z\t3\n"
      "count\tms2_read\t0\ncount\tsurveys\t1\n");
}

TEST(Overrides, WinOverEverythingInTheFile) {
  const Extracted out =
      ExtractXml(Mzml({Survey(1), Fragment(2)}), {"--analyser", "ms2=ITMS", "--activation", "ETD"});
  EXPECT_THAT(LinesFrom(out.m_ms1, "I\tInst"), ElementsAre("I\tInstrumentType\tFTMS"));
  EXPECT_THAT(LinesFrom(out.m_ms2, "I\tInst"), ElementsAre("I\tInstrumentType\tITMS"));
  EXPECT_THAT(LinesFrom(out.m_ms2, "I\tActivationType"), ElementsAre("I\tActivationType\tETD"));
  EXPECT_THAT(
      out.m_report,
      HasSubstr("Analyser: MS1 FTMS from the instrument configuration; MS2 ITMS as you say"));
}

TEST(Overrides, GiveAWordToMethodsWithoutOne) {
  TestPrecursor ecd;
  ecd.m_activation = Cv(1000250);
  const Extracted out = ExtractXml(Mzml({Fragment(1, ecd)}), {"--activation", "ETD"});
  EXPECT_THAT(LinesFrom(out.m_ms2, "I\tActivationType"), ElementsAre("I\tActivationType\tETD"));
}

TEST(Activation, IsTheUsualOneOfTheAnalyserWhereTheFileSaysNothing) {
  TestPrecursor silent;
  silent.m_activation = "";
  TestScan trap = Fragment(2, silent);
  trap.m_scan_attributes = "instrumentConfigurationRef=\"IC2\"";
  const Extracted out = ExtractXml(Mzml({Fragment(1, silent), trap}));
  EXPECT_THAT(LinesFrom(out.m_ms2, "I\tActivationType"),
              ElementsAre("I\tActivationType\tHCD", "I\tActivationType\tCID"));
  EXPECT_THAT(out.m_report, HasSubstr("1 MS2 scans without a declared activation, taken for CID; "
                                      "1 MS2 scans without a declared activation, taken for HCD"));
}

TEST(Activation, OfSeveralPrecursorsIsThatOfTheFirst) {
  TestPrecursor cid;
  cid.m_activation = Cv(1000133);
  TestPrecursor etd;
  etd.m_activation = Cv(1000598);
  TestScan scan = Fragment(1, cid);
  scan.m_precursors.push_back(etd);
  const Extracted out = ExtractXml(Mzml({scan}));
  EXPECT_THAT(LinesFrom(out.m_ms2, "I\tActivationType"), ElementsAre("I\tActivationType\tCID"));
  EXPECT_THAT(out.m_report, HasSubstr("1 MS2 scans with precursors of different activations"));
}

TEST(Summary, WarnsWhenNothingOfALevelIsExtracted) {
  TestPrecursor ecd;
  ecd.m_activation = Cv(1000250);
  TestScan empty = Survey(1);
  empty.m_arrays.clear();
  empty.m_length = 0;
  const std::string report = ExtractXml(Mzml({empty, Fragment(2, ecd), Fragment(3, ecd)})).m_report;
  EXPECT_THAT(report, HasSubstr("  Warning: none of the 1 survey scans was extracted, most of them "
                                "for this reason: empty, 1 scans.\n"));
  EXPECT_THAT(report,
              HasSubstr("  Warning: none of the 2 MS2 scans was extracted, most of them for "
                        "this reason: activation without a word: term 1000250, 2 scans.\n"));
  EXPECT_THAT(ExtractXml(Mzml({Survey(1), empty, Fragment(2)})).m_report,
              Not(HasSubstr("Warning")));
}

TEST(Look, ReadsTheFileAgainWithWhatThePeaksTell) {
  // Pairs at the isotope distance of 1.00335, from a quadrupole by name.
  std::vector<TestScan> scans;
  for (int number = 1; number <= 12; ++number) {
    TestScan scan = number % 2 == 1 ? Survey(number) : Fragment(number);
    scan.m_scan_attributes = "instrumentConfigurationRef=\"IC4\"";
    std::vector<Peak> peaks;
    for (int i = 0; i < 20; ++i) {
      const double mz = 300.1234 + 7.3771 * i + 0.11 * number;
      peaks.push_back({mz, 100.0});
      peaks.push_back({mz + 1.00335, 50.0});
    }
    SetPeaks(scan, peaks);
    scans.push_back(scan);
  }
  const Extracted out = ExtractXml(Mzml(scans));
  EXPECT_EQ(LinesFrom(out.m_ms1, "S").size(), 6u);
  EXPECT_EQ(LinesFrom(out.m_ms2, "S").size(), 6u);
  EXPECT_THAT(out.m_report, HasSubstr("Analyser: FTMS from the look of the peaks\n"));
  EXPECT_THAT(out.m_report, HasSubstr("12 spectra in "));
}

/// A scan with only the quadrupole, so that its peaks decide: pairs one isotope apart, or m/z with
/// one decimal as from traps.
TestScan Untold(TestScan scan, bool is_fine) {
  scan.m_scan_attributes = "instrumentConfigurationRef=\"IC4\"";
  std::vector<Peak> peaks;
  for (int i = 0; i < 20; ++i) {
    const double mz = is_fine ? 300.1234 + 7.3771 * i : 300.1 + 7.3 * i;
    peaks.push_back({mz, 100.0});
    peaks.push_back({is_fine ? mz + 1.00335 : mz + 2.6, 50.0});
  }
  SetPeaks(scan, peaks);
  return scan;
}

constexpr int kMoreThanALook = 2100;

TEST(Look, GoesOnToTheFragmentScansOfAFileSortedByLevel) {
  std::vector<TestScan> scans;
  for (int number = 1; number <= kMoreThanALook; ++number)
    scans.push_back(Untold(Survey(number), true));
  for (int i = 1; i <= 20; ++i) scans.push_back(Untold(Fragment(kMoreThanALook + i), false));
  const Extracted out = ExtractXml(Mzml(scans));
  EXPECT_THAT(out.m_report,
              HasSubstr("Analyser: MS1 FTMS from the look of the peaks; MS2 ITMS from "
                        "the look of the peaks\n"));
}

TEST(Look, GoesOnToTheScansThatItIsFor) {
  std::vector<TestScan> scans;
  for (int number = 1; number <= kMoreThanALook; ++number)
    scans.push_back(number % 2 == 1 ? Survey(number) : Fragment(number));
  for (int i = 1; i <= 20; ++i) scans.push_back(Untold(Fragment(kMoreThanALook + i), false));
  const Extracted out = ExtractXml(Mzml(scans));
  EXPECT_THAT(out.m_report, HasSubstr("20 ITMS from the look of the peaks\n"));
}

}  // namespace
}  // namespace tarvek::extractor
