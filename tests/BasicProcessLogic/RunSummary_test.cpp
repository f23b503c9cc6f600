#include "RunSummary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>

#include "FileUtils.h"
#include "IsotopeTable.h"
#include "ProcessTestSupport.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::MessageOf;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::HasSubstr;

constexpr const char* kTable = "0123456789abcdef";

RunRecord Record(std::int64_t read, std::int64_t exported, std::int64_t precursors,
                 std::map<std::string, std::int64_t> left_out = {}) {
  RunRecord record;
  record.m_counts = {
      {"ms2_read", read}, {"ms2_exported", exported}, {"precursors", precursors}, {"surveys", 33}};
  record.m_left_out = std::move(left_out);
  return record;
}

// ------------------------------------------------------------ settings

TEST(SettingsOf, AreThoseThatShapeOutputs) {
  EXPECT_EQ(RunRecordText(SettingsOf(UserParameters(), kTable, InputKind::kSpectra)),
            "setting\tcharge_range\t2t6\n"
            "setting\tcheck_activationcenter\t1\n"
            "setting\tco-elute\t1\n"
            "setting\tcut_similiar_mono\t1\n"
            "setting\tintensity\t1\n"
            "setting\tisolation_width\t2.000000\n"
            "setting\tisotope_table\t0123456789abcdef\n"
            "setting\tm/z\t5\n"
            "setting\tmars_model\t4\n"
            "setting\tmars_threshold\t-0.340000\n"
            "setting\tmstol\t20.000000\n"
            "setting\tmstolppm\t1\n"
            "setting\toutput_mgf\t1\n"
            "setting\toutput_msb\t0\n"
            "setting\toutput_pf\t1\n"
            "setting\trecalibrate_window\t7.000000\n");
}
TEST(SettingsOf, TellsChargeRangesApartThatTheEchoShowsAlike) {
  UserParameters parameters;
  parameters.m_charge_min = -3;
  parameters.m_charge_max = -2;
  EXPECT_EQ(SettingsOf(parameters, kTable, InputKind::kSpectra).m_settings.at("charge_range"),
            "-3t-2");
}

// ------------------------------------------------------------ where a record is

TEST(RunRecordPath, IsBesideTheTable) {
  UserParameters parameters;
  parameters.m_outputpath = "out";
  SetCurrentFile(parameters, "in/run.7.ms1");
  EXPECT_EQ(RunRecordPath(parameters), JoinPath({"out", "run.7.tarvek"}));
}

// ------------------------------------------------------------ differences

TEST(SettingsDifference, NamesBothValuesOfEachSettingThatDiffers) {
  UserParameters before;
  UserParameters now;
  now.m_isolation_width = 3.0;
  now.m_charge_max = 4;
  EXPECT_EQ(SettingsDifference(SettingsOf(before, kTable, InputKind::kSpectra),
                               SettingsOf(now, kTable, InputKind::kSpectra)),
            "charge_range 2t6, now 2t4; isolation_width 2.000000, now 3.000000");
}
TEST(SettingsDifference, IsEmptyForEqualSettings) {
  const RunRecord record = SettingsOf({}, kTable, InputKind::kSpectra);
  EXPECT_EQ(SettingsDifference(record, record), "");
}
TEST(SettingsDifference, SeesAnotherIsotopeTable) {
  EXPECT_EQ(SettingsDifference(SettingsOf({}, "aa", InputKind::kSpectra),
                               SettingsOf({}, "bb", InputKind::kSpectra)),
            "isotope_table aa, now bb");
}
TEST(SettingsDifference, SaysWhatIsNotSet) {
  RunRecord with;
  with.m_settings = {{"m/z", "5"}, {"analyser", "FTMS"}};
  RunRecord without;
  without.m_settings = {{"m/z", "5"}};
  EXPECT_EQ(SettingsDifference(with, without), "analyser FTMS, now not set");
  EXPECT_EQ(SettingsDifference(without, with), "analyser not set, now FTMS");
}
TEST(SettingsDifference, CountsTheRestOfVeryMany) {
  RunRecord many;
  for (int i = 10; i < 50; ++i) many.m_settings["k" + std::to_string(i)] = "1";
  EXPECT_TRUE(SettingsDifference(many, {}).ends_with("k48 1, now not set; k49 1, now not set"));
  many.m_settings["k50"] = many.m_settings["k51"] = "1";
  EXPECT_TRUE(SettingsDifference(many, {}).ends_with("k49 1, now not set; and 2 more"));
}
TEST(SettingsDifference, IsEmptyWhenNothingWasRecorded) {
  EXPECT_EQ(SettingsDifference({}, SettingsOf({}, kTable, InputKind::kSpectra)), "");
}

class RecordedDifferenceTest : public testing::Test {
 protected:
  RecordedDifferenceTest() {
    m_parameters.m_outputpath = m_directory.Path();
    SetCurrentFile(m_parameters, "run.ms1");
  }
  void Record(const RunRecord& record) {
    WriteFile(m_directory / "run.tarvek", RunRecordText(record));
  }
  TemporaryDirectory m_directory;
  UserParameters m_parameters;
};

