// MGF files as input: only rewritten as PF2, and not recommended.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "BinaryPair.h"
#include "ProgramTest.h"

namespace tarvek::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

constexpr const char* kNotRecommended =
    "[Tarvek] <WARN> - We DO NOT RECOMMAND you to use [MGF] as input!! Tarvek cannot utilize MS1 "
    "Message.\n";
constexpr const char* kSkipped = "[Tarvek] <INFO> - run.mgf has existed results, skipping...\n";

std::string Block(int scan_no, const std::string& precursor = "CHARGE=2+\nPEPMASS=500.25\n") {
  const std::string number = std::to_string(scan_no);
  return "BEGIN IONS\nTITLE=run." + number + "." + number + ".2.0.dta\n" + precursor +
         "RTINSECONDS=12.5\n200.5 5.0\n300.25 7.5\nEND IONS\n";
}

std::string Header(int count) {
  std::string bytes;
  PutInt32(bytes, count);
  PutInt32(bytes, 3);
  return bytes + "run";
}

/// The record of a Block.
std::string Record(int scan_no, const std::vector<std::pair<double, int>>& precursors) {
  std::string bytes;
  PutInt32(bytes, scan_no);
  PutInt32(bytes, 2);
  for (const double value : {200.5, 5.0, 300.25, 7.5}) PutReal(bytes, value);
  PutInt32(bytes, static_cast<int>(precursors.size()));
  for (const auto& [mz, charge] : precursors) {
    PutReal(bytes, mz);
    PutInt32(bytes, charge);
  }
  return bytes;
}

