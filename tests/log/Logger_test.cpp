#include "Logger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <string>

#include "Platform.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;
using test::ConsoleText;
using test::ReadFile;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;

class LoggerTest : public testing::Test {
 protected:
  [[nodiscard]] std::string LogPath() const { return m_directory / kLogFileName; }
  /// The log without its first line, the time stamp.
  [[nodiscard]] std::string LogAfterTheStamp() const {
    const std::string content = ReadFile(LogPath());
    return content.substr(content.find('\n') + 1);
  }
  [[nodiscard]] std::string Announcement() const {
    return "[Tarvek] <INFO> - Tarvek writes logs in " + LogPath() + "\n";
  }
  test::TemporaryDirectory m_directory;
  Logger m_logger;
};

TEST(LinePrefix, IsWhatALineOfTheLevelBeginsWith) {
  EXPECT_EQ(LinePrefix(kError), "[Tarvek] <ERROR> - ");
  EXPECT_EQ(LinePrefix("x"), "[Tarvek] <x> - ");
}
TEST_F(LoggerTest, ShowsInfoOnStandardOutput) {
  const ConsoleText text = CaptureConsole([&] { m_logger.Message(kInfo, "Start to process a"); });
  EXPECT_EQ(text.m_out, "[Tarvek] <INFO> - Start to process a\n");
  EXPECT_EQ(text.m_err, "");
}
TEST_F(LoggerTest, ShowsWarningsOnStandardError) {
  const ConsoleText text = CaptureConsole([&] { m_logger.Message(kWarn, "w"); });
  EXPECT_EQ(text.m_out, "");
  EXPECT_EQ(text.m_err, "[Tarvek] <WARN> - w\n");
}
TEST_F(LoggerTest, ShowsErrorsOnStandardError) {
  const ConsoleText text = CaptureConsole([&] { m_logger.Message(kError, "e"); });
  EXPECT_EQ(text.m_out, "");
  EXPECT_EQ(text.m_err, "[Tarvek] <ERROR> - e\n");
}
TEST_F(LoggerTest, ShowsTheExitMessageOnStandardOutput) {
  const ConsoleText text = CaptureConsole([&] { m_logger.Message(kExit, "x"); });
  EXPECT_EQ(text.m_out, "[Tarvek] <EXIT> - x\n");
  EXPECT_EQ(text.m_err, "");
}
TEST_F(LoggerTest, TakesALevelInOtherCaseAsAnotherLevel) {
  const ConsoleText text = CaptureConsole([&] { m_logger.Message("warn", "w"); });
  EXPECT_EQ(text.m_out, "[Tarvek] <warn> - w\n");
}
TEST_F(LoggerTest, ShowsALineOfAChildProcessUnchanged) {
  const ConsoleText text = CaptureConsole([&] { m_logger.Message(kSubprocess, "  50%\r"); });
  EXPECT_EQ(text.m_out, "  50%\r");
  EXPECT_EQ(text.m_err, "");
}
TEST_F(LoggerTest, StoresALineOfAChildProcessUnchanged) {
  CaptureConsole([&] {
    m_logger.SetLogDirectory(m_directory.Path());
    m_logger.Message(kSubprocess, "[x] 1\n");
  });
  EXPECT_EQ(LogAfterTheStamp(), Announcement() + "[x] 1\n");
}

