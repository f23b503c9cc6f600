// The inputs, the expected outputs and how they were worked out: tests/golden/README.md.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ProgramTest.h"

namespace tarvek::test {
namespace {

struct GoldenRun {
  std::string m_name;
  std::vector<std::string> m_options;
};

void PrintTo(const GoldenRun& run, std::ostream* out) { *out << run.m_name; }

class GoldenRuns : public PairTest, public testing::WithParamInterface<GoldenRun> {
 protected:
  GoldenRuns() {
    std::vector<std::string> arguments = {"-D", "run.ms1", "-O", "out"};
    const std::vector<std::string>& options = GetParam().m_options;
    arguments.insert(arguments.end(), options.begin(), options.end());
    Run(arguments);
    m_expected = FilesIn(GoldenFolder() + "/" + GetParam().m_name);
  }
  FileMap m_expected;
};

TEST_P(GoldenRuns, EndNormally) { EXPECT_EQ(m_result.m_exit_status, 0); }
TEST_P(GoldenRuns, WriteTheExpectedFiles) {
  ASSERT_FALSE(m_expected.empty());
  std::vector<std::string> expected;
  std::vector<std::string> written;
  for (const auto& file : m_expected) expected.push_back(file.first);
  for (const auto& file : FilesIn(Path("out"))) written.push_back(file.first);
  EXPECT_EQ(written, expected);
}
TEST_P(GoldenRuns, WriteTheExpectedBytes) {
  ASSERT_FALSE(m_expected.empty());
  for (const auto& [name, content] : m_expected) {
    SCOPED_TRACE(name);
    ASSERT_TRUE(Exists("out/" + name));
    EXPECT_TRUE(Content("out/" + name) == content);
  }
}
TEST_P(GoldenRuns, WarnOfTheScanWithoutPrecursorAlone) {
  EXPECT_EQ(m_result.m_err,
            "[Tarvek] <WARN> - Scan 72 has incorrect precursor infomation, skipping this "
            "precursor...\n"
            "[Tarvek] <WARN> - Cannot find precursor information for scan 72.\n");
}
INSTANTIATE_TEST_SUITE_P(Pair, GoldenRuns,
                         testing::Values(GoldenRun{"default", {}}, GoldenRun{"single", {"-C", "0"}},
                                         GoldenRun{"digits", {"-z", "3", "-i", "0"}},
                                         GoldenRun{"negative", {"-c", "-3t-2"}},
                                         GoldenRun{"model0", {"-M", "0"}},
                                         GoldenRun{"model2", {"-M", "2"}}),
                         [](const auto& each) { return each.param.m_name; });

}  // namespace
}  // namespace tarvek::test
