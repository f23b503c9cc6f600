// The program as a user starts it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "ReportTestRun.h"
#include "ToolsProgram.h"

namespace tarvek::tools {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using test::ReadFile;
using test::WriteFile;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

class ReportCommand : public testing::Test {
 protected:
  /// Runs "tarvek-tools report" in the test's directory and returns the exit status.
  int Run(const std::string& arguments) {
    std::vector<std::string> words = {"report", "-I", TARVEK_SOURCE_DIR "/data/IPV.txt"};
    std::istringstream text(arguments);
    for (std::string word; text >> word;) words.push_back(word);
    m_result = test::RunTools(words, m_directory.Path());
    return m_result.m_exit_status;
  }
  [[nodiscard]] std::string Out() const { return m_result.m_out; }
  [[nodiscard]] std::string Err() const { return m_result.m_err; }

  /// The names of the files written next to the inputs.
  [[nodiscard]] static std::set<std::string> Reports(const std::string& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
      const std::string name = entry.path().filename();
      if (name.find("report") != std::string::npos || name.find("mqc") != std::string::npos ||
          name.find("_unfinished") != std::string::npos)
        names.insert(name);
    }
    return names;
  }

  test::TemporaryDirectory m_directory;
  test::ProcessResult m_result;
};

TEST_F(ReportCommand, WritesThePagesOfOneRunBesideItsOutputs) {
  WriteHandRun(m_directory);
  ASSERT_EQ(Run("hand"), 0) << Err();
  EXPECT_EQ(Out(), "./hand.report.html\n");
  EXPECT_THAT(Err(), testing::StartsWith("tarvek-tools: No page of scans of hand: The spectra of"));
  EXPECT_THAT(
      Reports(m_directory.Path()),
      UnorderedElementsAre("hand.report.html", "hand.report.json", "hand_tarvek_mqc.json",
                           "hand_tarvek_isotopes_mqc.json", "hand_tarvek_precursors_mqc.json"));
  const std::string page = ReadFile(m_directory / "hand.report.html");
  EXPECT_THAT(page, HasSubstr("<h1>hand</h1>"));
  EXPECT_THAT(page, HasSubstr("1.17 precursors per scan; 83.3 % of 6 scans hold one"));
  const json summary = json::parse(ReadFile(m_directory / "hand.report.json"));
  EXPECT_EQ(summary["figures"]["precursors"], 7.0);
  EXPECT_EQ(summary["isotope_shift"]["0"], 2);
}

TEST_F(ReportCommand, WritesTheSameBytesAgain) {
  WriteHandRun(m_directory);
  ASSERT_EQ(Run("hand"), 0);
  const std::string first = ReadFile(m_directory / "hand.report.html");
  ASSERT_EQ(Run("hand"), 0);
  EXPECT_EQ(ReadFile(m_directory / "hand.report.html"), first);
}

TEST_F(ReportCommand, AFileThatCannotBeReadIsNotTakenForAMissingOne) {
  WriteHandRun(m_directory);
  std::filesystem::remove(m_directory / "hand.pf1");
  std::filesystem::create_symlink("hand.pf1", m_directory / "hand.pf1");  // leads to itself
  EXPECT_EQ(Run("hand"), 1);
  EXPECT_THAT(Err(), HasSubstr("Cannot open PF File, Path: hand.pf1"));
}

TEST_F(ReportCommand, WritesABatchIntoAnotherFolderAndFinishesTheOthersWhenARunIsBroken) {
  WriteHandRun(m_directory);
  WriteFile(m_directory / "broken.csv", HandTable());
  WriteFile(m_directory / "broken.pf1", "\1");
  WriteFile(m_directory / "late.csv_unfinished", kTableHeader);
  EXPECT_EQ(Run(". --out pages/week"), 1);
  EXPECT_THAT(Err(), HasSubstr("broken.pf1 is damaged or cut short at byte 0."));
  EXPECT_THAT(Err(), HasSubstr("1 of 2 runs could not be reported."));
  EXPECT_THAT(Reports(m_directory / "pages/week"),
              UnorderedElementsAre("hand.report.html", "hand.report.json", "late.report.html",
                                   "late.report.json", "tarvek_report.html", "tarvek_report.json",
                                   "tarvek_mqc.json", "tarvek_isotopes_mqc.json",
                                   "tarvek_precursors_mqc.json"));
  const json batch = json::parse(ReadFile(m_directory / "pages/week/tarvek_report.json"));
  ASSERT_EQ(batch["runs"].size(), 3u);
  EXPECT_EQ(batch["runs"][1]["run"], "hand");
  EXPECT_EQ(batch["runs"][2]["error"], "the run did not finish");
}

