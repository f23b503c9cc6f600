#include "OutputSet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "PrecursorTable.h"
#include "ProcessTestSupport.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;
using test::HcdScan;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;

const std::string kTable(kPrecursorTableHeader);

class OutputSetTest : public testing::Test {
 protected:
  OutputSetTest() { SetCurrentFile(m_parameters, "/elsewhere/run.ms1"); }

  [[nodiscard]] bool Exists(const std::string& name) const {
    return std::filesystem::exists(m_directory / name);
  }
  [[nodiscard]] std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_directory.Path()))
      if (entry.path().filename() != "IPV.txt")  // of the fixture
        names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
  }
  [[nodiscard]] std::string Started(const std::string& name) const {
    return "[Tarvek] <INFO> - Start to process " + (m_directory / name) + "\n";
  }
  [[nodiscard]] std::string Finished(const std::string& name, const std::string& count) const {
    const std::string path = m_directory / name;
    return "[Tarvek] <INFO> - Closed " + path + "\n[Tarvek] <INFO> - Finished Operations on " +
           path + "\n[Tarvek] <INFO> - Scan Number in " + path + ": " + count + "\n";
  }
  std::string Open() {
    m_claim.emplace(m_parameters);
    return CaptureConsole([&] { m_outputs.emplace(m_parameters, *m_claim); }).m_out;
  }
  std::string Write(bool pf2_first) {
    return CaptureConsole([&] { m_outputs->WriteMs2(HcdScan(2), pf2_first); }).m_out;
  }

  TemporaryDirectory m_directory;
  UserParameters m_parameters = test::ParametersFor(m_directory);
  std::optional<OutputClaim> m_claim;
  std::optional<OutputSet> m_outputs;
};

TEST_F(OutputSetTest, OpensTheTableAndPf1AtOnce) {
  EXPECT_EQ(Open(), Started("run.pf1"));
  EXPECT_TRUE(Exists("run.csv_unfinished"));
}
TEST_F(OutputSetTest, HasNoPf1WhenPfOutputIsOff) {
  m_parameters.m_output_pf = false;
  Open();
  EXPECT_EQ(m_outputs->Pf1(), nullptr);
  EXPECT_FALSE(Exists("run.pf1"));
}
TEST_F(OutputSetTest, WritesPf2BeforeMgfWhenAskedTo) {
  Open();
  EXPECT_EQ(Write(true), Started("run_HCDFT.pf2") + Started("run_HCDFT.mgf"));
}
TEST_F(OutputSetTest, WritesPf2AfterMgfOtherwise) {
  Open();
  EXPECT_EQ(Write(false), Started("run_HCDFT.mgf") + Started("run_HCDFT.pf2"));
}
TEST_F(OutputSetTest, WritesNoMgfWhenMgfOutputIsOff) {
  m_parameters.m_output_mgf = false;
  Open();
  EXPECT_EQ(Write(true), Started("run_HCDFT.pf2"));
}
TEST_F(OutputSetTest, WritesNoPf2WhenPfOutputIsOff) {
  m_parameters.m_output_pf = false;
  Open();
  EXPECT_EQ(Write(true), Started("run_HCDFT.mgf"));
}
TEST_F(OutputSetTest, CompletesPf2ThenMgfThenTheTable) {
  Open();
  Write(true);
  CaptureConsole([&] { m_outputs->ClosePf1(); });
  EXPECT_EQ(
      CaptureConsole([&] { m_outputs->Complete({}); }).m_out,
      Finished("run_HCDFT.pf2", "1") + Finished("run_HCDFT.mgf", "1") + Finished("run.csv", "1"));
}
TEST_F(OutputSetTest, ClosesPf1OnItsOwn) {
  Open();
  EXPECT_EQ(CaptureConsole([&] { m_outputs->ClosePf1(); }).m_out, Finished("run.pf1", "0"));
}
TEST_F(OutputSetTest, MovesTheTableToItsFinalNameWhenComplete) {
  Open();
  CaptureConsole([&] { m_outputs->Complete({}); });
  EXPECT_TRUE(Exists("run.csv"));
  EXPECT_FALSE(Exists("run.csv_unfinished"));
}
TEST_F(OutputSetTest, DeletesAnOldTableBeforeAnythingIsWritten) {
  WriteFile(m_directory / "run.csv", "old");
  Open();
  EXPECT_FALSE(Exists("run.csv"));
}
TEST_F(OutputSetTest, DeletesAnOldRecordBeforeAnythingIsWritten) {
  WriteFile(m_directory / "run.tarvek", "old");
  Open();
  EXPECT_FALSE(Exists("run.tarvek"));
}
TEST_F(OutputSetTest, WritesTheRecordWhenComplete) {
  Open();
  RunRecord record;
  record.m_counts["ms2_read"] = 7;
  CaptureConsole([&] { m_outputs->Complete(record); });
  EXPECT_EQ(test::ReadFile(m_directory / "run.tarvek"), "count\tms2_read\t7\n");
  EXPECT_FALSE(Exists("run.tarvek_unfinished"));
}
TEST_F(OutputSetTest, LeavesNoFinalTableWhenTheRecordCannotBeWritten) {
  std::filesystem::create_directory(m_directory / "run.tarvek_unfinished");
  Open();
  std::string message;
  CaptureConsole([&] { message = test::MessageOf([&] { m_outputs->Complete({}); }); });
  EXPECT_EQ(message, "Cannot open record File, Path: " + (m_directory / "run.tarvek_unfinished"));
  EXPECT_FALSE(Exists("run.csv"));
  EXPECT_TRUE(Exists("run.csv_unfinished"));
}
TEST_F(OutputSetTest, LeavesTheTemporaryTableWhenGivenUp) {
  Open();
  Write(true);
  CaptureConsole([&] { m_outputs.reset(); });
  EXPECT_TRUE(Exists("run.csv_unfinished"));
  EXPECT_FALSE(Exists("run.csv"));
}

