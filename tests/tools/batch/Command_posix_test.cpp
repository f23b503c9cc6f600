// "tarvek-tools batch" as a user runs it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "PrecursorTable.h"
#include "ProcessRunner.h"
#include "TestSupport.h"
#include "ToolsProgram.h"

namespace tarvek::tools {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using test::ProcessRequest;
using test::ProcessResult;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::HasSubstr;
using testing::Not;

class BatchCommandTest : public testing::Test {
 protected:
  /// Simulated runs in/r1 .. in/rN and the isotope table.
  void Simulate(int runs, int ms2_scans) const {
    fs::create_directory(m_directory / "in");
    fs::copy_file(TARVEK_SOURCE_DIR "/data/IPV.txt", m_directory / "IPV.txt");
    for (int run = 1; run <= runs; ++run) {
      const std::string number = std::to_string(run);
      EXPECT_EQ(
          Run({"simulate", "--seed", number, "--ms2", std::to_string(ms2_scans), "in/r" + number})
              .m_exit_status,
          0);
    }
  }

  [[nodiscard]] ProcessRequest Request(std::vector<std::string> arguments) const {
    return test::ToolsRequest(std::move(arguments), m_directory.Path());
  }
  ProcessResult Run(std::vector<std::string> arguments) const {
    return test::WithSlashes(test::RunProcess(Request(std::move(arguments))));
  }
  /// A batch of the folder in.
  ProcessResult RunBatch(std::vector<std::string> options, const std::string& out) const {
    options.insert(options.begin(), "batch");
    for (const char* word : {"--", "-D", "in", "-F", "ms1", "-O"}) options.emplace_back(word);
    options.push_back(out);
    return Run(options);
  }

  /// File name to content, directories left out.
  [[nodiscard]] std::map<std::string, std::string> FilesIn(const std::string& folder) const {
    std::map<std::string, std::string> files;
    if (!fs::exists(m_directory / folder)) return files;
    for (const auto& entry : fs::directory_iterator(m_directory / folder))
      if (entry.is_regular_file())
        files[entry.path().filename().string()] = ReadFile(entry.path().string());
    return files;
  }

  /// A program instead of tarvek.
  void WriteProgram(const std::string& body) const {
    WriteFile(m_directory / "fake", "#!/bin/sh\n" + body);
    fs::permissions(m_directory / "fake", fs::perms::owner_all);
  }
  void WriteInputs(int count) const {
    fs::create_directory(m_directory / "in");
    for (int i = 1; i <= count; ++i)
      WriteFile(m_directory / ("in/r" + std::to_string(i) + ".ms1"), "x");
  }

  TemporaryDirectory m_directory;
};

/// The table at the end, without times.
std::string SummaryOf(const std::string& out) {
  const std::string table = out.substr(out.find("state "));
  return std::regex_replace(table, std::regex("[0-9]+\\.[0-9]"), "T");
}

TEST_F(BatchCommandTest, GivesTheSameBytesAndSummaryWhateverTheJobs) {
  Simulate(5, 200);
  const ProcessResult one = RunBatch({"--jobs", "1"}, "one");
  const ProcessResult two = RunBatch({"--jobs", "2"}, "two");
  const ProcessResult many = RunBatch({"--jobs", "9"}, "many");
  EXPECT_EQ(one.m_exit_status, 0) << one.m_out << one.m_err;
  EXPECT_EQ(two.m_exit_status, 0) << two.m_out << two.m_err;
  EXPECT_EQ(SummaryOf(one.m_out), SummaryOf(two.m_out));
  const auto files = FilesIn("one");
  EXPECT_EQ(files.size(), 5u * 7u) << "mgf, csv, pf1, pf1idx, pf2, pf2idx and tarvek of each";
  EXPECT_TRUE(files == FilesIn("two"));
  EXPECT_TRUE(files == FilesIn("many"));
}

TEST_F(BatchCommandTest, GivesTheBytesOfOneTarvekForAll) {
  Simulate(2, 200);
  RunBatch({}, "batch");
  ProcessRequest request = Request({"-D", "in", "-F", "ms1", "-O", "alone", "-L", "alone/logs"});
  request.m_program = test::TestedProgram(TARVEK_PROGRAM);
  EXPECT_EQ(test::RunProcess(request).m_exit_status, 0);
  EXPECT_TRUE(FilesIn("batch") == FilesIn("alone"));
}

TEST_F(BatchCommandTest, NamesABrokenFileAndFinishesTheOthers) {
  Simulate(4, 50);
  fs::remove(m_directory / "in/r2.ms2");
  const ProcessResult result = RunBatch({"--jobs", "2", "--keep-going"}, "out");
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, HasSubstr("in/r2.ms1: Cannot open MS2 File, Path: in/r2.ms2 (log: "
                                      "out/batch_logs/r2)"));
  EXPECT_THAT(result.m_out, HasSubstr("3 done, 1 failed, in "));
  for (const char* name : {"r1.csv", "r3.csv", "r4.csv"})
    EXPECT_TRUE(FilesIn("out").contains(name)) << name;
  EXPECT_FALSE(FilesIn("out").contains("r2.csv"));
  EXPECT_THAT(ReadFile(m_directory / "out/batch_logs/r2/TarvekPlusLog.txt"),
              HasSubstr("Cannot open MS2 File"));
}

