#include "MsTextReader.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <vector>

#include "IoTestSupport.h"
#include "Logger.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;
using test::Describe;
using test::MessageOf;
using test::TemporaryDirectory;
using test::WriteFile;

template <class Reader, class Spectrum>
std::vector<Spectrum> ReadAll(const std::string& content, std::string* warnings = nullptr) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run", content);
  std::vector<Spectrum> scans;
  const auto console = CaptureConsole([&] {
    Reader reader(directory / "run", "r", logMessage);
    Spectrum scan;
    while (reader.ReadNext(scan)) scans.push_back(scan);
    EXPECT_EQ(reader.RecordCount(), static_cast<std::int32_t>(scans.size()));
    reader.Finish();
  });
  if (warnings != nullptr) *warnings = console.m_err;
  return scans;
}

std::vector<MS1Spectrum> ReadMs1(const std::string& content) {
  return ReadAll<Ms1TextReader, MS1Spectrum>(content);
}

std::vector<MS2Spectrum> ReadMs2(const std::string& content, std::string* warnings = nullptr) {
  return ReadAll<Ms2TextReader, MS2Spectrum>(content, warnings);
}

/// The only scan of content; a default record when there is not exactly one.
MS2Spectrum OnlyMs2(const std::string& content) {
  const std::vector<MS2Spectrum> scans = ReadMs2(content);
  EXPECT_EQ(scans.size(), 1u);
  return scans.size() == 1 ? scans.front() : MS2Spectrum{};
}

std::string PrecursorsOf(const std::string& charge_lines) {
  return Describe(
      OnlyMs2("S\t1\t1\nI\tActivationCenter\t445.12\n" + charge_lines + "100 5\n").m_precursors);
}

std::string Precursors(const std::vector<Precursor>& precursors) { return Describe(precursors); }

std::string PeaksOf(const std::string& peak_lines) {
  return Describe(OnlyMs2("S\t1\t1\n" + peak_lines).m_peaks);
}

std::string Peaks(const std::vector<Peak>& peaks) { return Describe(peaks); }

TEST(Ms2TextReader, TellsScansApartWhoseNumbersAreTooLarge) {
  std::string warnings;
  const std::vector<MS2Spectrum> scans = ReadMs2(
      "S\t3000000000\t3000000000\nZ\t2\t1001.5\n1 1\n"
      "S\t3000000000\t3000000000\nZ\t3\t1001.5\n2 2\n"
      "S\t3000000001\t3000000001\n3 3\nS\t2147483647\t1\n4 4\n",
      &warnings);
  ASSERT_EQ(scans.size(), 3u);
  for (const MS2Spectrum& scan : scans) EXPECT_EQ(scan.m_scan_no, 2147483647);
  EXPECT_EQ(scans[0].m_precursors.size(), 2u);
  EXPECT_EQ(Peaks(scans[0].m_peaks), Peaks({{1, 1}}));
  EXPECT_EQ(Peaks(scans[1].m_peaks), Peaks({{3, 3}}));
  EXPECT_TRUE(warnings.ends_with(
      "run has scan numbers that are too large: each such scan gets the number 2147483647, and "
      "which survey belongs to it is not known.\n"));
  EXPECT_EQ(warnings.find("WARN", warnings.find("WARN") + 1), std::string::npos);
}

TEST(Ms1TextReader, TellsScansApartWhoseNumbersAreTooLarge) {
  EXPECT_EQ(ReadMs1("S\t3000000000\t1\n1 1\nS\t3000000001\t1\n2 2\n").size(), 2u);
}

TEST(Ms1TextReader, NamesItsFileKindWhenTheFileIsMissing) {
  const TemporaryDirectory directory;
  const std::string path = directory / "a.ms1";
  std::string message;
  CaptureConsole([&] { message = MessageOf([&] { Ms1TextReader reader(path, "r"); }); });
  EXPECT_EQ(message, "Cannot open MS1 File, Path: " + path);
}

