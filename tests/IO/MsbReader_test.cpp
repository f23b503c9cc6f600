#include "MsbReader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "BinaryPair.h"
#include "IoTestSupport.h"
#include "Logger.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::BinaryScan;
using test::CaptureConsole;
using test::Int32Bytes;
using test::MessageOf;
using test::RealBytes;
using test::TemporaryDirectory;

/// A pair of files in its own directory, and a silent reader for it.
class MsbPair {
 public:
  MsbPair(const std::string& msb, const std::string& mscsv) {
    test::WriteFile(BasePath() + ".msb", msb);
    test::WriteFile(BasePath() + ".mscsv", mscsv);
  }
  explicit MsbPair(const std::vector<BinaryScan>& scans)
      : MsbPair(test::MsbBytes(scans), test::ScanTableText(scans)) {}

  [[nodiscard]] std::string BasePath() const { return m_directory / "run"; }

  /// Calls read with a reader of the pair; returns the message that it throws.
  template <class Read>
  std::string ErrorOf(Read read) const {
    std::string message;
    CaptureConsole([&] {
      message = MessageOf([&] {
        MsbReader reader(BasePath());
        read(reader);
      });
    });
    return message;
  }
  template <class Read>
  void With(Read read) const {
    EXPECT_EQ(ErrorOf(read), test::kNothingThrown);
  }

  [[nodiscard]] std::string ErrorOfReading() const {
    return ErrorOf([](MsbReader& reader) {
      while (reader.ReadNext()) {
      }
    });
  }
  [[nodiscard]] int Records() const {
    int count = 0;
    With([&](MsbReader& reader) {
      while (reader.ReadNext()) ++count;
    });
    return count;
  }

 private:
  TemporaryDirectory m_directory;
};

BinaryScan Survey(int scan_no, std::vector<std::pair<double, double>> peaks) {
  BinaryScan scan;
  scan.m_scan_no = scan_no;
  scan.m_rt = 61.5;
  scan.m_instrument = "FTMS";
  scan.m_peaks = std::move(peaks);
  return scan;
}

BinaryScan Fragments(int scan_no, std::vector<std::pair<double, double>> peaks) {
  BinaryScan scan = Survey(scan_no, std::move(peaks));
  scan.m_precursor_scan = 1;
  scan.m_center = 500.25;
  scan.m_activation = "HCD";
  scan.m_instrument = "ITMS";
  scan.m_charge = 3;
  scan.m_mono_mz = 499.75;
  return scan;
}

std::vector<std::pair<double, double>> ManyPeaks(int count) {
  std::vector<std::pair<double, double>> peaks;
  for (int i = 0; i < count; ++i) peaks.emplace_back(100.0 + i, i);
  return peaks;
}

std::vector<double> MzOf(const std::vector<Peak>& peaks) {
  std::vector<double> mz;
  for (const Peak& peak : peaks) mz.push_back(peak.m_mz);
  return mz;
}

std::vector<double> IntensityOf(const std::vector<Peak>& peaks) {
  std::vector<double> intensity;
  for (const Peak& peak : peaks) intensity.push_back(peak.m_intensity);
  return intensity;
}

TEST(MsbReader, ReadsARecordByteByByte) {
  // Scan 258 with two peaks: m/z 200.25 and 300.5, intensities 5 and 10.
  const std::string msb = std::string("\x02\x01\0\0\x02\0\0\0", 8) + RealBytes(0x4069080000000000) +
                          RealBytes(0x4072C80000000000) + RealBytes(0x4014000000000000) +
                          RealBytes(0x4024000000000000);
  const MsbPair pair(msb, test::ScanTableText({Survey(258, ManyPeaks(2))}));
  pair.With([](MsbReader& reader) {
    MS1Spectrum scan;
    ASSERT_TRUE(reader.TakeMs1(scan));
    EXPECT_EQ(scan.m_scan_no, 258);
    EXPECT_EQ(MzOf(scan.m_peaks), (std::vector<double>{200.25, 300.5}));
    EXPECT_EQ(IntensityOf(scan.m_peaks), (std::vector<double>{5.0, 10.0}));
  });
}