class MgfRun : public ProgramTest {
 protected:
  MgfRun() { PlaceTable(); }
  const ProcessResult& RunMgf(const std::string& content, std::vector<std::string> more = {}) {
    Write("run.mgf", content);
    std::vector<std::string> arguments = {"-D", "run.mgf", "-O", "out"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }
  [[nodiscard]] std::vector<std::string> ProgressLines() const {
    std::vector<std::string> lines;
    for (const std::string& line : LinesOf(m_result.m_out))
      if (line.find("Extracting") != std::string::npos) lines.push_back(line);
    return lines;
  }
};

TEST_F(MgfRun, SkipsItsInputByDefault) {
  Write("run.mgf", Block(7));
  EXPECT_EQ(Run({"run.mgf"}).m_exit_status, 0);
  EXPECT_THAT(m_result.m_out, HasSubstr("run.mgf has existed results, skipping...\n"));
  EXPECT_EQ(m_result.m_err, "");
  EXPECT_FALSE(Exists("run.pf2"));
}
TEST_F(MgfRun, SkipsAnInputOfWhichTheOutputDirectoryHasAnother) {
  MakeFolder("out");
  Write("out/run.mgf", "");
  RunMgf(Block(7));
  EXPECT_THAT(m_result.m_out, HasSubstr(kSkipped));
  EXPECT_FALSE(Exists("out/run.pf2"));
}
TEST_F(MgfRun, WarnsOnceToTheLetter) {
  EXPECT_EQ(RunMgf(Block(7)).m_exit_status, 0);
  EXPECT_EQ(m_result.m_err, kNotRecommended);
}
TEST_F(MgfRun, WritesOnePf2FileItsIndexAndItsRecordAlone) {
  RunMgf(Block(7) + Block(9, "CHARGE=3-\nPEPMASS=600.5\n"));
  std::string index;
  for (const int value : {7, 11, 9, 11 + 4 + 4 + 32 + 4 + 12}) PutInt32(index, value);
  const FileMap expected = {
      {"run.pf2", Header(2) + Record(7, {{500.25, 2}}) + Record(9, {{600.5, -3}})},
      {"run.pf2idx", index},
      {"run.tarvek", "count\tms2_exported\t2\ncount\tms2_read\t2\ncount\tprecursors\t2\n"}};
  EXPECT_EQ(OutputsIn(Path("out")), expected);
}
TEST_F(MgfRun, GathersTheBlocksOfAScan) {
  RunMgf(Block(7) + Block(7, "CHARGE=3+\nPEPMASS=600.5\n"));
  EXPECT_EQ(Content("out/run.pf2"), Header(1) + Record(7, {{500.25, 2}, {600.5, 3}}));
}
TEST_F(MgfRun, WarnsOfAScanWithoutPrecursorAndWritesIt) {
  std::string unfinished = Block(8);
  unfinished.erase(unfinished.find("END IONS"));
  RunMgf(Block(7) + unfinished);
  EXPECT_EQ(m_result.m_err,
            std::string(kNotRecommended) +
                "[Tarvek] <WARN> - Cannot find precursor information for scan 8.\n");
  EXPECT_EQ(Content("out/run.pf2"), Header(2) + Record(7, {{500.25, 2}}) + Record(8, {}));
}
TEST_F(MgfRun, WarnsOfAPrecursorOfMzZeroAndWritesItsScan) {
  RunMgf(Block(8, "PEPMASS=0\n"));
  EXPECT_EQ(m_result.m_err,
            std::string(kNotRecommended) +
                "[Tarvek] <WARN> - Scan 8 has incorrect precursor infomation, skipping this "
                "precursor...\n"
                "[Tarvek] <WARN> - Cannot find precursor information for scan 8.\n");
  EXPECT_EQ(Content("out/run.pf2"), Header(1) + Record(8, {}));
}
TEST_F(MgfRun, WritesNothingWhenPfOutputIsOff) {
  RunMgf(Block(8, "PEPMASS=0\n"), {"-p", "0"});
  EXPECT_EQ(m_result.m_exit_status, 0);
  EXPECT_EQ(OutputsIn(Path("out")), FileMap{});
  EXPECT_THAT(m_result.m_err, HasSubstr("Cannot find precursor information for scan 8.\n"));
}
TEST_F(MgfRun, ReportsEveryThousandthScan) {
  std::string blocks;
  for (int scan = 1; scan <= 2001; ++scan) blocks += Block(scan);
  RunMgf(blocks, {"-p", "0"});
  EXPECT_THAT(ProgressLines(),
              testing::ElementsAre("[Tarvek] <INFO> - Extracting MS2, Scan Num = 1000",
                                   "[Tarvek] <INFO> - Extracting MS2, Scan Num = 2000"));
}
TEST_F(MgfRun, WritesBesideItsInputWhenFilesAreRewritten) {
  Write("run.mgf", Block(7));
  EXPECT_EQ(Run({"-D", "run.mgf", "-r", "1"}).m_exit_status, 0);
  EXPECT_EQ(Content("run.pf2"), Header(1) + Record(7, {{500.25, 2}}));
  EXPECT_EQ(Content("run.mgf"), Block(7));
}
TEST_F(MgfRun, IsDoneAgainSinceItLeavesNoMgf) {
  RunMgf(Block(7));
  RunMgf(Block(7) + Block(8));
  EXPECT_EQ(Content("out/run.pf2").substr(0, 4), Header(2).substr(0, 4));
}
TEST_F(MgfRun, ClosesItsReaderBeforeItsWriter) {
  RunMgf(Block(7));
  EXPECT_THAT(m_result.m_out, HasSubstr("[Tarvek] <INFO> - Start to process run.mgf\n"
                                        "[Tarvek] <INFO> - Start to process out/run.pf2\n"
                                        "[Tarvek] <INFO> - Closed run.mgf\n"
                                        "[Tarvek] <INFO> - Finished Operations on run.mgf\n"
                                        "[Tarvek] <INFO> - Scan Number in run.mgf: 1\n"
                                        "[Tarvek] <INFO> - Closed out/run.pf2\n"
                                        "[Tarvek] <INFO> - Finished Operations on out/run.pf2\n"
                                        "[Tarvek] <INFO> - Scan Number in out/run.pf2: 1\n"));
}
TEST_F(MgfRun, OfAnEmptyFileGivesAHeaderAlone) {
  EXPECT_EQ(RunMgf("").m_exit_status, 0);
  EXPECT_EQ(Content("out/run.pf2"), Header(0));
}
TEST_F(MgfRun, ThatFailsLeavesTheFilesOfAnEarlierOneAndNothingOfItsOwn) {
  const std::string broken = Block(7) + "BEGIN IONS\nTITLE=no number here\n200.5 5.0\nEND IONS\n";
  RunMgf(broken);
  EXPECT_EQ(m_result.m_exit_status, 255);
  EXPECT_EQ(OutputsIn(Path("out")), FileMap{});
  RunMgf(Block(7));
  const FileMap whole = OutputsIn(Path("out"));
  RunMgf(broken);
  EXPECT_EQ(m_result.m_exit_status, 255);
  EXPECT_EQ(OutputsIn(Path("out")), whole);
}
TEST_F(MgfRun, EndsOnATitleWithoutScanNumber) {
  RunMgf(Block(7) + "BEGIN IONS\nTITLE=no number here\n200.5 5.0\nEND IONS\n");
  EXPECT_EQ(m_result.m_exit_status, 255);
  EXPECT_EQ(m_result.m_err,
            std::string(kNotRecommended) +
                "[Tarvek] <ERROR> - Sorry, Tarvek fail to parse the title of the MGF.\n"
                "[Error] Incorrect title format! correct format should be: "
                "\tRAWName.scan.scan.charge.dta\ne.g:\t\thuman_SILAC.2345.2345.2.dta\n"
                "[Tarvek] <ERROR> - Cannot process run.mgf: no number in the line "
                "'TITLE=no number here'\n");
  EXPECT_THAT(m_result.m_out, EndsWith(kCrashLines));
}
TEST_F(MgfRun, GivesBackWhatAnotherRunWrote) {
  // The exported blocks of a scan with three precursors are one record again.
  Write("run.mgf", ReadFile(GoldenFolder() + "/default/run_HCDFT.mgf"));
  EXPECT_EQ(Run({"-D", "run.mgf", "-O", "out"}).m_exit_status, 0);
  EXPECT_EQ(m_result.m_err, kNotRecommended);
  // Only as many scans as in the index of the other run.
  EXPECT_EQ(Content("out/run.pf2idx"), ReadFile(GoldenFolder() + "/default/run_HCDFT.pf2idx"));
}
TEST_F(MgfRun, TakesEveryMgfFileOfADirectory) {
  MakeFolder("in");
  Write("in/a.mgf", Block(7));
  Write("in/b.MGF", Block(7));
  Write("in/c.txt", Block(7));
  EXPECT_EQ(Run({"-D", "in", "-F", "mgf", "-O", "out"}).m_exit_status, 0);
  EXPECT_TRUE(Exists("out/a.pf2"));
  EXPECT_TRUE(Exists("out/b.pf2"));
  EXPECT_FALSE(Exists("out/c.pf2"));
}

}  // namespace
}  // namespace tarvek::test
