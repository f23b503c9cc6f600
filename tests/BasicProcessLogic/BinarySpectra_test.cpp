#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "BinaryPair.h"
#include "Ms2Loop.h"
#include "ProcessTestSupport.h"
#include "TestSupport.h"
#include "SpectrumSource.h"

namespace tarvek {
namespace {

using test::BinaryScan;
using test::CaptureConsole;
using test::ConsoleText;
using test::HcdScan;
using test::MessageOf;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

BinaryScan Survey(int scan_no, const std::string& instrument = "FT") {
  BinaryScan scan;
  scan.m_scan_no = scan_no;
  scan.m_instrument = instrument;
  scan.m_peaks = {{500.0, 10.0}};
  return scan;
}

BinaryScan Fragments(int scan_no, int charge = 2) {
  BinaryScan scan;
  scan.m_scan_no = scan_no;
  scan.m_precursor_scan = 1;
  scan.m_center = 500.25;
  scan.m_activation = "HCD";
  scan.m_charge = charge;
  scan.m_mono_mz = 500.25;
  scan.m_peaks = {{200.0, 5.0}};
  return scan;
}

/// The rules that differ between text and binary spectra.
class SourceRules : public testing::Test {
 protected:
  SourceRules() {
    test::WritePair(m_directory.Path(), "run");
    WriteFile(m_directory / "run.msb", "");
    WriteFile(m_directory / "run.mscsv", test::ScanTableText({}));
  }
  template <class Question>
  bool AskBinary(Question question) {
    bool answer = false;
    CaptureConsole([&] { answer = question(BinarySpectrumSource(m_directory / "run")); });
    return answer;
  }
  template <class Question>
  bool AskText(Question question) {
    bool answer = false;
    CaptureConsole([&] {
      answer = question(TextSpectrumSource(m_directory / "run.ms1", m_directory / "run.ms2"));
    });
    return answer;
  }
  static auto Allows(std::vector<Precursor> declared, std::vector<Precursor> current) {
    return [=](const SpectrumSource& source) {
      MS2Spectrum scan = HcdScan(1);
      scan.m_orig_precursors = declared;
      scan.m_precursors = current;
      return source.AllowsDetermination(scan);
    };
  }
  static auto IsHigh(const std::string& instrument) {
    return [=](const SpectrumSource& source) {
      MS1Spectrum scan;
      scan.m_instrument_type = instrument;
      return source.IsHighResolution(scan);
    };
  }

