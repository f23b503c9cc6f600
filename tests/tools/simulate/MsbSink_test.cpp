#include "simulate/FileSink.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "MsTextReader.h"
#include "MsbReader.h"
#include "ScanTable.h"
#include "TestSupport.h"
#include "simulate/Acquisition.h"

namespace tarvek::tools {
namespace {

namespace fs = std::filesystem;
using test::MessageOf;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;

/// Both analysers, unknown charges, three ways to fragment.
SimulateOptions MixedOptions(bool is_negative = false) {
  SimulateOptions options;
  options.m_ms2_scans = 300;
  options.m_ion_trap_share = 0.3;
  options.m_is_negative = is_negative;
  options.m_methods = {{"HCD", "FTMS"}, {"CID", "ITMS"}, {"ETHCD", "FTMS"}};
  return options;
}

void SimulateText(const SimulateOptions& options, const std::string& base) {
  const auto sink = MakeTextSink(base);
  SimulateRun(options, *sink);
}

void SimulateMsb(const SimulateOptions& options, const std::string& base) {
  const auto sink = MakeMsbSink(base);
  SimulateRun(options, *sink);
}

/// The records that the readers of both forms return.
struct ReadScans {
  std::vector<MS1Spectrum> m_surveys;
  std::vector<MS2Spectrum> m_fragments;
};

ReadScans ReadText(const std::string& base) {
  ReadScans scans;
  test::CaptureConsole([&] {
    Ms1TextReader ms1(base + ".ms1", "r");
    for (MS1Spectrum scan; ms1.ReadNext(scan);) scans.m_surveys.push_back(scan);
    Ms2TextReader ms2(base + ".ms2", "r");
    for (MS2Spectrum scan; ms2.ReadNext(scan);) scans.m_fragments.push_back(scan);
  });
  return scans;
}

ReadScans ReadMsb(const std::string& base) {
  ReadScans scans;
  test::CaptureConsole([&] {
    MsbReader reader(base);
    for (MS1Spectrum scan; reader.TakeMs1(scan);) scans.m_surveys.push_back(scan);
    for (MS2Spectrum scan; reader.TakeMs2(scan);) scans.m_fragments.push_back(scan);
  });
  return scans;
}

void ExpectEqualPeaks(const std::vector<Peak>& one, const std::vector<Peak>& other) {
  ASSERT_EQ(one.size(), other.size());
  for (std::size_t i = 0; i < one.size(); ++i) {
    ASSERT_EQ(one[i].m_mz, other[i].m_mz) << "peak " << i;
    ASSERT_EQ(one[i].m_intensity, other[i].m_intensity) << "peak " << i;
  }
}

/// The text format knows only FT and IT.
template <class Spectrum>
void ExpectEqualCommonFields(const Spectrum& binary, const Spectrum& text) {
  EXPECT_EQ(binary.m_scan_no, text.m_scan_no);
  EXPECT_EQ(binary.m_rt, text.m_rt);
  EXPECT_EQ(binary.m_ion_injection_time, text.m_ion_injection_time);
  EXPECT_EQ(binary.m_instrument_type, text.m_instrument_type + "MS");
  ExpectEqualPeaks(binary.m_peaks, text.m_peaks);
}

class MsbBesideText : public testing::TestWithParam<bool> {};

TEST_P(MsbBesideText, GivesTheSameRecordsToTheLastBit) {
  const TemporaryDirectory directory;
  SimulateText(MixedOptions(GetParam()), directory / "text");
  SimulateMsb(MixedOptions(GetParam()), directory / "binary");
  const ReadScans text = ReadText(directory / "text");
  const ReadScans binary = ReadMsb(directory / "binary");
  ASSERT_EQ(binary.m_surveys.size(), text.m_surveys.size());
  for (std::size_t i = 0; i < text.m_surveys.size(); ++i)
    ExpectEqualCommonFields(binary.m_surveys[i], text.m_surveys[i]);
  ASSERT_EQ(binary.m_fragments.size(), 300u);
  ASSERT_EQ(text.m_fragments.size(), 300u);
  for (std::size_t i = 0; i < text.m_fragments.size(); ++i) {
    const MS2Spectrum& one = binary.m_fragments[i];
    const MS2Spectrum& other = text.m_fragments[i];
    ExpectEqualCommonFields(one, other);
    EXPECT_EQ(one.m_precursor_scan, other.m_precursor_scan);
    EXPECT_EQ(one.m_activation_center, other.m_activation_center);
    EXPECT_EQ(one.m_activation_type, other.m_activation_type);
    ASSERT_EQ(one.m_orig_precursors.size(), 1u);
    ASSERT_EQ(other.m_orig_precursors.size(), 1u);
    EXPECT_EQ(one.m_orig_precursors[0].m_mz, other.m_orig_precursors[0].m_mz);
    EXPECT_EQ(one.m_orig_precursors[0].m_charge, other.m_orig_precursors[0].m_charge);
  }
}
TEST_P(MsbBesideText, ComesWithTheSameTruth) {
  const TemporaryDirectory directory;
  SimulateText(MixedOptions(GetParam()), directory / "text");
  SimulateMsb(MixedOptions(GetParam()), directory / "binary");
  EXPECT_TRUE(ReadFile(directory / "text.truth.tsv") == ReadFile(directory / "binary.truth.tsv"));
}
INSTANTIATE_TEST_SUITE_P(Polarities, MsbBesideText, testing::Bool());

MS1Spectrum Survey(std::size_t peaks) {
  MS1Spectrum scan;
  scan.m_scan_no = 7;
  scan.m_rt = 12.34567;
  scan.m_ion_injection_time = 1.5;
  scan.m_instrument_type = "FTMS";
  for (std::size_t i = 0; i < peaks; ++i)
    scan.m_peaks.push_back({400.0 + 0.01 * static_cast<double>(i), 100.0});
  return scan;
}

MS2Spectrum Fragments(const Precursor& declared) {
  MS2Spectrum scan;
  scan.m_scan_no = 8;
  scan.m_precursor_scan = 7;
  scan.m_activation_center = 650.3211114;
  scan.m_rt = 13.0;
  scan.m_ion_injection_time = 60.0;
  scan.m_activation_type = "HCD";
  scan.m_instrument_type = "ITMS";
  scan.m_orig_precursors = {declared};
  scan.m_peaks = {{175.1189524, 20431.57}, {200.0, 0.04}, {210.5, 3.25}};
  return scan;
}

constexpr const char* kTableHeader =
    "ScanNo\tPrecursorScan\tactivationCenter\tRetTime\tIonInjectionTime\tactivationType\t"
    "InstrumentType\tNumberofPeaks\tStartPos\tEndPos\tlowerCharge\tmonoIsotopicMz\n";

/// The table of a sink that took one survey of two peaks and one fragment scan.
std::string TableOf(const Precursor& declared) {
  const TemporaryDirectory directory;
  const auto sink = MakeMsbSink(directory / "run");
  sink->TakeSurvey(Survey(2));
  sink->TakeFragments(Fragments(declared), {});
  sink->Complete();
  return ReadFile(directory / "run.mscsv");
}

// 8 + 16 * 2 bytes each. Mass with one proton: 2 * 650.25 - 1.007276 = 1299.492724, with five
// decimals 1299.49272, so the m/z is (1299.49272 + 1.007276) / 2 = 650.249998.
TEST(MsbSink, WritesARowOfTwelveColumnsForEveryScan) {
  const std::string table = TableOf({650.25, -2});
  const std::string expected_start =
      std::string(kTableHeader) +
      "7\t-1\t0.00000\t12.3457\t1.5000\t\tFTMS\t2\t0\t40\t0\t0\n"
      "8\t7\t650.32111\t13.0000\t60.0000\tHCD\tITMS\t2\t40\t80\t2\t650.249998";
  EXPECT_EQ(table.substr(0, expected_start.size()), expected_start);
}
TEST(MsbSink, WritesAnUnknownChargeAsTwoAtTheActivationCentre) {
  const std::string table = TableOf({651.0, 0});
  EXPECT_EQ(table.substr(table.rfind("80\t")), "80\t2\t650.32111\n");
}

TEST(MsbSink, LeavesOutPeaksWhoseIntensityRoundsToNothing) {
  const TemporaryDirectory directory;
  const auto sink = MakeMsbSink(directory / "run");
  sink->TakeFragments(Fragments({650.25, 2}), {});
  sink->Complete();
  const std::vector<Peak> peaks = ReadMsb(directory / "run").m_fragments.at(0).m_peaks;
  ASSERT_EQ(peaks.size(), 2u);
  EXPECT_EQ(peaks[0].m_mz, 175.11895);
  EXPECT_EQ(peaks[0].m_intensity, 20431.6);
  EXPECT_EQ(peaks[1].m_mz, 210.5);
  EXPECT_EQ(peaks[1].m_intensity, 3.2);  // 3.25 is a tie, which goes to the even digit
}
TEST(MsbSink, LeavesOutScansWhosePeaksAllRoundToNothing) {
  const TemporaryDirectory directory;
  const auto sink = MakeMsbSink(directory / "run");
  MS1Spectrum survey = Survey(1);
  survey.m_peaks[0].m_intensity = 0.04;
  sink->TakeSurvey(survey);
  sink->Complete();
  EXPECT_EQ(ReadFile(directory / "run.msb"), "");
  EXPECT_EQ(ReadFile(directory / "run.mscsv"), kTableHeader);
}

TEST(MsbSink, TakesTenThousandPeaks) {
  const TemporaryDirectory directory;
  const auto sink = MakeMsbSink(directory / "run");
  sink->TakeSurvey(Survey(10000));
  sink->Complete();
  EXPECT_EQ(ReadMsb(directory / "run").m_surveys.at(0).m_peaks.size(), 10000u);
}
TEST(MsbSink, RefusesMorePeaksAndNamesTheScan) {
  const TemporaryDirectory directory;
  const auto sink = MakeMsbSink(directory / "run");
  EXPECT_EQ(MessageOf([&] { sink->TakeSurvey(Survey(10001)); }),
            "Scan 7 has 10001 peaks, but the msb format holds 10000 at most");
}

TEST(MsbSink, ARunThatDoesNotEndLeavesNothingBehind) {
  const TemporaryDirectory directory;
  { MakeMsbSink(directory / "run")->TakeSurvey(Survey(2)); }
  EXPECT_TRUE(fs::is_empty(directory.Path()));
}
TEST(MsbSink, AnUnwritableTableLeavesNothingBehind) {
  const TemporaryDirectory directory;
  fs::create_directory(directory / "run.mscsv_unfinished");
  EXPECT_EQ(MessageOf([&] { const auto sink = MakeMsbSink(directory / "run"); }),
            "Cannot open MSCSV File, Path: " + directory / "run.mscsv_unfinished");
  EXPECT_FALSE(fs::exists(directory / "run.msb_unfinished"));
}
TEST(MsbSink, LeavesNoTemporaryNames) {
  const TemporaryDirectory directory;
  SimulateMsb(MixedOptions(), directory / "run");
  std::size_t files = 0;
  for (const auto& entry : fs::directory_iterator(directory.Path())) {
    ++files;
    EXPECT_EQ(entry.path().string().find("_unfinished"), std::string::npos);
  }
  EXPECT_EQ(files, 3u);
}

class MsbSinkOnAFullDisk : public testing::TestWithParam<const char*> {};

TEST_P(MsbSinkOnAFullDisk, IsAnErrorThatLeavesFormerFilesAlone) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "needs /dev/full";
  const TemporaryDirectory directory;
  for (const char* name : {"run.msb", "run.mscsv", "run.truth.tsv"})
    WriteFile(directory / name, "old");
  const std::string full = directory / GetParam() + "_unfinished";
  fs::create_symlink("/dev/full", full);
  EXPECT_EQ(MessageOf([&] { SimulateMsb(MixedOptions(), directory / "run"); }),
            "Cannot write " + full);
  for (const char* name : {"run.msb", "run.mscsv", "run.truth.tsv"})
    EXPECT_EQ(ReadFile(directory / name), "old");
}
INSTANTIATE_TEST_SUITE_P(Files, MsbSinkOnAFullDisk,
                         testing::Values("run.msb", "run.mscsv", "run.truth.tsv"));

/// The rows of a table of precursors from MS2Scan on: the names of instruments differ before it.
std::vector<std::string> DeterminedRows(const std::string& path) {
  std::istringstream lines(ReadFile(path));
  std::vector<std::string> rows;
  for (std::string line; std::getline(lines, line);) {
    const std::size_t second = line.find(", ", line.find(", ") + 2);
    rows.push_back(line.substr(second + 2));
  }
  return rows;
}

/// A script instead of the extractor that writes the prepared pair and its marker.
void PlaceExtractor(const TemporaryDirectory& directory) {
  const std::string path = directory / "morvex_raw.exe";
  WriteFile(path,
            "#!/bin/sh\n"
            "while [ \"$1\" != -o ]; do shift; done\n"
            "cp prepared.msb \"$2/run.raw.msb\" && cp prepared.mscsv \"$2/run.raw.mscsv\" &&\n"
            ": > \"$2/run.morvex\"\n");
  fs::permissions(path, fs::perms::owner_all);
}

int RunTarvek(const TemporaryDirectory& directory, const std::string& options) {
  const auto program = fs::path(TARVEK_TOOLS_PROGRAM).parent_path() / "tarvek";
  const std::string command =
      "cd '" + directory.Path() + "' && '" + program.string() + "' " + options +
      " -p 0 -m 0 -I " TARVEK_SOURCE_DIR "/data/IPV.txt >out.txt 2>&1 </dev/null";
  return std::system(command.c_str());
}

TEST(MsbSink, LetsTarvekDetermineWhatItDeterminesFromTheText) {
  if (!fs::exists(fs::path(TARVEK_TOOLS_PROGRAM).parent_path() / "tarvek"))
    GTEST_SKIP() << "needs the program tarvek beside the tools";
  const TemporaryDirectory directory;
  fs::create_directory(directory / "out");
  SimulateText(MixedOptions(), directory / "run");
  SimulateMsb(MixedOptions(), directory / "prepared");
  PlaceExtractor(directory);
  WriteFile(directory / "run.raw", "");
  ASSERT_EQ(RunTarvek(directory, "-D run.ms1 -F ms1"), 0) << ReadFile(directory / "out.txt");
  ASSERT_EQ(RunTarvek(directory, "-D run.raw -F raw -O out -b 1"), 0)
      << ReadFile(directory / "out.txt");
  const std::vector<std::string> from_text = DeterminedRows(directory / "run.csv");
  EXPECT_EQ(from_text.size(), 301u);
  EXPECT_EQ(DeterminedRows(directory / "out/run.csv"), from_text);
}

}  // namespace
}  // namespace tarvek::tools
