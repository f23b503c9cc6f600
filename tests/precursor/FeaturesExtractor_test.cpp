#include "FeaturesExtractor.h"

#include <gtest/gtest.h>

#include <limits>
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
using test::SameDouble;
using test::Scene;

constexpr double kStep = 0.5015;  // isotope distance of a doubly charged ion

/// Peaks at the isotope positions 0, 1, ... of m/z 500 and charge 2; intensity 0 makes no peak.
PeakList Doubly(const std::vector<double>& intensities) {
  PeakList peaks;
  for (std::size_t k = 0; k < intensities.size(); ++k)
    if (intensities[k] > 0.0)
      peaks.push_back({500.0 + static_cast<double>(k) * kStep, intensities[k]});
  return peaks;
}

/// A table with equal rows.
void InstallEnvelope(const IsotopeRow& row) { InstallIsotopeTable(IsotopeTable(15000, row)); }

TEST(PearsonCorrelation, IsOneForEqualValues) {
  const std::vector<double> x = {1.0, 0.5, 0.25, 0.125, 0.0625};
  EXPECT_EQ(PearsonCorrelation(x, x), 1.0);
}

TEST(PearsonCorrelation, IsMinusOneForOppositeValues) {
  EXPECT_EQ(PearsonCorrelation(std::vector<double>{1, 2, 3, 4}, std::vector<double>{4, 3, 2, 1}),
            -1.0);
}

TEST(PearsonCorrelation, IsZeroWhenOneSideIsConstant) {
  EXPECT_EQ(PearsonCorrelation(std::vector<double>{1, 2, 3, 4}, std::vector<double>{2, 2, 2, 2}),
            0.0);
}

TEST(PearsonCorrelation, IsZeroWhenTheDenominatorIsTiny) {
  // The variances are 0.5 and 5e-13: the root of their product is 5e-7.
  EXPECT_EQ(PearsonCorrelation(std::vector<double>{0, 1}, std::vector<double>{0, 1e-6}), 0.0);
}

TEST(PearsonCorrelation, AgreesWithTheSlowTwin) {
  for (unsigned seed = 0; seed < 500; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    std::vector<double> x;
    std::vector<double> y;
    const double scale = random.OneOf<double>({1e-4, 1.0, 1e6});
    for (int n = random.Int(5, 7); n > 0; --n) {
      x.push_back(random.Chance(0.2) ? 0.0 : random.Real(0.0, 1.0));
      y.push_back(random.Chance(0.2) ? 0.0 : scale * random.Real(0.0, 1.0));
    }
    EXPECT_TRUE(SameDouble(PearsonCorrelation(x, y), naive::Pearson(x, y)));
  }
}

TEST(FeaturesExtractor, FindsSimilarityOneWhenRowZeroIsTheExpectedEnvelope) {
  InstallEnvelope({1.0, 0.625, 0.25, 0.0625, 0.03125});
  Scene scene;
  scene.m_candidates = Doubly({1.0, 0.625, 0.25, 0.0625, 0.03125});
  scene.Build();
  EXPECT_EQ(scene.Candidate({500.0, 2}).ipv_similarity_0(), 1.0);
}

/// A scene with an empty grid and a single candidate peak that is not at an isotope position.
struct EmptyPatternScene : Scene {
  EmptyPatternScene() {
    InstallEnvelope({1.0, 0.5, 0.25, 0.125, 0.0625});
    m_candidates = {{500.25, 1.0}};
    Build();
  }
};

TEST(FeaturesExtractor, FindsSimilarityZeroForAnAllZeroPattern) {
  const EmptyPatternScene scene;
  FeaturesExtractor candidate = scene.Candidate({500.0, 2});
  EXPECT_EQ(candidate.ipv_similarity_0(), 0.0);
  EXPECT_EQ(candidate.ipv_similarity_m1(), 0.0);
  EXPECT_EQ(candidate.ipv_similarity_m2(), 0.0);
}