TEST_F(LoggerTest, WritesNoFileBeforeItKnowsItsDirectory) {
  const std::filesystem::path former = std::filesystem::current_path();
  std::filesystem::current_path(m_directory.Path());
  CaptureConsole([&] { m_logger.Message(kError, "early"); });
  std::filesystem::current_path(former);
  EXPECT_FALSE(std::filesystem::exists(LogPath()));
}
TEST_F(LoggerTest, BeginsTheFileWithTheTimeStamp) {
  CaptureConsole([&] { m_logger.SetLogDirectory(m_directory.Path()); });
  const std::string content = ReadFile(LogPath());
  EXPECT_THAT(content.substr(0, content.find('\n')),
              MatchesRegex("[A-Z][a-z][a-z] [A-Z][a-z][a-z] [ 1-3][0-9] [0-2][0-9]:[0-5][0-9]:"
                           "[0-6][0-9] [0-9][0-9][0-9][0-9]"));
}
TEST_F(LoggerTest, KeepsEarlyTextAndWritesItInOrder) {
  CaptureConsole([&] {
    m_logger.Append("tarvek -D x \n");
    m_logger.Message(kWarn, "early");
    m_logger.SetLogDirectory(m_directory.Path());
  });
  EXPECT_EQ(LogAfterTheStamp(), "tarvek -D x \n[Tarvek] <WARN> - early\n" + Announcement());
}
TEST_F(LoggerTest, AnnouncesTheLogFileOnTheConsole) {
  const ConsoleText text = CaptureConsole([&] { m_logger.SetLogDirectory(m_directory.Path()); });
  EXPECT_EQ(text.m_out, Announcement());
}
TEST_F(LoggerTest, WritesEachMessageAtOnce) {
  CaptureConsole([&] {
    m_logger.SetLogDirectory(m_directory.Path());
    m_logger.Message(kInfo, "now");
  });
  EXPECT_THAT(ReadFile(LogPath()), EndsWith("[Tarvek] <INFO> - now\n"));
}
TEST_F(LoggerTest, AppendsTextToTheFileAlone) {
  CaptureConsole([&] { m_logger.SetLogDirectory(m_directory.Path()); });
  const ConsoleText text = CaptureConsole([&] { m_logger.Append("quiet"); });
  EXPECT_EQ(text.m_out + text.m_err, "");
  EXPECT_EQ(LogAfterTheStamp(), Announcement() + "quiet");
}
TEST_F(LoggerTest, AppendsToTheFileOfAnEarlierRun) {
  CaptureConsole([&] { m_logger.SetLogDirectory(m_directory.Path()); });
  const std::string first = ReadFile(LogPath());
  CaptureConsole([&] { Logger().SetLogDirectory(m_directory.Path()); });
  const std::string both = ReadFile(LogPath());
  EXPECT_EQ(both.substr(0, first.size()), first);
  EXPECT_THAT(both.substr(first.size()),
              EndsWith(" " + std::to_string(CurrentLocalTime().m_year) + "\n" + Announcement()));
}
TEST_F(LoggerTest, GoesOnInANewDirectory) {
  const test::TemporaryDirectory other;
  CaptureConsole([&] {
    m_logger.SetLogDirectory(other.Path());
    m_logger.SetLogDirectory(m_directory.Path());
  });
  EXPECT_EQ(ReadFile(LogPath()), Announcement());
}
TEST_F(LoggerTest, NamesALogFileItCannotOpen) {
  const std::string directory = m_directory / "missing";
  EXPECT_EQ(test::MessageOf([&] { m_logger.SetLogDirectory(directory); }),
            "Cannot open Log Dump File, Path: " + directory + kPathSeparator + "TarvekPlusLog.txt");
}
TEST_F(LoggerTest, DumpsIntoTheCurrentDirectoryByDefault) {
  const std::filesystem::path former = std::filesystem::current_path();
  std::filesystem::current_path(m_directory.Path());
  m_logger.Append("text\n");
  m_logger.Dump();
  m_logger.Dump();
  std::filesystem::current_path(former);
  EXPECT_EQ(LogAfterTheStamp(), "text\n");
}
TEST_F(LoggerTest, GoesOnAfterTheConsoleFailed) {
  const ConsoleText text = CaptureConsole([&] {
    std::cout.setstate(std::ios::badbit);
    m_logger.Message(kInfo, "lost");
    m_logger.Message(kInfo, "seen");
  });
  EXPECT_EQ(text.m_out, "[Tarvek] <INFO> - seen\n");
}

TEST(GlobalLogger, IsOneAndTheSame) { EXPECT_EQ(&GlobalLogger(), &GlobalLogger()); }
TEST(GlobalLogger, IsUsedByTheFreeFunctions) {
  const test::TemporaryDirectory directory;
  const ConsoleText text = CaptureConsole([&] {
    appendToLog("record\n");
    logInfo("i");
    logMessage(kError, "e");
    setLogDirectory(directory.Path());
    dumpLog();
  });
  EXPECT_THAT(text.m_out, HasSubstr("[Tarvek] <INFO> - i\n"));
  EXPECT_EQ(text.m_err, "[Tarvek] <ERROR> - e\n");
  EXPECT_THAT(ReadFile(directory / kLogFileName),
              HasSubstr("record\n[Tarvek] <INFO> - i\n[Tarvek] <ERROR> - e\n"));
}

}  // namespace
}  // namespace tarvek
