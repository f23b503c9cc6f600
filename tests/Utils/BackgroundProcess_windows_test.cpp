// Background processes and stop requests on Windows.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <cstdint>
#include <thread>
#include <vector>

#include "BackgroundProcessTest.h"
#include "Platform.h"

namespace tarvek {
namespace {

constexpr int kControlC = static_cast<int>(STATUS_CONTROL_C_EXIT);

bool Runs(long process) {
  HANDLE const handle = ::OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(process));
  if (handle == nullptr) return false;
  const bool runs = ::WaitForSingleObject(handle, 0) == WAIT_TIMEOUT;
  ::CloseHandle(handle);
  return runs;
}

bool EndsSoon(long process) {
  for (int i = 0; i < 2000 && Runs(process); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  return !Runs(process);
}

/// The system starts this routine in a new thread for a console event; null when it is not
/// available.
LPTHREAD_START_ROUTINE EventRoutine() {
  const FARPROC routine = ::GetProcAddress(::GetModuleHandleW(L"kernel32"), "CtrlRoutine");
  return reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<void*>(routine));
}

TEST_F(BackgroundProcessTest, EndsWithANegativeStatus) {
  BackgroundProcess process = Child({"status", "-1"});
  EXPECT_EQ(StatusOf(process), -1);
}

TEST_F(BackgroundProcessTest, EndsWithWhatItStartedWhenAsked) {
  BackgroundProcess process = Child({"parent"});
  const std::vector<long> numbers = WaitForNumbers(2);
  EXPECT_EQ(process.Poll(), std::nullopt);
  process.End(BackgroundProcess::Ending::kAsked);
  // Without a console it cannot be asked.
  EXPECT_THAT(StatusOf(process), testing::AnyOf(kControlC, 1));
  for (const long number : numbers) EXPECT_TRUE(EndsSoon(number));
}

TEST_F(BackgroundProcessTest, EndsWithWhatItStartedWhenForced) {
  BackgroundProcess process = Child({"parent"});
  const std::vector<long> numbers = WaitForNumbers(2);
  process.End(BackgroundProcess::Ending::kForced);
  EXPECT_EQ(StatusOf(process), 1);
  for (const long number : numbers) EXPECT_TRUE(EndsSoon(number));
}

TEST_F(BackgroundProcessTest, IsForcedWhenItDoesNotListen) {
  BackgroundProcess process = Child({"deaf"});
  EXPECT_TRUE(Runs(WaitForNumbers(1).at(0)));
  process.End(BackgroundProcess::Ending::kAsked);
  process.End(BackgroundProcess::Ending::kForced);
  EXPECT_EQ(StatusOf(process), 1);
}

TEST_F(BackgroundProcessTest, DoesNotOutliveItsObject) {
  std::vector<long> numbers;
  {
    const BackgroundProcess process = Child({"parent"});
    numbers = WaitForNumbers(2);
  }
  for (const long number : numbers) EXPECT_TRUE(EndsSoon(number));
}

// The system waits for at most 64 handles, one of them the stop request.
TEST_F(BackgroundProcessTest, WaitingForManyEndsWithTheLastOfThem) {
  std::vector<BackgroundProcess> processes;
  for (int i = 0; i < MAXIMUM_WAIT_OBJECTS; ++i)
    processes.push_back(Child({"wait"}, m_directory / "waiting"));
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
