// Instrument files through binary spectra, compared with the same scans through text.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <sstream>
#include <string>
#include <vector>

#include "FakeExtractor.h"
#include "GeneratedRun.h"

namespace tarvek::test {
namespace {

using testing::HasSubstr;

constexpr unsigned kSeed = 20240611;
constexpr int kCycles = 30;

/// The scans of .ms1 or .ms2 text as a binary extractor gives them, with the instrument in the
/// short form that text readers make of it.
std::vector<BinaryScan> ScansOf(const std::string& text) {
  std::vector<BinaryScan> scans;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream fields(line);
    std::string kind, key;
    if (line[0] >= '0' && line[0] <= '9') {
      scans.back().m_peaks.emplace_back();
      fields >> scans.back().m_peaks.back().first >> scans.back().m_peaks.back().second;
      continue;
    }
    fields >> kind;
    if (kind == "S") fields >> scans.emplace_back().m_scan_no;
    if (kind != "I") continue;
    BinaryScan& scan = scans.back();
    fields >> key;
    if (key == "RetTime") fields >> scan.m_rt;
    if (key == "ActivationType") fields >> scan.m_activation;
    if (key == "ActivationCenter") fields >> scan.m_center;
    if (key == "PrecursorScan") fields >> scan.m_precursor_scan;
    if (key == "InstrumentType") fields >> scan.m_instrument;
    scan.m_instrument = scan.m_instrument.substr(0, 2);
  }
  return scans;
}

/// A generated run, as text and as a binary pair; its surveys come first in the pair.
class BinaryRun : public FakeExtractorTest {
 protected:
  BinaryRun() {
    const GeneratedRun run = GenerateRun(kSeed, kCycles);
    Write("prepared/run.ms1", run.m_ms1);
    Write("prepared/run.ms2", run.m_ms2);
    m_surveys = ScansOf(run.m_ms1);
    m_fragments = ScansOf(run.m_ms2);
    for (BinaryScan& scan : m_fragments) {
      scan.m_charge = 2;
      scan.m_mono_mz = scan.m_center;
    }
    Write("IPV.txt", FlatIsotopeTable(4000));
  }
  const ProcessResult& RunBinary(std::vector<std::string> more = {}) {
    std::vector<BinaryScan> scans = m_surveys;
    scans.insert(scans.end(), m_fragments.begin(), m_fragments.end());
    std::ranges::sort(scans, {}, &BinaryScan::m_scan_no);
    PrepareBinaryPair(scans);
    PlaceExtractor(kCopyBinaryPair);
    std::vector<std::string> arguments = {"-D", "run.raw", "-O", "binary", "-b", "1"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }
  const ProcessResult& RunText() {
    PlaceExtractor(kCopyTextPair);
    return Run({"-D", "run.raw", "-O", "text"});
  }
  /// The files that a run wrote into folder, without those of the extractor.
  [[nodiscard]] FileMap OutputsOf(const std::string& folder) const {
    FileMap files = OutputsIn(Path(folder));
    EXPECT_TRUE(files.contains("run.tarvek"));  // which says how it was extracted
    for (const char* name :
         {"run.ms1", "run.ms2", "run.morvex", "run.raw.msb", "run.raw.mscsv", "run.tarvek"})
      files.erase(name);
    return files;
  }
  /// Table rows with more or other precursors than the declared one.
  [[nodiscard]] int DeterminedRows(const std::string& folder) const {
    int rows = 0;
    for (const std::string& line : LinesOf(Content(folder + "/run.csv")))
      if (line.starts_with("HCD") &&
          line.find(", 2, 1, 1, " + MzOf(line) + ", 2, ") == std::string::npos)
        ++rows;
    return rows;
  }
  static std::string MzOf(const std::string& row) {
    std::istringstream fields(row);
    std::string field;
    for (int i = 0; i < 4; ++i) fields >> field;
    return field.substr(0, field.size() - 1);
  }

  std::vector<BinaryScan> m_surveys;
  std::vector<BinaryScan> m_fragments;
};

TEST_F(BinaryRun, DeterminesPrecursors) {
  EXPECT_EQ(RunBinary().m_exit_status, 0) << m_result.m_err;
  EXPECT_GT(DeterminedRows("binary"), 10);
}
TEST_F(BinaryRun, WritesTheSameBytesAsTheTextOfTheSameScans) {
  RunBinary();
  EXPECT_EQ(RunText().m_exit_status, 0) << m_result.m_err;
  const FileMap binary = OutputsOf("binary");
  const FileMap text = OutputsOf("text");
  ASSERT_EQ(text.size(), 9u);
  EXPECT_EQ(binary.size(), text.size());
  for (const auto& [name, content] : text)
    EXPECT_TRUE(binary.contains(name) && binary.at(name) == content) << name;
}
TEST_F(BinaryRun, TakesSurveysOfEveryInstrumentThatBeginsWithF) {
  RunBinary();
  const std::string table = Content("binary/run.csv");
  for (BinaryScan& scan : m_surveys) scan.m_instrument = "FTMS";
  RunBinary({"-r", "1"});
  EXPECT_EQ(Content("binary/run.csv"), table);
}
TEST_F(BinaryRun, KeepsTheDeclaredPrecursorsWithSurveysOfAnIonTrap) {
  for (BinaryScan& scan : m_surveys) scan.m_instrument = "ITMS";
  RunBinary();
  EXPECT_EQ(DeterminedRows("binary"), 0);
}
TEST_F(BinaryRun, KeepsDeclaredPrecursorsOfNegativeCharge) {
  for (BinaryScan& scan : m_fragments) scan.m_charge = -2;
  RunBinary();
  const std::vector<std::string> lines = LinesOf(Content("binary/run.csv"));
  ASSERT_EQ(lines.size(), 1u + m_fragments.size());
  for (std::size_t i = 1; i < lines.size(); ++i)
    EXPECT_THAT(lines[i], HasSubstr(", -2, 1, 1, " + MzOf(lines[i]) + ", -2, "));
}
TEST_F(BinaryRun, ClosesItsReaderBeforeItsWriters) {
  RunBinary();
  std::vector<std::string> closed;
  const std::string start = "[Tarvek] <INFO> - Closed binary/run";
  for (const std::string& line : LinesOf(m_result.m_out))
    if (line.starts_with(start)) closed.push_back(line.substr(start.size()));
  EXPECT_THAT(closed, testing::ElementsAre(".raw.mscsv", ".raw.msb", ".pf1", "_HCDFT.pf2",
                                           "_HCDIT.pf2", "_HCDFT.mgf", "_HCDIT.mgf", ".csv"));
}
TEST_F(BinaryRun, KeepsThePairWhenExtractedFilesAreDeleted) {
  RunBinary({"-d", "1"});
  EXPECT_TRUE(Exists("binary/run.raw.msb"));
  EXPECT_TRUE(Exists("binary/run.raw.mscsv"));
  EXPECT_FALSE(Exists("binary/run.morvex"));
}
TEST_F(BinaryRun, DeletesExtractedTextBesideThePairWhenAskedTo) {
  PrepareBinaryPair({});
  PlaceExtractor(std::string(kCopyTextPair) + kCopyBinaryPair);
  Run({"-D", "run.raw", "-O", "binary", "-b", "1", "-d", "1"});
  EXPECT_EQ(m_result.m_exit_status, 0);
  EXPECT_FALSE(Exists("binary/run.ms1"));
  EXPECT_FALSE(Exists("binary/run.ms2"));
}
TEST_F(BinaryRun, NamesItsPairAfterTheFormatInLowerCase) {
  Write("run.MZML", "x");
  PrepareBinaryPair({});
  PlaceExtractor(kCopyBinaryPair, "morvex_xml.exe");
  EXPECT_EQ(Run({"-D", "run.MZML", "-O", "binary", "-b", "1"}).m_exit_status, 0);
  EXPECT_THAT(m_result.m_out, HasSubstr("Start to process binary/run.mzml.msb\n"));
  EXPECT_TRUE(Exists("binary/run.csv"));
}
TEST_F(BinaryRun, IsSkippedTheSecondTime) {
  RunBinary();
  EXPECT_THAT(RunBinary().m_out, HasSubstr("run.raw has existed results, skipping...\n"));
  EXPECT_EQ(Starts(), 1);
}

class BrokenPair : public BinaryRun {
 protected:
  void ExpectError(const std::string& message, const std::string& file) {
    EXPECT_EQ(m_result.m_exit_status, 255);
    EXPECT_THAT(m_result.m_err,
                testing::EndsWith("[Tarvek] <ERROR> - " + message +
                                  "\n[Tarvek] <ERROR> - Cannot process " + file + ": " + message +
                                  "\n"));
    EXPECT_FALSE(Exists("binary/run.csv"));
  }
  /// Runs with the pair changed after the extractor has left it.
  void RunWith(const std::string& command) {
    PrepareBinaryPair(m_surveys);
    PlaceExtractor(std::string(kCopyBinaryPair) + command + "\n");
    Run({"-D", "run.raw", "-O", "binary", "-b", "1"});
  }
};

TEST_F(BrokenPair, CutInAPeakListEndsTheRun) {
  RunWith("head -c 100 prepared/run.msb > \"$out/run.raw.msb\"");
  ExpectError("The MSB terminated unexpectly!", "binary/run.raw.msb");
}
TEST_F(BrokenPair, WithAnEmptyTableEndsTheRun) {
  RunWith(": > \"$out/run.raw.mscsv\"");
  ExpectError("mscsv file is empty!", "binary/run.raw.mscsv");
}
TEST_F(BrokenPair, WithoutItsPeaksIsNamed) {
  RunWith("rm \"$out/run.raw.msb\"");
  EXPECT_EQ(m_result.m_exit_status, 255);
  EXPECT_THAT(m_result.m_err, testing::EndsWith(" File, Path: binary/run.raw.msb\n"));
}
TEST_F(BrokenPair, WithARecordThatItsTableDoesNotHoldFailsACheck) {
  RunWith("head -n 1 prepared/run.mscsv > \"$out/run.raw.mscsv\"");
  EXPECT_EQ(m_result.m_signal, SIGABRT);
  EXPECT_THAT(m_result.m_err, HasSubstr("ans.m_scan_no == scanNo"));
}

}  // namespace
}  // namespace tarvek::test