TEST(FeaturesExtractor, FindsNothingInAnAllZeroPattern) {
  const EmptyPatternScene scene;
  FeaturesExtractor candidate = scene.Candidate({500.0, 2});
  EXPECT_EQ(candidate.isotope_count(), 0);
  EXPECT_EQ(candidate.window_isotope_count(), 0);
  EXPECT_EQ(candidate.xic_correlation_0_1(), 0.0);
  EXPECT_EQ(candidate.xic_correlation_m1_0(), 0.0);
  EXPECT_EQ(candidate.elution_share(), 1.0);
  EXPECT_EQ(candidate.window_intensity_ratio(), 0.0);
}

TEST(FeaturesExtractor, FindsSimilarityZeroInATableThatEndsBelowTheMass) {
  InstallIsotopeTable(ParseIsotopeTable("1 2 3 4 5\n", "p"));
  Scene scene;
  scene.m_candidates = Doubly({3.0, 2.0, 1.0});
  scene.Build();
  EXPECT_EQ(scene.Candidate({500.0, 2}).ipv_similarity_0(), 0.0);
}

TEST(FeaturesExtractor, FindsLowerSimilarityWithIntensityBelowTheMonoisotopicPeak) {
  InstallEnvelope({1.0, 0.5, 0.25, 0.125, 0.0625});
  Scene scene;
  scene.m_candidates = Doubly({1.0, 0.5, 0.25, 0.125, 0.0625});
  scene.m_candidates.insert(scene.m_candidates.begin(), {500.0 - kStep, 1.0});
  scene.Build();
  FeaturesExtractor candidate = scene.Candidate({500.0, 2});
  EXPECT_EQ(candidate.ipv_similarity_0(), 1.0);
  EXPECT_LT(candidate.ipv_similarity_m1(), 0.7);
}

TEST(FeaturesExtractor, HasNoBestRowBeforeTheLastSimilarityIsAskedFor) {
  const EmptyPatternScene scene;
  FeaturesExtractor candidate = scene.Candidate({500.0, 2});
  candidate.ipv_similarity_0();
  candidate.ipv_similarity_m1();
  EXPECT_EQ(candidate.best_row(), -1);
}

TEST(FeaturesExtractor, NamesTheFirstOfEquallyGoodRows) {
  InstallEnvelope({1.0, 0.5, 0.25, 0.125, 0.0625});
  Scene scene;
  scene.m_candidates = Doubly({1.0, 1.0, 1.0});
  scene.m_lists[3] = scene.m_lists[6] = Doubly({1.0, 0.5, 0.25, 0.125, 0.0625});
  scene.Build();
  FeaturesExtractor candidate = scene.Candidate({500.0, 2});
  candidate.ipv_similarity_m2();
  EXPECT_EQ(candidate.best_row(), 4);
}

TEST(FeaturesExtractor, NeverTakesACorrelationThatIsNoNumber) {
  InstallEnvelope({1.0, 0.5, 0.25, 0.125, 0.0625});
  Scene scene;
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  scene.m_candidates = Doubly({kInfinity, 1.0, 1.0});
  scene.m_lists[0] = Doubly({1.0, 0.5, 0.25, 0.125, 0.0625});
  scene.Build();
  EXPECT_EQ(scene.Candidate({500.0, 2}).ipv_similarity_0(), 1.0);
}

TEST(FeaturesExtractor, CountsIsotopesUpToTheFirstGap) {
  Scene scene;
  scene.m_candidates = Doubly({5.0, 4.0, 0.0, 3.0});
  scene.Build();
  EXPECT_EQ(scene.Candidate({500.0, 2}).isotope_count(), 2);
}

TEST(FeaturesExtractor, CountsTheLongestRowOfIsotopes) {
  Scene scene;
  scene.m_candidates = Doubly({5.0, 4.0});
  scene.m_lists[9] = Doubly({5.0, 4.0, 3.0, 2.0, 1.0});
  scene.Build();
  EXPECT_EQ(scene.Candidate({500.0, 2}).isotope_count(), 5);
}

