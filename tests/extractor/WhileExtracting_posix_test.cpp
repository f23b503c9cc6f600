// An installed tarvek reads mzML and mzXML itself while it determines precursors. The outputs are
// the same as with the extractor program and its files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "ExtractorTestSupport.h"
#include "FaultCases.h"
#include "ProcessRunner.h"
#include "RunExtractor.h"

namespace tarvek::extractor {
namespace {

namespace fs = std::filesystem;

using tarvek::test::FaultPoints;
using tarvek::test::MomentIn;
using tarvek::test::ProcessRequest;
using tarvek::test::ProcessResult;
using tarvek::test::Promise;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

using FileMap = std::map<std::string, std::string>;

std::string WithoutDate(const std::string& text) {
  const std::size_t start = text.find("H\tCreationDate\t");
  if (start != 0) return text;
  return text.substr(text.find('\n') + 1);
}

/// The files of a folder except the log, without the dates in headers.
FileMap OutputsIn(const fs::path& folder) {
  FileMap files;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error))
    if (entry.is_regular_file() && entry.path().extension() != ".txt")
      files[entry.path().filename()] = WithoutDate(ReadFile(entry.path()));
  return files;
}

std::vector<std::string> NamesOf(const FileMap& files) {
  std::vector<std::string> names;
  for (const auto& [name, content] : files) names.push_back(name);
  return names;
}

/// Surveys and fragment scans of peaks that isotopes could make; scan numbers from first on.
std::vector<test::TestScan> ScansOfARun(int count, int first = 1, int peaks = 30) {
  std::mt19937 random(21);
  std::uniform_real_distribution<double> mz(400.0, 1200.0);
  std::vector<test::TestScan> scans;
  for (int i = 0; i < count; ++i) {
    test::TestScan scan = i % 5 == 0 ? test::Survey(first + i) : test::Fragment(first + i);
    std::vector<Peak> list;
    for (int peak = 0; peak < peaks; ++peak) list.push_back({mz(random), 1234.56});
    SortByMz(list);
    test::SetPeaks(scan, list);
    scans.push_back(scan);
  }
  return scans;
}

class WhileExtracting : public testing::Test {
 protected:
  WhileExtracting() {
    for (const char* const folder :
         {"home/bin", "home/libexec/tarvek", "home/share/tarvek", "with"})
      fs::create_directories(m_directory / folder);
    fs::copy_file(TARVEK_PROGRAM, m_directory / "home/bin/tarvek");
    fs::copy_file(TARVEK_EXTRACTOR_DIRECTORY "/morvex_xml.exe",
                  m_directory / "home/libexec/tarvek/morvex_xml.exe");
    fs::copy_file(TARVEK_EXTRACTOR_DIRECTORY "/morvex_xml.exe",
                  m_directory / "with/morvex_xml.exe");
    fs::copy_file(TARVEK_SOURCE_DIR "/data/IPV.txt", m_directory / "home/share/tarvek/IPV.txt");
  }
  void SetUp() override {
    if (tarvek::test::TestsForeignPrograms())
      GTEST_SKIP() << "the programs of a foreign system are not copied";
  }

  [[nodiscard]] std::string Path(const std::string& name) const { return m_directory / name; }

  /// A run on input; the program in the folder "with" has its extractor there and starts it.
  [[nodiscard]] ProcessRequest Request(const std::string& folder, const std::string& input,
                                       const std::string& output,
                                       std::vector<std::string> more = {}) const {
    ProcessRequest request;
    request.m_program = Path("home/bin/tarvek");
    request.m_working_directory = folder.empty() ? m_directory.Path() : Path(folder);
    request.m_arguments = {"-D", input, "-O", Path(output), "-L", Path("log")};
    request.m_arguments.insert(request.m_arguments.end(), more.begin(), more.end());
    return request;
  }
  ProcessResult RunHere(const std::string& input, const std::string& output,
                        std::vector<std::string> more = {}) {
    return tarvek::test::RunProcess(Request("", input, output, std::move(more)));
  }
  ProcessResult RunByProgram(const std::string& input, const std::string& output,
                             std::vector<std::string> more = {}) {
    return tarvek::test::RunProcess(Request("with", input, output, std::move(more)));
  }

