#include "SpectrumUtils.h"

#include <gtest/gtest.h>

#include <vector>

#include "NaiveDetermination.h"
#include "PrecursorTestSupport.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::MessageOf;
using test::Random;
using test::RandomPeaks;
using test::SamePeaks;

const PeakList kFivePeaks = {{498.0, 1.0}, {499.0, 2.0}, {500.0, 3.0}, {501.0, 4.0}, {502.0, 5.0}};

TEST(PeaksInWindow, ExcludesAPeakExactlyOnEitherEnd) {
  EXPECT_TRUE(SamePeaks(peaks_in_window(kFivePeaks, 500.0, 1.0, false), PeakList{{500.0, 3.0}}));
}

TEST(PeaksInWindow, KeepsPeaksJustInsideBothEnds) {
  EXPECT_EQ(peaks_in_window(kFivePeaks, 500.0, 1.0000001, false).size(), 3u);
}

TEST(PeaksInWindow, TakesPpmOfTheCentre) {
  // 2000 ppm of 500 is 1.0 m/z, 2001 ppm a little more.
  EXPECT_EQ(peaks_in_window(kFivePeaks, 500.0, 2000.0, true).size(), 1u);
  EXPECT_EQ(peaks_in_window(kFivePeaks, 500.0, 2001.0, true).size(), 3u);
}

TEST(PeaksInWindow, IsEmptyForNoPeaks) {
  EXPECT_TRUE(peaks_in_window(PeakSpan{}, 500.0, 1.0, false).empty());
}

TEST(PeaksInWindow, IsEmptyWithoutTolerance) {
  EXPECT_TRUE(peaks_in_window(kFivePeaks, 500.0, 0.0, false).empty());
}

TEST(PeaksInWindow, AgreesWithALinearScan) {
  for (unsigned seed = 0; seed < 500; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    const PeakList peaks = RandomPeaks(random, random.Int(0, 60), 495.0, 505.0, 0.25);
    const double centre = random.Chance(0.5) ? 500.0 : random.Real(494.0, 506.0);
    const double tol = random.OneOf<double>({0.25, 0.5, 1.0, 1.05, 3.3, 20.0, 1000.0, 5000.0});
    const bool ppm = random.Chance(0.5);
    EXPECT_TRUE(SamePeaks(peaks_in_window(peaks, centre, tol, ppm),
                          naive::PeaksInWindow(peaks, centre, tol, ppm)));
  }
}

TEST(NearestPeak, IsTheHigherOfTwoEquallyNear) {
  EXPECT_EQ(nearest_peak(kFivePeaks, 499.5).m_mz, 500.0);
}

TEST(NearestPeak, IsTheLowerWhenThatIsNearer) {
  EXPECT_EQ(nearest_peak(kFivePeaks, 499.25).m_mz, 499.0);
}

TEST(NearestPeak, IsThePeakItself) { EXPECT_EQ(nearest_peak(kFivePeaks, 501.0).m_mz, 501.0); }

TEST(NearestPeak, IsTheFirstBelowAllPeaks) { EXPECT_EQ(nearest_peak(kFivePeaks, 1.0).m_mz, 498.0); }

TEST(NearestPeak, IsTheLastAboveAllPeaks) {
  EXPECT_EQ(nearest_peak(kFivePeaks, 900.0).m_mz, 502.0);
}

TEST(NearestPeak, FailsACheckForNoPeaks) {
  EXPECT_EQ(MessageOf([] { static_cast<void>(nearest_peak(PeakSpan{}, 500.0)); }),
            "peakCandidates.size() > 0, module SpectrumUtils");
}

TEST(NearestPeak, AgreesWithALinearScan) {
  for (unsigned seed = 0; seed < 500; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    const PeakList peaks = RandomPeaks(random, random.Int(1, 40), 495.0, 505.0, 0.25);
    for (int i = 0; i < 20; ++i) {
      const double raw = random.Real(494.0, 506.0);
      const double x = random.Chance(0.5) ? std::round(raw * 8.0) / 8.0 : raw;
      const Peak actual = nearest_peak(peaks, x);
      EXPECT_TRUE(SamePeaks(PeakList{actual}, PeakList{naive::NearestPeak(peaks, x)})) << x;
    }
  }
}

