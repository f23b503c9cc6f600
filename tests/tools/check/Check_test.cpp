// The parts of tarvek-tools check, on files made by hand.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "BinaryPair.h"
#include "ExtractorTestSupport.h"
#include "Platform.h"
#include "RunRecord.h"
#include "TestSupport.h"
#include "check/Account.h"
#include "check/Check.h"
#include "check/Mgf.h"
#include "check/Pf.h"
#include "check/Table.h"

namespace tarvek::tools {
namespace {

using extractor::test::Cv;
using extractor::test::Fragment;
using extractor::test::Mzml;
using extractor::test::Survey;
using extractor::test::TestPrecursor;
using extractor::test::TestScan;
using tarvek::test::PutInt32;
using tarvek::test::PutReal;
using tarvek::test::TemporaryDirectory;
using tarvek::test::WriteFile;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

std::vector<std::string> Codes(const CheckReport& report, bool with_notes = true) {
  std::vector<std::string> codes;
  for (const Finding& finding : report.Findings())
    if (with_notes || finding.m_severity != Severity::kNote) codes.push_back(finding.m_code);
  return codes;
}

TEST(CheckFindings, TextHasDefectsFirstAndJsonHasScanAndLine) {
  CheckReport report;
  report.Note("a-note", "run.csv", "It is so.", "Leave it.");
  report.Defect("a-defect", "run.pf1", "It is cut.", "Run again.", {7, 12});
  report.AddItem({"run", "outputs", {{"scan_count", "scans", 3}}, {{"no peaks", {2, 5}}}});
  EXPECT_EQ(CheckText(report),
            "run (outputs): 3 scans\n"
            "  left out: 2, no peaks (first: scan 5)\n"
            "defect: run.pf1, scan 7, line 12: It is cut.\n  Run again.\n"
            "note: run.csv: It is so.\n  Leave it.\n"
            "1 defect, 0 warnings, 1 note\n");
  const auto json = nlohmann::json::parse(CheckJson(report));
  EXPECT_EQ(json.at("defects"), 1);
  EXPECT_EQ(json.at("checked").at(0).at("counts").at("scan_count"), 3);
  EXPECT_EQ(json.at("findings").at(1).at("scan"), 7);
  EXPECT_EQ(json.at("findings").at(1).at("line"), 12);
  EXPECT_EQ(json.at("checked").at(0).at("left_out").at(0).at("first_scan"), 5);
}

TEST(CheckFindings, CountsOfAKindThoseBeyondTheFirstHundred) {
  CheckReport report;
  for (int i = 0; i < 103; ++i) report.Defect("many", "a.csv", "It is cut.", "Run again.");
  for (int i = 0; i < 100; ++i) report.Defect("many", "b.csv", "It is cut.", "Run again.");
  report.Note("many", "a.csv", "It is so.", "Leave it.");
  EXPECT_EQ(report.Count(Severity::kDefect), 203u);
  EXPECT_EQ(report.Findings().size(), 201u);
  EXPECT_TRUE(report.IsListFull({Severity::kDefect, "many", "b.csv"}));
  EXPECT_FALSE(report.IsListFull({Severity::kNote, "many", "a.csv"}));
  EXPECT_FALSE(report.IsListFull({Severity::kDefect, "other", "a.csv"}));

  const std::string end =
      "defect: a.csv: 3 more of the kind many are not listed.\n"
      "note: a.csv: It is so.\n  Leave it.\n"
      "203 defects, 0 warnings, 1 note\n";
  const std::string text = CheckText(report);
  ASSERT_GE(text.size(), end.size());
  EXPECT_EQ(text.substr(text.size() - end.size()), end);

  const auto json = nlohmann::json::parse(CheckJson(report));
  EXPECT_EQ(json.at("findings").size(), 201u);
  EXPECT_EQ(json.at("defects"), 203);
  const nlohmann::json unlisted = {
      {{"severity", "defect"}, {"code", "many"}, {"file", "a.csv"}, {"count", 3}}};
  EXPECT_EQ(json.at("unlisted"), unlisted);
}

TEST(CheckFindings, SaysNothingOfUnlistedOnesWithoutAny) {
  CheckReport report;
  report.Note("a-note", "run.csv", "It is so.", "Leave it.");
  EXPECT_FALSE(nlohmann::json::parse(CheckJson(report)).contains("unlisted"));
}

/// The findings for an mzML file of these scans.
CheckReport CheckScans(const std::vector<TestScan>& scans, const CheckOptions& options = {}) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.mzML", Mzml(scans));
  CheckReport report;
  CheckXmlInput(report, directory / "run.mzML", options);
  return report;
}

TestPrecursor Window(const std::string& half_width) {
  TestPrecursor precursor;
  precursor.m_lower = precursor.m_upper = half_width;
  return precursor;
}

TEST(CheckXmlInput, AWindowOfTheSettingIsNotSpokenOf) {
  EXPECT_THAT(Codes(CheckScans({Survey(1), Fragment(2)})), IsEmpty());
}

TEST(CheckXmlInput, AWiderWindowIsAWarningAndANarrowerOneANote) {
  const CheckReport wide = CheckScans({Survey(1), Fragment(2, Window("2"))});
  ASSERT_THAT(Codes(wide), ElementsAre("isolation-width"));
  EXPECT_EQ(wide.Findings().front().m_severity, Severity::kWarning);
  EXPECT_THAT(wide.Findings().front().m_advice, HasSubstr("-W 4"));
  const CheckReport narrow = CheckScans({Survey(1), Fragment(2, Window("0.35"))});
  ASSERT_THAT(Codes(narrow), ElementsAre("isolation-width"));
  EXPECT_EQ(narrow.Findings().front().m_severity, Severity::kNote);
  EXPECT_THAT(narrow.Findings().front().m_advice, HasSubstr("-W 0.7"));
}

TEST(CheckXmlInput, TheWidthOfTheRunIsComparedWithTheOption) {
  CheckOptions options;
  options.m_settings.m_isolation_width = 4.0;
  EXPECT_THAT(Codes(CheckScans({Survey(1), Fragment(2, Window("2"))}, options)), IsEmpty());
}

// 2.2 is more than 2 by less than a tenth of itself; 2.25 by more.
TEST(CheckXmlInput, AWidthIsAnotherWhenItDiffersByMoreThanATenth) {
  EXPECT_THAT(Codes(CheckScans({Survey(1), Fragment(2, Window("1.1"))})), IsEmpty());
  const CheckReport wider = CheckScans({Survey(1), Fragment(2, Window("1.125"))});
  ASSERT_THAT(Codes(wider), ElementsAre("isolation-width"));
  EXPECT_EQ(wider.Findings().front().m_severity, Severity::kNote);
  CheckOptions options;
  options.m_settings.m_isolation_width = 0.75;
  EXPECT_THAT(Codes(CheckScans({Survey(1), Fragment(2, Window("0.35"))}, options)), IsEmpty());
  options.m_settings.m_isolation_width = 0.8;
  EXPECT_THAT(Codes(CheckScans({Survey(1), Fragment(2, Window("0.35"))}, options)),
              ElementsAre("isolation-width"));
}

// M+H = z x m/z - (z - 1) x 1.007276 must stay below 15000: at m/z 1001 that is z x 999.992724 + 1.007276,
// 14999.9 for 14.99 charges.
TEST(LargestCharge, IsTheLastWhoseMassesAreInTheTable) {
  EXPECT_EQ(LargestCharge(1001.0, 15000), 14);
  EXPECT_EQ(LargestCharge(1000.0, 15000), 15);        // 15 x 998.992724 + 1.007276 = 14985.9
  EXPECT_EQ(LargestCharge(1000.0, 15000, true), 14);  // 15 x 1001.007276 + 1.007276 = 15016.1
  EXPECT_EQ(LargestCharge(7600.0, 15000), 1);
  EXPECT_EQ(LargestCharge(15000.0, 15000), 0);
  EXPECT_GT(LargestCharge(0.0, 15000), 1000000);  // nothing is known of the m/z
}

// An ion of charge 18 in a run with another one at m/z 1500: 1500 + 1 + 0.05 allows 9 charges.
TEST(CheckXmlInput, NoChargeIsAdvisedThatReachesBeyondTheIsotopeTable) {
  TestPrecursor high;
  high.m_ions = {Cv(1000744, "800.25") + Cv(1000041, "18")};
  TestPrecursor far = high;
  far.m_target = "1500.0";
  far.m_ions = {Cv(1000744, "1500.0") + Cv(1000041, "8")};
  const std::vector<TestScan> scans = {Survey(1), Fragment(2, high), Fragment(3, far)};
  const CheckReport report = CheckScans(scans);
  ASSERT_THAT(Codes(report), ElementsAre("charge-range"));
  EXPECT_THAT(report.Findings().front().m_advice, HasSubstr("-c 8t9, since"));
  CheckOptions options;
  options.m_settings.m_charge_min = 8;
  options.m_settings.m_charge_max = 18;
  const CheckReport planned = CheckScans(scans, options);
  ASSERT_THAT(Codes(planned), ElementsAre("mass-limit"));
  EXPECT_THAT(planned.Findings().front().m_advice, HasSubstr("-c 8t9, since"));
  const std::map<std::string, std::string> narrowed = {{"charge_range", "8t9"}};
  EXPECT_EQ(planned.Findings().front().m_settings, narrowed);
  EXPECT_THAT(CheckJson(planned), HasSubstr("\"settings\": {\n        \"charge_range\": \"8t9\""));
  options.m_settings.m_charge_min = 10;
  const CheckReport hopeless = CheckScans(scans, options);
  ASSERT_THAT(Codes(hopeless, false), ElementsAre("mass-limit"));
  EXPECT_THAT(hopeless.Findings().front().m_settings, IsEmpty());
  options.m_settings.m_charge_min = 8;
  options.m_settings.m_charge_max = 9;
  EXPECT_THAT(Codes(CheckScans(scans, options), false), IsEmpty());
}

TEST(CheckXmlInput, AnUndeclaredWidthIsNotSpokenOf) {
  EXPECT_THAT(Codes(CheckScans({Survey(1), Fragment(2, Window(""))})), IsEmpty());
}

TEST(CheckXmlInput, ScansWithoutAWordForTheirActivationAreLeftOutWithTheReason) {
  TestPrecursor ecd;
  ecd.m_activation = Cv(1000250);
  const CheckReport report = CheckScans({Survey(1), Fragment(2, ecd), Fragment(3)});
  EXPECT_THAT(Codes(report), ElementsAre("ms2-left-out"));
  ASSERT_EQ(report.Items().front().m_left_out.size(), 1U);
  const auto& [reason, left_out] = *report.Items().front().m_left_out.begin();
  EXPECT_THAT(reason, HasSubstr("activation without a word"));
  EXPECT_EQ(left_out.m_count, 1);
  EXPECT_EQ(left_out.m_first_scan, 2);
}

TEST(CheckXmlInput, ScansAreTakenAsTheExtractorTakesThemFromAMergedFile) {
  const std::vector<TestScan> scans = {Survey(1), Fragment(2), Survey(1), Fragment(2)};
  const CheckReport report = CheckScans(scans);
  EXPECT_THAT(Codes(report), ElementsAre("numbered-by-position"));
  EXPECT_EQ(report.Findings().front().m_severity, Severity::kNote);
  EXPECT_THAT(report.Items().front().m_left_out, IsEmpty());
  EXPECT_THAT(extractor::test::ExtractXml(Mzml(scans)).m_ms2, HasSubstr("S\t4\t4\t"));
}

TEST(CheckXmlInput, NoScanIsLeftOutForItsAnalyser) {
  TestScan quadrupole = Survey(1);
  quadrupole.m_scan_attributes = "instrumentConfigurationRef=\"IC4\"";
  const CheckReport report = CheckScans({quadrupole, Fragment(2)});
  EXPECT_THAT(report.Items().front().m_left_out, IsEmpty());
}

TEST(CheckXmlInput, ChargesOutsideTheRangeAreNamed) {
  TestPrecursor single;
  single.m_ions = {Cv(1000744, "500.25") + Cv(1000041, "1")};
  const std::vector<TestScan> scans = {Survey(1), Fragment(2, single)};
  const CheckReport report = CheckScans(scans);
  ASSERT_THAT(Codes(report), ElementsAre("charge-range"));
  EXPECT_EQ(report.Findings().front().m_advice, "Run tarvek with -c 1t2.");
  CheckOptions options;
  options.m_settings.m_charge_min = 1;
  EXPECT_THAT(Codes(CheckScans(scans, options)), IsEmpty());
}

TEST(CheckXmlInput, AnAssumedAnalyserIsAWarningUnlessTheEnvironmentSaysIt) {
  const TemporaryDirectory directory;
  std::vector<extractor::test::TestMzxmlScan> scans(2);
  scans[1].m_number = 2;
  WriteFile(directory / "run.mzXML", extractor::test::Mzxml(scans, "Quadrupole"));
  const auto check = [&](const std::string& analyser) {
    EXPECT_TRUE(SetEnvironment(kAnalyserVariable, analyser));
    CheckReport report;
    CheckXmlInput(report, directory / "run.mzXML", {});
    EXPECT_TRUE(SetEnvironment(kAnalyserVariable, ""));
    return report;
  };
  for (const char* says_nothing_of_ms1 : {"", "ms2=ITMS"}) {
    const CheckReport assumed = check(says_nothing_of_ms1);
    EXPECT_THAT(Codes(assumed, false), Contains("analyser-assumed"));
    EXPECT_THAT(CheckText(assumed), HasSubstr("the analyser of all 2 scans"));
  }
  EXPECT_THAT(Codes(check("ms1=FTMS")), Not(Contains("analyser-assumed")));
  const std::vector<std::string> codes = Codes(check("ITMS"));
  EXPECT_THAT(codes, Not(Contains("analyser-assumed")));
  EXPECT_THAT(codes, Contains("no-high-resolution-ms1"));
}

TEST(CheckXmlInput, SeveralIsolationWindowsAreANote) {
  TestScan several = Fragment(2);
  several.m_precursors.push_back(TestPrecursor());
  const CheckReport report = CheckScans({Survey(1), several, Fragment(3)});
  ASSERT_THAT(Codes(report), ElementsAre("several-windows"));
  EXPECT_EQ(report.Findings().front().m_severity, Severity::kNote);
  EXPECT_THAT(report.Findings().front().m_meaning, HasSubstr("1 of 2 MS2 scans"));
}

TEST(CheckXmlInput, NegativeIonsNeedNegativeCharges) {
  std::vector<TestScan> scans = {Survey(1), Fragment(2)};
  for (TestScan& scan : scans) scan.m_params += Cv(1000129);
  const CheckReport report = CheckScans(scans);
  ASSERT_THAT(Codes(report), ElementsAre("charge-range"));
  EXPECT_EQ(report.Findings().front().m_advice, "Run tarvek with -c -2t-2.");
}

TEST(CheckXmlInput, IonsOfUndeclaredPolarityHaveTheSignOfTheRange) {
  CheckOptions options;
  options.m_settings.m_charge_min = -6;
  options.m_settings.m_charge_max = -2;
  EXPECT_THAT(Codes(CheckScans({Survey(1), Fragment(2)}, options)), IsEmpty());
  const TemporaryDirectory directory;
  extractor::test::TestMzxmlScan fragment;
  fragment.m_number = 2;
  fragment.m_attributes = "msLevel=\"2\" retentionTime=\"PT31S\"";
  fragment.m_precursor =
      "<precursorMz precursorScanNum=\"1\" precursorCharge=\"3\" activationMethod=\"HCD\">"
      "400.25</precursorMz>";
  WriteFile(directory / "run.mzXML", extractor::test::Mzxml({{}, fragment}));
  CheckReport report;
  CheckXmlInput(report, directory / "run.mzXML", options);
  EXPECT_THAT(Codes(report), IsEmpty());
}

TEST(CheckXmlInput, SurveysInProfileModeAreAWarning) {
  TestScan survey = Survey(1);
  std::vector<Peak> samples;
  for (int i = 0; i < 200; ++i)
    samples.push_back({500.0 + 0.002 * i, i % 20 == 10 ? 1000.0 : 10.0});
  extractor::test::SetPeaks(survey, samples);
  EXPECT_THAT(Codes(CheckScans({survey, Fragment(2)})), ElementsAre("profile"));
}

TEST(CheckXmlInput, IntensitiesThatOneDecimalDoesNotShowAreAWarning) {
  TestScan fragment = Fragment(2);
  extractor::test::SetPeaks(fragment, {{200.5, 0.001}, {300.5, 0.02}});
  EXPECT_THAT(Codes(CheckScans({Survey(1), fragment, Fragment(3)})),
              UnorderedElementsAre("small-intensities", "ms2-left-out"));
}

// Samples without zeros have a noise floor of three times their median, below which equal ones lie.
TEST(CheckXmlInput, AProfileInWhichNoPeakIsFoundIsLeftOut) {
  TestScan fragment = Fragment(2);
  std::vector<Peak> samples;
  for (int i = 0; i < 200; ++i) samples.push_back({500.0 + 0.002 * i, 10.0});
  extractor::test::SetPeaks(fragment, samples);
  const std::vector<TestScan> scans = {Survey(1), fragment, Fragment(3)};
  EXPECT_THAT(extractor::test::ExtractXml(Mzml(scans)).m_ms2, Not(HasSubstr("S\t2\t")));
  const CheckReport report = CheckScans(scans);
  EXPECT_THAT(Codes(report), ElementsAre("ms2-left-out"));
  EXPECT_EQ(report.Items().front().m_facts.back().m_count, 1);
  EXPECT_EQ(report.Items().front().m_left_out.begin()->first, "no peak found in its profile");
}

TEST(CheckXmlInput, ACompressedFileIsReadAsAnyOther) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.mzML.gz", extractor::test::Gzipped(Mzml({Survey(1), Fragment(2)})));
  CheckReport report;
  CheckXmlInput(report, directory / "run.mzML.gz", {});
  EXPECT_THAT(Codes(report), IsEmpty());
  EXPECT_EQ(report.Items().front().m_facts.back().m_count, 1);
}

