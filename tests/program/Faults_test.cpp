// Writes that fail, and runs that are killed: unfinished files must never look finished.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "FaultCases.h"
#include "GeneratedRunTest.h"
#include "PrivateFileSystem.h"

namespace tarvek::test {
namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;

// The other tests of this kind mean little with small input or without output.
TEST_F(GeneratedRunTest, IsLargeAndDeterminesPrecursors) {
  EXPECT_EQ(m_result.m_exit_status, 0) << m_result.m_err;
  EXPECT_GT(fs::file_size(Path("run.ms1")) + fs::file_size(Path("run.ms2")), 2'000'000u);
  EXPECT_GT(LargestOutputBytes(), 1'000'000u);
  EXPECT_THAT(m_undisturbed["run.csv"], HasSubstr(", 500.25"));
  EXPECT_THAT(m_undisturbed["run.csv"], HasSubstr(", 600.5"));
}

// ------------------------------------------------------------ file-size limit

/// "[Tarvek] <ERROR> - Cannot write FOLDER/NAME" as the only error line, for one of the outputs.
bool NamesAnOutput(const std::string& err, const std::string& folder, const FileMap& outputs) {
  const std::string start = "[Tarvek] <ERROR> - Cannot write " + folder + "/";
  if (!err.starts_with(start) || !err.ends_with('\n')) return false;
  std::string name = err.substr(start.size(), err.size() - start.size() - 1);
  if (name == "run.csv_unfinished") name = "run.csv";
  return outputs.contains(name);
}

class FileSizeLimit : public GeneratedRunTest {
 protected:
  void ExpectHonestFailure(std::uint64_t limit_bytes) {
    SCOPED_TRACE(limit_bytes);
    fs::remove_all(Path("out"));
    ProcessRequest request = Request(Arguments("out"));
    request.m_file_size_limit_bytes = limit_bytes;
    RunRequest(request);
    EXPECT_EQ(m_result.m_exit_status, 255);
    EXPECT_EQ(m_result.m_signal, 0);
    EXPECT_TRUE(NamesAnOutput(m_result.m_err, "out", m_undisturbed)) << m_result.m_err;
    EXPECT_THAT(m_result.m_out, EndsWith(kCrashLines));
    EXPECT_FALSE(Exists("out/run.csv"));
    EXPECT_TRUE(Exists("out/run.csv_unfinished"));
  }
};

TEST_F(FileSizeLimit, BelowTheLargestOutputEndsTheRunWithAnError) {
  Promise promise("a failing write: no final table");
  const auto points = static_cast<std::uint64_t>(FaultPoints());
  for (std::uint64_t i = 0; i < points; ++i) {
    const std::uint64_t limit_bytes = LargestOutputBytes() * i / points;
    promise.Try(std::to_string(limit_bytes), [&] { ExpectHonestFailure(limit_bytes); });
  }
}
TEST_F(FileSizeLimit, OneByteBelowTheLargestOutputEndsTheRunWithAnError) {
  ExpectHonestFailure(LargestOutputBytes() - 1);
}
TEST_F(FileSizeLimit, OfTheLargestOutputIsEnough) {
  ProcessRequest request = Request(Arguments("out"));
  request.m_file_size_limit_bytes = LargestOutputBytes();
  EXPECT_EQ(RunRequest(request).m_exit_status, 0);
  ExpectUndisturbedOutputs("out");
}
TEST_F(FileSizeLimit, LeavesARunThatCanBeDoneAgain) {
  ExpectHonestFailure(LargestOutputBytes() / 2);
  EXPECT_EQ(Run(Arguments("out")).m_exit_status, 0);
  ExpectUndisturbedOutputs("out");
}

// ------------------------------------------------------------ full devices

TEST_F(PairTest, OnAFullDeviceEndsWithAnErrorThatNamesTheFile) {
  Promise promise("each output on a full device: no final table");
  for (const char* const name : {"run.csv_unfinished", "run.pf1", "run.pf1idx", "run_HCDFT.pf2",
                                 "run_HCDFT.pf2idx", "run_HCDFT.mgf", "run_CIDIT.pf2",
                                 "run_CIDIT.pf2idx", "run_CIDIT.mgf", "run.tarvek_unfinished"}) {
    promise.Try(name, [&] {
      fs::remove_all(Path("out"));
      MakeFolder("out");
      fs::create_symlink("/dev/full", Path(std::string("out/") + name));
      Run({"-D", "run.ms1", "-O", "out"});
      EXPECT_THAT(m_result.m_err,
                  EndsWith(std::string("[Tarvek] <ERROR> - Cannot write out/") + name + "\n"));
      EXPECT_EQ(m_result.m_exit_status, 255);
      EXPECT_FALSE(Exists("out/run.csv"));
    });
  }
}

TEST_F(GeneratedRunTest, OnAFullFileSystemEndsWithAnError) {
  MakeFolder("small");
  const PrivateFileSystem small(Path("small"), "size=1m");
  if (!small.IsMounted()) GTEST_SKIP() << "mounting a file system is not permitted here";
  Run({"-D", "run.ms1", "-O", "small", "-L", "log"});
  EXPECT_EQ(m_result.m_exit_status, 255);
  EXPECT_TRUE(NamesAnOutput(m_result.m_err, "small", m_undisturbed)) << m_result.m_err;
  EXPECT_FALSE(Exists("small/run.csv"));
  EXPECT_TRUE(Exists("small/run.csv_unfinished"));
}

// ------------------------------------------------------------ killed runs

class KilledRun : public GeneratedRunTest {
 protected:
  /// Kills a run on "out" at some moment.
  void KillARun(std::mt19937& random, std::vector<std::string> more = {}) {
    std::vector<std::string> arguments = Arguments("out");
    arguments.insert(arguments.end(), more.begin(), more.end());
    ProcessRequest request = Request(arguments);
    const auto moment = MomentIn(m_duration, random);
    request.m_kill_after = moment;
    RunRequest(request);
    const bool was_killed = m_result.m_signal == SIGKILL;
    const bool was_interrupted = Exists("out/run.csv_unfinished");
    if (was_killed) ++m_killed;
    if (was_interrupted) ++m_interrupted;
    // Runs become faster and slower with the load of the machine.
    if (!was_killed)
      m_duration = moment;  // it had ended by then
    else if (!was_interrupted)
      m_duration += m_duration / 8;  // it had not begun to write
  }
  /// An empty run.csv_unfinished may also be there, from a run that was killed before it wrote.
  void ExpectNoTableBesideIncompleteOutputs() const {
    if (!Exists("out/run.csv")) return;
    FileMap outputs = OutputsIn(Path("out"));
    const auto claim = outputs.find("run.csv_unfinished");
    if (claim != outputs.end() && claim->second.empty()) outputs.erase(claim);
    EXPECT_TRUE(outputs == m_undisturbed);
  }
  /// Some runs end before their moment. At least a fifth must be killed, a tenth of all while writing.
  [[nodiscard]] bool EnoughWereKilled() const {
    return m_killed >= OneIn(5) && m_interrupted >= OneIn(10);
  }
  void ExpectEnoughKills() const {
    RecordProperty("killed", m_killed);
    RecordProperty("interrupted", m_interrupted);
    EXPECT_GE(m_killed, OneIn(5));
    EXPECT_GE(m_interrupted, OneIn(10));
  }