/// Scans 10, 20, ... each with one peak of intensity store index plus 1.
Ms1Store StoreOf(std::size_t count) {
  Ms1Store store(count);
  for (std::size_t i = 0; i < count; ++i) {
    store[i].m_scan_no = static_cast<std::int32_t>(10 * (i + 1));
    store[i].m_peaks = {{500.0, static_cast<double>(i + 1)}};
  }
  return store;
}

MS2Spectrum Ms2Of(std::int32_t precursor_scan, double centre) {
  MS2Spectrum ms2;
  ms2.m_precursor_scan = precursor_scan;
  ms2.m_activation_center = centre;
  return ms2;
}

TEST(GatherMs1Window, LeavesPositionsBeforeTheStoreEmpty) {
  const Ms1Store store = StoreOf(12);
  const auto window = gather_ms1_window(store, Ms2Of(30, 500.0), 3.3);
  ASSERT_TRUE(window.has_value());
  EXPECT_TRUE((*window)[0].empty());
  EXPECT_TRUE((*window)[1].empty());
  for (std::size_t p = 2; p < kWindowScans; ++p)
    EXPECT_TRUE(SamePeaks((*window)[p], store[p - 2].m_peaks)) << p;
}

TEST(GatherMs1Window, LeavesPositionsAfterTheStoreEmpty) {
  const Ms1Store store = StoreOf(6);
  const auto window = gather_ms1_window(store, Ms2Of(50, 500.0), 3.3);
  ASSERT_TRUE(window.has_value());
  EXPECT_TRUE(SamePeaks((*window)[5], store[5].m_peaks));
  for (std::size_t p = 6; p < kWindowScans; ++p) EXPECT_TRUE((*window)[p].empty()) << p;
}

TEST(GatherMs1Window, IsNothingWhenThePrecursorScanLiesBetweenStoredScans) {
  EXPECT_FALSE(gather_ms1_window(StoreOf(12), Ms2Of(35, 500.0), 3.3).has_value());
}

TEST(GatherMs1Window, IsNothingWhenThePrecursorScanLiesBehindTheStore) {
  EXPECT_FALSE(gather_ms1_window(StoreOf(12), Ms2Of(121, 500.0), 3.3).has_value());
}

TEST(GatherMs1Window, IsNothingForAnEmptyStore) {
  EXPECT_FALSE(gather_ms1_window(Ms1Store{}, Ms2Of(10, 500.0), 3.3).has_value());
}

TEST(GatherMs1Window, AgreesWithALinearSearch) {
  for (unsigned seed = 0; seed < 300; ++seed) {
    SCOPED_TRACE(seed);
    const test::ScanRun run = test::RandomRun(seed);
    const double half_width = run.m_params.m_extended_halfwidth;
    const auto actual = gather_ms1_window(run.m_store, run.m_ms2, half_width);
    const auto expected = naive::GatherWindow(run.m_store, run.m_ms2, half_width);
    ASSERT_EQ(actual.has_value(), expected.has_value());
    for (std::size_t p = 0; actual && p < kWindowScans; ++p)
      EXPECT_TRUE(SamePeaks((*actual)[p], (*expected)[p])) << p;
  }
}

TEST(FilterByLocalIntensity, KeepsPeaksOfExactlyTwoPercent) {
  const PeakList peaks = {{498.0, 1.99}, {499.5, 2.0}, {500.0, 100.0}, {501.5, 500.0}};
  ScanWindow window{};
  window[3] = peaks;
  FilteredWindow filtered;
  filter_by_local_intensity(window, 500.0, filtered);
  EXPECT_TRUE(SamePeaks(filtered[3], PeakList{{499.5, 2.0}, {500.0, 100.0}, {501.5, 500.0}}));
}