TEST(MsbReader, FillsASurveyFromTheTable) {
  const MsbPair pair(
      test::MsbBytes({Survey(1, {})}),
      "ScanNo\tPrecursorScan\tactivationCenter\tRetTime\tIonInjectionTime\t"
      "activationType\tInstrumentType\tNumberofPeaks\tStartPos\tEndPos\tlowerCharge\t"
      "monoIsotopicMz\n1\t-1\t0\t61.5\t12.75\t\tFTMS\t0\t0\t0\t0\t0\n");
  pair.With([](MsbReader& reader) {
    MS1Spectrum scan;
    ASSERT_TRUE(reader.TakeMs1(scan));
    EXPECT_EQ(scan.m_rt, 61.5);
    EXPECT_EQ(scan.m_ion_injection_time, 12.75);
    EXPECT_EQ(scan.m_instrument_type, "FTMS");
  });
}

TEST(MsbReader, FillsAFragmentScanFromTheTable) {
  const MsbPair pair({Fragments(2, {{150.5, 7.0}})});
  pair.With([](MsbReader& reader) {
    MS2Spectrum scan;
    ASSERT_TRUE(reader.TakeMs2(scan));
    EXPECT_EQ(scan.m_scan_no, 2);
    EXPECT_EQ(scan.m_precursor_scan, 1);
    EXPECT_EQ(scan.m_activation_center, 500.25);
    EXPECT_EQ(scan.m_rt, 61.5);
    EXPECT_EQ(scan.m_activation_type, "HCD");
    EXPECT_EQ(scan.m_instrument_type, "ITMS");
    EXPECT_EQ(MzOf(scan.m_peaks), std::vector<double>{150.5});
  });
}

TEST(MsbReader, GivesTheDeclaredPrecursorTwice) {
  const MsbPair pair({Fragments(2, {{150.5, 7.0}})});
  pair.With([](MsbReader& reader) {
    MS2Spectrum scan;
    ASSERT_TRUE(reader.TakeMs2(scan));
    ASSERT_EQ(scan.m_precursors.size(), 1u);
    EXPECT_EQ(scan.m_precursors[0].m_mz, 499.75);
    EXPECT_EQ(scan.m_precursors[0].m_charge, 3);
    EXPECT_EQ(test::Describe(scan.m_orig_precursors), test::Describe(scan.m_precursors));
  });
}

TEST(MsbReader, KeepsADeclaredPrecursorThatSaysNothing) {
  BinaryScan scan = Fragments(2, {});
  scan.m_charge = 0;
  scan.m_mono_mz = 0.0;
  MsbPair({scan}).With([](MsbReader& reader) {
    MS2Spectrum read;
    ASSERT_TRUE(reader.TakeMs2(read));
    EXPECT_EQ(read.m_precursors.size(), 1u);
  });
}

TEST(MsbReader, TakesASurveyWithAMonoisotopicMzForASurvey) {
  BinaryScan scan = Survey(1, {{150.5, 7.0}});
  scan.m_mono_mz = 499.75;
  scan.m_charge = 2;
  MsbPair({scan}).With([](MsbReader& reader) {
    MS1Spectrum ms1;
    MS2Spectrum ms2;
    EXPECT_TRUE(reader.TakeMs1(ms1));
    EXPECT_FALSE(reader.TakeMs2(ms2));
  });
}

TEST(MsbReader, ReadsARecordWithoutPeaks) {
  MsbPair({Survey(1, {}), Survey(2, {{150.5, 7.0}})}).With([](MsbReader& reader) {
    MS1Spectrum scan;
    ASSERT_TRUE(reader.TakeMs1(scan));
    EXPECT_TRUE(scan.m_peaks.empty());
    ASSERT_TRUE(reader.TakeMs1(scan));
    EXPECT_EQ(scan.m_peaks.size(), 1u);
  });
}

