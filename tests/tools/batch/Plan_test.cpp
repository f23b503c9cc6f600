#include "batch/Plan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "IsotopeTable.h"
#include "NativePath.h"
#include "PrecursorTable.h"
#include "RunRecord.h"
#include "RunSummary.h"
#include "TestSupport.h"

namespace tarvek::tools {
namespace {

using test::CaptureConsole;
using test::MessageOf;
using test::Native;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::ElementsAre;
using testing::HasSubstr;

class BatchPlanTest : public testing::Test {
 protected:
  BatchPlanTest() {
    for (const char* name : {"b.ms1", "a.ms1", "a.ms2", "c.MS1", "d.mzML"}) Place(name);
  }

  void Place(const std::string& name) const { WriteFile(m_directory / name, "x"); }

  static std::vector<BatchTask> Plan(const std::vector<std::string>& words) {
    std::vector<BatchTask> tasks;
    CaptureConsole([&] { tasks = PlanBatch(words); });  // tarvek's warnings
    return tasks;
  }

  [[nodiscard]] std::vector<std::string> NamesOf(const std::vector<BatchTask>& tasks) const {
    std::vector<std::string> names;
    for (const BatchTask& task : tasks)
      names.push_back(task.m_input.substr(m_directory.Path().size() + 1));
    return names;
  }

