// Directories that cannot be written, input that changes during the run, a closed console.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "FaultCases.h"
#include "GeneratedRunTest.h"
#include "PrivateFileSystem.h"

namespace tarvek::test {
namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;

// ------------------------------------------------------------ read-only directories

/// A directory "fixed" that holds the golden pair and cannot be written, not even by root.
class ReadOnlyDirectory : public PairTest {
 protected:
  void SetUp() override {
    MakeFolder("fixed");
    if (::geteuid() == 0) m_system.emplace(Path("fixed"), "size=4m");
    PlacePair("fixed");
    fs::permissions(Path("fixed"), fs::perms::owner_read | fs::perms::owner_exec);
    if (m_system && !(m_system->IsMounted() && m_system->MakeReadOnly()))
      GTEST_SKIP() << "mounting a file system is not permitted here, and nothing else stops root";
  }
  void TearDown() override {
    if (!m_system) fs::permissions(Path("fixed"), fs::perms::owner_all);
  }
  void ExpectError(const std::vector<std::string>& arguments, const std::string& message) {
    Run(arguments);
    EXPECT_EQ(m_result.m_err, "[Tarvek] <ERROR> - " + message + "\n");
    EXPECT_EQ(m_result.m_exit_status, 255);
    EXPECT_THAT(m_result.m_out, EndsWith(kCrashLines));
    EXPECT_EQ(OutputsIn(Path("fixed")).size(), 2u);
  }

  std::optional<PrivateFileSystem> m_system;
};

TEST_F(ReadOnlyDirectory, IsNamedInTheError) {
  Promise promise("a read-only directory: nothing is left");
  promise.Try("of the outputs", [&] {
    ExpectError({"-D", "run.ms1", "-O", "fixed", "-L", "log"},
                "Cannot open CSV File, Path: fixed/run.csv_unfinished");
  });
  promise.Try("of the outputs beside the input", [&] {
    ExpectError({"-D", "fixed/run.ms1", "-L", "log"},
                "Cannot open CSV File, Path: fixed/run.csv_unfinished");
  });
  promise.Try("of the log", [&] {
    ExpectError({"-D", "run.ms1", "-O", "out", "-L", "fixed"},
                "Cannot open Log Dump File, Path: fixed/TarvekPlusLog.txt");
  });
  promise.Try("of an output directory to make", [&] {
    ExpectError({"-D", "run.ms1", "-O", "fixed/out", "-L", "log"},
                "Can not make the directory: fixed/out");
  });
}

// ------------------------------------------------------------ input that changes

class ChangingInput : public GeneratedRunTest {
 protected:
  void Start(const std::vector<std::string>& arguments) {
    m_run = StartAndStop(arguments, "out");
    ASSERT_NE(m_run, nullptr);
  }
  void Continue() {
    m_run->Signal(SIGCONT);
    m_result = WithSlashes(m_run->Wait());
  }
  void ExpectShorterInputIsNoticed(const std::string& name, std::uint64_t size_bytes) {
    ASSERT_NO_FATAL_FAILURE(Start(Arguments("out")));
    const std::string content = Content(name);
    fs::resize_file(Path(name), size_bytes);
    Continue();
    EXPECT_EQ(m_result.m_exit_status, 255);
    EXPECT_THAT(m_result.m_err, HasSubstr("[Tarvek] <ERROR> - Cannot read "));
    EXPECT_THAT(m_result.m_err, HasSubstr(name + ": it became shorter while it was read.\n"));
    EXPECT_FALSE(Exists("out/run.csv"));
    Write(name, content);
    EXPECT_EQ(Run(Arguments("out")).m_exit_status, 0);
    ExpectUndisturbedOutputs("out");
  }

