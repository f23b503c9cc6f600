#include "MgfReader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "IoTestSupport.h"
#include "Logger.h"
#include "MgfWriter.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;
using test::MessageOf;
using test::TemporaryDirectory;

struct MgfContent {
  std::vector<MS2Spectrum> m_scans;
  std::string m_warnings;
  std::int32_t m_record_count = 0;
};

MgfContent ReadMgf(const std::string& text) {
  const TemporaryDirectory directory;
  test::WriteFile(directory / "a.mgf", text);
  MgfContent content;
  const auto console = CaptureConsole([&] {
    MgfReader reader(directory / "a.mgf", "r", logMessage);
    MS2Spectrum scan;
    while (reader.ReadNext(scan)) content.m_scans.push_back(scan);
    content.m_record_count = reader.RecordCount();
  });
  content.m_warnings = console.m_err;
  return content;
}

std::string ErrorOf(const std::string& text) {
  return MessageOf([&] { ReadMgf(text); });
}

/// "m/z charge" of each precursor of the only scan.
std::string PrecursorsOf(const std::string& text) {
  const MgfContent content = ReadMgf(text);
  if (content.m_scans.size() != 1) return std::to_string(content.m_scans.size()) + " scans";
  std::string precursors;
  for (const Precursor& precursor : content.m_scans[0].m_precursors) {
    char one[64];
    std::snprintf(one, sizeof one, "(%g %d)", precursor.m_mz, precursor.m_charge);
    precursors += one;
  }
  return precursors;
}

std::string PeaksOf(const MS2Spectrum& scan) {
  std::string peaks;
  for (const Peak& peak : scan.m_peaks) {
    char one[64];
    std::snprintf(one, sizeof one, "(%.9g %.9g)", peak.m_mz, peak.m_intensity);
    peaks += one;
  }
  return peaks;
}

const std::string kTitleError =
    "Sorry, Tarvek fail to parse the title of the MGF.\n[Error] Incorrect title format! correct "
    "format should be: \tRAWName.scan.scan.charge.dta\ne.g:\t\thuman_SILAC.2345.2345.2.dta";

std::string Block(int scan_no, const std::string& lines) {
  const std::string number = std::to_string(scan_no);
  return "BEGIN IONS\nTITLE=run1." + number + "." + number + ".2.0.dta\n" + lines + "END IONS\n";
}

TEST(MgfReader, ReadsABlock) {
  const MgfContent content =
      ReadMgf(Block(2345, "CHARGE=3+\nRTINSECONDS=9\nPEPMASS=650.3\n100.5 10\n200.25 5.75\n"));
  ASSERT_EQ(content.m_scans.size(), 1u);
  EXPECT_EQ(content.m_scans[0].m_scan_no, 2345);
  EXPECT_EQ(PeaksOf(content.m_scans[0]), "(100.5 10)(200.25 5.75)");
  EXPECT_EQ(test::Describe(content.m_scans[0].m_precursors),
            test::Describe(std::vector<Precursor>{{650.3, 3}}));
}

TEST(MgfReader, DoesNotReadTheRetentionTimeBack) {
  EXPECT_EQ(ReadMgf(Block(1, "RTINSECONDS=1234.5\nPEPMASS=5\n1 1\n")).m_scans.at(0).m_rt, 0.0);
}

TEST(MgfReader, KeepsACopyOfThePrecursorsAsDeclared) {
  const MS2Spectrum scan = ReadMgf(Block(1, "PEPMASS=5\n1 1\n")).m_scans.at(0);
  EXPECT_EQ(test::Describe(scan.m_orig_precursors), test::Describe(scan.m_precursors));
}

TEST(MgfReader, KeepsAPeakOfExactlyTheSmallestIntensity) {
  const MgfContent content = ReadMgf(Block(1, "PEPMASS=5\n1 1e-6\n2 0.9999e-6\n3 0\n4\n5 1\n"));
  EXPECT_EQ(PeaksOf(content.m_scans.at(0)), "(1 1e-06)(5 1)");
}

TEST(MgfReader, SortsPeaksAndKeepsTheOrderOfEqualOnes) {
  EXPECT_EQ(PeaksOf(ReadMgf(Block(1, "PEPMASS=5\n3 1\n2 2\n3 3\n1 4\n")).m_scans.at(0)),
            "(1 4)(2 2)(3 1)(3 3)");
}

TEST(MgfReader, SplitsPeakLinesAtSingleBlanks) {
  EXPECT_EQ(PeaksOf(ReadMgf(Block(1, "1  6\n2 5 9\n3 4\t8\n")).m_scans.at(0)), "(2 5)(3 4)");
}

