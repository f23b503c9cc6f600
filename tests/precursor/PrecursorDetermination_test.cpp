#include "PrecursorDetermination.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "IsotopeTable.h"
#include "NaiveDetermination.h"
#include "PrecursorTestSupport.h"
#include "Scene.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;
using test::ConsoleText;
using test::MessageOf;
using test::Random;
using test::SamePrecursors;
using test::ScanRun;
using test::Scene;

constexpr double kCentre = 500.0;

TEST(PreRankOrder, PutsTheSmallerRankProductFirst) {
  EXPECT_EQ(PreRankOrder({{0.9, -0.1, 0.9, 0.5}, {0.6, -0.2, 0.5, 0.3}}),
            (std::vector<std::size_t>{1, 0}));
}

TEST(PreRankOrder, WeighsTheFirstAndLastComponentByTheirCubes) {
  // Entry 0 has the ranks 1 2 2 1, entry 1 the ranks 2 1 1 2: products 4 and 64.
  EXPECT_EQ(PreRankOrder({{0.5, 0.2, 0.2, 0.5}, {0.6, 0.1, 0.1, 0.6}}),
            (std::vector<std::size_t>{0, 1}));
}

TEST(PreRankOrder, GivesEqualValuesDifferentRanks) {
  // All four components are equal, so entry 0 has rank 1 and entry 1 rank 2 throughout.
  EXPECT_EQ(PreRankOrder({{0.5, 0.5, 0.5, 0.5}, {0.5, 0.5, 0.5, 0.5}}),
            (std::vector<std::size_t>{0, 1}));
}

TEST(PreRankOrder, SharesARankWithAValueThatEqualsTheRankBefore) {
  // In components 0 and 3 entry 0 gets rank 1, which equals the value 1.0 of entry 1. The products
  // are 4 and 1; with rank 2 for entry 1 they would be 4 and 64.
  EXPECT_EQ(PreRankOrder({{0.5, 0.2, 0.2, 0.5}, {1.0, 0.1, 0.1, 1.0}}),
            (std::vector<std::size_t>{1, 0}));
}

TEST(PreRankOrder, IsEmptyForNoEntries) { EXPECT_TRUE(PreRankOrder({}).empty()); }

TEST(PreRankOrder, AgreesWithTheProcedureWrittenOut) {
  for (unsigned seed = 0; seed < 400; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    std::vector<RankVector> entries(static_cast<std::size_t>(random.Int(0, 60)));
    const bool whole = random.Chance(0.5);  // whole values meet ranks and each other
    for (RankVector& entry : entries)
      for (double& value : entry) value = whole ? random.Int(-3, 12) : random.Real(-1.0, 1.0);
    EXPECT_EQ(PreRankOrder(entries), naive::PreRank(entries));
  }
}

TEST(ReachesActivationCentre, ExcludesThatAPositionLiesExactlyTheToleranceAway) {
  EXPECT_FALSE(ReachesActivationCentre({500.25, 2}, kCentre, 0.25));
  EXPECT_TRUE(ReachesActivationCentre({500.1875, 2}, kCentre, 0.25));
}

TEST(ReachesActivationCentre, TriesPositionsZeroToThree) {
  EXPECT_TRUE(ReachesActivationCentre({500.0 - 3 * 0.5015, 2}, kCentre, 0.01));
  EXPECT_FALSE(ReachesActivationCentre({500.0 - 4 * 0.5015, 2}, kCentre, 0.01));
  EXPECT_FALSE(ReachesActivationCentre({500.0 + 0.5015, 2}, kCentre, 0.01));
}

TEST(ReachesActivationCentre, RisesFromTheAbsoluteMzOfANegativeIon) {
  EXPECT_TRUE(ReachesActivationCentre({-(500.0 - 0.5015), -2}, kCentre, 0.01));
}