TEST(CheckXmlInput, AFileOfAnotherKindIsADefect) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.mzML", "<html></html>");
  CheckReport report;
  CheckXmlInput(report, directory / "run.mzML", {});
  ASSERT_THAT(Codes(report), ElementsAre("unreadable"));
  EXPECT_THAT(report.Findings().front().m_meaning, HasSubstr("neither mzML nor mzXML"));
}

TEST(CheckXmlInput, TheWordDoesNotSayThatAFileIsTruncated) {
  const TemporaryDirectory directory;
  WriteFile(directory / "truncated_run.mzML", "<truncated></truncated>");
  CheckReport report;
  CheckXmlInput(report, directory / "truncated_run.mzML", {});
  EXPECT_THAT(Codes(report), ElementsAre("unreadable"));
}

constexpr const char* kSurveyText =
    "S\t1\t1\nI\tRetTime\t1.5\nI\tInstrumentType\tFTMS\n500.5 10.0\n501.0 5.0\n";
std::string FragmentText(int number, const std::string& peaks = "200.5 10.0\n",
                         const std::string& charge = "2") {
  const std::string scan = std::to_string(number);
  return "S\t" + scan + "\t" + scan +
         "\t500.5\nI\tRetTime\t2.5\nI\tInstrumentType\tFTMS\nI\tActivationType\tHCD\n"
         "I\tActivationCenter\t500.5\nI\tPrecursorScan\t1\nZ\t" +
         charge + "\t999.99\n" + peaks;
}

