// --auto, --preset and --quiet of "tarvek-tools run" and "batch" as a user runs them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "ProcessRunner.h"
#include "TestSupport.h"
#include "ToolsProgram.h"

namespace tarvek::tools {
namespace {

namespace fs = std::filesystem;
using test::ProcessResult;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kTable = TARVEK_SOURCE_DIR "/data/IPV.txt";

// Installed programs, since tarvek finds its extractor there.
class AutoTest : public testing::Test {
 protected:
  void SetUp() override {
    if (test::TestsForeignPrograms())
      GTEST_SKIP() << "the programs of a foreign system are not copied";
    test::InstallPrograms(m_directory / "home");
    fs::create_directory(m_directory / "in");
  }

  ProcessResult Tools(std::vector<std::string> arguments) const {
    test::ProcessRequest request = test::ToolsRequest(std::move(arguments), m_directory.Path());
    request.m_program = m_directory / "home/bin/tarvek-tools";
    return test::WithSlashes(test::RunProcess(request));
  }

  void Simulate(const std::string& name, std::vector<std::string> options,
                const std::string& format = "mzml") const {
    options.insert(options.begin(), {"simulate", "--ms2", "60", "--format", format});
    options.push_back("in/" + name);
    ASSERT_EQ(Tools(options).m_exit_status, 0);
  }

  [[nodiscard]] std::string Record(const std::string& path) const {
    return ReadFile(m_directory / path);
  }

