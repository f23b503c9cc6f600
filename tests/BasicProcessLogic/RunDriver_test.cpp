#include "RunDriver.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "PrecursorTable.h"
#include "ProcessTestSupport.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;
using test::kNothingThrown;
using test::MessageOf;
using test::TemporaryDirectory;
using test::WriteFile;
using test::WritePair;
using testing::HasSubstr;

class RunDriver : public testing::Test {
 protected:
  /// The message of a run over the data paths, with the console kept quiet.
  std::string Run() {
    std::string message;
    m_text = CaptureConsole([&] { message = MessageOf([&] { runAllDataPaths(m_parameters); }); });
    return message;
  }
  [[nodiscard]] bool Exists(const std::string& name) const {
    return std::filesystem::exists(m_directory / name);
  }
  std::string MakeFile(const std::string& name, std::string_view content = "x\n") {
    WriteFile(m_directory / name, std::string(content));
    return m_directory / name;
  }
  std::string MakeFolder(const std::string& name) {
    std::filesystem::create_directory(m_directory / name);
    return m_directory / name;
  }

  TemporaryDirectory m_directory;
  UserParameters m_parameters = test::ParametersFor(m_directory);
  test::ConsoleText m_text;
};

TEST_F(RunDriver, TakesTheFormatOfAFileFromItsExtensionInLowerCase) {
  EXPECT_EQ(detectDataPathFormat(MakeFile("1.RAW"), m_parameters.m_input_format), "raw");
}
TEST_F(RunDriver, TakesTheLastExtension) {
  EXPECT_EQ(detectDataPathFormat(MakeFile("a.raw.mzML"), m_parameters.m_input_format), "mzml");
}
TEST_F(RunDriver, TakesPackedFilesForWhatIsInThem) {
  EXPECT_EQ(detectDataPathFormat(MakeFile("a.mzML.gz"), m_parameters.m_input_format), "mzml");
  EXPECT_EQ(detectDataPathFormat(MakeFile("a.MZXML.GZ"), m_parameters.m_input_format), "mzxml");
  EXPECT_EQ(detectDataPathFormat(MakeFile("a.ms1.gz"), m_parameters.m_input_format), "gz");
}
TEST_F(RunDriver, ListsPackedFilesWithTheOthers) {
  const std::string folder = MakeFolder("in");
  for (const char* const name : {"a.mzML", "b.mzml.GZ", "c.mzXML.gz", "d.gz", "e.ms1.gz", "f.ms1"})
    MakeFile(std::string("in/") + name);
  const auto names = [&](const std::string& format) {
    std::vector<std::string> found;
    for (const std::string& path : ListInputFiles(folder, format))
      found.push_back(std::filesystem::path(path).filename().string());
    std::ranges::sort(found);
    return found;
  };
  EXPECT_THAT(names("mzml"), testing::ElementsAre("a.mzML", "b.mzml.GZ"));
  EXPECT_THAT(names("mzxml"), testing::ElementsAre("c.mzXML.gz"));
  EXPECT_THAT(names("ms1"), testing::ElementsAre("f.ms1"));
}
TEST_F(RunDriver, SaysWhatADirectoryHoldsInstead) {
  const std::string folder = MakeFolder("in");
  for (const char* const name : {"a.mzML", "b.mzML.gz", "c.ms1", "d.txt"})
    MakeFile(std::string("in/") + name);
  EXPECT_EQ(NoInputFileText(folder, "raw"),
            "No .raw file in " + folder + ". It has 1 .ms1 (-F ms1), 2 .mzml (-F mzml).");
  EXPECT_EQ(NoInputFileText(MakeFolder("empty"), "raw"),
            "No .raw file in " + (m_directory / "empty") + ". It has no file of a known format.");
}
TEST_F(RunDriver, TakesTheFormatOfADirectoryAsItIsConfigured) {
  m_parameters.m_input_format = "mzXML";
  EXPECT_EQ(detectDataPathFormat(MakeFolder("d.raw"), m_parameters.m_input_format), "mzXML");
}