TEST(CheckTextInput, AHalfThatIsThereAndCannotBeReadIsNotMissing) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.ms1", kSurveyText);
  std::filesystem::create_directory(directory / "run.ms2");
  CheckReport report;
  CheckTextInput(report, directory / "run.ms1", {});
  ASSERT_THAT(Codes(report), ElementsAre("unreadable"));
  EXPECT_EQ(report.Findings().front().m_file, directory / "run.ms2");
}

// The first has only peaks without intensity, the third has no peaks, the fourth one without a
// blank, and the last is a repeated block with unread peaks.
TEST(CheckTextInput, ScansWithoutPeaksAreThoseThatTheReaderPassesOver) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.ms1", kSurveyText);
  WriteFile(directory / "run.ms2", FragmentText(2, "100.5 0.0\n") + FragmentText(3) +
                                       FragmentText(4, "") + FragmentText(5, "100.5\n") +
                                       FragmentText(6) + FragmentText(7, "") + FragmentText(7));
  CheckReport report;
  CheckTextInput(report, directory / "run.ms1", {});
  const CheckedItem& item = report.Items().front();
  EXPECT_EQ(item.m_facts.back().m_count, 2);
  ASSERT_EQ(item.m_left_out.size(), 1U);
  EXPECT_EQ(item.m_left_out.begin()->first, "MS2 scans without peaks");
  EXPECT_EQ(item.m_left_out.begin()->second.m_count, 4);
  EXPECT_EQ(item.m_left_out.begin()->second.m_first_scan, 2);
}

