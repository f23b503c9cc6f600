#include "features/CandidateFeatures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sstream>

#include "Platform.h"
#include "StringUtils.h"
#include "TestSupport.h"

namespace tarvek::tools {
namespace {

using test::MessageOf;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::HasSubstr;

constexpr double kTolPpm = 10.0;  // 0.005 m/z at 500
constexpr double kMinShare = 0.05;
const std::vector<TruePrecursor> kTruths = {{{500.0, 2}, 0.6, true}, {{500.8, 3}, 0.02, false}};
const std::vector<Precursor> kIdentified = {{500.0, 2}};

CandidateLabel ByTruth(const Precursor& candidate) {
  return LabelByTruth(candidate, kTruths, kTolPpm, kMinShare);
}
CandidateLabel ByPeptides(const Precursor& candidate) {
  return LabelByPeptides(candidate, kIdentified, kTolPpm);
}

TEST(LabelByTruth, IsTrueWithinTheToleranceOfAPrecursorOfItsCharge) {
  EXPECT_EQ(ByTruth({500.0049, 2}), CandidateLabel::kTrue);
  EXPECT_EQ(ByTruth({499.9951, 2}), CandidateLabel::kTrue);
}
TEST(LabelByTruth, IsFalseWithAnotherCharge) {
  EXPECT_EQ(ByTruth({500.0, 3}), CandidateLabel::kFalse);
}
TEST(LabelByTruth, IsFalseOnAnotherIsotope) {
  EXPECT_EQ(ByTruth({500.5017, 2}), CandidateLabel::kFalse);
}
TEST(LabelByTruth, IsDoubtfulBetweenOneAndTwoTolerances) {
  EXPECT_EQ(ByTruth({500.0051, 2}), CandidateLabel::kDoubtful);
  EXPECT_EQ(ByTruth({500.0101, 2}), CandidateLabel::kFalse);
}
TEST(LabelByTruth, IsDoubtfulOnAPrecursorOfASmallShare) {
  EXPECT_EQ(ByTruth({500.8, 3}), CandidateLabel::kDoubtful);
}
TEST(LabelByTruth, IsFalseWhereNothingWasIsolated) {
  EXPECT_EQ(LabelByTruth({500.0, 2}, {}, kTolPpm, kMinShare), CandidateLabel::kFalse);
}
TEST(LabelByTruth, TakesThePrecursorOfEnoughShareAmongSeveral) {
  const std::vector<TruePrecursor> truths = {{{500.0, 2}, 0.02, false}, {{500.001, 2}, 0.5, false}};
  EXPECT_EQ(LabelByTruth({500.0, 2}, truths, kTolPpm, kMinShare), CandidateLabel::kTrue);
}
TEST(LabelByTruth, ComparesNegativeIonsBySignedCharge) {
  const std::vector<TruePrecursor> truths = {{{-500.0, -2}, 0.6, true}};
  EXPECT_EQ(LabelByTruth({-500.0, -2}, truths, kTolPpm, kMinShare), CandidateLabel::kTrue);
  EXPECT_EQ(LabelByTruth({500.0, 2}, truths, kTolPpm, kMinShare), CandidateLabel::kFalse);
}

TEST(LabelByPeptides, IsTrueForTheIdentifiedPrecursor) {
  EXPECT_EQ(ByPeptides({500.003, 2}), CandidateLabel::kTrue);
}
TEST(LabelByPeptides, IsFalseForItsMzWithAnotherCharge) {
  EXPECT_EQ(ByPeptides({500.003, 4}), CandidateLabel::kFalse);
}
TEST(LabelByPeptides, IsFalseForItsIsotopes) {
  for (const double isotope : {-3, -2, -1, 1, 2, 3})
    EXPECT_EQ(ByPeptides({500.0 + isotope * 1.00335 / 2, 2}), CandidateLabel::kFalse) << isotope;
  EXPECT_EQ(ByPeptides({500.0 + 4 * 1.00335 / 2, 2}), CandidateLabel::kDoubtful);
}
TEST(LabelByPeptides, IsDoubtfulElsewhere) {
  EXPECT_EQ(ByPeptides({500.8, 3}), CandidateLabel::kDoubtful);
  EXPECT_EQ(LabelByPeptides({500.0, 2}, {}, kTolPpm), CandidateLabel::kDoubtful);
}

TEST(ReadIdentifiedPrecursors, TakesItsColumnsByName) {
  const TemporaryDirectory directory;
  const std::string path = directory / "peptides.tsv";
  WriteFile(path, "charge\tpeptide\tscan\tmz\n2\tPEPTIDE\t7\t500.25\n3\tK\t7\t400\r\n");
  const IdentifiedPrecursors identified = ReadIdentifiedPrecursors(path);
  ASSERT_EQ(identified.size(), 1u);
  ASSERT_EQ(identified.at(7).size(), 2u);
  EXPECT_EQ(identified.at(7)[0].m_mz, 500.25);
  EXPECT_EQ(identified.at(7)[1].m_charge, 3);
}
TEST(ReadIdentifiedPrecursors, NamesFileAndLineOfWhatItCannotRead) {
  const TemporaryDirectory directory;
  const std::string path = directory / "peptides.tsv";
  WriteFile(path, "scan\tmz\n");
  EXPECT_EQ(MessageOf([&] { ReadIdentifiedPrecursors(path); }),
            path + ", line 1: no column 'charge'.");
  WriteFile(path, "scan\tmz\tcharge\n7\tx\t2\n");
  EXPECT_EQ(MessageOf([&] { ReadIdentifiedPrecursors(path); }),
            path + ", line 2: 'x' is not a number.");
  WriteFile(path, "scan\tmz\tcharge\n7\t500\n");
  EXPECT_EQ(MessageOf([&] { ReadIdentifiedPrecursors(path); }), path + ", line 2: too few fields.");
  std::string many = "scan\tmz\tcharge\n";
  for (int i = 0; i < 2001; ++i) many += "7\t500\t2\n";
  WriteFile(path, many);
  EXPECT_EQ(MessageOf([&] { ReadIdentifiedPrecursors(path); }),
            path + ", line 2002: more precursors than any scan has.");
}

/// Runs the companion program on a small simulated run.
class FeaturesCommand : public testing::Test {
 protected:
  int Tools(const std::string& arguments, const std::string& program = TARVEK_TOOLS_PROGRAM) const {
    const std::string command =
        "\"" + program + "\" " + arguments + " > \"" + (m_directory / "console.txt") + "\" 2>&1";
    return ChildProcess::Start(command).Wait();
  }
  std::string Console() const { return ReadFile(m_directory / "console.txt"); }
  void Simulate() {
    ASSERT_EQ(Tools("simulate --seed 5 --ms2 150 \"" + (m_directory / "run") + "\""), 0);
  }
  int Features(const std::string& options) {
    return Tools("features \"" + (m_directory / "run.ms1") + "\" \"" + (m_directory / "out.tsv") +
                 "\" -I \"" TARVEK_SOURCE_DIR "/data/IPV.txt\" " + options);
  }
  std::string Truth() const { return "--truth \"" + (m_directory / "run.truth.tsv") + "\" "; }