TEST(Ms2TextReader, NamesItsFileKindWhenTheFileIsMissing) {
  const TemporaryDirectory directory;
  const std::string path = directory / "a.ms2";
  std::string message;
  CaptureConsole([&] { message = MessageOf([&] { Ms2TextReader reader(path, "r"); }); });
  EXPECT_EQ(message, "Cannot open MS2 File, Path: " + path);
}

TEST(Ms1TextReader, ReadsAttributesAndPeaks) {
  const auto scans = ReadMs1(
      "H\tExtractor\tTarvek\nS\t7\t7\nI\tRetTime\t12.5\nI\tIonInjectionTime\t3.25\n"
      "I\tInstrumentType\tFTMS\n400.5 10\n300.25 20.5\n");
  ASSERT_EQ(scans.size(), 1u);
  EXPECT_EQ(Describe(scans[0]),
            Describe(MS1Spectrum{7, 12.5, 3.25, "FT", {{300.25, 20.5}, {400.5, 10.0}}}));
}

TEST(Ms1TextReader, SkipsChargeLinesAndPrecursorAttributes) {
  const auto scans =
      ReadMs1("S\t7\t7\nZ\t2\t0\nI\tPrecursorScan\t6\nI\tActivationType\tHCD\n1 1\n");
  ASSERT_EQ(scans.size(), 1u);
  EXPECT_EQ(Describe(scans[0]), Describe(MS1Spectrum{7, 0.0, 0.0, "", {{1.0, 1.0}}}));
}

TEST(Ms1TextReader, MergesRepeatedBlocksLikeFragmentScans) {
  const auto scans = ReadMs1("S\t7\t7\n1 1\nS\t7\t7\nI\tRetTime\t5\n2 2\nS\t8\t8\n3 3\n");
  ASSERT_EQ(scans.size(), 2u);
  EXPECT_EQ(Describe(scans[0]), Describe(MS1Spectrum{7, 5.0, 0.0, "", {{1.0, 1.0}}}));
  EXPECT_EQ(Describe(scans[1]), Describe(MS1Spectrum{8, 0.0, 0.0, "", {{3.0, 3.0}}}));
}

TEST(Ms2TextReader, ReadsEveryAttribute) {
  const MS2Spectrum scan = OnlyMs2(
      "S\t9\t9\t500.3\nI\tRetTime\t12.5\nI\tIonInjectionTime\t3.25\nI\tInstrumentType\tITMS\n"
      "I\tActivationType\tHCD\nI\tActivationCenter\t500.3\nI\tPrecursorScan\t8\nZ\t1\t600.5\n"
      "100 5\n");
  EXPECT_EQ(Describe(scan),
            Describe(MS2Spectrum{
                9, 8, 500.3, 12.5, 3.25, "HCD", "IT", {{600.5, 1}}, {{600.5, 1}}, {{100.0, 5.0}}}));
}

TEST(Ms2TextReader, SkipsUnknownAttributesAndLines) {
  const MS2Spectrum scan =
      OnlyMs2("S\t9\t9\nI\tBasePeak\t5\nI\tXyz\t1\nD\tabc\n\n-5 7\n 8 9\n100 5\nI\n");
  EXPECT_EQ(Describe(scan), Describe(MS2Spectrum{9, 0, 0, 0, 0, "", "", {}, {}, {{100.0, 5.0}}}));
}

TEST(Ms2TextReader, TrimsTheActivationType) {
  EXPECT_EQ(OnlyMs2("S\t1\t1\nI\tActivationType\t \tET HCD \r\n1 1\n").m_activation_type, "ET HCD");
}

TEST(Ms2TextReader, ReplacesAChargeBelowOneByTwo) {
  // (1001.5 + 1.007276) / 2 = 501.253638
  EXPECT_EQ(PrecursorsOf("Z\t0\t1001.5\n"), Precursors({{(1001.5 + 1.007276) / 2, 2}}));
  EXPECT_NEAR((1001.5 + 1.007276) / 2, 501.253638, 1e-9);
  EXPECT_EQ(PrecursorsOf("Z\t-3\t1001.5\n"), Precursors({{(1001.5 + 1.007276) / 2, 2}}));
}

