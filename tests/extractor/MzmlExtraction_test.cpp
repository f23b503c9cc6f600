// The rules of an extraction, each shown on a small mzML file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "ExtractorTestSupport.h"
#include "FileUtils.h"
#include "NativeId.h"

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
using testing::IsEmpty;
using Lines = std::vector<std::string>;

Extracted ExtractScans(const std::vector<TestScan>& scans, const Lines& options = {}) {
  return ExtractXml(Mzml(scans), options);
}

/// The one line of key in an .ms2 with one scan.
std::string InfoOf(const TestScan& scan, const std::string& key) {
  const Lines lines = LinesFrom(ExtractScans({scan}).m_ms2, "I\t" + key + "\t");
  return lines.size() == 1 ? lines.front().substr(key.size() + 3) : "";
}

std::string InfoOf(const TestPrecursor& precursor, const std::string& key) {
  return InfoOf(Fragment(1, precursor), key);
}

TestScan WithId(TestScan scan, const std::string& id) {
  scan.m_id = id;
  return scan;
}

TEST(MzmlExtraction, WritesASurveyAndAFragmentScan) {
  TestPrecursor precursor;
  precursor.m_ref = "scan=7";
  const Extracted out = ExtractScans({Survey(7), Fragment(8, precursor)});
  EXPECT_EQ(out.m_ms1,
            "S\t7\t7\nI\tRetTime\t30.0000\nI\tIonInjectionTime\t0.0000\n"
            "I\tInstrumentType\tFTMS\n400.25000 10.0\n401.50000 20.0\n");
  // M+H = 2 x 500.5 - 1.007276
  EXPECT_EQ(out.m_ms2,
            "S\t8\t8\t500.50000\nI\tRetTime\t30.0000\nI\tIonInjectionTime\t0.0000\n"
            "I\tInstrumentType\tFTMS\nI\tActivationType\tHCD\nI\tActivationCenter\t500.25000\n"
            "I\tPrecursorScan\t7\nZ\t2\t999.99272\n400.25000 10.0\n401.50000 20.0\n");
}

TEST(MzmlExtraction, TakesScanNumbersFromIdsThatHaveThem) {
  const Extracted out = ExtractScans(
      {WithId(Survey(0), "scan=5"), WithId(Survey(0), "controllerType=0 controllerNumber=1 scan=9"),
       WithId(Survey(0), "scanId=1200")});
  EXPECT_THAT(LinesFrom(out.m_ms1, "S"), ElementsAre("S\t5\t5", "S\t9\t9", "S\t1200\t1200"));
}

TEST(MzmlExtraction, CountsPositionsWhereIdsHaveNoScanNumber) {
  TestPrecursor precursor;
  precursor.m_ref = "function=1 process=0 scan=44";
  const Extracted out =
      ExtractScans({WithId(Survey(0), "function=1 process=0 scan=44"),
                    WithId(Survey(0), "function=3 process=0 scan=44"),
                    WithId(Fragment(0, precursor), "function=2 process=0 scan=44")});
  EXPECT_THAT(LinesFrom(out.m_ms1, "S"), ElementsAre("S\t1\t1", "S\t2\t2"));
  EXPECT_THAT(LinesFrom(out.m_ms2, "S"), ElementsAre("S\t3\t3\t500.50000"));
  EXPECT_THAT(LinesFrom(out.m_ms2, "I\tP"), ElementsAre("I\tPrecursorScan\t1"));
}

TEST(NativeIdList, HoldsTheScansThatAreNumberedByTheirPosition) {
  const TemporaryDirectory directory;
  NativeIdList list(directory / "run.nativeid.tsv");
  list.Add(1, "function=1 process=0 scan=44");
  list.Add(7, "scan=7");
  list.Add(9, "spectrum=8");
  list.Close();
  list.Commit();
  EXPECT_EQ(ReadFile(directory / "run.nativeid.tsv"),
            "scan\tnativeID\n1\tfunction=1 process=0 scan=44\n9\tspectrum=8\n");
}