/// Candidate peaks at positions 0, 1, ... of a precursor; the expected envelope equals them.
struct FilterScene : Scene {
  FilterScene(double mono_mz, int charge, const std::vector<double>& intensities,
              const IsotopeRow& expected = {1.0, 1.0, 0.0, 0.0, 0.0})
      : m_precursor{mono_mz, charge} {
    InstallIsotopeTable(IsotopeTable(15000, expected));
    for (std::size_t k = 0; k < intensities.size(); ++k)
      m_candidates.push_back({naive::IsotopeMz(m_precursor, static_cast<int>(k)), intensities[k]});
  }
  bool Passes() {
    SortByMz(m_candidates);
    Build();
    FeaturesExtractor candidate = Candidate(m_precursor);
    return PassesFilters(candidate, kCentre, m_params.m_isolation_width);
  }
  Precursor m_precursor;
};

TEST(PassesFilters, AcceptsChargeThreeWithTwoIsotopes) {
  EXPECT_TRUE(FilterScene(kCentre, 3, {1.0, 1.0}).Passes());
}

TEST(PassesFilters, RejectsChargeFourWithTwoIsotopes) {
  EXPECT_FALSE(FilterScene(kCentre, 4, {1.0, 1.0}).Passes());
}

TEST(PassesFilters, AcceptsChargeFourWithThreeIsotopes) {
  EXPECT_TRUE(FilterScene(kCentre, 4, {1.0, 1.0, 0.5}).Passes());
}

TEST(PassesFilters, RejectsChargeMinusFourWithTwoIsotopes) {
  FilterScene scene(kCentre, 4, {1.0, 1.0});
  scene.m_precursor = {-kCentre, -4};
  EXPECT_FALSE(scene.Passes());
}

TEST(PassesFilters, RejectsASingleIsotope) {
  EXPECT_FALSE(FilterScene(kCentre, 1, {1.0}, {1.0, 0.0, 0.0, 0.0, 0.0}).Passes());
}

TEST(PassesFilters, RejectsASimilarityBelowAHalf) {
  // Observed 1 1 0 0 0 against 1 0 0 0 0: num 1 - 2/5 = 0.6, den sqrt(0.8 x 1.2): 0.61.
  EXPECT_TRUE(FilterScene(kCentre, 2, {1.0, 1.0}, {1.0, 0.0, 0.0, 0.0, 0.0}).Passes());
  // Against 1 0 1 0 0: num 1 - 4/5 = 0.2, den 1.2: 0.17.
  EXPECT_FALSE(FilterScene(kCentre, 2, {1.0, 1.0}, {1.0, 0.0, 1.0, 0.0, 0.0}).Passes());
}

TEST(PassesFilters, RejectsChargeThreeWithOneIsotopeInTheWindow) {
  EXPECT_FALSE(FilterScene(kCentre + 0.875, 3, {1.0, 1.0}).Passes());
}

TEST(PassesFilters, AcceptsChargeTwoWithOneIsotopeInTheWindow) {
  EXPECT_TRUE(FilterScene(kCentre + 0.875, 2, {1.0, 1.0}).Passes());
}

TEST(PassesFilters, RejectsAnMzBeyondTheIsolationWidthWithoutIsotopesInTheWindow) {
  FilterScene scene(kCentre + 2.5, 1, {1.0, 1.0});
  scene.m_candidates.push_back({kCentre, 1.0});
  EXPECT_FALSE(scene.Passes());
}

TEST(PassesFilters, RejectsAnIntensityRatioBelowFourPercent) {
  FilterScene below(kCentre, 2, {1.0, 1.0});
  below.m_candidates.push_back({kCentre + 0.25, 49.0});  // 2 / 51
  EXPECT_FALSE(below.Passes());
  FilterScene at(kCentre, 2, {1.0, 1.0});
  at.m_candidates.push_back({kCentre + 0.25, 48.0});  // 2 / 50
  EXPECT_TRUE(at.Passes());
}

/// Seven scans, 10 to 70, the precursor scan being 40; every scan holds the same peaks.
ScanRun SteadyRun(const PeakList& peaks) {
  InstallIsotopeTable(test::PoissonTable());
  ScanRun run;
  run.m_store.resize(7);
  for (std::size_t i = 0; i < run.m_store.size(); ++i) {
    run.m_store[i].m_scan_no = static_cast<std::int32_t>(10 * (i + 1));
    run.m_store[i].m_peaks = peaks;
  }
  run.m_ms2.m_scan_no = 41;
  run.m_ms2.m_precursor_scan = 40;
  run.m_ms2.m_activation_center = kCentre;
  DeriveHalfWidths(run.m_params);
  return run;
}