  std::vector<std::vector<std::string>> Rows() const {
    std::vector<std::vector<std::string>> rows;
    std::istringstream lines(ReadFile(m_directory / "out.tsv"));
    for (std::string line; std::getline(lines, line);) {
      rows.emplace_back();
      for (const std::string_view field : Split(line, "\t")) rows.back().emplace_back(field);
    }
    return rows;
  }

  TemporaryDirectory m_directory;
};

TEST_F(FeaturesCommand, WritesAColumnForEachFeatureAndTheLabel) {
  Simulate();
  ASSERT_EQ(Features(Truth()), 0);
  const auto rows = Rows();
  ASSERT_GT(rows.size(), 300u);
  EXPECT_THAT(rows[0], testing::ElementsAre(
                           "scan", "mz", "charge", "ipv_similarity_0", "ipv_similarity_m1",
                           "ipv_similarity_m2", "xic_correlation_0_1", "xic_correlation_m1_0",
                           "elution_share", "window_intensity_ratio", "isotope_count",
                           "window_isotope_count", "mz_spread_ppm", "charge_times_mz", "abs_charge",
                           "label"));
  for (const auto& row : rows) EXPECT_EQ(row.size(), 16u);
}

TEST_F(FeaturesCommand, LabelsOnlyCandidatesOnATruePrecursorAsTrue) {
  Simulate();
  ASSERT_EQ(Features(Truth()), 0);
  const TruthTable truth = ReadTruthTable(m_directory / "run.truth.tsv");
  std::map<std::string, int> labels;
  for (const auto& row : Rows()) {
    if (row[0] == "scan") continue;
    ++labels[row[15]];
    bool on_a_true_one = false;
    for (const TruePrecursor& known : truth.at(std::stoi(row[0])))
      on_a_true_one |= std::stoi(row[2]) == known.m_precursor.m_charge && known.m_share >= 0.05 &&
                       std::abs(std::stod(row[1]) / known.m_precursor.m_mz - 1.0) <= 10e-6;
    EXPECT_EQ(row[15] == "1", on_a_true_one) << row[0] << " " << row[1];
  }
  EXPECT_GT(labels["1"], 100);
  EXPECT_GT(labels["0"], 200);
  EXPECT_EQ(labels.size(), 3u);
}

TEST_F(FeaturesCommand, WritesTheFilteredCandidatesOnly) {
  Simulate();
  ASSERT_EQ(Features(Truth()), 0);
  for (const auto& row : Rows()) {
    if (row[0] == "scan") continue;
    EXPECT_GE(std::stod(row[3]), 0.5);   // ipv_similarity_0
    EXPECT_GE(std::stod(row[9]), 0.04);  // window_intensity_ratio
    EXPECT_GE(std::stod(row[10]), std::stod(row[14]) > 3.0 ? 3.0 : 2.0);
    EXPECT_NEAR(std::stod(row[13]), std::stod(row[1]) * std::stod(row[2]), 1e-5);
  }
}

TEST_F(FeaturesCommand, AddsAScoreOfEachModelOnRequest) {
  Simulate();
  ASSERT_EQ(Features(Truth() + "--scores"), 0);
  const auto rows = Rows();
  const std::vector<std::string> names(rows[0].begin() + 16, rows[0].end());
  EXPECT_THAT(names, testing::ElementsAre("score_0", "score_1", "score_2", "score_3", "score_4",
                                          "score_5", "score_15", "score_250"));
  for (std::size_t i = 1; i < rows.size(); ++i)
    EXPECT_EQ(std::stod(rows[i][22]), std::max(std::stod(rows[i][21]), std::stod(rows[i][23])));
}

TEST_F(FeaturesCommand, LabelsByIdentifiedPeptides) {
  Simulate();
  ASSERT_EQ(Features(Truth()), 0);
  std::vector<std::string> first_true;
  for (const auto& row : Rows())
    if (first_true.empty() && row[15] == "1") first_true = row;
  ASSERT_FALSE(first_true.empty());
  WriteFile(m_directory / "peptides.tsv", "scan\tmz\tcharge\n" + first_true[0] + "\t" +
                                              first_true[1] + "\t" + first_true[2] + "\n");
  ASSERT_EQ(Features("--identified \"" + (m_directory / "peptides.tsv") + "\""), 0);
  for (const auto& row : Rows()) {
    if (row[0] == "scan") continue;
    if (row[0] != first_true[0]) {
      EXPECT_EQ(row[15], "NA");
    } else if (row[1] == first_true[1]) {
      EXPECT_EQ(row[15], row[2] == first_true[2] ? "1" : "0");
    }
  }
}

TEST_F(FeaturesCommand, RefusesSurveysThatAreFarTooDenseForTheSizeOfTheRun) {
  std::string peaks = "500.00000 9.0\n";
  for (int i = 0; i < 30'000; ++i) peaks += "502." + std::to_string(600'000 + i * 12) + " 2.0\n";
  std::string ms1;
  for (const char* const number : {"1", "2", "3", "4", "5", "6"})
    ms1 += std::string("S\t") + number + "\t" + number + "\nI\tInstrumentType\tFTMS\n" + peaks;
  std::string ms2;
  for (int scan = 7; scan < 400; ++scan)
    ms2 += "S\t" + std::to_string(scan) + "\t" + std::to_string(scan) +
           "\nI\tActivationType\tHCD\nI\tInstrumentType\tFTMS\nI\tActivationCenter\t500.0\n"
           "I\tPrecursorScan\t5\nZ\t2\t999.0\n100.5 1.0\n";
  WriteFile(m_directory / "run.ms1", ms1);
  WriteFile(m_directory / "run.ms2", ms2);
  WriteFile(m_directory / "peptides.tsv", "scan\tmz\tcharge\n");
  for (const char* const kind : {" --charges 2 6", " --charges 2 6 --joint"}) {
    EXPECT_NE(Features("--identified \"" + (m_directory / "peptides.tsv") + "\"" + kind), 0);
    EXPECT_THAT(Console(), testing::ContainsRegex(
                               "run.ms1, scan [0-9]+: the surveys before it have far more peaks "
                               "around the MS2 scans than those of a real run of this size"));
    EXPECT_FALSE(std::filesystem::exists(m_directory / "out.tsv"));
  }
}

TEST_F(FeaturesCommand, TakesTheInstalledIsotopeTableWhereTheDirectoryHasNone) {
  Simulate();
  ASSERT_EQ(Features(Truth()), 0);
  const std::string expected = ReadFile(m_directory / "out.tsv");
  std::filesystem::create_directories(m_directory / "installed/bin");
  std::filesystem::create_directories(m_directory / "installed/share/tarvek");
  const std::string installed = m_directory / "installed/bin/tools" + std::string(kProgramEnding);
  std::filesystem::copy_file(TARVEK_TOOLS_PROGRAM, installed);
  std::filesystem::copy_file(TARVEK_SOURCE_DIR "/data/IPV.txt",
                             m_directory / "installed/share/tarvek/IPV.txt");
  ASSERT_FALSE(std::filesystem::exists("IPV.txt"));
  ASSERT_EQ(Tools("features \"" + (m_directory / "run.ms1") + "\" \"" +
                      (m_directory / "again.tsv") + "\" " + Truth(),
                  installed),
            0)
      << Console();
  EXPECT_TRUE(ReadFile(m_directory / "again.tsv") == expected);
  // A named table is the one that is read, also under the default name.
  EXPECT_NE(Tools("features \"" + (m_directory / "run.ms1") + "\" \"" + (m_directory / "no.tsv") +
                      "\" -I IPV.txt " + Truth(),
                  installed),
            0);
  const std::string check = "check \"" + (m_directory / "run.ms1") + "\"";
  EXPECT_EQ(Tools(check, installed), 0) << Console();
  EXPECT_NE(Tools(check + " -I IPV.txt", installed), 0);
  EXPECT_THAT(Console(), HasSubstr("defect: IPV.txt: The isotope table cannot be read"));
}

TEST_F(FeaturesCommand, NeedsExactlyOneSourceOfLabels) {
  Simulate();
  EXPECT_NE(Features(""), 0);
  EXPECT_THAT(Console(), HasSubstr("Exactly 1 option from [--truth,--identified] is required"));
  EXPECT_NE(Features(Truth() + "--identified \"" + (m_directory / "run.truth.tsv") + "\""), 0);
  EXPECT_THAT(Console(), HasSubstr("Exactly 1 option from [--truth,--identified] is required"));
}

TEST_F(FeaturesCommand, RefusesAFileThatIsNoMs1File) {
  Simulate();
  WriteFile(m_directory / "run", "");
  for (const std::string name : {"run", "run.ms2"}) {
    EXPECT_NE(Tools("features \"" + (m_directory / name) + "\" \"" + (m_directory / "out.tsv") +
                    "\" -I \"" TARVEK_SOURCE_DIR "/data/IPV.txt\" " + Truth()),
              0);
    EXPECT_THAT(Console(), HasSubstr(m_directory / name + " is not an .ms1 file."));
    EXPECT_FALSE(std::filesystem::exists(m_directory / "out.tsv"));
  }
}

TEST_F(FeaturesCommand, RefusesChargesInTheWrongOrder) {
  Simulate();
  EXPECT_NE(Features(Truth() + "--charges 6 2"), 0);
  EXPECT_THAT(Console(), HasSubstr("--charges: the lowest, 6, is above the highest, 2"));
  EXPECT_FALSE(std::filesystem::exists(m_directory / "out.tsv"));
}

TEST_F(FeaturesCommand, NamesAMissingTruthAndLeavesNoTable) {
  Simulate();
  EXPECT_NE(Features("--truth \"" + (m_directory / "missing.tsv") + "\""), 0);
  EXPECT_THAT(ReadFile(m_directory / "console.txt"), HasSubstr("missing.tsv"));
  EXPECT_FALSE(std::filesystem::exists(m_directory / "out.tsv"));
  EXPECT_FALSE(std::filesystem::exists(m_directory / "out.tsv_unfinished"));
}

}  // namespace
}  // namespace tarvek::tools
