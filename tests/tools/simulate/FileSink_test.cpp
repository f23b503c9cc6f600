#include "simulate/FileSink.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "simulate/Command.h"

namespace tarvek::tools {
namespace {

namespace fs = std::filesystem;
using test::MessageOf;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;

void Simulate(std::vector<std::string> arguments) {
  CLI::App app;
  AddSimulateCommand(app);
  arguments.insert(arguments.begin(), "simulate");
  std::ranges::reverse(arguments);  // the order in which App::parse takes a vector
  app.parse(arguments);
}

struct FilesOfFormat {
  std::vector<std::string> m_options;
  std::vector<std::string> m_names;  // sorted
};
class SimulateFormat : public testing::TestWithParam<FilesOfFormat> {};

TEST_P(SimulateFormat, NamesTheFiles) {
  const TemporaryDirectory directory;
  std::vector<std::string> arguments{"--ms2", "2", directory / "run"};
  arguments.insert(arguments.begin(), GetParam().m_options.begin(), GetParam().m_options.end());
  Simulate(arguments);
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(directory.Path()))
    names.push_back(entry.path().filename().string());
  std::ranges::sort(names);
  EXPECT_EQ(names, GetParam().m_names);
}
INSTANTIATE_TEST_SUITE_P(
    Formats, SimulateFormat,
    testing::Values(FilesOfFormat{{}, {"run.ms1", "run.ms2", "run.truth.tsv"}},
                    FilesOfFormat{{"--format", "text"}, {"run.ms1", "run.ms2", "run.truth.tsv"}},
                    FilesOfFormat{{"--format", "msb"}, {"run.msb", "run.mscsv", "run.truth.tsv"}},
                    FilesOfFormat{{"--format", "mzml"}, {"run.mzML", "run.truth.tsv"}}));

TEST(SimulateFormats, AnyOtherIsRefused) {
  EXPECT_EQ(MessageOf([] {
              Simulate({"--format", "mzXML", "never-written"});
            }),
            "--format: mzXML not in {text,msb,mzml}");
}

// When the files cannot get their names, no truth table of other scans may remain.
TEST(TruthFile, LeavesNoOldTruthBesideScansThatCouldNotTakeTheirName) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.truth.tsv", "old");
  fs::create_directories(directory / "run.x/full");
  UnfinishedFile scans(directory / "run.x", "test");
  TruthFile truth(directory / "run");
  EXPECT_EQ(MessageOf([&] { truth.CompleteWith({&scans}); }),
            "Cannot rename file: " + directory / "run.x_unfinished");
  EXPECT_FALSE(fs::exists(directory / "run.truth.tsv"));
}

}  // namespace
}  // namespace tarvek::tools