TEST(MsbReader, RefusesARecordWithoutPeaksWhenTheTableHasSome) {
  const MsbPair pair(test::MsbBytes({Survey(1, {})}),
                     test::ScanTableText({Survey(1, {{150.5, 7.0}})}));
  EXPECT_EQ(pair.ErrorOfReading(), "The peak num is not equal!");
}

TEST(MsbReader, ReadsTenThousandPeaks) {
  MsbPair({Survey(1, ManyPeaks(10000))}).With([](MsbReader& reader) {
    MS1Spectrum scan;
    ASSERT_TRUE(reader.TakeMs1(scan));
    ASSERT_EQ(scan.m_peaks.size(), 10000u);
    EXPECT_EQ(scan.m_peaks.back().m_mz, 10099.0);
    EXPECT_EQ(scan.m_peaks.back().m_intensity, 9999.0);
  });
}

TEST(MsbReader, RefusesOnePeakMore) {
  EXPECT_EQ(MsbPair({Survey(1, ManyPeaks(10001))}).ErrorOfReading(), "The peak num is too large!");
}

TEST(MsbReader, RefusesANegativePeakCount) {
  const MsbPair pair(Int32Bytes(1) + Int32Bytes(-1), test::ScanTableText({Survey(1, {})}));
  EXPECT_EQ(pair.ErrorOfReading(), "The peak num is too large!");
}

TEST(MsbReader, EndsNormallyInsideTheHeadOfARecord) {
  const std::vector<BinaryScan> scans = {Survey(1, {{150.5, 7.0}})};
  for (std::size_t rest = 0; rest < 8; ++rest) {
    SCOPED_TRACE(rest);
    const std::string msb = test::MsbBytes(scans);
    EXPECT_EQ(MsbPair(msb + msb.substr(0, rest), test::ScanTableText(scans)).Records(), 1);
  }
}

TEST(MsbReader, RefusesAFileThatEndsInsideTheArrays) {
  const std::vector<BinaryScan> scans = {Survey(1, {{150.5, 7.0}, {160.5, 8.0}})};
  for (std::size_t size = 8; size < 40; ++size) {
    SCOPED_TRACE(size);
    const MsbPair pair(test::MsbBytes(scans).substr(0, size), test::ScanTableText(scans));
    EXPECT_EQ(pair.ErrorOfReading(), "The MSB terminated unexpectly!");
  }
}

TEST(MsbReader, ChecksThatTheTableKnowsTheScan) {
  const std::string failure = "ans.m_scan_no == scanNo, module MsbReader";
  const std::vector<BinaryScan> table = {Survey(1, {}), Survey(2, {}), Survey(5, {})};
  for (const int scan_no : {3, 4, 6, 2000000000, -1}) {
    SCOPED_TRACE(scan_no);
    const MsbPair pair(test::MsbBytes({Survey(scan_no, {})}), test::ScanTableText(table));
    EXPECT_EQ(pair.ErrorOfReading(), failure);
    EXPECT_THROW(CaptureConsole([&] { MsbReader(pair.BasePath()).ReadNext(); }),
                 test::CheckFailure);
  }
}

TEST(MsbReader, ReadsThePeaksBeforeItAsksTheTable) {
  const MsbPair pair(test::MsbBytes({Survey(3, {{150.5, 7.0}})}).substr(0, 20),
                     test::ScanTableText({Survey(1, {})}));
  EXPECT_EQ(pair.ErrorOfReading(), "The MSB terminated unexpectly!");
}

