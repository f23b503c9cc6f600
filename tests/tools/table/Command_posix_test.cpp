// "tarvek-tools table" as a user runs it. The expected values are counted by hand.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "ProcessRunner.h"
#include "RunRecord.h"
#include "TestSupport.h"
#include "ToolsProgram.h"
#include "calibrate/Calibration.h"
#include "report/ReportTestRun.h"
#include "table/Rows.h"

namespace tarvek::tools {
namespace {

using nlohmann::json;
using test::ReadFile;
using test::WriteFile;
using testing::ElementsAre;
using testing::HasSubstr;

using Cells = std::map<std::string, std::string>;

std::vector<std::string> Fields(const std::string& line) {
  std::vector<std::string> fields;
  std::size_t begin = 0;
  for (std::size_t end = 0; end != std::string::npos; begin = end + 1) {
    end = line.find('\t', begin);
    fields.push_back(line.substr(begin, end - begin));
    if (end == std::string::npos) break;
  }
  return fields;
}

/// The rows of a tab-separated table by the names in its first line.
std::vector<Cells> Rows(const std::string& text) {
  std::istringstream lines(text);
  std::string line;
  std::getline(lines, line);
  const std::vector<std::string> names = Fields(line);
  std::vector<Cells> rows;
  while (std::getline(lines, line)) {
    const std::vector<std::string> fields = Fields(line);
    EXPECT_EQ(fields.size(), names.size()) << line;
    Cells row;
    for (std::size_t i = 0; i < fields.size(); ++i) row[names[i]] = fields[i];
    rows.push_back(row);
  }
  return rows;
}

constexpr const char* kColumns =
    "run\tscan\tretention_time_min\tactivation\tanalyser\tisolation_mz\tisolation_width\t"
    "declared_mz\tdeclared_charge\trank\torigin\tmz\tcharge\tneutral_mass\tisotope_shift\t"
    "ppm_error\tprobability\tshare\tpurity\tsettings_hash\n";

class TableCommand : public testing::Test {
 protected:
  test::ProcessResult Run(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "table");
    return test::RunTools(arguments, m_directory.Path());
  }

  [[nodiscard]] std::vector<Cells> RowsOf(std::vector<std::string> arguments) const {
    const test::ProcessResult result = Run(std::move(arguments));
    EXPECT_EQ(result.m_exit_status, 0) << result.m_err;
    EXPECT_EQ(result.m_err, "");
    return Rows(result.m_out);
  }

  /// Settings, and the width that all scans declare.
  void WriteRecord() const {
    RunRecord record;
    record.m_settings["isolation_width"] = "2.000000";
    record.m_settings["charge_range"] = "2t6";
    record.m_widths["2.00"] = 6;
    WriteRunRecord(m_directory / "hand.tarvek", record);
  }

  /// Scan 2 of charge 2 and scan 3 of unknown charge, both at 500.4.
  void WriteInput() const {
    std::string second = Ms2Text(3, 1, 69.0, "HCD", "FT", 2);
    const std::string known = "Z\t2\t999.0";
    second.replace(second.find(known), known.size(), "Z\t0\t0");
    WriteFile(m_directory / "hand.ms2", Ms2Text(2, 1, 66.0, "HCD", "FT", 2) + second);
  }

