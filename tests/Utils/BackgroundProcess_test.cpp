#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <utility>

#include "BackgroundProcessTest.h"
#include "ChildText.h"
#include "Platform.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

TEST_F(BackgroundProcessTest, KeepsBothOutputsInTheFile) {
  test::WriteFile(m_output, "of an earlier process, longer than the new one\n");
  BackgroundProcess process = Child({"outputs"});
  EXPECT_EQ(StatusOf(process), 0);
  EXPECT_EQ(test::ReadFile(m_output), "out\nerr\n");
}

TEST_F(BackgroundProcessTest, GivesArgumentsAsTheyAre) {
  BackgroundProcess process = Child({"arguments", "a b", "$HOME", "%PATH% 100%", "\"'", "", "D:\\",
                                     "D:\\a b\\", "\\\"", "a\\\\b", "& ^ > x", "\xE8\xB3\xAA"});
  EXPECT_EQ(StatusOf(process), 0);
  EXPECT_EQ(test::ReadFile(m_output),
            "a b|$HOME|%PATH% 100%|\"'||D:\\|D:\\a b\\|\\\"|a\\\\b|& ^ > x|\xE8\xB3\xAA|");
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

TEST_F(BackgroundProcessTest, IsNotRunningWithoutAProgram) {
  EXPECT_FALSE(BackgroundProcess().IsRunning());
  BackgroundProcess none = BackgroundProcess::Start({m_directory / "none"}, m_output);
  EXPECT_FALSE(none.IsRunning());
  none.End(BackgroundProcess::Ending::kForced);  // harmless
}

TEST_F(BackgroundProcessTest, IsNotRunningWithoutItsOutput) {
  const BackgroundProcess none = Child({"outputs"}, m_directory / "none/output");
  EXPECT_FALSE(none.IsRunning());
}

TEST_F(BackgroundProcessTest, RunsAProgramOfAPathWithABlank) {
  const std::string program = (m_directory / "a b") + std::string(kProgramEnding);
  std::filesystem::copy_file(test::BackgroundChild(), program);
  BackgroundProcess process = BackgroundProcess::Start({program, "status", "5"}, m_output);
  EXPECT_EQ(StatusOf(process), 5);
}

TEST_F(BackgroundProcessTest, WorksInTheDirectoryThatItIsGiven) {
  std::filesystem::create_directory(m_directory / "work");
  test::WriteFile(m_directory / "work/here", "the file of that directory");
  BackgroundProcess process = BackgroundProcess::Start({test::BackgroundChild(), "file", "here"},
                                                       m_output, m_directory / "work");
  EXPECT_EQ(StatusOf(process), 0);
  EXPECT_EQ(test::ReadFile(m_output), "the file of that directory");
}

TEST_F(BackgroundProcessTest, IsNotRunningWithoutItsDirectory) {
  const BackgroundProcess none = BackgroundProcess::Start({test::BackgroundChild(), "status", "0"},
                                                          m_output, m_directory / "none");
  EXPECT_FALSE(none.IsRunning());
}

TEST_F(BackgroundProcessTest, GetsTheEnvironmentOfThisProcess) {
  ASSERT_TRUE(SetEnvironment("TARVEK_TEST_VARIABLE", "a b \xE8\xB3\xAA"));
  BackgroundProcess process = Child({"variable", "TARVEK_TEST_VARIABLE"});
  EXPECT_EQ(StatusOf(process), 0);
  EXPECT_EQ(test::ReadFile(m_output), "a b \xE8\xB3\xAA");
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
  const BackgroundProcess quick = Child({"status", "0"}, m_directory / "output of the quick one");
  BackgroundProcess::WaitForAny({&quick, 1}, 60'000);
  EXPECT_LT(MonotonicMilliseconds() - start_ms, 30'000);
}

}  // namespace
}  // namespace tarvek
