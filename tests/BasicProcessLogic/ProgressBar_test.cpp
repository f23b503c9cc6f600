#include "ProgressBar.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "Logger.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;

TEST(ProgressLine, ShowsShareRateAndTimeLeft) {
  // A quarter after 10 s: 2000 scans are 200 a second, and three quarters take another 30 s.
  EXPECT_EQ(ProgressLine(0.25, 2000, 10000),
            "[#######.......................] 25 %, 200 scans/s, 0:30 left");
}

TEST(ProgressLine, ShowsMinutesAndSeconds) {
  EXPECT_EQ(ProgressLine(0.5, 100, 125000),
            "[###############...............] 50 %, 0 scans/s, 2:05 left");
}

TEST(ProgressLine, SaysNothingOfTheTimeLeftBeforeItCanBeTold) {
  EXPECT_EQ(ProgressLine(0.001, 16, 100), "[..............................] 0 %, 160 scans/s");
}

TEST(ProgressLine, StaysInsideItsBarForASharePastTheEnd) {
  EXPECT_EQ(ProgressLine(1.5, 10, 1000),
            "[##############################] 100 %, 10 scans/s, 0:00 left");
}

TEST(ProgressBar, WritesNothingWhenItIsNotEnabled) {
  const auto console = CaptureConsole([] {
    ProgressBar bar(false);
    std::this_thread::sleep_for(std::chrono::milliseconds(120));
    bar.Update(0.5, 16);
  });
  EXPECT_EQ(console.m_err, "");
}

TEST(ProgressBar, TakesItsLineAwayAtTheEnd) {
  const auto console = CaptureConsole([] {
    ProgressBar bar(true);
    std::this_thread::sleep_for(std::chrono::milliseconds(120));
    bar.Update(0.5, 16);
  });
  ASSERT_NE(console.m_err.find("50 %"), std::string::npos);
  // The line, then blanks over it, then the cursor at its start again.
  EXPECT_TRUE(console.m_err.starts_with("\r["));
  EXPECT_TRUE(console.m_err.ends_with(" \r"));
}

TEST(Logger, ClearsTheStatusLineBeforeAMessage) {
  const auto console = CaptureConsole([] {
    Logger logger;
    logger.ShowStatus("abc");
    logger.Message(kWarn, "text");
  });
  EXPECT_EQ(console.m_err, "\rabc\r   \r[Tarvek] <WARN> - text\n");
}

TEST(Logger, OverwritesALongerStatusLineWithBlanks) {
  const auto console = CaptureConsole([] {
    Logger logger;
    logger.ShowStatus("abcdef");
    logger.ShowStatus("gh");
  });
  EXPECT_EQ(console.m_err, "\rabcdef\rgh    ");
}

}  // namespace
}  // namespace tarvek
