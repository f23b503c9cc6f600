// The binary pair and the MGF, read back with tarvek's readers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "Extraction.h"
#include "ExtractorOptions.h"
#include "ExtractorTestSupport.h"
#include "MsTextReader.h"
#include "MsbReader.h"
#include "ScanSinks.h"

namespace tarvek::extractor {
namespace {

using test::Cv;
using test::Fragment;
using test::Mzml;
using test::Survey;
using test::TemporaryDirectory;
using test::TestScan;
using testing::HasSubstr;

std::string Extract(const TemporaryDirectory& directory, const std::vector<TestScan>& scans,
                    std::vector<std::string> arguments) {
  test::WriteFile(directory / "run.mzML", Mzml(scans));
  arguments.push_back(directory / "run.mzML");
  const ExtractorOptions options = ParseOptions(arguments);
  std::ostringstream report;
  Marker marker(options);
  extractor::Extract(options, options.m_input, marker, report);
  return report.str();
}

template <class Action>
void Quietly(Action action) {
  tarvek::test::CaptureConsole(action);
}

TestScan FragmentWithIon(const std::string& ion) {
  test::TestPrecursor precursor;
  precursor.m_ions = {ion};
  precursor.m_ref = "scan=1";
  TestScan scan = Fragment(2, precursor);
  scan.m_scan_params += Cv(1000927, "12.5");
  return scan;
}

MS2Spectrum BinaryScan(const TemporaryDirectory& directory) {
  MS2Spectrum scan;
  Quietly([&] {
    MsbReader reader(directory / "run.mzml");
    EXPECT_TRUE(reader.TakeMs2(scan));
  });
  return scan;
}

MS2Spectrum TextScan(const TemporaryDirectory& directory) {
  MS2Spectrum scan;
  Quietly([&] {
    Ms2TextReader reader(directory / "run.ms2", "r");
    EXPECT_TRUE(reader.ReadNext(scan));
  });
  return scan;
}

TEST(BinaryOutput, SaysWhatTheTextSays) {
  const TemporaryDirectory directory;
  TestScan fragment = FragmentWithIon(Cv(1000744, "433.987654321") + Cv(1000041, "3"));
  test::SetPeaks(fragment, {{100.1234567, 10.16}, {200.0, 0.01}, {300.7654321, 2.5}});
  Extract(directory, {Survey(1), fragment}, {"-msb"});
  Extract(directory, {Survey(1), fragment}, {"-ms"});
  const MS2Spectrum binary = BinaryScan(directory);
  const MS2Spectrum text = TextScan(directory);
  EXPECT_EQ(binary.m_scan_no, 2);
  EXPECT_EQ(binary.m_precursor_scan, 1);
  EXPECT_EQ(binary.m_activation_center, text.m_activation_center);
  EXPECT_EQ(binary.m_rt, text.m_rt);
  EXPECT_EQ(binary.m_ion_injection_time, 12.5);
  EXPECT_EQ(binary.m_activation_type, "HCD");
  EXPECT_EQ(binary.m_instrument_type, "FTMS");
  ASSERT_EQ(binary.m_orig_precursors.size(), 1u);
  EXPECT_EQ(binary.m_orig_precursors[0].m_charge, 3);
  EXPECT_EQ(binary.m_orig_precursors[0].m_mz, text.m_orig_precursors[0].m_mz);
  ASSERT_EQ(binary.m_peaks.size(), 2u);
  ASSERT_EQ(text.m_peaks.size(), 2u);
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(binary.m_peaks[i].m_mz, text.m_peaks[i].m_mz);
    EXPECT_EQ(binary.m_peaks[i].m_intensity, text.m_peaks[i].m_intensity);
  }
}

TEST(BinaryOutput, TakesTwoAndTheCentreForAnUnknownCharge) {
  const TemporaryDirectory directory;
  Extract(directory, {Survey(1), FragmentWithIon(Cv(1000744, "433.5"))}, {"-msb"});
  const MS2Spectrum scan = BinaryScan(directory);
  ASSERT_EQ(scan.m_orig_precursors.size(), 1u);
  EXPECT_EQ(scan.m_orig_precursors[0].m_charge, 2);
  EXPECT_EQ(scan.m_orig_precursors[0].m_mz, 500.25);
}

TEST(BinaryOutput, MarksSurveysAndGivesThePositionsOfRecords) {
  const TemporaryDirectory directory;
  Extract(directory, {Survey(1), FragmentWithIon(Cv(1000744, "433.5"))}, {"-msb"});
  const std::string table = test::ReadFile(directory / "run.mzml.mscsv");
  // two peaks: 8 + 2 x 16 bytes
  EXPECT_THAT(table, HasSubstr("1\t-1\t0.00000\t30.0000\t0.0000\t\tFTMS\t2\t0\t40\t0\t0\n"));
  EXPECT_THAT(table, HasSubstr("\t2\t40\t80\t2\t500.25\n"));
  EXPECT_EQ(test::ReadFile(directory / "run.mzml.msb").size(), 80u);
}

TEST(BinaryOutput, KeepsTheTenThousandMostIntensePeaks) {
  const TemporaryDirectory directory;
  std::vector<Peak> peaks;
  for (int i = 0; i < 10'050; ++i) peaks.push_back({100.0 + i * 0.1, 1.0 + (i * 7919 % 10'050)});
  TestScan scan = Survey(1);
  test::SetPeaks(scan, peaks);
  EXPECT_THAT(Extract(directory, {scan}, {"-msb"}),
              HasSubstr("1 scans cut to their 10000 most intense peaks"));
  MS1Spectrum read;
  Quietly([&] {
    MsbReader reader(directory / "run.mzml");
    ASSERT_TRUE(reader.TakeMs1(read));
  });
  ASSERT_EQ(read.m_peaks.size(), 10'000u);
  for (const Peak& peak : read.m_peaks) EXPECT_GT(peak.m_intensity, 50.0);
}