  test::TemporaryDirectory m_directory;
};

TEST_F(TableCommand, HasARowForEachPrecursorAndLeavesUnknownFieldsEmpty) {
  WriteFile(m_directory / "hand.csv", HandTable());
  const test::ProcessResult result = Run({"hand.csv"});
  ASSERT_EQ(result.m_exit_status, 0) << result.m_err;
  EXPECT_EQ(result.m_out.substr(0, result.m_out.find('\n') + 1), kColumns);
  EXPECT_THAT(result.m_out,
              HasSubstr("\nhand\t2\t\tHCD\tFT\t\t\t500.000000\t2\t1\tdetermined\t500.000500\t2\t"
                        "997.986448\t0\t1.000\t\t\t\t\n"));  // 2 (500.0005 - 1.007276)
  EXPECT_EQ(Rows(result.m_out).size(), 7U);
}

TEST_F(TableCommand, ComparesEachPrecursorWithTheDeclaredOne) {
  WriteFile(m_directory / "hand.csv", HandTable());
  const std::vector<Cells> rows = RowsOf({"hand"});
  ASSERT_EQ(rows.size(), 7U);
  EXPECT_EQ(rows[1].at("isotope_shift"), "-1");  // 500.501675 - 1.00335 / 2 is 500
  EXPECT_EQ(rows[1].at("ppm_error"), "0.000");
  EXPECT_EQ(rows[2].at("isotope_shift"), "0");  // the declared m/z with another charge
  EXPECT_EQ(rows[3].at("isotope_shift"), "");   // ten m/z away
  EXPECT_EQ(rows[3].at("ppm_error"), "");
  EXPECT_THAT((std::vector{rows[3].at("rank"), rows[4].at("rank")}), ElementsAre("1", "2"));
  EXPECT_EQ(rows[4].at("scan"), "6");
  EXPECT_EQ(rows[4].at("neutral_mass"), "2156.978172");  // 3 (720 - 1.007276)
  EXPECT_EQ(rows[5].at("origin"), "declared");
  EXPECT_EQ(rows[6].at("declared_mz"), "");
  EXPECT_EQ(rows[6].at("declared_charge"), "");
  EXPECT_EQ(rows[6].at("origin"), "determined");
}

TEST_F(TableCommand, TakesAToleranceOfTheUser) {
  WriteFile(m_directory / "hand.csv", HandTable());
  EXPECT_EQ(RowsOf({"hand", "--tol", "0.9"}).at(0).at("isotope_shift"), "");
  EXPECT_EQ(RowsOf({"hand", "--tol", "1.1"}).at(0).at("isotope_shift"), "0");
}

TEST_F(TableCommand, TakesWindowTimeAndPurityFromTheFilesOfTheRun) {
  WriteHandRun(m_directory);
  WriteRecord();
  WriteInput();
  const std::vector<Cells> rows = RowsOf({"hand"});
  EXPECT_EQ(rows.at(0).at("retention_time_min"), "1.100000");
  EXPECT_EQ(rows.at(0).at("isolation_mz"), "500.400000");
  EXPECT_EQ(rows.at(0).at("isolation_width"), "2.0000");
  // Of 62 + 20 + 18 in the window, its isotopes have 62 and 20.
  EXPECT_EQ(rows.at(0).at("purity"), "0.8200");
  EXPECT_EQ(rows.at(0).at("settings_hash"), "c3ad9170e26f2484");  // of another program
  // The reader of the input assumes a charge of 2 where none is declared.
  EXPECT_EQ(rows.at(1).at("declared_mz"), "500.501675");
  EXPECT_EQ(rows.at(1).at("declared_charge"), "");
  EXPECT_EQ(rows.at(1).at("isotope_shift"), "");
  EXPECT_EQ(rows.at(2).at("purity"), "");  // the input says nothing of scan 4
}

TEST_F(TableCommand, TakesProbabilityAndShareOfAJointRun) {
  WriteFile(m_directory / "hand.csv", HandTable());
  WriteFile(m_directory / "hand.precursors.tsv",
            "scan\tmz\tcharge\tprobability\tshare\n2\t500.000500\t2\t0.9919\t0.8827\n"
            "6\t720.000000\t3\t0.5000\t0.2500\n");
  const std::vector<Cells> rows = RowsOf({"hand"});
  EXPECT_EQ(rows.at(0).at("probability"), "0.9919");
  EXPECT_EQ(rows.at(0).at("share"), "0.8827");
  EXPECT_EQ(rows.at(1).at("probability"), "");
  EXPECT_EQ(rows.at(1).at("origin"), "declared");  // a joint run gives every other a row
  EXPECT_EQ(rows.at(3).at("probability"), "");
  EXPECT_EQ(rows.at(4).at("probability"), "0.5000");
}

// 800 less 5 ppm is 799.996000; the correction of a run that was rounded twice may give 799.996001.
TEST_F(TableCommand, ComparesACalibratedRunWithCorrectedDeclaredPrecursors) {
  WriteFile(m_directory / "hand.csv", std::string(kTableHeader) +
                                          "CID, IT, 7, 800.000000, 3, 1, 1, 799.996001, 3, \n"
                                          "CID, IT, 8, 800.000000, 3, 1, 1, 799.998000, 3, \n");
  RunRecord record;
  Calibration calibration;
  calibration.m_surveys_by_time.m_knots = {{0.0, 5.0}};
  AddCalibration(calibration, record);
  WriteRunRecord(m_directory / "hand.tarvek", record);
  const std::vector<Cells> rows = RowsOf({"hand"});
  EXPECT_EQ(rows.at(0).at("declared_mz"), "800.000000");
  EXPECT_EQ(rows.at(0).at("origin"), "declared");
  EXPECT_EQ(rows.at(0).at("ppm_error"), "0.001");
  EXPECT_EQ(rows.at(1).at("origin"), "determined");
  EXPECT_EQ(rows.at(1).at("ppm_error"), "2.500");
}

TEST_F(TableCommand, GivesNegativeIonsAMassAndNoSignOfMz) {
  WriteFile(m_directory / "hand.csv",
            std::string(kTableHeader) + "HCD, FT, 2, 500.0, 2, 1, 1, -500.000000, -2, \n");
  const Cells row = RowsOf({"hand"}).at(0);
  EXPECT_EQ(row.at("mz"), "500.000000");
  EXPECT_EQ(row.at("charge"), "-2");
  EXPECT_EQ(row.at("neutral_mass"), "1002.014552");  // 2 (500 + 1.007276)
  EXPECT_EQ(row.at("isotope_shift"), "0");
}

TEST_F(TableCommand, GivesJsonLinesWithTheSameColumns) {
  WriteHandRun(m_directory);
  const test::ProcessResult result = Run({"hand", "--json"});
  ASSERT_EQ(result.m_exit_status, 0) << result.m_err;
  std::istringstream lines(result.m_out);
  std::vector<nlohmann::ordered_json> rows;
  for (std::string line; std::getline(lines, line);)
    rows.push_back(nlohmann::ordered_json::parse(line));
  ASSERT_EQ(rows.size(), 7U);
  std::string names;
  for (const auto& [name, value] : rows[0].items()) names += (names.empty() ? "" : "\t") + name;
  EXPECT_EQ(names + "\n", kColumns);
  EXPECT_EQ(rows[0].at("scan"), 2);
  EXPECT_EQ(rows[0].at("mz"), 500.0005);
  EXPECT_EQ(rows[0].at("origin"), "determined");
  EXPECT_TRUE(rows[0].at("probability").is_null());
}

TEST_F(TableCommand, PutsTheRunsOfAFolderOneBehindTheOther) {
  WriteFile(m_directory / "b.csv", HandTable());
  WriteFile(m_directory / "a.csv", HandTable());
  WriteFile(m_directory / "late.csv_unfinished", kTableHeader);
  const test::ProcessResult result = Run({".", "-o", "all.tsv"});
  EXPECT_EQ(result.m_exit_status, 0);
  EXPECT_EQ(result.m_out, "");
  EXPECT_THAT(result.m_err, HasSubstr("the run ./late is left out: it did not finish"));
  const std::vector<Cells> rows = Rows(ReadFile(m_directory / "all.tsv"));
  ASSERT_EQ(rows.size(), 14U);
  EXPECT_EQ(rows[6].at("run"), "a");
  EXPECT_EQ(rows[7].at("run"), "b");
}

TEST_F(TableCommand, LeavesAnEarlierTableWhereARunCannotBeRead) {
  WriteFile(m_directory / "hand.csv", HandTable() + "HCD, FT, 9");
  WriteFile(m_directory / "out.tsv", "earlier\n");
  const test::ProcessResult result = Run({"hand", "-o", "out.tsv"});
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, HasSubstr("hand.csv, line 8: The row is cut off"));
  EXPECT_EQ(ReadFile(m_directory / "out.tsv"), "earlier\n");
  EXPECT_FALSE(std::filesystem::exists(m_directory / "out.tsv_unfinished"));
}

