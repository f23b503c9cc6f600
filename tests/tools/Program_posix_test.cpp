// tarvek-tools as a user runs it, through a POSIX shell.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "ProcessRunner.h"
#include "TestSupport.h"

namespace tarvek::tools {
namespace {

using test::ReadFile;
using test::TemporaryDirectory;

/// Runs the program itself; its standard error goes to error_path.
int ExitStatusOf(const std::string& arguments, const std::string& error_path) {
  const std::string command =
      test::TestedProgram(TARVEK_TOOLS_PROGRAM) + " " + arguments + " >/dev/null 2>" + error_path;
  const int status = std::system(command.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Program, ReturnsZeroAfterWritingTheTable) {
  const TemporaryDirectory directory;
  EXPECT_EQ(ExitStatusOf("ipv " + directory / "IPV.txt", directory / "errors"), 0);
  EXPECT_TRUE(std::filesystem::exists(directory / "IPV.txt"));
}

TEST(Program, AnUnwritableFileIsAStatusAndAMessage) {
  const TemporaryDirectory directory;
  EXPECT_EQ(ExitStatusOf("ipv " + directory / "none/IPV.txt", directory / "errors"), 1);
  EXPECT_EQ(ReadFile(directory / "errors"), "tarvek-tools: Cannot open isotope table File, Path: " +
                                                directory / "none/IPV.txt_unfinished" + "\n");
}

TEST(Program, AnUnknownLabelIsAStatusAndAMessage) {
  const TemporaryDirectory directory;
  EXPECT_NE(ExitStatusOf("ipv --label c13 " + directory / "IPV.txt", directory / "errors"), 0);
  EXPECT_NE(ReadFile(directory / "errors").find("--label: c13 not in"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(directory / "IPV.txt"));
}

TEST(Program, NoSubcommandIsAFailure) {
  const TemporaryDirectory directory;
  EXPECT_NE(ExitStatusOf("", directory / "errors"), 0);
}

}  // namespace
}  // namespace tarvek::tools
