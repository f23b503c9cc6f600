#include "MsTextEcho.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "MsTextReader.h"
#include "MsTextWriter.h"
#include "ScanCompletion.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

/// Writes scans as text and reads them back.
template <class Reader, class Spectrum>
std::vector<Spectrum> ThroughText(const std::vector<Spectrum>& scans, PeakDigits digits) {
  const test::TemporaryDirectory directory;
  std::string text;
  for (const Spectrum& scan : scans) AppendMsText(text, scan, digits);
  test::WriteFile(directory / "run", text);
  Reader reader(directory / "run", "r");
  std::vector<Spectrum> read(1);
  while (reader.ReadNext(read.back())) read.emplace_back();
  read.pop_back();
  return read;
}

/// The same by the echo.
template <class Spectrum>
std::vector<Spectrum> Echoed(const std::vector<Spectrum>& scans, PeakDigits digits) {
  MsTextEcho echo(digits);
  std::vector<Spectrum> kept;
  for (Spectrum scan : scans) {
    if (!echo.Echo(scan)) continue;
    CompleteScan(scan);
    kept.push_back(scan);
  }
  return kept;
}

void ExpectSamePeaks(const std::vector<Peak>& a, const std::vector<Peak>& b) {
  ASSERT_EQ(a.size(), b.size());
  for (std::size_t i = 0; i < a.size(); ++i) {
    EXPECT_EQ(a[i].m_mz, b[i].m_mz);
    EXPECT_EQ(a[i].m_intensity, b[i].m_intensity);
  }
}

void ExpectSameIons(const std::vector<Precursor>& a, const std::vector<Precursor>& b) {
  ASSERT_EQ(a.size(), b.size());
  for (std::size_t i = 0; i < a.size(); ++i) {
    EXPECT_EQ(a[i].m_mz, b[i].m_mz);
    EXPECT_EQ(a[i].m_charge, b[i].m_charge);
  }
}

template <class Spectrum>
void ExpectSameCommon(const Spectrum& a, const Spectrum& b) {
  EXPECT_EQ(a.m_scan_no, b.m_scan_no);
  EXPECT_EQ(a.m_rt, b.m_rt);
  EXPECT_EQ(a.m_ion_injection_time, b.m_ion_injection_time);
  EXPECT_EQ(a.m_instrument_type, b.m_instrument_type);
  ExpectSamePeaks(a.m_peaks, b.m_peaks);
}

void ExpectSame(const MS1Spectrum& a, const MS1Spectrum& b) { ExpectSameCommon(a, b); }

void ExpectSame(const MS2Spectrum& a, const MS2Spectrum& b) {
  ExpectSameCommon(a, b);
  EXPECT_EQ(a.m_precursor_scan, b.m_precursor_scan);
  EXPECT_EQ(a.m_activation_center, b.m_activation_center);
  EXPECT_EQ(a.m_activation_type, b.m_activation_type);
  ExpectSameIons(a.m_orig_precursors, b.m_orig_precursors);
  ExpectSameIons(a.m_precursors, b.m_precursors);
}

template <class Reader, class Spectrum>
void ExpectEchoOfText(const std::vector<Spectrum>& scans, PeakDigits digits) {
  const std::vector<Spectrum> read = ThroughText<Reader>(scans, digits);
  const std::vector<Spectrum> echoed = Echoed(scans, digits);
  ASSERT_EQ(read.size(), echoed.size());
  for (std::size_t i = 0; i < read.size(); ++i) ExpectSame(read[i], echoed[i]);
}

/// Scans with all kinds of numbers; with few digits some look like 0.
class RandomScans {
 public:
  explicit RandomScans(unsigned seed) : m_random(seed) {}

  PeakDigits Digits() { return {Int(0, 9), Int(0, 9)}; }

  // At least one intensity shows digits, as the extractor ensures; the reader may still drop it.
  std::vector<Peak> Peaks(PeakDigits digits) {
    std::vector<Peak> peaks;
    const bool is_faint = Int(0, 4) == 0;
    const double least = std::pow(10.0, -digits.m_intensity);
    for (int left = Int(1, 30); left > 0; --left)
      peaks.push_back({Real(1.0, 4000.0), is_faint ? least : least + std::pow(10.0, Real(-9, 12))});
    SortByMz(peaks);
    return peaks;
  }

  template <class Spectrum>
  void FillCommon(Spectrum& scan, PeakDigits digits) {
    scan.m_scan_no = ++m_scan_no;
    scan.m_rt = Real(0.0, 9000.0);
    scan.m_ion_injection_time = Int(0, 3) == 0 ? 0.0 : Real(0.0, 500.0);
    scan.m_instrument_type = Int(0, 2) == 0 ? "ITMS" : "FTMS";
    scan.m_peaks = Peaks(digits);
  }

  MS1Spectrum Survey(PeakDigits digits) {
    MS1Spectrum scan;
    FillCommon(scan, digits);
    return scan;
  }

  MS2Spectrum Fragments(PeakDigits digits) {
    MS2Spectrum scan;
    FillCommon(scan, digits);
    scan.m_precursor_scan = Int(0, m_scan_no);
    scan.m_activation_center = Int(0, 9) == 0 ? 0.0 : Real(300.0, 2000.0);
    scan.m_activation_type = Int(0, 1) == 0 ? "HCD" : "ETHCD";
    for (int left = Int(1, 3); left > 0; --left)
      scan.m_orig_precursors.push_back({Int(0, 5) == 0 ? 0.0 : Real(300.0, 2000.0), Int(-5, 5)});
    return scan;
  }

 private:
  int Int(int least, int most) { return std::uniform_int_distribution<int>(least, most)(m_random); }
  double Real(double least, double most) {
    return std::uniform_real_distribution<double>(least, most)(m_random);
  }

  std::mt19937 m_random;
  int m_scan_no = 0;
};

TEST(MsTextEcho, IsWhatTheReaderMakesOfTheText) {
  for (unsigned seed = 0; seed < 300; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    RandomScans random(seed);
    const PeakDigits digits = random.Digits();
    std::vector<MS1Spectrum> surveys;
    std::vector<MS2Spectrum> fragments;
    for (int i = 0; i < 20; ++i) {
      surveys.push_back(random.Survey(digits));
      fragments.push_back(random.Fragments(digits));
    }
    ExpectEchoOfText<Ms1TextReader>(surveys, digits);
    ExpectEchoOfText<Ms2TextReader>(fragments, digits);
  }
}

// With nine decimals the text shows an intensity that the reader treats as 0.
TEST(MsTextEcho, HandsThePrecursorsOfAScanWithoutPeaksToTheNext) {
  const PeakDigits digits{5, 9};
  MS2Spectrum faint;
  faint.m_scan_no = 1;
  faint.m_activation_type = "HCD";
  faint.m_instrument_type = "FTMS";
  faint.m_orig_precursors = {{500.25, 2}};
  faint.m_peaks = {{100.0, 1e-7}};
  MS2Spectrum next = faint;
  next.m_scan_no = 2;
  next.m_orig_precursors = {{600.5, 3}};
  next.m_peaks = {{100.0, 5.0}};
  ExpectEchoOfText<Ms2TextReader>(std::vector<MS2Spectrum>{faint, next}, digits);
  const std::vector<MS2Spectrum> kept = Echoed<MS2Spectrum>({faint, next}, digits);
  ASSERT_EQ(kept.size(), 1u);
  EXPECT_EQ(kept.front().m_scan_no, 2);
  EXPECT_EQ(kept.front().m_precursors.size(), 2u);
}

}  // namespace
}  // namespace tarvek