TEST_F(TableCommand, RefusesWhatIsNoFinishedRunAndARunThatIsGivenTwice) {
  WriteFile(m_directory / "late.csv_unfinished", kTableHeader);
  EXPECT_THAT(Run({"late"}).m_err, HasSubstr("late.csv is not there: the run did not finish"));
  EXPECT_THAT(Run({"."}).m_err, HasSubstr("No finished run: ."));
  WriteFile(m_directory / "hand.csv", HandTable());
  EXPECT_THAT(Run({"hand", "."}).m_err, HasSubstr("The run ./hand is given twice"));
}

TEST_F(TableCommand, FailsWhenStandardOutputCannotBeWritten) {
  WriteFile(m_directory / "hand.csv", HandTable());
  for (const auto output : {test::StandardOutput::kFullDevice, test::StandardOutput::kClosedPipe}) {
    test::ProcessRequest request = test::ToolsRequest({"table", "hand"}, m_directory.Path());
    request.m_standard_output = output;
    const test::ProcessResult result = test::RunProcess(request);
    EXPECT_EQ(result.m_exit_status, 1);
    EXPECT_THAT(result.m_err, HasSubstr("Cannot write standard output"));
  }
}

/// Runs a program in another language and returns its standard output.
test::ProcessResult RunScript(const std::string& program, const std::string& script,
                              const std::string& folder) {
  test::ProcessRequest request;
  request.m_program = program;
  request.m_arguments = {program.ends_with("python3") ? "-c" : "-e", script};
  request.m_working_directory = folder;
  return test::RunProcess(request);
}