TEST(FilterByLocalIntensity, DoesNotCountAPeakAtTheEdgeOfTheLocalWindow) {
  const PeakList peaks = {{0.5, 1.0}, {1.05, 1e6}};
  ScanWindow window{};
  window[0] = peaks;
  FilteredWindow filtered;
  filter_by_local_intensity(window, 0.0, filtered);
  EXPECT_EQ(filtered[0].size(), 2u);
}

TEST(FilterByLocalIntensity, KeepsEverythingWithoutALocalPeak) {
  const PeakList peaks = {{490.0, 0.0}, {510.0, 100.0}};
  ScanWindow window{};
  window[9] = peaks;
  FilteredWindow filtered;
  filter_by_local_intensity(window, 500.0, filtered);
  EXPECT_TRUE(SamePeaks(filtered[9], peaks));
}

TEST(FilterByLocalIntensity, ForgetsWhatTheListsHeldBefore) {
  FilteredWindow filtered;
  filtered[0] = {{1.0, 1.0}};
  filter_by_local_intensity(ScanWindow{}, 500.0, filtered);
  EXPECT_TRUE(filtered[0].empty());
}

TEST(FilterByLocalIntensity, AgreesWithTheSlowTwin) {
  FilteredWindow filtered;
  for (unsigned seed = 0; seed < 300; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    naive::Window lists;
    for (PeakList& list : lists) list = RandomPeaks(random, random.Int(0, 40), 496.0, 504.0);
    ScanWindow window;
    std::copy(lists.begin(), lists.end(), window.begin());
    const naive::Window expected = naive::FilterByLocalIntensity(lists, 500.0);
    filter_by_local_intensity(window, 500.0, filtered);
    for (std::size_t p = 0; p < kWindowScans; ++p)
      EXPECT_TRUE(SamePeaks(filtered[p], expected[p])) << p;
  }
}

/// Candidates around m/z 500 from lists at positions 3, 4 and 5.
PeakList Collect(const UserParameters& params, const PeakList& before, const PeakList& precursor,
                 const PeakList& after) {
  FilteredWindow filtered;
  filtered[3] = before;
  filtered[4] = precursor;
  filtered[5] = after;
  filtered[2] = filtered[6] = {{500.0, 1e9}};  // never visited
  PeakList candidates = {{1.0, 1.0}};          // leftover of an earlier scan
  collect_peak_candidates(params, filtered, Ms2Of(10, 500.0), candidates);
  return candidates;
}

UserParameters CollectParameters(bool check_centre, bool collapse) {
  UserParameters params;
  params.m_check_activationcenter = check_centre;
  params.m_cut_similiar_mono = collapse;
  DeriveHalfWidths(params);
  return params;
}

TEST(CollectPeakCandidates, UsesThePrecursorScanAloneWhenItHoldsTheCentre) {
  const PeakList precursor = {{499.0, 5.0}, {500.009, 7.0}};  // 20 ppm of 500 is 0.01
  EXPECT_TRUE(
      SamePeaks(Collect(CollectParameters(true, false), {{500.0, 1.0}}, precursor, {{501.0, 1.0}}),
                precursor));
}

TEST(CollectPeakCandidates, DoesNotTakeAPeakAtTheToleranceForTheCentre) {
  UserParameters params = CollectParameters(true, false);
  params.m_mstolppm = false;
  params.m_mstol = 0.25;
  DeriveHalfWidths(params);
  EXPECT_EQ(Collect(params, {{499.0, 1.0}}, {{500.25, 1.0}}, {{501.0, 1.0}}).size(), 3u);
}

TEST(CollectPeakCandidates, StopsAtTheScanBeforeWhenThatHoldsTheCentre) {
  EXPECT_TRUE(SamePeaks(
      Collect(CollectParameters(true, false), {{500.0, 1.0}}, {{499.0, 2.0}}, {{501.0, 3.0}}),
      PeakList{{499.0, 2.0}, {500.0, 1.0}}));
}