  /// Both input paths write the same bytes and end with the same status.
  void ExpectSameByBothPaths(const std::string& input, const std::vector<std::string>& more = {}) {
    fs::remove_all(Path("here"));
    fs::remove_all(Path("program"));
    const ProcessResult here = RunHere(input, "here", more);
    const ProcessResult program = RunByProgram(input, "program", more);
    EXPECT_THAT(program.m_out, HasSubstr("- ./morvex_xml.exe -ms"));
    EXPECT_THAT(here.m_out, HasSubstr("libexec/tarvek/morvex_xml.exe\" -ms"));
    EXPECT_EQ(here.m_exit_status, program.m_exit_status);
    const FileMap of_here = OutputsIn(Path("here"));
    const FileMap of_program = OutputsIn(Path("program"));
    EXPECT_EQ(NamesOf(of_here), NamesOf(of_program));
    for (const auto& [name, content] : of_program) {
      const auto found = of_here.find(name);
      EXPECT_TRUE(found != of_here.end() && found->second == content) << name;
    }
    EXPECT_EQ(SummaryLines(here.m_out), SummaryLines(program.m_out));
    EXPECT_EQ("[Tarvek] <WARN> - Uses the extractor " + Path("with/morvex_xml.exe") +
                  ", which is not the installed one.\n" + here.m_err,
              program.m_err);
  }

  /// What a user relies on: the counts of the outputs and the last line of the extraction.
  static std::vector<std::string> SummaryLines(const std::string& out) {
    std::vector<std::string> lines;
    std::istringstream in(out);
    for (std::string line; std::getline(in, line);)
      if (line.find("Scan Number in") != std::string::npos || line.find("scans:") < 10 ||
          line.find("Analyser:") < 10 || line.find("Left out") < 10 ||
          line.find(" exported with ") != std::string::npos)
        lines.push_back(WithoutTimeAndFolder(line));
    return lines;
  }
  static std::string WithoutTimeAndFolder(std::string line) {
    for (const char* const folder : {"/here/", "/program/"})
      if (const std::size_t at = line.find(folder); at != std::string::npos)
        line = line.substr(0, line.find('/')) + line.substr(at + std::string(folder).size());
    return line.substr(0, line.find(", in "));
  }

  TemporaryDirectory m_directory;
};

TEST_F(WhileExtracting, WritesWhatTheProgramAndItsFilesGive) {
  WriteFile(Path("run.mzML"), test::Mzml(ScansOfARun(200)));
  ExpectSameByBothPaths(Path("run.mzML"));
  EXPECT_EQ(OutputsIn(Path("here")).count("run.csv"), 1u);
  ExpectSameByBothPaths(Path("run.mzML"), {"-d", "1"});
  EXPECT_THAT(NamesOf(OutputsIn(Path("here"))), Not(Contains("run.ms1")));
  ExpectSameByBothPaths(Path("run.mzML"), {"-m", "3", "-i", "0"});
  ExpectSameByBothPaths(Path("run.mzML"), {"-m", "9", "-i", "9"});
  WriteFile(Path("packed.mzML.gz"), test::Gzipped(test::Mzml(ScansOfARun(50))));
  ExpectSameByBothPaths(Path("packed.mzML.gz"));
}

TEST_F(WhileExtracting, LeavesTheBinaryPairToTheProgram) {
  WriteFile(Path("run.mzML"), test::Mzml(ScansOfARun(60)));
  ExpectSameByBothPaths(Path("run.mzML"), {"-b", "1"});
}

TEST_F(WhileExtracting, ReadsEveryRealRunAsTheProgramDoes) {
  std::vector<std::string> paths;
  std::error_code error;
  for (const auto& entry : fs::recursive_directory_iterator(TARVEK_SHARED_FOLDER "/data", error)) {
    const std::string name = entry.path().string();
    if (name.ends_with(".mzML.gz") || name.ends_with(".mzXML.gz")) paths.push_back(name);
  }
  if (paths.empty()) GTEST_SKIP() << "no real runs beside the project";
  for (const std::string& path : paths) {
    SCOPED_TRACE(path);
    ExpectSameByBothPaths(fs::canonical(path));
  }
}