  std::unique_ptr<RunningProcess> m_run;
};

TEST_F(ChangingInput, ThatBecomesShorterEndsTheRunWithAnError) {
  Promise promise("input that becomes shorter: no final table; run again");
  for (const char* const name : {"run.ms1", "run.ms2"}) {
    const std::uint64_t size_bytes = fs::file_size(Path(name));
    const auto points = static_cast<std::uint64_t>(FaultPoints());
    for (std::uint64_t i = 0; i < points; ++i)
      promise.Try(std::string(name) + " cut to " + std::to_string(size_bytes * i / points),
                  [&] { ExpectShorterInputIsNoticed(name, size_bytes * i / points); });
  }
}

TEST_F(ChangingInput, ThatIsDeletedWhileItIsReadIsReadToItsEnd) {
  Promise promise("input deleted while it is read: the run is complete");
  for (const char* const name : {"run.ms1", "run.ms2"})
    promise.Try(name, [&] {
      ASSERT_NO_FATAL_FAILURE(Start(Arguments("out")));
      const std::string content = Content(name);
      fs::remove(Path(name));
      Continue();
      EXPECT_EQ(m_result.m_exit_status, 0);
      ExpectUndisturbedOutputs("out");
      Write(name, content);
    });
}

TEST_F(ChangingInput, ThatVanishesBeforeItsTurnIsNamed) {
  Promise promise("input gone before its turn: the files before it are finished");
  for (const char* const level : {"1", "2"})
    promise.Try(std::string("MS") + level, [&] {
      for (const char* const name : {"in/a", "in/b"}) PlaceGenerated(name);
      ASSERT_NO_FATAL_FAILURE(Start({"-D", "in", "-F", "ms1", "-O", "out"}));
      const std::string first = OutputNamed("out", ".pf1");
      const std::string second = first == "a" ? "b" : "a";
      const std::string gone = "in/" + second + ".ms" + level;
      fs::remove(Path(gone));
      Continue();
      EXPECT_EQ(m_result.m_exit_status, 255);
      EXPECT_EQ(m_result.m_err, std::string("[Tarvek] <ERROR> - Cannot open MS") + level +
                                    " File, Path: " + gone + "\n");
      EXPECT_TRUE(Exists("out/" + first + ".csv"));
      EXPECT_FALSE(Exists("out/" + second + ".csv"));
    });
}

// ------------------------------------------------------------ a console that is gone

class LostConsole : public PairTest {
 protected:
  /// The lines of the log that do not hold a time.
  [[nodiscard]] std::vector<std::string> LogLines() const {
    std::vector<std::string> lines = LinesOf(Content("out/TarvekPlusLog.txt"));
    if (!lines.empty()) lines.erase(lines.begin());
    std::erase_if(lines, [](const std::string& line) {
      return line.find("Time elapsed") != std::string::npos ||
             line.find(" MS2 scans read, ") != std::string::npos;
    });
    return lines;
  }
  void RunOn(StandardOutput output) {
    fs::remove_all(Path("out"));
    ProcessRequest request = Request({"-D", "run.ms1", "-O", "out"});
    request.m_standard_output = output;
    RunRequest(request);
  }
};

TEST_F(LostConsole, ChangesNeitherOutputsNorLog) {
  Promise promise("a console that is closed or full: outputs and log are whole");
  RunOn(StandardOutput::kCaptured);
  const std::vector<std::string> whole = LogLines();
  ASSERT_GT(whole.size(), 20u);
  const std::vector<std::pair<const char*, StandardOutput>> consoles = {
      {"closed pipe", StandardOutput::kClosedPipe},
      {"full device", StandardOutput::kFullDevice},
      {"closed output", StandardOutput::kClosed},
      {"closed output, error and input", StandardOutput::kAllClosed}};
  for (const auto& [name, output] : consoles)
    promise.Try(name, [&, out = output] {
      RunOn(out);
      EXPECT_EQ(m_result.m_exit_status, 0);
      EXPECT_EQ(m_result.m_signal, 0);
      EXPECT_EQ(OutputsIn(Path("out")), OutputsIn(GoldenFolder() + "/default"));
      EXPECT_EQ(LogLines(), whole);
    });
}

}  // namespace
}  // namespace tarvek::test
