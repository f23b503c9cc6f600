// Two runs that write the same outputs at the same time: one of them ends with an error, the other
// is not disturbed.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "FakeExtractor.h"
#include "FaultCases.h"
#include "GeneratedRunTest.h"

namespace tarvek::test {
namespace {

namespace fs = std::filesystem;
using testing::EndsWith;

/// The ERROR line of the run that came second.
std::string TakenLine(const std::string& path) {
  return "[Tarvek] <ERROR> - Another run is writing " + path +
         ". Wait until it has ended, or choose another output directory.\n";
}

// ------------------------------------------------------------ in the MS2 loop

/// A first run that is stopped while it writes its outputs, so that another can be tried.
class SecondRun : public GeneratedRunTest {
 protected:
  void SetUp() override {
    m_first = StartAndStop(Arguments("out"), "out");
    ASSERT_NE(m_first, nullptr);
    m_before = OutputsIn(Path("out"));
  }
  /// Lets the first run end as if it had been alone.
  void ExpectFirstUndisturbed() {
    m_first->Signal(SIGCONT);
    const ProcessResult result = m_first->Wait();
    EXPECT_EQ(result.m_exit_status, 0);
    EXPECT_EQ(result.m_err, "");
    ExpectUndisturbedOutputs("out");
  }

  std::unique_ptr<RunningProcess> m_first;
  FileMap m_before;
};

TEST_F(SecondRun, EndsWithAnErrorThatNamesTheFile) {
  Run(Arguments("out"));
  EXPECT_EQ(m_result.m_err, TakenLine("out/run.csv_unfinished"));
  EXPECT_EQ(m_result.m_exit_status, 255);
  EXPECT_THAT(m_result.m_out, EndsWith(kCrashLines));
}
TEST_F(SecondRun, LeavesTheFirstOneAlone) {
  Run(Arguments("out"));
  EXPECT_TRUE(OutputsIn(Path("out")) == m_before);
  ExpectFirstUndisturbed();
}
TEST_F(SecondRun, ThatRewritesLeavesTheFirstOneAloneToo) {
  std::vector<std::string> arguments = Arguments("out");
  arguments.insert(arguments.end(), {"-r", "1"});
  Run(arguments);
  EXPECT_EQ(m_result.m_err, TakenLine("out/run.csv_unfinished"));
  EXPECT_TRUE(OutputsIn(Path("out")) == m_before);
  ExpectFirstUndisturbed();
}
TEST_F(SecondRun, MayWriteToAnotherDirectory) {
  EXPECT_EQ(Run(Arguments("other")).m_exit_status, 0);
  ExpectUndisturbedOutputs("other");
  ExpectFirstUndisturbed();
}
TEST_F(SecondRun, IsNotHinderedByAFirstOneThatWasKilled) {
  EXPECT_EQ(m_first->Kill().m_signal, SIGKILL);
  EXPECT_TRUE(Exists("out/run.csv_unfinished"));
  EXPECT_EQ(Run(Arguments("out")).m_exit_status, 0);
  ExpectUndisturbedOutputs("out");
}

// The first one wins; a complete set of outputs remains.
TEST_F(GeneratedRunTest, OfManyOnOneDirectoryAtOnceOneSucceedsAndTheOthersSayWhy) {
  int refused = 0;
  for (int round = 0; round < 20 && refused == 0; ++round) {  // they may run one after the other
    fs::remove_all(Path("out"));
    std::vector<std::unique_ptr<RunningProcess>> runs;
    for (int i = 0; i < 6; ++i)
      runs.push_back(std::make_unique<RunningProcess>(Request(Arguments("out"))));
    int complete = 0;
    for (const auto& run : runs) {
      const ProcessResult result = WithSlashes(run->Wait());
      ++(result.m_exit_status == 0 ? complete : refused);
      if (result.m_exit_status != 0) {
        EXPECT_EQ(result.m_err, TakenLine("out/run.csv_unfinished"));
      }
    }
    EXPECT_GE(complete, 1);
    ExpectUndisturbedOutputs("out");
  }
  RecordProperty("refused", refused);
  EXPECT_GE(refused, 1);
}

TEST_F(GeneratedRunTest, AtOnceWithAnotherAtAnyMomentLosesNothing) {
  Promise promise("two runs on one directory: the outputs of one, an error of the other");
  std::mt19937 random(kSeed);
  int refused = 0;
  const auto try_one = [&] {
    fs::remove_all(Path("out"));
    RunningProcess first(Request(Arguments("out")));
    const auto moment = MomentIn(m_duration, random);
    std::this_thread::sleep_for(moment);
    Run(Arguments("out"));
    const ProcessResult first_result = WithSlashes(first.Wait());
    EXPECT_TRUE(first_result.m_exit_status == 0 || m_result.m_exit_status == 0);
    for (const ProcessResult* result : {&first_result, &std::as_const(m_result)}) {
      const bool is_refused = result->m_exit_status != 0;
      EXPECT_EQ(result->m_err, is_refused ? TakenLine("out/run.csv_unfinished") : "");
      if (is_refused) ++refused;
    }
    if (first_result.m_exit_status == 0 && m_result.m_exit_status == 0)
      m_duration = moment;  // the first one had ended by then: runs have become faster
    ExpectUndisturbedOutputs("out");
  };
  promise.TryPoints(try_one, [&] { return refused >= OneIn(10); });
  RecordProperty("refused", refused);
  EXPECT_GE(refused, OneIn(10));
}

// ------------------------------------------------------------ on the other input paths

class DuringExtraction : public FakeExtractorTest {
 protected:
  void SetUp() override {
    PlaceExtractor(std::string(kWaitForLeave) + kCopyTextPair);
    m_first.emplace(Request({"-D", "run.raw", "-O", "out"}));
    ASSERT_TRUE(Appears(Path("started")));
  }
  std::optional<RunningProcess> m_first;
};

TEST_F(DuringExtraction, ASecondRunStartsNoExtractor) {
  Run({"-D", "run.raw", "-O", "out", "-r", "1"});
  EXPECT_EQ(m_result.m_err, TakenLine("out/run.csv_unfinished"));
  EXPECT_EQ(m_result.m_exit_status, 255);
  EXPECT_EQ(Starts(), 1);
  Write("leave", "");
  EXPECT_EQ(m_first->Wait().m_exit_status, 0);
  EXPECT_TRUE(Exists("out/run.csv"));
}

TEST_F(FakeExtractorTest, LeavesNoTemporaryTableWhenTheExtractorFails) {
  PlaceExtractor("exit 3\n");
  EXPECT_EQ(Run({"-D", "run.raw", "-O", "out"}).m_exit_status, 255);
  EXPECT_FALSE(Exists("out/run.csv_unfinished"));
}
TEST_F(FakeExtractorTest, KeepsTheTemporaryTableOfAnEarlierRunWhenTheExtractorFails) {
  PlaceExtractor("exit 3\n");
  MakeFolder("out");
  Write("out/run.csv_unfinished", "half a ta");
  EXPECT_EQ(Run({"-D", "run.raw", "-O", "out"}).m_exit_status, 255);
  EXPECT_EQ(Content("out/run.csv_unfinished"), "half a ta");
}

std::string ManyMgfSpectra(int count) {
  std::string text;
  for (int i = 1; i <= count; ++i)
    text += "BEGIN IONS\nTITLE=run." + std::to_string(i) + "." + std::to_string(i) +
            ".2.0.dta\nCHARGE=2+\nPEPMASS=500.25\n100.5 10\n200.5 20\nEND IONS\n";
  return text;
}

// With MGF input there is no table, so a run claims the PF2 file. The first run reads from a pipe
// that ends when the second one has been tried.
TEST_F(ProgramTest, OnTheMgfPathASecondRunEndsWithAnErrorToo) {
  PlaceTable();
  Write("run.mgf", ManyMgfSpectra(20));
  MakeFolder("in");
  ASSERT_EQ(::mkfifo(Path("in/run.mgf").c_str(), 0600), 0);
  // Reading and writing, so that nobody waits for the other end; the pipe never ends by itself.
  const int pipe = ::open(Path("in/run.mgf").c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_GE(pipe, 0);
  RunningProcess first(Request({"-D", "in/run.mgf", "-O", "out"}));
  ASSERT_TRUE(Appears(Path("out/run.pf2idx_unfinished")));
  Run({"-D", "run.mgf", "-O", "out"});
  EXPECT_EQ(m_result.m_exit_status, 255);
  EXPECT_EQ(m_result.m_err.substr(m_result.m_err.rfind("[Tarvek] <ERROR>")),
            TakenLine("out/run.pf2"));
  const std::string spectra = ManyMgfSpectra(20);
  EXPECT_EQ(::write(pipe, spectra.data(), spectra.size()), static_cast<ssize_t>(spectra.size()));
  ::close(pipe);
  EXPECT_EQ(first.Wait().m_exit_status, 0);
  EXPECT_THAT(Content("out/run.pf2"), testing::StartsWith(std::string("\x14\0\0\0", 4)));
}

}  // namespace
}  // namespace tarvek::test