TEST_F(ReportCommand, ListsAndCountsTheRunsThatCrashed) {
  WriteHandRun(m_directory);
  WriteFile(m_directory / "early.csv_unfinished", "");
  WriteFile(m_directory / "late.csv_unfinished", kTableHeader);
  WriteFile(m_directory / "hand.csv_unfinished", kTableHeader);  // of a run that was repeated
  WriteFile(m_directory / "other.csv_unfinished", "a,b\n");      // of another program
  ASSERT_EQ(Run("."), 0) << Err();
  const json batch = json::parse(ReadFile(m_directory / "tarvek_report.json"));
  ASSERT_EQ(batch["runs"].size(), 3u);
  EXPECT_EQ(batch["unfinished"], 2);
  EXPECT_EQ(batch["runs"][0]["state"], "finished");
  EXPECT_EQ(batch["runs"][1]["run"], "early");
  EXPECT_EQ(batch["runs"][1]["state"], "unfinished");
  const json table = json::parse(ReadFile(m_directory / "tarvek_mqc.json"));
  EXPECT_EQ(table["data"]["early"]["state"], "unfinished");
  EXPECT_EQ(table["data"]["hand"]["state"], "finished");
  const std::string page = ReadFile(m_directory / "tarvek_report.html");
  EXPECT_THAT(page, HasSubstr("early"));
  EXPECT_THAT(page, HasSubstr("Unfinished: 2."));
}

TEST_F(ReportCommand, SaysOnThePageOfARunThatItCrashed) {
  WriteFile(m_directory / "run.csv_unfinished", "");
  for (const char* path : {"run", "run.csv", "run.csv_unfinished"}) {
    EXPECT_EQ(Run(path), 1);
    EXPECT_THAT(Err(), HasSubstr("run.csv is not there: the run did not finish"));
  }
  EXPECT_THAT(ReadFile(m_directory / "run.report.html"), HasSubstr("The run did not finish"));
  EXPECT_EQ(json::parse(ReadFile(m_directory / "run.report.json"))["state"], "unfinished");
  const json table = json::parse(ReadFile(m_directory / "run_tarvek_mqc.json"));
  EXPECT_EQ(table["data"]["run"]["state"], "unfinished");
}

TEST_F(ReportCommand, CallsARunThatExportedNothingADefect) {
  WriteFile(m_directory / "run.csv", kTableHeader);
  WriteFile(m_directory / "run.tarvek",
            "count\tms2_exported\t0\ncount\tms2_read\t321\ncount\tprecursors\t0\n"
            "left_out\tanalyser not known\t300\nleft_out\tno peaks\t21\n"
            "setting\tisolation_width\t4.000000\n");
  ASSERT_EQ(Run("."), 0) << Err();
  const json batch = json::parse(ReadFile(m_directory / "tarvek_report.json"));
  EXPECT_EQ(batch["nothing_exported"], 1);
  const json run = json::parse(ReadFile(m_directory / "run.report.json"));
  EXPECT_EQ(run["state"], "nothing exported");
  EXPECT_EQ(run["remarks"]["nothing-exported"]["verdict"], "defect");
  EXPECT_EQ(run["left_out"], 321);
  EXPECT_EQ(run["left_out_reasons"]["analyser not known"], 300);
  EXPECT_EQ(run["left_out_source"], "the record of the run");
  EXPECT_EQ(run["isolation_width"], 4.0);
  EXPECT_EQ(run["isolation_width_source"], "as the record says");
  const std::string page = ReadFile(m_directory / "run.report.html");
  EXPECT_THAT(page, HasSubstr("300 analyser not known, 21 no peaks"));
  EXPECT_THAT(page, testing::Not(HasSubstr("Nothing unusual")));
}

TEST_F(ReportCommand, NamesARecordThatIsDamaged) {
  WriteHandRun(m_directory);
  WriteFile(m_directory / "hand.tarvek", "count\tms2_read\tmany\n");
  EXPECT_EQ(Run("hand"), 1);
  EXPECT_THAT(Err(), HasSubstr("hand.tarvek: line 1: \"many\" is no count"));
  WriteFile(m_directory / "hand.tarvek", "setting\tisolation_width\twide\n");
  EXPECT_EQ(Run("hand"), 1);
  EXPECT_THAT(Err(), HasSubstr("hand.tarvek: the isolation_width 'wide' is no width."));
}