TEST(MgfReader, SplitsPeakLinesAtTabsWhenOneComesFirst) {
  EXPECT_EQ(
      PeaksOf(
          ReadMgf(Block(1, "123.4\t567\n124\t8 9\n125\t6\t1+\r\n126\t\t7\n127\t\n")).m_scans.at(0)),
      "(123.4 567)(124 8)(125 6)");
}

TEST(MgfReader, MergesBlocksOfOneScan) {
  const MgfContent content =
      ReadMgf(Block(1, "PEPMASS=5\nCHARGE=2+\n1 1\n") + Block(1, "PEPMASS=6\nCHARGE=3+\n2 2\n"));
  ASSERT_EQ(content.m_scans.size(), 1u);
  EXPECT_EQ(content.m_scans[0].m_precursors.size(), 2u);
  EXPECT_EQ(PeaksOf(content.m_scans[0]), "(1 1)");
}

TEST(MgfReader, StartsAScanAtAnotherNumber) {
  const MgfContent content = ReadMgf(Block(1, "1 1\n") + Block(2, "2 2\n") + Block(1, "3 3\n"));
  ASSERT_EQ(content.m_scans.size(), 3u);
  EXPECT_EQ(content.m_scans[1].m_scan_no, 2);
  EXPECT_EQ(PeaksOf(content.m_scans[1]), "(2 2)");
  EXPECT_EQ(PeaksOf(content.m_scans[2]), "(3 3)");
}

TEST(MgfReader, ReadsScanZero) {
  EXPECT_EQ(PeaksOf(ReadMgf(Block(0, "1 1\n")).m_scans.at(0)), "(1 1)");
}

TEST(MgfReader, DropsAScanWithoutPeaks) {
  EXPECT_EQ(ReadMgf(Block(1, "PEPMASS=5\n")).m_scans.size(), 0u);
}

TEST(MgfReader, ReadsTheSignAfterTheCharge) {
  EXPECT_EQ(PrecursorsOf(Block(1, "PEPMASS=5\nCHARGE=3+\n1 1\n")), "(5 3)");
  EXPECT_EQ(PrecursorsOf(Block(1, "PEPMASS=5\nCHARGE=3-\n1 1\n")), "(5 -3)");
}

TEST(MgfReader, TakesAChargeWithoutSignForPositive) {
  EXPECT_EQ(PrecursorsOf(Block(1, "PEPMASS=5\nCHARGE=3\n1 1\n")), "(5 3)");
}

TEST(MgfReader, TakesTheFirstOfSeveralCharges) {
  EXPECT_EQ(PrecursorsOf(Block(1, "PEPMASS=5\nCHARGE=2+ and 3-\n1 1\n")), "(5 2)");
}

TEST(MgfReader, AssumesChargeTwoWithoutAChargeLine) {
  EXPECT_EQ(PrecursorsOf(Block(1, "PEPMASS=5\n1 1\n")), "(5 2)");
}

TEST(MgfReader, AssumesChargeTwoForAChargeOfZero) {
  EXPECT_EQ(PrecursorsOf(Block(1, "PEPMASS=5\nCHARGE=0+\n1 1\n")), "(5 2)");
}

TEST(MgfReader, TakesTheChargeOfTheBlockBeforeWithinAScan) {
  EXPECT_EQ(PrecursorsOf(Block(1, "PEPMASS=5\nCHARGE=4+\n1 1\n") + Block(1, "PEPMASS=6\n1 1\n")),
            "(5 4)(6 4)");
}

TEST(MgfReader, DoesNotTakeTheChargeOfAnotherScan) {
  const MgfContent content =
      ReadMgf(Block(1, "PEPMASS=5\nCHARGE=4+\n1 1\n") + Block(2, "PEPMASS=6\n1 1\n"));
  EXPECT_EQ(content.m_scans.at(1).m_precursors.at(0).m_charge, 2);
}

TEST(MgfReader, GivesWhatPrecedesATitleToTheBlockOfThatTitle) {
  const MgfContent content =
      ReadMgf(Block(1, "PEPMASS=5\nCHARGE=4+\n1 1\n") +
              "BEGIN IONS\nPEPMASS=6\nCHARGE=3-\nTITLE=a.2\n1 1\nEND IONS\n");
  ASSERT_EQ(content.m_scans.size(), 2u);
  EXPECT_EQ(test::Describe(content.m_scans[0].m_precursors),
            test::Describe(std::vector<Precursor>{{5, 4}}));
  EXPECT_EQ(test::Describe(content.m_scans[1].m_precursors),
            test::Describe(std::vector<Precursor>{{6, -3}}));
}

TEST(MgfReader, ReadsTheFirstNumberOfPepmass) {
  EXPECT_EQ(PrecursorsOf(Block(1, "PEPMASS=500.5 1200\n1 1\n")), "(500.5 2)");
}