// A zero byte ends a line for the reader of spectra alone, which then sees a scan more.
TEST(CheckTextInput, HiddenScansTakeTimeInProportion) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.ms1", kSurveyText);
  const auto seconds_of = [&](int hidden) {
    std::string text = FragmentText(2);
    for (int i = 0; i < hidden; ++i)
      text.append("X").append(1, '\0').append("\nS\t" + std::to_string(7 + i % 2) + "\n1 1\n");
    for (int i = 0; i < 6 * hidden; ++i) text += "S\t" + std::to_string(3 + i % 2) + "\n";
    WriteFile(directory / "run.ms2", text);
    const std::clock_t start = std::clock();
    CheckReport report;
    CheckTextInput(report, directory / "run.ms1", {});
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
  };
  const double once = std::min(seconds_of(20'000), seconds_of(20'000));
  EXPECT_LT(seconds_of(80'000), 9.0 * once + 0.2);  // sixteen times with the square
}

using tarvek::test::BinaryScan;

void WriteBinaryPair(const std::string& base, const std::vector<BinaryScan>& scans) {
  WriteFile(base + ".msb", tarvek::test::MsbBytes(scans));
  WriteFile(base + ".mscsv", tarvek::test::ScanTableText(scans));
}

// The fragment names the first survey, which a run keeps even without peaks.
TEST(CheckBinaryInput, ASurveyWithoutPeaksIsASurvey) {
  const TemporaryDirectory directory;
  WriteBinaryPair(directory / "run.mzml",
                  {{1, -1, 0.0, 1.0, "", "FT", 0, 0.0, {}},
                   {2, 1, 500.5, 1.5, "HCD", "FT", 2, 500.5, {{200.5, 10.0}}},
                   {3, -1, 0.0, 2.0, "", "FT", 0, 0.0, {{500.5, 10.0}}}});
  CheckReport report;
  CheckBinaryInput(report, directory / "run.mzml", {});
  EXPECT_THAT(Codes(report), IsEmpty());
  EXPECT_EQ(report.Items().front().m_facts.front().m_count, 2);
  EXPECT_THAT(report.Items().front().m_left_out, IsEmpty());
}

TEST(CheckBinaryInput, DotsInTheRunNameAreAWarningAndThoseOfTheFormatAreNot) {
  const TemporaryDirectory directory;
  const std::vector<BinaryScan> scans = {{1, -1, 0.0, 1.0, "", "FT", 0, 0.0, {{500.5, 10.0}}},
                                         {2, 1, 500.5, 1.5, "HCD", "FT", 2, 500.5, {{200.5, 1.0}}}};
  for (const char* name : {"run.mzml", "a.b.mzml"}) {
    WriteBinaryPair(directory / name, scans);
    CheckReport report;
    CheckBinaryInput(report, directory / name, {});
    const bool has_dots = name[0] == 'a';
    EXPECT_EQ(Codes(report), std::vector<std::string>(has_dots ? 1 : 0, "dotted-name")) << name;
  }
}

// The 2 that the reader returns for an unknown charge is not declared.
TEST(CheckTextInput, AChargeThatIsAssumedIsNotADeclaredOne) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.ms1", kSurveyText);
  WriteFile(directory / "run.ms2", FragmentText(2, "200.5 10.0\n", "0") +
                                       FragmentText(3, "200.5 10.0\n", "5") +
                                       FragmentText(4, "200.5 10.0\n", "0"));
  CheckOptions options;
  options.m_settings.m_charge_min = 3;
  CheckReport report;
  CheckTextInput(report, directory / "run.ms1", options);
  ASSERT_THAT(Codes(report), ElementsAre("no-charge"));
  EXPECT_THAT(report.Findings().front().m_meaning, HasSubstr("2 of 3 MS2 scans declare no charge"));
  EXPECT_EQ(report.Findings().front().m_place.m_scan_no, 2);
}

