#include "psms/Command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "NativePath.h"
#include "TestSupport.h"

namespace tarvek::tools {
namespace {

using nlohmann::json;
using test::MessageOf;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::ElementsAre;
using testing::HasSubstr;

test::ConsoleText RunPsms(std::vector<std::string> arguments) {
  return test::CaptureConsole([&] {
    CLI::App app;
    AddPsmsCommand(app);
    arguments.insert(arguments.begin(), "psms");
    std::ranges::reverse(arguments);  // the order in which App::parse takes a vector
    app.parse(arguments);
  });
}

using Row = std::map<std::string, std::string>;

std::vector<std::string> CellsOf(const std::string& line) {
  std::vector<std::string> cells(1);
  for (const char c : line)
    if (c == '\t')
      cells.emplace_back();
    else
      cells.back() += c;
  return cells;
}

std::vector<Row> RowsOf(const std::string& table) {
  std::istringstream lines(table);
  std::string line;
  std::getline(lines, line);
  const std::vector<std::string> names = CellsOf(line);
  std::vector<Row> rows;
  while (std::getline(lines, line)) {
    const std::vector<std::string> cells = CellsOf(line);
    EXPECT_EQ(cells.size(), names.size()) << line;
    Row& row = rows.emplace_back();
    for (std::size_t i = 0; i < std::min(names.size(), cells.size()); ++i) row[names[i]] = cells[i];
  }
  return rows;
}

constexpr const char* kCometHeader =
    "CometVersion 2019.01 rev. 5\trun_HCDFT\tdate\tp.fasta\n"
    "scan\tnum\tcharge\texp_neutral_mass\tcalc_neutral_mass\te-value\txcorr\tplain_peptide\t"
    "modified_peptide\tprotein\n";

std::string CometRow(int scan, int rank, double mass, const std::string& e_value,
                     const std::string& peptide, const std::string& proteins) {
  std::ostringstream row;
  row.precision(10);
  row << scan << '\t' << rank << "\t2\t" << mass << '\t' << mass << '\t' << e_value << "\t2.5\t"
      << peptide << "\tK." << peptide << ".R\t" << proteins << '\n';
  return row.str();
}

class PsmsCommand : public testing::Test {
 protected:
  [[nodiscard]] std::string Path(const std::string& name) const {
    return test::Native(m_directory / name);
  }
  std::string Write(const std::string& name, const std::string& content) const {
    WriteFile(Path(name), content);
    return Path(name);
  }
  /// Rows of the table of these arguments.
  [[nodiscard]] std::vector<Row> Table(std::vector<std::string> arguments) const {
    for (const std::string& more : {std::string("--out"), Path("out.tsv")})
      arguments.push_back(more);
    RunPsms(arguments);
    return RowsOf(ReadFile(Path("out.tsv")));
  }