TEST(NativeIdList, LeavesNoFileWhereEveryIdHasItsNumber) {
  const TemporaryDirectory directory;
  const std::string path = directory / "run.nativeid.tsv";
  WriteFile(path, "of an earlier extraction");
  NativeIdList list(path);
  list.Add(7, "scan=7");
  list.Close();
  list.Commit();
  EXPECT_FALSE(FileExists(path));
}

TEST(MzmlExtraction, ReadsTimesInTheirUnit) {
  const auto time_of = [](const std::string& param) {
    TestScan scan = Survey(1);
    scan.m_scan_params = param;
    return LinesFrom(ExtractScans({scan}).m_ms1, "I\tRetTime").front();
  };
  EXPECT_EQ(time_of(Cv(1000016, "1.5", "UO:0000031")), "I\tRetTime\t90.0000");
  EXPECT_EQ(time_of(Cv(1000016, "1.5", "UO:0000010")), "I\tRetTime\t1.5000");
  EXPECT_EQ(time_of(Cv(1000016, "1.5")), "I\tRetTime\t90.0000");
  EXPECT_EQ(time_of(""), "I\tRetTime\t0.0000");
}

TEST(MzmlExtraction, WritesTheInjectionTimeInMilliseconds) {
  TestScan scan = Survey(1);
  scan.m_scan_params += Cv(1000927, "12.25", "UO:0000028");
  EXPECT_THAT(LinesFrom(ExtractScans({scan}).m_ms1, "I\tIon"),
              ElementsAre("I\tIonInjectionTime\t12.2500"));
}

std::string AnalyserWord(const std::string& configuration, const std::string& filter = "") {
  TestScan scan = Survey(1);
  if (!configuration.empty())
    scan.m_scan_attributes = "instrumentConfigurationRef=\"" + configuration + "\"";
  if (!filter.empty()) scan.m_scan_params += Cv(1000512, filter);
  const Lines lines = LinesFrom(ExtractScans({scan}).m_ms1, "I\tInstrumentType\t");
  return lines.empty() ? "left out" : lines.front().substr(17);
}

TEST(MzmlExtraction, GivesTheAnalyserOfTheConfigurationThatTheScanNames) {
  EXPECT_EQ(AnalyserWord("IC1"), "FTMS");
  EXPECT_EQ(AnalyserWord("IC2"), "ITMS");
  EXPECT_EQ(AnalyserWord("IC2", "FTMS + p NSI Full ms"), "ITMS");
  EXPECT_EQ(AnalyserWord(""), "FTMS");  // the run's default
}

TEST(MzmlExtraction, GivesATimeOfFlightTheWordOfAResolvedAnalyser) {
  EXPECT_EQ(AnalyserWord("IC3"), "FTMS");
}

TEST(MzmlExtraction, BelievesTheFilterLineRatherThanTheDefaultOfTheRun) {
  EXPECT_EQ(AnalyserWord("", "ITMS + c NSI Full ms"), "ITMS");
  EXPECT_EQ(AnalyserWord("unknown", "ASTMS + c NSI Full ms"), "FTMS");
  EXPECT_EQ(AnalyserWord("unknown", "TOFMS + p NSI Full ms"), "FTMS");
}

TEST(MzmlExtraction, AssumesAFourierAnalyserWhereNothingTellsAnother) {
  EXPECT_EQ(AnalyserWord("IC4"), "FTMS");
  EXPECT_EQ(AnalyserWord("unknown"), "FTMS");
  TestScan quadrupole = Survey(1);
  quadrupole.m_scan_attributes = "instrumentConfigurationRef=\"IC4\"";
  EXPECT_THAT(
      ExtractScans({quadrupole}).m_report,
      HasSubstr("Warning: neither the file nor its peaks give the analyser of 1 of 1 MS1 scans"));
}

std::string ActivationOf(const std::string& params) {
  TestPrecursor precursor;
  precursor.m_activation = params;
  return InfoOf(precursor, "ActivationType");
}