TEST_F(RecordedDifferenceTest, IsEmptyWithoutARecord) {
  EXPECT_EQ(RecordedDifference(m_parameters, kTable, InputKind::kSpectra), "");
}
TEST_F(RecordedDifferenceTest, IsThatOfTheRecordAndNow) {
  Record(SettingsOf(m_parameters, kTable, InputKind::kSpectra));
  EXPECT_EQ(RecordedDifference(m_parameters, kTable, InputKind::kSpectra), "");
  m_parameters.m_mars_model = 2;
  EXPECT_EQ(RecordedDifference(m_parameters, kTable, InputKind::kSpectra), "mars_model 4, now 2");
}
TEST_F(RecordedDifferenceTest, ComparesWhatConcernsTheExtractionOnlyOfInstrumentFiles) {
  RunRecord record = SettingsOf(m_parameters, kTable, InputKind::kSpectra);
  record.m_settings["analyser"] = "FTMS";
  Record(record);
  EXPECT_EQ(RecordedDifference(m_parameters, kTable, InputKind::kSpectra), "");
  EXPECT_EQ(RecordedDifference(m_parameters, kTable, InputKind::kInstrumentFile),
            "analyser FTMS, now not set");
}
TEST_F(RecordedDifferenceTest, NamesARecordThatCannotBeRead) {
  WriteFile(m_directory / "run.tarvek", "count\tms2_read\tmany\n");
  EXPECT_EQ(MessageOf([&] { RecordedDifference(m_parameters, kTable, InputKind::kSpectra); }),
            JoinPath({m_directory.Path(), "run.tarvek"}) + ": line 1: \"many\" is no count");
}

// ------------------------------------------------------------ the whole record

TEST(WholeRecord, OfSpectraIsWhatTheLoopCounted) {
  const RunRecord loop = Record(10, 7, 12, {{"analyser not known", 3}});
  const RunRecord begun = SettingsOf({}, kTable, InputKind::kSpectra);
  RunRecord expected = loop;
  expected.m_settings = begun.m_settings;
  EXPECT_EQ(WholeRecord(begun, loop), expected);
}
TEST(WholeRecord, CountsTheScansOfTheInstrumentFile) {
  RunRecord extraction;
  extraction.m_counts = {{"ms2_read", 100}, {"surveys", 44}};
  extraction.m_left_out = {{"empty", 8}};
  RunRecord expected = Record(100, 90, 150, {{"empty", 8}, {"analyser not known", 2}});
  EXPECT_EQ(WholeRecord(extraction, Record(92, 90, 150, {{"analyser not known", 2}})), expected);
}
TEST(WholeRecord, HasTheWidthsOfTheExtractionAndTheScansOfTheLoop) {
  RunRecord extraction;
  extraction.m_widths = {{"2.00", 5}};
  RunRecord loop = Record(5, 4, 5, {{"analyser not known", 1}});
  loop.m_left_out_scans = {{7, "analyser not known"}};
  RunRecord expected = loop;
  expected.m_widths = extraction.m_widths;
  EXPECT_EQ(WholeRecord(WithExtraction({}, extraction), loop), expected);
}
TEST(WholeRecord, AddsUpAReasonOfBoth) {
  RunRecord extraction;
  extraction.m_counts = {{"ms2_read", 10}};
  extraction.m_left_out = {{"analyser not known", 4}};
  const RunRecord whole = WholeRecord(extraction, Record(6, 5, 5, {{"analyser not known", 1}}));
  EXPECT_EQ(whole, Record(10, 5, 5, {{"analyser not known", 5}}));
}
TEST(WholeRecord, MissesScansThatWereExtractedAndNotRead) {
  RunRecord extraction;
  extraction.m_counts = {{"ms2_read", 100}};
  extraction.m_left_out = {{"empty", 8}};
  EXPECT_EQ(WholeRecord(extraction, Record(50, 50, 50)),
            Record(100, 50, 50, {{"empty", 8}, {"extracted and not in the spectra read", 42}}));
}
TEST(WholeRecord, BelievesItsOwnCountWhenMoreWasReadThanExtracted) {
  RunRecord extraction;
  extraction.m_counts = {{"ms2_read", 3}};
  EXPECT_EQ(WholeRecord(extraction, Record(5, 5, 5)), Record(5, 5, 5));
}

// ------------------------------------------------------------ an earlier extraction

RunRecord WithSettings(std::map<std::string, std::string> settings, bool counts_scans = true) {
  RunRecord record;
  record.m_settings = std::move(settings);
  if (counts_scans) record.m_counts = {{"ms2_read", 10}};
  return record;
}

