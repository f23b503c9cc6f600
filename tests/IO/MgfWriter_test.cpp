#include "MgfWriter.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <sstream>
#include <vector>

#include "IoTestSupport.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;
using test::MessageOf;
using test::ReadFile;
using test::TemporaryDirectory;

std::string MgfOf(const std::vector<MS2Spectrum>& scans, const std::string& title = "run1",
                  PeakDigits digits = {}) {
  const TemporaryDirectory directory;
  CaptureConsole([&] {
    MgfWriter writer(directory / "a.mgf", "w+", title, digits);
    for (const MS2Spectrum& scan : scans) writer.WriteMs2(scan);
    writer.Close();
  });
  return ReadFile(directory / "a.mgf");
}

MS2Spectrum Scan(std::int32_t scan_no, double rt, std::vector<Precursor> precursors,
                 std::vector<Peak> peaks) {
  MS2Spectrum scan;
  scan.m_scan_no = scan_no;
  scan.m_rt = rt;
  scan.m_activation_type = "HCD";
  scan.m_instrument_type = "FTMS";
  scan.m_precursors = std::move(precursors);
  scan.m_peaks = std::move(peaks);
  return scan;
}

TEST(MgfWriter, WritesOneBlockPerPrecursorWithAllPeaks) {
  EXPECT_EQ(MgfOf({Scan(2345, 1234.5, {{650.3, 2}, {433.9, 3}}, {{100.5, 10.0}, {200.25, 5.75}})}),
            "BEGIN IONS\nTITLE=run1.2345.2345.2.0.dta\nCHARGE=2+\nRTINSECONDS=1234.5000000\n"
            "PEPMASS=650.300000\n100.50000 10.0\n200.25000 5.8\nEND IONS\n"
            "BEGIN IONS\nTITLE=run1.2345.2345.3.1.dta\nCHARGE=3+\nRTINSECONDS=1234.5000000\n"
            "PEPMASS=433.900000\n100.50000 10.0\n200.25000 5.8\nEND IONS\n");
}

TEST(MgfWriter, ShowsTheSignOfANegativeIonInTitleAndAfterTheChargeOnly) {
  EXPECT_EQ(MgfOf({Scan(7, 0.0, {{-650.3, -2}}, {})}),
            "BEGIN IONS\nTITLE=run1.7.7.-2.0.dta\nCHARGE=2-\nRTINSECONDS=0.0000000\n"
            "PEPMASS=650.300000\nEND IONS\n");
}

TEST(MgfWriter, WritesChargeZeroAsPositive) {
  EXPECT_NE(MgfOf({Scan(7, 0.0, {{650.3, 0}}, {})}).find("\nCHARGE=0+\n"), std::string::npos);
}

TEST(MgfWriter, WritesTheLowestChargeThereIs) {
  EXPECT_NE(MgfOf({Scan(7, 0.0, {{650.3, std::numeric_limits<std::int32_t>::min()}}, {})})
                .find("\nCHARGE=2147483648-\n"),
            std::string::npos);
}

TEST(MgfWriter, WritesPeaksWithItsDigits) {
  EXPECT_NE(MgfOf({Scan(7, 0.0, {{650.3, 2}}, {{100.123456, 2000.6}})}, "run1", {3, 0})
                .find("\n100.123 2001\nEND IONS\n"),
            std::string::npos);
}

TEST(MgfWriter, KeepsTheOrderOfThePeaks) {
  EXPECT_NE(MgfOf({Scan(7, 0.0, {{650.3, 2}}, {{300.0, 1.0}, {200.0, 1.0}})})
                .find("\n300.00000 1.0\n200.00000 1.0\n"),
            std::string::npos);
}

TEST(MgfWriter, WritesNothingForAScanWithoutPrecursorsButCountsIt) {
  const TemporaryDirectory directory;
  CaptureConsole([&] {
    MgfWriter writer(directory / "a.mgf", "w+", "run1");
    writer.WriteMs2(Scan(7, 0.0, {}, {{300.0, 1.0}}));
    EXPECT_EQ(writer.RecordCount(), 1);
    writer.Close();
  });
  EXPECT_EQ(ReadFile(directory / "a.mgf"), "");
}

TEST(MgfWriter, CountsScansAndNotBlocks) {
  const TemporaryDirectory directory;
  CaptureConsole([&] {
    MgfWriter writer(directory / "a.mgf", "w+", "run1");
    writer.WriteMs2(Scan(7, 0.0, {{500.0, 1}, {600.0, 2}, {700.0, 3}}, {}));
    writer.WriteMs2(Scan(8, 0.0, {{500.0, 1}}, {}));
    EXPECT_EQ(writer.RecordCount(), 2);
  });
}