TEST(MzmlExtraction, GivesTheActivationWords) {
  EXPECT_EQ(ActivationOf(Cv(1000133)), "CID");
  EXPECT_EQ(ActivationOf(Cv(1002472)), "CID");
  EXPECT_EQ(ActivationOf(Cv(1000422) + Cv(1000045, "30")), "HCD");
  EXPECT_EQ(ActivationOf(Cv(1002481)), "HCD");
  EXPECT_EQ(ActivationOf(Cv(1000598)), "ETD");
}

TEST(MzmlExtraction, KnowsBothEncodingsOfEtdWithSupplementalActivation) {
  EXPECT_EQ(ActivationOf(Cv(1002631)), "ETHCD");
  EXPECT_EQ(ActivationOf(Cv(1000598) + Cv(1002678)), "ETHCD");
  EXPECT_EQ(ActivationOf(Cv(1000422) + Cv(1000598)), "ETHCD");
  EXPECT_EQ(ActivationOf(Cv(1003182)), "ETCID");
  EXPECT_EQ(ActivationOf(Cv(1000598) + Cv(1002679)), "ETCID");
  EXPECT_EQ(ActivationOf(Cv(1000133) + Cv(1000598)), "ETCID");
}

TEST(MzmlExtraction, TakesTheActivationFromTheFilterLineWhereNoneIsDeclared) {
  TestPrecursor precursor;
  precursor.m_activation = "";
  TestScan scan = Fragment(1, precursor);
  scan.m_scan_params += Cv(1000512, "FTMS + c NSI d Full ms2 500.25@etd50.00@hcd25.00 [100-1000]");
  EXPECT_THAT(LinesFrom(ExtractScans({scan}).m_ms2, "I\tActivationType"),
              ElementsAre("I\tActivationType\tETHCD"));
}

TEST(MzmlExtraction, LeavesOutAndNamesActivationsWithoutAWord) {
  for (const int method : {1000250, 1003294, 1003246, 1000599, 1000262, 1003247}) {
    TestPrecursor precursor;
    precursor.m_activation = Cv(method);
    const Extracted out = ExtractScans({Fragment(1, precursor)});
    EXPECT_THAT(out.m_ms2, IsEmpty());
    EXPECT_THAT(out.m_report,
                HasSubstr("Left out: 1 activation without a word: term " + std::to_string(method)));
  }
  EXPECT_EQ(ActivationOf(Cv(1000422) + Cv(1000250)), "");
}

TEST(MzmlExtraction, CentresOnTheIsolationTarget) {
  TestPrecursor precursor;
  precursor.m_target = "650.125";
  EXPECT_EQ(InfoOf(precursor, "ActivationCenter"), "650.12500");
}

TEST(MzmlExtraction, CentresOnTheSelectedIonOnlyWithoutATarget) {
  TestPrecursor precursor;
  precursor.m_target = "";
  EXPECT_EQ(InfoOf(precursor, "ActivationCenter"), "500.50000");
}

TEST(MzmlExtraction, CentresOnTheFilterLineWithoutTargetAndIon) {
  TestPrecursor precursor;
  precursor.m_target = "";
  precursor.m_ions = {};
  TestScan scan = Fragment(1, precursor);
  scan.m_scan_params += Cv(1000512, "FTMS + c NSI d Full ms2 413.26@hcd28.00 [100.00-840.00]");
  EXPECT_EQ(InfoOf(scan, "ActivationCenter"), "413.26000");
  scan.m_precursors.clear();
  EXPECT_EQ(InfoOf(scan, "ActivationCenter"), "413.26000");
}

TEST(MzmlExtraction, LeavesOutFragmentScansOfNoPlace) {
  TestPrecursor precursor;
  precursor.m_target = "";
  precursor.m_ions = {Cv(1000041, "2")};
  EXPECT_THAT(ExtractScans({Fragment(1, precursor)}).m_report,
              HasSubstr("Left out: 1 no isolation target and no selected ion"));
}

Lines ChargeLines(const std::vector<std::string>& ions) {
  TestPrecursor precursor;
  precursor.m_ions = ions;
  return LinesFrom(ExtractScans({Fragment(1, precursor)}).m_ms2, "Z");
}

