// A run on an instrument file is killed: its extractor may live on for a while.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <thread>

#include "ExtractorTestSupport.h"
#include "FaultCases.h"
#include "FileUtils.h"
#include "GeneratedRun.h"
#include "RunExtractor.h"

namespace tarvek::extractor {
namespace {

namespace fs = std::filesystem;

using tarvek::test::MomentIn;
using tarvek::test::OneIn;
using tarvek::test::ProcessRequest;
using tarvek::test::ProcessResult;
using tarvek::test::Promise;
using tarvek::test::RunningProcess;
using tarvek::test::RunProcess;
using tarvek::test::TestsForeignPrograms;
using tarvek::test::WithSlashes;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::HasSubstr;

constexpr int kScans = 2000;
constexpr unsigned kSeed = 20241121;

class KilledConversion : public testing::Test {
 protected:
  KilledConversion() {
    WriteFile(m_directory / "run.mzML", test::MzmlRun(kScans));
    WriteFile(m_directory / "IPV.txt", tarvek::test::FlatIsotopeTable(2000));
    fs::create_symlink(test::ExtractorFolder() + "/morvex_xml.exe", m_directory / "morvex_xml.exe");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(RunProcess(Request("undisturbed")).m_exit_status, 0);
    m_duration = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::steady_clock::now() - start);
    m_undisturbed = Results("undisturbed");
  }
  [[nodiscard]] ProcessRequest Request(const std::string& out) const {
    ProcessRequest request;
    request.m_program = tarvek::test::TestedProgram(TARVEK_PROGRAM);
    request.m_arguments = {"-D", "run.mzML", "-O", out};
    request.m_working_directory = m_directory.Path();
    return request;
  }
  /// The files that the run itself wrote, by name.
  [[nodiscard]] std::map<std::string, std::string> Results(const std::string& out) const {
    std::map<std::string, std::string> results;
    for (const fs::directory_entry& entry : fs::directory_iterator(m_directory / out))
      for (const char* const extension : {".csv", ".mgf", ".pf1", ".pf1idx", ".pf2", ".pf2idx"})
        if (entry.path().extension() == extension)
          results[entry.path().filename().string()] = ReadFile(entry.path().string());
    return results;
  }
  /// Kills a run on "out" and does not wait for its extractor.
  void KillARun(std::chrono::microseconds moment) {
    RunningProcess run(Request("out"));
    std::this_thread::sleep_for(moment);
    if (run.Kill().m_signal == SIGKILL)
      ++m_killed;
    else
      m_duration = moment;  // the run had ended by then: runs have become faster
  }
  [[nodiscard]] bool EnoughWereDisturbed() const {
    return m_killed >= OneIn(5) && m_refused >= RefusedAtLeast();
  }
  /// The number of runs after a killed one. A program for another system may start more slowly than
  /// the extractor of the killed run ends.
  static int RefusedAtLeast() { return TestsForeignPrograms() ? 0 : OneIn(25); }
  /// Runs again until the extractor of the killed run has ended.
  ProcessResult RunAgain() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    ProcessResult result = WithSlashes(RunProcess(Request("out")));
    while (result.m_exit_status != 0 && std::chrono::steady_clock::now() < deadline) {
      ++m_refused;
      EXPECT_THAT(result.m_err, HasSubstr("Another run is writing out/run."));
      EXPECT_FALSE(fs::exists(m_directory / "out/run.csv"));
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
      result = WithSlashes(RunProcess(Request("out")));
    }
    return result;
  }

  TemporaryDirectory m_directory;
  std::chrono::microseconds m_duration{};
  std::map<std::string, std::string> m_undisturbed;
  int m_killed = 0;
  int m_refused = 0;
};

TEST_F(KilledConversion, GivesTheUndisturbedBytesWhenRunAgain) {
  ASSERT_EQ(m_undisturbed.size(), 6u);
  Promise promise("kill -9 with an extractor at work: the same, when that has ended");
  std::mt19937 random(kSeed);
  const auto try_one = [&] {
    fs::remove_all(m_directory / "out");
    KillARun(MomentIn(m_duration, random));
    if (fs::exists(m_directory / "out/run.csv")) {
      EXPECT_TRUE(Results("out") == m_undisturbed);
    }
    EXPECT_EQ(RunAgain().m_exit_status, 0);
    EXPECT_TRUE(Results("out") == m_undisturbed);
  };
  promise.TryPoints(try_one, [&] { return EnoughWereDisturbed(); });
  RecordProperty("killed", m_killed);
  RecordProperty("refused", m_refused);
  EXPECT_GE(m_killed, OneIn(5));
  EXPECT_GE(m_refused, RefusedAtLeast());
}

TEST(BusyOutputs, AreLeftToTheExtractorThatHasThem) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.mzML", test::MzmlRun(kScans));
  WriteFile(directory / "run.ms1_unfinished", "half a fi");
  const FileLock lock = LockFile(directory / "run.ms1_unfinished");
  const ProcessResult result = test::RunExtractor("xml", {directory / "run.mzML"});
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err,
              HasSubstr("Another run is writing " + (directory / "run.ms1_unfinished")));
  EXPECT_EQ(ReadFile(directory / "run.ms1_unfinished"), "half a fi");
  EXPECT_FALSE(fs::exists(directory / "run.morvex"));
}

// An extractor that still converts has written none of its outputs.
TEST(BusyOutputs, AreNotConvertedForASecondTime) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.raw", "vendor bytes");
  WriteFile(directory / "run.morvex", "old");
  const FileLock lock = LockFile(directory / "run.morvex_unfinished");
  const std::string converter = "echo {in} {outdir} > '" + (directory / "started") + "'";
  const ProcessResult result =
      test::RunExtractor("raw", {directory / "run.raw"}, {{"TARVEK_RAW_CONVERTER", converter}});
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err,
              HasSubstr("Another run is writing " + (directory / "run.morvex_unfinished")));
  EXPECT_FALSE(fs::exists(directory / "started"));
  EXPECT_EQ(ReadFile(directory / "run.morvex"), "old");
}

}  // namespace
}  // namespace tarvek::extractor
