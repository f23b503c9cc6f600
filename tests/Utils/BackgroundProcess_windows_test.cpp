// Processes in the background and stop requests, as Windows shows them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Platform.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

constexpr int kControlC = static_cast<int>(STATUS_CONTROL_C_EXIT);

bool Runs(DWORD process) {
  HANDLE const handle = ::OpenProcess(SYNCHRONIZE, FALSE, process);
  if (handle == nullptr) return false;
  const bool runs = ::WaitForSingleObject(handle, 0) == WAIT_TIMEOUT;
  ::CloseHandle(handle);
  return runs;
}

bool EndsSoon(DWORD process) {
  for (int i = 0; i < 2000 && Runs(process); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  return !Runs(process);
}

/// The system begins this routine in a thread of its own when it has an event for a console's
/// process; nothing where it is not to be had.
LPTHREAD_START_ROUTINE EventRoutine() {
  const FARPROC routine = ::GetProcAddress(::GetModuleHandleW(L"kernel32"), "CtrlRoutine");
  return reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<void*>(routine));
}

class BackgroundProcessTest : public testing::Test {
 protected:
  /// background_child.exe at this task.
  [[nodiscard]] BackgroundProcess Child(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), ExecutableDirectory() + "\\background_child.exe");
    return BackgroundProcess::Start(arguments, m_output);
  }

  /// The status once the process has ended; -2 when it has not after twenty seconds.
  static int StatusOf(BackgroundProcess& process) {
    const std::int64_t deadline_ms = MonotonicMilliseconds() + 20'000;
    while (MonotonicMilliseconds() < deadline_ms) {
      if (const std::optional<int> status = process.Poll()) return *status;
      BackgroundProcess::WaitForAny({&process, 1}, 1000);
    }
    return -2;
  }

  /// The process numbers that a child printed, once there are so many.
  [[nodiscard]] std::vector<DWORD> WaitForNumbers(std::size_t count) const {
    std::vector<DWORD> numbers;
    for (int i = 0; i < 4000 && numbers.size() < count; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
      std::istringstream text(test::ReadFile(m_output));
      numbers.clear();
      for (std::string line; std::getline(text, line) && !text.eof();)
        numbers.push_back(static_cast<DWORD>(std::stoul(line)));
    }
    EXPECT_EQ(numbers.size(), count) << "the child did not start";
    return numbers;
  }

  test::TemporaryDirectory m_directory;
  std::string m_output = m_directory / "output";
};

TEST_F(BackgroundProcessTest, KeepsBothOutputsInTheFile) {
  test::WriteFile(m_output, "of an earlier process, longer than the new one\n");
  BackgroundProcess process = Child({"outputs"});
  EXPECT_EQ(StatusOf(process), 0);
  EXPECT_EQ(test::ReadFile(m_output), "out\nerr\n");
}

TEST_F(BackgroundProcessTest, GivesArgumentsAsTheyAre) {
  BackgroundProcess process = Child({"arguments", "a b", "%PATH% 100%", "\"'", "", "D:\\",
                                     "D:\\a b\\", "\\\"", "a\\\\b", "& ^ > x", "\xE8\xB3\xAA"});
  EXPECT_EQ(StatusOf(process), 0);
  EXPECT_EQ(test::ReadFile(m_output),
            "a b|%PATH% 100%|\"'||D:\\|D:\\a b\\|\\\"|a\\\\b|& ^ > x|\xE8\xB3\xAA|");
}

TEST_F(BackgroundProcessTest, HasNoStandardInput) {
  BackgroundProcess process = Child({"input"});
  EXPECT_EQ(StatusOf(process), 0);
}

TEST_F(BackgroundProcessTest, TellsTheEndOnce) {
  BackgroundProcess process = Child({"status", "3"});
  EXPECT_TRUE(process.IsRunning());
  EXPECT_EQ(StatusOf(process), 3);
  EXPECT_FALSE(process.IsRunning());
  EXPECT_EQ(process.Poll(), std::nullopt);
}

TEST_F(BackgroundProcessTest, EndsWithANegativeStatus) {
  BackgroundProcess process = Child({"status", "-1"});
  EXPECT_EQ(StatusOf(process), -1);
}

TEST_F(BackgroundProcessTest, IsNotRunningWithoutAProgram) {
  EXPECT_FALSE(BackgroundProcess().IsRunning());
  BackgroundProcess none = BackgroundProcess::Start({m_directory / "none.exe"}, m_output);
  EXPECT_FALSE(none.IsRunning());
  none.End(BackgroundProcess::Ending::kForced);  // harmless
}

TEST_F(BackgroundProcessTest, IsNotRunningWithoutItsOutput) {
  const BackgroundProcess none = BackgroundProcess::Start(
      {ExecutableDirectory() + "\\background_child.exe", "outputs"}, m_directory / "none\\output");
  EXPECT_FALSE(none.IsRunning());
}