TEST(MzmlExtraction, WritesZerosForAnUnknownCharge) {
  EXPECT_THAT(ChargeLines({Cv(1000744, "500.5")}), ElementsAre("Z\t0\t0"));
  EXPECT_THAT(ChargeLines({}), ElementsAre("Z\t0\t0"));
}

TEST(MzmlExtraction, TakesAPossibleChargeOnlyWhenItIsTheOnlyOne) {
  EXPECT_THAT(ChargeLines({Cv(1000744, "500.5") + Cv(1000633, "1")}),
              ElementsAre("Z\t1\t500.50000"));
  EXPECT_THAT(ChargeLines({Cv(1000744, "500.5") + Cv(1000633, "2") + Cv(1000633, "3")}),
              ElementsAre("Z\t0\t0"));
}

TEST(MzmlExtraction, WritesALineForEachSelectedIon) {
  // 3 x 400.2 - 2 x 1.007276 = 1198.585448
  EXPECT_THAT(ChargeLines({Cv(1000744, "500.5") + Cv(1000041, "2"),
                           Cv(1000744, "400.2") + Cv(1000041, "3"), Cv(1000744, "300")}),
              ElementsAre("Z\t2\t999.99272", "Z\t3\t1198.58545", "Z\t0\t0"));
}

TEST(MzmlExtraction, WritesAPositiveChargeInNegativeMode) {
  TestPrecursor precursor;
  precursor.m_ions = {Cv(1000744, "500.5") + Cv(1000041, "-2")};
  TestScan scan = Fragment(1, precursor);
  scan.m_params += Cv(1000129);
  EXPECT_THAT(LinesFrom(ExtractScans({scan}).m_ms2, "Z"), ElementsAre("Z\t2\t999.99272"));
}

TEST(MzmlExtraction, ClimbsFromAFragmentScanToItsSurvey) {
  TestPrecursor of_survey;
  of_survey.m_ref = "scan=1";
  TestPrecursor of_fragment;
  of_fragment.m_ref = "scan=2";
  TestPrecursor of_that;
  of_that.m_ref = "scan=4";
  const Extracted out = ExtractScans({Survey(1), Fragment(2, of_survey), Survey(3),
                                      Fragment(4, of_fragment), Fragment(5, of_that)});
  EXPECT_THAT(LinesFrom(out.m_ms2, "I\tP"),
              ElementsAre("I\tPrecursorScan\t1", "I\tPrecursorScan\t1", "I\tPrecursorScan\t1"));
}

TEST(MzmlExtraction, TakesTheLatestSurveyWhereNoneIsNamed) {
  TestPrecursor of_other_file;
  of_other_file.m_attributes = "externalSpectrumID=\"scan=1\"";
  of_other_file.m_ref = "scan=1";
  TestPrecursor of_unknown;
  of_unknown.m_ref = "scan=77";
  TestPrecursor of_itself;
  of_itself.m_ref = "scan=7";
  const Extracted out =
      ExtractScans({Fragment(1), Survey(2), Survey(3), Fragment(4), Fragment(5, of_other_file),
                    Fragment(6, of_unknown), Fragment(7, of_itself)});
  EXPECT_THAT(LinesFrom(out.m_ms2, "I\tP"),
              ElementsAre("I\tPrecursorScan\t0", "I\tPrecursorScan\t3", "I\tPrecursorScan\t3",
                          "I\tPrecursorScan\t3", "I\tPrecursorScan\t3"));
  EXPECT_THAT(out.m_report, HasSubstr("1 MS2 scans without a survey scan before them"));
}

TEST(MzmlExtraction, TakesASurveyOfTheSamePolarity) {
  TestScan negative = Survey(2);
  negative.m_params += Cv(1000129);
  TestScan positive = Survey(1);
  positive.m_params += Cv(1000130);
  TestPrecursor of_negative;
  of_negative.m_ref = "scan=2";
  TestScan fragment = Fragment(3, of_negative);
  fragment.m_params += Cv(1000130);
  EXPECT_THAT(LinesFrom(ExtractScans({positive, negative, fragment}).m_ms2, "I\tP"),
              ElementsAre("I\tPrecursorScan\t1"));
}

