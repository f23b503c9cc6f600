// What Platform.h promises and only a POSIX system can show.
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include "Platform.h"

namespace tarvek {
namespace {

TEST(ExecutableDirectory, HoldsThisProgram) {
  ASSERT_NE(ExecutableDirectory(), "");
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
  EXPECT_TRUE(
      std::filesystem::exists(std::filesystem::path(ExecutableDirectory()) / program.filename()));
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