TEST(MgfWriter, CarriesNothingFromOneScanToTheNext) {
  const MS2Spectrum first = Scan(7, 1.0, {{500.0, 1}}, {{300.0, 1.0}, {301.0, 2.0}});
  const MS2Spectrum second = Scan(8, 2.0, {{600.0, 2}}, {{302.0, 3.0}});
  EXPECT_EQ(MgfOf({first, second}), MgfOf({first}) + MgfOf({second}));
}

TEST(MgfWriter, NamesItsFileKindWhenTheFileCannotBeOpened) {
  std::string message;
  CaptureConsole(
      [&] { message = MessageOf([] { MgfWriter writer("/nowhere/a.mgf", "w+", "run1"); }); });
  EXPECT_EQ(message, "Cannot open MGF File, Path: /nowhere/a.mgf");
}

TEST(MgfWriter, ReportsAFailedWriteWhenItIsClosed) {
  std::string message;
  CaptureConsole([&] {
    MgfWriter writer("/dev/full", "w+", "run1");
    writer.WriteMs2(Scan(7, 0.0, {{500.0, 1}}, {}));
    message = MessageOf([&] { writer.Close(); });
  });
  EXPECT_EQ(message, "Cannot write /dev/full");
}

TEST(MgfWriter, ReportsAFailedWriteOfALargeScanAtOnce) {
  std::string message;
  CaptureConsole([&] {
    MgfWriter writer("/dev/full", "w+", "run1");
    const MS2Spectrum scan = Scan(7, 0.0, {{500.0, 1}}, std::vector<Peak>(100000, {100.0, 1.0}));
    message = MessageOf([&] { writer.WriteMs2(scan); });
  });
  EXPECT_EQ(message, "Cannot write /dev/full");
}

/// The scans of MGF text, read in the simplest way: a block per precursor, the scan number in the
/// second field of the title, the peaks of the first block only.
std::vector<MS2Spectrum> ScansOf(const std::string& mgf) {
  std::vector<MS2Spectrum> scans;
  std::istringstream text(mgf);
  bool is_first_block = false;
  for (std::string line; std::getline(text, line);) {
    if (line.starts_with("TITLE=")) {
      const int scan_no = std::atoi(line.c_str() + line.find('.') + 1);
      is_first_block = scans.empty() || scans.back().m_scan_no != scan_no;
      if (is_first_block) scans.push_back(Scan(scan_no, 0.0, {}, {}));
      scans.back().m_precursors.emplace_back();
    } else if (line.starts_with("CHARGE=")) {
      const int charge = std::atoi(line.c_str() + 7);
      scans.back().m_precursors.back().m_charge = line.back() == '-' ? -charge : charge;
    } else if (line.starts_with("PEPMASS=")) {
      scans.back().m_precursors.back().m_mz = std::strtod(line.c_str() + 8, nullptr);
    } else if (is_first_block && line[0] >= '0' && line[0] <= '9') {
      scans.back().m_peaks.push_back({std::strtod(line.c_str(), nullptr),
                                      std::strtod(line.c_str() + line.find(' '), nullptr)});
    }
  }
  return scans;
}

TEST(MgfWriter, WritesWhatCanBeReadBackAsOneRecordPerScan) {
  const std::vector<MS2Spectrum> written = {
      Scan(7, 0.0, {{500.125, 1}, {600.25, -2}}, {{100.5, 1.5}, {200.25, 2.0}}),
      Scan(8, 0.0, {{700.5, 3}}, {{300.0, 4.0}})};
  const std::vector<MS2Spectrum> read = ScansOf(MgfOf(written));
  ASSERT_EQ(read.size(), 2u);
  EXPECT_EQ(test::Describe(read[0]), test::Describe(written[0]));
  EXPECT_EQ(test::Describe(read[1]), test::Describe(written[1]));
}

TEST(AppendMgfStart, LeavesOutTheChargeLineThatIsNotWanted) {
  std::string text = "before\n";
  AppendMgfStart(text, {.m_title = "run1",
                        .m_scan_no = 7,
                        .m_index = 1,
                        .m_precursor = {650.25, 0},
                        .m_has_charge = false,
                        .m_rt = 1.5});
  EXPECT_EQ(text,
            "before\nBEGIN IONS\nTITLE=run1.7.7.0.1.dta\nRTINSECONDS=1.5000000\n"
            "PEPMASS=650.250000\n");
}

}  // namespace
}  // namespace tarvek