// 140,000,000 peaks, 2.24 GB, are a hole in a sparse file.
TEST(CheckPf, WrappedOffsetsAreANoteAndNoDefect) {
  const TemporaryDirectory directory;
  constexpr std::int32_t kManyPeaks = 140'000'000;
  std::ofstream data(directory / "big.pf2", std::ios::binary);
  std::string index;
  const auto write_record = [&](std::int32_t scan_no, std::int32_t peaks) {
    PutInt32(index, scan_no);
    PutInt32(index, static_cast<std::int32_t>(static_cast<std::uint32_t>(data.tellp())));
    std::string bytes;
    PutInt32(bytes, scan_no);
    PutInt32(bytes, peaks);
    data << bytes;
    data.seekp(std::streamoff{16} * peaks, std::ios::cur);
    bytes.clear();
    PutInt32(bytes, 1);
    PutReal(bytes, 500.25);
    PutInt32(bytes, 2);
    data << bytes;
  };
  std::string header;
  PutInt32(header, 3);
  PutInt32(header, 0);
  data << header;
  write_record(1, kManyPeaks);
  write_record(2, kManyPeaks);
  write_record(3, 0);
  data.close();
  WriteFile(directory / "big.pf2idx", index);
  CheckReport report;
  const PfContent content = CheckPf(report, directory / "big.pf2");
  EXPECT_TRUE(content.m_is_whole);
  ASSERT_EQ(content.m_scans.size(), 3U);
  EXPECT_EQ(content.m_scans[2].m_precursors.front().m_charge, 2);
  ASSERT_THAT(Codes(report), ElementsAre("pf-wrapped"));
  EXPECT_EQ(report.Findings().front().m_severity, Severity::kNote);
  EXPECT_EQ(report.Findings().front().m_place.m_scan_no, 2);
}

TEST(CheckPf, APeakCountBelowZeroEndsTheWalk) {
  const TemporaryDirectory directory;
  std::string bytes;
  for (const std::int32_t number : {1, 0, 7, -1, 0}) PutInt32(bytes, number);
  WriteFile(directory / "a.pf2", bytes);
  WriteFile(directory / "a.pf2idx", "");
  CheckReport report;
  EXPECT_FALSE(CheckPf(report, directory / "a.pf2").m_is_whole);
  EXPECT_THAT(Codes(report), ElementsAre("pf-truncated"));
}

CheckReport CheckMgfText(const std::string& text) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a.mgf", text);
  CheckReport report;
  CheckMgfInput(report, directory / "a.mgf");
  return report;
}