  TemporaryDirectory m_directory;
};

TEST_F(BatchPlanTest, TakesTheFilesOfADirectoryByTheirFormatAndName) {
  EXPECT_THAT(NamesOf(Plan({"-D", m_directory.Path(), "-F", "ms1"})),
              ElementsAre("a.ms1", "b.ms1", "c.MS1"));
}

TEST_F(BatchPlanTest, LetsAFileSayTheFormatOfDirectoriesBehindIt) {
  EXPECT_THAT(NamesOf(Plan({m_directory / "d.mzML", "-O", "x"})), ElementsAre("d.mzML"));
  std::filesystem::create_directory(m_directory / "more");
  Place("more/e.mzml");
  EXPECT_THAT(NamesOf(Plan({m_directory / "d.mzML", m_directory / "more"})),
              ElementsAre("d.mzML", Native("more/e.mzml")));
}

TEST_F(BatchPlanTest, TakesPathsBeforeTheOptionsAndBehindEachD) {
  EXPECT_THAT(NamesOf(Plan({m_directory / "b.ms1", "-W", "3", "-D", m_directory / "d.mzML",
                            m_directory / "a.ms1", "-c", "1t2"})),
              ElementsAre("b.ms1", "d.mzML", "a.ms1"));
}

TEST_F(BatchPlanTest, GivesEachTaskItsInputTheOptionsAndItsLogDirectory) {
  const std::vector<BatchTask> tasks =
      Plan({m_directory / "a.ms1", "-W", "3", "-O", "out/", "-c", "-3t-1"});
  EXPECT_THAT(tasks.at(0).m_arguments,
              ElementsAre("-D", m_directory / "a.ms1", "-W", "3", "-O", "out/", "-c", "-3t-1", "-L",
                          Native("out/batch_logs/a")));
  EXPECT_EQ(tasks[0].m_table, Native("out/a.csv"));
}

TEST_F(BatchPlanTest, PutsLogsBelowADirectoryThatIsGiven) {
  const std::vector<BatchTask> tasks = Plan({m_directory / "a.ms1", "-L", "logs", "-O", "out"});
  EXPECT_EQ(tasks.at(0).m_log_directory, Native("logs/a"));
  EXPECT_THAT(tasks[0].m_arguments,
              ElementsAre("-D", m_directory / "a.ms1", "-O", "out", "-L", Native("logs/a")));
}

TEST_F(BatchPlanTest, TakesTheRootForADirectoryAsTarvekDoes) {
  const BatchTask in_root = Plan({m_directory / "a.ms1", "-O", "/"}).at(0);
  EXPECT_EQ(in_root.m_table, Native("/a.csv"));
  EXPECT_EQ(in_root.m_log_directory, Native("/batch_logs/a"));
  EXPECT_EQ(Plan({m_directory / "a.ms1", "-O", "out", "-L", "/"}).at(0).m_log_directory,
            Native("/a"));
  EXPECT_EQ(Plan({m_directory / "a.ms1", "-O", "D:\\"}).at(0).m_table, "D:" + Native("/a.csv"));
}

TEST_F(BatchPlanTest, ExpectsTheResultsBesideTheInputWithoutAnOutputDirectory) {
  EXPECT_EQ(Plan({m_directory / "a.ms1"}).at(0).m_table, m_directory / "a.csv");
}

TEST_F(BatchPlanTest, KnowsWhatIsFinishedUnlessItIsToBeRewritten) {
  WriteFile(m_directory / "a.csv", std::string(kPrecursorTableHeader));
  EXPECT_TRUE(Plan({m_directory / "a.ms1"}).at(0).m_is_finished);
  EXPECT_FALSE(Plan({m_directory / "a.ms1", "-r", "1"}).at(0).m_is_finished);
  EXPECT_FALSE(Plan({m_directory / "b.ms1"}).at(0).m_is_finished);
}

TEST_F(BatchPlanTest, GivesEachTaskOfAParameterFileOneOfItsOwn) {
  WriteFile(m_directory / "x.params", "datanum = 2 # two\ndatapath1 = " + m_directory / "a.ms1" +
                                          "\ndatapath2=" + m_directory / "b.ms1" +
                                          "\noutputpath = out\nMSTOL = 10\n");
  const std::vector<BatchTask> tasks = Plan({m_directory / "x.params"});
  EXPECT_THAT(NamesOf(tasks), ElementsAre("a.ms1", "b.ms1"));
  EXPECT_THAT(tasks.at(1).m_arguments, ElementsAre(Native("out/batch_logs/b/batch.params")));
  EXPECT_EQ(tasks[1].m_parameter_file, "datapath = " + m_directory / "b.ms1" +
                                           "\nlogfilepath = " + Native("out/batch_logs/b") +
                                           "\nmstol = 10\noutputpath = out\n");
}

TEST_F(BatchPlanTest, RefusesAPathThatAParameterFileCannotHold) {
  std::filesystem::create_directory(m_directory / "in");
  Place("in/a#1.ms1");
  WriteFile(m_directory / "x.params",
            "datapath = " + m_directory / "in" + "\ninput_format = ms1\noutputpath = out\n");
  EXPECT_THAT(MessageOf([&] { Plan({m_directory / "x.params"}); }),
              HasSubstr("a#1.ms1'; give options"));
}

TEST_F(BatchPlanTest, RefusesTwoInputsOfOneBaseNameForOneOutputDirectory) {
  std::filesystem::create_directory(m_directory / "more");
  Place("more/a.mzML");
  const std::string second = Native(m_directory / "more/a.mzML");
  EXPECT_EQ(MessageOf([&] {
              Plan({m_directory / "a.ms1", second, "-O", "out"});
            }),
            m_directory / "a.ms1" + " and " + second + " would both write " + Native("out/a.csv") +
                "; nothing was started");
  EXPECT_EQ(Plan({m_directory / "a.ms1", second}).size(), 2u) << "each beside its input";
}

TEST_F(BatchPlanTest, SeesThatTwoSpellingsAreOneDirectory) {
  EXPECT_THAT(MessageOf([&] {
                Plan({m_directory / "a.ms1", m_directory / "./a.ms1"});
              }),
              HasSubstr("would both write"));
}

TEST_F(BatchPlanTest, RefusesTwoInputsOfOneBaseNameForOneLogDirectory) {
  std::filesystem::create_directory(m_directory / "more");
  Place("more/a.ms1");
  EXPECT_THAT(MessageOf([&] {
                Plan({m_directory / "a.ms1", m_directory / "more/a.ms1", "-L", "logs"});
              }),
              HasSubstr("would both write " + Native("logs/a")));
}

TEST_F(BatchPlanTest, RefusesTwoFormatsOfOneBaseNameForOneOutputDirectory) {
  Place("a.mzML");
  Place("b.mgf");
  EXPECT_THAT(MessageOf([&] {
                Plan({m_directory / "a.ms1", m_directory / "a.mzML", "-O", "out"});
              }),
              HasSubstr("would both write " + Native("out/a.csv")));
  EXPECT_THAT(MessageOf([&] {
                Plan({m_directory / "b.ms1", m_directory / "b.mgf", "-O", "out"});
              }),
              HasSubstr("would both write " + Native("out/b.tarvek")));
}

TEST_F(BatchPlanTest, KnowsWhichSettingsOfAFinishedInputWereOthers) {
  const std::string table = TARVEK_SOURCE_DIR "/data/IPV.txt";
  WriteFile(m_directory / "a.csv", std::string(kPrecursorTableHeader));
  UserParameters before;
  before.m_isolation_width = 3.0;
  const std::string fingerprint = IsotopeTableFingerprint(ReadIsotopeTable(table));
  WriteFile(m_directory / "a.tarvek",
            RunRecordText(tarvek::SettingsOf(before, fingerprint, InputKind::kSpectra)));
  EXPECT_EQ(Plan({m_directory / "a.ms1", "-I", table}).at(0).m_other_settings,
            "isolation_width 3.000000, now 2.000000");
  EXPECT_EQ(Plan({m_directory / "a.ms1", "-I", table, "-W", "3"}).at(0).m_other_settings, "");
  EXPECT_EQ(Plan({m_directory / "a.ms1", "-I", table, "-r", "1"}).at(0).m_other_settings, "");
}

TEST_F(BatchPlanTest, RefusesAMissingPath) {
  std::string message;
  const test::ConsoleText console = CaptureConsole([&] {
    message = MessageOf([&] {
      PlanBatch(std::vector<std::string>{m_directory / "a.ms1", m_directory / "none.ms1"});
    });
  });
  EXPECT_EQ(message, "Not every data path is there; nothing was started");
  EXPECT_THAT(console.m_err, HasSubstr(m_directory / "none.ms1"));
}

TEST_F(BatchPlanTest, RefusesAFormatThatTarvekDoesNotKnow) {
  EXPECT_THAT(MessageOf([&] {
                Plan({m_directory.Path(), "-F", "mzML"});
              }),
              HasSubstr("has the format 'mzML'"));
  Place("a.txt");
  EXPECT_THAT(MessageOf([&] { Plan({m_directory / "a.txt"}); }), HasSubstr("has the format 'txt'"));
}

TEST_F(BatchPlanTest, RefusesADirectoryWithoutInputs) {
  EXPECT_EQ(MessageOf([&] {
              Plan({m_directory.Path(), "-F", "wiff"});
            }),
            "There is no input file. No .wiff file in " + m_directory.Path() +
                ". It has 3 .ms1 (-F ms1), 1 .mzml (-F mzml).");
}

TEST_F(BatchPlanTest, RefusesOptionsAsTarvekDoes) {
  EXPECT_EQ(MessageOf([&] {
              Plan({m_directory / "a.ms1", "-x", "1"});
            }),
            "Unknown parameter option!-x! Please check the options or the *.cfg files.");
  EXPECT_EQ(MessageOf([&] { Plan({m_directory / "a.ms1", "-W"}); }), "The option -W has no value");
}

}  // namespace
}  // namespace tarvek::tools
