// The program as a user starts it, on runs that tarvek processed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "ToolsProgram.h"

namespace tarvek::tools {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using test::ReadFile;
using test::WriteFile;
using testing::HasSubstr;
using testing::Not;

const std::string kTable = TARVEK_SOURCE_DIR "/data/IPV.txt";

/// A scan in a precursor table.
struct Row {
  int m_scan = 0;
  std::vector<std::pair<double, int>> m_precursors;
};

std::vector<Row> RowsOf(const std::string& path) {
  std::vector<Row> rows;
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  while (std::getline(file, line)) {
    std::vector<std::string> fields;
    std::istringstream words(line);
    for (std::string field; std::getline(words, field, ',');) fields.push_back(field);
    Row& row = rows.emplace_back();
    row.m_scan = std::stoi(fields.at(2));
    for (int i = 0; i < std::stoi(fields.at(5)); ++i)
      row.m_precursors.emplace_back(std::stod(fields.at(7 + 3 * static_cast<std::size_t>(i))),
                                    std::stoi(fields.at(8 + 3 * static_cast<std::size_t>(i))));
  }
  return rows;
}

/// The peaks of each survey of a .ms1 file, by scan number.
using Surveys = std::map<int, std::vector<std::pair<double, double>>>;

Surveys SurveysOf(const std::string& path) {
  Surveys surveys;
  std::ifstream file(path);
  int scan = 0;
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    if (line.starts_with('S')) {
      std::string mark;
      words >> mark >> scan;
    } else if (!line.empty() && line[0] >= '0' && line[0] <= '9') {
      double mz = 0.0;
      double intensity = 0.0;
      words >> mz >> intensity;
      surveys[scan].emplace_back(mz, intensity);
    }
  }
  return surveys;
}

class ExplainCommand : public testing::Test {
 protected:
  /// A simulated run of so many scans in "run.ms1", and its outputs in "out".
  void MakeRun(const std::string& options = "", const std::string& environment = "",
               const std::string& simulation = "--seed 3 --ms2 60") {
    const std::string here = "cd '" + m_directory.Path() + "' && ";
    ASSERT_EQ(std::system((here + "'" TARVEK_TOOLS_PROGRAM "' simulate " + simulation +
                           " run >/dev/null 2>&1")
                              .c_str()),
              0);
    const std::string input = fs::exists(m_directory / "run.ms1") ? "run.ms1" : "run.mzML";
    ASSERT_EQ(std::system((here + environment + " '" TARVEK_PROGRAM "' -D " + input +
                           " -O out -L . -I '" + kTable + "' " + options + " >/dev/null 2>&1")
                              .c_str()),
              0);
  }

  int Run(const std::string& arguments) {
    std::vector<std::string> words = {"explain"};
    std::istringstream text(arguments);
    for (std::string word; text >> word;) words.push_back(word);
    words.insert(words.end(), {"-I", kTable});
    m_result = test::RunTools(words, m_directory.Path());
    return m_result.m_exit_status;
  }
  [[nodiscard]] std::string Out() const { return m_result.m_out; }
  [[nodiscard]] std::string Err() const { return m_result.m_err; }

  json Explained(const std::string& arguments) {
    EXPECT_EQ(Run(arguments + " --json"), 0) << Err();
    return json::parse(Out());
  }

  /// Every scan of the table is explained by the precursors that the table has.
  void ExpectTheTableExplained(const std::string& input) {
    const std::vector<Row> rows = RowsOf(m_directory / "out/run.csv");
    ASSERT_GT(rows.size(), 20u);
    for (const Row& row : rows) {
      SCOPED_TRACE(row.m_scan);
      const json scan = Explained("out/run " + std::to_string(row.m_scan) + " --input " + input);
      EXPECT_EQ(scan["scan"], row.m_scan);
      EXPECT_TRUE(scan["agrees_with_table"].get<bool>());
      ASSERT_EQ(scan["in_table"].size(), row.m_precursors.size());
      std::size_t kept = 0;
      for (const json& candidate : scan["candidates"])
        kept += candidate["kept"].get<bool>() ? 1 : 0;
      EXPECT_EQ(kept, scan["determined"].size());
      if (scan["outcome"] != "determined") continue;
      ASSERT_EQ(scan["determined"].size(), row.m_precursors.size());
      for (std::size_t i = 0; i < row.m_precursors.size(); ++i) {
        EXPECT_NEAR(scan["determined"][i]["mz"].get<double>(), std::fabs(row.m_precursors[i].first),
                    6e-6);
        EXPECT_EQ(scan["determined"][i]["charge"], row.m_precursors[i].second);
      }
    }
  }