// A block without peaks, one without PEPMASS and one without BEGIN IONS.
TEST(CheckMgfInput, WhatARunTakesIsNoDefect) {
  const CheckReport report = CheckMgfText(
      "BEGIN IONS\nTITLE=a.7.7.2.dta\nPEPMASS=400.5\nEND IONS\n"
      "BEGIN IONS\nTITLE=a.8.8.2.dta\n100.5 1.0\nEND IONS\n"
      "TITLE=a.9.9.2.dta\nPEPMASS=400.5\n100.5 1.0\nEND IONS\n");
  EXPECT_THAT(Codes(report, false), ElementsAre("mgf-input"));
  EXPECT_EQ(report.Items().front().m_facts.front().m_count, 3);
}

TEST(CheckMgfInput, WhereARunStopsIsADefect) {
  EXPECT_THAT(Codes(CheckMgfText("BEGIN IONS\nTITLE=scan 5\nPEPMASS=5\n100.5 1.0\nEND IONS\n")),
              ElementsAre("mgf-input", "mgf-title", "no-charge", "unreadable"));
  EXPECT_THAT(Codes(CheckMgfText("BEGIN IONS\nTITLE=a.7.7.2.dta\nPEPMASS=5\nEND IONS\n")),
              ElementsAre("mgf-input", "no-charge", "no-ms2"));
}

std::string MgfBlock(const std::string& title, const std::string& peaks, bool has_charge = true) {
  return "BEGIN IONS\nTITLE=" + title + "\n" + (has_charge ? "CHARGE=2+\n" : "") +
         "PEPMASS=400.5\n" + peaks + "END IONS\n";
}

TEST(CheckMgfInput, BlocksThatMergeAreCounted) {
  const std::string peaks = "100.5 1.0\n";
  const CheckReport same =
      CheckMgfText(MgfBlock("a.7.7.2.0.dta", peaks) + MgfBlock("a.7.7.3.1.dta", peaks) +
                   MgfBlock("a.8.8.2.0.dta", peaks));
  ASSERT_THAT(Codes(same), ElementsAre("mgf-input", "merged-blocks"));
  EXPECT_EQ(same.Findings().back().m_severity, Severity::kNote);
  EXPECT_THAT(same.Findings().back().m_meaning, HasSubstr("1 of 3 blocks"));
  EXPECT_EQ(same.Items().front().m_facts.back().m_key, "scans");
  EXPECT_EQ(same.Items().front().m_facts.back().m_count, 2);
  const CheckReport other =
      CheckMgfText(MgfBlock("a.7.7.2.0.dta", peaks) + MgfBlock("a.7.7.3.1.dta", "200.5 1.0\n"));
  ASSERT_THAT(Codes(other), ElementsAre("mgf-input", "merged-blocks"));
  EXPECT_EQ(other.Findings().back().m_severity, Severity::kWarning);
}

// Dots in the run name: the second field is 1 in both, and only the end identifies the scans.
TEST(CheckMgfInput, TitlesOfDottedRunNamesDoNotMerge) {
  const std::string peaks = "100.5 1.0\n";
  const CheckReport report =
      CheckMgfText(MgfBlock("a.1.7.7.2.0.dta", peaks) + MgfBlock("a.1.8.8.2.dta", peaks) +
                   MgfBlock("a.1.9.9.-3.0.dta", peaks));
  EXPECT_THAT(Codes(report), ElementsAre("mgf-input", "dotted-name"));
}

TEST(CheckMgfInput, ABlockWithoutChargeIsANote) {
  const CheckReport report = CheckMgfText(MgfBlock("a.7.7.2.dta", "100.5 1.0\n") +
                                          MgfBlock("a.8.8.2.dta", "100.5 1.0\n", false));
  ASSERT_THAT(Codes(report), ElementsAre("mgf-input", "no-charge"));
  EXPECT_THAT(report.Findings().back().m_meaning, HasSubstr("1 of 2 blocks"));
}

TEST(CheckMgfInput, ATitleWithoutScanIsNamedWithItsLine) {
  const CheckReport report =
      CheckMgfText(MgfBlock("a.7.7.2.dta", "100.5 1.0\n") + MgfBlock("scan 8", "100.5 1.0\n"));
  ASSERT_THAT(Codes(report), ElementsAre("mgf-input", "mgf-title", "unreadable"));
  EXPECT_EQ(report.Findings()[1].m_place.m_line, 8);
}

// For all separators: where a run gets no peaks, the check says why.
TEST(CheckMgfInput, ScansWithoutUsablePeaksAreLeftOutWithTheReason) {
  const CheckReport report =
      CheckMgfText(MgfBlock("a.7.7.2.dta", "100.5 1.0\n") + MgfBlock("a.8.8.2.dta", "") +
                   MgfBlock("a.9.9.2.dta", "100.5;1.0\n"));
  const LeftOutScans& left_out = report.Items().front().m_left_out;
  ASSERT_EQ(left_out.size(), 2U);
  EXPECT_EQ(left_out.at("no peaks").m_first_scan, 8);
  EXPECT_EQ(left_out.at("peaks without intensity").m_first_scan, 9);
}

TEST(CheckMgfInput, AnEndInsideABlockIsAWarning) {
  const CheckReport report =
      CheckMgfText("BEGIN IONS\nTITLE=a.7.7.2.dta\nPEPMASS=400.5\n100.5 1.0\n");
  EXPECT_THAT(Codes(report), ElementsAre("mgf-input", "cut-off"));
  EXPECT_EQ(report.Count(Severity::kDefect), 0U);
}