/// The peaks of one peptide.
PeakList EnvelopePeaks(double mono_mz, int abs_charge, double amplitude) {
  const IsotopeRow row = test::PoissonEnvelope((mono_mz - kProtonMass) * abs_charge + kProtonMass);
  PeakList peaks;
  for (std::size_t k = 0; k < row.size(); ++k)
    peaks.push_back({mono_mz + static_cast<double>(k) * 1.003 / abs_charge, amplitude * row[k]});
  return peaks;
}

std::vector<Precursor> Determine(const ScanRun& run) {
  return PrecursorDetermination(run.m_params).determine_precursors(run.m_store, run.m_ms2);
}

naive::Outcome DetermineSlowly(const ScanRun& run, const IsotopeTable& table) {
  return naive::DeterminePrecursors(run.m_params, table, run.m_store, run.m_ms2);
}

/// The work of determining the precursors of a run's scan so many times.
std::int64_t WorkOf(const ScanRun& run, int times = 1) {
  PrecursorDetermination determination(run.m_params);
  for (; times > 0; --times) determination.determine_precursors(run.m_store, run.m_ms2);
  return determination.Work();
}

TEST(PrecursorDeterminationWork, CountsThePeaksAroundTheScan) {
  const ScanRun run = SteadyRun({{490.0, 5.0}, {502.5, 5.0}, {502.75, 5.0}, {510.0, 5.0}});
  EXPECT_EQ(WorkOf(run), 7 * 2);
}

TEST(PrecursorDeterminationWork, CountsTheCandidatesOfAllCharges) {
  EXPECT_EQ(WorkOf(SteadyRun({{kCentre, 5.0}})), 7 + 5);
}

TEST(PrecursorDeterminationWork, CountsAnEnvelopeThatWasReadAsSixteenPeaks) {
  // Three of the peaks are in the isolation window and followed by an isotope at charge 2.
  const ScanRun run =
      SteadyRun({{kCentre, 10.0}, {500.5015, 9.0}, {501.003, 8.0}, {501.5045, 7.0}});
  const std::int64_t once = 7 * 4 + 3 * 4 + 3 * 16;
  EXPECT_EQ(WorkOf(run), once);
  EXPECT_EQ(WorkOf(run, 3), 3 * once);
}

TEST(PrecursorDeterminationWork, CountsWhatAFeatureSumsUpForEachScoredCandidate) {
  // At the truncated m/z, where the model measures the spread: 7 scans of 640 peaks.
  PeakList peaks;
  for (int i = 0; i < 640; ++i) peaks.push_back({499.9951 + i * 1e-5, 1.0});
  for (const Peak& peak : EnvelopePeaks(500.5, 2, 1e6)) peaks.push_back(peak);
  ScanRun run = SteadyRun(peaks);
  run.m_params.m_mars_model = 3;
  run.m_ms2.m_activation_center = 500.5;
  const std::int64_t with_heap = WorkOf(run);
  for (MS1Spectrum& survey : run.m_store)
    for (int i = 0; i < 640; ++i) survey.m_peaks[static_cast<std::size_t>(i)].m_mz -= 1.5;
  const std::int64_t more = with_heap - WorkOf(run);
  EXPECT_GT(more, 0);
  EXPECT_EQ(more % (7 * 640 / PrecursorDetermination::kSumsPerVisit), 0);
}

TEST(PrecursorDeterminationWork, IsNothingWithoutThePrecursorScan) {
  ScanRun run = SteadyRun({{kCentre, 5.0}});
  run.m_ms2.m_precursor_scan = 41;
  EXPECT_EQ(WorkOf(run), 0);
}

TEST(DeterminePrecursors, FindsALonePeptide) {
  const ScanRun run = SteadyRun(EnvelopePeaks(kCentre, 2, 1000.0));
  const std::vector<Precursor> found = Determine(run);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_NEAR(found[0].m_mz, kCentre, 1e-9);
  EXPECT_EQ(found[0].m_charge, 2);
}