TEST(FeaturesExtractor, CountsNoIsotopesWithoutAMonoisotopicPeak) {
  Scene scene;
  scene.m_candidates = Doubly({0.0, 4.0, 3.0});
  scene.Build();
  EXPECT_EQ(scene.Candidate({500.0, 2}).isotope_count(), 0);
}

TEST(FeaturesExtractor, CountsIsotopesInsideTheWindowAlone) {
  Scene scene;  // the window ends at 501.05
  scene.m_candidates = Doubly({5.0, 4.0, 3.0, 2.0});
  scene.Build();
  EXPECT_EQ(scene.Candidate({500.0, 2}).window_isotope_count(), 3);
}

TEST(FeaturesExtractor, FindsIdenticalProfilesFullyCorrelated) {
  Scene scene;
  scene.m_candidates = Doubly({1.0});
  scene.m_lists[3] = Doubly({3.0, 3.0});
  scene.m_lists[4] = Doubly({4.0, 4.0});
  scene.Build();
  FeaturesExtractor candidate = scene.Candidate({500.0, 2});
  EXPECT_EQ(candidate.xic_correlation_0_1(), 1.0);
  EXPECT_EQ(candidate.xic_correlation_m1_0(), 0.0);
}

TEST(FeaturesExtractor, FindsTheShareFromTheMonoisotopicPeakUp) {
  Scene scene;
  scene.m_candidates = Doubly({1.0});
  scene.m_lists[4] = Doubly({4.0, 2.0});
  scene.m_lists[4].insert(scene.m_lists[4].begin(), {500.0 - kStep, 2.0});
  scene.Build();
  EXPECT_EQ(scene.Candidate({500.0, 2}).elution_share(), 0.75);
}

TEST(FeaturesExtractor, FindsTheIntensityRatioOfTheWindow) {
  Scene scene;  // half of the isolation width is 1
  scene.m_candidates = {{500.0, 6.0}, {500.25, 2.0}, {500.5015, 3.0}, {501.003, 9.0}};
  scene.Build();
  // The window holds 6 + 2 + 3; positions 0 and 1 hold 9 of it.
  EXPECT_EQ(scene.Candidate({500.0, 2}).window_intensity_ratio(), 9.0 * 2.0 / 11.0 * 0.5);
}

TEST(FeaturesExtractor, AsksAgainForAWindowWithoutPeaksAndKeepsTheAnswerAfterwards) {
  Scene scene;
  scene.m_candidates = {{498.0, 5.0}, {498.0 + kStep, 4.0}};
  scene.Build();
  FeaturesExtractor candidate = scene.Candidate({498.0, 2});
  EXPECT_EQ(candidate.window_intensity_ratio(), 0.0);
  scene.m_params.m_isolation_width = 3.25;
  EXPECT_EQ(candidate.window_intensity_ratio(), 4.0 * 3.25 / 4.0 * 0.5);
  scene.m_params.m_isolation_width = 5.0;
  EXPECT_EQ(candidate.window_intensity_ratio(), 4.0 * 3.25 / 4.0 * 0.5);
}

TEST(FeaturesExtractor, SpreadsAroundTheTruncatedMz) {
  Scene scene;
  scene.m_params.m_mstol = 0.25;
  scene.m_candidates = {{500.75, 1.0}};
  scene.m_lists[0] = {{499.875, 1.0}, {500.75, 100.0}};
  scene.m_lists[9] = {{500.125, 1.0}};
  scene.Build();
  EXPECT_EQ(scene.Candidate({500.75, 2}).mz_spread_ppm(), 0.125 * 1e6 / 500.0);
}

