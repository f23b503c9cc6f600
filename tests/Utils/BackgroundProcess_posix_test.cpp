// Processes in the background and stop requests, as a POSIX system shows them.
#include <gtest/gtest.h>
#include <sys/types.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>

#include "Platform.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

/// A process that ended and that nobody has waited for does not run any more.
bool Runs(pid_t process) {
  std::ifstream status("/proc/" + std::to_string(process) + "/stat");
  std::string number;
  std::string name;
  std::string state;
  return status >> number >> name >> state && state != "Z" && state != "X";
}

bool EndsSoon(pid_t process) {
  for (int i = 0; i < 1000 && Runs(process); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  return !Runs(process);
}

class BackgroundProcessTest : public testing::Test {
 protected:
  [[nodiscard]] BackgroundProcess Shell(const std::string& script) const {
    return BackgroundProcess::Start({"/bin/sh", "-c", script}, m_output);
  }

  /// The status once the process has ended; -2 when it has not after ten seconds.
  static int StatusOf(BackgroundProcess& process) {
    const std::int64_t deadline_ms = MonotonicMilliseconds() + 10'000;
    while (MonotonicMilliseconds() < deadline_ms) {
      if (const std::optional<int> status = process.Poll()) return *status;
      BackgroundProcess::WaitForAny({&process, 1}, 1000);
    }
    return -2;
  }

  void WaitForOutput() const {
    while (!std::filesystem::exists(m_output) || std::filesystem::is_empty(m_output))
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }

  test::TemporaryDirectory m_directory;
  std::string m_output = m_directory / "output";
};

TEST_F(BackgroundProcessTest, KeepsBothOutputsInTheFile) {
  test::WriteFile(m_output, "of an earlier process, longer than the new one\n");
  BackgroundProcess process = Shell("echo out; echo err >&2");
  EXPECT_EQ(StatusOf(process), 0);
  EXPECT_EQ(test::ReadFile(m_output), "out\nerr\n");
}

TEST_F(BackgroundProcessTest, GivesArgumentsAsTheyAre) {
  BackgroundProcess process = BackgroundProcess::Start(
      {"/bin/sh", "-c", "printf '%s|' \"$@\"", "x", "a b", "$HOME", "\"'", ""}, m_output);
  EXPECT_EQ(StatusOf(process), 0);
  EXPECT_EQ(test::ReadFile(m_output), "a b|$HOME|\"'||");
}

TEST_F(BackgroundProcessTest, HasNoStandardInput) {
  BackgroundProcess process = Shell("cat");
  EXPECT_EQ(StatusOf(process), 0);
}

TEST_F(BackgroundProcessTest, TellsTheEndOnce) {
  BackgroundProcess process = Shell("exit 3");
  EXPECT_TRUE(process.IsRunning());
  EXPECT_EQ(StatusOf(process), 3);
  EXPECT_FALSE(process.IsRunning());
  EXPECT_EQ(process.Poll(), std::nullopt);
}

TEST_F(BackgroundProcessTest, IsNotRunningWithoutAProgram) {
  EXPECT_FALSE(BackgroundProcess().IsRunning());
  BackgroundProcess none = BackgroundProcess::Start({m_directory / "none"}, m_output);
  EXPECT_FALSE(none.IsRunning());
  none.End(BackgroundProcess::Ending::kForced);  // harmless
}

TEST_F(BackgroundProcessTest, EndsWithWhatItStartedWhenAsked) {
  BackgroundProcess process = Shell("sleep 100 & echo $!; wait");
  WaitForOutput();
  EXPECT_EQ(process.Poll(), std::nullopt);
  process.End(BackgroundProcess::Ending::kAsked);
  EXPECT_EQ(StatusOf(process), 128 + SIGTERM);
  EXPECT_TRUE(EndsSoon(std::stoi(test::ReadFile(m_output))));
}

TEST_F(BackgroundProcessTest, LeavesNothingBehindWhenItCrashes) {
  BackgroundProcess process = Shell("sleep 100 & echo $!; kill -KILL $$");
  EXPECT_EQ(StatusOf(process), 128 + SIGKILL);
  EXPECT_TRUE(EndsSoon(std::stoi(test::ReadFile(m_output))));
}

TEST_F(BackgroundProcessTest, LetsWhatItLeavesBehindEndInOrder) {
  BackgroundProcess process = Shell(
      "(trap 'echo removed; exit' TERM; echo ready; while :; do sleep 0.01; done) & "
      "until [ -s '" +
      m_output + "' ]; do sleep 0.01; done; kill -KILL $$");
  EXPECT_EQ(StatusOf(process), 128 + SIGKILL);
  for (int i = 0; i < 1000 && !test::ReadFile(m_output).ends_with("removed\n"); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_TRUE(test::ReadFile(m_output).ends_with("removed\n"));
}

TEST_F(BackgroundProcessTest, EndsWhenForced) {
  BackgroundProcess process = Shell("trap '' TERM; echo ready; sleep 100");
  WaitForOutput();
  process.End(BackgroundProcess::Ending::kAsked);
  process.End(BackgroundProcess::Ending::kForced);
  EXPECT_EQ(StatusOf(process), 128 + SIGKILL);
}

TEST_F(BackgroundProcessTest, DoesNotOutliveItsObject) {
  pid_t leader = 0;
  {
    const BackgroundProcess process = Shell("echo $$; sleep 100");
    WaitForOutput();
    leader = std::stoi(test::ReadFile(m_output));
  }
  EXPECT_FALSE(Runs(leader));
}

TEST_F(BackgroundProcessTest, WaitingEndsWithTheProcessOrTheTime) {
  BackgroundProcess process = Shell("sleep 100");
  const std::int64_t start_ms = MonotonicMilliseconds();
  BackgroundProcess::WaitForAny({&process, 1}, 50);
  EXPECT_GE(MonotonicMilliseconds() - start_ms, 45);
  BackgroundProcess quick = Shell("exit 0");
  BackgroundProcess::WaitForAny({&quick, 1}, 60'000);
  EXPECT_LT(MonotonicMilliseconds() - start_ms, 30'000);
}

TEST(NoteStopRequests, TurnsCtrlCIntoANoteUnlessItIsIgnored) {
  const auto former_interrupt = std::signal(SIGINT, SIG_DFL);
  const auto former_end = std::signal(SIGTERM, SIG_IGN);
  const auto former_hangup = std::signal(SIGHUP, SIG_DFL);
  NoteStopRequests();
  EXPECT_EQ(std::raise(SIGTERM), 0);
  EXPECT_FALSE(StopRequested());
  EXPECT_EQ(std::raise(SIGINT), 0);  // would end this process otherwise
  EXPECT_TRUE(StopRequested());
  std::signal(SIGINT, former_interrupt);
  std::signal(SIGTERM, former_end);
  std::signal(SIGHUP, former_hangup);
}

}  // namespace
}  // namespace tarvek