TEST(DeterminePrecursors, FindsTwoPeptidesThatElutedTogether) {
  PeakList peaks = EnvelopePeaks(kCentre - 0.25, 2, 1000.0);
  for (const Peak& peak : EnvelopePeaks(kCentre, 3, 900.0)) peaks.push_back(peak);
  SortByMz(peaks);
  std::set<int> charges;
  for (const Precursor& precursor : Determine(SteadyRun(peaks))) charges.insert(precursor.m_charge);
  EXPECT_TRUE(charges.contains(2) && charges.contains(3));
}

TEST(DeterminePrecursors, ReportsAMissingPrecursorScanOnce) {
  ScanRun run = SteadyRun(EnvelopePeaks(kCentre, 2, 1000.0));
  run.m_ms2.m_precursor_scan = 45;
  const ConsoleText console = CaptureConsole([&] { EXPECT_TRUE(Determine(run).empty()); });
  EXPECT_EQ(console.m_out, "[Tarvek] <INFO> - Cannot found the precurosr scan of MS2: 45\n");
  EXPECT_EQ(console.m_err, "");
}

TEST(DeterminePrecursors, SaysNothingAboutScansWithoutCandidates) {
  const ScanRun run = SteadyRun({{100.0, 1.0}});
  const ConsoleText console = CaptureConsole([&] { EXPECT_TRUE(Determine(run).empty()); });
  EXPECT_EQ(console.m_out + console.m_err, "");
}

TEST(DeterminePrecursors, FindsNothingWhenAllCandidatesLieAboveTheWindow) {
  EXPECT_TRUE(Determine(SteadyRun(EnvelopePeaks(kCentre + 1.0625, 2, 1000.0))).empty());
}

TEST(DeterminePrecursors, TriesNoPeptideOffTheCentreWithoutCoElution) {
  ScanRun run = SteadyRun(EnvelopePeaks(kCentre + 0.25, 2, 1000.0));
  run.m_params.m_mars_threshold = -100.0;
  EXPECT_FALSE(Determine(run).empty());
  run.m_params.m_co_elute = false;
  EXPECT_TRUE(Determine(run).empty());
}

TEST(DeterminePrecursors, FindsAPeptideByItsThirdIsotopeWithoutCoElution) {
  ScanRun run = SteadyRun(EnvelopePeaks(kCentre - 3 * 1.003 / 4, 4, 1000.0));
  run.m_params.m_co_elute = false;
  run.m_params.m_charge_min = 4;
  run.m_params.m_charge_max = 4;
  run.m_params.m_mars_threshold = -100.0;
  EXPECT_EQ(DetermineSlowly(run, test::PoissonTable()).m_scored.size(), 1u);
  EXPECT_EQ(Determine(run).size(), 1u);
}

TEST(DeterminePrecursors, ScoresTheFirstInPreRankOrderAloneWithoutCoElution) {
  // Charges 1 and 2 both survive at the centre: every second peak is a fair singly charged
  // envelope. Its similarity is lower and so is its share of the window, so its product is smaller.
  ScanRun run = SteadyRun(EnvelopePeaks(kCentre, 2, 1000.0));
  run.m_params.m_co_elute = false;
  run.m_params.m_charge_min = 1;
  run.m_params.m_charge_max = 2;
  run.m_params.m_mars_threshold = -100.0;
  const naive::Outcome slow = DetermineSlowly(run, test::PoissonTable());
  ASSERT_EQ(slow.m_survivor_count, 2u);
  const std::vector<Precursor> found = Determine(run);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].m_charge, 1);
}

TEST(DeterminePrecursors, GivesNegativeIonsNegativeMzAndCharge) {
  ScanRun run = SteadyRun(EnvelopePeaks(kCentre, 2, 1000.0));
  run.m_params.m_charge_min = -3;
  run.m_params.m_charge_max = -1;
  run.m_params.m_mars_threshold = -100.0;
  const std::vector<Precursor> found = Determine(run);
  ASSERT_FALSE(found.empty());
  for (const Precursor& precursor : found) {
    EXPECT_LT(precursor.m_charge, 0);
    EXPECT_GE(precursor.m_charge, -3);
    EXPECT_LT(precursor.m_mz, 0.0);
  }
  EXPECT_EQ(found[0].m_charge, -2);
}