TEST(CheckMgf, ReadsScanChargeAndMassOfEachBlock) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a.mgf",
            "BEGIN IONS\nTITLE=a.b.7.7.-2.1.dta\nCHARGE=2-\nPEPMASS=400.5\n100.5 1.0\nEND IONS\n"
            "BEGIN IONS\r\nTITLE=a.b.8.8.3.dta\r\nCHARGE=3+\r\nPEPMASS=5 9\r\n1 1\r\nEND IONS\r\n");
  CheckReport report;
  const MgfContent content = CheckMgf(report, directory / "a.mgf");
  EXPECT_THAT(Codes(report), IsEmpty());
  ASSERT_EQ(content.m_blocks.size(), 2U);
  EXPECT_EQ(content.m_run_name, "a.b");
  EXPECT_EQ(content.m_blocks[0].m_scan_no, 7);
  EXPECT_EQ(content.m_blocks[0].m_precursor.m_charge, -2);
  EXPECT_EQ(content.m_blocks[0].m_precursor.m_mz, 400.5);
  EXPECT_EQ(content.m_blocks[1].m_scan_no, 8);
  EXPECT_EQ(content.m_blocks[1].m_line, 7);
}

TEST(CheckMgf, ARunNameMayEndInANumber) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a.mgf",
            "BEGIN IONS\nTITLE=run.5.7.7.2.dta\nPEPMASS=400.5\n100.5 1.0\nEND IONS\n");
  CheckReport report;
  const MgfContent content = CheckMgf(report, directory / "a.mgf");
  ASSERT_EQ(content.m_blocks.size(), 1U);
  EXPECT_EQ(content.m_blocks.front().m_scan_no, 7);
  EXPECT_EQ(content.m_run_name, "run.5");
}

TEST(CheckTable, ReadsTheExampleOfTheFormat) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.csv",
            "ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, TotleNumOfPrecursor\n"
            "HCD, FTMS, 1500, 650.320000, 2, 2, 1, 650.321234, 2, 2, 433.880000, 3, \n"
            "CID, ITMS, 7, -1.000000, -1, 0, \n");
  CheckReport report;
  const TableContent content = CheckTable(report, directory / "run.csv");
  EXPECT_THAT(Codes(report), IsEmpty());
  EXPECT_EQ(content.m_rows, 2);
  ASSERT_EQ(content.m_scans.at("HCDFTMS").size(), 1U);
  EXPECT_EQ(content.m_scans.at("HCDFTMS").front().m_precursors.at(1).m_charge, 3);
  EXPECT_THAT(content.m_scans.at("CIDITMS").front().m_precursors, IsEmpty());
}

TEST(CheckTable, RepeatedRowsAreOneFindingWithTheirNumber) {
  const TemporaryDirectory directory;
  const std::string rows = "HCD, FTMS, 7, 400.500000, 2, 0, \nHCD, FTMS, 8, 400.500000, 2, 0, \n";
  WriteFile(directory / "run.csv",
            "ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, TotleNumOfPrecursor\n" +
                rows + rows + rows);
  CheckReport report;
  EXPECT_FALSE(CheckTable(report, directory / "run.csv").m_is_whole);
  ASSERT_THAT(Codes(report), ElementsAre("csv-repeated"));
  EXPECT_EQ(report.Findings().front().m_place.m_line, 4);
  EXPECT_EQ(report.Findings().front().m_meaning,
            "Scan 7 has another row already. So have 3 later rows.");
}

TEST(CheckPaths, ABaseNameStandsForTheFilesOfOneRun) {
  const TemporaryDirectory directory;
  const std::string block = "BEGIN IONS\nTITLE=a.7.7.2.dta\nPEPMASS=400.5\n100.5 1.0\nEND IONS\n";
  WriteFile(directory / "a.mgf", block);
  WriteFile(directory / "ab.mgf", "nothing");
  EXPECT_THAT(Codes(CheckPaths({directory / "a"}, {}), false), ElementsAre("mgf-input"));
}

/// The inputs and findings of a directory, or of one path in it.
struct Checked {
  std::vector<std::string> m_items;  // names, each followed by its counts
  std::vector<std::string> m_codes;
};
Checked CheckIn(const TemporaryDirectory& directory, const std::string& name = {}) {
  CheckOptions options;
  options.m_ipv_file = TARVEK_SOURCE_DIR "/data/IPV.txt";
  const CheckReport report =
      CheckPaths({name.empty() ? directory.Path() : directory / name}, options);
  Checked checked{{}, Codes(report)};
  for (const CheckedItem& item : report.Items()) {
    std::string text = item.m_path.substr(directory.Path().size() + 1);
    for (const CheckedFact& fact : item.m_facts) text += " " + std::to_string(fact.m_count);
    checked.m_items.push_back(text);
  }
  return checked;
}

// tarvek accepts .ms1 in any case, but .ms2 only in lower case.
TEST(CheckPaths, EndingsInUpperCaseAreTakenAsARunTakesThem) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.MS1", kSurveyText);
  WriteFile(directory / "run.ms2", FragmentText(2));
  for (const char* path : {"", "run", "run.MS1", "run.ms2"}) {
    const Checked checked = CheckIn(directory, path);
    EXPECT_THAT(checked.m_items, ElementsAre("run.MS1 1 1")) << path;
    EXPECT_THAT(checked.m_codes, IsEmpty()) << path;
  }
}

TEST(CheckPaths, AnOutputStandsForTheOutputsOfItsRunAlone) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.mzML", "no mzML");
  WriteFile(directory / "run.mgf", "no MGF");
  WriteFile(directory / "run.csv",
            "ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, TotleNumOfPrecursor\n"
            "HCD, FTMS, 7, 400.500000, 2, 1, 1, 400.500000, 2, \n");
  WriteFile(directory / "run_HCDFTMS.mgf",
            "BEGIN IONS\nTITLE=run.7.7.2.0.dta\nCHARGE=2+\nPEPMASS=400.5\n100.5 1\nEND IONS\n");
  for (const char* output : {"run.csv", "run_HCDFTMS.mgf"}) {
    const Checked checked = CheckIn(directory, output);
    EXPECT_THAT(checked.m_items, ElementsAre("run 1 1")) << output;
    EXPECT_THAT(checked.m_codes, IsEmpty()) << output;
  }
  EXPECT_THAT(CheckIn(directory, "run").m_codes, testing::Contains("unreadable"));
}