TEST_F(BackgroundProcessTest, RunsAProgramOfAPathWithABlank) {
  const std::string program = m_directory / "a b.exe";
  std::filesystem::copy_file(ExecutableDirectory() + "\\background_child.exe", program);
  BackgroundProcess process = BackgroundProcess::Start({program, "status", "5"}, m_output);
  EXPECT_EQ(StatusOf(process), 5);
}

TEST_F(BackgroundProcessTest, EndsWithWhatItStartedWhenAsked) {
  BackgroundProcess process = Child({"parent"});
  const std::vector<DWORD> numbers = WaitForNumbers(2);
  EXPECT_EQ(process.Poll(), std::nullopt);
  process.End(BackgroundProcess::Ending::kAsked);
  // Without a console it cannot be asked.
  EXPECT_THAT(StatusOf(process), testing::AnyOf(kControlC, 1));
  for (const DWORD number : numbers) EXPECT_TRUE(EndsSoon(number));
}

TEST_F(BackgroundProcessTest, EndsWithWhatItStartedWhenForced) {
  BackgroundProcess process = Child({"parent"});
  const std::vector<DWORD> numbers = WaitForNumbers(2);
  process.End(BackgroundProcess::Ending::kForced);
  EXPECT_EQ(StatusOf(process), 1);
  for (const DWORD number : numbers) EXPECT_TRUE(EndsSoon(number));
}

TEST_F(BackgroundProcessTest, IsForcedWhenItDoesNotListen) {
  BackgroundProcess process = Child({"deaf"});
  EXPECT_TRUE(Runs(WaitForNumbers(1).at(0)));
  process.End(BackgroundProcess::Ending::kAsked);
  process.End(BackgroundProcess::Ending::kForced);
  EXPECT_EQ(StatusOf(process), 1);
}

TEST_F(BackgroundProcessTest, DoesNotOutliveItsObject) {
  std::vector<DWORD> numbers;
  {
    const BackgroundProcess process = Child({"parent"});
    numbers = WaitForNumbers(2);
  }
  for (const DWORD number : numbers) EXPECT_TRUE(EndsSoon(number));
}

TEST_F(BackgroundProcessTest, StaysWhenMoved) {
  BackgroundProcess process = Child({"status", "4"});
  BackgroundProcess moved = std::move(process);
  EXPECT_EQ(StatusOf(moved), 4);
}

TEST_F(BackgroundProcessTest, WaitingEndsWithTheProcessOrTheTime) {
  const BackgroundProcess process = Child({"wait"});
  const std::int64_t start_ms = MonotonicMilliseconds();
  BackgroundProcess::WaitForAny({&process, 1}, 50);
  EXPECT_GE(MonotonicMilliseconds() - start_ms, 45);
  const BackgroundProcess quick =
      BackgroundProcess::Start({ExecutableDirectory() + "\\background_child.exe", "status", "0"},
                               m_directory / "output of the quick one");
  BackgroundProcess::WaitForAny({&quick, 1}, 60'000);
  EXPECT_LT(MonotonicMilliseconds() - start_ms, 30'000);
}

// The system waits for 64 at once, of which one is the stop request.
TEST_F(BackgroundProcessTest, WaitingForManyEndsWithTheLastOfThem) {
  std::vector<BackgroundProcess> processes;
  for (int i = 0; i < MAXIMUM_WAIT_OBJECTS; ++i)
    processes.push_back(BackgroundProcess::Start(
        {ExecutableDirectory() + "\\background_child.exe", "wait"}, m_directory / "waiting"));
  processes.push_back(Child({"status", "0"}));
  const std::int64_t start_ms = MonotonicMilliseconds();
  while (!processes.back().Poll()) BackgroundProcess::WaitForAny(processes, 60'000);
  EXPECT_LT(MonotonicMilliseconds() - start_ms, 50'000);
}

TEST(NoteStopRequests, TurnsCtrlCIntoANoteAndEndsTheWait) {
  const LPTHREAD_START_ROUTINE routine = EventRoutine();
  if (routine == nullptr)
    GTEST_SKIP() << "this system shows no routine for the events of a console";
  NoteStopRequests();
  EXPECT_FALSE(StopRequested());
  const std::int64_t start_ms = MonotonicMilliseconds();
  HANDLE const thread = ::CreateThread(
      nullptr, 0, routine, reinterpret_cast<void*>(std::uintptr_t{CTRL_C_EVENT}), 0, nullptr);
  BackgroundProcess::WaitForAny({}, 20'000);
  EXPECT_TRUE(StopRequested());
  EXPECT_LT(MonotonicMilliseconds() - start_ms, 15'000);
  ::WaitForSingleObject(thread, INFINITE);
  ::CloseHandle(thread);
  const std::int64_t later_ms = MonotonicMilliseconds();
  BackgroundProcess::WaitForAny({}, 50);  // a request interrupts one wait
  EXPECT_GE(MonotonicMilliseconds() - later_ms, 45);
}

}  // namespace
}  // namespace tarvek
