// An extractor that dies, hangs or lies.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "FakeExtractor.h"
#include "FaultCases.h"

namespace tarvek::test {
namespace {

namespace fs = std::filesystem;
using testing::EndsWith;

constexpr const char* kFailed = "Cannot use morvex to extract signals from: run.raw";

class BadExtractor : public FakeExtractorTest {
 protected:
  [[nodiscard]] static std::vector<std::string> Arguments() {
    return {"-D", "run.raw", "-O", "out"};
  }
  void ExpectError(const std::string& body, const std::string& message) {
    fs::remove_all(Path("out"));
    PlaceExtractor(body);
    Run(Arguments());
    EXPECT_THAT(m_result.m_err, EndsWith("[Tarvek] <ERROR> - " + message + "\n"));
    EXPECT_EQ(m_result.m_exit_status, 255);
    EXPECT_THAT(m_result.m_out, EndsWith(kCrashLines));
    EXPECT_FALSE(Exists("out/run.csv"));
    EXPECT_FALSE(Exists("out/run.csv_unfinished"));
  }
  /// Once the extractor works, the run works too.
  void ExpectRecovery(const std::vector<std::string>& more) {
    PlaceExtractor(kCopyTextPair);
    std::vector<std::string> arguments = Arguments();
    arguments.insert(arguments.end(), {"-d", "1"});
    arguments.insert(arguments.end(), more.begin(), more.end());
    EXPECT_EQ(Run(arguments).m_exit_status, 0);
    EXPECT_EQ(OutputsIn(Path("out")), OutputsIn(GoldenFolder() + "/default"));
  }
};

TEST_F(BadExtractor, ThatDiesIsReported) {
  Promise promise("an extractor that is killed or fails: run again");
  const std::vector<std::string> deaths = {"kill -KILL $$", "kill -TERM $$", "kill -SEGV $$",
                                           "kill -INT $$",  "exit 1",        "exit 255"};
  const std::vector<std::string> moments = {
      "", "cp prepared/run.ms1 \"$out/$base.ms1\"\n",
      "head -c 100 prepared/run.ms1 >\"$out/$base.ms1\"\nhead -c 50 prepared/run.ms2 "
      ">\"$out/$base.ms2\"\n"};
  for (const std::string& death : deaths)
    for (const std::string& before : moments)
      promise.Try(before + death, [&] {
        ExpectError(before + death + "\n", kFailed);
        ExpectRecovery({});
      });
}

// With the marker the spectra count as complete, so only -r 1 starts the extractor again.
TEST_F(BadExtractor, ThatLiesIsFoundOut) {
  Promise promise("an extractor that claims success without marker or spectra: an error");
  const std::string marker = ": > \"$out/$base.morvex\"\n";
  const std::string ms1 = "cp prepared/run.ms1 \"$out/$base.ms1\"\n";
  const std::vector<std::pair<std::string, std::string>> lies = {
      {"exit 0\n", kFailed},
      {"cp prepared/run.ms? \"$out\"\n", kFailed},
      {marker, "Cannot open MS1 File, Path: out/run.ms1"},
      {marker + ms1, "Cannot open MS2 File, Path: out/run.ms2"}};
  for (const auto& lie : lies)
    promise.Try(lie.first, [&] {
      ExpectError(lie.first, lie.second);
      ExpectRecovery({"-r", "1"});
    });
}

TEST_F(BadExtractor, ThatHangsIsWaitedFor) {
  Promise promise("an extractor that hangs is waited for");
  promise.Try("until it goes on", [&] {
    PlaceExtractor(std::string(kWaitForLeave) + kCopyTextPair);
    RunningProcess run(Request({"-D", "run.raw", "-O", "out", "-d", "1"}));
    ASSERT_TRUE(Appears(Path("started")));
    std::this_thread::sleep_for(std::chrono::seconds(1));
    EXPECT_FALSE(Exists("out/run.csv"));
    Write("leave", "");
    EXPECT_EQ(run.Wait().m_exit_status, 0);
    EXPECT_EQ(OutputsIn(Path("out")), OutputsIn(GoldenFolder() + "/default"));
  });
  fs::remove(Path("leave"));
  promise.Try("and when the run is killed, run again", [&] {
    fs::remove_all(Path("out"));
    fs::remove(Path("calls.txt"));
    PlaceExtractor("echo $$ >pid\nexec sleep 60\n");
    RunningProcess run(Request(Arguments()));
    ASSERT_TRUE(Eventually([&] { return Exists("pid") && Content("pid").ends_with('\n'); }));
    EXPECT_EQ(run.Kill().m_signal, SIGKILL);
    ::kill(std::stoi(Content("pid")), SIGKILL);
    ExpectRecovery({});
  });
}

}  // namespace
}  // namespace tarvek::test
