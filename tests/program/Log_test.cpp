// The place and the contents of the log.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "ProgramTest.h"

namespace tarvek::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

constexpr const char* kTimeStamp =
    "(Sun|Mon|Tue|Wed|Thu|Fri|Sat) "
    "(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) "
    "[ 1-3][0-9] [0-2][0-9]:[0-5][0-9]:[0-6][0-9] 20[0-9][0-9]";

class Log : public PairTest {
 protected:
  [[nodiscard]] static std::string Announcement(const std::string& path) {
    return "[Tarvek] <INFO> - Tarvek writes logs in " + path + "\n";
  }
  /// The lines of the log before the echo.
  [[nodiscard]] std::vector<std::string> Head(const std::string& log) const {
    std::vector<std::string> lines = LinesOf(Content(log));
    lines.resize(std::min<std::size_t>(lines.size(), 2));
    return lines;
  }
};

TEST_F(Log, GoesIntoTheNamedDirectory) {
  Run({"-D", "run.ms1", "-O", "out", "-L", "a/log/"});
  EXPECT_THAT(m_result.m_out, HasSubstr(Announcement("a/log/TarvekPlusLog.txt")));
  EXPECT_TRUE(Exists("a/log/TarvekPlusLog.txt"));
}
TEST_F(Log, GoesIntoTheOutputDirectoryOtherwise) {
  Run({"-D", "run.ms1", "-O", "out/"});
  EXPECT_THAT(m_result.m_out, HasSubstr(Announcement("out/TarvekPlusLog.txt")));
  EXPECT_TRUE(Exists("out/TarvekPlusLog.txt"));
}
TEST_F(Log, GoesBesideTheFirstDataPathOtherwise) {
  MakeFolder("in");
  PlacePair("in");
  Run({"in/run.ms1"});
  EXPECT_THAT(m_result.m_out, HasSubstr(Announcement("in/TarvekPlusLog.txt")));
  EXPECT_TRUE(Exists("in/TarvekPlusLog.txt"));
}
TEST_F(Log, GoesIntoADirectoryThatIsTheFirstDataPath) {
  MakeFolder("in");
  Run({"in/"});
  EXPECT_THAT(m_result.m_out, HasSubstr(Announcement("in/TarvekPlusLog.txt")));
}
TEST_F(Log, GoesIntoTheCurrentDirectoryForABareFileName) {
  Run({"run.ms1"});
  EXPECT_THAT(m_result.m_out, HasSubstr(Announcement("./TarvekPlusLog.txt")));
  EXPECT_TRUE(Exists(kLog));
}
TEST_F(Log, GoesIntoTheCurrentDirectoryWithoutDataPaths) {
  Run({"-D", "none"});
  EXPECT_THAT(m_result.m_out, HasSubstr(Announcement("./TarvekPlusLog.txt")));
  EXPECT_TRUE(Exists(kLog));
}

