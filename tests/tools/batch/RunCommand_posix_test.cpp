// "tarvek-tools run" as a user runs it.
#include "batch/RunCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "PrecursorTable.h"
#include "ProcessRunner.h"
#include "TestSupport.h"
#include "ToolsProgram.h"

namespace tarvek::tools {
namespace {

namespace fs = std::filesystem;
using test::ProcessRequest;
using test::ProcessResult;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kTable = TARVEK_SOURCE_DIR "/data/IPV.txt";

TEST(Charges, AreTakenInBothForms) {
  EXPECT_EQ(ChargeRangeOf("2-6"), "2t6");
  EXPECT_EQ(ChargeRangeOf("2t6"), "2t6");
  EXPECT_EQ(ChargeRangeOf("-3--1"), "-3t-1");
  EXPECT_EQ(ChargeRangeOf("-3t-1"), "-3t-1");
  for (const char* text : {"", "2", "6-2", "0-3", "-2-2", "2to6", "2-6 ", "99999-100000"})
    EXPECT_THROW(ChargeRangeOf(text), CLI::ValidationError) << text;
}

class RunCommandTest : public testing::Test {
 protected:
  void Simulate(int runs, const std::string& format = "text") const {
    fs::create_directory(m_directory / "in");
    for (int run = 1; run <= runs; ++run) {
      const std::string number = std::to_string(run);
      ASSERT_EQ(
          Tools({"simulate", "--seed", number, "--ms2", "60", "--format", format, "in/r" + number})
              .m_exit_status,
          0);
    }
  }

  ProcessResult Tools(std::vector<std::string> arguments) const {
    return test::WithSlashes(
        test::RunProcess(test::ToolsRequest(std::move(arguments), m_directory.Path())));
  }
  ProcessResult Run(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"run", "--isotope-table", kTable});
    return Tools(std::move(arguments));
  }

  /// File name to content, without directories and without the time of the extraction.
  [[nodiscard]] std::map<std::string, std::string> FilesIn(const std::string& folder) const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::directory_iterator(m_directory / folder)) {
      const std::string name = entry.path().filename().string();
      if (entry.is_regular_file() && !name.ends_with(".ms1") && !name.ends_with(".ms2"))
        files[name] = ReadFile(entry.path().string());
    }
    return files;
  }

  /// A program instead of tarvek.
  void WriteProgram(const std::string& body) const {
    WriteFile(m_directory / "fake", "#!/bin/sh\n" + body);
    fs::permissions(m_directory / "fake", fs::perms::owner_all);
  }

  TemporaryDirectory m_directory;
};

TEST_F(RunCommandTest, GivesTheBytesOfTarvekWithTheSameSettings) {
  Simulate(2);
  const ProcessResult result =
      Run({"in", "-o", "out", "--width", "3", "--charges", "1-4", "--one-precursor", "--threshold",
           "-0.5", "--model", "3", "--mz-digits", "4", "--intensity-digits", "2"});
  EXPECT_EQ(result.m_exit_status, 0) << result.m_out << result.m_err;
  ProcessRequest request;
  request.m_program = test::TestedProgram(TARVEK_PROGRAM);
  request.m_working_directory = m_directory.Path();
  request.m_arguments = {"-D", "in",   "-F", "ms1", "-O", "alone", "-L", "alone/logs",
                         "-I", kTable, "-W", "3",   "-c", "1t4",   "-C", "0",
                         "-t", "-0.5", "-M", "3",   "-z", "4",     "-i", "2"};
  EXPECT_EQ(test::RunProcess(request).m_exit_status, 0);
  EXPECT_EQ(FilesIn("out").count("r2.csv"), 1u);
  EXPECT_TRUE(FilesIn("out") == FilesIn("alone"));
}

TEST_F(RunCommandTest, NamesABrokenInputAndFinishesTheOthers) {
  Simulate(3);
  fs::remove(m_directory / "in/r2.ms2");
  const ProcessResult result = Run({"in", "-o", "out", "--jobs", "2"});
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, HasSubstr("in/r2.ms1: It is missing, and a run needs both halves"));
  EXPECT_THAT(result.m_out, HasSubstr("2 done, 1 failed, in "));
  EXPECT_FALSE(fs::exists(m_directory / "out/r2.csv_unfinished")) << "tarvek was started";
  EXPECT_TRUE(fs::exists(m_directory / "out/r3.csv"));
}

TEST_F(RunCommandTest, LeavesTheCheckOutWhenToldTo) {
  Simulate(1);
  fs::remove(m_directory / "in/r1.ms2");
  const ProcessResult result = Run({"in", "-o", "out", "--no-check"});
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, HasSubstr("Cannot open MS2 File"));
}