  test::TemporaryDirectory m_directory;
  test::ProcessResult m_result;
};

TEST_F(ExplainCommand, GivesThePrecursorsOfTheTableForEveryScan) {
  MakeRun();
  ExpectTheTableExplained(".");
}

TEST_F(ExplainCommand, GivesThoseThatWereDeterminedTogether) {
  MakeRun("-W 3", "TARVEK_JOINT=0.3");
  ExpectTheTableExplained(".");
  const json scan = Explained("out/run --time 0 --input .");
  EXPECT_TRUE(scan["is_joint"].get<bool>());
  EXPECT_EQ(scan["threshold"], 0.3);
  EXPECT_EQ(scan["feature_names"].size(), 47u);
}

TEST_F(ExplainCommand, GivesThoseOfOtherSettings) {
  MakeRun("-C 0 -c 2t4 -W 3 -M 2 -t -0.5");
  ExpectTheTableExplained(".");
  std::string all;
  for (const Row& row : RowsOf(m_directory / "out/run.csv")) {
    EXPECT_EQ(Run("out/run " + std::to_string(row.m_scan) + " --input ."), 0);
    all += Out();
  }
  EXPECT_THAT(all, HasSubstr("ranks before it, and one alone is scored (-C 0)"));
  EXPECT_THAT(all, HasSubstr("dropped: none of its first isotopes is at the centre (-C 0)"));
}

TEST_F(ExplainCommand, ReadsAnInstrumentFileAndLeavesNothingBehind) {
  const fs::path programs = TARVEK_EXTRACTOR_DIRECTORY;
  fs::create_symlink(programs / "morvex_xml.exe", m_directory / "morvex_xml.exe");
  MakeRun("-F mzml -d 1", "", "--seed 3 --ms2 40 --format mzml");
  ASSERT_FALSE(fs::exists(m_directory / "out/run.ms1"));
  ASSERT_EQ(::setenv("TMPDIR", m_directory.Path().c_str(), 1), 0);
  ExpectTheTableExplained("run.mzML");
  ExpectTheTableExplained(".");
  ASSERT_EQ(::unsetenv("TMPDIR"), 0);
  for (const auto& entry : fs::directory_iterator(m_directory.Path()))
    EXPECT_THAT(entry.path().filename().string(), Not(HasSubstr("tarvek-explain")));
  for (const auto& entry : fs::directory_iterator(m_directory / "out"))
    EXPECT_NE(entry.path().extension(), ".ms1");
}

TEST_F(ExplainCommand, ReadsABinaryPair) {
  const fs::path programs = TARVEK_EXTRACTOR_DIRECTORY;
  fs::create_symlink(programs / "morvex_xml.exe", m_directory / "morvex_xml.exe");
  MakeRun("-F mzml -b 1", "", "--seed 3 --ms2 40 --format mzml");
  ASSERT_TRUE(fs::exists(m_directory / "out/run.mzml.msb"));
  for (const char* ending : {".ms1", ".ms2"})
    fs::remove(m_directory / ("out/run" + std::string(ending)));
  ExpectTheTableExplained("out");
}

TEST_F(ExplainCommand, ListsThePeaksOfTheSurveyNearTheWindow) {
  MakeRun();
  Surveys surveys = SurveysOf(m_directory / "run.ms1");
  for (const Row& row : RowsOf(m_directory / "out/run.csv")) {
    const json scan = Explained("out/run " + std::to_string(row.m_scan) + " --input .");
    const double low = scan["centre_mz"].get<double>() - 1.0 - 2.5;
    std::vector<std::pair<double, double>> expected;
    for (const auto& peak : surveys[scan["survey"].get<int>()])
      if (peak.first >= low && peak.first <= low + 7.0) expected.push_back(peak);
    ASSERT_EQ(scan["peaks"].size(), expected.size()) << row.m_scan;
    for (std::size_t i = 0; i < expected.size(); ++i) {
      EXPECT_NEAR(scan["peaks"][i][0].get<double>(), expected[i].first, 6e-6);
      EXPECT_NEAR(scan["peaks"][i][1].get<double>() / expected[i].second, 1.0, 1e-3);
    }
  }
}