TEST(DeterminePrecursors, SkipsChargeZero) {
  ScanRun run = SteadyRun(EnvelopePeaks(kCentre, 2, 1000.0));
  run.m_params.m_charge_min = 0;
  run.m_params.m_charge_max = 0;
  run.m_params.m_mars_threshold = -100.0;
  EXPECT_TRUE(Determine(run).empty());
}

/// A run with two monoisotopic peaks 16 ppm apart, which collapse into their mean; the mean is 8
/// ppm from each, outside the recalibration window of 7 ppm.
ScanRun SplitPeakRun() {
  PeakList peaks = EnvelopePeaks(kCentre, 2, 1000.0);
  peaks[0] = {kCentre - 0.00390625, 500.0};
  peaks.insert(peaks.begin() + 1, {kCentre + 0.00390625, 500.0});
  ScanRun run = SteadyRun(peaks);
  run.m_params.m_mars_threshold = -100.0;
  return run;
}

TEST(DeterminePrecursors, KeepsTheMzOfACandidateWithoutPeaksToRecalibrateBy) {
  ScanRun run = SplitPeakRun();
  run.m_params.m_charge_min = run.m_params.m_charge_max = 2;
  const std::vector<Precursor> found = Determine(run);
  ASSERT_FALSE(found.empty());
  EXPECT_TRUE(SamePrecursors(std::span(found).first(1), std::vector<Precursor>{{kCentre, 2}}));
}

TEST(DeterminePrecursors, KeepsTheSignedMzOfANegativeCandidateWithoutPeaksToRecalibrateBy) {
  ScanRun run = SplitPeakRun();
  run.m_params.m_charge_min = run.m_params.m_charge_max = -2;
  const std::vector<Precursor> found = Determine(run);
  ASSERT_FALSE(found.empty());
  EXPECT_TRUE(SamePrecursors(std::span(found).first(1), std::vector<Precursor>{{-kCentre, -2}}));
}

TEST(DeterminePrecursors, FindsASteadyEnvelopeWithEveryScoringModel) {
  for (const int model : {0, 1, 2, 3, 4, 5, 15, 250, 1024}) {
    ScanRun run = SteadyRun(EnvelopePeaks(kCentre, 2, 1000.0));
    run.m_params.m_mars_model = model;
    const std::vector<Precursor> found = Determine(run);
    ASSERT_FALSE(found.empty()) << model;
    EXPECT_EQ(found.front().m_charge, 2) << model;
    EXPECT_NEAR(found.front().m_mz, kCentre, 1e-9) << model;
  }
}

TEST(DeterminePrecursors, HandsOverTheCandidatesThatTheSlowTwinScores) {
  const IsotopeTable table = test::PoissonTable();
  InstallIsotopeTable(table);
  std::size_t several = 0;
  for (unsigned seed = 0; seed < 300; ++seed) {
    SCOPED_TRACE(seed);
    const ScanRun run = test::RandomRun(seed);
    std::vector<Precursor> expected;
    if (const auto scan = naive::BuildScan(run.m_params, run.m_store, run.m_ms2))
      for (const naive::Features& each :
           naive::KeepFirst(naive::Survivors(*scan, table), run.m_params.m_co_elute ? 1000 : 1))
        expected.push_back(each.m_precursor);
    std::vector<Precursor> handed;
    PrecursorDetermination determination(run.m_params);
    CaptureConsole([&] {
      determination.WithCandidates(run.m_store, run.m_ms2,
                                   [&](std::span<FeaturesExtractor* const> all) {
                                     for (FeaturesExtractor* const candidate : all)
                                       handed.push_back(candidate->GetPrecursor());
                                   });
    });
    EXPECT_TRUE(SamePrecursors(handed, expected));
    several += expected.size() > 1 ? 1 : 0;
  }
  EXPECT_GT(several, 50u);
}

