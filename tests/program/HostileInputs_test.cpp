// Hostile spectra and names: bounded work, texts that show nothing but themselves, errors that name files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "ProgramTest.h"

namespace tarvek::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

std::string Repeated(std::string_view text, std::size_t count) {
  std::string repeated;
  repeated.reserve(text.size() * count);
  for (; count > 0; --count) repeated += text;
  return repeated;
}

std::string SurveyBlock(int number, const std::string& peaks) {
  return "S\t" + std::to_string(number) + "\t" + std::to_string(number) +
         "\nI\tInstrumentType\tFTMS\n" + peaks;
}

std::string FragmentBlock(int number, int survey, const std::string& charges,
                          const std::string& peaks = "100.5 1.0\n") {
  return "S\t" + std::to_string(number) + "\t" + std::to_string(number) +
         "\t500.5\nI\tActivationType\tHCD\nI\tInstrumentType\tFTMS\nI\tActivationCenter\t500.5\n"
         "I\tPrecursorScan\t" +
         std::to_string(survey) + "\n" + charges + peaks;
}

class HostileInput : public ProgramTest {
 protected:
  HostileInput() { PlaceTable(); }

  const ProcessResult& RunPair(const std::string& ms1, const std::string& ms2,
                               const std::vector<std::string>& more = {}) {
    std::filesystem::remove_all(Path("out"));
    Write("run.ms1", ms1);
    Write("run.ms2", ms2);
    std::vector<std::string> arguments = {"-D", "run.ms1", "-O", "out"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return RunRequest(InLittleMemory(Request(arguments)));
  }

  double SecondsOf(const std::string& ms1, const std::string& ms2,
                   const std::vector<std::string>& more = {}) {
    double least = 1e9;
    for (int i = 0; i < 2; ++i) {
      least = std::min(least, RunPair(ms1, ms2, more).m_cpu_seconds);
      EXPECT_EQ(m_result.m_exit_status, 0) << m_result.m_err;
    }
    return least;
  }
  static constexpr double kStartSeconds =
      0.05;  // of the program, and of what the clock does not see
};

// ------------------------------------------------------------ bounded work

TEST_F(HostileInput, OfDigitsAloneTakesNoLongerThanOfPeaks) {
  const std::size_t size = 8'000'000;
  const std::string head = SurveyBlock(1, "500.5 1.0\n");
  const std::string ms2 = FragmentBlock(2, 1, "Z\t2\t1000.0\n");
  const double peaks = SecondsOf(head + Repeated("500.12345 1000.5\n", size / 17), ms2);
  const double digits = SecondsOf(head + std::string(size, '1') + "\n", ms2);
  EXPECT_LT(digits, 4.0 * (peaks + kStartSeconds));
  const double lines = SecondsOf(head + Repeated(std::string(2000, '7') + "\n", size / 2001), ms2);
  EXPECT_LT(lines, 4.0 * (peaks + kStartSeconds));
}

TEST_F(HostileInput, ReadsLongLinesInPiecesAsBefore) {
  // A line of 1023 characters is a piece: its rest, which begins with a digit, is a peak of its own.
  const std::string line = std::string(1000, '1') + " 5.0";
  RunPair(SurveyBlock(1, line + "\n" + std::string(1023, '2') + "300.5 7.0\n"),
          FragmentBlock(2, 1, "Z\t2\t1000.0\n"));
  EXPECT_EQ(m_result.m_exit_status, 0);
  EXPECT_EQ(Content("out/run.pf1").size(), 8 + 3 + 8 + 2 * 16 + 16u);  // header, two peaks, time
}

TEST_F(HostileInput, WithMoreZLinesThanAnyScanHasIsRefused) {
  RunPair(SurveyBlock(1, "500.5 1.0\n"), FragmentBlock(2, 1, Repeated("Z\t2\t1000.0\n", 101)));
  EXPECT_EQ(m_result.m_exit_status, 255);
  EXPECT_EQ(m_result.m_err,
            "[Tarvek] <ERROR> - ./run.ms2: scan 2 has more than 100 Z lines, which "
            "no scan has\n");
  EXPECT_FALSE(Exists("out/run.csv"));
  RunPair(SurveyBlock(1, "500.5 1.0\n"), FragmentBlock(2, 1, Repeated("Z\t2\t1000.0\n", 100)));
  EXPECT_EQ(m_result.m_exit_status, 0);
  EXPECT_EQ(std::ranges::count(Content("out/run_HCDFT.mgf"), 'B'), 100);
}

TEST_F(HostileInput, TableWithoutAnEndIsRefused) {
  PlacePair();
  for (const std::string table : {"/dev/zero", "long.txt"}) {
    Write("long.txt", Repeated("0.1 0.2 0.3 0.2 0.1\n", 900'000));
    RunRequest(InLittleMemory(Request({"-D", "run.ms1", "-O", "out", "-I", table})));
    EXPECT_EQ(m_result.m_exit_status, 255);
    EXPECT_EQ(m_result.m_err, "[Tarvek] <ERROR> - Isotope table " + table +
                                  " has more than 16 MB, which no table has.\n");
  }
}

/// Twelve surveys, of which one, or the first six, have so many peaks in the isolation window.
std::string DenseSurveys(std::size_t count, bool are_six = false) {
  std::string peaks;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string decimals = std::to_string(1'000'000 + i * (999'999 / count));
    peaks += "500." + decimals.substr(1) + " " + std::to_string(1 + i % 97) + ".0\n";
  }
  std::string surveys;
  for (int number = 1; number <= 6; ++number)
    surveys += SurveyBlock(number, are_six || number == 6 ? peaks : "500.5 1.0\n");
  for (int number = 101; number <= 106; ++number) surveys += SurveyBlock(number, "500.5 1.0\n");
  return surveys;
}

TEST_F(HostileInput, OfDenseSurveysThatAreNotThinnedTakesBoundedTime) {
  std::string scans;
  for (int number = 7; number <= 26; ++number) scans += FragmentBlock(number, 6, "Z\t2\t1000.0\n");
  const double usual = SecondsOf(DenseSurveys(2'000), scans, {"-S", "0"});
  const double dense = SecondsOf(DenseSurveys(8'000), scans, {"-S", "0"});
  EXPECT_LT(dense, 10.0 * (usual + kStartSeconds));
  RunPair(DenseSurveys(11'000), scans, {"-S", "0"});
  EXPECT_EQ(m_result.m_exit_status, 0);
  EXPECT_THAT(m_result.m_err,
              HasSubstr("[Tarvek] <WARN> - run.ms1, scan 7: more than 9000 survey peaks around "
                        "its isolation window, which no survey has. Its declared precursors are "
                        "kept.\n"));
  EXPECT_LT(m_result.m_cpu_seconds, dense + kStartSeconds);
}

constexpr std::size_t kPeaksOfCrowd = 30'000;

/// Twelve surveys: an ion of charge 1 at the centre, and small peaks further away, which its isolation does
/// not pass, in such numbers that few scans use up the work of so small a file.
std::string CrowdedSurveys() {
  std::string peaks = "500.5 50.0\n501.503 14.0\n502.506 3.0\n";
  for (std::size_t i = 0; i < kPeaksOfCrowd; ++i)
    peaks += "503." + std::to_string(100'000 + i * 25) + " 2.0\n";
  std::string surveys;
  for (int number = 1; number <= 12; ++number) surveys += SurveyBlock(number, peaks);
  return surveys;
}

/// The rows of a table.
std::vector<std::string> RowsOf(const std::string& table) {
  std::vector<std::string> rows;
  std::istringstream lines(table);
  for (std::string row; std::getline(lines, row);) rows.push_back(row);
  rows.erase(rows.begin());
  return rows;
}

TEST_F(HostileInput, OfFewBytesAndManyScansOfDenseSurveysKeepsTheDeclaredPrecursors) {
  std::string scans;
  for (int number = 13; number <= 412; ++number)
    scans += FragmentBlock(number, 6, "Z\t3\t1000.0\n");
  RunPair(CrowdedSurveys(), scans, {"-c", "1t1", "-t", "-100"});
  ASSERT_EQ(m_result.m_exit_status, 0) << m_result.m_err;
  std::smatch found;
  ASSERT_TRUE(std::regex_match(
      m_result.m_err, found,
      std::regex(
          "\\[Tarvek\\] <WARN> - run.ms1, from scan ([0-9]+) on: the declared precursors are "
          "kept. The surveys have far more peaks around them than those of a real run of "
          "this size.\n")))
      << m_result.m_err;
  const auto rows = RowsOf(Content("out/run.csv"));
  ASSERT_EQ(rows.size(), 400u);
  for (int number = 13; number <= 412; ++number) {
    const std::string start = "HCD, FT, " + std::to_string(number) + ", 334.004851, 3, 1, 1, ";
    const char* const precursor =
        number < std::stoi(found[1]) ? "500.500000, 1, " : "334.004851, 3, ";
    ASSERT_EQ(rows[static_cast<std::size_t>(number) - 13], start + precursor);
  }
  EXPECT_THAT(
      Content("out/run.tarvek"),
      HasSubstr("count\tms2_declared\t" + std::to_string(413 - std::stoi(found[1])) + "\n"));
}

TEST_F(HostileInput, OfFewBytesAndManyScansIsExplainedTogetherOnlyInPart) {
  std::string scans;
  for (int number = 13; number <= 412; ++number)
    scans += FragmentBlock(number, 6, "Z\t3\t1000.0\n");
  Write("run.ms1", CrowdedSurveys());
  Write("run.ms2", scans);
  ProcessRequest request = Request({"-D", "run.ms1", "-O", "out"});
  request.m_environment["TARVEK_JOINT"] = "0.3";
  EXPECT_EQ(RunRequest(request).m_exit_status, 0);
  EXPECT_THAT(m_result.m_err, HasSubstr(" on: the declared precursors are kept. The surveys"));
  const auto rows = RowsOf(Content("out/run.csv"));
  ASSERT_EQ(rows.size(), 400u);
  EXPECT_EQ(rows.back(), "HCD, FT, 412, 334.004851, 3, 1, 1, 334.004851, 3, ");
}

TEST_F(HostileInput, OfDenseSurveysIsExplainedTogetherInTimeThatFollowsTheirSize) {
  const std::string scan = FragmentBlock(7, 6, "Z\t2\t1000.0\n");
  ProcessRequest request = Request({"-D", "run.ms1", "-O", "out", "-r", "1"});
  request.m_environment["TARVEK_JOINT"] = "0.3";
  const auto seconds_of = [&](std::size_t peaks) {
    Write("run.ms1", DenseSurveys(peaks, true));
    Write("run.ms2", scan);
    EXPECT_EQ(RunRequest(request).m_exit_status, 0) << m_result.m_err;
    return m_result.m_cpu_seconds;
  };
  const double once = seconds_of(20'000);
  EXPECT_LT(seconds_of(80'000), 8.0 * (once + kStartSeconds));
}

// ------------------------------------------------------------ texts

constexpr const char* kForged = "a\n[Tarvek] <ERROR> - forged\x1b[2J\xFF";

TEST_F(HostileInput, NamedAsAMessageShowsItsNameInOneLine) {
  const std::string name = kForged;
  PlacePair("", name);
  EXPECT_EQ(Run({"-D", name + ".ms1", "-O", "out"}).m_exit_status, 0) << m_result.m_err;
  const std::string shown = "a\\n[Tarvek] <ERROR> - forged\\x1b[2J\\xff";
  EXPECT_THAT(m_result.m_out, HasSubstr("Start to process " + shown + ".ms1\n"));
  for (const std::string& text :
       {m_result.m_out, m_result.m_err, Content("out/" + std::string(kLog))}) {
    EXPECT_THAT(text, Not(HasSubstr("\n[Tarvek] <ERROR>")));
    EXPECT_EQ(std::ranges::count_if(text, [](char c) { return c == '\x1b' || c == '\xFF'; }), 0);
  }
  EXPECT_THAT(Content("out/" + name + "_HCDFT.mgf"), HasSubstr("\nTITLE=" + shown + "."));
  EXPECT_THAT(Content("out/" + name + "_HCDFT.mgf"), Not(HasSubstr("\n[Tarvek]")));
  EXPECT_THAT(Content("out/" + name + ".pf1").substr(8), testing::StartsWith(shown));
}

TEST_F(HostileInput, ThatIsMissingIsNamedInOneLine) {
  EXPECT_EQ(Run({"-D", std::string(kForged) + ".ms1", "-O", "out"}).m_exit_status, 0);
  EXPECT_THAT(m_result.m_err, HasSubstr("<WARN> - Datapath: a\\n[Tarvek] <ERROR> - forged\\x1b"));
  EXPECT_EQ(std::ranges::count(m_result.m_err, '\n'), 1);
}

// ------------------------------------------------------------ errors that name the file

TEST_F(HostileInput, OfMgfIsNamedInTheLastError) {
  Write("in\n.mgf", "BEGIN IONS\nTITLE=no number here\x1b\n200.5 5.0\nEND IONS\n");
  EXPECT_EQ(Run({"-D", "in\n.mgf", "-O", "out"}).m_exit_status, 255);
  EXPECT_THAT(m_result.m_err,
              HasSubstr("[Tarvek] <ERROR> - Sorry, Tarvek fail to parse the title of the MGF.\n"
                        "[Error] Incorrect title format! correct format should be: "
                        "\tRAWName.scan.scan.charge.dta\ne.g:\t\thuman_SILAC.2345.2345.2.dta\n"));
  EXPECT_THAT(m_result.m_err,
              EndsWith("\n[Tarvek] <ERROR> - Cannot process in\\n.mgf: no number in the line "
                       "'TITLE=no number here\\x1b'\n"));
  EXPECT_THAT(m_result.m_out, EndsWith(kCrashLines));
}

TEST_F(HostileInput, ThatTakesMoreMemoryThanThereIsIsNamed) {
  PlacePair();
  Write("run.ms1", SurveyBlock(1, Repeated("1 1\n", 2'000'000)));
  ProcessRequest request = Request({"-D", "run.ms1", "-O", "out"});
  request.m_memory_limit_bytes = InLittleMemory(request).m_memory_limit_bytes;
  if (!request.m_memory_limit_bytes) GTEST_SKIP() << "these programs take too much by themselves";
  request.m_memory_limit_bytes = 30'000'000;
  RunRequest(request);
  EXPECT_EQ(m_result.m_exit_status, 255);
  EXPECT_EQ(m_result.m_err,
            "[Tarvek] <ERROR> - std::bad_alloc\n"
            "[Tarvek] <ERROR> - Cannot process run.ms1: there is not enough memory\n");
}

// ------------------------------------------------------------ names

TEST_F(HostileInput, MayBeNamedAsAnOption) {
  PlacePair("", "-x");
  EXPECT_EQ(Run({"-x.ms1"}).m_exit_status, 0) << m_result.m_err;
  EXPECT_TRUE(Exists("-x.csv"));
  EXPECT_EQ(Run({"-D", "-x.ms1", "-O", "-out"}).m_exit_status, 0) << m_result.m_err;
  EXPECT_TRUE(Exists("-out/-x.csv"));
}

TEST_F(HostileInput, MayHaveBackslashesInItsName) {
  for (const std::string base : {"a\\", "\\b", "c\\d"}) {
    SCOPED_TRACE(base);
    MakeFolder("in");
    PlacePair("in", base);
    EXPECT_EQ(Run({"-D", "in/" + base + ".ms1", "-O", "out"}).m_exit_status, 0) << m_result.m_err;
    EXPECT_TRUE(Exists("out/" + base + ".csv"));
    PlacePair("", base);
    EXPECT_EQ(Run({base + ".ms1"}).m_exit_status, 0) << m_result.m_err;
    EXPECT_TRUE(Exists(base + ".csv"));
  }
}

}  // namespace
}  // namespace tarvek::test