TEST(BinaryOutput, TextKeepsAllPeaks) {
  const TemporaryDirectory directory;
  TestScan scan = Survey(1);
  test::SetPeaks(scan, std::vector<Peak>(10'001, {100.0, 1.0}));
  Extract(directory, {scan}, {});
  EXPECT_EQ(test::LinesFrom(test::ReadFile(directory / "run.ms1"), "100").size(), 10'001u);
}

TEST(KeepMostIntense, KeepsTheFirstOfEqualOnesInOrder) {
  std::vector<Peak> peaks = {{1.0, 5.0}, {2.0, 3.0}, {3.0, 3.0}, {4.0, 9.0}, {5.0, 3.0}};
  KeepMostIntense(peaks, 3);
  ASSERT_EQ(peaks.size(), 3u);
  EXPECT_EQ(peaks[0].m_mz, 1.0);
  EXPECT_EQ(peaks[1].m_mz, 2.0);
  EXPECT_EQ(peaks[2].m_mz, 4.0);
}

TEST(MgfOutput, HoldsTheDeclaredPrecursors) {
  const TemporaryDirectory directory;
  test::TestPrecursor precursor;
  precursor.m_ions = {Cv(1000744, "500.5") + Cv(1000041, "2"),
                      Cv(1000744, "433.9") + Cv(1000041, "3")};
  Extract(directory, {Survey(1), Fragment(2, precursor)}, {"-mgf"});
  EXPECT_EQ(test::ReadFile(directory / "run.mgf"),
            "BEGIN IONS\nTITLE=run.2.2.2.0.dta\nCHARGE=2+\nRTINSECONDS=30.0000000\n"
            "PEPMASS=500.500000\n400.25000 10.0\n401.50000 20.0\nEND IONS\n"
            "BEGIN IONS\nTITLE=run.2.2.3.1.dta\nCHARGE=3+\nRTINSECONDS=30.0000000\n"
            "PEPMASS=433.900000\n400.25000 10.0\n401.50000 20.0\nEND IONS\n");
}

TEST(MgfOutput, HasNoChargeLineForAnUnknownChargeAndASignInNegativeMode) {
  const TemporaryDirectory directory;
  TestScan negative = Fragment(2);
  negative.m_params += Cv(1000129);
  test::TestPrecursor unknown;
  unknown.m_ions = {Cv(1000744, "300")};
  Extract(directory, {negative, Fragment(3, unknown)}, {"-mgf"});
  const std::string mgf = test::ReadFile(directory / "run.mgf");
  EXPECT_THAT(mgf, HasSubstr("TITLE=run.2.2.-2.0.dta\nCHARGE=2-\n"));
  EXPECT_THAT(mgf, HasSubstr("TITLE=run.3.3.0.0.dta\nRTINSECONDS"));
}

}  // namespace
}  // namespace tarvek::extractor