std::vector<TestScan> FaimsRun() {
  std::vector<TestScan> scans = {Survey(1), Survey(2), Fragment(3), Fragment(4)};
  scans[0].m_scan_params += Cv(1001581, "-40");
  scans[1].m_params += Cv(1001581, "-60");
  scans[2].m_scan_params += Cv(1001581, "-40.0");
  scans[3].m_scan_params += Cv(1001581, "-60.0");
  return scans;
}

TEST(MzmlExtraction, TakesASurveyOfTheSameCompensationVoltage) {
  const Extracted out = ExtractScans(FaimsRun());
  EXPECT_THAT(LinesFrom(out.m_ms2, "I\tP"),
              ElementsAre("I\tPrecursorScan\t1", "I\tPrecursorScan\t2"));
  EXPECT_THAT(LinesFrom(out.m_ms1, "S"), ElementsAre("S\t1\t1", "S\t2\t2"));
}

TEST(MzmlExtraction, WarnsOfSeveralCompensationVoltages) {
  const Extracted out = ExtractScans(FaimsRun());
  EXPECT_THAT(out.m_report, HasSubstr("FAIMS compensation voltages: -40.0, -60.0"));
  EXPECT_THAT(out.m_report, HasSubstr("--faims CV"));
}

TEST(MzmlExtraction, TakesOneCompensationVoltageWhenTold) {
  const Extracted out = ExtractScans(FaimsRun(), {"--faims", "-60"});
  EXPECT_THAT(LinesFrom(out.m_ms1, "S"), ElementsAre("S\t2\t2"));
  EXPECT_THAT(LinesFrom(out.m_ms2, "S"), ElementsAre("S\t4\t4\t500.50000"));
  EXPECT_THAT(out.m_report, HasSubstr("Left out: 2 other compensation voltage"));
}

TEST(MzmlExtraction, RefusesACompensationVoltageThatNoScanHas) {
  EXPECT_THAT(tarvek::test::MessageOf([] {
                ExtractScans(FaimsRun(), {"--faims", "-50"});
              }),
              HasSubstr("no scan has this compensation voltage; found: -40.0, -60.0"));
}

TEST(MzmlExtraction, DoesNotTakeIonMobilityForFaims) {
  TestScan scan = Survey(1);
  scan.m_scan_params += Cv(1002815, "0.9");
  EXPECT_THAT(ExtractScans({scan}).m_report, testing::Not(HasSubstr("FAIMS")));
}

TestScan WithParams(int number, const std::string& params) {
  TestScan scan = Survey(number);
  scan.m_params = params;
  return scan;
}

TEST(MzmlExtraction, LeavesOutAndCountsWhatIsNoSurveyOrFragmentScan) {
  TestScan empty = Survey(4);
  test::SetPeaks(empty, {});
  const Extracted out =
      ExtractScans({WithParams(1, Cv(1000511, "3")), WithParams(2, Cv(1000804) + Cv(1000511, "1")),
                    WithParams(3, ""), empty, WithParams(5, Cv(1000511, "1"))});
  EXPECT_THAT(LinesFrom(out.m_ms1, "S"), ElementsAre("S\t5\t5"));
  EXPECT_THAT(out.m_report, HasSubstr("Left out: 1 MS level above 2; 1 empty; 1 no MS level; "
                                      "1 no mass spectrum (UV or other)"));
}

TEST(MzmlExtraction, DoesNotDecodeWhatItLeavesOut) {
  TestScan scan = WithParams(1, Cv(1000511, "3"));
  scan.m_arrays = {{Cv(1000514), "%%%", ""}};
  EXPECT_THAT(ExtractScans({scan}).m_report, HasSubstr("MS level above 2"));
}

TEST(MzmlExtraction, LeavesOutPeaksThatTheDigitsShowAsZero) {
  TestScan scan = Survey(1);
  // 0.25 is a tie, which goes to the even digit
  test::SetPeaks(scan, {{100.0, 0.0}, {200.0, 0.04}, {300.0, 0.06}, {400.0, -5.0}, {500.0, 0.25}});
  const Extracted out = ExtractScans({scan});
  EXPECT_THAT(LinesFrom(out.m_ms1, "300"), ElementsAre("300.00000 0.1"));
  EXPECT_THAT(LinesFrom(out.m_ms1, "500"), ElementsAre("500.00000 0.2"));
  EXPECT_THAT(out.m_report, HasSubstr("3 peaks left out that the digits show as 0"));
}