TEST(Ms2TextReader, TakesTheActivationCenterWhenTheMassIsAbsent) {
  EXPECT_EQ(PrecursorsOf("Z\t3\t0\n"), Precursors({{445.12, 3}}));
  EXPECT_EQ(PrecursorsOf("Z\t3\t0.0000009\n"), Precursors({{445.12, 3}}));
  EXPECT_EQ(PrecursorsOf("Z\t3\t-0.0000009\n"), Precursors({{445.12, 3}}));
  EXPECT_EQ(PrecursorsOf("Z\t3\n"), Precursors({{445.12, 3}}));
  EXPECT_EQ(PrecursorsOf("Z\n"), Precursors({{445.12, 2}}));
}

TEST(Ms2TextReader, TakesAMassAtTheToleranceAsItIs) {
  EXPECT_EQ(PrecursorsOf("Z\t1\t0.000001\n"), Precursors({{1e-6, 1}}));
}

TEST(Ms2TextReader, RemovesAPrecursorWithoutMzWithAWarning) {
  std::string warnings;
  const auto scans = ReadMs2("S\t5\t5\nZ\t2\t0\nZ\t2\t1001.5\n1 1\n", &warnings);
  ASSERT_EQ(scans.size(), 1u);
  EXPECT_EQ(Describe(scans[0].m_precursors), Precursors({{(1001.5 + 1.007276) / 2, 2}}));
  EXPECT_EQ(Describe(scans[0].m_orig_precursors), Describe(scans[0].m_precursors));
  EXPECT_EQ(
      warnings,
      "[Tarvek] <WARN> - Scan 5 has incorrect precursor infomation, skipping this precursor...\n");
}

TEST(Ms2TextReader, DropsPeaksOfIntensityUpToTheTolerance) {
  EXPECT_EQ(PeaksOf("100 0\n200 0.000001\n300 1e-6\n400 1.0001e-6\n500 -4\n"),
            Peaks({{400.0, 1.0001e-6}}));
}

TEST(Ms2TextReader, SplitsPeakLinesAtSingleBlanks) {
  EXPECT_EQ(PeaksOf("100 5 77\n200  6\n300\n400\t7\n500 8\n"), Peaks({{100.0, 5.0}, {500.0, 8.0}}));
}

TEST(Ms2TextReader, ReadsLenientNumbers) {
  EXPECT_EQ(PeaksOf("100.5x 5e1y\n2,5 7\n300 abc\n0x10 +3\n4e2 1\n"),
            Peaks({{2.0, 7.0}, {16.0, 3.0}, {100.5, 50.0}, {400.0, 1.0}}));
}

TEST(Ms2TextReader, KeepsTheOrderOfPeaksOfEqualMz) {
  EXPECT_EQ(PeaksOf("200 1\n100 2\n200 3\n100 4\n"),
            Peaks({{100.0, 2.0}, {100.0, 4.0}, {200.0, 1.0}, {200.0, 3.0}}));
}

TEST(Ms2TextReader, ShortensInstrumentTypes) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"QTOF", "FT"}, {"FTMS", "FT"}, {"ITMS", "IT"}, {"TOFMS", "Unknown"}, {"", "Unknown"}};
  for (const auto& [text, stored] : cases) {
    SCOPED_TRACE(text);
    EXPECT_EQ(OnlyMs2("S\t1\t1\nI\tInstrumentType\t" + text + "\n1 1\n").m_instrument_type, stored);
  }
}

TEST(Ms2TextReader, TellsKeysByTheirFixedCharacters) {
  const MS2Spectrum scan = OnlyMs2("S\t1\t1\nI\tRabcdef\t4.5\nI\tAbcdefghijCxxxxx\t77.5\n1 1\n");
  EXPECT_EQ(scan.m_rt, 4.5);
  EXPECT_EQ(scan.m_activation_center, 77.5);
}

