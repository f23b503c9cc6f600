// tarvek-tools check finds nothing wrong with good runs, before and after tarvek.
#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "CheckTestSupport.h"
#include "TestSupport.h"

namespace tarvek::tools::test {
namespace {

using tarvek::test::TemporaryDirectory;
using tarvek::test::WriteFile;
using testing::TestWithParam;

struct GoodRun {
  std::string m_format;                   // text, msb or mzml
  std::vector<std::string> m_simulate;    // options of the simulator
  std::vector<std::string> m_settings{};  // of both tarvek and check
  std::vector<std::string> m_outputs{};   // options of tarvek alone
};

void PrintTo(const GoodRun& run, std::ostream* out) {
  *out << run.m_format;
  for (const std::string& option : run.m_simulate) *out << " " << option;
}

const std::vector<GoodRun>& GoodRuns() {
  static const std::vector<GoodRun> runs = {
      {"text", {"--seed", "1", "--ms2", "120"}},
      {"text", {"--seed", "2", "--ms2", "60", "--top", "3"}},
      {"text",
       {"--seed", "3", "--ms2", "90", "--activation", "HCD,CID", "--analyser", "FTMS,ITMS"}},
      {"text", {"--seed", "4", "--ms2", "90", "--activation", "ETHCD"}},
      {"text", {"--seed", "5", "--ms2", "60", "--activation", "ETD,ETCID"}},
      {"text", {"--seed", "6", "--ms2", "90", "--ion-trap-surveys", "0.3"}},
      {"text", {"--seed", "7", "--ms2", "60", "--label", "n15"}},
      {"text", {"--seed", "8", "--ms2", "60", "--noise", "0"}},
      {"text", {"--seed", "9", "--ms2", "60", "--noise", "4"}},
      {"text", {"--seed", "10", "--ms2", "60", "--negative"}, {"-c", "-6t-2"}},
      {"text", {"--seed", "11", "--ms2", "60"}, {}, {"-m", "0"}},
      {"text", {"--seed", "12", "--ms2", "60"}, {}, {"-p", "0", "-z", "3", "-i", "0"}},
      {"mzml", {"--seed", "13", "--ms2", "90"}},
      {"mzml", {"--seed", "14", "--ms2", "60", "--isolation-width", "3"}, {"-W", "3"}},
      {"mzml", {"--seed", "15", "--ms2", "60", "--negative"}, {"-c", "-6t-1"}},
      {"mzml",
       {"--seed", "16", "--ms2", "60", "--activation", "HCD,CID", "--analyser", "FTMS,ITMS"}},
      {"mzml", {"--seed", "17", "--ms2", "60", "--resolution", "15000"}},
      {"mzml", {"--seed", "18", "--ms2", "60"}, {}, {"-C", "0"}},
      {"msb", {"--seed", "19", "--ms2", "90"}},
      {"msb", {"--seed", "20", "--ms2", "60", "--isolation-width", "4"}, {"-W", "4"}},
  };
  return runs;
}

class CheckGoodRuns : public TestWithParam<GoodRun> {
 protected:
  // Makes the input in the folder in and processes it into out.
  void Prepare() {
    const GoodRun& run = GetParam();
    std::filesystem::create_directories(In());
    std::filesystem::create_directories(Out());
    std::vector<std::string> simulate = run.m_simulate;
    simulate.insert(simulate.end(), {"--format", run.m_format});
    std::vector<std::string> settings = run.m_settings;
    settings.insert(settings.end(), run.m_outputs.begin(), run.m_outputs.end());
    if (run.m_format == "msb") {
      // As after the extractor: the pair and its marker are among the outputs.
      Simulate(simulate, Out() + "/run.mzml");
      WriteFile(Out() + "/run.morvex", "done\n");
      WriteFile(m_directory / "run.mzML", "");
      settings.insert(settings.end(), {"-b", "1"});
      Process(m_directory / "run.mzML", Out(), settings);
    } else {
      Simulate(simulate, In() + "/run");
      Process(In() + (run.m_format == "mzml" ? "/run.mzML" : "/run.ms1"), Out(), settings);
    }
  }
  [[nodiscard]] std::string In() const { return m_directory / "in"; }
  [[nodiscard]] std::string Out() const { return m_directory / "out"; }

  TemporaryDirectory m_directory;
};

TEST_P(CheckGoodRuns, NothingIsFoundBeforeAndAfterTheRun) {
  Prepare();
  std::vector<std::string> arguments = {Out()};
  if (GetParam().m_format != "msb") arguments.insert(arguments.begin(), In());
  arguments.insert(arguments.end(), GetParam().m_settings.begin(), GetParam().m_settings.end());
  const CheckResult result = Check(arguments);
  EXPECT_EQ(result.m_status, 0);
  EXPECT_EQ(result.Findings(false), std::vector<std::string>()) << result.m_report.dump(1);
  EXPECT_EQ(result.m_err, "");
  // The check covered at least an input and the outputs, and they are not empty.
  EXPECT_GE(result.m_report.at("checked").size(), 2U);
  for (const auto& item : result.m_report.at("checked"))
    for (const auto& [name, count] : item.at("counts").items()) EXPECT_GT(count, 0) << name;
}

INSTANTIATE_TEST_SUITE_P(Runs, CheckGoodRuns, testing::ValuesIn(GoodRuns()));

}  // namespace
}  // namespace tarvek::tools::test