TEST(MsbReader, CountsOneRecordMoreThanThereAre) {
  MsbPair({Survey(1, {}), Survey(2, {})}).With([](MsbReader& reader) {
    EXPECT_EQ(reader.RecordCount(), 0);
    EXPECT_TRUE(reader.ReadNext());
    EXPECT_EQ(reader.RecordCount(), 1);
    EXPECT_TRUE(reader.ReadNext());
    EXPECT_EQ(reader.RecordCount(), 2);
    EXPECT_FALSE(reader.ReadNext());
    EXPECT_EQ(reader.RecordCount(), 3);
  });
}

TEST(MsbReader, CountsTheEndOnceHoweverOftenItIsMet) {
  MsbPair({Survey(1, {})}).With([](MsbReader& reader) {
    MS1Spectrum ms1;
    MS2Spectrum ms2;
    while (reader.ReadNext()) {
    }
    EXPECT_FALSE(reader.ReadNext());
    EXPECT_TRUE(reader.TakeMs1(ms1));
    EXPECT_FALSE(reader.TakeMs1(ms1));
    EXPECT_FALSE(reader.TakeMs2(ms2));
    EXPECT_EQ(reader.RecordCount(), 2);
  });
}

TEST(MsbReader, CountsTheRecordThatIsRefused) {
  MsbPair({Survey(1, ManyPeaks(10001))}).With([](MsbReader& reader) {
    EXPECT_THROW(reader.ReadNext(), std::string);
    EXPECT_EQ(reader.RecordCount(), 1);
  });
}

TEST(MsbReader, KeepsEachLevelInFileOrder) {
  const MsbPair pair({Survey(4, {}), Fragments(9, {}), Fragments(3, {}), Survey(2, {})});
  pair.With([](MsbReader& reader) {
    MS1Spectrum ms1;
    MS2Spectrum ms2;
    std::vector<int> order;
    while (reader.TakeMs2(ms2)) order.push_back(ms2.m_scan_no);
    while (reader.TakeMs1(ms1)) order.push_back(ms1.m_scan_no);
    EXPECT_EQ(order, (std::vector<int>{9, 3, 4, 2}));
  });
}

TEST(MsbReader, ReadsNoFurtherThanTheScanThatIsTaken) {
  MsbPair({Survey(1, {}), Fragments(2, {}), Survey(3, {})}).With([](MsbReader& reader) {
    MS2Spectrum ms2;
    ASSERT_TRUE(reader.TakeMs2(ms2));
    EXPECT_EQ(reader.RecordCount(), 2);
  });
}

TEST(MsbReader, ForgetsWhatTheRecordHeldBefore) {
  MsbPair({Fragments(2, ManyPeaks(5)), Fragments(3, {{150.5, 7.0}})}).With([](MsbReader& reader) {
    MS2Spectrum scan;
    ASSERT_TRUE(reader.TakeMs2(scan));
    ASSERT_TRUE(reader.TakeMs2(scan));
    EXPECT_EQ(MzOf(scan.m_peaks), std::vector<double>{150.5});
    EXPECT_EQ(scan.m_precursors.size(), 1u);
  });
}

TEST(MsbReader, SortsPeaksThatDoNotAscendAndKeepsTheOrderOfEqualOnes) {
  const MsbPair pair({Survey(1, {{300.5, 1.0}, {200.25, 2.0}, {300.5, 3.0}, {100.0, 4.0}})});
  pair.With([](MsbReader& reader) {
    MS1Spectrum scan;
    ASSERT_TRUE(reader.TakeMs1(scan));
    EXPECT_EQ(MzOf(scan.m_peaks), (std::vector<double>{100.0, 200.25, 300.5, 300.5}));
    EXPECT_EQ(IntensityOf(scan.m_peaks), (std::vector<double>{4.0, 2.0, 1.0, 3.0}));
  });
}