TEST_F(TableCommand, IsReadByPythonInOneCall) {
  WriteHandRun(m_directory);
  ASSERT_EQ(Run({"hand", "-o", "hand.tsv"}).m_exit_status, 0);
  const auto csv = RunScript("/usr/bin/python3",
                             "import csv\n"
                             "rows = list(csv.DictReader(open('hand.tsv'), delimiter='\\t'))\n"
                             "print(len(rows), sum(float(row['mz']) for row in rows))\n",
                             m_directory.Path());
  EXPECT_EQ(csv.m_out, "7 4480.2505\n") << csv.m_err;
  const auto numpy = RunScript(
      "/usr/bin/python3",
      "import numpy\n"
      "table = numpy.genfromtxt('hand.tsv', delimiter='\\t', names=True, dtype=None, "
      "encoding=None)\n"
      "print(table.size, table['mz'].sum(), int(numpy.isnan(table['declared_mz']).sum()))\n",
      m_directory.Path());
  EXPECT_EQ(numpy.m_out, "7 4480.2505 1\n") << numpy.m_err;
}

TEST_F(TableCommand, IsReadByPandasInOneCall) {
  if (RunScript("/usr/bin/python3", "import pandas", m_directory.Path()).m_exit_status != 0)
    GTEST_SKIP() << "pandas is not installed";
  WriteHandRun(m_directory);
  ASSERT_EQ(Run({"hand", "-o", "hand.tsv"}).m_exit_status, 0);
  ASSERT_EQ(Run({"hand", "--json", "-o", "hand.jsonl"}).m_exit_status, 0);
  const auto result = RunScript("/usr/bin/python3",
                                "import pandas\n"
                                "for table in (pandas.read_csv('hand.tsv', sep='\\t'),\n"
                                "              pandas.read_json('hand.jsonl', lines=True)):\n"
                                "    print(len(table), table.declared_mz.isna().sum(), "
                                "table.mz.dtype, table.charge.dtype)\n",
                                m_directory.Path());
  EXPECT_EQ(result.m_out, "7 1 float64 int64\n7 1 float64 int64\n") << result.m_err;
}

TEST_F(TableCommand, IsReadByRInOneCall) {
  if (!std::filesystem::exists("/usr/bin/Rscript")) GTEST_SKIP() << "R is not installed";
  WriteHandRun(m_directory);
  ASSERT_EQ(Run({"hand", "-o", "hand.tsv"}).m_exit_status, 0);
  const auto result = RunScript("/usr/bin/Rscript",
                                "table <- read.delim('hand.tsv')\n"
                                "cat(nrow(table), format(sum(table$mz), nsmall = 4, digits = 12), "
                                "sum(is.na(table$declared_mz)), "
                                "class(table$charge), sep = ' ')\n",
                                m_directory.Path());
  EXPECT_EQ(result.m_out, "7 4480.2505 1 integer") << result.m_err;
}

TEST(SettingsHash, IsEmptyWithoutSettingsAndTellsValuesApart) {
  RunRecord record;
  EXPECT_EQ(SettingsHash(record), "");
  record.m_settings["isolation_width"] = "2.000000";
  record.m_settings["charge_range"] = "2t6";
  EXPECT_EQ(SettingsHash(record), "c3ad9170e26f2484");
  record.m_settings["charge_range"] = "2t5";
  EXPECT_NE(SettingsHash(record), "c3ad9170e26f2484");
}

}  // namespace
}  // namespace tarvek::tools