TEST_F(RunDriver, UsesTheTableThatIsNamed) {
  EXPECT_EQ(IsotopeTablePath("other.txt", false, MakeFile("installed.txt")), "other.txt");
}
TEST_F(RunDriver, UsesTheInstalledTableWhenTheDefaultOneIsMissing) {
  const std::string installed = MakeFile("installed.txt");
  ASSERT_FALSE(std::filesystem::exists("IPV.txt")) << "in the current directory";
  EXPECT_EQ(IsotopeTablePath("IPV.txt", false, installed), installed);
}
TEST_F(RunDriver, SaysWhichInstalledTableItUses) {
  const std::string installed = MakeFile("installed.txt");
  UserParameters parameters;
  const auto said = [&] {
    return CaptureConsole([&] { SayIsotopeTablePath(parameters, installed); }).m_out;
  };
  EXPECT_EQ(said(), "[Tarvek] <INFO> - Uses the installed isotope table " + installed + "\n");
  parameters.m_ipv_file = "other.txt";
  EXPECT_EQ(said(), "");
}
TEST_F(RunDriver, KeepsTheDefaultNameWhenNoTableIsInstalled) {
  EXPECT_EQ(IsotopeTablePath("IPV.txt", false, m_directory / "none.txt"), "IPV.txt");
}
TEST_F(RunDriver, KeepsTheDefaultNameWhenThePlaceOfTheProgramIsUnknown) {
  EXPECT_EQ(IsotopeTablePath("IPV.txt", false, ""), "IPV.txt");
}

TEST_F(RunDriver, KeepsTheDefaultNameThatIsGiven) {
  const std::string installed = MakeFile("installed.txt");
  EXPECT_EQ(IsotopeTablePath("IPV.txt", false, installed), installed);
  EXPECT_EQ(IsotopeTablePath("IPV.txt", true, installed), "IPV.txt");
}

TEST_F(RunDriver, DoesNothingWithoutDataPaths) { EXPECT_EQ(Run(), kNothingThrown); }
TEST_F(RunDriver, ProcessesAnMs1FileWhateverFormatIsConfigured) {
  WritePair(m_directory.Path(), "a");
  m_parameters.m_datapaths = {m_directory / "a.ms1"};
  EXPECT_EQ(Run(), kNothingThrown);
  EXPECT_TRUE(Exists("a.csv"));
}
TEST_F(RunDriver, CarriesTheFormatOfAFileToTheDirectoriesAfterIt) {
  WritePair(m_directory.Path(), "a");
  WritePair(MakeFolder("more"), "b");
  m_parameters.m_datapaths = {m_directory / "a.ms1", m_directory / "more"};
  EXPECT_EQ(Run(), kNothingThrown);
  EXPECT_TRUE(Exists("b.csv"));
}
TEST_F(RunDriver, ProcessesEveryMs1FileOfADirectory) {
  const std::string folder = MakeFolder("in");
  WritePair(folder, "a");
  WritePair(folder, "b");
  m_parameters.m_input_format = "ms1";
  m_parameters.m_datapaths = {folder};
  EXPECT_EQ(Run(), kNothingThrown);
  EXPECT_TRUE(Exists("a.csv"));
  EXPECT_TRUE(Exists("b.csv"));
}
TEST_F(RunDriver, FindsNothingToDoInADirectoryWithoutInstrumentFiles) {
  m_parameters.m_datapaths = {MakeFolder("empty")};
  EXPECT_EQ(Run(), kNothingThrown);
}
TEST_F(RunDriver, LeavesItsParametersAlone) {
  WritePair(m_directory.Path(), "a");
  m_parameters.m_datapaths = {m_directory / "a.ms1"};
  Run();
  EXPECT_EQ(m_parameters.m_input_format, "raw");
}
TEST_F(RunDriver, ChecksTheConfiguredFormatInItsWrittenLetterCase) {
  m_parameters.m_input_format = "mzXML";
  m_parameters.m_datapaths = {MakeFolder("d")};
  EXPECT_THAT(Run(), HasSubstr("m_input_format"));
}
TEST_F(RunDriver, FailsItsCheckOnAFileOfAnotherFormat) {
  m_parameters.m_input_format = "other";
  m_parameters.m_datapaths = {MakeFile("notes.txt")};
  EXPECT_THAT(Run(), testing::EndsWith(", module BasicProcessLogic"));
}
TEST_F(RunDriver, SkipsAnMs1FileWithResultsBeforeItOpensAnything) {
  MakeFile("a.csv", kPrecursorTableHeader);
  m_parameters.m_datapaths = {MakeFile("a.ms1")};  // without an MS2 file
  EXPECT_EQ(Run(), kNothingThrown);
  EXPECT_EQ(m_text.m_out,
            "[Tarvek] <INFO> - " + (m_directory / "a.ms1") + " has existed results, skipping...\n");
}
TEST_F(RunDriver, SkipsAnInstrumentFileWithResultsBeforeTheExtractor) {
  MakeFile("a.csv", kPrecursorTableHeader);
  m_parameters.m_datapaths = {MakeFile("a.raw")};
  EXPECT_EQ(Run(), kNothingThrown);
  EXPECT_EQ(m_text.m_out,
            "[Tarvek] <INFO> - " + (m_directory / "a.raw") + " has existed results, skipping...\n");
}

}  // namespace
}  // namespace tarvek
