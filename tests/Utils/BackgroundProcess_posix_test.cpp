// Background processes and stop requests on a POSIX system.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "BackgroundProcessTest.h"
#include "Platform.h"

namespace tarvek {
namespace {

/// A process that has ended is not running, even if nobody has waited for it.
bool Runs(long process) {
  std::ifstream status("/proc/" + std::to_string(process) + "/stat");
  std::string number;
  std::string name;
  std::string state;
  return status >> number >> name >> state && state != "Z" && state != "X";
}

bool EndsSoon(long process) {
  for (int i = 0; i < 2000 && Runs(process); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  return !Runs(process);
}

BackgroundProcess Shell(const std::string& script, const std::string& output) {
  return BackgroundProcess::Start({"/bin/sh", "-c", script}, output);
}

TEST_F(BackgroundProcessTest, EndsWithWhatItStartedWhenAsked) {
  BackgroundProcess process = Child({"parent"});
  const std::vector<long> numbers = WaitForNumbers(2);
  EXPECT_EQ(process.Poll(), std::nullopt);
  process.End(BackgroundProcess::Ending::kAsked);
  EXPECT_EQ(StatusOf(process), 128 + SIGTERM);
  for (const long number : numbers) EXPECT_TRUE(EndsSoon(number));
}

TEST_F(BackgroundProcessTest, LeavesNothingBehindWhenItCrashes) {
  BackgroundProcess process = Shell("sleep 100 & echo $!; kill -KILL $$", m_output);
  EXPECT_EQ(StatusOf(process), 128 + SIGKILL);
  EXPECT_TRUE(EndsSoon(std::stol(test::ReadFile(m_output))));
}

TEST_F(BackgroundProcessTest, LetsWhatItLeavesBehindEndInOrder) {
  BackgroundProcess process = Shell(
      "(trap 'echo removed; exit' TERM; echo ready; while :; do sleep 0.01; done) & "
      "until [ -s '" +
          m_output + "' ]; do sleep 0.01; done; kill -KILL $$",
      m_output);
  EXPECT_EQ(StatusOf(process), 128 + SIGKILL);
  for (int i = 0; i < 1000 && !test::ReadFile(m_output).ends_with("removed\n"); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_TRUE(test::ReadFile(m_output).ends_with("removed\n"));
}

TEST_F(BackgroundProcessTest, EndsWithWhatItStartedWhenForced) {
  BackgroundProcess process = Child({"parent"});
  const std::vector<long> numbers = WaitForNumbers(2);
  process.End(BackgroundProcess::Ending::kForced);
  EXPECT_EQ(StatusOf(process), 128 + SIGKILL);
  for (const long number : numbers) EXPECT_TRUE(EndsSoon(number));
}

TEST_F(BackgroundProcessTest, IsForcedWhenItDoesNotListen) {
  BackgroundProcess process = Child({"deaf"});
  EXPECT_TRUE(Runs(WaitForNumbers(1).at(0)));
  process.End(BackgroundProcess::Ending::kAsked);
  process.End(BackgroundProcess::Ending::kForced);
  EXPECT_EQ(StatusOf(process), 128 + SIGKILL);
}

TEST_F(BackgroundProcessTest, DoesNotOutliveItsObject) {
  std::vector<long> numbers;
  {
    const BackgroundProcess process = Child({"parent"});
    numbers = WaitForNumbers(2);
    ASSERT_EQ(numbers.size(), 2u);
  }
  EXPECT_FALSE(Runs(numbers.back()));  // the child itself, which was waited for
  for (const long number : numbers) EXPECT_TRUE(EndsSoon(number));
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
