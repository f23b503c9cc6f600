#include "Ms1Feed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "SpectrumUtils.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;
using test::TemporaryDirectory;
using testing::ElementsAre;

/// MS1 scans from a list; "IT" ones are not high-resolution. Reports every scan it has given out.
class ListedSource : public SpectrumSource {
 public:
  explicit ListedSource(std::vector<MS1Spectrum> scans) : m_scans(std::move(scans)) {}

  bool NextMs1(MS1Spectrum& scan) override {
    ++m_requests;
    if (m_next == m_scans.size()) return false;
    scan = m_scans[m_next++];
    return true;
  }
  bool NextMs2(MS2Spectrum&) override { return false; }
  [[nodiscard]] bool IsHighResolution(const MS1Spectrum& scan) const override {
    return scan.m_instrument_type == "FT";
  }
  [[nodiscard]] bool AllowsDetermination(const MS2Spectrum&) const override { return false; }
  [[nodiscard]] std::int32_t ReportedMs1Count() const override {
    return m_first_count + static_cast<std::int32_t>(m_next);
  }
  [[nodiscard]] bool WritesPf2First() const override { return true; }
  void FinishMs1() override {}
  void FinishMs2() override {}

  [[nodiscard]] std::size_t Given() const { return m_next; }
  [[nodiscard]] int Requests() const { return m_requests; }
  std::int32_t m_first_count = 0;  // scans reported as given before the first

 private:
  std::vector<MS1Spectrum> m_scans;
  std::size_t m_next = 0;
  int m_requests = 0;
};

MS1Spectrum Survey(std::int32_t scan_no, const std::string& instrument = "FT") {
  MS1Spectrum scan;
  scan.m_scan_no = scan_no;
  scan.m_instrument_type = instrument;
  scan.m_peaks = {{500.0 + scan_no, 1.0}};
  return scan;
}

ListedSource SurveysUpTo(std::int32_t last) {
  std::vector<MS1Spectrum> scans;
  for (std::int32_t scan_no = 1; scan_no <= last; ++scan_no) scans.push_back(Survey(scan_no));
  return ListedSource(std::move(scans));
}

std::vector<std::int32_t> NumbersIn(const Ms1Store& store) {
  std::vector<std::int32_t> numbers;
  for (const MS1Spectrum& scan : store) numbers.push_back(scan.m_scan_no);
  return numbers;
}

