#include "outputs/OutputNames.h"

#include <gtest/gtest.h>

#include <string>

namespace tarvek::tools {
namespace {

std::string Cut(std::string_view stem) {
  const SplitName name = SplitOutputName(stem);
  return std::string(name.m_run) + "|" + std::string(name.m_words);
}

TEST(OutputNames, CutsActivationAndAnalyserOffARun) {
  EXPECT_EQ(Cut("run_HCDFT"), "run|HCDFT");
  EXPECT_EQ(Cut("a_b_ETCIDITMS"), "a_b|ETCIDITMS");
  EXPECT_EQ(Cut("run_CIDFT_HCDFTMS"), "run_CIDFT|HCDFTMS");
}

TEST(OutputNames, LeavesOtherNamesWhole) {
  for (const char* name : {"run", "run_", "run_HCD", "run_FT", "run_HCDTOF", "runHCDFT", ""})
    EXPECT_EQ(Cut(name), std::string(name) + "|");
}

TEST(OutputNames, CutsTheFormatOffABinaryPair) {
  EXPECT_EQ(RunOfBinaryPair("a.b.mzml"), "a.b");
  EXPECT_EQ(RunOfBinaryPair("run.wiff"), "run");
  EXPECT_EQ(RunOfBinaryPair("run.raw.mzxml"), "run.raw");
  for (const char* name : {"run", "a.b", "mzml", "run.ms1"}) EXPECT_EQ(RunOfBinaryPair(name), name);
}

}  // namespace
}  // namespace tarvek::tools