TEST_F(RunCommandTest, StopsAtAFailureWhenToldTo) {
  Simulate(2);
  fs::remove(m_directory / "in/r1.ms2");
  const ProcessResult result = Run({"in", "-o", "out", "--jobs", "1", "--stop-at-failure"});
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, HasSubstr("without --stop-at-failure the others would be"));
  EXPECT_THAT(result.m_out, HasSubstr("1 failed, 1 not started, in "));
}

TEST_F(RunCommandTest, WarnsOnceOfWhatTheCheckSaw) {
  Simulate(2, "mzml");
  const ProcessResult result = Run({"in", "-o", "out", "--width", "1"});
  EXPECT_THAT(result.m_out, HasSubstr("warning: isolation-width: in/r1.mzML and 1 more: all"));
  EXPECT_THAT(result.m_out, HasSubstr("are missed. Run tarvek with -W "));
}

TEST_F(RunCommandTest, TakesTheInstalledProgramsAndTable) {
  if (test::TestsForeignPrograms())
    GTEST_SKIP() << "the programs of a foreign system are not copied";
  Simulate(1, "mzml");
  const fs::path home = m_directory / "home";
  test::InstallPrograms(home.string());
  ProcessRequest request;
  request.m_working_directory = m_directory.Path();
  request.m_program = (home / "bin/tarvek").string();
  request.m_arguments = {"-D", "in/r1.mzML", "-O", "alone", "-L", "alone/logs"};
  EXPECT_EQ(test::RunProcess(request).m_exit_status, 0);
  for (const char* name : {"IPV.txt", "morvex_xml.exe"})
    WriteFile(m_directory / name, "#!/bin/sh\nexit 1\n");
  // A process of a run works in its log directory.
  fs::create_directories(m_directory / "out/batch_logs/r1");
  for (const char* name : {"morvex_xml.exe", "out/batch_logs/r1/morvex_xml.exe"}) {
    WriteFile(m_directory / name, "#!/bin/sh\nexit 1\n");
    fs::permissions(m_directory / name, fs::perms::owner_all);
  }
  request.m_program = (home / "bin/tarvek-tools").string();
  request.m_arguments = {"run", "in", "-o", "out"};
  const ProcessResult result = test::RunProcess(request);
  EXPECT_EQ(result.m_exit_status, 0) << result.m_out << result.m_err;
  EXPECT_EQ(FilesIn("out").count("r1.csv"), 1u);
  EXPECT_TRUE(FilesIn("out") == FilesIn("alone"));
}

TEST_F(RunCommandTest, FindsNothingInTheCurrentDirectory) {
  Simulate(1);
  WriteProgram("pwd >\"$OUT\"; ls \"$PWD\" >>\"$OUT\"; echo \"$@\" >>\"$OUT\"\n");
  WriteFile(m_directory / "IPV.txt", "no table");
  ProcessRequest request = test::ToolsRequest(
      {"run", "in/r1.ms1", "-o", "out", "--tarvek", "./fake", "--isotope-table", kTable},
      m_directory.Path());
  request.m_environment["OUT"] = m_directory / "seen";
  EXPECT_EQ(test::RunProcess(request).m_exit_status, 1) << "there is no table";
  const std::string here = fs::canonical(m_directory.Path()).string();
  EXPECT_EQ(ReadFile(m_directory / "seen"),
            here + "/out/batch_logs/r1\ncheck.json\nconsole.txt\n-D " + here + "/in/r1.ms1 -I " +
                kTable + " -O " + here + "/out -L " + here + "/out/batch_logs/r1\n");
}

TEST_F(RunCommandTest, SharesTheThreadsAmongTheProcesses) {
  Simulate(3);
  WriteProgram("echo \"$TARVEK_THREADS\" >>\"$OUT\"; exit 1\n");
  const auto threads_of = [&](const char* allowed, const char* jobs,
                              const std::vector<std::string>& inputs) {
    fs::remove(m_directory / "seen");
    std::vector<std::string> arguments = {"run",      "--isotope-table", kTable,   "-o", "out",
                                          "--tarvek", "./fake",          "--jobs", jobs};
    arguments.insert(arguments.end(), inputs.begin(), inputs.end());
    ProcessRequest request = test::ToolsRequest(arguments, m_directory.Path());
    request.m_environment["OUT"] = m_directory / "seen";
    request.m_environment["TARVEK_THREADS"] = allowed;
    test::RunProcess(request);
    return ReadFile(m_directory / "seen");
  };
  EXPECT_EQ(threads_of("8", "2", {"in/r1.ms1", "in/r2.ms1", "in/r3.ms1"}), "4\n4\n4\n");
  EXPECT_EQ(threads_of("8", "2", {"in/r1.ms1"}), "8\n");
  EXPECT_EQ(threads_of("2", "3", {"in/r1.ms1", "in/r2.ms1", "in/r3.ms1"}), "1\n1\n1\n");
}

