// Promises of Platform.h that only a POSIX system can show.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "ChildText.h"
#include "Platform.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::PiecesOf;
using test::StatusOf;
using test::ThroughTheShell;
using testing::ElementsAre;

TEST(ExecutableDirectory, HoldsThisProgram) {
  ASSERT_NE(ExecutableDirectory(), "");
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
  EXPECT_TRUE(
      std::filesystem::exists(std::filesystem::path(ExecutableDirectory()) / program.filename()));
}

// The /proc directory of an ended process that nobody has waited for can be opened but not read.
TEST(ListDirectoryNames, IsNothingWhenTheListBreaksOff) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(0);
  siginfo_t end{};
  ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(child), &end, WEXITED | WNOWAIT), 0);
  const std::string path = "/proc/" + std::to_string(child) + "/net";
  const bool can_be_opened = IsDirectory(path);
  const auto names = ListDirectoryNames(path);
  ::waitpid(child, nullptr, 0);
  if (!can_be_opened) GTEST_SKIP() << "this system has no such directory";
  EXPECT_EQ(names, std::nullopt);
}

TEST(DeleteDirectoryTree, LeavesWhatALinkLeadsTo) {
  const test::TemporaryDirectory directory;
  std::filesystem::create_directories(directory / "kept");
  test::WriteFile(directory / "kept/f", "x");
  std::filesystem::create_directories(directory / "a");
  std::filesystem::create_symlink(directory / "kept", directory / "a/link");
  EXPECT_TRUE(DeleteDirectoryTree(directory / "a"));
  EXPECT_EQ(test::ReadFile(directory / "kept/f"), "x");
}

TEST(IgnoreWriteSignals, KeepsTheProcessAliveWhenAPipeBreaks) {
  const auto former_pipe = std::signal(SIGPIPE, SIG_DFL);
  const auto former_size = std::signal(SIGXFSZ, SIG_DFL);
  IgnoreWriteSignals();
  EXPECT_EQ(std::raise(SIGPIPE), 0);  // would end this process otherwise
  EXPECT_EQ(std::raise(SIGXFSZ), 0);
  std::signal(SIGPIPE, former_pipe);
  std::signal(SIGXFSZ, former_size);
}

TEST(File, ReportsAWriteToAFullDevice) {
  File file = File::Open("/dev/full", "w");
  ASSERT_TRUE(file.IsOpen());
  EXPECT_FALSE(file.Write("x"));
}

TEST(ChildProcess, GivesItsOutputLineByLine) {
  EXPECT_THAT(PiecesOf("printf 'a\\n\\nb\\n'"), ElementsAre("a\n", "\n", "b\n"));
}
TEST(ChildProcess, GivesALastLineWithoutLineFeed) {
  EXPECT_THAT(PiecesOf("printf 'a\\nb'"), ElementsAre("a\n", "b"));
}
TEST(ChildProcess, KeepsCarriageReturns) {
  EXPECT_THAT(PiecesOf("printf 'a\\r\\n'"), ElementsAre("a\r\n"));
}
TEST(ChildProcess, GivesALongLineInPiecesOf2047Bytes) {
  const std::vector<std::string> pieces =
      PiecesOf("i=0; while [ $i -lt 300 ]; do printf 0123456789; i=$((i+1)); done; echo");
  ASSERT_EQ(pieces.size(), 2u);
  EXPECT_EQ(pieces[0].size(), 2047u);
  EXPECT_EQ(pieces[1].size(), 3001u - 2047u);
  std::string whole;
  for (int i = 0; i < 300; ++i) whole += "0123456789";
  EXPECT_EQ(pieces[0] + pieces[1], whole + "\n");
}
TEST(ChildProcess, KeepsNulBytes) {
  EXPECT_THAT(PiecesOf("printf 'a\\000b\\nc\\n'"), ElementsAre(std::string("a\0b\n", 4), "c\n"));
}
TEST(ChildProcess, EndsWithAnotherStatusWhenKilled) { EXPECT_NE(StatusOf("kill -9 $$"), 0); }

TEST(ChildProcess, LooksForAProgramOnThePath) {
  ChildProcess child = ChildProcess::Start(std::vector<std::string>{"sh", "-c", "echo $0", "; x"});
  std::string line;
  EXPECT_TRUE(child.ReadLine(line));
  EXPECT_EQ(line, "; x\n");
  EXPECT_EQ(child.Wait(), 0);
}
TEST(ChildProcess, EndsWithAnotherStatusWhenItsProgramIsKilled) {
  EXPECT_NE(ChildProcess::Start(std::vector<std::string>{"sh", "-c", "kill -9 $$"}).Wait(), 0);
}
TEST(ChildProcess, SaysThatAFileIsNoProgram) {
  const test::TemporaryDirectory directory;
  test::WriteFile(directory / "f", "x");
  const std::vector<std::string> words = {directory / "f"};
  EXPECT_EQ(ChildProcess::Start(words).Failure(), "Permission denied");
}
// Otherwise its pipe would not end while another child runs.
TEST(ChildProcess, KeepsItsPipeFromOtherPrograms) {
  const auto descriptors_of_a_child = [] {
    ChildProcess child = ChildProcess::Start(std::vector<std::string>{"ls", "/proc/self/fd"});
    std::string text;
    for (std::string line; child.ReadLine(line);) text += line;
    return text;
  };
  const std::string alone = descriptors_of_a_child();
  EXPECT_THAT(alone, testing::StartsWith("0\n1\n"));
  const ChildProcess other = ChildProcess::Start(std::vector<std::string>{"true"});
  EXPECT_EQ(descriptors_of_a_child(), alone);
}

TEST(QuotedForShell, KeepsWhatThisShellActsOn) {
  for (const char* const text :
       {"$HOME ${HOME} $(echo x) $$", "`echo x`", "it's", "\\", "\\\\n\\$", "a\nb",
        "* ? [a] ~ # & | ; < > ( ) { } !", "%PATH% %s", "\xFF\xFE", "\ttab", "!!"})
    EXPECT_EQ(ThroughTheShell(text), text);
}

}  // namespace
}  // namespace tarvek
