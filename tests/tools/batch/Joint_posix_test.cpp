// "tarvek-tools run --joint" as a user runs it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "EvidenceTable.h"
#include "PrecursorTableReader.h"
#include "ProcessRunner.h"
#include "TestSupport.h"
#include "ToolsProgram.h"

namespace tarvek::tools {
namespace {

namespace fs = std::filesystem;
using test::ProcessRequest;
using test::ProcessResult;
using test::ReadFile;
using test::TemporaryDirectory;
using testing::HasSubstr;

constexpr const char* kTable = TARVEK_SOURCE_DIR "/data/IPV.txt";

class JointRun : public testing::Test {
 protected:
  void Simulate(const std::vector<std::string>& more = {}) const {
    std::vector<std::string> words = {"simulate", "--seed", "12",      "--ms2", "300",
                                      "--top",    "20",     "--noise", "2"};
    words.insert(words.end(), more.begin(), more.end());
    words.emplace_back("r");
    ASSERT_EQ(Tools(words).m_exit_status, 0);
  }

  ProcessResult Tools(std::vector<std::string> arguments,
                      const std::map<std::string, std::string>& environment = {}) const {
    ProcessRequest request = test::ToolsRequest(std::move(arguments), m_directory.Path());
    for (const auto& [name, value] : environment) request.m_environment[name] = value;
    return test::RunProcess(request);
  }
  ProcessResult Run(std::vector<std::string> arguments,
                    const std::map<std::string, std::string>& environment = {}) const {
    arguments.insert(arguments.begin(), {"run", "r.ms1", "--isotope-table", kTable, "-o", "out"});
    return Tools(std::move(arguments), environment);
  }

  [[nodiscard]] double Score(const std::string& key) const {
    const ProcessResult score = Tools({"score", "--json", "out/r.csv", "r.truth.tsv"});
    return nlohmann::json::parse(score.m_out)["determined"][key]["value"];
  }

  [[nodiscard]] std::string Path(const std::string& name) const { return m_directory / name; }

  /// The precursors with evidence by scan; the same as in the precursor table.
  void ExpectEvidenceOfTheTable(double threshold) const {
    std::map<std::int32_t, std::vector<EvidenceRow>> evidence;
    EvidenceReader reader(Path("out/r.precursors.tsv"));
    for (EvidenceRow row; reader.Next(row);) {
      EXPECT_GE(row.m_evidence.m_probability, threshold);
      EXPECT_LE(row.m_evidence.m_probability, 1.0);
      EXPECT_GE(row.m_evidence.m_share, 0.0);
      EXPECT_LE(row.m_evidence.m_share, 1.0);
      evidence[row.m_scan_no].push_back(row);
    }
    EXPECT_GT(evidence.size(), 200u);
    PrecursorTableReader table(Path("out/r.csv"));
    ASSERT_TRUE(table.HasHeader());
    for (PrecursorRow row; table.Next(row);) {
      if (!evidence.contains(row.m_scan_no)) continue;  // its declared ones are exported
      const std::vector<EvidenceRow>& rows = evidence[row.m_scan_no];
      ASSERT_EQ(row.m_determined.size(), rows.size());
      for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(row.m_determined[i].m_mz, rows[i].m_precursor.m_mz);
        EXPECT_EQ(row.m_determined[i].m_charge, rows[i].m_precursor.m_charge);
      }
      evidence.erase(row.m_scan_no);
    }
    EXPECT_TRUE(evidence.empty());
  }

