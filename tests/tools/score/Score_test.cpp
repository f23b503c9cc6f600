#include "score/Score.h"

#include <gtest/gtest.h>

#include "TestSupport.h"
#include "score/Command.h"

namespace tarvek::tools {
namespace {

using test::MessageOf;
using test::TemporaryDirectory;
using test::WriteFile;

constexpr double kTolPpm = 10.0;
constexpr double kMinShare = 0.05;

const char* const kTableHeader = "ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge\n";

/// Figures of one scan with these declared (first) and determined precursors.
ScoreReport Score(const TableRow& row, const std::vector<TruePrecursor>& truths) {
  return ScoreTable({{7, row}}, {{7, truths}}, kTolPpm, kMinShare);
}

const TruePrecursor kTarget{{500.0, 2}, 0.6, true};
const TruePrecursor kNeighbour{{500.8, 3}, 0.08, false};

std::int64_t AtOffset(const ScoreFigures& figures, int offset) {
  return figures.m_by_isotope_offset.at(ShiftPlace(offset));
}

TEST(ScoreTable, CountsATargetThatIsFound) {
  const ScoreReport report = Score({{}, {{500.001, 2}}}, {kTarget});
  EXPECT_EQ(report.m_determined.m_target_recall.m_part, 1);
  EXPECT_EQ(report.m_determined.m_precision.m_part, 1);
  EXPECT_EQ(AtOffset(report.m_determined, 0), 1);
}

TEST(ScoreTable, MissesATargetFoundWithAnotherCharge) {
  const ScoreReport report = Score({{}, {{500.0, 3}}}, {kTarget});
  EXPECT_EQ(report.m_determined.m_target_recall.m_part, 0);
  EXPECT_EQ(report.m_determined.m_wrong_charge.m_part, 1);
}

TEST(ScoreTable, MissesATargetBeyondTheTolerance) {
  const ScoreReport report = Score({{}, {{500.0051, 2}}}, {kTarget});  // 10.2 ppm
  EXPECT_EQ(report.m_determined.m_target_recall.m_part, 0);
}

TEST(ScoreTable, CountsAPrecursorOneIsotopeAboveATrueOne) {
  const ScoreReport report = Score({{{500.501675, 2}}, {}}, {kTarget});  // 1.00335 / 2 higher
  EXPECT_EQ(AtOffset(report.m_declared, 1), 1);
  EXPECT_EQ(report.m_declared.m_wrong_isotope.m_part, 1);
  EXPECT_EQ(report.m_declared.m_precision.m_part, 0);
}

TEST(ScoreTable, CountsAPrecursorThatNothingExplainsAsAPrecursorOnly) {
  const ScoreReport report = Score({{}, {{501.3, 4}}}, {kTarget});
  EXPECT_EQ(report.m_determined.m_precursors, 1);
  EXPECT_EQ(report.m_determined.m_precision.m_part, 0);
  EXPECT_EQ(report.m_determined.m_wrong_isotope.m_part, 0);
  EXPECT_EQ(report.m_determined.m_wrong_charge.m_part, 0);
}

TEST(ScoreTable, SeparatesTheRecallsByShare) {
  const ScoreReport report = Score({{}, {{500.0, 2}}}, {kTarget, kNeighbour});
  EXPECT_EQ(report.m_determined.m_recall_10.m_whole, 1);
  EXPECT_EQ(report.m_determined.m_recall_5.m_whole, 2);
  EXPECT_EQ(report.m_determined.m_recall_5.m_part, 1);
}

TEST(ScoreTable, TakesATrueOneBelowTheSmallestShareForNoHit) {
  const TruePrecursor faint{{500.8, 3}, 0.04, false};
  const ScoreReport report = Score({{}, {{500.8, 3}}}, {kTarget, faint});
  EXPECT_EQ(report.m_determined.m_precision.m_part, 0);
}

TEST(ScoreTable, CountsAScanThatTheTableLacksAsMissed) {
  const ScoreReport report = ScoreTable({}, {{7, {kTarget}}}, kTolPpm, kMinShare);
  EXPECT_EQ(report.m_determined.m_target_recall.m_whole, 1);
  EXPECT_EQ(report.m_determined.m_target_recall.m_part, 0);
}

TEST(ScoreTable, ComparesNegativeIonsWithNegativeIons) {
  const TruePrecursor negative{{-500.0, -2}, 0.6, true};
  EXPECT_EQ(Score({{}, {{-500.001, -2}}}, {negative}).m_determined.m_target_recall.m_part, 1);
  EXPECT_EQ(Score({{}, {{500.001, 2}}}, {negative}).m_determined.m_target_recall.m_part, 0);
}

TEST(ScoreTable, GivesTheMedianErrorInPpm) {
  // 2 ppm, -1 ppm and 4 ppm.
  const std::vector<Precursor> found{{500.001, 2}, {499.9995, 2}, {500.002, 2}};
  const ScoreFigures figures = Score({{}, found}, {kTarget}).m_determined;
  EXPECT_NEAR(figures.m_median_ppm, 2.0, 1e-6);
  EXPECT_NEAR(figures.m_median_absolute_ppm, 2.0, 1e-6);
}

TEST(ReadPrecursorTable, ReadsDeclaredAndDeterminedPrecursors) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.csv", std::string(kTableHeader) +
                                       "HCD, FT, 15, 650.320000, 2, 2, 1, 650.321234, 2, 2, "
                                       "433.880000, 3, \nCID, IT, 16, -1.000000, -1, 0, \n");
  const PrecursorTable table = ReadPrecursorTable(directory / "run.csv");
  ASSERT_EQ(table.size(), 2u);
  ASSERT_EQ(table.at(15).m_determined.size(), 2u);
  EXPECT_EQ(table.at(15).m_determined[1].m_mz, 433.88);
  EXPECT_EQ(table.at(15).m_declared.front().m_charge, 2);
  EXPECT_TRUE(table.at(16).m_declared.empty());
}

