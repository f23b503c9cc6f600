// A directory of many kinds of files, processed for each format word in turn; formats that no one
// knows.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "FakeExtractor.h"

namespace tarvek::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

constexpr std::array<const char*, 6> kFormats = {"ms1", "mgf", "raw", "wiff", "mzxml", "mzml"};
constexpr int kFilesOfAFormat = 6;

std::string InUpperCase(std::string text) {
  for (char& c : text)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return text;
}

/// Base names and extensions of the files of one format.
std::vector<std::pair<std::string, std::string>> FilesOf(const std::string& format) {
  std::string mixed = format;
  mixed.back() = InUpperCase(mixed).back();
  return {{"plain " + format, format},
          {"UPPER_" + format, InUpperCase(format)},
          {"mixed_" + format, mixed},
          {"two  blanks " + format, format},
          {"Pr\xC3\xB6"
           "be \xE6\xB8\xAC " +
               format,
           format},
          {"dots.7.2." + format + ".x", format}};
}

/// "in" with fifty files: six and a hidden one of each format, the .ms2 files of the .ms1 files,
/// and others.
class MixedDirectory : public FakeExtractorTest, public testing::WithParamInterface<const char*> {
 protected:
  MixedDirectory() {
    MakeFolder("in");
    for (const char* format : kFormats) {
      for (const auto& [base, extension] : FilesOf(format)) PlaceInput(base, extension);
      PlaceInput(".hidden", format);
    }
    Write("in/notes.txt", "x");
    Write("in/a.raw.bak", "x");
    for (const char* name : {"morvex_raw.exe", "morvex_wiff.exe", "morvex_xml.exe"})
      PlaceExtractor(kCopyTextPair, name);
  }
  void PlaceInput(const std::string& base, const std::string& extension) const {
    const std::string place = "in/" + base + "." + extension;
    const std::string format = extension.substr(0, 2);
    if (format == "ms" || format == "MS") {
      Write(place, GoldenInput("run.ms1"));
      if (base != ".hidden") Write("in/" + base + ".ms2", GoldenInput("run.ms2"));
    } else {
      Write(place, ReadFile(GoldenFolder() + "/default/run_HCDFT.mgf"));
    }
  }