  TemporaryDirectory m_directory;
};

// m/z of a neutral mass of 1000 and charge 2: 501.007276.
const std::string kTwoBlocks = std::string(kCometHeader) +
                               CometRow(7, 1, 1000.0, "1e-9", "PEPTIDEK", "P1,P2") +
                               CometRow(7, 2, 1000.0, "1e-3", "AAAAAAK", "P3") +
                               CometRow(7, 1, 1002.0, "1e-8", "GGGGGGK", "P3") +
                               CometRow(8, 1, 1000.0, "5", "DDDDDDK", "DECOY_P4");

constexpr const char* kPrecursors =
    "ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, TotleNumOfPrecursor, P\n"
    "HCD, FTMS, 7, 501.509000, 2, 3, 1, 501.007276, 2, 2, 334.341000, 3, 3, 502.007270, 2, \n"
    "HCD, FTMS, 8, -1.000000, -1, 1, 1, 501.007276, 2, \n";

TEST_F(PsmsCommand, JoinsTheBestMatchOfEachBlockToItsPrecursor) {
  const auto rows = Table(
      {Write("r.txt", kTwoBlocks), "--no-plus-one", "--precursors", Write("run.csv", kPrecursors)});
  ASSERT_EQ(rows.size(), 2u);
  Row first = rows[0];
  EXPECT_EQ(first["psm_id"], "run.7.7.2.0.dta/1");
  EXPECT_EQ(first["run"], "run");
  EXPECT_EQ(first["scan"], "7");
  EXPECT_EQ(first["charge"], "2");
  EXPECT_EQ(first["searched_mz"], "501.007276");
  EXPECT_EQ(first["declared_mz"], "501.509000");
  EXPECT_EQ(first["declared_charge"], "2");
  EXPECT_EQ(first["determined_mz"], "501.007276");
  EXPECT_EQ(first["determined_charge"], "2");
  EXPECT_EQ(first["precursor_rank"], "1");
  EXPECT_EQ(first["ppm_error"], "0.000");
  EXPECT_EQ(first["isotope_error"], "0");
  EXPECT_EQ(first["engine"], "Comet");
  EXPECT_EQ(first["score"], "1e-09");
  EXPECT_EQ(first["second_score"], "2.5");
  EXPECT_EQ(first["sequence"], "PEPTIDEK");
  EXPECT_EQ(first["peptide"], "K.PEPTIDEK.R");
  EXPECT_EQ(first["proteins"], "P1;P2");
  EXPECT_EQ(first["label"], "target");
  EXPECT_EQ(first["q_value"], "0.000000");
  EXPECT_EQ(Row(rows[1])["psm_id"], "run.7.7.2.2.dta/1");
  EXPECT_EQ(Row(rows[1])["precursor_rank"], "3");
}

TEST_F(PsmsCommand, BothPeptidesOfAScanCount) {
  const json counts =
      json::parse(RunPsms({Write("r.txt", kTwoBlocks), "--no-plus-one", "--json"}).m_out);
  EXPECT_EQ(counts["scans"], 1);
  EXPECT_EQ(counts["matches"], 2);
  EXPECT_EQ(counts["peptides"], 2);
  EXPECT_EQ(counts["proteins"], 2);
  EXPECT_EQ(counts["scans_ranked_alone"], 1);
  EXPECT_EQ(counts["rows"], 4);
  EXPECT_EQ(counts["spectra"], 3);
  EXPECT_EQ(counts["decoys_by"], json({"DECOY_"}));
  EXPECT_EQ(counts["runs"][0]["run"], "run");
  EXPECT_EQ(counts["estimate"], "decoys / targets");
}

TEST_F(PsmsCommand, APeptideThatTwoBlocksOfAScanFindCountsOnceWithItsBetterMatch) {
  const std::string text = std::string(kCometHeader) +
                           CometRow(7, 1, 1000.0, "1e-8", "PEPTIDEK", "P1") +
                           CometRow(7, 1, 1015.99, "1e-9", "PEPTLDEK", "P1") +
                           CometRow(8, 1, 1000.0, "5", "DDDDDDK", "DECOY_P4");
  const auto rows = Table({Write("r.txt", text), "--no-plus-one"});
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(Row(rows[0])["score"], "1e-09");
}

TEST_F(PsmsCommand, WritesDecoysAndTheRestWhenToldTo) {
  const auto rows = Table({Write("r.txt", kTwoBlocks), "--all"});
  ASSERT_EQ(rows.size(), 3u);
  std::set<std::string> ids;
  for (Row row : rows) ids.insert(row["psm_id"]);
  EXPECT_THAT(ids, ElementsAre("run.7.7.2.mz501.0073/1", "run.7.7.2.mz502.0073/1",
                               "run.8.8.2.mz501.0073/1"));
  EXPECT_EQ(Row(rows[2])["label"], "decoy");
  EXPECT_EQ(Row(rows[0])["precursor_rank"], "");  // no table was given
  // One decoy and the 1 that is added: 1/2 for both targets; 2/2 for the decoy.
  EXPECT_EQ(Row(rows[0])["q_value"], "0.500000");
  EXPECT_EQ(Row(rows[2])["q_value"], "1.000000");
}

TEST_F(PsmsCommand, FindsABlockAgainInAFileForDecoys) {
  const std::string targets = std::string(kCometHeader) +
                              CometRow(7, 1, 1000.0, "1e-9", "PEPTIDEK", "P1") +
                              CometRow(8, 1, 1000.0, "1e-1", "AAAAAAK", "P1");
  const std::string decoys = std::string(kCometHeader) +
                             CometRow(7, 1, 1000.0, "1e-2", "KEDITPEK", "DECOY_P1") +
                             CometRow(8, 1, 1000.0, "1e-2", "DDDDDDK", "DECOY_P1");
  const auto rows = Table({Write("r.txt", targets), Write("r.decoy.txt", decoys), "--all"});
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(Row(rows[0])["label"], "target");
  EXPECT_EQ(Row(rows[1])["label"], "decoy");
  EXPECT_EQ(Row(rows[1])["scan"], "8");
}

TEST_F(PsmsCommand, TellsIsotopesFromMassErrors) {
  const std::string row = "7\t1\t2\t1001.01335\t1000.0\t1e-9\t2.5\tPEPTIDEK\tPEPTIDEK\tP1\n";
  const auto rows = Table({Write("r.txt", std::string(kCometHeader) + row +
                                              CometRow(8, 1, 1000.0, "5", "DDDK", "DECOY_P4")),
                           "--no-plus-one"});
  // 1001.01335 - 1.00335 is 10 ppm above 1000.
  EXPECT_EQ(Row(rows.at(0))["isotope_error"], "1");
  EXPECT_EQ(Row(rows.at(0))["ppm_error"], "10.000");
}

TEST_F(PsmsCommand, SaysOnceWhatMarksDecoysAndWhyAShortRunGivesNothing) {
  const test::ConsoleText console = RunPsms({Write("r.txt", kTwoBlocks)});
  EXPECT_EQ(console.m_err,
            "tarvek-tools: decoys are recognised by DECOY_\n"
            "tarvek-tools: nothing is accepted at a rate of 0.01, which takes at least 100 targets "
            "above the first decoy; for a short run try --no-plus-one\n");
  EXPECT_EQ(console.m_out,
            "4 rows, 3 spectra; accepted at a rate of 0.01:\n"
            "run  scans     matches   peptides  proteins\n"
            "run  0         0         0         0\n");
}

TEST_F(PsmsCommand, RanksRunsTogetherAndCountsThemApart) {
  std::string other = kTwoBlocks;
  other.replace(other.find("run_HCDFT"), 9, "two_HCDFT");
  const test::ConsoleText console =
      RunPsms({Write("r.txt", kTwoBlocks), Write("s.txt", other), "--no-plus-one"});
  EXPECT_EQ(console.m_out,
            "8 rows, 6 spectra; accepted at a rate of 0.01:\n"
            "run  scans     matches   peptides  proteins\n"
            "run  1         2         2         \n"
            "two  1         2         2         \n"
            "all  2         4         2         2\n");
}

TEST_F(PsmsCommand, FilesThatPartEqualChargesAreOneRun) {
  std::string first = std::string(kCometHeader) + CometRow(7, 1, 1000.0, "1e-9", "PEPTIDEK", "P1");
  std::string second = std::string(kCometHeader) + CometRow(7, 1, 1002.0, "1e-8", "GGGK", "P2") +
                       CometRow(9, 1, 1002.0, "1", "DDDK", "DECOY_P2");
  second.replace(second.find("run_HCDFT"), 9, "run_HCDFT_2");
  const json counts = json::parse(
      RunPsms({Write("a.txt", first), Write("b.txt", second), "--no-plus-one", "--json"}).m_out);
  EXPECT_EQ(counts["runs"].size(), 1u);
  EXPECT_EQ(counts["scans"], 1);
  EXPECT_EQ(counts["matches"], 2);
}

constexpr const char* kMap =
    "file\tplace\tsource\trun\tscan\tprecursor\tcharge\tmz\trt_seconds\n"
    "run_HCDFT.mgf\t1\trun_HCDFT.mgf\tthe.run\t7\t0\t2\t501.007276\t1.5\n"
    "run_HCDFT.mgf\t2\trun_HCDFT.mgf\tthe.run\t7\t1\t2\t502.007276\t1.5\n"
    "run_HCDFT.mgf\t3\trun_HCDFT.mgf\tthe.run\t8\t0\t2\t501.007276\t1.5\n";

const std::string kPlaces =
    "scannum\tprecursor_neutral_mass\tcharge\thit_rank\tpeptide\tprotein\tcalc_neutral_pep_mass\t"
    "hyperscore\texpectscore\n"
    "2\t1002.0\t2\t1\tGGGK\tP1\t1002.0\t30\t1e-9\n"
    "3\t1000.0\t2\t1\tDDDK\trev_P1\t1000.0\t3\t1\n";

TEST_F(PsmsCommand, AMapLeadsFromThePlaceOfASpectrumToItsScan) {
  const auto rows = Table({Write("run_HCDFT.tsv", kPlaces), "--no-plus-one", "--precursors",
                           Write("run_HCDFT.ids.tsv", kMap)});
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(Row(rows[0])["psm_id"], "the_run.7.7.2.1.dta/1");
  EXPECT_EQ(Row(rows[0])["scan"], "7");
  EXPECT_EQ(Row(rows[0])["precursor_rank"], "2");
  EXPECT_EQ(Row(rows[0])["determined_mz"], "502.007276");
}

TEST_F(PsmsCommand, RefusesAMapOfAnotherFile) {
  std::string other = kMap;
  other.replace(other.find("502.007276"), 10, "602.007276");
  EXPECT_THAT(MessageOf([&] {
                RunPsms({Write("run_HCDFT.tsv", kPlaces), "--precursors",
                         Write("run_HCDFT.ids.tsv", other)});
              }),
              HasSubstr("the map of run_HCDFT belongs to another file: its spectrum 2 has m/z "
                        "602.0073 and charge 2, and 502.0073 and 2 were searched"));
}

TEST_F(PsmsCommand, FindsTablesAndMapsInAFolder) {
  std::filesystem::create_directory(Path("found"));
  Write("found/run.csv", kPrecursors);
  Write("found/other.csv", "a,b\n");
  const auto rows =
      Table({Write("r.txt", kTwoBlocks), "--no-plus-one", "--precursors", Path("found")});
  EXPECT_EQ(Row(rows.at(0))["precursor_rank"], "1");
  std::filesystem::remove(Path("found/run.csv"));
  EXPECT_THAT(MessageOf([&] {
                RunPsms({Path("r.txt"), "--precursors", Path("found")});
              }),
              HasSubstr("There is no precursor table of tarvek (.csv) and no map (.ids.tsv) in"));
}

TEST_F(PsmsCommand, TheOnlyTableServesAResultOfAnotherName) {
  std::string other = kTwoBlocks;
  other.replace(other.find("run_HCDFT"), 9, "something");
  const auto rows = Table(
      {Write("r.txt", other), "--no-plus-one", "--precursors", Write("run.csv", kPrecursors)});
  EXPECT_EQ(Row(rows.at(0))["run"], "something");
  EXPECT_EQ(Row(rows.at(0))["precursor_rank"], "1");
}

TEST_F(PsmsCommand, RefusesWhatItCannotCount) {
  const std::string result = Write("r.txt", kTwoBlocks);
  std::string without = kTwoBlocks;
  without.replace(without.find("DECOY_"), 6, "other_");
  EXPECT_THAT(MessageOf([&] { RunPsms({Write("d.txt", without)}); }),
              HasSubstr("none of 3 matches is a decoy (a protein that begins with rev_"));
  EXPECT_THAT(MessageOf([&] { RunPsms({result, result}); }), HasSubstr("is given twice"));
  EXPECT_THAT(MessageOf([&] {
                RunPsms({result, Write("f.tsv", kPlaces)});
              }),
              HasSubstr("scores of Comet (e-value) and of MSFragger (expectscore) cannot be ranked "
                        "together"));
  EXPECT_THAT(MessageOf([&] {
                RunPsms({result, "--out", result});
              }),
              HasSubstr("is an input, too; choose another"));
  EXPECT_EQ(ReadFile(result), kTwoBlocks);
  EXPECT_THROW(RunPsms({result, "--fdr", "2"}), CLI::ValidationError);
}

TEST_F(PsmsCommand, ASearchWithNamedDecoysMayFindNone) {
  const test::ConsoleText console =
      RunPsms({Write("r.txt", kTwoBlocks), "--decoy-prefix", "##", "--no-plus-one", "--json"});
  EXPECT_EQ(console.m_err,
            "tarvek-tools: none of 3 matches is a decoy (a protein that begins with ##)\n");
  EXPECT_EQ(json::parse(console.m_out)["matches"], 3);
}

TEST_F(PsmsCommand, LeavesNoTableWhenAResultIsDamaged) {
  const std::string bad = Write("r.txt", kTwoBlocks + "9\t1\n");
  EXPECT_EQ(MessageOf([&] {
              RunPsms({bad, "--out", Path("out.tsv")});
            }),
            bad + ", line 7: too few fields.");
  EXPECT_FALSE(std::filesystem::exists(Path("out.tsv")));
  EXPECT_FALSE(std::filesystem::exists(Path("out.tsv_unfinished")));
}

TEST_F(PsmsCommand, ProteinsOfRepeatedMatchesAreListedOnce) {
  std::string text = kCometHeader;
  std::string expected;
  for (int i = 0; i < 60; ++i) {  // each protein three times
    const std::string name = "P" + std::to_string(i % 20);
    text += CometRow(7, i + 1, 1000.0, "1e-9", "PEPTIDEK", name);
    if (i < 20) expected += (i > 0 ? ";" : "") + name;
  }
  text += CometRow(7, 61, 1000.0, "1e-9", "PEPTLDEK", "P3,Q");
  text += CometRow(8, 1, 1000.0, "5", "DDDDDDK", "DECOY_P4");
  const auto rows = Table({Write("r.txt", text), "--no-plus-one"});
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(Row(rows[0])["proteins"], expected + ";Q");
}

TEST_F(PsmsCommand, RepeatedMatchesHaveNoMoreThan100000Proteins) {
  const auto with = [](int proteins) {
    std::string text = kCometHeader;
    for (int i = 0; i < proteins; ++i)
      text += CometRow(7, 1, 1000.0, "1e-9", "PEPTIDEK", "P" + std::to_string(i));
    return text + CometRow(8, 1, 1000.0, "5", "DDDDDDK", "DECOY_P4");
  };
  EXPECT_EQ(Table({Write("r.txt", with(100'000)), "--no-plus-one"}).size(), 1u);
  for (const int proteins : {100'001, 200'001}) {
    const std::string path = Write("r.txt", with(proteins));
    EXPECT_EQ(MessageOf([&] { RunPsms({path}); }),
              path + ": spectrum 7: a match of more than 100000 proteins, which cannot be");
  }
}

TEST_F(PsmsCommand, NamesOfRunsHaveNoMoreThan16Mb) {
  std::string text =
      "peptide\tproteins\tfilename\tscannr\trank\tlabel\texpmass\tcalcmass\tcharge\t"
      "hyperscore\tsage_discriminant_score\n";
  const auto add = [&](int run) {
    std::string name = std::to_string(run);
    name.resize(1000, 'r');
    text += "AAK\tP\t" + name + ".mgf\tscan=1\t1\t" + (run == 0 ? "-1" : "1") + "\t9\t9\t2\t3\t" +
            (run == 0 ? "1" : "9") + "\n";
  };
  int run = 0;
  while (run < 16'777) add(run++);  // 16,777,000 of 16,777,216 bytes
  EXPECT_EQ(json::parse(RunPsms({Write("r.tsv", text), "--json"}).m_out)["runs"].size(), 16'777u);
  add(run);
  const std::string path = Write("r.tsv", text);
  EXPECT_EQ(MessageOf([&] { RunPsms({path}); }), path + ": more than 16 MB of names of runs");
}

TEST_F(PsmsCommand, ALongNameOfARunDoesNotWidenTheLinesOfAll) {
  std::string text = kTwoBlocks;
  const std::string name(900, 'r');
  text.replace(text.find("run_HCDFT"), 9, name);
  const test::ConsoleText console =
      RunPsms({Write("r.txt", text), Write("s.txt", kTwoBlocks), "--no-plus-one"});
  EXPECT_THAT(console.m_out, HasSubstr("\nrun" + std::string(197, ' ') + "1         2"));
  EXPECT_THAT(console.m_out, HasSubstr("\n" + name + "  1         2"));
}

TEST_F(PsmsCommand, NoMatchesAreNoError) {
  const test::ConsoleText console = RunPsms({Write("r.txt", kCometHeader), "--json"});
  EXPECT_EQ(console.m_err, "");
  EXPECT_EQ(json::parse(console.m_out)["matches"], 0);
}

TEST_F(PsmsCommand, ADecoyPrefixDecidesAlone) {
  const json counts = json::parse(
      RunPsms({Write("r.txt", kTwoBlocks), "--decoy-prefix", "P3", "--no-plus-one", "--json"})
          .m_out);
  EXPECT_EQ(counts["decoys_by"], json({"P3"}));
  EXPECT_EQ(counts["matches"], 1);  // above the one of P3, and the one of DECOY_P4 is below it
}

}  // namespace
}  // namespace tarvek::tools
