// Which files a run processes, skips and replaces.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "ProgramTest.h"

namespace tarvek::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

std::vector<std::string> NamesOf(const FileMap& files) {
  std::vector<std::string> names;
  for (const auto& file : files) names.push_back(file.first);
  return names;
}

/// The first line of every table.
std::string HeaderLine() {
  const std::string table = ReadFile(GoldenFolder() + "/default/run.csv");
  return table.substr(0, table.find('\n') + 1);
}

FileMap WithoutRecord(FileMap files) {
  EXPECT_EQ(files.erase("run.tarvek"), 1u);
  return files;
}

class MainJob : public PairTest {
 protected:
  [[nodiscard]] FileMap Outputs() const { return OutputsIn(Path("out")); }
  [[nodiscard]] static FileMap Expected() { return OutputsIn(GoldenFolder() + "/default"); }
  const ProcessResult& RunPair(std::vector<std::string> more = {}) {
    std::vector<std::string> arguments = {"-D", "run.ms1", "-O", "out"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }
};

TEST_F(MainJob, WritesBesideTheInputWithoutOutputPath) {
  MakeFolder("in");
  PlacePair("in");
  Run({"in/run.ms1"});
  FileMap outputs = OutputsIn(Path("in"));
  EXPECT_EQ(outputs.erase("run.ms1") + outputs.erase("run.ms2"), 2u);
  EXPECT_EQ(outputs, Expected());
}
TEST_F(MainJob, MakesANestedOutputDirectory) {
  EXPECT_EQ(Run({"-D", "run.ms1", "-O", "a/b c/d/"}).m_exit_status, 0);
  EXPECT_EQ(OutputsIn(Path("a/b c/d")), Expected());
}
TEST_F(MainJob, TakesTheScoringModelOfItsNumber) {
  const auto outputs_of = [this](const char* model) {
    EXPECT_EQ(RunPair({"-M", model, "-r", "1"}).m_exit_status, 0) << m_result.m_err;
    EXPECT_THAT(Content("out/run.tarvek"),
                HasSubstr("setting\tmars_model\t" + std::string(model) + "\n"));
    return WithoutRecord(Outputs());
  };
  const FileMap model_0 = WithoutRecord(OutputsIn(GoldenFolder() + "/model0"));
  const FileMap model_2 = WithoutRecord(OutputsIn(GoldenFolder() + "/model2"));
  const FileMap model_4 = WithoutRecord(Expected());
  ASSERT_FALSE(model_0 == model_4 || model_0 == model_2);
  EXPECT_TRUE(outputs_of("0") == model_0);
  EXPECT_TRUE(outputs_of("2") == model_2);
  EXPECT_TRUE(outputs_of("1024") == model_4);
  EXPECT_TRUE(outputs_of("7") == model_0);
}

TEST_F(MainJob, SkipsAFileThatIsFinished) {
  RunPair();
  const std::string mine = HeaderLine() + "mine\nmine\nmine\nmine\nmine\nmine\n";  // as many rows
  Write("out/run.csv", mine);
  RunPair();
  EXPECT_THAT(m_result.m_out,
              HasSubstr("[Tarvek] <INFO> - run.ms1 has existed results, skipping...\n"));
  EXPECT_EQ(Content("out/run.csv"), mine);
}
TEST_F(MainJob, SkipsAFileWithoutRecordHoweverManyRowsItsTableHas) {
  RunPair();
  fs::remove(Path("out/run.tarvek"));
  Write("out/run.csv", HeaderLine() + "mine\n");
  RunPair();
  EXPECT_THAT(m_result.m_out,
              HasSubstr("[Tarvek] <INFO> - run.ms1 has existed results, skipping...\n"));
}
TEST_F(MainJob, ProcessesAFileAgainWithoutAWholeTable) {
  RunPair();
  const std::string header = HeaderLine();
  const std::string table = Content("out/run.csv");
  const std::string no_header = "it does not begin with the header";
  for (const auto& [damaged, flaw] :
       {std::pair<std::string, std::string>{"", "it is empty"},
        {std::string(4096, '\0'), no_header},
        {header.substr(0, header.size() / 2), no_header},
        {header.substr(0, header.size() - 1), no_header},
        {table.substr(0, table.size() - 1), "its last line is cut off"},
        {header, "it has 0 rows, and its record counts 6"},
        {table + "x", "its last line is cut off"},
        {table + "more\n", "it has 7 rows, and its record counts 6"}}) {
    Write("out/run.csv", damaged);
    RunPair();
    EXPECT_EQ(m_result.m_exit_status, 0);
    EXPECT_THAT(m_result.m_err, HasSubstr("[Tarvek] <WARN> - out/run.csv is no finished table: " +
                                          flaw + ". run.ms1 is processed again.\n"));
    EXPECT_EQ(Outputs(), Expected());
  }
}
TEST_F(MainJob, RewritesAFinishedFileWhenAskedTo) {
  RunPair();
  Write("out/run.csv", "mine");
  Write("out/run.pf1", std::string(100000, 'x'));
  RunPair({"-r", "1"});
  EXPECT_EQ(Outputs(), Expected());
}
TEST_F(MainJob, ProcessesAnInterruptedFileAgain) {
  MakeFolder("out");
  Write("out/run.csv_unfinished", std::string(100000, 'x'));
  Write("out/run_HCDFT.mgf", std::string(100000, 'x'));
  RunPair();
  EXPECT_EQ(Outputs(), Expected());
}
TEST_F(MainJob, RemovesTheOldTableBeforeAnOutputIsOpened) {
  RunPair();
  // The first output after the table cannot be opened, and by then the old table is gone.
  fs::remove(Path("out/run.pf1"));
  MakeFolder("out/run.pf1");
  RunPair({"-r", "1"});
  EXPECT_EQ(m_result.m_err, "[Tarvek] <ERROR> - Cannot open PF File, Path: out/run.pf1\n");
  EXPECT_FALSE(Exists("out/run.csv"));
}
TEST_F(MainJob, KeepsTheOldTableWhenAnOutputMayNotBeWritten) {
  RunPair();
  const std::string table = Content("out/run.csv");
  // Nobody, not even root, may write to a program that is running.
  for (const char* const name : {"run.pf1idx", "run_HCDFT.mgf", "run_HCDFT.pf2"}) {
    SCOPED_TRACE(name);
    const std::string before = Content(std::string("out/") + name);
    fs::copy_file("/bin/sleep", Path("busy"), fs::copy_options::overwrite_existing);
    fs::permissions(Path("busy"), fs::perms::owner_all);
    fs::remove(Path(std::string("out/") + name));
    fs::create_hard_link(Path("busy"), Path(std::string("out/") + name));
    ProcessRequest request = Request({"20"});
    request.m_program = Path("busy");
    {
      const RunningProcess busy(request);
      const std::string program = "/proc/" + std::to_string(busy.Id()) + "/exe";
      std::error_code error;
      ASSERT_TRUE(
          Eventually([&] { return fs::read_symlink(program, error).filename() == "busy"; }));
      RunPair({"-r", "1"});
    }
    EXPECT_EQ(m_result.m_exit_status, 255);
    EXPECT_THAT(m_result.m_err, HasSubstr(std::string("File, Path: out/") + name + "\n"));
    EXPECT_EQ(Content("out/run.csv"), table);
    fs::remove(Path(std::string("out/") + name));
    fs::remove(Path("busy"));
    Write(std::string("out/") + name, before);
  }
  RunPair({"-r", "1"});
  EXPECT_EQ(Outputs(), Expected());
}
TEST_F(MainJob, WritesNoPfFilesWhenTheyAreOff) {
  RunPair({"-p", "0"});
  EXPECT_THAT(NamesOf(Outputs()), ElementsAre("run.csv", "run.tarvek", "run_CIDIT.mgf",
                                              "run_ETHCDFT.mgf", "run_HCDFT.mgf"));
}
TEST_F(MainJob, WritesNoMgfFilesWhenTheyAreOff) {
  RunPair({"-m", "0"});
  EXPECT_THAT(NamesOf(Outputs()),
              ElementsAre("run.csv", "run.pf1", "run.pf1idx", "run.tarvek", "run_CIDIT.pf2",
                          "run_CIDIT.pf2idx", "run_ETHCDFT.pf2", "run_ETHCDFT.pf2idx",
                          "run_HCDFT.pf2", "run_HCDFT.pf2idx"));
}
TEST_F(MainJob, WritesTheSameTableWithoutTheOtherOutputs) {
  RunPair({"-m", "0", "-p", "0"});
  EXPECT_EQ(Content("out/run.csv"), Expected()["run.csv"]);
}
TEST_F(MainJob, ReadsWindowsLineEndsTheSame) {
  for (const char* name : {"run.ms1", "run.ms2"}) {
    std::string windows;
    for (const std::string& line : LinesOf(GoldenInput(name))) windows += line + "\r\n";
    Write(name, windows);
  }
  RunPair();
  EXPECT_EQ(Outputs(), Expected());
}
TEST_F(MainJob, GivesTheSameBytesTwice) {
  RunPair();
  Run({"-D", "run.ms1", "-O", "again"});
  EXPECT_EQ(OutputsIn(Path("again")), Outputs());
}

// ------------------------------------------------------------ directories

class Directory : public ProgramTest {
 protected:
  Directory() {
    PlaceTable();
    MakeFolder("in");
  }
};

TEST_F(Directory, HasEveryMs1FileProcessed) {
  PlacePair("in", "a");
  PlacePair("in", "b");
  Run({"-D", "in", "-F", "ms1", "-O", "out"});
  EXPECT_TRUE(Exists("out/a.csv"));
  EXPECT_TRUE(Exists("out/b.csv"));
}
TEST_F(Directory, MayHoldExtensionsInUpperCase) {
  PlacePair("in", "a");
  fs::rename(Path("in/a.ms1"), Path("in/a.MS1"));
  Run({"-D", "in", "-F", "ms1", "-O", "out"});
  EXPECT_TRUE(Exists("out/a.csv"));
}
TEST_F(Directory, MayHoldHiddenFilesWhichAreLeftOut) {
  PlacePair("in", ".hidden");
  PlacePair("in", "a");
  Run({"-D", "in", "-F", "ms1", "-O", "out"});
  EXPECT_TRUE(Exists("out/a.csv"));
  EXPECT_FALSE(Exists("out/.hidden.csv"));
}
TEST_F(Directory, MayHoldNamesWithBlanksDotsAndAccents) {
  const std::string name = "Probe 7.2 \xC3\xA4\xE6\xB8\xAC";
  PlacePair("in", name);
  EXPECT_EQ(Run({"-D", "in", "-F", "ms1", "-O", "out"}).m_exit_status, 0);
  EXPECT_TRUE(Exists("out/" + name + ".csv"));
  EXPECT_THAT(Content("out/" + name + "_CIDIT.mgf"),
              HasSubstr("TITLE=" + name + ".61.61.2.0.dta\n"));
}
TEST_F(Directory, IsNotSearchedInItsFolders) {
  MakeFolder("in/deeper");
  PlacePair("in/deeper", "a");
  EXPECT_EQ(Run({"-D", "in", "-F", "ms1", "-O", "out"}).m_exit_status, 0);
  EXPECT_FALSE(Exists("out/a.csv"));
}
TEST_F(Directory, HasItsFinishedFilesSkippedAndTheOthersProcessed) {
  PlacePair("in", "a");
  PlacePair("in", "b");
  MakeFolder("out");
  const std::string mine = HeaderLine() + "mine";
  Write("out/a.csv", mine);
  Run({"-D", "in", "-F", "ms1", "-O", "out"});
  EXPECT_EQ(Content("out/a.csv"), mine);
  EXPECT_TRUE(Exists("out/b.csv"));
}
TEST_F(Directory, WithAnUnknownFormatFailsTheCheckOfTheFormat) {
  Run({"-D", "in", "-F", "x"});
  EXPECT_EQ(m_result.m_signal, SIGABRT);
  EXPECT_THAT(m_result.m_err, HasSubstr("m_input_format"));
}
TEST_F(Directory, WithTheFormatInAnotherLetterCaseFailsTheCheckOfTheFormat) {
  Run({"-D", "in", "-F", "MS1"});
  EXPECT_EQ(m_result.m_signal, SIGABRT);
  EXPECT_THAT(m_result.m_err, HasSubstr("m_input_format"));
}

// ------------------------------------------------------------ bad input

class BadInput : public MainJob {};

TEST_F(BadInput, MissingMs2FileIsNamed) {
  fs::remove(Path("run.ms2"));
  RunPair();
  EXPECT_EQ(m_result.m_err, "[Tarvek] <ERROR> - Cannot open MS2 File, Path: ./run.ms2\n");
  EXPECT_EQ(m_result.m_exit_status, 255);
}
TEST_F(BadInput, MissingMs2FileEndsTheWholeRun) {
  fs::remove(Path("run.ms2"));
  PlacePair("", "next");
  Write("run.cfg", "datanum = 2\ndatapath1 = run.ms1\ndatapath2 = next.ms1\n");
  Run({"run.cfg"});
  EXPECT_FALSE(Exists("next.csv"));
}
TEST_F(BadInput, EmptyMs2FileGivesTheHeaderLineAlone) {
  Write("run.ms2", "");
  EXPECT_EQ(RunPair().m_exit_status, 0);
  EXPECT_EQ(LinesOf(Content("out/run.csv")).size(), 1u);
}
TEST_F(BadInput, EmptyMs2FileStillGivesEverySurveyToPf1) {
  Write("run.ms2", "");
  RunPair();
  EXPECT_EQ(Content("out/run.pf1"), Expected()["run.pf1"]);
}
TEST_F(BadInput, EmptyMs1FileLeavesTheDeclaredPrecursors) {
  Write("run.ms1", "");
  EXPECT_EQ(RunPair().m_exit_status, 0);
  EXPECT_THAT(Content("out/run.csv"),
              HasSubstr("HCD, FT, 51, 110.250000, 2, 1, 1, 110.250000, 2, \n"));
}
TEST_F(BadInput, EmptyMs1FileGivesAPf1FileWithoutRecords) {
  Write("run.ms1", "");
  RunPair();
  EXPECT_EQ(Content("out/run.pf1"), std::string("\0\0\0\0\3\0\0\0run", 11));
  EXPECT_EQ(Content("out/run.pf1idx"), "");
}
TEST_F(BadInput, EmptyOrOtherFilesAreNamedWithWhatTheyLookLike) {
  const std::string ms1 = Content("run.ms1");
  const std::string ms2 = Content("run.ms2");
  const auto expect = [&](const std::string& surveys, const std::string& fragments,
                          const std::vector<std::string>& warnings) {
    Write("run.ms1", surveys);
    Write("run.ms2", fragments);
    EXPECT_EQ(RunPair({"-r", "1"}).m_exit_status, 0);
    for (const std::string& warning : warnings)
      EXPECT_THAT(m_result.m_err, HasSubstr("[Tarvek] <WARN> - " + warning + ".\n"));
  };
  expect("", "", {"run.ms1 is empty", "./run.ms2 is empty"});
  expect("\x1F\x8B\x08", ms2, {"run.ms1 looks gzipped"});
  expect(ms1, "\xFF\xFES", {"./run.ms2 looks like UTF-16"});
  expect(ms2, ms1, {"run.ms1 looks like MS2 spectra", "./run.ms2 looks like MS1 spectra"});
  expect(ms1, ms2, {});
  EXPECT_THAT(m_result.m_err, Not(HasSubstr("looks like")));
}
TEST_F(BadInput, InvalidDataPathIsAWarning) {
  Run({"-D", "none/", "-O", "out"});
  EXPECT_EQ(m_result.m_err, "[Tarvek] <WARN> - Datapath: none is not a valid datapath.\n");
  EXPECT_EQ(m_result.m_exit_status, 0);
}
TEST_F(BadInput, InvalidDataPathDoesNotStopTheOthers) {
  Write("run.cfg", "datanum = 2\ndatapath1 = none\ndatapath2 = run.ms1\n");
  Run({"run.cfg"});
  EXPECT_TRUE(Exists("run.csv"));
}
TEST_F(BadInput, NoDataPathsAreNoError) {
  Write("run.cfg", "datanum = 0\n");
  EXPECT_EQ(Run({"run.cfg"}).m_exit_status, 0);
  EXPECT_EQ(m_result.m_err, "");
}
TEST_F(BadInput, DataPathsThatDatanumHidesAreAWarning) {
  Write("run.cfg", "datanum = 0\ndatapath1 = run.ms1\n");
  EXPECT_EQ(Run({"run.cfg"}).m_exit_status, 0);
  EXPECT_EQ(m_result.m_err,
            "[Tarvek] <WARN> - datanum is 0, so that nothing is processed of datapath1 = "
            "run.ms1.\n");
}
TEST_F(BadInput, DirectoryWithoutAFileOfTheFormatIsAWarningThatNamesTheFormatsInIt) {
  MakeFolder("in");
  for (const char* const name : {"in/a.mzML", "in/b.mzML.gz", "in/c.mzXML", "in/d.txt"})
    Write(name, "x");
  EXPECT_EQ(Run({"-D", "in", "-O", "out"}).m_exit_status, 0);
  EXPECT_EQ(m_result.m_err,
            "[Tarvek] <WARN> - No .raw file in in. It has 1 .mzxml (-F mzxml), 2 .mzml (-F "
            "mzml).\n");
  EXPECT_EQ(Run({"-D", "in", "-O", "out", "-F", "ms1"}).m_exit_status, 0);
  EXPECT_THAT(m_result.m_err, HasSubstr("<WARN> - No .ms1 file in in. It has 1 .mzxml "));
}
TEST_F(BadInput, ParameterFileMayBeginWithAByteOrderMark) {
  Write("run.cfg",
        "\xEF\xBB\xBF"
        "datapath = run.ms1\noutputpath = out\n");
  EXPECT_EQ(Run({"run.cfg"}).m_exit_status, 0);
  EXPECT_EQ(Outputs(), Expected());
}
TEST_F(BadInput, InstrumentFileWithoutAnExtractorEndsTheRun) {
  Write("run.raw", "x");
  Run({"run.raw"});
  EXPECT_EQ(m_result.m_exit_status, 255);
  EXPECT_THAT(m_result.m_err,
              HasSubstr("[Tarvek] <ERROR> - Cannot use morvex to extract signals from: run.raw\n"));
}
// ------------------------------------------------------------ isotope table

class IsotopeTableLookup : public MainJob {
 protected:
  /// Copies the program to bin/ as in an installation.
  void Install() {
    MakeFolder("installed/bin");
    fs::copy_file(TARVEK_PROGRAM, Path("installed/bin/tarvek"));
    MakeFolder("installed/share/tarvek");
    fs::rename(Path("IPV.txt"), Path("installed/share/tarvek/IPV.txt"));
  }
  const ProcessResult& RunInstalled(const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments = {"-D", "run.ms1", "-O", "out"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    ProcessRequest request = Request(arguments);
    request.m_program = Path("installed/bin/tarvek");
    return RunRequest(request);
  }
};

TEST_F(IsotopeTableLookup, NamesAMissingTable) {
  fs::remove(Path("IPV.txt"));
  RunPair();
  EXPECT_EQ(m_result.m_err, "[Tarvek] <ERROR> - Cannot open IPV Store File, Path: IPV.txt\n");
  EXPECT_EQ(m_result.m_exit_status, 255);
  EXPECT_THAT(m_result.m_out, EndsWith(kCrashLines));
}
TEST_F(IsotopeTableLookup, FindsTheInstalledTable) {
  Install();
  EXPECT_EQ(RunInstalled().m_exit_status, 0);
  EXPECT_EQ(Outputs(), Expected());
}
TEST_F(IsotopeTableLookup, DoesNotFallBackFromATableThatIsGiven) {
  Install();
  const std::string missing = "[Tarvek] <ERROR> - Cannot open IPV Store File, Path: IPV.txt\n";
  EXPECT_EQ(RunInstalled({"-I", "IPV.txt"}).m_err, missing);
  EXPECT_EQ(m_result.m_exit_status, 255);
}
// The template names the default.
TEST_F(IsotopeTableLookup, TakesTheDefaultNameInAParameterFileForNoChoice) {
  Install();
  Write("run.cfg", "datapath = run.ms1\noutputpath = out\nipv_file = IPV.txt\n");
  ProcessRequest request = Request({"run.cfg"});
  request.m_program = Path("installed/bin/tarvek");
  EXPECT_EQ(RunRequest(request).m_exit_status, 0);
  EXPECT_THAT(m_result.m_out, HasSubstr("share/tarvek/IPV.txt"));
}
TEST_F(IsotopeTableLookup, NamesTheInstalledTableInOneLine) {
  Install();
  RunInstalled();
  std::vector<std::string> lines;
  for (const std::string& line : LinesOf(m_result.m_out))
    if (line.find("share/tarvek/IPV.txt") != std::string::npos) lines.push_back(line);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_THAT(lines[0], testing::StartsWith("[Tarvek] <INFO> - "));
}
TEST_F(IsotopeTableLookup, PrefersTheTableOfTheCurrentDirectory) {
  Install();
  Write("IPV.txt", GoldenInput("IPV.txt"));
  EXPECT_THAT(RunInstalled().m_out, Not(HasSubstr("share/tarvek/IPV.txt")));
  EXPECT_THAT(m_result.m_out, HasSubstr("[Tarvek] <INFO> - Uses the isotope table " +
                                        fs::canonical(m_directory.Path()).string() +
                                        "/IPV.txt, which is not the installed one\n"));
}
TEST_F(IsotopeTableLookup, DoesNotReplaceATableThatWasNamed) {
  Install();
  ProcessRequest request = Request({"-D", "run.ms1", "-O", "out", "-I", "my.txt"});
  request.m_program = Path("installed/bin/tarvek");
  EXPECT_EQ(RunRequest(request).m_err,
            "[Tarvek] <ERROR> - Cannot open IPV Store File, Path: my.txt\n");
}
TEST_F(IsotopeTableLookup, SaysWhereATableHoldsSomethingElse) {
  Write("IPV.txt", "1 2 3 4 5\n1 2 x 4 5\n");
  RunPair();
  EXPECT_EQ(m_result.m_exit_status, 255);
  EXPECT_THAT(m_result.m_err, HasSubstr("IPV.txt, line 2: 'x' is not a number"));
}

/// An envelope of charge 10 at m/z 1600: its mass of 16 kDa is beyond the table.
class MassOutsideTheTable : public MainJob {
 protected:
  MassOutsideTheTable() {
    std::string ms1;
    for (int scan = 1; scan <= 10; ++scan) {
      const std::string number = std::to_string(scan);
      ms1 += "S\t" + number + "\t" + number + "\nI\tInstrumentType\tFTMS\n" +
             "1600.0 1000.0\n1600.1003 900.0\n1600.2006 500.0\n1600.3009 200.0\n";
    }
    Write("run.ms1", ms1);
    Write("run.ms2",
          "S\t11\t11\t1600.0\nI\tInstrumentType\tFTMS\nI\tActivationType\tHCD\n"
          "I\tActivationCenter\t1600.0\nI\tPrecursorScan\t5\nZ\t10\t0\n200.0 5.0\n");
    RunPair({"-c", "10t10"});
  }
};

TEST_F(MassOutsideTheTable, StopsTheProcess) { EXPECT_EQ(m_result.m_signal, SIGABRT); }
TEST_F(MassOutsideTheTable, ShowsTheFailedCheck) {
  EXPECT_THAT(m_result.m_err, HasSubstr("m_h_is_IPV_inited && (int)mz < m_h_IPV_Matrix.size()"));
}
TEST_F(MassOutsideTheTable, SaysWhatIsWrongBeforeTheFailedCheck) {
  const std::size_t error = m_result.m_err.find("[Tarvek] <ERROR> - ");
  ASSERT_NE(error, std::string::npos);
  EXPECT_LT(error, m_result.m_err.find("m_h_is_IPV_inited"));
}
TEST_F(MassOutsideTheTable, LeavesNoFinishedTable) { EXPECT_FALSE(Exists("out/run.csv")); }

}  // namespace
}  // namespace tarvek::test
