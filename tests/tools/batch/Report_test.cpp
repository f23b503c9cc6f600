#include "batch/Report.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestSupport.h"

namespace tarvek::tools {
namespace {

using test::TemporaryDirectory;
using test::WriteFile;

BatchTask TaskOfSize(const std::string& input, std::int64_t size_bytes) {
  BatchTask task;
  task.m_input = input;
  task.m_log_directory = "logs/" + input;
  task.m_size_bytes = size_bytes;
  return task;
}

class BatchReportTest : public testing::Test {
 protected:
  BatchReportTest() {
    m_tasks = {TaskOfSize("a.ms1", 999), TaskOfSize("b.ms1", 0), TaskOfSize("c.ms1", 1999),
               TaskOfSize("d.ms1", 5)};
    m_tasks[1].m_is_finished = true;
    m_results.resize(4);
    m_results[0] = Ended(BatchState::kDone, 1250);
    m_results[0].m_record.m_counts = {
        {"ms2_read", 321}, {"ms2_exported", 318}, {"precursors", 701}};
    m_results[1].m_state = BatchState::kFinishedBefore;
    m_results[2] = Ended(BatchState::kFailed, 90);
    m_results[2].m_reason = "no such scan";
  }

  static BatchResult Ended(BatchState state, std::int64_t milliseconds) {
    BatchResult result;
    result.m_state = state;
    result.m_milliseconds = milliseconds;
    result.m_has_started = true;
    return result;
  }