TEST(MsbReader, PutsAnMzThatIsNoNumberLast) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  MsbPair({Survey(1, {{300.0, 1.0}, {nan, 2.0}, {200.0, 3.0}})}).With([](MsbReader& reader) {
    MS1Spectrum scan;
    ASSERT_TRUE(reader.TakeMs1(scan));
    EXPECT_EQ(IntensityOf(scan.m_peaks), (std::vector<double>{3.0, 1.0, 2.0}));
  });
}

TEST(MsbReader, KeepsPeaksWithoutIntensity) {
  MsbPair({Survey(1, {{150.5, 0.0}})}).With([](MsbReader& reader) {
    MS1Spectrum scan;
    ASSERT_TRUE(reader.TakeMs1(scan));
    EXPECT_EQ(scan.m_peaks.size(), 1u);
  });
}

TEST(MsbReader, ReadsARunOfManyBlocks) {
  std::vector<BinaryScan> scans;
  for (int scan_no = 1; scan_no <= 200; ++scan_no)
    scans.push_back(Survey(scan_no, ManyPeaks(7 * scan_no)));
  MsbPair(scans).With([](MsbReader& reader) {
    MS1Spectrum scan;
    for (int scan_no = 1; scan_no <= 200; ++scan_no) {
      ASSERT_TRUE(reader.TakeMs1(scan));
      ASSERT_EQ(scan.m_scan_no, scan_no);
      ASSERT_EQ(scan.m_peaks.size(), 7u * static_cast<unsigned>(scan_no));
      ASSERT_EQ(scan.m_peaks.back().m_intensity, 7.0 * scan_no - 1.0);
    }
  });
}

TEST(MsbReader, ReadsAnEmptyFile) { EXPECT_EQ(MsbPair({}).Records(), 0); }

TEST(MsbReader, TellsHowMuchItHasRead) {
  MsbPair({Survey(1, {}), Survey(2, {{150.5, 7.0}})}).With([](MsbReader& reader) {
    EXPECT_EQ(reader.FractionRead(), 0.0);
    reader.ReadNext();
    EXPECT_EQ(reader.FractionRead(), 0.25);  // 8 of 32 bytes
    reader.ReadNext();
    EXPECT_EQ(reader.FractionRead(), 1.0);
  });
}

TEST(MsbReader, NamesTheSpectraThatCannotBeOpened) {
  std::string message;
  CaptureConsole([&] { message = MessageOf([] { MsbReader reader("no-such-directory/run"); }); });
  EXPECT_EQ(message, "Cannot open MSB File, Path: no-such-directory/run.msb");
}

TEST(MsbReader, NamesTheTableThatCannotBeOpened) {
  const TemporaryDirectory directory;
  test::WriteFile(directory / "run.msb", "");
  std::string message;
  CaptureConsole([&] { message = MessageOf([&] { MsbReader reader(directory / "run"); }); });
  EXPECT_EQ(message, "Cannot open MSCSV File, Path: " + (directory / "run.mscsv"));
}

TEST(MsbReader, AnnouncesTheSpectraBeforeTheTableAndReportsItsCountAtTheEnd) {
  const MsbPair pair({Survey(1, {})});
  const std::string info = "[Tarvek] <INFO> - ";
  const std::string msb = pair.BasePath() + ".msb\n";
  const std::string mscsv = pair.BasePath() + ".mscsv";
  const auto console = CaptureConsole([&] {
    MsbReader reader(pair.BasePath(), logMessage);
    while (reader.ReadNext()) {
    }
    reader.Finish();
  });
  EXPECT_EQ(console.m_out, info + "Start to process " + msb + info + "Start to process " + mscsv +
                               "\n" + info + "Closed " + mscsv + "\n" + info +
                               "Finished Operations on " + mscsv + "\n" + info + "Scan Number in " +
                               mscsv + ": 1\n" + info + "Closed " + msb + info +
                               "Finished Operations on " + msb + info + "Scan Number in " +
                               pair.BasePath() + ".msb: 2\n");
}

}  // namespace
}  // namespace tarvek