// 20 ppm, the spacing of 1.003 and five isotopes: the nearest peaks give the highest possible sum.
double SlowElution(const std::vector<std::pair<double, double>>& peaks, double mz, int charge) {
  double sum = 0.0;
  for (int isotope = 0; isotope < 5; ++isotope) {
    const double at = mz + isotope * 1.003 / charge;
    const std::pair<double, double>* nearest = nullptr;
    for (const auto& peak : peaks)
      if (nearest == nullptr || std::fabs(peak.first - at) <= std::fabs(nearest->first - at))
        nearest = &peak;
    if (nearest != nullptr && std::fabs(nearest->first - at) <= 20e-6 * at) sum += nearest->second;
  }
  return sum;
}

TEST_F(ExplainCommand, FollowsEachPrecursorThroughTenSurveys) {
  MakeRun();
  const Surveys surveys = SurveysOf(m_directory / "run.ms1");
  std::vector<int> numbers;
  for (const auto& survey : surveys) numbers.push_back(survey.first);
  for (const Row& row : RowsOf(m_directory / "out/run.csv")) {
    SCOPED_TRACE(row.m_scan);
    const json scan = Explained("out/run " + std::to_string(row.m_scan) + " --input .");
    const auto own = std::ranges::find(numbers, scan["survey"].get<int>()) - numbers.begin();
    for (std::ptrdiff_t place = 0; place < 10; ++place) {
      const std::ptrdiff_t at = own + place - 4;
      const bool is_there = at >= 0 && at < std::ssize(numbers);
      const int number = is_there ? numbers[static_cast<std::size_t>(at)] : 0;
      const auto column = static_cast<std::size_t>(place);
      ASSERT_EQ(scan["surveys"][column][0], number);
      for (const json& ion : scan["determined"]) {
        const double expected = is_there ? SlowElution(surveys.at(number), ion["mz"].get<double>(),
                                                       ion["charge"].get<int>())
                                         : 0.0;
        EXPECT_NEAR(ion["elution"][column].get<double>(), expected, 1e-3 * expected);
      }
    }
  }
}

TEST_F(ExplainCommand, ExpectsHeightsInTheProportionsOfTheIsotopeTable) {
  MakeRun();
  std::vector<std::array<double, 5>> table;
  std::ifstream file(kTable);
  for (std::array<double, 5> row{}; file >> row[0] >> row[1] >> row[2] >> row[3] >> row[4];)
    table.push_back(row);
  std::size_t compared = 0;
  for (const Row& row : RowsOf(m_directory / "out/run.csv")) {
    const json scan = Explained("out/run " + std::to_string(row.m_scan) + " --input .");
    for (const json& ion : scan["determined"]) {
      const int charge = ion["charge"];
      const double mass = ion["mz"].get<double>() * charge - (charge - 1) * 1.007276;
      const auto& shares = table.at(static_cast<std::size_t>(mass));
      const auto expected = ion["expected"].get<std::vector<double>>();
      if (!(expected[0] > 0.0)) continue;
      for (std::size_t i = 1; i < 5; ++i)
        EXPECT_NEAR(expected[i] / expected[0], shares[i] / shares[0],
                    2e-3 * shares[i] / shares[0] + 1e-3);
      ++compared;
    }
  }
  EXPECT_GT(compared, 30u);
}

TEST_F(ExplainCommand, SaysWhyCandidatesWereNotKept) {
  MakeRun();
  std::string all;
  for (const Row& row : RowsOf(m_directory / "out/run.csv")) {
    ASSERT_EQ(Run("out/run " + std::to_string(row.m_scan) + " --input ."), 0) << Err();
    all += Out();
  }
  for (const char* reason :
       {"kept: the score is above the threshold of -0.34",
        "beaten: the score is not above the threshold of -0.34", "of its isotopes are those of ",
        "dropped: fewer than 2 isotopes in a row: ", "dropped: fewer than 3 isotopes in a row: ",
        "to the expected envelope, below 0.50", "of the window's intensity, below 0.04",
        "dropped: fewer than 2 isotopes in the window", "edge of the window",
        "The table of the run has the same precursors."})
    EXPECT_THAT(all, HasSubstr(reason));
  EXPECT_THAT(all, Not(HasSubstr("OTHER PRECURSORS")));
}