  TemporaryDirectory m_directory;
};

TEST_F(SourceRules, BinaryAllowsAPositiveDeclaredCharge) {
  EXPECT_TRUE(AskBinary(Allows({{500.0, 1}}, {})));
}
TEST_F(SourceRules, BinaryRefusesADeclaredChargeOfZero) {
  EXPECT_FALSE(AskBinary(Allows({{500.0, 0}}, {{500.0, 2}})));
}
TEST_F(SourceRules, BinaryRefusesANegativeDeclaredCharge) {
  EXPECT_FALSE(AskBinary(Allows({{500.0, -2}}, {{500.0, 2}})));
}
TEST_F(SourceRules, BinaryAsksTheFirstDeclaredPrecursorOnly) {
  EXPECT_TRUE(AskBinary(Allows({{500.0, 2}, {600.0, 0}}, {})));
  EXPECT_FALSE(AskBinary(Allows({{500.0, 0}, {600.0, 2}}, {})));
}
TEST_F(SourceRules, BinaryRefusesAScanThatDeclaresNothing) {
  EXPECT_FALSE(AskBinary(Allows({}, {{500.0, 2}})));
}
TEST_F(SourceRules, TextAllowsANegativeCharge) { EXPECT_TRUE(AskText(Allows({}, {{500.0, -2}}))); }
TEST_F(SourceRules, TextRefusesAChargeOfZero) {
  EXPECT_FALSE(AskText(Allows({{500.0, 2}}, {{500.0, 0}})));
}
TEST_F(SourceRules, TextRefusesAScanWithoutPrecursors) {
  EXPECT_FALSE(AskText(Allows({{500.0, 2}}, {})));
}
TEST_F(SourceRules, BinaryTakesEveryInstrumentThatBeginsWithF) {
  EXPECT_TRUE(AskBinary(IsHigh("FT")));
  EXPECT_TRUE(AskBinary(IsHigh("FTMS")));
  EXPECT_TRUE(AskBinary(IsHigh("F")));
}
TEST_F(SourceRules, BinaryTakesNoOtherInstrument) {
  EXPECT_FALSE(AskBinary(IsHigh("ITMS")));
  EXPECT_FALSE(AskBinary(IsHigh("ft")));
  EXPECT_FALSE(AskBinary(IsHigh("")));
}
TEST_F(SourceRules, TextTakesFtAlone) {
  EXPECT_TRUE(AskText(IsHigh("FT")));
  EXPECT_FALSE(AskText(IsHigh("FTMS")));
}

class ProcessMsbSpectra : public testing::Test {
 protected:
  /// run.raw is in the directory "in", its spectra and outputs in another.
  ProcessMsbSpectra() {
    m_parameters.m_input_format = "raw";
    SetCurrentFile(m_parameters, m_directory / "in/run.ms1");
  }
  void Process() {
    OutputClaim claim(m_parameters);
    processMsbSpectra(m_parameters, claim);
  }
  ConsoleText Process(const std::vector<BinaryScan>& scans) {
    WriteFile(m_directory / "run.raw.msb", test::MsbBytes(scans));
    WriteFile(m_directory / "run.raw.mscsv", test::ScanTableText(scans));
    return CaptureConsole([&] { Process(); });
  }
  [[nodiscard]] std::vector<std::string> Rows() const {
    std::vector<std::string> rows;
    std::istringstream table(ReadFile(m_directory / "run.csv"));
    for (std::string row; std::getline(table, row);) rows.push_back(row);
    rows.erase(rows.begin());
    return rows;
  }
  /// The names of the files of lines "<INFO> - what PATH", in order.
  [[nodiscard]] std::vector<std::string> Named(const std::string& out,
                                               const std::string& what) const {
    std::vector<std::string> names;
    std::istringstream lines(out);
    const std::string start = "[Tarvek] <INFO> - " + what + " " + (m_directory / "");
    for (std::string line; std::getline(lines, line);)
      if (line.starts_with(start)) names.push_back(line.substr(start.size()));
    return names;
  }