TEST(Ms1Feed, StartsWithTenThousandEmptyScansOfNumberZero) {
  ListedSource source = SurveysUpTo(0);
  const Ms1Feed feed(source, nullptr);
  EXPECT_EQ(NumbersIn(feed.Store()), std::vector<std::int32_t>(10000, 0));
}
TEST(Ms1Feed, ReadsNothingBeforeItIsAsked) {
  ListedSource source = SurveysUpTo(3);
  const Ms1Feed feed(source, nullptr);
  EXPECT_EQ(source.Requests(), 0);
}
TEST(Ms1Feed, HoldsFiveScansBeyondThePrecursorScan) {
  ListedSource source = SurveysUpTo(30);
  Ms1Feed feed(source, nullptr);
  feed.AdvanceTo(10);
  EXPECT_EQ(feed.Store().back().m_scan_no, 15);
}
TEST(Ms1Feed, KeepsItsLengthWhileScansAreRead) {
  ListedSource source = SurveysUpTo(30);
  Ms1Feed feed(source, nullptr);
  feed.AdvanceTo(10);
  EXPECT_EQ(feed.Store().size(), 10000u);
}
TEST(Ms1Feed, LetsTheOldestScansGo) {
  ListedSource source = SurveysUpTo(30);
  Ms1Feed feed(source, nullptr, 11);
  feed.AdvanceTo(10);
  EXPECT_THAT(NumbersIn(feed.Store()), ElementsAre(5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
}
TEST(Ms1Feed, KeepsThePeaksOfAStoredScan) {
  ListedSource source = SurveysUpTo(30);
  Ms1Feed feed(source, nullptr);
  feed.AdvanceTo(10);
  ASSERT_EQ(feed.Store().back().m_peaks.size(), 1u);
  EXPECT_EQ(feed.Store().back().m_peaks[0].m_mz, 515.0);
}
TEST(Ms1Feed, ReadsNoFurtherWhenTheLookAheadIsThere) {
  ListedSource source = SurveysUpTo(30);
  Ms1Feed feed(source, nullptr);
  feed.AdvanceTo(10);
  feed.AdvanceTo(10);
  feed.AdvanceTo(3);
  EXPECT_EQ(source.Requests(), 15);
}
TEST(Ms1Feed, ReadsOnForAPrecursorScanThatIsNotAmongTheSurveys) {
  std::vector<MS1Spectrum> scans;
  for (std::int32_t scan_no = 10; scan_no <= 200; scan_no += 10) scans.push_back(Survey(scan_no));
  ListedSource source(std::move(scans));
  Ms1Feed feed(source, nullptr);
  feed.AdvanceTo(45);
  // The sixth from the end is then 50, the first that is not smaller.
  EXPECT_EQ(feed.Store().back().m_scan_no, 100);
}
TEST(Ms1Feed, GoesNoFurtherThanTheEndOfTheInput) {
  ListedSource source = SurveysUpTo(12);
  Ms1Feed feed(source, nullptr);
  feed.AdvanceTo(10);
  EXPECT_EQ(feed.Store().back().m_scan_no, 12);
}
TEST(Ms1Feed, LosesOneScanForEachAdvanceBeyondTheEnd) {
  ListedSource source = SurveysUpTo(12);
  Ms1Feed feed(source, nullptr);
  feed.AdvanceTo(10);
  EXPECT_EQ(feed.Store().size(), 9999u);
  feed.AdvanceTo(11);
  EXPECT_EQ(feed.Store().size(), 9998u);
}
TEST(Ms1Feed, StopsAdvancingWithFewerThanElevenScans) {
  ListedSource source = SurveysUpTo(0);
  Ms1Feed feed(source, nullptr, 12);
  for (int i = 0; i < 5; ++i) feed.AdvanceTo(100);
  EXPECT_EQ(feed.Store().size(), 10u);
}
TEST(Ms1Feed, ShrinksAtTheFrontOnly) {
  ListedSource source = SurveysUpTo(20);
  Ms1Feed feed(source, nullptr, 12);
  feed.AdvanceTo(100);
  EXPECT_THAT(NumbersIn(feed.Store()), ElementsAre(10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20));
}
TEST(Ms1Feed, DoesNotStoreIonTrapScans) {
  ListedSource source({Survey(1), Survey(2, "IT"), Survey(3), Survey(4, "Unknown"), Survey(5)});
  Ms1Feed feed(source, nullptr, 11);
  feed.AdvanceTo(100);
  EXPECT_THAT(NumbersIn(feed.Store()), ElementsAre(0, 0, 0, 0, 0, 0, 0, 1, 3, 5));
}
TEST(Ms1Feed, WritesIonTrapScansToPf1) {
  const TemporaryDirectory directory;
  ListedSource source({Survey(1), Survey(2, "IT"), Survey(3)});
  CaptureConsole([&] {
    PfWriter pf1(directory / "a.pf1", "wb+", "a");
    Ms1Feed feed(source, &pf1);
    feed.Drain();
    EXPECT_EQ(pf1.RecordCount(), 3);
    pf1.Close();
  });
}
TEST(Ms1Feed, DrainReadsEveryRemainingScan) {
  ListedSource source = SurveysUpTo(30);
  Ms1Feed feed(source, nullptr);
  feed.AdvanceTo(2);
  feed.Drain();
  EXPECT_EQ(source.Given(), 30u);
}
TEST(Ms1Feed, DrainTakesOneScanOutOfTheStoreAtTheEnd) {
  ListedSource source = SurveysUpTo(30);
  Ms1Feed feed(source, nullptr, 20);
  feed.Drain();
  EXPECT_EQ(feed.Store().size(), 19u);
}
TEST(Ms1Feed, LeavesAnEmptyStoreEmptyAtTheEnd) {
  ListedSource source = SurveysUpTo(0);
  Ms1Feed feed(source, nullptr, 1);
  feed.Drain();
  feed.Drain();
  EXPECT_TRUE(feed.Store().empty());
}
TEST(Ms1Feed, ChecksThatTheStoreHasRoom) {
  ListedSource source = SurveysUpTo(1);
  Ms1Feed feed(source, nullptr, 0);
  EXPECT_EQ(test::MessageOf([&] { feed.Drain(); }),
            "ms1Store.size() > 0, module BasicProcessLogic");
}
TEST(Ms1Feed, ReportsEveryThousandthScan) {
  ListedSource source = SurveysUpTo(5);
  source.m_first_count = 1997;
  Ms1Feed feed(source, nullptr);
  EXPECT_EQ(CaptureConsole([&] { feed.Drain(); }).m_out,
            "[Tarvek] <INFO> - Extracting MS1, Scan Num = 2000\n");
}

TEST(ReportProgress, IsSilentBetweenTheSteps) {
  EXPECT_EQ(CaptureConsole([] { ReportProgress("n = ", 1001); }).m_out, "");
}
TEST(ReportProgress, IsSilentAtZero) {
  EXPECT_EQ(CaptureConsole([] { ReportProgress("n = ", 0); }).m_out, "");
}
TEST(ReportProgress, NamesTheCountAtAStep) {
  EXPECT_EQ(CaptureConsole([] { ReportProgress("n = ", 3000); }).m_out,
            "[Tarvek] <INFO> - n = 3000\n");
}
TEST(ReportProgress, TakesAnotherStep) {
  EXPECT_EQ(CaptureConsole([] { ReportProgress("n = ", 14, 7); }).m_out,
            "[Tarvek] <INFO> - n = 14\n");
}

// ------------------------------------------------------------ packing

std::vector<MS1Spectrum> ManySurveys(int count) {
  std::mt19937 random(33);
  std::uniform_int_distribution<int> mz(40'000'000, 120'000'000);
  std::vector<MS1Spectrum> scans;
  for (int i = 1; i <= count; ++i) {
    scans.push_back(Survey(10 * i));
    scans.back().m_peaks.clear();
    for (int peak = 0; peak < i % 40; ++peak)
      scans.back().m_peaks.push_back({mz(random) / 1e5, 2.5});
    SortByMz(scans.back().m_peaks);
  }
  return scans;
}

/// The peaks that a determination at a scan sees.
std::vector<std::vector<double>> SeenAt(const Ms1Feed& feed, std::int32_t scan_no) {
  MS2Spectrum scan;
  scan.m_precursor_scan = scan_no;
  scan.m_activation_center = 800.0;
  std::vector<std::vector<double>> seen;
  if (const auto window = gather_ms1_window(feed.Store(), scan, 300.0))
    for (const PeakSpan& peaks : *window) {
      seen.emplace_back();
      for (const Peak& peak : peaks) seen.back().push_back(peak.m_mz);
    }
  return seen;
}

TEST(Ms1FeedPacking, ShowsTheSamePeaksAroundAnyScan) {
  constexpr int kSurveys = 400;
  ListedSource plain_source(ManySurveys(kSurveys));
  ListedSource packed_source(ManySurveys(kSurveys));
  Ms1Feed plain(plain_source, nullptr, 200);
  Ms1Feed packed(packed_source, nullptr, 200, {5, 1}, 1000);
  std::mt19937 random(34);
  for (int at = 1; at <= kSurveys; ++at) {
    // mostly the latest scan, sometimes a much earlier one, or none
    const int scan = at % 3 == 0 ? std::uniform_int_distribution<int>(1, at)(random) : at;
    const std::int32_t number = 10 * scan + (at % 7 == 0 ? 1 : 0);
    plain.AdvanceTo(number);
    packed.AdvanceTo(number);
    EXPECT_EQ(SeenAt(packed, number), SeenAt(plain, number)) << "scan " << number;
  }
  plain.Drain();
  packed.Drain();
  EXPECT_EQ(packed.Store().size(), plain.Store().size());
}

TEST(Ms1FeedPacking, KeepsThePeaksOfOldScansOnlyPacked) {
  ListedSource source(ManySurveys(400));
  Ms1Feed feed(source, nullptr, 200, {5, 1}, 1000);
  feed.AdvanceTo(3900);
  std::size_t with_peaks = 0;
  for (const MS1Spectrum& scan : feed.Store()) with_peaks += scan.m_peaks.capacity() == 0 ? 0 : 1;
  EXPECT_LE(with_peaks, 40u + 20u);
  feed.AdvanceTo(2500);
  EXPECT_FALSE(SeenAt(feed, 2500).empty());
}

}  // namespace
}  // namespace tarvek