TEST_F(BatchCommandTest, StartsNothingMoreAfterAFailureUnlessToldTo) {
  Simulate(3, 50);
  fs::remove(m_directory / "in/r1.ms2");
  const ProcessResult result = RunBatch({"--jobs", "1"}, "out");
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, HasSubstr("No further file is started"));
  EXPECT_THAT(result.m_out, HasSubstr("1 failed, 2 not started, in "));
  EXPECT_FALSE(FilesIn("out").contains("r2.csv"));
}

TEST_F(BatchCommandTest, SkipsWhatIsFinishedAndDoesTheRest) {
  Simulate(3, 50);
  RunBatch({}, "out");
  const auto files = FilesIn("out");
  fs::remove(m_directory / "out/r2.csv");
  WriteFile(m_directory / "out/r3_HCDFT.mgf", "not to be touched");
  const ProcessResult result = RunBatch({}, "out");
  EXPECT_EQ(result.m_exit_status, 0);
  EXPECT_THAT(result.m_out, HasSubstr("finished before: in/r1.ms1\n"));
  EXPECT_THAT(result.m_out, HasSubstr("1 done, 2 finished before, in "));
  EXPECT_EQ(FilesIn("out").at("r2.csv"), files.at("r2.csv"));
  EXPECT_EQ(FilesIn("out").at("r3_HCDFT.mgf"), "not to be touched");
}

constexpr const char* kEmptyRecord =
    "printf 'count\\tms2_read\\t5\\ncount\\tms2_exported\\t0\\nleft_out\\tanalyser not "
    "known\\t5\\n'";

TEST_F(BatchCommandTest, TakesARunThatExportedNothingForAFailure) {
  WriteInputs(1);
  WriteFile(m_directory / "header", std::string(kPrecursorTableHeader));
  WriteProgram("cp header in/r1.csv; " + std::string(kEmptyRecord) + " >in/r1.tarvek\n");
  const std::vector<std::string> words{"batch", "--tarvek", "./fake", "--", "in", "-F", "ms1"};
  const std::string reason = "none of 5 MS2 scans is exported; 5 left out: analyser not known";
  ProcessResult result = Run(words);
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, HasSubstr("in/r1.ms1: " + reason + " (log: in/batch_logs/r1)"));
  EXPECT_THAT(result.m_out, HasSubstr("1 failed, in "));
  result = Run(words);
  EXPECT_EQ(result.m_exit_status, 1) << "again";
  EXPECT_THAT(result.m_err, HasSubstr("in/r1.ms1: finished before, but " + reason + "\n"));
}