  TemporaryDirectory m_directory;
  UserParameters m_parameters = test::ParametersFor(m_directory);
};

TEST_F(ProcessMsbSpectra, ReadsThePairNamedAfterTheFormat) {
  const std::string out = Process({Survey(1), Fragments(2)}).m_out;
  EXPECT_THAT(Named(out, "Start to process"),
              testing::IsSupersetOf({"run.raw.msb", "run.raw.mscsv"}));
}
TEST_F(ProcessMsbSpectra, FallsBackOnTheDeclaredPrecursor) {
  Process({Survey(1), Fragments(2)});
  EXPECT_THAT(Rows(), ElementsAre("HCD, FT, 2, 500.250000, 2, 1, 1, 500.250000, 2, "));
}
TEST_F(ProcessMsbSpectra, KeepsADeclaredNegativeCharge) {
  Process({Survey(1), Fragments(2, -3)});
  EXPECT_THAT(Rows(), ElementsAre("HCD, FT, 2, 500.250000, -3, 1, 1, 500.250000, -3, "));
}
TEST_F(ProcessMsbSpectra, WarnsTwiceOfADeclaredChargeOfZero) {
  const ConsoleText text = Process({Survey(1), Fragments(2, 0)});
  EXPECT_TRUE(Rows().empty());
  EXPECT_EQ(text.m_err,
            "[Tarvek] <WARN> - Scan 2 has incorrect precursor infomation, skipping...\n"
            "[Tarvek] <WARN> - Cannot find precursor information for scan 2.\n");
}
TEST_F(ProcessMsbSpectra, SaysNothingOfAScanOfAnotherActivationType) {
  BinaryScan scan = Fragments(2);
  scan.m_activation = "PQD";
  EXPECT_EQ(Process({Survey(1), scan}).m_err, "");
  EXPECT_TRUE(Rows().empty());
}
TEST_F(ProcessMsbSpectra, OpensMgfBeforePf2OfAScan) {
  const std::vector<std::string> started =
      Named(Process({Survey(1), Fragments(2)}).m_out, "Start to process");
  EXPECT_THAT(started, ElementsAre("run.raw.msb", "run.raw.mscsv", "run.pf1", "run_HCDFT.mgf",
                                   "run_HCDFT.pf2"));
}
TEST_F(ProcessMsbSpectra, ClosesReaderAndWritersInTheirOrder) {
  const std::vector<std::string> closed = Named(Process({Survey(1), Fragments(2)}).m_out, "Closed");
  EXPECT_THAT(closed, ElementsAre("run.raw.mscsv", "run.raw.msb", "run.pf1", "run_HCDFT.pf2",
                                  "run_HCDFT.mgf", "run.csv"));
}
TEST_F(ProcessMsbSpectra, ReportsOneRecordMoreThanThereAre) {
  EXPECT_THAT(Process({Survey(1), Fragments(2)}).m_out,
              HasSubstr("Scan Number in " + (m_directory / "run.raw.msb") + ": 3\n"));
}
TEST_F(ProcessMsbSpectra, ReportsNoProgressOfSurveys) {
  std::vector<BinaryScan> scans;
  for (int scan_no = 1; scan_no <= 2000; ++scan_no) scans.push_back(Survey(scan_no));
  scans.push_back(Fragments(2001));
  EXPECT_THAT(Process(scans).m_out, Not(HasSubstr("Extracting")));
}
TEST_F(ProcessMsbSpectra, ReportsTheThousandthFragmentScan) {
  std::vector<BinaryScan> scans = {Survey(1)};
  for (int scan_no = 2; scan_no <= 1001; ++scan_no) scans.push_back(Fragments(scan_no));
  EXPECT_THAT(Process(scans).m_out, HasSubstr("<INFO> - Extracting MS2, Scan Num = 1000\n"));
}
TEST_F(ProcessMsbSpectra, WritesEverySurveyToPf1) {
  const std::string out =
      Process({Survey(1), Fragments(2), Survey(3, "ITMS"), Survey(4, "TOF")}).m_out;
  EXPECT_THAT(out, HasSubstr("Scan Number in " + (m_directory / "run.pf1") + ": 3\n"));
}
TEST_F(ProcessMsbSpectra, ProcessesARunThatHoldsNothing) {
  Process({});
  EXPECT_TRUE(Rows().empty());
}
TEST_F(ProcessMsbSpectra, NamesAMissingFile) {
  std::string message;
  CaptureConsole([&] { message = MessageOf([&] { Process(); }); });
  EXPECT_THAT(message, testing::EndsWith(" File, Path: " + (m_directory / "run.raw.msb")));
  EXPECT_FALSE(std::filesystem::exists(m_directory / "run.csv_unfinished"));
}
TEST_F(ProcessMsbSpectra, LeavesTheTemporaryTableOfABrokenFile) {
  const std::vector<BinaryScan> scans = {Survey(1), Fragments(2)};
  std::string bytes = test::MsbBytes(scans);
  bytes.pop_back();
  WriteFile(m_directory / "run.raw.msb", bytes);
  WriteFile(m_directory / "run.raw.mscsv", test::ScanTableText(scans));
  std::string message;
  CaptureConsole([&] { message = MessageOf([&] { Process(); }); });
  EXPECT_EQ(message, "The MSB terminated unexpectly!");
  EXPECT_TRUE(std::filesystem::exists(m_directory / "run.csv_unfinished"));
  EXPECT_FALSE(std::filesystem::exists(m_directory / "run.csv"));
}

}  // namespace
}  // namespace tarvek