  std::vector<BatchTask> m_tasks;
  std::vector<BatchResult> m_results;
};

TEST_F(BatchReportTest, NamesTheTaskThatEnded) {
  EXPECT_EQ(BatchLine({m_tasks, m_results, m_tasks.data()}), "[3/4] done, 1.2 s: a.ms1");
  EXPECT_EQ(BatchLine({m_tasks, m_results, &m_tasks[1]}), "[3/4] finished before: b.ms1");
  EXPECT_EQ(BatchLine({m_tasks, m_results, &m_tasks[2]}),
            "[3/4] failed, 0.1 s: c.ms1: no such scan (log: logs/c.ms1)");
}

TEST_F(BatchReportTest, TellsTheTimeLeftFromTheSizesOfWhatIsDone) {
  m_results[2] = Ended(BatchState::kRunning, 0);
  m_tasks[3].m_size_bytes = 999;
  // 1000 bytes took 30 s, 3000 are left; each size counts one byte more, so that empty files count.
  EXPECT_EQ(BatchProgressLine({m_tasks, m_results, nullptr}, 30'000),
            "[###############...............] 2/4 files, 1 running, 1:30 left");
}

TEST_F(BatchReportTest, TellsNoTimeLeftBeforeAnythingIsDone) {
  m_results[0] = m_results[2] = Ended(BatchState::kRunning, 0);
  EXPECT_EQ(BatchProgressLine({m_tasks, m_results, nullptr}, 30'000),
            "[#######.......................] 1/4 files, 2 running");
}

// 1000 bytes took 500 s, and 6 are left: the failed file does not count.
TEST_F(BatchReportTest, CountsFailuresInTheProgress) {
  EXPECT_EQ(BatchProgressLine({m_tasks, m_results, nullptr}, 500'000),
            "[######################........] 3/4 files, 0 running, 1 failed, 0:03 left");
}

TEST_F(BatchReportTest, TellsNoTimeLeftFromAFileThatFailedAtOnce) {
  m_results[0] = Ended(BatchState::kRunning, 0);
  m_tasks[2].m_size_bytes = 2'000'000'000;
  EXPECT_EQ(BatchProgressLine({m_tasks, m_results, nullptr}, 30'000),
            "[###############...............] 2/4 files, 1 running, 1 failed");
}

TEST_F(BatchReportTest, SumsUpInTheOrderOfTheTasks) {
  EXPECT_EQ(BatchSummary(m_tasks, m_results, 61'000),
            "state            MS2 scans  exported  precursors  seconds  input\n"
            "done                   321       318         701      1.2  a.ms1\n"
            "finished before                                            b.ms1\n"
            "failed                                                0.1  c.ms1: no such scan (log: "
            "logs/c.ms1)\n"
            "not started                                                d.ms1\n"
            "all                    321       318         701     61.0\n"
            "1 done, 1 finished before, 1 failed, 1 not started, in 61.0 s\n");
}

TEST_F(BatchReportTest, SaysThatAFinishedInputHadOtherSettings) {
  m_tasks[1].m_other_settings = "isolation_width 2.000000, now 3.000000";
  EXPECT_EQ(BatchLine({m_tasks, m_results, &m_tasks[1]}),
            "[3/4] finished before: b.ms1: with other settings: isolation_width 2.000000, now "
            "3.000000");
  EXPECT_NE(BatchSummary(m_tasks, m_results, 0).find("b.ms1: with other settings: isolation"),
            std::string::npos);
}

TEST_F(BatchReportTest, NamesNoLogOfWhatWasNotStarted) {
  m_results[2].m_has_started = false;
  EXPECT_EQ(BatchLine({m_tasks, m_results, &m_tasks[2]}), "[3/4] failed: c.ms1: no such scan");
}

TEST_F(BatchReportTest, GroupsTheWarningsOfTheChecks) {
  m_results[0].m_warnings = {{"width", "It is 4."}, {"width", "Again."}, {"dots", "It has dots."}};
  m_results[2].m_warnings = {{"width", "It is 3."}};
  EXPECT_EQ(BatchLine({m_tasks, m_results, m_tasks.data()}),
            "[3/4] done, 1.2 s: a.ms1; check: width, dots");
  const std::string summary = BatchSummary(m_tasks, m_results, 0);
  EXPECT_EQ(summary.substr(0, summary.find("state")),
            "warning: dots: a.ms1: It has dots.\n"
            "warning: width: a.ms1 and 1 more: It is 4.\n");
}

TEST(FailureReason, IsTheLastErrorElseTheLastLineElseTheStatus) {
  const TemporaryDirectory directory;
  const std::string console = directory / "console.txt";
  WriteFile(console, "[Tarvek] <ERROR> - first\n[Tarvek] <ERROR> - second\n[Tarvek] <EXIT> - x\n");
  EXPECT_EQ(FailureReason(console, 255), "second");
  WriteFile(console, "starts\nAborted\n\n");
  EXPECT_EQ(FailureReason(console, 134), "ended with status 134: Aborted");
  EXPECT_EQ(FailureReason(directory / "none", 137), "ended with status 137");
}

TEST(FailureReason, IsNoRubbish) {
  const TemporaryDirectory directory;
  const std::string console = directory / "console.txt";
  for (const std::string line : {"\x1b[2J", "a\xFF", "a\rb", "PF\x01\x02"}) {
    WriteFile(console, "starts\n" + line + "\n");
    EXPECT_EQ(FailureReason(console, 1), "ended with status 1") << line;
  }
  WriteFile(console, "starts\n" + std::string(301, 'x') + "\n");
  EXPECT_EQ(FailureReason(console, 1), "ended with status 1");
  WriteFile(console, "starts\n" + std::string(5000, 'x') + "end\n");
  EXPECT_EQ(FailureReason(console, 1), "ended with status 1");
}

TEST(FailureReason, IsNoErrorInTheMiddleOfALine) {
  const TemporaryDirectory directory;
  const std::string console = directory / "console.txt";
  WriteFile(console, "[Tarvek] <ERROR> - true\n" + std::string(1023, 'x') +
                         "[Tarvek] <ERROR> - forged\nx [Tarvek] <ERROR> - forged\n");
  EXPECT_EQ(FailureReason(console, 1), "true");
  WriteFile(console, "[Tarvek] <ERROR> - a\x1b\xFF\n");
  EXPECT_EQ(FailureReason(console, 1), "a\\x1b\\xff");
}

}  // namespace
}  // namespace tarvek::tools