TEST(CheckPaths, TablesOfOtherProgramsInADirectoryAreLeftAlone) {
  const TemporaryDirectory directory;
  WriteFile(directory / "notes.csv", "a;b\n");
  WriteFile(directory / "a.mgf",
            "BEGIN IONS\nTITLE=a.7.7.2.dta\nPEPMASS=400.5\n100.5 1.0\nEND IONS\n");
  EXPECT_THAT(Codes(CheckPaths({directory.Path()}, {})), Not(testing::Contains("csv-header")));
}

TEST(CheckPaths, TwoInputsOfOneNameAreNamed) {
  const TemporaryDirectory directory;
  const std::string mzml = Mzml({Survey(1), Fragment(2)});
  WriteFile(directory / "a.mzML", mzml);
  WriteFile(directory / "a.mzML.gz", extractor::test::Gzipped(mzml));
  WriteFile(directory / "b.mzML", mzml);
  WriteFile(directory / "b.raw", "");  // from which the mzML was made: a run takes one format
  CheckReport report = CheckPaths({directory.Path()}, {});
  ASSERT_THAT(Codes(report, false), testing::Contains("same-name"));
  const auto same = std::ranges::find(report.Findings(), "same-name", &Finding::m_code);
  EXPECT_THAT(same->m_file, testing::EndsWith("a.mzML.gz"));
  EXPECT_THAT(same->m_meaning, HasSubstr("a.mzML has the same base name"));
  EXPECT_EQ(std::ranges::count(report.Findings(), "same-name", &Finding::m_code), 1);
  std::filesystem::create_directory(directory / "two");
  WriteFile(directory / "two/b.mzML", mzml);
  report = CheckPaths({directory / "b.mzML", directory / "two/b.mzML"}, {});
  const auto maybe = std::ranges::find(report.Findings(), "same-name", &Finding::m_code);
  ASSERT_NE(maybe, report.Findings().end());
  EXPECT_EQ(maybe->m_severity, Severity::kNote);
}

constexpr const char* kTable =
    "ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, TotleNumOfPrecursor\n";

TEST(CheckOutputs, ARunThatExportedNothingIsADefectWithTheLargestReason) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.csv", kTable);
  EXPECT_THAT(Codes(CheckPaths({directory.Path()}, {}), false), ElementsAre("empty-run"));
  WriteFile(directory / "run.tarvek",
            "count\tms2_exported\t0\ncount\tms2_read\t9\ncount\tprecursors\t0\n"
            "left_out\tno peaks\t2\nleft_out\tanalyser not known\t7\n");
  const CheckReport report = CheckPaths({directory.Path()}, {});
  ASSERT_THAT(Codes(report), ElementsAre("nothing-exported"));
  EXPECT_THAT(report.Findings().front().m_meaning, HasSubstr("7 analyser not known"));
  EXPECT_EQ(report.Items().front().m_left_out.at("no peaks").m_count, 2);
  EXPECT_THAT(CheckText(report), HasSubstr("  left out: 2, no peaks\n"));
}

TEST(CheckOutputs, SettingsOfThePlannedRunAreComparedWithThoseOfTheRecord) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.csv", kTable);
  WriteFile(directory / "run.tarvek",
            "setting\tisolation_width\t2.000000\nsetting\tcharge_range\t2t6\n"
            "count\tms2_read\t0\ncount\tms2_exported\t0\n");
  const auto codes = [&](const ParameterTable& planned) {
    CheckOptions options;
    options.m_planned = planned;
    return Codes(CheckPaths({directory / "run"}, options), false);
  };
  EXPECT_THAT(codes({}), ElementsAre("empty-run"));
  EXPECT_THAT(codes({{"isolation_width", "2"}, {"charge_range", "2t6"}}), ElementsAre("empty-run"));
  for (const auto& [key, value] : ParameterTable{{"isolation_width", "4"}, {"charge_range", "2t7"}})
    EXPECT_THAT(codes({{key, value}}), ElementsAre("empty-run", "other-settings")) << key;
  CheckOptions options;
  options.m_planned = {{"isolation_width", "4"}};
  const CheckReport report = CheckPaths({directory / "run"}, options);
  EXPECT_THAT(report.Findings().back().m_meaning, HasSubstr("isolation_width = 2.000000"));
  EXPECT_THAT(report.Findings().back().m_meaning, HasSubstr("has 4"));
}

TEST(CheckOutputs, TheIsotopeTableOfThePlannedRunIsComparedByItsNumbers) {
  const TemporaryDirectory directory;
  CheckOptions options;
  options.m_ipv_file = TARVEK_SOURCE_DIR "/data/IPV.txt";
  const auto codes = [&](const std::string& fingerprint) {
    WriteFile(directory / "run.csv", kTable);
    WriteFile(directory / "run.tarvek", "setting\tisotope_table\t" + fingerprint + "\n");
    return Codes(CheckPaths({directory / "run"}, options), false);
  };
  EXPECT_THAT(codes("0123456789abcdef"), ElementsAre("empty-run"));  // no table was named
  options.m_is_table_planned = true;
  EXPECT_THAT(codes("0123456789abcdef"), ElementsAre("empty-run", "other-settings"));
  EXPECT_THAT(codes("6b259932296adbda"), ElementsAre("empty-run"));
}

}  // namespace
}  // namespace tarvek::tools