TEST(Ms2TextReader, ReadsAttributeLinesThatAreCutShort) {
  const MS2Spectrum scan =
      OnlyMs2("S\t1\t1\nI\tR\nI\tIo\nI\tIn\nI\tA\nI\tActivationT\nI\tP\nI\t\n1 1\n");
  EXPECT_EQ(Describe(scan),
            Describe(MS2Spectrum{1, 0, 0, 0, 0, "", "Unknown", {}, {}, {{1.0, 1.0}}}));
}

TEST(Ms2TextReader, ReturnsTheLastScanOfTheFile) {
  EXPECT_EQ(ReadMs2("S\t1\t1\n1 1\nS\t2\t2\n2 2").size(), 2u);
}

TEST(Ms2TextReader, DoesNotReturnATrailingBlockWithoutPeaks) {
  EXPECT_EQ(ReadMs2("S\t1\t1\n1 1\nS\t2\t2\nZ\t2\t900\n").size(), 1u);
}

TEST(Ms2TextReader, KeepsReturningFalseAtTheEnd) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run", "S\t1\t1\n1 1\n");
  CaptureConsole([&] {
    Ms2TextReader reader(directory / "run", "r");
    MS2Spectrum scan;
    EXPECT_TRUE(reader.ReadNext(scan));
    EXPECT_FALSE(reader.ReadNext(scan));
    EXPECT_FALSE(reader.ReadNext(scan));
    EXPECT_EQ(reader.RecordCount(), 1);
  });
}

TEST(Ms2TextReader, MergesConsecutiveBlocksOfOneScan) {
  const MS2Spectrum scan = OnlyMs2(
      "S\t100\t100\nI\tActivationCenter\t450.5\nI\tPrecursorScan\t99\nI\tActivationType\tHCD\n"
      "Z\t2\t1001.5\n1 1\n2 2\n"
      "S\t100\t100\nI\tActivationCenter\t999\nI\tPrecursorScan\t98\nI\tActivationType\tCID\n"
      "Z\t1\t700\n3 3\n");
  EXPECT_EQ(Describe(scan.m_precursors), Precursors({{(1001.5 + 1.007276) / 2, 2}, {700.0, 1}}));
  EXPECT_EQ(Describe(scan.m_peaks), Peaks({{1.0, 1.0}, {2.0, 2.0}}));
  EXPECT_EQ(scan.m_activation_center, 450.5);
  EXPECT_EQ(scan.m_precursor_scan, 99);
  EXPECT_EQ(scan.m_activation_type, "HCD");
}

TEST(Ms2TextReader, AppliesCommonAttributesOfARepeatedBlock) {
  const MS2Spectrum scan = OnlyMs2(
      "S\t1\t1\nI\tRetTime\t1\n1 1\nS\t1\t1\nI\tRetTime\t2\nI\tIonInjectionTime\t3\n"
      "I\tInstrumentType\tIT\n");
  EXPECT_EQ(scan.m_rt, 2.0);
  EXPECT_EQ(scan.m_ion_injection_time, 3.0);
  EXPECT_EQ(scan.m_instrument_type, "IT");
}

TEST(Ms2TextReader, EndsARepeatedBlockAtAnotherScanNumber) {
  const auto scans = ReadMs2("S\t1\t1\nS\t1\t1\n1 1\nS\t2\t2\n2 2\nI\tPrecursorScan\t1\n");
  ASSERT_EQ(scans.size(), 1u);
  EXPECT_EQ(Describe(scans[0]), Describe(MS2Spectrum{2, 1, 0, 0, 0, "", "", {}, {}, {{2.0, 2.0}}}));
}

TEST(Ms2TextReader, CarriesWhatABlockWithoutPeaksDeclaredToTheNextScan) {
  const MS2Spectrum scan = OnlyMs2(
      "S\t1\t1\nI\tRetTime\t5\nI\tActivationType\tCID\nZ\t1\t700\nS\t2\t2\nZ\t1\t800\n2 2\n");
  EXPECT_EQ(scan.m_scan_no, 2);
  EXPECT_EQ(scan.m_rt, 5.0);
  EXPECT_EQ(scan.m_activation_type, "CID");
  EXPECT_EQ(Describe(scan.m_precursors), Precursors({{700.0, 1}, {800.0, 1}}));
}