TEST_F(OutputSetTest, NamesTheFinishedTableAfterTheInput) {
  EXPECT_EQ(FinishedTablePath(m_parameters), m_directory / "run.csv");
}
TEST_F(OutputSetTest, SkipsNothingWithoutAFinishedTable) {
  WriteFile(m_directory / "run.csv_unfinished", "partial");
  EXPECT_FALSE(SkipsFinished(m_parameters));
}
TEST_F(OutputSetTest, SkipsAnInputWithAFinishedTable) {
  WriteFile(m_directory / "run.csv", kTable);
  bool skips = false;
  const std::string out = CaptureConsole([&] { skips = SkipsFinished(m_parameters); }).m_out;
  EXPECT_TRUE(skips);
  EXPECT_EQ(out, "[Tarvek] <INFO> - /elsewhere/run.ms1 has existed results, skipping...\n");
}
TEST_F(OutputSetTest, ClaimsWhatHasNoWholeTableAndSaysWhy) {
  WriteFile(m_directory / "run.csv", "");
  const std::string out =
      CaptureConsole([&] { EXPECT_TRUE(ClaimUnlessFinished(m_parameters)); }).m_err;
  EXPECT_EQ(out,
            "[Tarvek] <WARN> - " + (m_directory / "run.csv") +
                " is no finished table: it is empty. /elsewhere/run.ms1 is processed again.\n");
}
TEST_F(OutputSetTest, DeletesAnEmptyTemporaryTableBesideAFinishedOne) {
  WriteFile(m_directory / "run.csv", kTable);
  WriteFile(m_directory / "run.csv_unfinished", "");
  CaptureConsole([&] { EXPECT_TRUE(SkipsFinished(m_parameters)); });
  EXPECT_FALSE(Exists("run.csv_unfinished"));
  EXPECT_TRUE(Exists("run.csv"));
}
TEST_F(OutputSetTest, LeavesAnEmptyTemporaryTableThatIsClaimed) {
  WriteFile(m_directory / "run.csv", kTable);
  const OutputClaim claim(m_parameters);
  CaptureConsole([&] { EXPECT_TRUE(SkipsFinished(m_parameters)); });
  EXPECT_TRUE(Exists("run.csv_unfinished"));
}
TEST_F(OutputSetTest, DeletesWhatAKilledRunLeftBesideAFinishedTable) {
  WriteFile(m_directory / "run.csv", kTable);
  for (const char* const name : {"run.csv", "run.pf1", "run_HCDFT.mgf", "run_ETDITMS.pf2idx",
                                 "run.precursors.tsv", "run.morvex", "run.ms1"})
    WriteFile(m_directory / (std::string(name) + "_unfinished"), "partial");
  CaptureConsole([&] { EXPECT_TRUE(SkipsFinished(m_parameters)); });
  EXPECT_EQ(Names(), std::vector<std::string>{"run.csv"});
}
TEST_F(OutputSetTest, LeavesTheFilesOfARunThatGoesOn) {
  WriteFile(m_directory / "run.csv", kTable);
  const OutputClaim claim(m_parameters);
  WriteFile(m_directory / "run.pf1_unfinished", "partial");
  CaptureConsole([&] { EXPECT_TRUE(SkipsFinished(m_parameters)); });
  EXPECT_TRUE(Exists("run.pf1_unfinished"));
}
TEST_F(OutputSetTest, NamedWhenCompleteTouchesNothingOfAnEarlierRunBefore) {
  for (const char* const name : {"run.csv", "run.pf1", "run.tarvek"})
    WriteFile(m_directory / name, "old");
  CaptureConsole([&] {
    OutputClaim claim(m_parameters);
    OutputSet outputs(m_parameters, claim, false, Naming::kWhenComplete);
  });
  EXPECT_EQ(Names(), (std::vector<std::string>{"run.csv", "run.pf1", "run.tarvek"}));
  EXPECT_EQ(ReadFile(m_directory / "run.pf1"), "old");
}
TEST_F(OutputSetTest, NamedWhenCompleteReplacesTheOldAtItsEnd) {
  for (const char* const name : {"run.csv", "run.pf1", "run.tarvek"})
    WriteFile(m_directory / name, "old");
  CaptureConsole([&] {
    OutputClaim claim(m_parameters);
    OutputSet outputs(m_parameters, claim, false, Naming::kWhenComplete);
    outputs.ClosePf1();
    EXPECT_FALSE(Exists("run.csv"));
    outputs.Complete({});
  });
  for (const char* const name : {"run.csv", "run.pf1", "run.tarvek"})
    EXPECT_NE(ReadFile(m_directory / name), "old") << name;
  EXPECT_EQ(Names(), (std::vector<std::string>{"run.csv", "run.pf1", "run.pf1idx", "run.tarvek"}));
}
TEST_F(OutputSetTest, AClaimThatIsNotUsedLeavesNothing) {
  { const OutputClaim claim(m_parameters); }
  EXPECT_FALSE(Exists("run.csv_unfinished"));
}
TEST_F(OutputSetTest, IsClaimedWhenItIsNotFinished) {
  std::optional<OutputClaim> claim = ClaimUnlessFinished(m_parameters);
  ASSERT_TRUE(claim);
  EXPECT_THROW(OutputClaim other(m_parameters), std::string);
  claim.reset();
  EXPECT_FALSE(Exists("run.csv_unfinished"));
}
TEST_F(OutputSetTest, IsNotClaimedWhenItIsFinished) {
  WriteFile(m_directory / "run.csv", kTable);
  CaptureConsole([&] { EXPECT_FALSE(ClaimUnlessFinished(m_parameters)); });
  EXPECT_FALSE(Exists("run.csv_unfinished"));
}
TEST_F(OutputSetTest, IsClaimedOnceWhenTheClaimIsMoved) {
  OutputClaim claim(m_parameters);
  const OutputClaim moved = std::move(claim);
  EXPECT_THROW(OutputClaim other(m_parameters), std::string);
}
TEST_F(OutputSetTest, SkipsNothingWhenFilesAreRewritten) {
  WriteFile(m_directory / "run.csv", kTable);
  m_parameters.m_rewrite_files = true;
  EXPECT_FALSE(SkipsFinished(m_parameters));
}

}  // namespace
}  // namespace tarvek