TEST_F(ExplainCommand, SaysWhenTheTableHasOtherPrecursors) {
  MakeRun();
  const Row row = RowsOf(m_directory / "out/run.csv").front();
  const std::string number = std::to_string(row.m_scan);
  std::string table = ReadFile(m_directory / "out/run.csv");
  std::ostringstream mz;
  mz << std::fixed;
  mz.precision(6);
  mz << row.m_precursors.front().first;
  const std::size_t at = table.find(" 1, " + mz.str());
  ASSERT_NE(at, std::string::npos);
  table.replace(at + 4, 3, "999");
  WriteFile(m_directory / "out/run.csv", table);
  ASSERT_EQ(Run("out/run " + number + " --input ."), 0);
  EXPECT_THAT(Out(), HasSubstr("THE TABLE OF THE RUN HAS OTHER PRECURSORS: 999"));
  EXPECT_FALSE(Explained("out/run " + number + " --input .")["agrees_with_table"].get<bool>());
}

TEST_F(ExplainCommand, SaysWhatItDoesNotKnowOfTheRun) {
  MakeRun();
  fs::remove(m_directory / "out/run.tarvek");
  ASSERT_EQ(Run("out/run.csv --time 0 --input ."), 0) << Err();
  EXPECT_THAT(Out(), HasSubstr("run.tarvek is not there: tarvek's default settings are taken."));
  WriteFile(m_directory / "out/run.tarvek", "setting\tisotope_table\t0000000000000000\n");
  const json scan = Explained("out/run --time 0 --input .");
  ASSERT_EQ(scan["doubts"].size(), 1u);
  EXPECT_THAT(scan["doubts"][0].get<std::string>(), HasSubstr("The isotope table is another one"));
}

TEST_F(ExplainCommand, FindsAScanByTimeAndByMz) {
  MakeRun();
  const std::vector<Row> rows = RowsOf(m_directory / "out/run.csv");
  const json last = Explained("out/run " + std::to_string(rows.back().m_scan) + " --input .");
  EXPECT_EQ(Explained("out/run --time 9999 --input .")["scan"], last["scan"]);
  const double centre = last["centre_mz"];
  std::ostringstream mz;
  mz.precision(9);
  mz << centre + 0.9;
  const json found = Explained("out/run --time 9999 --mz " + mz.str() + " --input .");
  EXPECT_EQ(found["scan"], last["scan"]);
  EXPECT_EQ(Run("out/run --mz 20000 --input ."), 1);
  EXPECT_THAT(Err(), HasSubstr("No MS2 scan of run isolates m/z 20000."));
}

TEST_F(ExplainCommand, NamesWhatIsNotThere) {
  MakeRun();
  EXPECT_EQ(Run("nothing 5"), 1);
  EXPECT_THAT(Err(), HasSubstr("nothing.csv is not there."));
  EXPECT_EQ(Run("out/run 999999 --input ."), 1);
  EXPECT_THAT(Err(), HasSubstr("run has no MS2 scan 999999."));
  EXPECT_EQ(Run("out/run 5"), 1);
  EXPECT_THAT(Err(), HasSubstr("The spectra of out/run are not there"));
  EXPECT_NE(Run("out/run --input ."), 0);
  EXPECT_THAT(Err(), HasSubstr("name a scan: its number, --time or --mz"));
}

// Filling the store of surveys prints no progress.
TEST_F(ExplainCommand, PrintsNothingButJsonOfALongRun) {
  MakeRun("", "", "--seed 3 --ms2 7200");
  const std::vector<Row> rows = RowsOf(m_directory / "out/run.csv");
  const json scan = Explained("out/run " + std::to_string(rows.back().m_scan) + " --input .");
  EXPECT_TRUE(scan["agrees_with_table"].get<bool>());
}

// Runs of several instruments, processed with any settings: the repeated determination agrees with
// the table in every scan.
TEST_F(ExplainCommand, ExplainsARealRun) {
  const std::string packed = TARVEK_SOURCE_DIR "/../shared/data/hek293-velos/HEK293_2_16173.ms";
  if (!fs::exists(packed + "1.gz")) GTEST_SKIP() << "needs the real runs in ../shared/data";
  for (const std::string level : {"1", "2"})
    ASSERT_EQ(std::system(
                  ("gzip -dc '" + packed + level + ".gz' >'" + m_directory / "run.ms" + level + "'")
                      .c_str()),
              0);
  ASSERT_EQ(std::system(("cd '" + m_directory.Path() +
                         "' && '" TARVEK_PROGRAM "' -D run.ms1 -O out -L . -W 4 -I '" + kTable +
                         "' >/dev/null 2>&1")
                            .c_str()),
            0);
  ExpectTheTableExplained(".");
}

}  // namespace
}  // namespace tarvek::tools