TEST(MgfReader, RemovesAPrecursorWithoutMzAndWarns) {
  const MgfContent content = ReadMgf(Block(7, "PEPMASS=0.0000009\n1 1\n"));
  EXPECT_EQ(content.m_scans.at(0).m_precursors.size(), 0u);
  EXPECT_EQ(content.m_scans.at(0).m_orig_precursors.size(), 0u);
  EXPECT_EQ(content.m_warnings,
            "[Tarvek] <WARN> - Scan 7 has incorrect precursor infomation, skipping this "
            "precursor...\n");
}

TEST(MgfReader, AddsNoPrecursorWithoutTheEndOfItsBlock) {
  EXPECT_EQ(PrecursorsOf("BEGIN IONS\nTITLE=a.1\nPEPMASS=5\n1 1\n"), "");
}

TEST(MgfReader, PassesOverOtherKeys) {
  EXPECT_EQ(PrecursorsOf("COM=9\nCLE=Trypsin\nTOL=x\nTOLU=ppm\nCHARGES=x\nPEP=y\n" +
                         Block(1, "TITLES=b.2\nCOMP=x\nEND\nETAG=1\nTITLE b.3\nPEPMASS=5\n1 1\n")),
            "(5 2)");
}

TEST(MgfReader, ReadsTheNumberBetweenTheFirstTwoPoints) {
  EXPECT_EQ(ReadMgf("TITLE=.17\n1 1\n").m_scans.at(0).m_scan_no, 17);
  EXPECT_EQ(ReadMgf("TITLE=a b. 18x.19\n1 1\n").m_scans.at(0).m_scan_no, 18);
}

TEST(MgfReader, RefusesATitleWithoutAScanNumber) {
  EXPECT_EQ(ErrorOf("TITLE=\n"), kTitleError);
  EXPECT_EQ(ErrorOf("TITLE=2345\n"), kTitleError);
  EXPECT_EQ(ErrorOf("TITLE=run1.x.2345.2.dta\n"), kTitleError);
  EXPECT_EQ(ErrorOf("TITLE=run1..2345.2.dta\n"), kTitleError);
}

std::int32_t NumberOf(const std::string& title) {
  return ReadMgf("TITLE=" + title + "\n1 1\n").m_scans.at(0).m_scan_no;
}

TEST(MgfReader, ReadsTheNumberOfOurTitlesFromTheRight) {
  EXPECT_EQ(NumberOf("human_SILAC.2345.2345.2.dta"), 2345);
  EXPECT_EQ(NumberOf("run1.2345.2345.2.0.dta"), 2345);
  EXPECT_EQ(NumberOf("run1.7.7.-2.0.dta\r"), 7);
  EXPECT_EQ(NumberOf("my.run.v2.2345.2345.2.0.dta"), 2345);
  EXPECT_EQ(NumberOf("my.run.v2.2345.2345.-3.dta"), 2345);
  EXPECT_EQ(NumberOf("a.7.8.2345.2345.2.11.dta "), 2345);
  EXPECT_EQ(NumberOf("a.7.7.5.5.2.0.dta"), 5);
  EXPECT_EQ(NumberOf("a.5.5.5.5.5.dta"), 5);
  EXPECT_EQ(NumberOf("a..9.9.2.0.dta"), 9);
}

TEST(MgfReader, ReadsTheSecondFieldOfTitlesThatEndOtherwise) {
  EXPECT_EQ(NumberOf("run1.100.105.2.dta"), 100);
  EXPECT_EQ(NumberOf("run1.8.9.9.2.0.DTA"), 8);
  EXPECT_EQ(NumberOf("run1.8.9.9.2.0.dta 1"), 8);
  EXPECT_EQ(NumberOf("run1.8.9.9.x.0.dta"), 8);
  EXPECT_EQ(NumberOf("run1.8.9.9.2.-1.dta"), 8);
  EXPECT_EQ(NumberOf("run1.8.-9.-9.2.0.dta"), 8);
  EXPECT_EQ(NumberOf("5.5.2.0.dta"), 5);
}

TEST(MgfReader, ReadsBackTitlesOfRunNamesWithDots) {
  const MgfContent content = ReadMgf(
      "BEGIN IONS\nTITLE=a.b.7.7.2.0.dta\nPEPMASS=5\n1 1\nEND IONS\n"
      "BEGIN IONS\nTITLE=a.b.7.7.3.1.dta\nPEPMASS=6\n1 1\nEND IONS\n"
      "BEGIN IONS\nTITLE=a.b.8.8.2.0.dta\nPEPMASS=7\n1 1\nEND IONS\n");
  ASSERT_EQ(content.m_scans.size(), 2u);
  EXPECT_EQ(content.m_scans[0].m_scan_no, 7);
  EXPECT_EQ(content.m_scans[0].m_precursors.size(), 2u);
  EXPECT_EQ(content.m_scans[1].m_scan_no, 8);
}

