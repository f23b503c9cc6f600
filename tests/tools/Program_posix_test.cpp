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

TEST(Program, PrintsItsNameAndVersion) {
  const ProcessResult result = RunTools({"--version"});
  EXPECT_EQ(result.m_exit_status, 0);
  EXPECT_THAT(result.m_out, testing::MatchesRegex("tarvek-tools [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST(Program, AsksForTheSubcommandThatWasNearlyTyped) {
  const ProcessResult result = RunTools({"chekc", "run.mzML"});
  EXPECT_NE(result.m_exit_status, 0);
  EXPECT_THAT(result.m_err, HasSubstr("Did you mean check?\n"));
  EXPECT_THAT(RunTools({"rnu"}).m_err, HasSubstr("Did you mean run?\n"));
}

TEST(Program, AsksForTheOptionThatWasNearlyTyped) {
  EXPECT_THAT(RunTools({"run", "in", "-o", "out", "--widht", "3"}).m_err,
              HasSubstr("Did you mean --width?\n"));
  EXPECT_THAT(RunTools({"check", "--jsn", "x"}).m_err, HasSubstr("Did you mean --json?\n"));
  EXPECT_THAT(RunTools({"--versoin"}).m_err, HasSubstr("Did you mean --version?\n"));
}

TEST(Program, AsksNothingOfWhatIsFarFromAll) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"nothing"}, {"check", "--nonsense", "x"}, {"run", "x"}, {}}) {
    const ProcessResult result = RunTools(arguments);
    EXPECT_NE(result.m_exit_status, 0);
    EXPECT_THAT(result.m_err, testing::Not(HasSubstr("Did you mean")));
  }
}

TEST(Program, NoSubcommandIsAFailure) { EXPECT_NE(RunTools({}).m_exit_status, 0); }

}  // namespace
}  // namespace tarvek::tools