TEST(ReadPrecursorTable, NamesFileAndLineOfARowThatIsCutShort) {
  const TemporaryDirectory directory;
  const std::string path = directory / "run.csv";
  WriteFile(path, std::string(kTableHeader) + "HCD, FT, 15, 650.32, 2, 2, 1, 650.32, 2, \n");
  EXPECT_EQ(MessageOf([&] { ReadPrecursorTable(path); }),
            path + ", line 2: The row counts 2 precursors and has 3 fields for them.");
}

TEST(ReadPrecursorTable, RefusesAnotherKindOfFile) {
  const TemporaryDirectory directory;
  const std::string path = directory / "run.csv";
  WriteFile(path, "scan\tmz\n");
  EXPECT_EQ(MessageOf([&] { ReadPrecursorTable(path); }),
            path + ", line 1: not a precursor table.");
}

TEST(ReadTruthTable, FindsItsColumnsByName) {
  const TemporaryDirectory directory;
  const std::string path = directory / "run.truth.tsv";
  WriteFile(path, "mz\tscan\tshare\tpeptide\tis_target\tcharge\n500.25\t9\t0.7\tPEPTIDEK\t1\t-2\n");
  const TruthTable truth = ReadTruthTable(path);
  ASSERT_EQ(truth.at(9).size(), 1u);
  EXPECT_EQ(truth.at(9).front().m_precursor.m_mz, 500.25);
  EXPECT_EQ(truth.at(9).front().m_precursor.m_charge, -2);
  EXPECT_TRUE(truth.at(9).front().m_is_target);
}

TEST(ReadTruthTable, SaysThatATableIsEmpty) {
  const TemporaryDirectory directory;
  const std::string path = directory / "run.truth.tsv";
  WriteFile(path, "");
  EXPECT_EQ(MessageOf([&] { ReadTruthTable(path); }), path + ", line 1: the table is empty.");
}

TEST(ReadTruthTable, NamesTheColumnThatIsMissing) {
  const TemporaryDirectory directory;
  const std::string path = directory / "run.truth.tsv";
  WriteFile(path, "mz\tscan\tshare\tcharge\n");
  EXPECT_EQ(MessageOf([&] { ReadTruthTable(path); }), path + ", line 1: no column 'is_target'.");
}

TEST(ReadTruthTable, NamesFileAndLineOfAFieldThatIsNoNumber) {
  const TemporaryDirectory directory;
  const std::string path = directory / "run.truth.tsv";
  WriteFile(path, "scan\tmz\tcharge\tshare\tis_target\n9\tabc\t2\t0.5\t1\n");
  EXPECT_EQ(MessageOf([&] { ReadTruthTable(path); }), path + ", line 2: 'abc' is not a number.");
}

TEST(ScoreText, ShowsTheRecallAsAShareWithItsCounts) {
  const std::string text = ScoreText(Score({{{500.0, 2}}, {{500.0, 2}}}, {kTarget, kNeighbour}));
  EXPECT_NE(text.find("recall of those of 5 % share or more        50.0 % (1/2)"),
            std::string::npos)
      << text;
}

TEST(ScoreJson, HoldsTheSameFigures) {
  const std::string json = ScoreJson(Score({{{500.0, 2}}, {}}, {kTarget}));
  EXPECT_NE(json.find("\"declared\""), std::string::npos);
  EXPECT_NE(json.find("\"target_recall\": {\n      \"part\": 1,"), std::string::npos) << json;
}

/// The message for a truth table with so many precursors of scan 7, after the path.
std::string MessageOfTruth(int precursors) {
  const TemporaryDirectory directory;
  std::string text = "scan\tmz\tcharge\tshare\tis_target\n";
  for (int i = 0; i < precursors; ++i) text += "7\t500.0\t2\t0.5\t0\n";
  WriteFile(directory / "truth.tsv", text);
  const std::string message = MessageOf([&] { ReadTruthTable(directory / "truth.tsv"); });
  return message.substr(message.find(','));
}

TEST(ReadTables, RefuseMorePrecursorsThanAnyScanHas) {
  EXPECT_EQ(MessageOfTruth(2001), ", line 2002: more precursors than any scan has.");
  const TemporaryDirectory directory;
  std::string row = "HCD, FTMS, 7, -1.000000, -1, 1000, ";
  for (int i = 0; i < 1000; ++i) row += "1, 500.0, 2, ";
  const std::string path = directory / "a.csv";
  WriteFile(path, kTableHeader + row + "\n" + row + "\n");
  EXPECT_EQ(ReadPrecursorTable(path).at(7).m_determined.size(), 2000u);
  WriteFile(path, kTableHeader + row + "\n" + row + "\n" + row + "\n");
  EXPECT_EQ(MessageOf([&] { ReadPrecursorTable(path); }),
            path + ", line 4: more precursors than any scan has.");
}

TEST(ReadTables, RefuseMoreColumnsThanAnyTableHas) {
  const TemporaryDirectory directory;
  const std::string path = directory / "truth.tsv";
  const std::string header = "scan\tmz\tcharge\tshare\tis_target";
  WriteFile(path, header + std::string(9'995, '\t') + "\n");
  EXPECT_TRUE(ReadTruthTable(path).empty());
  WriteFile(path, header + std::string(9'996, '\t') + "\n");
  EXPECT_EQ(MessageOf([&] { ReadTruthTable(path); }), path + ", line 1: more than 10000 fields.");
}

}  // namespace
}  // namespace tarvek::tools