TEST(FeaturesExtractor, HasNoSpreadWithoutPeaksAtTheTruncatedMz) {
  const EmptyPatternScene scene;
  EXPECT_EQ(scene.Candidate({-500.25, -2}).mz_spread_ppm(), 0.0);
}

TEST(FeaturesExtractor, RefinesTheMzOverAllScansByIntensity) {
  Scene scene;
  scene.m_params.m_recalibrate_window = 20.0;  // 0.01 m/z
  scene.m_candidates = {{500.0, 1.0}};
  scene.m_lists[0] = {{499.9921875, 1.0}};
  scene.m_lists[9] = {{500.0078125, 3.0}, {500.015625, 100.0}};
  scene.Build();
  EXPECT_EQ(scene.Candidate({500.0, 2}).refined_mz(), 500.00390625);
  EXPECT_EQ(scene.Candidate({-500.0, -2}).refined_mz(), 500.00390625);
}

TEST(FeaturesExtractor, KeepsTheMzWithoutIntensityToRefineItBy) {
  Scene scene;
  scene.m_candidates = {{500.0, 1.0}};
  scene.m_lists[4] = {{500.001, 1e-6}};  // at the noise floor
  scene.Build();
  EXPECT_EQ(scene.Candidate({500.0, 2}).refined_mz(), 500.0);
}

TEST(FeaturesExtractor, HasAPositiveMassAndChargeForANegativeIon) {
  const EmptyPatternScene scene;
  const FeaturesExtractor candidate = scene.Candidate({-500.25, -3});
  EXPECT_EQ(candidate.charge_times_mz(), 1500.75);
  EXPECT_EQ(candidate.abs_charge(), 3.0);
}

TEST(FeaturesExtractor, BuildsItsEnvelopeOnce) {
  const EmptyPatternScene scene;
  FeaturesExtractor candidate = scene.Candidate({500.0, 2});
  EXPECT_EQ(&candidate.iso_pattern(), &candidate.iso_pattern());
}

TEST(FeaturesExtractor, KeepsEveryFeatureItComputed) {
  InstallIsotopeTable(test::PoissonTable());
  Scene scene;
  scene.m_lists[4] = scene.m_lists[5] = scene.m_candidates = Doubly({50.0, 40.0, 30.0});
  scene.Build();
  FeaturesExtractor candidate = scene.Candidate({500.0, 2});
  const auto all = [&] {
    return std::vector<double>{candidate.ipv_similarity_0(),
                               candidate.ipv_similarity_m1(),
                               candidate.ipv_similarity_m2(),
                               candidate.xic_correlation_0_1(),
                               candidate.xic_correlation_m1_0(),
                               candidate.elution_share(),
                               static_cast<double>(candidate.isotope_count()),
                               static_cast<double>(candidate.window_isotope_count()),
                               candidate.window_intensity_ratio(),
                               candidate.mz_spread_ppm(),
                               candidate.refined_mz()};
  };
  const std::vector<double> first = all();
  InstallEnvelope({0.0, 0.0, 1.0, 0.0, 0.0});
  scene.m_params.m_isolation_width = 0.25;
  scene.m_params.m_mstol = 1.0;
  scene.m_params.m_recalibrate_window = 5000.0;
  EXPECT_EQ(all(), first);
}

/// Asks for a similarity of a candidate with a mass beyond the table.
ConsoleText AskBeyondTheTable(std::string& message) {
  InstallIsotopeTable(test::PoissonTable());
  Scene scene;
  scene.m_params.m_current_file = "dir/run7.ms1";
  scene.m_params.m_charge_min = 2;
  scene.m_params.m_charge_max = 40;
  scene.m_ms2.m_scan_no = 4711;
  scene.m_candidates = {{500.0, 1.0}};
  scene.Build();
  FeaturesExtractor candidate = scene.Candidate({500.0, 31});
  return CaptureConsole(
      [&] { message = MessageOf([&] { static_cast<void>(candidate.ipv_similarity_0()); }); });
}

