#include "BatchReport.h"

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
    m_results = {{BatchState::kDone, 1250, ""},
                 {BatchState::kFinishedBefore, 0, ""},
                 {BatchState::kFailed, 90, "no such scan"},
                 {BatchState::kNotStarted, 0, ""}};
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
  m_results[2] = {BatchState::kRunning, 0, ""};
  m_tasks[3].m_size_bytes = 999;
  // 1000 bytes took 30 s, 3000 are left: a size counts one byte more, so that empty files count.
  EXPECT_EQ(BatchProgressLine({m_tasks, m_results, nullptr}, 30'000),
            "[###############...............] 2/4 files, 1 running, 1:30 left");
}

TEST_F(BatchReportTest, TellsNoTimeLeftBeforeAnythingIsDone) {
  m_results[0] = m_results[2] = {BatchState::kRunning, 0, ""};
  EXPECT_EQ(BatchProgressLine({m_tasks, m_results, nullptr}, 30'000),
            "[#######.......................] 1/4 files, 2 running");
}

// 1000 bytes took 500 s, and 6 are left: the failed file is neither.
TEST_F(BatchReportTest, CountsFailuresInTheProgress) {
  EXPECT_EQ(BatchProgressLine({m_tasks, m_results, nullptr}, 500'000),
            "[######################........] 3/4 files, 0 running, 1 failed, 0:03 left");
}

TEST_F(BatchReportTest, TellsNoTimeLeftFromAFileThatFailedAtOnce) {
  m_results[0] = {BatchState::kRunning, 0, ""};
  m_tasks[2].m_size_bytes = 2'000'000'000;
  EXPECT_EQ(BatchProgressLine({m_tasks, m_results, nullptr}, 30'000),
            "[###############...............] 2/4 files, 1 running, 1 failed");
}

TEST_F(BatchReportTest, SumsUpInTheOrderOfTheTasks) {
  EXPECT_EQ(BatchSummary(m_tasks, m_results, 61'000),
            "state             seconds  input\n"
            "done                  1.2  a.ms1\n"
            "finished before            b.ms1\n"
            "failed                0.1  c.ms1: no such scan (log: logs/c.ms1)\n"
            "not started                d.ms1\n"
            "1 done, 1 finished before, 1 failed, 1 not started, in 61.0 s\n");
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

}  // namespace
}  // namespace tarvek::tools