// More peaks of surveys than the queue takes, before the first fragment scan.
TEST_F(WhileExtracting, TurnsToTheFilesWhereTheFileIsSortedByLevel) {
  std::vector<test::TestScan> scans;
  std::vector<Peak> many;
  for (int peak = 0; peak < 9000; ++peak) many.push_back({300.0 + 0.1 * peak, 50.0});
  for (int i = 1; i <= 260; ++i) {
    scans.push_back(test::Survey(i));
    test::SetPeaks(scans.back(), many);
  }
  for (const test::TestScan& scan : ScansOfARun(40, 1000))
    if (!scan.m_precursors.empty()) scans.push_back(scan);
  WriteFile(Path("sorted.mzML"), test::Mzml(scans));
  ExpectSameByBothPaths(Path("sorted.mzML"));
  EXPECT_THAT(RunHere(Path("sorted.mzML"), "again").m_out,
              HasSubstr("is extracted as a whole before precursors are determined"));
}

// The numbers of the second run start again after scans of the first were taken.
TEST_F(WhileExtracting, TurnsToTheFilesWhereNumbersBeginAnew) {
  std::vector<test::TestScan> scans = ScansOfARun(400, 1, 600);
  for (const test::TestScan& scan : ScansOfARun(100, 1)) scans.push_back(scan);
  WriteFile(Path("merged.mzML"), test::Mzml(scans));
  ExpectSameByBothPaths(Path("merged.mzML"));
}

// ------------------------------------------------------------ faults

class FaultWhileExtracting : public WhileExtracting {
 protected:
  void SetUp() override {
    WhileExtracting::SetUp();
    if (IsSkipped()) return;
    m_mzml = test::Mzml(ScansOfARun(400, 1, 300));
    WriteFile(Path("run.mzML"), m_mzml);
    EXPECT_EQ(RunHere(Path("run.mzML"), "whole").m_exit_status, 0);
    m_whole = OutputsIn(Path("whole"));
    EXPECT_EQ(m_whole.count("run.csv"), 1u);
  }
  void ExpectWholeIn(const std::string& folder) {
    const FileMap outputs = OutputsIn(Path(folder));
    EXPECT_EQ(NamesOf(outputs), NamesOf(m_whole));
    EXPECT_TRUE(outputs == m_whole);
  }

  /// Files with final names are complete; with -r 1 the spectra may be from the run before.
  void ExpectNoOtherBytesIn(const std::string& folder) {
    for (const auto& [name, content] : OutputsIn(Path(folder))) {
      const auto found = m_whole.find(name);
      EXPECT_TRUE(found == m_whole.end() || found->second == content) << name;
    }
  }

  std::string m_mzml;
  FileMap m_whole;
};

TEST_F(FaultWhileExtracting, ADamagedInputLeavesNothingAndTheOldOutputsAlone) {
  Promise promise(
      "an mzML cut off or damaged anywhere: an error, no output, old outputs untouched");
  std::mt19937 random(22);
  RunHere(Path("run.mzML"), "old");
  for (int i = 0; i < FaultPoints(); ++i) {
    promise.Try(i, [&] {
      const std::size_t place = random() % (m_mzml.size() - 10);
      std::string damaged = m_mzml.substr(0, place);
      if (i % 2 == 0) damaged += "<" + m_mzml.substr(place);
      WriteFile(Path("run.mzML"), damaged);
      fs::remove_all(Path("out"));
      const ProcessResult result = RunHere(Path("run.mzML"), "out");
      EXPECT_EQ(result.m_exit_status, 255);
      EXPECT_THAT(result.m_err, HasSubstr("morvex_xml.exe: " + Path("run.mzML")));
      EXPECT_THAT(result.m_err, HasSubstr("Cannot use morvex to extract signals from: "));
      EXPECT_THAT(NamesOf(OutputsIn(Path("out"))), testing::IsEmpty());
      EXPECT_EQ(RunHere(Path("run.mzML"), "old", {"-r", "1"}).m_exit_status, 255);
      FileMap old = OutputsIn(Path("old"));
      old["run.morvex"] = m_whole["run.morvex"];  // which the extraction removes first, as always
      EXPECT_TRUE(old == m_whole);
    });
  }
}