TEST_F(Log, BeginsWithTheTimeStamp) {
  Run({"run.ms1"});
  EXPECT_THAT(Head(kLog).at(0), MatchesRegex(kTimeStamp));
}
TEST_F(Log, HoldsTheCommandLineWithABlankAfterEachArgument) {
  Run({"-D", "run.ms1", "-z", "4"});
  EXPECT_EQ(Head(kLog).at(1), std::string(TARVEK_PROGRAM) + " -D run.ms1 -z 4 ");
}
TEST_F(Log, HoldsEverythingThatWasShown) {
  Run({"-D", "run.ms1"});
  const std::string start = "[Tarvek] <INFO> - --------- BEGIN PARAMETERS";
  const std::string log = Content(kLog);
  const std::string shown = m_result.m_out.substr(m_result.m_out.find(start));
  // The warnings went to standard error; without them both hold the same lines.
  std::string without_warnings;
  for (const std::string& line : LinesOf(log.substr(log.find(start))))
    if (line.find("<WARN>") == std::string::npos) without_warnings += line + "\n";
  EXPECT_EQ(without_warnings, shown);
}
TEST_F(Log, HoldsTheWarnings) {
  Run({"run.ms1"});
  EXPECT_THAT(Content(kLog), HasSubstr("[Tarvek] <WARN> - Cannot find precursor information for "
                                       "scan 72.\n"));
}
TEST_F(Log, EndsWithTheElapsedTime) {
  Run({"run.ms1"});
  EXPECT_THAT(
      LinesOf(Content(kLog)).back(),
      MatchesRegex("[[]Tarvek[]] <INFO> -  == == == Time elapsed: [0-9]+ seconds[.] == == == = "));
}
TEST_F(Log, DoesNotHoldTheBanner) {
  Run({"run.ms1"});
  EXPECT_THAT(Content(kLog), Not(HasSubstr("*****")));
}
TEST_F(Log, IsContinuedByTheNextRun) {
  Run({"run.ms1"});
  const std::string first = Content(kLog);
  Run({"run.ms1"});
  const std::string both = Content(kLog);
  ASSERT_TRUE(both.starts_with(first));
  const std::vector<std::string> second = LinesOf(both.substr(first.size()));
  EXPECT_THAT(second.at(0), MatchesRegex(kTimeStamp));
  EXPECT_EQ(second.at(1), std::string(TARVEK_PROGRAM) + " run.ms1 ");
}
TEST_F(Log, HoldsTheErrorThatEndedTheRun) {
  std::filesystem::remove(Path("run.ms2"));
  Run({"run.ms1"});
  EXPECT_THAT(Content(kLog), EndsWith("[Tarvek] <ERROR> - Cannot open MS2 File, Path: ./run.ms2\n" +
                                      std::string(kCrashLines)));
}

TEST_F(Log, IsNotMadeByARunThatFailsOnAnOption) {
  Run({"-D", ".", "-x", "1"});
  EXPECT_FALSE(Exists(kLog));
}
TEST_F(Log, IsNotMadeByARunThatFailsItsValidation) {
  Run({"-D", ".", "-z", "10"});
  EXPECT_FALSE(Exists(kLog));
}
TEST_F(Log, EndsTheRunWhenItCannotBeOpened) {
  MakeFolder(std::string("taken/") + kLog);
  Run({"-D", "run.ms1", "-L", "taken"});
  EXPECT_EQ(m_result.m_err,
            "[Tarvek] <ERROR> - Cannot open Log Dump File, Path: taken/TarvekPlusLog.txt\n");
  EXPECT_EQ(m_result.m_exit_status, 255);
  EXPECT_FALSE(Exists("run.csv"));
}
TEST_F(Log, OnAFullDeviceDoesNotEndTheRun) {
  std::filesystem::create_symlink("/dev/full", Path(kLog));
  EXPECT_EQ(Run({"run.ms1"}).m_exit_status, 0);
  EXPECT_TRUE(Exists("run.csv"));
}

class Console : public PairTest, public testing::WithParamInterface<StandardOutput> {
 protected:
  const ProcessResult& RunOnIt() {
    ProcessRequest request = Request({"-D", "run.ms1", "-O", "out"});
    request.m_standard_output = GetParam();
    return RunRequest(request);
  }
};

TEST_P(Console, ThatTakesNothingDoesNotEndTheRun) {
  EXPECT_EQ(RunOnIt().m_exit_status, 0);
  EXPECT_EQ(m_result.m_signal, 0);
}
TEST_P(Console, ThatTakesNothingDoesNotChangeTheOutputs) {
  RunOnIt();
  EXPECT_EQ(OutputsIn(Path("out")), OutputsIn(GoldenFolder() + "/default"));
}
TEST_P(Console, ThatTakesNothingLeavesTheLogComplete) {
  RunOnIt();
  EXPECT_THAT(Content("out/TarvekPlusLog.txt"), EndsWith(" seconds. == == == = \n"));
}
TEST_P(Console, ThatTakesNothingLeavesNothingOfItsTextInTheOutputs) {
  RunOnIt();
  const std::string log = Content("out/TarvekPlusLog.txt");
  EXPECT_THAT(log, Not(HasSubstr("*****")));  // the banner goes only to the console
}
INSTANTIATE_TEST_SUITE_P(Log, Console,
                         testing::Values(StandardOutput::kClosedPipe, StandardOutput::kFullDevice,
                                         StandardOutput::kClosed, StandardOutput::kAllClosed));

}  // namespace
}  // namespace tarvek::test