TEST(ExtractionDifference, NamesDecimalsAndWhatTheEnvironmentSays) {
  const RunRecord extraction = WithSettings({{"m/z", "3"}, {"intensity", "1"}});
  const RunRecord now = WithSettings(
      {{"m/z", "5"}, {"intensity", "1"}, {"analyser", "ITMS"}, {"isolation_width", "2"}});
  EXPECT_EQ(ExtractionDifference(extraction, now), "analyser not set, now ITMS; m/z 3, now 5");
  EXPECT_EQ(ExtractionDifference(now, now), "");
}
TEST(ExtractionDifference, IsNoneInWhatAMarkerDoesNotSay) {
  const RunRecord now = WithSettings({{"m/z", "5"}, {"intensity", "1"}, {"analyser", "ITMS"}});
  EXPECT_EQ(ExtractionDifference({}, now), "");
  EXPECT_EQ(ExtractionDifference(WithSettings({{"analyser", "itms"}}), now), "");
}
TEST(WithSettingsOfExtraction, HasBothValuesOfDecimals) {
  const RunRecord now = WithSettings({{"m/z", "5"}, {"intensity", "1"}, {"analyser", "ITMS"}});
  const RunRecord extraction = WithSettings({{"m/z", "3"}, {"intensity", "1"}});
  const RunRecord record = WithSettingsOfExtraction(now, extraction);
  EXPECT_EQ(record, WithSettings({{"m/z", "5 (extracted with 3)"}, {"intensity", "1"}}));
  EXPECT_EQ(SettingsDifference(record, now),
            "analyser not set, now ITMS; m/z 5 (extracted with 3), now 5");
  EXPECT_EQ(WithSettingsOfExtraction(now, now), now);
}

// ------------------------------------------------------------ the line

TEST(SummaryText, CountsScansPrecursorsAndSeconds) {
  EXPECT_EQ(SummaryText("in/run.ms1", Record(321, 318, 701, {{std::string(kNoUsablePrecursor), 3}}),
                        1234),
            "in/run.ms1: 321 MS2 scans read, 318 exported with 701 precursors, 3 left out (3 no "
            "usable precursor declared or determined), in 1.2 s");
}
TEST(SummaryText, SaysNothingOfReasonsWhenNothingIsLeftOut) {
  EXPECT_EQ(SummaryText("a", Record(2, 2, 3), 0),
            "a: 2 MS2 scans read, 2 exported with 3 precursors, in 0.0 s");
}
TEST(SummaryText, IsEnglishForOne) {
  EXPECT_EQ(SummaryText("a", Record(1, 1, 1), 99),
            "a: 1 MS2 scan read, 1 exported with 1 precursor, in 0.1 s");
}
TEST(SummaryText, PutsTheCommonestReasonFirst) {
  EXPECT_THAT(SummaryText("a", Record(9, 1, 1, {{"b", 2}, {"c", 4}, {"d", 2}, {"e", 0}}), 0),
              HasSubstr(", 8 left out (4 c, 2 b, 2 d), "));
}
TEST(SummaryText, SaysTheMainReasonWhenNothingIsExported) {
  EXPECT_EQ(SummaryText("a", Record(5, 0, 0, {{"b", 1}, {"c", 4}}), 0),
            "a: 5 MS2 scans read, 0 exported with 0 precursors, 5 left out (4 c, 1 b), in 0.0 s. "
            "Nothing was exported; the main reason: c.");
}
TEST(SummaryText, SaysThatThereIsNoMs2Scan) {
  EXPECT_EQ(SummaryText("a", Record(0, 0, 0), 0),
            "a: 0 MS2 scans read, 0 exported with 0 precursors, in 0.0 s. Nothing was exported: "
            "there is no MS2 scan in it.");
}
TEST(ExportedNothing, LooksAtWhatWasExported) {
  EXPECT_TRUE(ExportedNothing(Record(5, 0, 0)));
  EXPECT_TRUE(ExportedNothing({}));
  EXPECT_FALSE(ExportedNothing(Record(5, 1, 1)));
}

// ------------------------------------------------------------ the fingerprint

// FNV-1a of no bytes is its offset basis.
TEST(IsotopeTableFingerprint, OfNoRowsIsTheStartOfTheHash) {
  EXPECT_EQ(IsotopeTableFingerprint({}), "cbf29ce484222325");
}
// python3: h = 0xcbf29ce484222325
//          for b in struct.pack("<5d", 1, 2, 3, 4, 0.5): h = (h ^ b) * 0x100000001b3 % 2**64
TEST(IsotopeTableFingerprint, IsFnv1aOfTheLittleEndianBytes) {
  EXPECT_EQ(IsotopeTableFingerprint({{1.0, 2.0, 3.0, 4.0, 0.5}}), "388962365a46524d");
}
TEST(IsotopeTableFingerprint, TellsTheOrderOfNumbersApart) {
  EXPECT_NE(IsotopeTableFingerprint({{1.0, 2.0, 3.0, 4.0, 0.5}}),
            IsotopeTableFingerprint({{2.0, 1.0, 3.0, 4.0, 0.5}}));
}

}  // namespace
}  // namespace tarvek