  [[nodiscard]] static bool IsMgf() { return std::string(GetParam()) == "mgf"; }
  [[nodiscard]] static bool IsInstrument() { return !IsMgf() && std::string(GetParam()) != "ms1"; }
  const ProcessResult& RunAll(std::vector<std::string> more = {}) {
    std::vector<std::string> arguments = {"-D", "in", "-F", GetParam(), "-O", "out"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }
  /// The names in out with this ending, and the names that a full run gives.
  [[nodiscard]] std::set<std::string> Names(const std::string& ending) const {
    std::set<std::string> names;
    for (const auto& file : OutputsIn(Path("out")))
      if (file.first.ends_with(ending)) names.insert(file.first);
    return names;
  }
  [[nodiscard]] static std::set<std::string> AllNames(const std::string& ending) {
    std::set<std::string> names;
    for (const auto& file : FilesOf(GetParam())) names.insert(file.first + ending);
    return names;
  }
  [[nodiscard]] int Count(const std::string& line_end) const {
    int count = 0;
    for (const std::string& line : LinesOf(m_result.m_out))
      if (line.ends_with(line_end)) ++count;
    return count;
  }
  [[nodiscard]] int AllStarts() const {
    return Starts("morvex_raw.exe") + Starts("morvex_wiff.exe") + Starts("morvex_xml.exe");
  }
  void RemoveTables() const {
    for (const std::string& name : Names(".csv")) fs::remove(Path("out/" + name));
  }
};

class InstrumentDirectory : public MixedDirectory {};
class TabledDirectory : public MixedDirectory {};
class MgfDirectory : public MixedDirectory {};
class SpectraDirectory : public MixedDirectory {};

constexpr const char* kSkipped = " has existed results, skipping...";
constexpr const char* kSkippedExtractor = " has existed results, skipping morvex process...";

TEST_P(MixedDirectory, HoldsFiftyFiles) { EXPECT_EQ(OutputsIn(Path("in")).size(), 50u); }
TEST_P(MixedDirectory, HasItsFilesOfTheFormatProcessed) {
  EXPECT_EQ(RunAll().m_exit_status, 0) << m_result.m_err;
  const std::string result = IsMgf() ? ".pf2" : ".csv";
  EXPECT_EQ(Names(result), AllNames(result));
}
TEST_P(InstrumentDirectory, HasTheExtractorOfTheFormatStartedForEachFile) {
  RunAll();
  const std::string format = GetParam();
  EXPECT_EQ(Starts("morvex_" + (format.starts_with("mz") ? "xml" : format) + ".exe"),
            kFilesOfAFormat);
  EXPECT_EQ(AllStarts(), kFilesOfAFormat);
}
TEST_P(SpectraDirectory, HasNoExtractorStartedForSpectra) {
  RunAll();
  EXPECT_EQ(AllStarts(), 0);
}
TEST_P(TabledDirectory, GivesEachFileTheOutputsOfItsSpectra) {
  RunAll();
  const std::string expected = ReadFile(GoldenFolder() + "/default/run.csv");
  for (const std::string& name : Names(".csv")) EXPECT_EQ(Content("out/" + name), expected) << name;
}
TEST_P(MixedDirectory, HasItsFinishedFilesSkippedTheSecondTime) {
  RunAll();
  const FileMap before = OutputsIn(Path("out"));
  EXPECT_EQ(RunAll().m_exit_status, 0);
  // An MGF file is skipped only next to a file of its own name; its outputs have other names.
  EXPECT_EQ(Count(kSkipped), IsMgf() ? 0 : kFilesOfAFormat);
  EXPECT_EQ(AllStarts(), IsInstrument() ? kFilesOfAFormat : 0);
  EXPECT_EQ(OutputsIn(Path("out")), before);
}
TEST_P(TabledDirectory, OpensNothingTheSecondTime) {
  RunAll();
  RunAll();
  EXPECT_THAT(m_result.m_out, Not(HasSubstr("Start to process")));
}
TEST_P(MgfDirectory, HasItsMgfFilesSkippedBesideFilesOfTheirNames) {
  MakeFolder("out");
  for (const auto& file : FilesOf("mgf")) Write("out/" + file.first + ".mgf", "");
  EXPECT_EQ(RunAll().m_exit_status, 0);
  EXPECT_EQ(Count(kSkipped), kFilesOfAFormat);
  EXPECT_TRUE(Names(".pf2").empty());
}
TEST_P(MgfDirectory, HasItsMgfFilesWithALowerCaseEndingSkippedWithoutOutputPath) {
  EXPECT_EQ(Run({"-D", "in", "-F", "mgf"}).m_exit_status, 0);
  // Names with upper-case letters in the ending do not match.
  EXPECT_EQ(Count(kSkipped), kFilesOfAFormat - 2);
  EXPECT_TRUE(Exists("in/UPPER_mgf.pf2"));
  EXPECT_FALSE(Exists("in/plain mgf.pf2"));
}
TEST_P(TabledDirectory, HasItsFilesProcessedAgainWithoutTheirTables) {
  RunAll();
  const FileMap before = OutputsIn(Path("out"));
  RemoveTables();
  EXPECT_EQ(RunAll().m_exit_status, 0);
  EXPECT_EQ(OutputsIn(Path("out")), before);
}
TEST_P(InstrumentDirectory, HasNoFileExtractedAgainBesideItsMarker) {
  RunAll();
  RemoveTables();
  RunAll();
  EXPECT_EQ(Count(kSkippedExtractor), kFilesOfAFormat);
  EXPECT_EQ(AllStarts(), kFilesOfAFormat);
}
TEST_P(MixedDirectory, HasEverythingDoneAgainWhenFilesAreRewritten) {
  RunAll();
  const FileMap before = OutputsIn(Path("out"));
  RunAll({"-r", "1"});
  EXPECT_EQ(AllStarts(), IsInstrument() ? 2 * kFilesOfAFormat : 0);
  EXPECT_EQ(OutputsIn(Path("out")), before);
}
INSTANTIATE_TEST_SUITE_P(Formats, MixedDirectory, testing::ValuesIn(kFormats));
INSTANTIATE_TEST_SUITE_P(Formats, InstrumentDirectory,
                         testing::Values("raw", "wiff", "mzxml", "mzml"));
INSTANTIATE_TEST_SUITE_P(Formats, TabledDirectory,
                         testing::Values("ms1", "raw", "wiff", "mzxml", "mzml"));
INSTANTIATE_TEST_SUITE_P(Formats, MgfDirectory, testing::Values("mgf"));
INSTANTIATE_TEST_SUITE_P(Formats, SpectraDirectory, testing::Values("ms1", "mgf"));

// ------------------------------------------------------------ formats that no one knows

class UnknownFormat : public FakeExtractorTest {
 protected:
  [[nodiscard]] static std::string Line(const std::string& level, const std::string& path,
                                        const std::string& format) {
    return "[Tarvek] <" + level + "> - Data path " + path + " has the format '" + format +
           "'. Known are ms1, mgf, raw, wiff, mzxml and mzml, in lower case.\n";
  }
  /// The messages of a run that ends there, and of one that goes on.
  [[nodiscard]] static std::string Error(const std::string& path, const std::string& format) {
    return Line("ERROR", path, format);
  }
  [[nodiscard]] static std::string Warning(const std::string& path, const std::string& format) {
    return Line("WARN", path, format);
  }
};

TEST_F(UnknownFormat, OfADirectoryIsNamedBeforeTheCheckFails) {
  MakeFolder("in");
  Write("in/a.mzXML", "x");
  Run({"-D", "in", "-F", "mzXML"});
  EXPECT_EQ(m_result.m_signal, SIGABRT);
  EXPECT_TRUE(m_result.m_err.starts_with(Error("in", "mzXML"))) << m_result.m_err;
  EXPECT_THAT(m_result.m_err, HasSubstr("m_input_format"));
}
TEST_F(UnknownFormat, OfADirectoryIsInTheLog) {
  MakeFolder("in");
  Run({"-D", "in", "-F", "mzXML"});
  EXPECT_THAT(Content("in/TarvekPlusLog.txt"), HasSubstr(Error("in", "mzXML")));
}
TEST_F(UnknownFormat, OfADirectoryIsNoErrorInLowerCase) {
  MakeFolder("in");
  Write("in/a.mzXML", "x");
  PlaceExtractor(kCopyTextPair, "morvex_xml.exe");
  EXPECT_EQ(Run({"-D", "in", "-F", "mzxml", "-O", "out"}).m_exit_status, 0);
  EXPECT_TRUE(Exists("out/a.csv"));
}
TEST_F(UnknownFormat, OfAFileIsAWarningAndTheRunGoesOn) {
  Write("notes.txt", "x");
  EXPECT_EQ(Run({"-D", "notes.txt", "-O", "out"}).m_exit_status, 0);
  EXPECT_EQ(m_result.m_err, Warning("notes.txt", "txt"));
}
TEST_F(UnknownFormat, OfAFileDoesNotStopTheOthers) {
  Write("notes.txt", "x");
  PlacePair("", "next");
  Write("run.cfg", "datanum = 2\ndatapath1 = notes.txt\ndatapath2 = next.ms1\noutputpath = out\n");
  EXPECT_EQ(Run({"run.cfg"}).m_exit_status, 0);
  EXPECT_TRUE(Exists("out/next.csv"));
}
TEST_F(UnknownFormat, OfAFileWithoutExtensionIsItsWholePath) {
  Write("README", "x");
  EXPECT_EQ(Run({"-D", "README", "-O", "out"}).m_exit_status, 0);
  EXPECT_EQ(m_result.m_err, Warning("README", "readme"));
}
TEST_F(UnknownFormat, OfAFileFailsTheCheckBesideAnotherConfiguredFormat) {
  Write("notes.txt", "x");
  Run({"-D", "notes.txt", "-O", "out", "-F", "mgf"});
  EXPECT_EQ(m_result.m_signal, SIGABRT);
  EXPECT_TRUE(m_result.m_err.starts_with(Error("notes.txt", "txt"))) << m_result.m_err;
}

}  // namespace
}  // namespace tarvek::test