TEST_F(RunCommandTest, RefusesWhatWasFinishedWithOtherSettings) {
  Simulate(1);
  EXPECT_EQ(Run({"in", "-o", "out"}).m_exit_status, 0);
  const ProcessResult same = Run({"in", "-o", "out"});
  EXPECT_EQ(same.m_exit_status, 0) << same.m_err;
  EXPECT_THAT(same.m_out, HasSubstr("1 finished before, in "));
  const ProcessResult other = Run({"in", "-o", "out", "--width", "3"});
  EXPECT_EQ(other.m_exit_status, 1);
  EXPECT_THAT(other.m_err, HasSubstr("finished before, with other settings: isolation_width "
                                     "2.000000, now 3.000000; --again processes it again"));
  EXPECT_EQ(Run({"in", "-o", "out", "--width", "3", "--again"}).m_exit_status, 0);
  EXPECT_EQ(Run({"in", "-o", "out", "--width", "3"}).m_exit_status, 0);
}

TEST_F(RunCommandTest, RefusesWhatWasFinishedFromAnotherInput) {
  Simulate(1);
  EXPECT_EQ(Run({"in", "-o", "out"}).m_exit_status, 0);
  const std::string bytes = std::to_string(fs::file_size(m_directory / "in/r1.ms1"));
  WriteFile(m_directory / "in/r1.ms1", ReadFile(m_directory / "in/r1.ms1") + "500.5 1.0\n");
  const std::string more = std::to_string(fs::file_size(m_directory / "in/r1.ms1"));
  const ProcessResult other = Run({"in", "-o", "out"});
  EXPECT_EQ(other.m_exit_status, 1);
  EXPECT_THAT(other.m_err, HasSubstr("finished before, with other settings: input r1.ms1 (" +
                                     bytes + " bytes), now r1.ms1 (" + more + " bytes); --again"));
  EXPECT_EQ(Run({"in", "-o", "out", "--again"}).m_exit_status, 0);
  EXPECT_EQ(Run({"in", "-o", "out"}).m_exit_status, 0);
}

/// An envelope of charge 10 at m/z 1600, whose mass of 16 kDa has no row in the isotope table. Charge 9
/// reaches 9 x 1601.05 = 14.4 kDa at the edge of the window.
class RunOfHeavyIons : public RunCommandTest {
 protected:
  RunOfHeavyIons() {
    std::string ms1;
    for (int scan = 1; scan <= 10; ++scan) {
      const std::string number = std::to_string(scan);
      ms1 += "S\t" + number + "\t" + number + "\nI\tRetTime\t" + number +
             "\nI\tInstrumentType\tFTMS\n"
             "1600.0 1000.0\n1600.1003 900.0\n1600.2006 500.0\n1600.3009 200.0\n";
    }
    fs::create_directory(m_directory / "in");
    WriteFile(m_directory / "in/heavy.ms1", ms1);
    WriteFile(m_directory / "in/heavy.ms2",
              "S\t11\t11\t1600.0\nI\tRetTime\t11\nI\tInstrumentType\tFTMS\n"
              "I\tActivationType\tHCD\nI\tActivationCenter\t1600.0\nI\tPrecursorScan\t5\n"
              "Z\t10\t0\n200.0 5.0\n");
  }
};

TEST_F(RunOfHeavyIons, TriesOnlyTheChargesInTheTableAndSaysSoOnce) {
  const ProcessResult stopped = Run({"in", "-o", "out", "--charges", "2-10", "--no-check"});
  EXPECT_EQ(stopped.m_exit_status, 1);
  EXPECT_THAT(stopped.m_err, HasSubstr("is outside the isotope table"));
  const ProcessResult result = Run({"in", "-o", "out", "--charges", "2-10", "--again"});
  EXPECT_EQ(result.m_exit_status, 0) << result.m_out << result.m_err;
  EXPECT_THAT(result.m_out, HasSubstr("warning: charges-narrowed: in/heavy.ms1: Only the charges "
                                      "2t9 are tried: "));
  EXPECT_THAT(result.m_out, Not(HasSubstr("mass-limit")));
  EXPECT_THAT(ReadFile(m_directory / "out/heavy.tarvek"), HasSubstr("charge_range\t2t9\n"));
  EXPECT_THAT(Run({"in", "-o", "out", "--charges", "2-10"}).m_out,
              HasSubstr("1 finished before, "));
  EXPECT_EQ(Run({"in", "-o", "out", "--charges", "2-9"}).m_exit_status, 0);
  const ProcessResult other = Run({"in", "-o", "out", "--charges", "1-10"});
  EXPECT_EQ(other.m_exit_status, 1);
  EXPECT_THAT(other.m_err, HasSubstr("charge_range 2t9, now 1t9"));
}

