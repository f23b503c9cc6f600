#include "ProcessRunner.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <string>

#include "TestSupport.h"

namespace tarvek::test {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

class ProcessRunner : public testing::Test {
 protected:
  [[nodiscard]] ProcessRequest Shell(const std::string& script) const {
    ProcessRequest request;
    request.m_program = "/bin/sh";
    request.m_arguments = {"-c", script};
    request.m_working_directory = m_directory.Path();
    return request;
  }
  /// Starts a process that outlives the shell and holds its outputs.
  static constexpr const char* kHolder = "sleep 100 & echo $! >holder; ";
  void EndHolder() const { ::kill(std::stoi(ReadFile(m_directory / "holder")), SIGKILL); }

  TemporaryDirectory m_directory;
  Clock::time_point m_start = Clock::now();
};

TEST_F(ProcessRunner, ThrowsWhenAProcessDoesNotEndInTime) {
  ProcessRequest request = Shell("exec sleep 100");
  request.m_time_limit = 100ms;
  EXPECT_THROW(RunProcess(request), std::runtime_error);
  EXPECT_LT(Clock::now() - m_start, 50s);
}
TEST_F(ProcessRunner, ThrowsAlsoWhenAnotherProcessHoldsItsOutputs) {
  ProcessRequest request = Shell(std::string(kHolder) + "wait");
  request.m_time_limit = 2s;
  EXPECT_THROW(RunProcess(request), std::runtime_error);
  EXPECT_LT(Clock::now() - m_start, 50s);
  EndHolder();
}
TEST_F(ProcessRunner, KillsAtTheMomentAskedForWhoeverHoldsTheOutputs) {
  ProcessRequest request = Shell(std::string(kHolder) + "echo out; wait");
  request.m_kill_after = 2s;
  const ProcessResult result = RunProcess(request);
  EXPECT_EQ(result.m_signal, SIGKILL);
  EXPECT_EQ(result.m_out, "out\n");
  EXPECT_LT(Clock::now() - m_start, 50s);
  EndHolder();
}
TEST_F(ProcessRunner, KillsAtTheTimeLimitWhatDoesNotListenToASignal) {
  ProcessRequest request = Shell("trap '' TERM; while true; do sleep 0.1; done");
  request.m_kill_after = 100ms;
  request.m_kill_signal = SIGTERM;
  request.m_time_limit = 2s;
  EXPECT_THROW(RunProcess(request), std::runtime_error);
}
TEST_F(ProcessRunner, TellsOfASignalThatItDidNotSend) {
  EXPECT_EQ(RunProcess(Shell("kill -KILL $$")).m_signal, SIGKILL);
}
TEST_F(ProcessRunner, StopsAProcessUntilItIsContinued) {
  RunningProcess process(Shell("while [ ! -e leave ]; do sleep 0.01; done"));
  EXPECT_TRUE(process.Stop());
  WriteFile(m_directory / "leave", "");
  process.Signal(SIGCONT);
  EXPECT_EQ(process.Wait().m_exit_status, 0);
}
TEST_F(ProcessRunner, StopsNoProcessThatHasEnded) {
  RunningProcess process(Shell("exec sleep 100"));
  process.Signal(SIGKILL);
  EXPECT_FALSE(process.Stop());
  EXPECT_EQ(process.Kill().m_signal, SIGKILL);
}

}  // namespace
}  // namespace tarvek::test