TEST(MgfReader, RefusesAScanNumberOutOfRange) {
  EXPECT_EQ(ErrorOf("TITLE=run1.2147483648.1.2.dta\n"), kTitleError);
  EXPECT_EQ(ErrorOf("TITLE=a.run.2147483648.2147483648.2.dta\n"), kTitleError);
}

TEST(MgfReader, RefusesAChargeThatIsNoNumber) {
  EXPECT_EQ(ErrorOf(Block(1, "CHARGE=x\n")), kTitleError);
  EXPECT_EQ(ErrorOf(Block(1, "CHARGE=\n")), kTitleError);
  EXPECT_EQ(ErrorOf(Block(1, "CHARGE=+2\n")), kTitleError);
  EXPECT_EQ(ErrorOf(Block(1, "CHARGE=99999999999+\n")), kTitleError);
}

TEST(MgfReader, RefusesAPepmassThatIsNoNumber) {
  EXPECT_EQ(ErrorOf(Block(1, "PEPMASS=x\n")), kTitleError);
  EXPECT_EQ(ErrorOf(Block(1, "PEPMASS=\n")), kTitleError);
  EXPECT_EQ(ErrorOf(Block(1, "PEPMASS=1e999\n")), kTitleError);
}

TEST(MgfReader, CountsScansAndNotBlocks) {
  EXPECT_EQ(ReadMgf(Block(1, "1 1\n") + Block(1, "1 1\n") + Block(2, "1 1\n")).m_record_count, 2);
}

TEST(MgfReader, StaysAtTheEnd) {
  const TemporaryDirectory directory;
  test::WriteFile(directory / "a.mgf", Block(1, "1 1\n"));
  CaptureConsole([&] {
    MgfReader reader(directory / "a.mgf", "r", logMessage);
    MS2Spectrum scan;
    EXPECT_TRUE(reader.ReadNext(scan));
    EXPECT_FALSE(reader.ReadNext(scan));
    EXPECT_FALSE(reader.ReadNext(scan));
    EXPECT_EQ(reader.RecordCount(), 1);
  });
}

TEST(MgfReader, NamesAFileThatCannotBeOpened) {
  std::string message;
  CaptureConsole(
      [&] { message = MessageOf([] { MgfReader reader("no-such-directory/a.mgf", "r"); }); });
  EXPECT_EQ(message, "Cannot open MGF File, Path: no-such-directory/a.mgf");
}

MS2Spectrum Scan(std::int32_t scan_no, std::vector<Precursor> precursors, std::vector<Peak> peaks) {
  MS2Spectrum scan;
  scan.m_scan_no = scan_no;
  scan.m_precursors = std::move(precursors);
  scan.m_peaks = std::move(peaks);
  return scan;
}

TEST(MgfReader, ReadsBackWhatTheWriterWrote) {
  // A negative ion has a negative m/z in memory and a positive one in the file. The writer keeps
  // these decimals exactly: six of a precursor's m/z, five and one of a peak.
  const std::vector<MS2Spectrum> written = {
      Scan(2345, {{650.3, 2}, {433.9, 3}}, {{100.5, 10.0}, {200.25, 5.5}}),
      Scan(2346, {{-500.25, -2}}, {{300.125, 7.0}}),
      Scan(2350, {{700.000001, 4}, {700.5, 1}, {701.5, 6}}, {{99.00001, 0.5}, {101.0, 1000.0}})};
  const TemporaryDirectory directory;
  CaptureConsole([&] {
    MgfWriter writer(directory / "a.mgf", "w+", "run1");
    for (const MS2Spectrum& scan : written) writer.WriteMs2(scan);
    writer.Close();
  });
  const MgfContent content = ReadMgf(test::ReadFile(directory / "a.mgf"));
  ASSERT_EQ(content.m_scans.size(), written.size());
  EXPECT_EQ(content.m_warnings, "");
  for (std::size_t i = 0; i < written.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(content.m_scans[i].m_scan_no, written[i].m_scan_no);
    EXPECT_EQ(test::Describe(content.m_scans[i].m_peaks), test::Describe(written[i].m_peaks));
    std::vector<Precursor> precursors = written[i].m_precursors;
    for (Precursor& precursor : precursors) precursor.m_mz = std::abs(precursor.m_mz);
    EXPECT_EQ(test::Describe(content.m_scans[i].m_precursors), test::Describe(precursors));
  }
}

}  // namespace
}  // namespace tarvek