TEST(Ms2TextReader, StartsEveryScanFromAFreshRecord) {
  const auto scans = ReadMs2(
      "S\t1\t1\nI\tRetTime\t5\nI\tActivationType\tCID\nI\tPrecursorScan\t1\nZ\t1\t700\n1 1\n"
      "S\t2\t2\n2 2\n");
  ASSERT_EQ(scans.size(), 2u);
  EXPECT_EQ(Describe(scans[1]), Describe(MS2Spectrum{2, 0, 0, 0, 0, "", "", {}, {}, {{2.0, 2.0}}}));
}

TEST(Ms2TextReader, TakesScanZeroForAnOrdinaryScan) {
  const auto scans = ReadMs2("S\t0\t0\n1 1\nS\t0\t0\n2 2\nS\t1\t1\n3 3\nS\t0\t0\n4 4\n");
  ASSERT_EQ(scans.size(), 3u);
  EXPECT_EQ(Describe(scans[0].m_peaks), Peaks({{1.0, 1.0}}));
  EXPECT_EQ(scans[1].m_scan_no, 1);
  EXPECT_EQ(scans[2].m_scan_no, 0);
}

TEST(Ms2TextReader, GivesPeaksBeforeTheFirstScanLineTheirOwnRecord) {
  const auto scans = ReadMs2("1 1\nS\t0\t0\n2 2\n");
  ASSERT_EQ(scans.size(), 2u);
  EXPECT_EQ(Describe(scans[0].m_peaks), Peaks({{1.0, 1.0}}));
  EXPECT_EQ(Describe(scans[1].m_peaks), Peaks({{2.0, 2.0}}));
}

TEST(Ms2TextReader, ReadsTheScanNumberFromTheFirstFieldAfterS) {
  EXPECT_EQ(OnlyMs2("S\t12\t13\t500\n1 1\n").m_scan_no, 12);
}

TEST(Ms2TextReader, ReadsBackWhatWasWrittenAsText) {
  constexpr unsigned kSeed = 7;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  std::uniform_int_distribution<int> milli(1000, 2000000);
  std::string text;
  std::vector<MS2Spectrum> written;
  for (int scan_no = 1; scan_no <= 50; ++scan_no) {
    MS2Spectrum scan{scan_no,
                     scan_no - 1,
                     milli(random) / 1000.0,
                     milli(random) / 1000.0,
                     milli(random) / 1000.0,
                     "HCD",
                     "FT",
                     {},
                     {},
                     {}};
    for (int i = milli(random) % 40; i >= 0; --i)
      scan.m_peaks.push_back({milli(random) / 1000.0, milli(random) / 1000.0});
    scan.m_precursors = scan.m_orig_precursors = {{milli(random) / 1000.0, 1}};
    char line[256];
    std::snprintf(line, sizeof line,
                  "S\t%d\t%d\t%.3f\nI\tRetTime\t%.3f\nI\tIonInjectionTime\t%.3f\n"
                  "I\tInstrumentType\tFTMS\nI\tActivationType\tHCD\nI\tActivationCenter\t%.3f\n"
                  "I\tPrecursorScan\t%d\nZ\t1\t%.3f\n",
                  scan_no, scan_no, scan.m_activation_center, scan.m_rt, scan.m_ion_injection_time,
                  scan.m_activation_center, scan.m_precursor_scan, scan.m_precursors[0].m_mz);
    text += line;
    for (const Peak& peak : scan.m_peaks) {
      std::snprintf(line, sizeof line, "%.3f %.3f\n", peak.m_mz, peak.m_intensity);
      text += line;
    }
    SortByMz(scan.m_peaks);
    written.push_back(scan);
  }
  const auto scans = ReadMs2(text);
  ASSERT_EQ(scans.size(), written.size());
  for (std::size_t i = 0; i < scans.size(); ++i)
    EXPECT_EQ(Describe(scans[i]), Describe(written[i]));
}

}  // namespace
}  // namespace tarvek
