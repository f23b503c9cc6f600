#include "Ms2Loop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "ProcessTestSupport.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;
using test::ConsoleText;
using test::FragmentScan;
using test::HcdScan;
using test::kOneSurvey;
using test::MessageOf;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::HasSubstr;
using testing::Not;

MS2Spectrum ScanOf(const std::string& activation, const std::string& instrument) {
  MS2Spectrum scan;
  scan.m_activation_type = activation;
  scan.m_instrument_type = instrument;
  return scan;
}

class EveryKnownType : public testing::TestWithParam<std::tuple<const char*, const char*>> {};

TEST_P(EveryKnownType, IsProcessed) {
  EXPECT_TRUE(IsProcessed(ScanOf(std::get<0>(GetParam()), std::get<1>(GetParam()))));
}
INSTANTIATE_TEST_SUITE_P(ScanTypes, EveryKnownType,
                         testing::Combine(testing::Values("CID", "HCD", "ETD", "ETCID", "ETHCD"),
                                          testing::Values("IT", "FT", "ITMS", "FTMS")));

TEST(IsProcessed, RefusesAnotherActivationType) { EXPECT_FALSE(IsProcessed(ScanOf("PQD", "FT"))); }
TEST(IsProcessed, RefusesAnUnknownInstrument) {
  EXPECT_FALSE(IsProcessed(ScanOf("HCD", "Unknown")));
}
TEST(IsProcessed, MindsTheLetterCaseOfTheActivationType) {
  EXPECT_FALSE(IsProcessed(ScanOf("hcd", "FT")));
}
TEST(IsProcessed, MindsTheLetterCaseOfTheInstrumentType) {
  EXPECT_FALSE(IsProcessed(ScanOf("HCD", "Ft")));
}
TEST(IsProcessed, RefusesEmptyTypes) { EXPECT_FALSE(IsProcessed(ScanOf("", ""))); }

constexpr const char* kDropped7 =
    "[Tarvek] <WARN> - Scan 7 has incorrect precursor infomation, skipping...\n";

MS2Spectrum ScanWith(std::vector<Precursor> precursors) {
  MS2Spectrum scan = HcdScan(7);
  scan.m_precursors = std::move(precursors);
  return scan;
}

TEST(DropUnusablePrecursors, DropsAnMzOfZero) {
  MS2Spectrum scan = ScanWith({{0.0, 2}});
  CaptureConsole([&] { DropUnusablePrecursors(scan); });
  EXPECT_TRUE(scan.m_precursors.empty());
}
TEST(DropUnusablePrecursors, DropsAChargeOfZero) {
  MS2Spectrum scan = ScanWith({{500.0, 0}});
  CaptureConsole([&] { DropUnusablePrecursors(scan); });
  EXPECT_TRUE(scan.m_precursors.empty());
}
TEST(DropUnusablePrecursors, KeepsAnMzExactlyAtTheTolerance) {
  MS2Spectrum scan = ScanWith({{1e-6, 2}, {-1e-6, -2}});
  CaptureConsole([&] { DropUnusablePrecursors(scan); });
  EXPECT_EQ(scan.m_precursors.size(), 2u);
}
TEST(DropUnusablePrecursors, DropsAnMzJustInsideTheTolerance) {
  MS2Spectrum scan = ScanWith({{0.9e-6, 2}, {-0.9e-6, -2}});
  CaptureConsole([&] { DropUnusablePrecursors(scan); });
  EXPECT_TRUE(scan.m_precursors.empty());
}
TEST(DropUnusablePrecursors, KeepsNegativeIons) {
  MS2Spectrum scan = ScanWith({{-500.0, -2}});
  CaptureConsole([&] { DropUnusablePrecursors(scan); });
  EXPECT_EQ(scan.m_precursors.size(), 1u);
}
TEST(DropUnusablePrecursors, KeepsTheOrderOfTheOthers) {
  MS2Spectrum scan = ScanWith({{0.0, 2}, {500.0, 2}, {600.0, 0}, {400.0, 3}, {0.0, 0}});
  CaptureConsole([&] { DropUnusablePrecursors(scan); });
  ASSERT_EQ(scan.m_precursors.size(), 2u);
  EXPECT_EQ(scan.m_precursors[0].m_mz, 500.0);
  EXPECT_EQ(scan.m_precursors[1].m_mz, 400.0);
}
TEST(DropUnusablePrecursors, WarnsOncePerDroppedPrecursor) {
  MS2Spectrum scan = ScanWith({{0.0, 2}, {500.0, 2}, {600.0, 0}});
  const ConsoleText text = CaptureConsole([&] { DropUnusablePrecursors(scan); });
  EXPECT_EQ(text.m_err, std::string(kDropped7) + kDropped7);
}
TEST(DropUnusablePrecursors, LeavesTheDeclaredPrecursorsAlone) {
  MS2Spectrum scan = ScanWith({{0.0, 2}});
  CaptureConsole([&] { DropUnusablePrecursors(scan); });
  EXPECT_EQ(scan.m_orig_precursors.size(), 1u);
}