  TemporaryDirectory m_directory;
};

TEST_F(JointRun, IsMorePreciseThanTheModelsAndFindsAsMany) {
  Simulate();
  ASSERT_EQ(Run({}).m_exit_status, 0);
  const double precision = Score("precision");
  const double recall = Score("target_recall");
  ASSERT_EQ(Run({"--joint", "--again"}).m_exit_status, 0);
  EXPECT_GT(Score("precision"), precision + 0.05);
  EXPECT_GT(Score("precision"), 0.85);
  EXPECT_GT(Score("target_recall"), recall - 0.01);
  EXPECT_LT(Score("wrong_charge"), 0.03);
}

TEST_F(JointRun, WritesWhatSpeaksForEachPrecursor) {
  Simulate();
  const ProcessResult result = Run({"--joint"});
  ASSERT_EQ(result.m_exit_status, 0) << result.m_err;
  ExpectEvidenceOfTheTable(0.3);
  EXPECT_THAT(ReadFile(Path("out/r.tarvek")), HasSubstr("setting\tjoint\t0.3000\n"));
}

TEST_F(JointRun, ReportsHowSureItIs) {
  Simulate();
  ASSERT_EQ(Run({"--joint"}).m_exit_status, 0);
  double doubts = 0.0;
  std::int64_t precursors = 0;
  EvidenceReader reader(Path("out/r.precursors.tsv"));
  for (EvidenceRow row; reader.Next(row); ++precursors)
    doubts += 1.0 - row.m_evidence.m_probability;
  const ProcessResult report = Tools({"report", "out/r"});
  ASSERT_EQ(report.m_exit_status, 0) << report.m_err;
  const auto joint = nlohmann::json::parse(ReadFile(Path("out/r.report.json")))["joint"];
  EXPECT_EQ(joint["precursors"], precursors);
  EXPECT_NEAR(joint["expected_wrong"], doubts, 1e-9);
  EXPECT_GE(joint["decoy_scans"], 300 / 8 - 3);
  EXPECT_LE(joint["decoys"], joint["decoy_scans"]);
}

TEST_F(JointRun, KeepsTheEvidenceOfACalibratedRunTrue) {
  Simulate();
  ASSERT_EQ(Run({"--joint", "--calibrate"}).m_exit_status, 0);
  EXPECT_THAT(ReadFile(Path("out/r.tarvek")), HasSubstr("setting\tcalibrated\t1\n"));
  ExpectEvidenceOfTheTable(0.3);
}

TEST_F(JointRun, GivesTheSameBytesEveryTime) {
  Simulate();
  std::map<std::string, std::string> before;
  for (int round = 0; round < 2; ++round) {
    ASSERT_EQ(Run({"--joint", "--again"}).m_exit_status, 0);
    for (const char* name : {"r.csv", "r.precursors.tsv", "r_HCDFT.mgf", "r_HCDFT.pf2"}) {
      const std::string bytes = ReadFile(Path(std::string("out/") + name));
      EXPECT_TRUE(round == 0 || before[name] == bytes) << name;
      before[name] = bytes;
    }
  }
}

TEST_F(JointRun, IsAnotherSettingThanTheModels) {
  Simulate();
  ASSERT_EQ(Run({"--joint"}).m_exit_status, 0);
  EXPECT_EQ(Run({"--joint"}).m_exit_status, 0) << "finished before";
  EXPECT_THAT(Run({"--joint", "--probability", "0.5"}).m_err,
              HasSubstr("joint 0.3000, now 0.5000"));
  EXPECT_THAT(Run({}).m_err, HasSubstr("joint 0.3000, now not set"));
  ASSERT_EQ(Run({"--again"}).m_exit_status, 0);
  EXPECT_FALSE(fs::exists(Path("out/r.precursors.tsv"))) << "it would be of another run";
}

TEST_F(JointRun, TakesTheWidthThatEachFileDeclares) {
  Simulate({"--format", "mzml", "--isolation-width", "4"});
  std::vector<std::string> words = {"run", "r.mzML", "--isotope-table", kTable, "--joint"};
  std::vector<std::string> own = words;
  own.insert(own.end(), {"-o", "own", "--width", "3"});
  words.insert(words.end(), {"-o", "out"});
  // Without an installation the extractor is not found; the settings are compared before it starts.
  Tools(words);
  const std::string console = ReadFile(Path("out/batch_logs/r/console.txt"));
  EXPECT_THAT(console, HasSubstr("isolation_width = 4.000000"));
  Tools(own);
  EXPECT_THAT(ReadFile(Path("own/batch_logs/r/console.txt")),
              HasSubstr("isolation_width = 3.000000"));
}

TEST_F(JointRun, RefusesOptionsThatMakeNoSense) {
  Simulate();
  EXPECT_GT(Run({"--probability", "0.5"}).m_exit_status, 100);
  EXPECT_GT(Run({"--joint", "--probability", "1.5"}).m_exit_status, 100);
  EXPECT_GT(Run({"--joint", "--threshold", "0"}).m_exit_status, 100);
  EXPECT_GT(Run({"--joint", "--model", "0"}).m_exit_status, 100);
  EXPECT_FALSE(fs::exists(Path("out")));
}

TEST_F(JointRun, RefusesAVariableThatIsNoProbability) {
  Simulate();
  for (const char* value : {"2", "-0.1", "often", "nan"}) {
    const ProcessResult result = Run({"--no-check"}, {{"TARVEK_JOINT", value}});
    EXPECT_EQ(result.m_exit_status, 1) << value;
    EXPECT_THAT(result.m_err, HasSubstr("TARVEK_JOINT has to be a probability from 0 to 1, not " +
                                        std::string(value)));
    EXPECT_FALSE(fs::exists(Path("out/r.csv")));
  }
}

}  // namespace
}  // namespace tarvek::tools
