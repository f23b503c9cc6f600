// tarvek-tools as a user runs it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "TestSupport.h"
#include "ToolsProgram.h"

namespace tarvek::tools {
namespace {

using test::ProcessResult;
using test::RunTools;
using test::TemporaryDirectory;
using test::WithSlashes;
using testing::HasSubstr;

TEST(Program, ReturnsZeroAfterWritingTheTable) {
  const TemporaryDirectory directory;
  EXPECT_EQ(RunTools({"ipv", directory / "IPV.txt"}).m_exit_status, 0);
  EXPECT_TRUE(std::filesystem::exists(directory / "IPV.txt"));
}

TEST(Program, AnUnwritableFileIsAStatusAndAMessage) {
  const TemporaryDirectory directory;
  const ProcessResult result = WithSlashes(RunTools({"ipv", directory / "none/IPV.txt"}));
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_EQ(result.m_err, "tarvek-tools: Cannot open isotope table File, Path: " +
                              directory / "none/IPV.txt_unfinished" + "\n");
}

TEST(Program, AnUnknownLabelIsAStatusAndAMessage) {
  const TemporaryDirectory directory;
  const ProcessResult result = RunTools({"ipv", "--label", "c13", directory / "IPV.txt"});
  EXPECT_NE(result.m_exit_status, 0);
  EXPECT_THAT(result.m_err, HasSubstr("--label: c13 not in"));
  EXPECT_FALSE(std::filesystem::exists(directory / "IPV.txt"));
}

TEST(Program, NoSubcommandIsAFailure) { EXPECT_NE(RunTools({}).m_exit_status, 0); }

}  // namespace
}  // namespace tarvek::tools