TEST_F(FaultWhileExtracting, AKilledRunGivesTheWholeBytesWhenRunAgain) {
  Promise promise("kill -9 while extracting: no table beside incomplete outputs; again: all bytes");
  std::mt19937 random(23);
  const auto duration = std::chrono::milliseconds(120);
  int killed = 0;
  for (int i = 0; i < FaultPoints(); ++i) {
    promise.Try(i, [&] {
      if (i % 2 == 0) fs::remove_all(Path("out"));
      ProcessRequest request = Request("", Path("run.mzML"), "out", {"-r", "1"});
      request.m_kill_after = MomentIn(duration, random);
      if (tarvek::test::RunProcess(request).m_signal == SIGKILL) ++killed;
      if (fs::exists(Path("out/run.csv"))) ExpectNoOtherBytesIn("out");
      // A finished table stops the second run from extracting again; the spectra may be gone then.
      const bool is_finished = fs::exists(Path("out/run.csv"));
      EXPECT_EQ(RunHere(Path("run.mzML"), "out").m_exit_status, 0);
      if (is_finished) {
        ExpectNoOtherBytesIn("out");
        for (const std::string& name : NamesOf(OutputsIn(Path("out"))))
          EXPECT_FALSE(name.ends_with("_unfinished")) << name;
      } else {
        ExpectWholeIn("out");
      }
    });
  }
  EXPECT_GE(killed, 1);
}

TEST_F(FaultWhileExtracting, AnInterruptedRunLeavesNothingUnfinished) {
  Promise promise(
      "SIGINT or SIGTERM while extracting: ends by the signal, nothing unfinished left");
  std::mt19937 random(24);
  int stopped = 0;
  for (int i = 0; i < FaultPoints(); ++i) {
    promise.Try(i, [&] {
      fs::remove_all(Path("out"));
      ProcessRequest request = Request("", Path("run.mzML"), "out");
      request.m_kill_after = MomentIn(std::chrono::milliseconds(120), random);
      request.m_kill_signal = i % 2 == 0 ? SIGINT : SIGTERM;
      const ProcessResult result = tarvek::test::RunProcess(request);
      if (result.m_signal == 0) return;
      EXPECT_EQ(result.m_signal, request.m_kill_signal);
      ++stopped;
      for (const auto& [name, content] : OutputsIn(Path("out")))
        EXPECT_FALSE(name.ends_with("_unfinished") && !content.empty()) << name;
      EXPECT_EQ(RunHere(Path("run.mzML"), "out").m_exit_status, 0);
      ExpectWholeIn("out");
    });
  }
  EXPECT_GE(stopped, 1);
}

TEST_F(FaultWhileExtracting, AFileThatCannotGrowEndsTheRunWithAnError) {
  Promise promise("a full disk while extracting: an error that names an output; no table");
  std::size_t largest = 0;
  for (const auto& [name, content] : m_whole) largest = std::max(largest, content.size());
  std::mt19937 random(25);
  for (int i = 0; i < FaultPoints(); ++i) {
    promise.Try(i, [&] {
      fs::remove_all(Path("out"));
      ProcessRequest request = Request("", Path("run.mzML"), "out");
      request.m_file_size_limit_bytes = random() % (largest - 1);
      const ProcessResult result = tarvek::test::RunProcess(request);
      EXPECT_EQ(result.m_exit_status, 255);
      EXPECT_THAT(result.m_err, HasSubstr("Cannot write "));
      EXPECT_FALSE(fs::exists(Path("out/run.csv")));
      EXPECT_EQ(RunHere(Path("run.mzML"), "out").m_exit_status, 0);
      ExpectWholeIn("out");
    });
  }
}

}  // namespace
}  // namespace tarvek::extractor