TEST(FeaturesExtractor, ReportsAMassOutsideTheTableBeforeTheCheckFails) {
  std::string message;
  EXPECT_EQ(AskBeyondTheTable(message).m_err,
            "[Tarvek] <ERROR> - The mass of a candidate precursor is outside the isotope table: "
            "file dir/run7.ms1, scan 4711, m/z 500.000000, charge 31. Narrow charge_range, now "
            "2t40.\n");
}

TEST(FeaturesExtractor, FailsACheckForAMassOutsideTheTable) {
  std::string message;
  AskBeyondTheTable(message);
  EXPECT_EQ(message,
            "m_h_is_IPV_inited && (int)mz < m_h_IPV_Matrix.size(), module FeaturesExtractor");
}

void ExpectSameFeatures(FeaturesExtractor& actual, const naive::Features& expected) {
  EXPECT_TRUE(SameDouble(actual.window_intensity_ratio(), expected.m_window_ratio));
  EXPECT_TRUE(SameDouble(actual.ipv_similarity_m2(), expected.m_similarity_m2));
  EXPECT_EQ(actual.best_row(), expected.m_best_row);
  EXPECT_TRUE(SameDouble(actual.ipv_similarity_m1(), expected.m_similarity_m1));
  EXPECT_TRUE(SameDouble(actual.ipv_similarity_0(), expected.m_similarity_0));
  EXPECT_TRUE(SameDouble(actual.xic_correlation_0_1(), expected.m_xic_0_1));
  EXPECT_TRUE(SameDouble(actual.xic_correlation_m1_0(), expected.m_xic_m1_0));
  EXPECT_TRUE(SameDouble(actual.elution_share(), expected.m_elution_share));
  EXPECT_EQ(actual.isotope_count(), expected.m_isotope_count);
  EXPECT_EQ(actual.window_isotope_count(), expected.m_window_isotope_count);
  EXPECT_TRUE(SameDouble(actual.mz_spread_ppm(), expected.m_spread_ppm));
  EXPECT_TRUE(SameDouble(actual.refined_mz(), expected.m_refined_mz));
}

/// Compares some candidates of one random run, of random charge.
std::size_t CompareFeatures(unsigned seed, const IsotopeTable& table) {
  Random random(seed + 1000000);
  test::ScanRun run = test::RandomRun(seed);
  if (random.Chance(0.3)) {  // near whole m/z, where the spread is taken
    const double shift = std::round(run.m_ms2.m_activation_center) - run.m_ms2.m_activation_center;
    run.m_ms2.m_activation_center += shift;
    for (MS1Spectrum& scan : run.m_store)
      for (Peak& peak : scan.m_peaks) peak.m_mz += shift;
  }
  const auto twin = naive::BuildScan(run.m_params, run.m_store, run.m_ms2);
  if (!twin || twin->m_candidates.empty()) return 0;
  const Scene scene(run, *twin);
  for (int i = 0; i < 12; ++i) {
    const double mz = random.OneOf(twin->m_candidates).m_mz;
    const int z = random.OneOf<int>({-6, -3, -2, -1, 1, 2, 3, 4, 5, 6});
    const Precursor precursor{z < 0 ? -mz : mz, z};
    SCOPED_TRACE(testing::Message() << mz << " charge " << z);
    FeaturesExtractor candidate = scene.Candidate(precursor);
    ExpectSameFeatures(candidate, naive::ComputeFeatures(*twin, table, precursor));
  }
  return 12;
}

TEST(FeaturesExtractor, AgreesWithEveryFeatureOfTheSlowTwin) {
  const IsotopeTable table = test::PoissonTable();
  InstallIsotopeTable(table);
  std::size_t compared = 0;
  for (unsigned seed = 0; seed < 300; ++seed) {
    SCOPED_TRACE(seed);
    compared += CompareFeatures(seed, table);
  }
  EXPECT_GT(compared, 2400u);
}

}  // namespace
}  // namespace tarvek