TEST(DeterminePrecursors, TellsHowFarEveryCandidateCame) {
  const IsotopeTable table = test::PoissonTable();
  InstallIsotopeTable(table);
  std::map<Stage, std::size_t> stages;
  for (unsigned seed = 0; seed < 300; ++seed) {
    SCOPED_TRACE(seed);
    const ScanRun run = test::RandomRun(seed);
    std::vector<Precursor> scored_slowly;
    if (const auto scan = naive::BuildScan(run.m_params, run.m_store, run.m_ms2))
      for (const naive::Features& each :
           naive::KeepFirst(naive::Survivors(*scan, table), run.m_params.m_co_elute ? 1000 : 1))
        scored_slowly.push_back(each.m_precursor);
    std::size_t scored = 0;
    std::size_t accepted = 0;
    PrecursorDetermination determination(run.m_params);
    CaptureConsole([&] {
      determination.WithAllTried(
          run.m_store, run.m_ms2, [&](std::span<const TriedCandidate> tried) {
            for (const TriedCandidate& one : tried) {
              ++stages[one.m_stage];
              const Precursor& ion = one.m_candidate->GetPrecursor();
              const bool is_scored = std::ranges::any_of(scored_slowly, [&](const Precursor& slow) {
                return slow.m_mz == ion.m_mz && slow.m_charge == ion.m_charge;
              });
              const bool says_scored =
                  one.m_stage == Stage::kAccepted || one.m_stage == Stage::kScoreTooLow;
              EXPECT_TRUE(is_scored || !says_scored);  // twins may differ
              EXPECT_EQ(one.m_filter != Filter::kNone, one.m_stage == Stage::kFiltered);
              scored += says_scored ? 1 : 0;
              accepted += one.m_stage == Stage::kAccepted ? 1 : 0;
            }
          });
      EXPECT_EQ(accepted, determination.determine_precursors(run.m_store, run.m_ms2).size());
    });
    EXPECT_EQ(scored, scored_slowly.size());
  }
  for (const Stage stage : {Stage::kMissesCentre, Stage::kFiltered, Stage::kScoreTooLow,
                            Stage::kRankedTooLow, Stage::kAccepted})
    EXPECT_GT(stages[stage], 10u) << static_cast<int>(stage);
}

TEST(DeterminePrecursors, HandsOverNothingWithoutCandidates) {
  const ScanRun run = SteadyRun({});
  PrecursorDetermination determination(run.m_params);
  bool called = false;
  determination.WithCandidates(run.m_store, run.m_ms2, [&](auto) { called = true; });
  EXPECT_FALSE(called);
}

TEST(DeterminePrecursors, GivesTheSameForModels4And1024) {
  ScanRun run = SteadyRun(EnvelopePeaks(kCentre, 2, 1000.0));
  run.m_params.m_mars_threshold = -100.0;
  const std::vector<Precursor> four = Determine(run);
  run.m_params.m_mars_model = 1024;
  ASSERT_FALSE(four.empty());
  EXPECT_TRUE(SamePrecursors(Determine(run), four));
}

TEST(DeterminePrecursors, ReportsACandidateTooHeavyForTheTable) {
  ScanRun run = SteadyRun(EnvelopePeaks(kCentre, 2, 1000.0));
  InstallIsotopeTable(IsotopeTable(900));
  run.m_params.m_current_file = "run7.ms1";
  std::string message;
  const ConsoleText console = CaptureConsole([&] { message = MessageOf([&] { Determine(run); }); });
  EXPECT_EQ(message,
            "m_h_is_IPV_inited && (int)mz < m_h_IPV_Matrix.size(), module FeaturesExtractor");
  EXPECT_EQ(console.m_err,
            "[Tarvek] <ERROR> - The mass of a candidate precursor is outside the isotope table: "
            "file run7.ms1, scan 41, m/z 500.000000, charge 2. Narrow charge_range, now 2t6.\n");
}

