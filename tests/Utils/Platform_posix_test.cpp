// What Platform.h promises and only a POSIX system can show.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <optional>
#include <string>

#include "Platform.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

TEST(ExecutableDirectory, HoldsThisProgram) {
  ASSERT_NE(ExecutableDirectory(), "");
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
  EXPECT_TRUE(
      std::filesystem::exists(std::filesystem::path(ExecutableDirectory()) / program.filename()));
}

// The directory of a process that has ended and that nobody has waited for can be opened, not read.
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

}  // namespace
}  // namespace tarvek