TEST_F(RunCommandTest, RefusesResultsOfSpectraThatWereExtractedWithOtherSettings) {
  Simulate(1);
  WriteProgram("cd ../..; printf 'setting\\tm/z\\t3\\n' >r1.tarvek; touch r1.csv\n");
  const ProcessResult result = Run({"in", "-o", "out", "--tarvek", "./fake"});
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, HasSubstr("its spectra were extracted before, with other settings"));
  EXPECT_THAT(result.m_err, HasSubstr("m/z 3, now 5"));
}

TEST_F(RunCommandTest, TakesAnMgfForFinishedByItsRecord) {
  WriteFile(m_directory / "a.mgf",
            "BEGIN IONS\nTITLE=a.7.7.2.0.dta\nCHARGE=2+\nPEPMASS=500.1\n200.1 5.0\nEND IONS\n");
  const ProcessResult first = Run({"a.mgf", "--beside-input"});
  EXPECT_EQ(first.m_exit_status, 0) << first.m_err;
  EXPECT_TRUE(fs::exists(m_directory / "a.pf2"));
  EXPECT_THAT(first.m_out, HasSubstr("1 done, in "));
  EXPECT_THAT(Run({"a.mgf", "--beside-input"}).m_out, HasSubstr("1 finished before, in "));
}

TEST_F(RunCommandTest, RefusesAFinishedInputWithoutARecord) {
  Simulate(1);
  fs::create_directory(m_directory / "out");
  WriteFile(m_directory / "out/r1.csv", std::string(kPrecursorTableHeader));
  const ProcessResult result = Run({"in", "-o", "out"});
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, HasSubstr("there is no out/r1.tarvek that says with which settings"));
}

TEST_F(RunCommandTest, RefusesEqualBaseNamesBeforeAnythingIsWritten) {
  fs::create_directory(m_directory / "in");
  WriteFile(m_directory / "in/a.mzML", "x");
  WriteFile(m_directory / "in/a.mzML.gz", "x");
  const ProcessResult result = Run({"in", "-o", "out"});
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_EQ(result.m_err,
            "tarvek-tools: in/a.mzML and in/a.mzML.gz would both write out/a.csv; nothing was "
            "started\n");
  EXPECT_FALSE(fs::exists(m_directory / "out"));
}

TEST_F(RunCommandTest, WantsAPlaceForTheResults) {
  Simulate(1);
  const ProcessResult neither = Run({"in"});
  EXPECT_GT(neither.m_exit_status, 100);
  EXPECT_THAT(neither.m_err, StartsWith("-o DIR: is required"));
  EXPECT_GT(Run({"in", "-o", "out", "--beside-input"}).m_exit_status, 100);
  EXPECT_EQ(Run({"in", "--beside-input"}).m_exit_status, 0);
  EXPECT_TRUE(fs::exists(m_directory / "in/r1.csv"));
  EXPECT_EQ(Run({"in", "--beside-input"}).m_exit_status, 0) << "its outputs are no inputs";
}

TEST_F(RunCommandTest, PrintsALineForEachFileAndNothingWhenQuiet) {
  Simulate(2);
  const ProcessResult result = Run({"'in/*.ms1'", "in/r?.ms1", "-o", "out"});
  EXPECT_EQ(result.m_exit_status, 1) << "a quote is a character";
  const ProcessResult good = Run({"in/r?.ms1", "-o", "out", "--jobs", "1"});
  EXPECT_THAT(good.m_out, StartsWith("[1/2] done, "));
  EXPECT_THAT(good.m_out, Not(HasSubstr("\r")));
  EXPECT_EQ(good.m_err, "");
  const ProcessResult quiet = Run({"in", "-o", "out2", "--quiet"});
  EXPECT_EQ(quiet.m_exit_status, 0);
  EXPECT_THAT(quiet.m_out + quiet.m_err, testing::MatchesRegex("[0-9]+ done, in [0-9.]+ s\n"));
}

TEST_F(RunCommandTest, TakesACheckThatCrashesForAFailureOfItsInput) {
  Simulate(1);
  fs::create_directory(m_directory / "in/r2.ms2");  // a half that is none
  WriteFile(m_directory / "in/r2.ms1", "S\t1\t1\n");
  const ProcessResult result = Run({"in", "-o", "out"});
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_out, HasSubstr("1 done, 1 failed, in "));
}

}  // namespace
}  // namespace tarvek::tools
