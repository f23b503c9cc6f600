// Instrument files: the extractor as a child process, its output, its failures, its files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "FakeExtractor.h"

namespace tarvek::test {
namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kFailed =
    "[Tarvek] <ERROR> - Cannot use morvex to extract signals from: run.raw\n";
constexpr const char* kSkippedFile = "[Tarvek] <INFO> - run.raw has existed results, skipping...\n";
constexpr const char* kSkippedExtractor =
    "[Tarvek] <INFO> - run.raw has existed results, skipping morvex process...\n";

FileMap Without(FileMap files, const std::vector<std::string>& names) {
  for (const std::string& name : names) files.erase(name);
  return files;
}

class Extraction : public FakeExtractorTest {
 protected:
  const ProcessResult& RunRaw(std::vector<std::string> more = {}) {
    std::vector<std::string> arguments = {"-D", "run.raw", "-O", "out"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }
  [[nodiscard]] FileMap Outputs() const { return OutputsIn(Path("out")); }
  [[nodiscard]] static FileMap Expected() { return OutputsIn(GoldenFolder() + "/default"); }
};

TEST_F(Extraction, IsFollowedByTheProcessingOfItsSpectra) {
  PlaceExtractor(kCopyTextPair);
  EXPECT_EQ(RunRaw().m_exit_status, 0);
  EXPECT_EQ(Without(Outputs(), {"run.ms1", "run.ms2", "run.morvex"}), Expected());
}
TEST_F(Extraction, LeavesTheExtractedFiles) {
  PlaceExtractor(kCopyTextPair);
  RunRaw();
  EXPECT_TRUE(Exists("out/run.ms1"));
  EXPECT_TRUE(Exists("out/run.ms2"));
  EXPECT_TRUE(Exists("out/run.morvex"));
}
TEST_F(Extraction, DeletesTheExtractedFilesWhenAskedTo) {
  PlaceExtractor(kCopyTextPair);
  RunRaw({"-d", "1"});
  EXPECT_EQ(Outputs(), Expected());
}
TEST_F(Extraction, LeavesSpectraBesideTheInputWithoutOutputPath) {
  MakeFolder("in");
  Write("in/run.raw", "x");
  PlaceExtractor(kCopyTextPair);
  EXPECT_EQ(Run({"in/run.raw"}).m_exit_status, 0);
  EXPECT_TRUE(Exists("in/run.csv"));
  EXPECT_THAT(Calls(), HasSubstr("-o\nin\nin/run.raw\n"));
}
TEST_F(Extraction, TakesAFileWithItsExtensionInUpperCase) {
  Write("1.RAW", "x");
  PlaceExtractor(kCopyTextPair);
  EXPECT_EQ(Run({"-D", "1.RAW", "-O", "out"}).m_exit_status, 0);
  EXPECT_TRUE(Exists("out/1.csv"));
}
TEST_F(Extraction, ProcessesAnInterruptedFileAgain) {
  PlaceExtractor(kCopyTextPair);
  MakeFolder("out");
  Write("out/run.csv_unfinished", std::string(100000, 'x'));
  RunRaw({"-d", "1"});
  EXPECT_EQ(Outputs(), Expected());
}

// ------------------------------------------------------------ command line

TEST_F(Extraction, LogsItsCommandLineToTheLetter) {
  PlaceExtractor(kCopyTextPair);
  RunRaw();
  EXPECT_THAT(m_result.m_out, HasSubstr("[Tarvek] <INFO> - ./morvex_raw.exe -ms -a -i 1 -m 5 -o "
                                        "\"out\" \"run.raw\"\n"));
}
TEST_F(Extraction, LogsItsCommandLineForBinaryOutputToTheLetter) {
  PlaceExtractor(": > \"$out/$base.morvex\"\n");
  RunRaw({"-b", "1", "-i", "0", "-z", "9"});
  EXPECT_THAT(m_result.m_out, HasSubstr("[Tarvek] <INFO> - ./morvex_raw.exe -ms -a -i 0 -m 9 -o "
                                        "\"out\" \"run.raw\" -msb\n"));
}
TEST_F(Extraction, PassesItsArguments) {
  PlaceExtractor(kCopyTextPair);
  RunRaw();
  EXPECT_EQ(Calls(), "morvex_raw.exe\n-ms\n-a\n-i\n1\n-m\n5\n-o\nout\nrun.raw\n.\n");
}

class ExtractorOfFormat : public FakeExtractorTest,
                          public testing::WithParamInterface<std::pair<const char*, const char*>> {
};

TEST_P(ExtractorOfFormat, IsStarted) {
  const auto [file, program] = GetParam();
  Write(file, "x");
  PlaceExtractor(kCopyTextPair, program);
  EXPECT_EQ(Run({"-D", file, "-O", "out", "-F", "mzXML"}).m_exit_status, 0);
  EXPECT_EQ(Starts(program), 1);
}
INSTANTIATE_TEST_SUITE_P(Extraction, ExtractorOfFormat,
                         testing::Values(std::pair("a.raw", "morvex_raw.exe"),
                                         std::pair("a.wiff", "morvex_wiff.exe"),
                                         std::pair("a.WIFF", "morvex_wiff.exe"),
                                         std::pair("a.mzXML", "morvex_xml.exe"),
                                         std::pair("a.mzML", "morvex_xml.exe")));

/// A directory and a file name that a shell would split.
class OddPath : public FakeExtractorTest, public testing::WithParamInterface<const char*> {};

TEST_P(OddPath, IsHandedOverUnchanged) {
  const std::string folder = std::string("in") + GetParam();
  const std::string file = folder + "/a" + GetParam() + "z.raw";
  const std::string out = std::string("out") + GetParam() + "z";
  MakeFolder(folder);
  Write(file, "x");
  PlaceExtractor(kCopyTextPair);
  EXPECT_EQ(Run({"-D", file, "-O", out}).m_exit_status, 0) << m_result.m_err;
  EXPECT_THAT(Calls(), EndsWith("-o\n" + out + "\n" + file + "\n.\n"));
  EXPECT_TRUE(Exists(out + "/a" + GetParam() + "z.csv"));
}
INSTANTIATE_TEST_SUITE_P(Extraction, OddPath,
                         testing::Values(" two  blanks", "\"quote\"", "'", "$HOME", "$(touch x)",
                                         "`touch x`", "\xC3\xA4\xE6\xB8\xAC", ";touch x;", "*",
                                         "%d", "&"));

TEST_F(Extraction, HandsOverABackslashInAFolder) {
  MakeFolder("in\\$x");
  Write("in\\$x/run.raw", "x");
  PlaceExtractor(kCopyTextPair);
  EXPECT_EQ(Run({"-D", "in\\$x/run.raw", "-O", "o\\\\ut"}).m_exit_status, 0) << m_result.m_err;
  EXPECT_THAT(Calls(), EndsWith("-o\no\\\\ut\nin\\$x/run.raw\n.\n"));
  EXPECT_TRUE(Exists("o\\\\ut/run.csv"));
}

// ------------------------------------------------------------ output

TEST_F(Extraction, HasItsLinesInTheLogBeforeItEnds) {
  // The script itself looks for its line in the log, for ten seconds at most.
  PlaceExtractor(std::string("echo 'the first line'\n"
                             "i=0\n"
                             "while [ $i -lt 100 ]; do\n"
                             "  grep -q '^the first line$' \"$out/TarvekPlusLog.txt\" && break\n"
                             "  sleep 0.1; i=$((i+1))\n"
                             "done\n"
                             "[ $i -lt 100 ] && echo 'is in the log'\n") +
                 kCopyTextPair);
  RunRaw();
  EXPECT_THAT(m_result.m_out, HasSubstr("the first line\nis in the log\n"));
}
TEST_F(Extraction, HasItsLinesShownWithoutLevelWords) {
  PlaceExtractor(std::string("echo 'scan 1'; echo 'scan 2'\n") + kCopyTextPair);
  RunRaw();
  EXPECT_THAT(m_result.m_out, HasSubstr("\"run.raw\"\nscan 1\nscan 2\n[Tarvek] <INFO> - "));
  EXPECT_THAT(Content("out/TarvekPlusLog.txt"),
              HasSubstr("\"run.raw\"\nscan 1\nscan 2\n[Tarvek] <INFO> - "));
}
TEST_F(Extraction, HasALastLineWithoutLineFeedShownAsItIs) {
  PlaceExtractor(std::string(kCopyTextPair) + "printf 'no line feed'\n");
  RunRaw();
  EXPECT_EQ(m_result.m_exit_status, 0);
  EXPECT_THAT(m_result.m_out, HasSubstr("\"run.raw\"\nno line feed[Tarvek] <INFO> - Start to "));
}
TEST_F(Extraction, HasALineOfThreeThousandCharactersShownUnchanged) {
  PlaceExtractor(std::string("i=0; while [ $i -lt 300 ]; do printf 0123456789; i=$((i+1)); done\n"
                             "echo\n") +
                 kCopyTextPair);
  RunRaw();
  std::string line;
  for (int i = 0; i < 300; ++i) line += "0123456789";
  EXPECT_THAT(m_result.m_out, HasSubstr("\"run.raw\"\n" + line + "\n[Tarvek] <INFO> - "));
  EXPECT_THAT(Content("out/TarvekPlusLog.txt"),
              HasSubstr("\"run.raw\"\n" + line + "\n[Tarvek] <INFO> - "));
}
TEST_F(Extraction, MaySayMuch) {
  PlaceExtractor(std::string("seq 1 50000\n") + kCopyTextPair);
  EXPECT_EQ(RunRaw().m_exit_status, 0);
  EXPECT_THAT(m_result.m_out, HasSubstr("\n49999\n50000\n[Tarvek] <INFO> - "));
}

// ------------------------------------------------------------ failures

class FailedExtraction : public Extraction {
 protected:
  void ExpectFailure(const std::string& body) {
    PlaceExtractor(body);
    RunRaw();
    EXPECT_EQ(m_result.m_exit_status, 255);
    EXPECT_THAT(m_result.m_err, EndsWith(kFailed));
    EXPECT_THAT(m_result.m_out, EndsWith(kCrashLines));
    EXPECT_FALSE(Exists("out/run.csv"));
  }
};

TEST_F(FailedExtraction, ByItsStatusEndsTheRun) {
  ExpectFailure(std::string(kCopyTextPair) + "exit 3\n");
}
TEST_F(FailedExtraction, ByASignalEndsTheRun) {
  ExpectFailure(std::string(kCopyTextPair) + "kill -KILL $$\n");
}
TEST_F(FailedExtraction, ByAMissingMarkerEndsTheRun) {
  ExpectFailure("echo 'nothing found'; exit 0\n");
}
TEST_F(FailedExtraction, StillShowsItsLines) {
  ExpectFailure("echo 'before the end'; kill -TERM $$\n");
  EXPECT_THAT(m_result.m_out, HasSubstr("before the end\n"));
}
TEST_F(FailedExtraction, WithoutAProgramLogsTheCommandFirst) {
  RunRaw();
  EXPECT_EQ(m_result.m_exit_status, 255);
  EXPECT_THAT(m_result.m_out, HasSubstr("./morvex_raw.exe -ms "));
  EXPECT_THAT(m_result.m_err, EndsWith(kFailed));
}
TEST_F(FailedExtraction, EndsTheWholeRun) {
  PlacePair("", "next");
  PlaceExtractor("exit 1\n");
  Write("run.cfg", "datanum = 2\ndatapath1 = run.raw\ndatapath2 = next.ms1\n");
  Run({"run.cfg"});
  EXPECT_FALSE(Exists("next.csv"));
}
TEST_F(FailedExtraction, WithAMarkerAloneNamesTheMissingSpectra) {
  PlaceExtractor(": > \"$out/$base.morvex\"\n");
  RunRaw();
  EXPECT_EQ(m_result.m_exit_status, 255);
  EXPECT_THAT(m_result.m_err,
              EndsWith("[Tarvek] <ERROR> - Cannot open MS1 File, Path: out/run.ms1\n"));
}

// ------------------------------------------------------------ again

TEST_F(Extraction, IsNotDoneForAFinishedFile) {
  PlaceExtractor(kCopyTextPair);
  RunRaw();
  RunRaw();
  EXPECT_EQ(Starts(), 1);
  EXPECT_THAT(m_result.m_out, HasSubstr(kSkippedFile));
  EXPECT_THAT(m_result.m_out, Not(HasSubstr("morvex")));
}
TEST_F(Extraction, IsNotDoneAgainBesideItsMarker) {
  PlaceExtractor(kCopyTextPair);
  RunRaw();
  fs::remove(Path("out/run.csv"));
  EXPECT_EQ(RunRaw().m_exit_status, 0);
  EXPECT_EQ(Starts(), 1);
  EXPECT_THAT(m_result.m_out, HasSubstr(kSkippedExtractor));
  EXPECT_TRUE(Exists("out/run.csv"));
}
TEST_F(Extraction, IsNotDoneAgainBesideItsMarkerEvenWithoutSpectra) {
  PlaceExtractor(kCopyTextPair);
  RunRaw();
  for (const char* name : {"out/run.csv", "out/run.ms1", "out/run.ms2"}) fs::remove(Path(name));
  EXPECT_EQ(RunRaw().m_exit_status, 255);
  EXPECT_EQ(Starts(), 1);
  EXPECT_THAT(m_result.m_out, HasSubstr(kSkippedExtractor));
  EXPECT_EQ(m_result.m_err, "[Tarvek] <ERROR> - Cannot open MS1 File, Path: out/run.ms1\n");
}
TEST_F(Extraction, IsDoneAgainWhenFilesAreRewritten) {
  PlaceExtractor(kCopyTextPair);
  RunRaw();
  Write("out/run.csv", "mine");
  EXPECT_EQ(RunRaw({"-r", "1"}).m_exit_status, 0);
  EXPECT_EQ(Starts(), 2);
  EXPECT_EQ(Content("out/run.csv"), Expected()["run.csv"]);
}

// ------------------------------------------------------------ the installed one, and signals

class InstalledExtractor : public Extraction {
 protected:
  InstalledExtractor() {
    for (const char* folder : {"my tool/bin", "my tool/libexec/tarvek"}) MakeFolder(folder);
    fs::copy_file(TARVEK_PROGRAM, Path("my tool/bin/tarvek"));
    PlaceExtractor(std::string("echo installed\n") + kCopyTextPair,
                   "my tool/libexec/tarvek/morvex_raw.exe");
  }
  const ProcessResult& RunInstalled() {
    ProcessRequest request = Request({"-D", "run.raw", "-O", "out"});
    request.m_program = Path("my tool/bin/tarvek");
    return RunRequest(request);
  }
};

TEST_F(InstalledExtractor, IsUsedWhenTheCurrentDirectoryHasNone) {
  EXPECT_EQ(RunInstalled().m_exit_status, 0);
  EXPECT_THAT(m_result.m_out, HasSubstr("\ninstalled\n"));
}
TEST_F(InstalledExtractor, HasItsPathInTheLoggedCommand) {
  RunInstalled();
  const std::string bin = fs::canonical(Path("my tool/bin")).string();
  EXPECT_THAT(m_result.m_out, HasSubstr("[Tarvek] <INFO> - \"" + bin +
                                        "/../libexec/tarvek/morvex_raw.exe\" -ms -a "
                                        "-i 1 -m 5 -o \"out\" \"run.raw\"\n"));
}
TEST_F(InstalledExtractor, GivesWayToTheOneOfTheCurrentDirectory) {
  PlaceExtractor(std::string("echo local\n") + kCopyTextPair);
  RunInstalled();
  EXPECT_THAT(m_result.m_out, HasSubstr("- ./morvex_raw.exe -ms -a "));
  EXPECT_THAT(m_result.m_out, HasSubstr("\nlocal\n"));
}
TEST_F(InstalledExtractor, FailsUnderTheLocalNameWhenItIsNotThere) {
  fs::remove(Path("my tool/libexec/tarvek/morvex_raw.exe"));
  EXPECT_EQ(RunInstalled().m_exit_status, 255);
  EXPECT_THAT(m_result.m_out, HasSubstr("- ./morvex_raw.exe -ms -a "));
}

TEST_F(Extraction, StartsWithTheSignalsOfBrokenPipesInPlace) {
  if (!fs::exists("/proc/self/status")) GTEST_SKIP() << "no /proc here";
  PlaceExtractor(std::string("grep SigIgn /proc/$$/status\n") + kCopyTextPair);
  RunRaw();
  const std::size_t start = m_result.m_out.find("SigIgn:\t");
  ASSERT_NE(start, std::string::npos);
  const auto ignored = std::stoull(m_result.m_out.substr(start + 8, 16), nullptr, 16);
  EXPECT_EQ(ignored >> (SIGPIPE - 1) & 1, 0u);
  EXPECT_EQ(ignored >> (SIGXFSZ - 1) & 1, 0u);
}
TEST_F(Extraction, IsAwaitedByARunWhoseParentIgnoresItsChildren) {
  PlaceExtractor(kCopyTextPair);
  ProcessRequest request = Request(
      {"--ignore-signal=CHLD", TestedProgram(TARVEK_PROGRAM), "-D", "run.raw", "-O", "out"});
  request.m_program = "/usr/bin/env";
  EXPECT_EQ(RunRequest(request).m_exit_status, 0) << m_result.m_err;
}

}  // namespace
}  // namespace tarvek::test