TEST_F(BatchCommandTest, WarnsOfScansThatKeepTheDeclaredPrecursorsNowAndLater) {
  WriteInputs(1);
  WriteFile(m_directory / "header", std::string(kPrecursorTableHeader));
  WriteProgram(
      "cp header in/r1.csv; printf 'count\\tms2_read\\t0\\ncount\\tms2_exported\\t0\\n"
      "count\\tms2_declared\\t3\\n' >in/r1.tarvek\n");
  for (const char* const state : {"1 done, in ", "1 finished before, in "}) {
    const ProcessResult result = Run({"batch", "--tarvek", "./fake", "--", "in", "-F", "ms1"});
    EXPECT_EQ(result.m_exit_status, 0) << result.m_err;
    EXPECT_THAT(result.m_out,
                HasSubstr("warning: dense-surveys: in/r1.ms1: 3 of its MS2 scans keep the declared "
                          "precursors: the surveys have far more peaks around them than those of a "
                          "real run of this size.\n"));
    EXPECT_THAT(result.m_out, HasSubstr(state));
  }
}

TEST_F(BatchCommandTest, GivesTheProcessesTheAnalyserAndTheActivation) {
  WriteInputs(1);
  WriteProgram("echo \"$TARVEK_ANALYSER $TARVEK_ACTIVATION\" >seen; touch in/r1.csv\n");
  EXPECT_EQ(Run({"batch", "--tarvek", "./fake", "--analyser", "ms2=ITMS,ms1=ftms", "--activation",
                 "ETD", "--", "in", "-F", "ms1"})
                .m_exit_status,
            0);
  EXPECT_EQ(ReadFile(m_directory / "seen"), "ms1=FTMS,ms2=ITMS ETD\n");
  EXPECT_GT(Run({"batch", "--analyser", "ms1=ms2=FTMS", "--", "in"}).m_exit_status, 100);
  const ProcessResult wrong = Run({"batch", "--analyser", "quadrupole", "--", "in"});
  EXPECT_GT(wrong.m_exit_status, 100);
  EXPECT_THAT(wrong.m_err, HasSubstr("'quadrupole' is not FTMS or ITMS"));
}

TEST_F(BatchCommandTest, RefusesEqualBaseNamesBeforeAnythingStarts) {
  WriteInputs(1);
  fs::create_directory(m_directory / "more");
  WriteFile(m_directory / "more/r1.ms1", "x");
  WriteProgram("touch started\n");
  const ProcessResult result =
      Run({"batch", "--tarvek", "./fake", "--", "in/r1.ms1", "more/r1.ms1", "-O", "out"});
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_EQ(result.m_err,
            "tarvek-tools: in/r1.ms1 and more/r1.ms1 would both write out/r1.csv; nothing was "
            "started\n");
  EXPECT_FALSE(fs::exists(m_directory / "started"));
  EXPECT_FALSE(fs::exists(m_directory / "out"));
}

TEST_F(BatchCommandTest, PrintsALineForEachFileWhereThereIsNoTerminal) {
  Simulate(2, 50);
  const ProcessResult result = RunBatch({"--jobs", "1"}, "out");
  EXPECT_THAT(result.m_out, HasSubstr("[1/2] done, "));
  EXPECT_THAT(result.m_out, HasSubstr("[2/2] done, "));
  EXPECT_EQ(result.m_err, "");
  EXPECT_THAT(result.m_out, Not(HasSubstr("\r")));
}

TEST_F(BatchCommandTest, DoesNotTakeAStatusOfZeroForATable) {
  WriteInputs(1);
  WriteProgram("exit 0\n");
  const ProcessResult result = Run({"batch", "--tarvek", "./fake", "--", "in", "-F", "ms1"});
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, HasSubstr("ended without in/r1.csv"));
}

TEST_F(BatchCommandTest, SaysThatAProgramCannotBeStarted) {
  WriteInputs(2);
  WriteFile(m_directory / "fake", "no program");
  const ProcessResult result =
      Run({"batch", "--keep-going", "--tarvek", "./fake", "--", "in", "-F", "ms1"});
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_out, HasSubstr("2 failed, in "));
  EXPECT_THAT(result.m_err, HasSubstr("cannot start ./fake"));
}

