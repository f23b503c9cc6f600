// tarvek-tools as a user runs it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

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

TEST(Program, StandardOutputThatCannotBeWrittenIsAFailure) {
  using test::StandardOutput;
  const TemporaryDirectory directory;
  test::WriteFile(directory / "run.ms1", "S\t1\t1\n400.0 1.0\n");
  test::WriteFile(directory / "run.ms2", "");
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"check", directory / "run.ms1"}, {"--help"}, {"mgf", "--help"}})
    for (const StandardOutput output : {StandardOutput::kFullDevice, StandardOutput::kClosedPipe}) {
      SCOPED_TRACE(arguments.front());
      test::ProcessRequest request = test::ToolsRequest(arguments);
      request.m_standard_output = output;
      const ProcessResult result = test::RunProcess(request);
      EXPECT_EQ(result.m_exit_status, 1);
      EXPECT_EQ(result.m_signal, 0);
      EXPECT_THAT(result.m_err, HasSubstr("tarvek-tools: Cannot write standard output\n"));
    }
}
TEST(Program, AFileSizeLimitIsAnErrorAndNoSignal) {
  const TemporaryDirectory directory;
  test::ProcessRequest request = test::ToolsRequest({"simulate", "--ms2", "50", directory / "run"});
  request.m_file_size_limit_bytes = 4096;
  const ProcessResult result = test::RunProcess(request);
  EXPECT_EQ(result.m_signal, 0);
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, HasSubstr("tarvek-tools: Cannot write " + directory / "run."));
  EXPECT_TRUE(std::filesystem::is_empty(directory.Path()));
}

/// Name to content of the files of a folder; none when there is no folder.
std::map<std::string, std::string> FilesIn(const std::string& folder) {
  std::map<std::string, std::string> files;
  if (std::filesystem::exists(folder))
    for (const auto& entry : std::filesystem::directory_iterator(folder))
      files[entry.path().filename().string()] = test::ReadFile(entry.path().string());
  return files;
}

TEST(Program, NoWriteFailureLeavesACutFile) {
  const TemporaryDirectory directory;
  const std::string runs = directory / "runs";
  std::filesystem::create_directory(runs);
  EXPECT_EQ(RunTools({"simulate", "--ms2", "60", runs + "/r"}).m_exit_status, 0);
  EXPECT_EQ(RunTools({"run", runs + "/r.ms1", "--beside-input", "--isotope-table",
                      TARVEK_SOURCE_DIR "/data/IPV.txt"})
                .m_exit_status,
            0);
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"report", runs + "/r.csv", "-I", TARVEK_SOURCE_DIR "/data/IPV.txt",
                                 "--out"},
        {"mgf", runs, "--engine", "comet", "--out"},
        {"mgf", runs, "--engine", "sage", "--gzip", "--split", "20000", "--out"}}) {
    std::vector<std::string> undisturbed = command;
    undisturbed.push_back(directory / "whole");
    EXPECT_EQ(RunTools(undisturbed).m_exit_status, 0);
    const auto whole = FilesIn(directory / "whole");
    ASSERT_FALSE(whole.empty());
    for (const std::uint64_t limit : {0, 1, 500, 3000}) {
      SCOPED_TRACE(command.front() + " " + std::to_string(limit));
      std::vector<std::string> arguments = command;
      arguments.push_back(directory / "limited");
      test::ProcessRequest request = test::ToolsRequest(arguments);
      request.m_file_size_limit_bytes = limit;
      const ProcessResult result = test::RunProcess(request);
      EXPECT_EQ(result.m_exit_status, 1);
      EXPECT_EQ(result.m_signal, 0);
      EXPECT_THAT(result.m_err, HasSubstr("Cannot write " + directory / "limited"));
      for (const auto& [name, content] : FilesIn(directory / "limited"))
        EXPECT_TRUE(whole.contains(name) && whole.at(name) == content) << name;
      std::filesystem::remove_all(directory / "limited");
    }
    std::filesystem::remove_all(directory / "whole");
  }
}

TEST(Program, NoSubcommandIsAFailure) { EXPECT_NE(RunTools({}).m_exit_status, 0); }

}  // namespace
}  // namespace tarvek::tools
