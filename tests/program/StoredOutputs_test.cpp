// Outputs are on the disk before the table says that they are complete: the order of system calls.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "ProgramTest.h"

namespace tarvek::test {
namespace {

constexpr const char* kTracer = "/usr/bin/strace";

class StoredOutputs : public PairTest {
 protected:
  void SetUp() override {
    if (TestsForeignPrograms()) GTEST_SKIP() << "the programs of a foreign system are not traced";
    if (!std::filesystem::exists(kTracer)) GTEST_SKIP() << "needs strace";
  }

  /// "fsync NAME" and "rename NAME" of the run's calls in order, NAME without its folder.
  std::vector<std::string> Calls(const std::map<std::string, std::string>& environment = {}) {
    ProcessRequest request = Request({"-f", "-y", "-o", "calls", "-e", "trace=fsync,rename",
                                      TestedProgram(TARVEK_PROGRAM), "-D", "run.ms1", "-O", "out"});
    request.m_program = kTracer;
    request.m_environment = environment;
    RunRequest(request);
    EXPECT_EQ(m_result.m_exit_status, 0) << m_result.m_err;
    std::vector<std::string> calls;
    for (const std::string& line : LinesOf(Content("calls"))) {
      if (const std::size_t at = line.find("fsync("); at != std::string::npos)
        calls.push_back("fsync " + NameIn(line.substr(at), '>'));
      if (const std::size_t at = line.find("rename("); at != std::string::npos)
        calls.push_back("rename " + NameIn(line.substr(at), '"', "\", \""));
    }
    return calls;
  }

 private:
  // The last part of the path that ends before end; the path is behind start where that is given.
  static std::string NameIn(const std::string& call, char end, const std::string& start = "/") {
    const std::size_t begin = call.find(start) + start.size();
    const std::string path = call.substr(begin, call.find(end, begin) - begin);
    return path.substr(path.rfind('/') + 1);
  }
};

TEST_F(StoredOutputs, AreStoredBeforeTheTableHasItsNameAndTheFolderAfterIt) {
  const std::vector<std::string> calls = Calls();
  const auto place = [&](const std::string& call) {
    return std::ranges::find(calls, call) - calls.begin();
  };
  const auto table_named = place("rename run.csv");
  ASSERT_LT(table_named, std::ssize(calls)) << testing::PrintToString(calls);
  for (const auto& [name, content] : OutputsIn(Path("out"))) {
    const bool is_renamed = name == "run.csv" || name == "run.tarvek";
    EXPECT_LT(place("fsync " + name + (is_renamed ? "_unfinished" : "")), table_named) << name;
  }
  EXPECT_LT(place("rename run.tarvek"), table_named);
  EXPECT_EQ(calls[static_cast<std::size_t>(table_named) - 1], "fsync out");
  EXPECT_EQ(calls.back(), "fsync out");
  EXPECT_EQ(table_named, std::ssize(calls) - 2);
}
TEST_F(StoredOutputs, AreLeftToTheSystemOnRequest) {
  EXPECT_THAT(Calls({{"TARVEK_NO_SYNC", "1"}}),
              testing::ElementsAre("rename run.tarvek", "rename run.csv"));
  EXPECT_THAT(Calls({{"TARVEK_NO_SYNC", "0"}}), testing::IsEmpty());  // it is finished
}

}  // namespace
}  // namespace tarvek::test