/// The processes that wrote their numbers into NAME.pid next to the inputs.
std::vector<pid_t> PidsIn(const std::string& folder) {
  std::vector<pid_t> pids;
  for (const auto& entry : fs::directory_iterator(folder))
    if (entry.path().extension() == ".pid")
      pids.push_back(std::stoi(ReadFile(entry.path().string())));
  return pids;
}

void ForgetPids(const std::string& folder) {
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(folder))
    if (entry.path().extension() == ".pid") files.push_back(entry.path());
  for (const fs::path& file : files) fs::remove(file);
}

class BatchStopTest : public BatchCommandTest {
 protected:
  ProcessResult RunAndStop(std::vector<std::string> arguments, std::chrono::milliseconds after,
                           int signal = SIGINT) const {
    ProcessRequest request = Request(std::move(arguments));
    request.m_kill_after = after;
    request.m_kill_signal = signal;
    return test::WithSlashes(test::RunProcess(request));
  }

  void ExpectNoneLives() const {
    const std::vector<pid_t> pids = PidsIn(m_directory / "in");
    EXPECT_EQ(pids.size(), 2u) << "the programs had no time to start";
    for (const pid_t pid : pids) EXPECT_TRUE(::kill(pid, 0) == -1 && errno == ESRCH) << pid;
  }
};

TEST_F(BatchStopTest, EndsTheRunningProcessesAndStartsNoOthers) {
  WriteInputs(4);
  WriteProgram("echo $$ >$2.pid\nsleep 100\n");
  for (const int signal : {SIGINT, SIGTERM}) {
    ForgetPids(m_directory / "in");  // those of the previous pass
    const ProcessResult result = RunAndStop(
        {"batch", "--jobs", "2", "--tarvek", "./fake", "--", "in", "-F", "ms1"}, 1500ms, signal);
    EXPECT_EQ(result.m_exit_status, 130) << result.m_out << result.m_err;
    EXPECT_THAT(result.m_err, HasSubstr("Stopping: the running processes are ended\n"));
    EXPECT_THAT(result.m_err, HasSubstr("The same command goes on"));
    EXPECT_THAT(result.m_out, HasSubstr("2 stopped, 2 not started, in "));
    ExpectNoneLives();
  }
}

TEST_F(BatchStopTest, ForcesProcessesThatDoNotListen) {
  WriteInputs(2);
  WriteProgram("trap '' TERM INT\necho $$ >$2.pid\nsleep 100\n");
  const auto start = std::chrono::steady_clock::now();
  const ProcessResult result =
      RunAndStop({"batch", "--jobs", "2", "--tarvek", "./fake", "--", "in", "-F", "ms1"}, 1500ms);
  EXPECT_EQ(result.m_exit_status, 130);
  EXPECT_LT(std::chrono::steady_clock::now() - start, 60s);
  ExpectNoneLives();
}

TEST_F(BatchStopTest, LeavesNoHalfTableAndGoesOnLater) {
  Simulate(4, 3000);
  EXPECT_EQ(RunBatch({}, "expected").m_exit_status, 0);
  const auto expected = FilesIn("expected");
  test::RunningProcess batch(
      Request({"batch", "--jobs", "2", "--", "-D", "in", "-F", "ms1", "-O", "out"}));
  for (int i = 0; i < 6000 && !fs::exists(m_directory / "out/batch_logs"); ++i)
    std::this_thread::sleep_for(10ms);
  batch.Signal(SIGINT);
  EXPECT_EQ(batch.Wait().m_exit_status, 130);
  for (const auto& [name, content] : FilesIn("out")) {
    const bool is_whole = !name.ends_with(".csv") || content == expected.at(name);
    EXPECT_TRUE(is_whole) << name;
  }
  EXPECT_EQ(RunBatch({}, "out").m_exit_status, 0);
  EXPECT_TRUE(FilesIn("out") == expected);
}

}  // namespace
}  // namespace tarvek::tools