  TemporaryDirectory m_directory;
};

TEST_F(AutoTest, ChoosesForEachInputAndSaysWhy) {
  Simulate("narrow", {"--isolation-width", "1.6"});
  Simulate("wide", {"--isolation-width", "4", "--negative"});
  const ProcessResult result = Tools({"run", "--auto", "in", "-o", "out"});
  EXPECT_EQ(result.m_exit_status, 0) << result.m_out << result.m_err;
  EXPECT_THAT(result.m_out,
              StartsWith("auto: in/narrow.mzML: -W 1.6, since all 60 MS2 scans declare 1.6 m/z\n"
                         "auto: in/narrow.mzML: -c 2t6, since the declared charges are "));
  EXPECT_THAT(result.m_out,
              HasSubstr("\nauto: in/wide.mzML: -W 4, since all 60 MS2 scans declare 4 m/z\n"));
  EXPECT_THAT(result.m_out, HasSubstr("\nauto: in/wide.mzML: -c -6t-2, since "));
  EXPECT_THAT(result.m_out, HasSubstr("\nauto: -W 4: in/wide.mzML: since all 60 MS2 scans"));
  EXPECT_THAT(result.m_out, Not(HasSubstr("warning: isolation-width")));
  EXPECT_THAT(Record("out/narrow.tarvek"), HasSubstr("setting\tisolation_width\t1.600000\n"));
  EXPECT_THAT(Record("out/wide.tarvek"), HasSubstr("setting\tisolation_width\t4.000000\n"));
  EXPECT_THAT(Record("out/wide.tarvek"), HasSubstr("setting\tcharge_range\t-6t-2\n"));
  EXPECT_THAT(Record("out/batch_logs/wide/auto.txt"), StartsWith("-W 4, since all 60 MS2 scans"));
}

TEST_F(AutoTest, RefusesAFinishedInputThatItWouldProcessOtherwise) {
  Simulate("r", {"--isolation-width", "4"});
  EXPECT_EQ(Tools({"run", "in", "-o", "out"}).m_exit_status, 0);
  const ProcessResult other = Tools({"run", "--auto", "in", "-o", "out"});
  EXPECT_EQ(other.m_exit_status, 1);
  EXPECT_THAT(other.m_err, HasSubstr("finished before, with other settings: isolation_width "
                                     "2.000000, now 4.000000; --again"));
  EXPECT_EQ(Tools({"run", "--auto", "--again", "in", "-o", "out"}).m_exit_status, 0);
  const ProcessResult same = Tools({"run", "--auto", "in", "-o", "out"});
  EXPECT_EQ(same.m_exit_status, 0) << same.m_err;
  EXPECT_THAT(same.m_out, HasSubstr("1 finished before, in "));
}

TEST_F(AutoTest, LeavesWhatTheUserNames) {
  Simulate("r", {"--isolation-width", "4", "--negative"});
  EXPECT_EQ(Tools({"run", "--auto", "--width", "3", "in", "-o", "out"}).m_exit_status, 0);
  EXPECT_THAT(Record("out/r.tarvek"), HasSubstr("setting\tisolation_width\t3.000000\n"));
  EXPECT_THAT(Record("out/r.tarvek"), HasSubstr("setting\tcharge_range\t-6t-2\n"));
}

TEST_F(AutoTest, ChoosesForABatchOfOptionsAndOfAParameterFile) {
  Simulate("r", {"--isolation-width", "4"});
  const ProcessResult options =
      Tools({"batch", "--auto", "--", "-D", "in/r.mzML", "-O", "out", "-c", "1t4"});
  EXPECT_EQ(options.m_exit_status, 0) << options.m_err;
  EXPECT_THAT(options.m_out, HasSubstr("auto: in/r.mzML: -W 4, since"));
  EXPECT_THAT(Record("out/r.tarvek"), HasSubstr("setting\tisolation_width\t4.000000\n"));
  EXPECT_THAT(Record("out/r.tarvek"), HasSubstr("setting\tcharge_range\t1t4\n"));
  WriteFile(m_directory / "run.params",
            "datapath = in/r.mzML\noutputpath = out2\ncharge_range = 1t4\n");
  EXPECT_EQ(Tools({"batch", "--auto", "--", "run.params"}).m_exit_status, 0);
  EXPECT_EQ(Record("out2/r.tarvek"), Record("out/r.tarvek"));
}

TEST_F(AutoTest, TakesAPresetUnlessTheUserNamesASetting) {
  Simulate("r", {}, "text");
  EXPECT_EQ(
      Tools({"run", "--preset", "lumos", "--charges", "1-3", "in", "-o", "out"}).m_exit_status, 0);
  EXPECT_THAT(Record("out/r.tarvek"), HasSubstr("setting\tisolation_width\t1.600000\n"));
  EXPECT_THAT(Record("out/r.tarvek"), HasSubstr("setting\tcharge_range\t1t3\n"));
  EXPECT_EQ(Tools({"batch", "--preset", "lumos", "--auto", "--", "-D", "in/r.ms1", "-O", "out2",
                   "-c", "1t3"})
                .m_exit_status,
            0);
  EXPECT_EQ(Record("out2/r.tarvek"), Record("out/r.tarvek"));
}

TEST_F(AutoTest, WritesTheIsotopeTableOfLabelledPeptides) {
  Simulate("r", {"--label", "n15"}, "text");
  const ProcessResult result = Tools({"run", "--preset", "n15", "in", "-o", "out"});
  EXPECT_EQ(result.m_exit_status, 0) << result.m_out << result.m_err;
  EXPECT_THAT(result.m_out, StartsWith("note: the isotope table for 99 % 15N is "));
  EXPECT_EQ(Tools({"ipv", "--label", "n15", "own.txt"}).m_exit_status, 0);
  EXPECT_TRUE(Record("out/batch_logs/IPV_n15.txt") == Record("own.txt"));
  EXPECT_THAT(Record("out/r.tarvek"), HasSubstr("setting\tmars_model\t5\n"));
  EXPECT_EQ(Tools({"run", "--model", "5", "--isotope-table", "own.txt", "in", "-o", "out2"})
                .m_exit_status,
            0);
  EXPECT_EQ(Record("out/r.tarvek"), Record("out2/r.tarvek")) << "the table is another one";
  EXPECT_EQ(Tools({"batch", "--preset", "n15", "--", "-D", "in/r.ms1", "-O", "out3"}).m_exit_status,
            0);
  EXPECT_EQ(Record("out/r.tarvek"), Record("out3/r.tarvek"));
  const ProcessResult again = Tools({"run", "--preset", "n15", "in", "-o", "out"});
  EXPECT_THAT(again.m_out, Not(HasSubstr("note:"))) << "the table was there";
  EXPECT_EQ(again.m_exit_status, 0);
}

TEST_F(AutoTest, PrintsTheSettingsAndStartsNothing) {
  Simulate("r", {"--isolation-width", "4"});
  const ProcessResult reasons = Tools({"settings", "--auto", "--charges", "1-3", "in"});
  EXPECT_EQ(reasons.m_exit_status, 0);
  EXPECT_EQ(reasons.m_out,
            "in/r.mzML: -W 4, since all 60 MS2 scans declare 4 m/z\n"
            "in/r.mzML: -c 1t3, since it is named\n");
  EXPECT_EQ(Tools({"settings", "--auto", "--preset", "n15", "--options", "in"}).m_out,
            "-W 4 -c 2t6 -M 5\n");
  EXPECT_EQ(Tools({"settings", "--width", "2.0", "--charges", "-3t-1", "--options", "in"}).m_out,
            "-W 2.0 -c -3t-1\n");
  EXPECT_FALSE(fs::exists(m_directory / "in/batch_logs"));
}

TEST_F(AutoTest, ListsThePresetsAndNamesThemForAWrongName) {
  const ProcessResult list = Tools({"run", "--preset", "help"});
  EXPECT_EQ(list.m_exit_status, 0);
  EXPECT_THAT(list.m_out, StartsWith("lipid    Lipids, metabolites"));
  const ProcessResult wrong = Tools({"batch", "--preset", "velo", "--", "x"});
  EXPECT_EQ(wrong.m_exit_status, 1);
  EXPECT_EQ(
      wrong.m_err,
      "tarvek-tools: There is no preset 'velo'; there are lipid, lumos, n15, qe, topdown, velos\n");
}

TEST_F(AutoTest, EveryPresetIsAParameterFileWithoutAFinding) {
  Simulate("r", {}, "text");
  int presets = 0;
  for (const auto& entry : fs::directory_iterator(TARVEK_SOURCE_DIR "/data/presets")) {
    ++presets;
    WriteFile(m_directory / "run.cfg",
              ReadFile(entry.path().string()) +
                  "datanum = 1\ndatapath1 = in/r.ms1\nipv_file = " + kTable + "\n");
    const ProcessResult result = Tools({"check", "run.cfg"});
    for (const char* code : {"unknown-key", "bad-value", "datanum"})
      EXPECT_THAT(result.m_out, Not(HasSubstr(code))) << entry.path();
  }
  EXPECT_EQ(presets, 6);
}

TEST_F(AutoTest, TheHelpNamesTheInstalledPresets) {
  std::string names;
  for (const char* name : {"lipid", "lumos", "n15", "qe", "topdown", "velos"}) {
    EXPECT_TRUE(fs::exists(std::string(TARVEK_SOURCE_DIR "/data/presets/") + name + ".cfg"))
        << name;
    names += std::string(name) + ",";
  }
  EXPECT_THAT(Tools({"run", "--help"}).m_out, HasSubstr("--preset NAME:{" + names + "help}"));
}

TEST_F(AutoTest, IsQuietButForWarningsFailuresAndTheLastLine) {
  Simulate("r1", {"--isolation-width", "4"});
  Simulate("r2", {"--isolation-width", "4"});
  const ProcessResult warned = Tools({"run", "-q", "in", "-o", "out"});
  EXPECT_THAT(warned.m_out, StartsWith("warning: isolation-width: in/r1.mzML and 1 more: "));
  EXPECT_THAT(warned.m_out, HasSubstr("\n2 done, in "));
  const ProcessResult fine =
      Tools({"batch", "--auto", "-q", "--", "-D", "in", "-F", "mzml", "-O", "out2"});
  EXPECT_EQ(fine.m_exit_status, 0);
  EXPECT_THAT(fine.m_out, testing::MatchesRegex("2 done, in [0-9.]+ s\n"));
}

}  // namespace
}  // namespace tarvek::tools