TEST(ReasonNotProcessed, NamesTheTypeThatIsNotKnown) {
  EXPECT_EQ(ReasonNotProcessed(ScanOf("PQD", "FT")), "activation type not known");
  EXPECT_EQ(ReasonNotProcessed(ScanOf("HCD", "Unknown")), "analyser not known");
  EXPECT_EQ(ReasonNotProcessed(ScanOf("", "")), "activation type not known");
  EXPECT_EQ(ReasonNotProcessed(ScanOf("HCD", "FT")), "");
}

class ProcessTextSpectra : public testing::Test {
 protected:
  ProcessTextSpectra() {
    m_parameters.m_isolation_width = 2.0;
    WriteFile(m_directory / "run.ms1", kOneSurvey);
    SetCurrentFile(m_parameters, m_directory / "run.ms1");
  }
  void Process() {
    OutputClaim claim(m_parameters);
    m_record = processTextSpectra(m_parameters, claim, m_begun);
  }
  ConsoleText Process(const std::string& ms2) {
    WriteFile(m_directory / "run.ms2", ms2);
    return CaptureConsole([&] { Process(); });
  }
  [[nodiscard]] std::vector<std::string> Rows() const {
    std::vector<std::string> rows;
    std::istringstream table(ReadFile(m_directory / "run.csv"));
    for (std::string row; std::getline(table, row);) rows.push_back(row);
    rows.erase(rows.begin());
    return rows;
  }

  TemporaryDirectory m_directory;
  UserParameters m_parameters = test::ParametersFor(m_directory);
  RunRecord m_begun;
  RunRecord m_record;
};