TEST(MzmlExtraction, LeavesOutAScanOfInvisiblePeaks) {
  TestScan scan = Survey(1);
  test::SetPeaks(scan, {{100.0, 0.01}});
  EXPECT_THAT(ExtractScans({scan}).m_report, HasSubstr("Left out: 1 no peak that the digits show"));
}

TEST(MzmlExtraction, SortsPeaksByMz) {
  TestScan scan = Survey(1);
  test::SetPeaks(scan, {{300.0, 1.0}, {100.0, 2.0}, {200.0, 3.0}});
  EXPECT_THAT(ExtractScans({scan}).m_ms1,
              HasSubstr("100.00000 2.0\n200.00000 3.0\n300.00000 1.0\n"));
}

TEST(MzmlExtraction, WritesTheDigitsItIsTold) {
  const Extracted out = ExtractXml(Mzml({Survey(1), Fragment(2)}), {"-m", "3", "-i", "0"});
  EXPECT_THAT(out.m_ms1, HasSubstr("400.250 10\n"));
  EXPECT_THAT(LinesFrom(out.m_ms2, "Z"), ElementsAre("Z\t2\t999.993"));
  EXPECT_THAT(LinesFrom(out.m_ms2, "I\tActivationC"), ElementsAre("I\tActivationCenter\t500.250"));
}

TEST(MzmlExtraction, ResolvesParameterGroups) {
  std::string xml = Mzml({Survey(1)});
  const std::string level = Cv(1000511, "1");
  xml.replace(xml.find(level), level.size(), "<referenceableParamGroupRef ref=\"g\"/>");
  const std::string start = "<instrumentConfigurationList>";
  xml.insert(xml.find(start), "<referenceableParamGroupList><referenceableParamGroup id=\"g\">" +
                                  level +
                                  "</referenceableParamGroup></referenceableParamGroupList>");
  EXPECT_THAT(LinesFrom(ExtractXml(xml).m_ms1, "S"), ElementsAre("S\t1\t1"));
}

TEST(MzmlExtraction, LetsAnArrayOverrideTheLength) {
  TestScan scan = Survey(1);
  scan.m_length = 99;
  for (test::TestArray& array : scan.m_arrays) array.m_attributes = "arrayLength=\"2\"";
  EXPECT_EQ(LinesFrom(ExtractScans({scan}).m_ms1, "40").size(), 2u);
}

// Two numbers of numpress linear: the fixed point as a big-endian binary64, then both as integers.
TEST(MzmlExtraction, ReadsNumpressPlainAndBehindZlib) {
  const std::string bytes(
      "\x40\x59\0\0\0\0\0\0"       // 100
      "\x59\x9C\0\0\xD6\x9C\0\0",  // 40025, 40150
      16);
  for (const bool zlib : {false, true}) {
    TestScan scan = Survey(1);
    scan.m_arrays[0] = {Cv(1000514) + Cv(zlib ? 1002746 : 1002312),
                        test::EncodeBase64(zlib ? test::Deflated(bytes) : bytes), ""};
    EXPECT_THAT(ExtractScans({scan}).m_ms1, HasSubstr("400.25000 10.0\n401.50000 20.0\n"));
  }
}

TEST(MzmlExtraction, IgnoresOtherArraysAndTheWindowsOfProducts) {
  TestScan scan = Fragment(1);
  scan.m_arrays.push_back({Cv(1000517) + Cv(1000523), "%%", ""});
  std::string xml = Mzml({scan});
  xml.insert(xml.find("<binaryDataArrayList>"), "<productList><product><isolationWindow>" +
                                                    Cv(1000827, "999") +
                                                    "</isolationWindow></product></productList>");
  EXPECT_THAT(LinesFrom(ExtractXml(xml).m_ms2, "I\tActivationC"),
              ElementsAre("I\tActivationCenter\t500.25000"));
}

