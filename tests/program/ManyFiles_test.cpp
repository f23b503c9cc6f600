// A directory with one broken file: files finished before it stay, and how to go on.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "FaultCases.h"
#include "ProgramTest.h"

namespace tarvek::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

constexpr int kFiles = 9;

/// Nine pairs in "in", the outputs of an undisturbed run in "whole", and one broken pair.
class BrokenFile : public ProgramTest {
 protected:
  BrokenFile() {
    PlaceTable();
    MakeFolder("in");
    for (int i = 0; i < kFiles; ++i) PlacePair("in", "f" + std::to_string(i));
    Run(Arguments("whole"));
    m_undisturbed = OutputsIn(Path("whole"));
    // The program and this test use the order in which the system lists the directory.
    for (const fs::directory_entry& entry : fs::directory_iterator(Path("in")))
      if (entry.path().extension() == ".ms1") m_bases.push_back(entry.path().stem().string());
  }
  static std::vector<std::string> Arguments(const std::string& out) {
    return {"-D", "in", "-F", "ms1", "-O", out};
  }
  [[nodiscard]] std::string Ms2(int place) const {
    return "in/" + m_bases.at(static_cast<std::size_t>(place)) + ".ms2";
  }
  /// The outputs of the undisturbed run for the files at these places.
  [[nodiscard]] FileMap UndisturbedOf(int first, int last) const {
    FileMap outputs;
    for (int place = first; place < last; ++place)
      for (const auto& [name, content] : m_undisturbed)
        if (name.starts_with(m_bases.at(static_cast<std::size_t>(place)))) outputs[name] = content;
    return outputs;
  }
  /// Runs with the file at place broken, into a fresh "out".
  void RunWithBroken(int place) {
    fs::remove_all(Path("out"));
    fs::rename(Path(Ms2(place)), Path("aside"));
    Run(Arguments("out"));
  }
  void Mend(int place) const { fs::rename(Path("aside"), Path(Ms2(place))); }
  [[nodiscard]] static int Skipped(const std::string& text) {
    int count = 0;
    for (const std::string& line : LinesOf(text))
      count += line.ends_with(" has existed results, skipping...") ? 1 : 0;
    return count;
  }

  FileMap m_undisturbed;
  std::vector<std::string> m_bases;
};

TEST_F(BrokenFile, IsNamedAndEverythingBeforeItIsFinished) {
  Promise promise("one broken file of many: the files before it are finished");
  for (int place = 0; place < kFiles; ++place)
    promise.Try(place, [&] {
      RunWithBroken(place);
      EXPECT_EQ(m_result.m_exit_status, 255);
      EXPECT_THAT(m_result.m_err, HasSubstr("<ERROR> - Cannot open MS2 File, Path: " + Ms2(place)));
      EXPECT_EQ(OutputsIn(Path("out")), UndisturbedOf(0, place));
      Mend(place);
    });
}
TEST_F(BrokenFile, MendedIsDoneNextTimeAndTheFinishedOnesAreSkipped) {
  Promise promise("the broken file fixed: run again; the finished are skipped");
  for (int place = 0; place < kFiles; ++place)
    promise.Try(place, [&] {
      RunWithBroken(place);
      Mend(place);
      EXPECT_EQ(Run(Arguments("out")).m_exit_status, 0);
      EXPECT_EQ(Skipped(m_result.m_out), place);
      EXPECT_EQ(OutputsIn(Path("out")), m_undisturbed);
    });
}
TEST_F(BrokenFile, TakenAwayLetsTheOthersBeDone) {
  RunWithBroken(4);
  const std::string ms1 = "in/" + m_bases[4] + ".ms1";
  fs::remove(Path(ms1));
  EXPECT_EQ(Run(Arguments("out")).m_exit_status, 0);
  FileMap expected = UndisturbedOf(0, 4);
  expected.merge(UndisturbedOf(5, kFiles));
  EXPECT_EQ(OutputsIn(Path("out")), expected);
}

}  // namespace
}  // namespace tarvek::test
