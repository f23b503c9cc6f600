// Promises of Platform.h that only a POSIX system can show.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "ChildText.h"
#include "FileUtils.h"
#include "Platform.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::PiecesOf;
using test::StatusOf;
using test::ThroughTheShell;
using testing::ElementsAre;

// A link to itself is nothing that is absent: the system does not let us look behind it.
TEST(StateAt, TellsAbsentFromWhatCannotBeReadAndFromDirectories) {
  const test::TemporaryDirectory directory;
  test::WriteFile(directory / "file", "");
  std::filesystem::create_symlink("loop", directory / "loop");
  EXPECT_EQ(StateAt(directory / "file"), FileState::kReadable);
  EXPECT_EQ(StateAt(directory / "loop"), FileState::kUnreadable);
  EXPECT_EQ(StateAt(directory / "none"), FileState::kAbsent);
  EXPECT_EQ(StateAt(directory.Path()), FileState::kDirectory);
  EXPECT_TRUE(IsThere(directory / "file"));
  EXPECT_TRUE(IsThere(directory / "loop"));
  EXPECT_FALSE(IsThere(directory / "none"));
  EXPECT_FALSE(IsThere(directory.Path()));
  EXPECT_FALSE(FileExists(directory / "loop"));
  RemoveFile(directory / "loop");
  EXPECT_EQ(StateAt(directory / "loop"), FileState::kAbsent);
}

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

class FileOpen : public testing::TestWithParam<const char*> {
 protected:
  /// Writes "new" to path as an output in the mode of the test.
  [[nodiscard]] bool Write(const std::string& path) const {
    File file = File::Open(path, GetParam());
    return file.IsOpen() && file.Write("new") && file.Close();
  }

  test::TemporaryDirectory m_directory;
};

TEST_P(FileOpen, ReplacesALinkAndLeavesWhatItLeadsTo) {
  test::WriteFile(m_directory / "victim", "kept");
  std::filesystem::create_symlink(m_directory / "victim", m_directory / "link");
  std::filesystem::create_symlink(m_directory / "nothing", m_directory / "dangling");
  std::filesystem::create_symlink("loop", m_directory / "loop");
  std::filesystem::create_hard_link(m_directory / "victim", m_directory / "second");
  for (const char* const name : {"link", "dangling", "loop", "second"}) {
    SCOPED_TRACE(name);
    EXPECT_TRUE(Write(m_directory / name));
    EXPECT_TRUE(
        std::filesystem::is_regular_file(std::filesystem::symlink_status(m_directory / name)));
    EXPECT_EQ(test::ReadFile(m_directory / name), "new");
  }
  EXPECT_EQ(test::ReadFile(m_directory / "victim"), "kept");
  EXPECT_FALSE(std::filesystem::exists(m_directory / "nothing"));
}

TEST_P(FileOpen, FollowsLinksToDevicesAndOfFolders) {
  std::filesystem::create_symlink("/dev/null", m_directory / "null");
  std::filesystem::create_directory(m_directory / "folder");
  std::filesystem::create_directory_symlink(m_directory / "folder", m_directory / "other");
  EXPECT_TRUE(Write(m_directory / "null"));
  EXPECT_TRUE(std::filesystem::is_symlink(m_directory / "null"));
  EXPECT_TRUE(Write(m_directory / "other/file"));
  EXPECT_EQ(test::ReadFile(m_directory / "folder/file"), "new");
}

INSTANTIATE_TEST_SUITE_P(OfOutputs, FileOpen, testing::Values("w", "w+", "a+"));

TEST(FileOpenForAppending, KeepsWhatAFileHas) {
  const test::TemporaryDirectory directory;
  test::WriteFile(directory / "log", "old ");
  File file = File::Open(directory / "log", "a+");
  ASSERT_TRUE(file.Write("new") && file.Close());
  EXPECT_EQ(test::ReadFile(directory / "log"), "old new");
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