TEST(CollectPeakCandidates, MergesThreeScansWhenTheCentreIsNotChecked) {
  EXPECT_TRUE(SamePeaks(
      Collect(CollectParameters(false, false), {{501.0, 1.0}}, {{500.0, 2.0}}, {{499.0, 3.0}}),
      PeakList{{499.0, 3.0}, {500.0, 2.0}, {501.0, 1.0}}));
}

TEST(CollectPeakCandidates, OrdersPeaksOfEqualMzByIntensityAndKeepsEqualOnes) {
  EXPECT_TRUE(SamePeaks(
      Collect(CollectParameters(false, false), {{500.0, 2.0}}, {{500.0, 3.0}}, {{500.0, 2.0}}),
      PeakList{{500.0, 2.0}, {500.0, 2.0}, {500.0, 3.0}}));
}

TEST(CollectPeakCandidates, LeavesOutPeaksAtTheCandidateHalfWidth) {
  EXPECT_TRUE(SamePeaks(
      Collect(CollectParameters(true, false), {}, {{497.0, 1.0}, {497.5, 2.0}, {503.0, 3.0}}, {}),
      PeakList{{497.5, 2.0}}));
}

TEST(CollectPeakCandidates, CollapsesTwoClosePeaksIntoTheirWeightedMean) {
  const PeakList collapsed =
      Collect(CollectParameters(true, true), {}, {{500.0, 100.0}, {500.005, 300.0}}, {});
  ASSERT_EQ(collapsed.size(), 1u);
  EXPECT_NEAR(collapsed[0].m_mz, 500.00375, 1e-10);
  EXPECT_EQ(collapsed[0].m_intensity, 400.0);
}

TEST(CollectPeakCandidates, DoesNotCollapsePeaksExactlyTheToleranceApart) {
  UserParameters params = CollectParameters(true, true);
  params.m_mstolppm = false;
  params.m_mstol = 0.25;
  DeriveHalfWidths(params);
  EXPECT_EQ(Collect(params, {}, {{500.0, 1.0}, {500.25, 1.0}}, {}).size(), 2u);
}

TEST(CollectPeakCandidates, ComparesWithTheRunningMeanOfTheGroup) {
  UserParameters params = CollectParameters(true, true);
  params.m_mstolppm = false;
  params.m_mstol = 0.25;
  DeriveHalfWidths(params);
  // The mean of the first two is 500.125, so 500.3125 still belongs; 500.5 is 0.3125 from 500.1875.
  EXPECT_TRUE(SamePeaks(
      Collect(params, {}, {{500.0, 1.0}, {500.1875, 2.0}, {500.3125, 1.5}, {500.5, 1.0}}, {}),
      PeakList{{(1.5 * 500.3125 + 3.0 * 500.125) / 4.5, 4.5}, {500.5, 1.0}}));
}

TEST(CollectPeakCandidates, IsEmptyWhenAllThreeListsAre) {
  EXPECT_TRUE(Collect(CollectParameters(true, true), {}, {}, {}).empty());
}

TEST(CollectPeakCandidates, AgreesWithTheSlowTwin) {
  for (unsigned seed = 0; seed < 500; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    const UserParameters params = test::RandomParameters(random);
    naive::Window lists;
    const double step = random.OneOf<double>({0.0, 0.001, 0.1});
    for (PeakList& list : lists) list = RandomPeaks(random, random.Int(0, 150), 494.0, 506.0, step);
    FilteredWindow filtered;
    std::copy(lists.begin(), lists.end(), filtered.begin());
    PeakList candidates;
    collect_peak_candidates(params, filtered, Ms2Of(10, 500.0), candidates);
    EXPECT_TRUE(SamePeaks(candidates, naive::CollectCandidates(params, lists, 500.0)));
  }
}

}  // namespace
}  // namespace tarvek