  int m_killed = 0;
  int m_interrupted = 0;
};

TEST_F(KilledRun, GivesTheUndisturbedBytesWhenRunAgain) {
  Promise promise("kill -9: no final table with incomplete outputs; run again");
  std::mt19937 random(kSeed);
  const auto try_one = [&] {
    fs::remove_all(Path("out"));
    KillARun(random);
    ExpectNoTableBesideIncompleteOutputs();
    EXPECT_EQ(Run(Arguments("out")).m_exit_status, 0);
    ExpectUndisturbedOutputs("out");
  };
  promise.TryPoints(try_one, [&] { return EnoughWereKilled(); });
  ExpectEnoughKills();
}
TEST_F(KilledRun, NeverLeavesTheOldTableBesideHalfRewrittenOutputs) {
  Promise promise("kill -9 while a finished run is rewritten: the same");
  std::mt19937 random(kSeed);
  EXPECT_EQ(Run(Arguments("out")).m_exit_status, 0);
  const auto try_one = [&] {
    KillARun(random, {"-r", "1"});
    ExpectNoTableBesideIncompleteOutputs();
    EXPECT_EQ(Run(Arguments("out")).m_exit_status, 0);
    ExpectUndisturbedOutputs("out");
  };
  promise.TryPoints(try_one, [&] { return EnoughWereKilled(); });
  ExpectEnoughKills();
}

}  // namespace
}  // namespace tarvek::test