TEST(MzmlExtraction, ReadsIndexedAndGzippedFiles) {
  const std::string plain = ExtractXml(Mzml({Survey(1)})).m_ms1;
  EXPECT_EQ(ExtractXml(Mzml({Survey(1)}, true)).m_ms1, plain);
  const std::string packed = test::Gzipped(Mzml({Survey(1)}, true));
  EXPECT_EQ(ExtractXml(packed, {}, "run.mzML.gz").m_ms1, plain);
}

TEST(MzmlExtraction, ReadsAGzipFileOfSeveralMembers) {
  const std::string xml = Mzml({Survey(1)});
  const std::string packed =
      test::Gzipped(xml.substr(0, 300)) + test::Gzipped(xml.substr(300)) + std::string(8, '\0');
  EXPECT_EQ(ExtractXml(packed).m_ms1, ExtractXml(xml).m_ms1);
}

TEST(MzmlExtraction, ReportsIsolationWidths) {
  TestPrecursor unknown;
  unknown.m_lower = unknown.m_upper = "-1";
  const Extracted out = ExtractScans({Fragment(1), Fragment(2), Fragment(3, unknown)});
  EXPECT_THAT(out.m_report, HasSubstr("Isolation widths (Th): 2.00 (2 scans); not declared (1"));
}

TEST(MzmlExtraction, ReportsScansByAnalyserAndActivation) {
  TestScan trap = Fragment(3);
  trap.m_scan_attributes = "instrumentConfigurationRef=\"IC2\"";
  const Extracted out = ExtractScans({Survey(1), Fragment(2), trap});
  EXPECT_THAT(out.m_report, HasSubstr("(mzML, 0.0 MB, 3 spectra declared)"));
  EXPECT_THAT(out.m_report, HasSubstr("Survey scans: 1 FTMS\n"));
  EXPECT_THAT(out.m_report, HasSubstr("MS2 scans: 1 HCD FTMS; 1 HCD ITMS\n"));
}

/// Samples of a Gaussian of this height around mz, five to a side, with zeros at both ends.
void AddProfile(std::vector<Peak>& samples, double mz, double height) {
  constexpr double kSpacing = 0.001;
  for (int i = -6; i <= 6; ++i) {
    const double x = i * kSpacing;
    const double sigma = 2.0 * kSpacing;
    const double value = i == -6 || i == 6 ? 0.0 : height * std::exp(-x * x / (2 * sigma * sigma));
    samples.push_back({mz + x, value});
  }
}

TEST(MzmlExtraction, PicksProfilesDeclaredAndNot) {
  std::vector<Peak> samples;
  for (const double mz : {400.1, 400.6, 401.1}) AddProfile(samples, mz, 1000.0);
  for (const int mode : {1000128, 1000127, 1000525}) {
    TestScan scan = Survey(1);
    test::SetPeaks(scan, samples);
    scan.m_params += Cv(mode);
    const Extracted out = ExtractScans({scan});
    EXPECT_THAT(LinesFrom(out.m_ms1, "40"),
                ElementsAre("400.10000 1000.0", "400.60000 1000.0", "401.10000 1000.0"));
    EXPECT_THAT(out.m_report, HasSubstr("1 spectra picked from profile data"));
  }
}

TEST(MzmlExtraction, LeavesCentroidsAloneThatAreDeclaredAsProfiles) {
  TestScan scan = Survey(1);
  std::vector<Peak> peaks;
  for (int i = 0; i < 50; ++i) peaks.push_back({400.0 + 0.5 * i, 10.0 + i % 7});
  test::SetPeaks(scan, peaks);
  scan.m_params += Cv(1000128);
  const Extracted out = ExtractScans({scan});
  EXPECT_EQ(LinesFrom(out.m_ms1, "4").size(), 50u);
  EXPECT_THAT(out.m_report, HasSubstr("1 spectra declared as profiles that are centroids"));
}

}  // namespace
}  // namespace tarvek::extractor