TEST_F(ProcessTextSpectra, CountsWhatItReadsExportsAndLeavesOut) {
  std::string ms2 = FragmentScan(2) + FragmentScan(3, "PQD") + FragmentScan(4) + FragmentScan(5);
  ms2 += "S\t6\t6\nI\tInstrumentType\tTOF\nI\tActivationType\tHCD\n200.0 5.0\n";
  ms2 += "S\t7\t7\nI\tInstrumentType\tFTMS\nI\tActivationType\tHCD\n200.0 5.0\n";
  ms2 += FragmentScan(8) + "S\t8\t8\nZ\t3\t0\n";  // a second precursor
  m_parameters.m_cluster_ms2 = true;              // which takes one of 2, 4 and 5
  Process(ms2 + FragmentScan(9, "PQD"));
  EXPECT_EQ(m_record.m_left_out.at("activation type not known"), 2);
  EXPECT_EQ(m_record.Count(kCountMs2Read), 8);
  EXPECT_EQ(m_record.Count(kCountSurveys), 1);
  std::int64_t left_out = 0;
  for (const auto& [reason, count] : m_record.m_left_out) left_out += count;
  EXPECT_EQ(*m_record.Count(kCountMs2Exported) + left_out, 8);
  EXPECT_EQ(m_record.Count(kCountMs2Exported), static_cast<std::int64_t>(Rows().size()));
}
TEST_F(ProcessTextSpectra, CountsEachReason) {
  std::string ms2 = FragmentScan(2) + FragmentScan(3, "PQD") + FragmentScan(4, "");
  ms2 += "S\t6\t6\nI\tInstrumentType\tTOF\nI\tActivationType\tHCD\n200.0 5.0\n";
  ms2 += "S\t7\t7\nI\tInstrumentType\tFTMS\nI\tActivationType\tHCD\n200.0 5.0\n";
  Process(ms2 + FragmentScan(8) + "S\t8\t8\nZ\t3\t0\n");
  RunRecord expected;
  expected.m_counts = {{"surveys", 1}, {"ms2_read", 6}, {"ms2_exported", 2}, {"precursors", 3}};
  expected.m_left_out = {{"activation type not known", 2},
                         {"analyser not known", 1},
                         {"no usable precursor declared or determined", 1}};
  expected.m_left_out_scans = {{3, "activation type not known"},
                               {4, "activation type not known"},
                               {6, "analyser not known"},
                               {7, "no usable precursor declared or determined"}};
  EXPECT_EQ(m_record, expected);
}
TEST_F(ProcessTextSpectra, NamesTheFirstTenThousandScansThatAreLeftOutAndCountsAll) {
  std::string ms2;
  for (int scan_no = 2; scan_no <= 10'003; ++scan_no) ms2 += FragmentScan(scan_no, "PQD");
  Process(ms2);
  EXPECT_EQ(m_record.m_left_out.at("activation type not known"), 10'002);
  ASSERT_EQ(m_record.m_left_out_scans.size(), 10'000u);
  EXPECT_EQ(m_record.m_left_out_scans.rbegin()->first, 10'001);
}
TEST_F(ProcessTextSpectra, CountsWhatClusteringDidNotSelect) {
  m_parameters.m_cluster_ms2 = true;
  Process(FragmentScan(2) + FragmentScan(3) + FragmentScan(4));
  EXPECT_EQ(m_record.m_left_out,
            (std::map<std::string, std::int64_t>{{"not selected by clustering", 2}}));
}
TEST_F(ProcessTextSpectra, WritesTheRecordThatItReturns) {
  m_begun.m_settings["m/z"] = "5";
  m_begun.m_counts["ms2_read"] = 4;
  m_begun.m_left_out["empty"] = 3;
  Process(FragmentScan(2));
  EXPECT_EQ(m_record.m_settings, m_begun.m_settings);
  EXPECT_EQ(m_record.Count(kCountMs2Read), 4);
  EXPECT_EQ(ReadRunRecord(m_directory / "run.tarvek"), m_record);
}
TEST_F(ProcessTextSpectra, FallsBackOnTheDeclaredPrecursor) {
  Process(FragmentScan(2));
  ASSERT_EQ(Rows().size(), 1u);
  EXPECT_EQ(Rows()[0], "HCD, FT, 2, 500.250000, 2, 1, 1, 500.250000, 2, ");
}
TEST_F(ProcessTextSpectra, SaysNothingOfAScanOfAnotherActivationType) {
  const ConsoleText text = Process(FragmentScan(2, "PQD"));
  EXPECT_EQ(text.m_err, "");
  EXPECT_TRUE(Rows().empty());
}
TEST_F(ProcessTextSpectra, WarnsOfAScanWithoutPrecursor) {
  const ConsoleText text =
      Process("S\t2\t2\nI\tInstrumentType\tFTMS\nI\tActivationType\tHCD\n200.0 5.0\n");
  EXPECT_EQ(text.m_err, "[Tarvek] <WARN> - Cannot find precursor information for scan 2.\n");
}
TEST_F(ProcessTextSpectra, ReportsTheThousandthScan) {
  std::string ms2;
  for (int scan_no = 2; scan_no <= 1001; ++scan_no) ms2 += FragmentScan(scan_no);
  EXPECT_THAT(Process(ms2).m_out, HasSubstr("<INFO> - Extracting MS2, Scan Num = 1000\n"));
}
TEST_F(ProcessTextSpectra, CountsScansThatAreLeftOut) {
  std::string ms2;
  for (int scan_no = 2; scan_no <= 1000; ++scan_no) ms2 += FragmentScan(scan_no, "PQD");
  ms2 += FragmentScan(1001);
  EXPECT_THAT(Process(ms2).m_out, HasSubstr("<INFO> - Extracting MS2, Scan Num = 1000\n"));
}
TEST_F(ProcessTextSpectra, ReportsNoProgressWhenTheThousandthScanIsLeftOut) {
  std::string ms2;
  for (int scan_no = 2; scan_no <= 1000; ++scan_no) ms2 += FragmentScan(scan_no);
  ms2 += FragmentScan(1001, "PQD");
  EXPECT_THAT(Process(ms2).m_out, Not(HasSubstr("Extracting MS2")));
}
TEST_F(ProcessTextSpectra, DoesNotClusterByDefault) {
  const std::string out = Process(FragmentScan(2) + FragmentScan(3)).m_out;
  EXPECT_THAT(out, Not(HasSubstr("Cluster")));
  EXPECT_EQ(Rows().size(), 2u);
}
TEST_F(ProcessTextSpectra, ClustersBeforeItOpensItsReaders) {
  m_parameters.m_cluster_ms2 = true;
  const std::string out = Process(FragmentScan(2)).m_out;
  EXPECT_LT(out.find("Select MS2 Cluster: 1\n"),
            out.find("Start to process " + m_directory.Path() + "/run.ms1\n"));
}
TEST_F(ProcessTextSpectra, LeavesOutScansThatClusteringDidNotSelect) {
  m_parameters.m_cluster_ms2 = true;
  Process(FragmentScan(2) + FragmentScan(3) + FragmentScan(4));
  ASSERT_EQ(Rows().size(), 1u);
  EXPECT_EQ(Rows()[0], "HCD, FT, 2, 500.250000, 2, 1, 1, 500.250000, 2, ");
}
TEST_F(ProcessTextSpectra, SaysNothingOfScansThatClusteringDidNotSelect) {
  m_parameters.m_cluster_ms2 = true;
  std::string ms2;
  for (int scan_no = 2; scan_no <= 1001; ++scan_no) ms2 += FragmentScan(scan_no);
  const ConsoleText text = Process(ms2);
  EXPECT_EQ(text.m_err, "");
  EXPECT_THAT(text.m_out, Not(HasSubstr("Extracting MS2")));
}
TEST_F(ProcessTextSpectra, ClosesReadersAndWritersInTheirOrder) {
  const std::string out = Process(FragmentScan(2)).m_out;
  std::vector<std::string> closed;
  std::istringstream lines(out);
  const std::string start = "[Tarvek] <INFO> - Closed " + (m_directory / "");
  for (std::string line; std::getline(lines, line);)
    if (line.starts_with(start)) closed.push_back(line.substr(start.size()));
  EXPECT_EQ(closed, (std::vector<std::string>{"run.ms1", "run.pf1", "run.ms2", "run_HCDFT.pf2",
                                              "run_HCDFT.mgf", "run.csv"}));
}
TEST_F(ProcessTextSpectra, LeavesNoOutputWhenTheMs2FileIsMissing) {
  std::string message;
  CaptureConsole([&] { message = MessageOf([&] { Process(); }); });
  EXPECT_EQ(message, "Cannot open MS2 File, Path: " + (m_directory / "run.ms2"));
  EXPECT_FALSE(std::filesystem::exists(m_directory / "run.csv_unfinished"));
}

}  // namespace
}  // namespace tarvek