TEST_F(ReportCommand, NamesWhatIsNotThere) {
  EXPECT_EQ(Run("nothing"), 1);
  EXPECT_THAT(Err(), HasSubstr("nothing.csv is not there."));
  EXPECT_EQ(Run("."), 1);
  EXPECT_THAT(Err(), HasSubstr("There is no precursor table of tarvek (.csv) in ."));
}

TEST_F(ReportCommand, PassesOverAPipeInTheFolder) {
  WriteHandRun(m_directory);
  ASSERT_EQ(::mkfifo((m_directory / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(Run(". --out pages"), 0) << Err();  // no writer will ever open the pipe
}

TEST_F(ReportCommand, LeavesNothingUnderAFinalNameWhenItCannotWrite) {
  WriteHandRun(m_directory);
  fs::create_directory(m_directory / "hand.report.html");
  EXPECT_EQ(Run("hand"), 1);
  EXPECT_THAT(Err(), HasSubstr("Cannot rename file: "));
  EXPECT_FALSE(fs::exists(m_directory / "hand.report.html_unfinished"));
  EXPECT_FALSE(fs::exists(m_directory / "hand.report.json"));
}

TEST_F(ReportCommand, RefusesAWidthOfNothing) {
  WriteHandRun(m_directory);
  EXPECT_NE(Run("hand -W 0"), 0);
  EXPECT_EQ(Run("hand -W 3.5"), 0);
  EXPECT_EQ(json::parse(ReadFile(m_directory / "hand.report.json"))["isolation_width"], 3.5);
}

TEST_F(ReportCommand, KnowsBothIsolationWidthsOfARunFromItsRecordAlone) {
  const fs::path programs = fs::path(TARVEK_TOOLS_PROGRAM).parent_path();
  fs::create_symlink(programs / "morvex_xml.exe", m_directory / "morvex_xml.exe");
  const auto run = [&](const std::string& command) {
    const std::string here = "cd '" + m_directory.Path() + "' && '" + programs.string() + "/";
    return std::system((here + command + " >/dev/null 2>&1").c_str());
  };
  ASSERT_EQ(run("tarvek-tools' simulate --seed 1 --ms2 20 --format mzml run"), 0);
  ASSERT_EQ(
      run("tarvek' -D run.mzML -F mzml -O out -L . -W 4 -I '" TARVEK_SOURCE_DIR "/data/IPV.txt'"),
      0);
  fs::remove(m_directory / "out/run.morvex");
  const auto summary = [&] {
    EXPECT_EQ(Run("out"), 0) << Err();
    return json::parse(ReadFile(m_directory / "out/run.report.json"));
  };
  const json known = summary();
  EXPECT_EQ(known["isolation_width"], 4.0);
  EXPECT_EQ(known["isolation_width_source"], "as the record says");
  EXPECT_EQ(known["declared_isolation_width"], 2.0);
  EXPECT_EQ(known["declared_isolation_width_source"], "run.tarvek");
  EXPECT_TRUE(known["remarks"].contains("isolation-width"));
  fs::remove(m_directory / "out/run.tarvek");
  const json unknown = summary();
  EXPECT_EQ(unknown["isolation_width_source"], "not known, so tarvek's default");
  EXPECT_TRUE(unknown["declared_isolation_width"].is_null());
}

TEST_F(ReportCommand, NamesTheWidthThatTheFileDeclaresAndNeverCallsTheRunUsual) {
  const fs::path programs = fs::path(TARVEK_TOOLS_PROGRAM).parent_path();
  fs::create_symlink(programs / "morvex_xml.exe", m_directory / "morvex_xml.exe");
  const auto run = [&](const std::string& command) {
    const std::string here = "cd '" + m_directory.Path() + "' && '" + programs.string() + "/";
    return std::system((here + command + " >/dev/null 2>&1").c_str());
  };
  ASSERT_EQ(run("tarvek-tools' simulate --seed 1 --ms2 60 --isolation-width 4 --format mzml run"),
            0);
  for (const std::string width : {"1", "4"})
    ASSERT_EQ(run("tarvek' -D run.mzML -F mzml -O out" + width + " -L . -W " + width +
                  " -I '" TARVEK_SOURCE_DIR "/data/IPV.txt'"),
              0);
  ASSERT_EQ(Run("out1"), 0) << Err();
  const json narrow = json::parse(ReadFile(m_directory / "out1/run.report.json"));
  ASSERT_GE(narrow["advice"].size(), 1u);
  EXPECT_EQ(narrow["advice"][0]["id"], "width");
  EXPECT_EQ(narrow["advice"][0]["what"], "-W 4");
  const std::string page = ReadFile(m_directory / "out1/run.report.html");
  EXPECT_THAT(page, testing::Not(HasSubstr("Nothing unusual")));
  EXPECT_THAT(page.substr(page.find("What to change next")), HasSubstr("<code>-W</code> 4"));
  const std::string batch = ReadFile(m_directory / "out1/tarvek_report.html");
  EXPECT_THAT(batch.substr(batch.find("What to change next")), HasSubstr("<code>-W</code> 4"));
  ASSERT_EQ(Run("out4"), 0) << Err();
  for (const json& advice : json::parse(ReadFile(m_directory / "out4/run.report.json"))["advice"])
    EXPECT_NE(advice["id"], "width");
}

// A HEK293 run from an LTQ Orbitrap Velos (MetaMorpheus test data); its numbers of scans and of
// declared charges were counted in its mzML file.
TEST_F(ReportCommand, CountsARealRun) {
  const std::string packed = TARVEK_SOURCE_DIR "/../shared/data/hek293-velos/HEK293_2_16173.ms";
  if (!fs::exists(packed + "1.gz")) GTEST_SKIP() << "needs the real runs in ../shared/data";
  for (const std::string level : {"1", "2"})
    ASSERT_EQ(std::system(
                  ("gzip -dc '" + packed + level + ".gz' >'" + m_directory / "hek.ms" + level + "'")
                      .c_str()),
              0);
  const auto tarvek = fs::path(TARVEK_TOOLS_PROGRAM).parent_path() / "tarvek";
  ASSERT_EQ(std::system(("cd '" + m_directory.Path() + "' && '" + tarvek.string() +
                         "' -D hek.ms1 -O . -L . -W 4 -I '" TARVEK_SOURCE_DIR
                         "/data/IPV.txt' >/dev/null 2>&1")
                            .c_str()),
            0);
  ASSERT_EQ(Run("hek"), 0) << Err();
  const json summary = json::parse(ReadFile(m_directory / "hek.report.json"));
  EXPECT_EQ(summary["figures"]["ms2_scans"], 321.0);
  EXPECT_EQ(summary["surveys"], 33);
  EXPECT_EQ(summary["left_out"], 0);
  EXPECT_EQ(summary["isolation_width"], 4.0);
  std::map<int, int> declared;
  for (const json& charges : summary["charges"])
    declared[charges["declared"].get<int>()] += charges["scans"].get<int>();
  EXPECT_EQ(summary["kept_as_declared"], 0);
  EXPECT_THAT(declared, testing::ElementsAre(testing::Pair(2, 216), testing::Pair(3, 93),
                                             testing::Pair(4, 12)));
}

TEST_F(ReportCommand, IsShownByMultiQc) {
  if (std::system("multiqc --version >/dev/null 2>&1") != 0)
    GTEST_SKIP() << "needs multiqc: ./dev report-test installs it";
  WriteHandRun(m_directory);
  WriteFile(m_directory / "second.csv", HandTable());
  ASSERT_EQ(Run(". --out pages"), 0) << Err();
  const std::string command =
      "cd '" + m_directory.Path() + "' && multiqc --force pages >/dev/null 2>&1";
  ASSERT_EQ(std::system(command.c_str()), 0);
  const json data = json::parse(ReadFile(m_directory / "multiqc_data/multiqc_data.json"));
  const json& plots = data["report_plot_data"];
  EXPECT_TRUE(plots.contains("tarvek_isotopes_plot")) << plots.dump().substr(0, 400);
  EXPECT_TRUE(plots.contains("tarvek_precursors_plot"));
  const std::string table = ReadFile(m_directory / "multiqc_data/multiqc_tarvek_plot.txt");
  EXPECT_THAT(table, HasSubstr("hand"));
  EXPECT_THAT(table, HasSubstr("second"));
}

}  // namespace
}  // namespace tarvek::tools