TEST(DeterminePrecursors, StopsAtAScoreExactlyAtTheThreshold) {
  const IsotopeTable table = test::PoissonTable();
  InstallIsotopeTable(table);
  std::size_t compared = 0;
  for (unsigned seed = 0; seed < 200; ++seed) {
    SCOPED_TRACE(seed);
    ScanRun run = test::RandomRun(seed);
    run.m_params.m_co_elute = true;
    run.m_ms2.m_precursor_scan = run.m_store[run.m_store.size() / 2].m_scan_no;
    run.m_params.m_mars_threshold = -100.0;
    const naive::Outcome all = DetermineSlowly(run, table);
    if (all.m_scored.size() < 3) continue;
    const std::size_t place = all.m_scored.size() / 2;
    const double threshold = all.m_scored[place].second;
    if (!(all.m_scored[place - 1].second > threshold)) continue;
    run.m_params.m_mars_threshold = threshold;
    EXPECT_TRUE(SamePrecursors(Determine(run), std::span(all.m_precursors).first(place)));
    ++compared;
  }
  EXPECT_GT(compared, 50u);
}

TEST(DeterminePrecursors, AgreesWithTheSlowTwinOnRandomRuns) {
  const IsotopeTable table = test::PoissonTable();
  InstallIsotopeTable(table);
  std::size_t found = 0;
  std::size_t ranked = 0;
  for (unsigned seed = 0; seed < 500; ++seed) {
    SCOPED_TRACE(seed);
    const ScanRun run = test::RandomRun(seed);
    const naive::Outcome expected = DetermineSlowly(run, table);
    std::vector<Precursor> actual;
    CaptureConsole([&] { actual = Determine(run); });
    EXPECT_TRUE(SamePrecursors(actual, expected.m_precursors));
    found += expected.m_precursors.empty() ? 0 : 1;
    ranked += !run.m_params.m_co_elute && expected.m_survivor_count > 1 ? 1 : 0;
  }
  EXPECT_GT(found, 150u);
  EXPECT_GT(ranked, 20u);
}

TEST(DeterminePrecursors, GivesTheSameWhateverItDidBefore) {
  const IsotopeTable table = test::PoissonTable();
  InstallIsotopeTable(table);
  UserParameters params;
  PrecursorDetermination determination(params);
  for (unsigned seed = 0; seed < 200; ++seed) {
    SCOPED_TRACE(seed);
    ScanRun run = test::RandomRun(seed);
    params = run.m_params;
    std::vector<Precursor> actual;
    CaptureConsole([&] { actual = determination.determine_precursors(run.m_store, run.m_ms2); });
    EXPECT_TRUE(SamePrecursors(actual, DetermineSlowly(run, table).m_precursors));
  }
}

/// A wide window full of peaks of random intensity and a table of random envelopes, so that more
/// candidates pass than are scored.
ScanRun CrowdedRun(unsigned seed, IsotopeTable& table) {
  Random random(seed);
  table.assign(15000, IsotopeRow{});
  for (IsotopeRow& row : table)
    for (double& value : row) value = random.Real(0.0, 1.0);
  ScanRun run;
  run.m_store.resize(3);
  for (std::size_t i = 0; i < run.m_store.size(); ++i) {
    run.m_store[i].m_scan_no = static_cast<std::int32_t>(i + 1);
    for (int n = 0; n < 600; ++n)
      run.m_store[i].m_peaks.push_back({290.0 + n / 30.0, random.Real(1.0, 10.0)});
  }
  run.m_ms2.m_precursor_scan = 2;
  run.m_ms2.m_activation_center = 300.0;
  run.m_params.m_mstolppm = false;
  run.m_params.m_mstol = 0.1;
  run.m_params.m_isolation_width = 16.0;
  run.m_params.m_cut_similiar_mono = false;
  run.m_params.m_charge_min = 1;
  run.m_params.m_charge_max = 6;
  run.m_params.m_mars_threshold = -100.0;
  DeriveHalfWidths(run.m_params);
  return run;
}

TEST(DeterminePrecursors, ScoresTheFirstThousandInPreRankOrderWithCoElution) {
  for (unsigned seed = 0; seed < 2; ++seed) {
    SCOPED_TRACE(seed);
    IsotopeTable table;
    const ScanRun run = CrowdedRun(seed, table);
    InstallIsotopeTable(table);
    const naive::Outcome expected = DetermineSlowly(run, table);
    ASSERT_GT(expected.m_survivor_count, 1000u);
    ASSERT_EQ(expected.m_precursors.size(), 1000u);
    EXPECT_TRUE(SamePrecursors(Determine(run), expected.m_precursors));
  }
}

}  // namespace
}  // namespace tarvek
