#include "JointDetermination.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "JointTestSupport.h"
#include "PrecursorTestSupport.h"

namespace tarvek::joint {
namespace {

using test::JointScene;
using test::Random;

class Joint : public testing::Test {
 protected:
  Joint() { InstallIsotopeTable(test::PoissonTable()); }

  std::span<const FittedCandidate> Candidates() {
    m_scene.m_ms2.m_activation_center = m_centre;
    return m_determination.Candidates(m_scene.m_store, m_scene.m_ms2);
  }

  const FittedCandidate* Find(double mz, int charge) {
    for (const FittedCandidate& fitted : Candidates())
      if (fitted.m_candidate.m_charge == charge && std::fabs(fitted.m_candidate.m_mz - mz) < 0.003)
        return &fitted;
    return nullptr;
  }

  JointScene m_scene;
  double m_centre = 500.0;
  UserParameters m_parameters;
  JointDetermination m_determination{m_parameters};
};

TEST_F(Joint, FindsNothingInEmptyScans) {
  EXPECT_TRUE(Candidates().empty());
  EXPECT_TRUE(m_determination.Determine(m_scene.m_store, m_scene.m_ms2, 0.0).empty());
}

TEST_F(Joint, FindsNothingWithoutThePrecursorScan) {
  m_scene.AddIon(500.0, 2, 1000.0);
  m_scene.m_ms2.m_precursor_scan = 77;
  EXPECT_TRUE(Candidates().empty());
}

TEST_F(Joint, CountsItsWorkByScansPeaksAndLanes) {
  for (MS1Spectrum& survey : m_scene.m_store)
    survey.m_peaks = {{490.0, 5.0}, {500.0, 5.0}, {500.3, 5.0}};
  Candidates();
  EXPECT_EQ(m_determination.Work(), 300 + 10 * 2 + 20 * 2);
  m_determination.CountDecoys(m_scene.m_store, m_scene.m_ms2, 0.5);
  EXPECT_EQ(m_determination.Work(), 2 * (300 + 10 * 2 + 20 * 2));
}

TEST_F(Joint, TakesAnyWidthAndCentre) {
  m_scene.AddIon(500.0, 2, 1000.0);
  for (const double width : {1e-6, 1e4, 1e15})
    for (const double centre : {0.0, 500.0, 1e9}) {
      m_parameters.m_isolation_width = width;
      m_centre = centre;
      Candidates();
    }
  m_parameters.m_isolation_width = 1e15;
  m_centre = 500.0;
  EXPECT_NE(Find(500.0, 2), nullptr);
}

TEST_F(Joint, DescribesALoneIonAsPerfect) {
  m_scene.AddIon(500.0, 2, 1000.0);
  const FittedCandidate* ion = Find(500.0, 2);
  ASSERT_NE(ion, nullptr);
  const FeatureRow& f = ion->m_features;
  for (const Feature feature : {kCosNear, kCosAll, kCosNearest, kCosRoot, kElution01, kElution12})
    EXPECT_NEAR(f[feature], 1.0, 1e-3) << kFeatureNames[feature];
  for (const Feature feature : {kBelowOne, kBelowTwo, kHalfSpacing, kThirdSpacing, kElutionBelow})
    EXPECT_EQ(f[feature], 0.0) << kFeatureNames[feature];
  EXPECT_EQ(f[kSurveysWithBoth], 10.0);
  EXPECT_EQ(f[kUnbroken], 10.0);
  EXPECT_EQ(f[kIsotopesFound], 4.0);  // the fifth has less than 0.3 % of the first
  EXPECT_EQ(f[kCentrePosition], 0.0);
  EXPECT_EQ(f[kInsideCount], 2.0);  // 500 and 500.5; the edge is at 501
  EXPECT_EQ(f[kDeclaredOffset], 9.0);
  EXPECT_NEAR(f[kMass], 2 * (500.0 - 1.007276), 1e-9);
  EXPECT_NEAR(f[kWindowShare], 1.0, 1e-9);
  EXPECT_GT(f[kFitShare], 0.9);
  EXPECT_EQ(Find(500.5015, 2), nullptr);  // its next isotope explains nothing that is left
  EXPECT_EQ(Find(500.0, 1), nullptr);     // nor does half its charge
}

TEST_F(Joint, SeparatesTwoIonsOnOnePeak) {
  m_scene.AddIon(499.4985, 2, 1000.0);
  m_scene.AddIon(500.0, 2, 3000.0);  // on the second isotope of the other
  const FittedCandidate* light = Find(499.4985, 2);
  ASSERT_NE(light, nullptr);
  ASSERT_NE(Find(500.0, 2), nullptr);
  const double light_share = Find(499.4985, 2)->m_window_share;
  const double heavy_share = Find(500.0, 2)->m_window_share;
  EXPECT_NEAR(heavy_share / light_share, 3.0, 1.2);
}

TEST_F(Joint, SaysHowTheDeclarationIsRelated) {
  m_scene.AddIon(499.4985, 2, 1000.0);
  m_scene.m_ms2.m_orig_precursors = {{500.0, 2}};
  ASSERT_NE(Find(499.4985, 2), nullptr);
  EXPECT_EQ(Find(499.4985, 2)->m_features[kDeclaredCharge], 1.0);
  EXPECT_EQ(Find(499.4985, 2)->m_features[kDeclaredOffset], 1.0);
  m_scene.m_ms2.m_orig_precursors = {{500.0, 3}};
  EXPECT_EQ(Find(499.4985, 2)->m_features[kDeclaredCharge], -1.0);
  EXPECT_EQ(Find(499.4985, 2)->m_features[kDeclaredOffset], 9.0);
}

TEST_F(Joint, SaysWhatFragmentsAreBeyondTheIon) {
  m_scene.AddIon(500.0, 2, 1000.0);
  // The second is within the isotopes that may survive unfragmented.
  m_scene.m_ms2.m_peaks = {{300.0, 5.0}, {502.0, 3.0}, {700.0, 2.0}};
  ASSERT_NE(Find(500.0, 2), nullptr);
  EXPECT_NEAR(Find(500.0, 2)->m_features[kBeyondMz], 0.2, 1e-12);
}

TEST_F(Joint, KeepsAnIonThatOnlyDistantSurveysShow) {
  m_scene.AddIon(500.0, 2, 10000.0);
  JointScene late;
  late.AddIon(500.3, 3, 2000.0);
  // Two isotopes in the last of the ten surveys alone.
  for (const Peak& peak : late.m_store[9].m_peaks)
    if (peak.m_mz < 500.7) m_scene.m_store[9].m_peaks.push_back(peak);
  SortByMz(m_scene.m_store[9].m_peaks);
  std::vector<EnvelopeCandidate> candidates;
  LaneTable lanes;
  m_scene.m_ms2.m_activation_center = 500.0;
  const auto window = gather_ms1_window(m_scene.m_store, m_scene.m_ms2, 5.3);
  ASSERT_TRUE(window.has_value());
  lanes.Build(*window, 494.7, 505.3, 499.0, 501.0, 0.003, 8.0);
  CollectCandidates({500.0, 1.0, 12.0, 6, false, lanes}, {}, 48, candidates);
  EXPECT_TRUE(std::ranges::any_of(candidates, [](const EnvelopeCandidate& candidate) {
    return candidate.m_charge == 3 && std::fabs(candidate.m_mz - 500.3) < 0.003;
  }));
}

TEST_F(Joint, GivesNegativeIonsNegativeSigns) {
  m_parameters.m_charge_min = -6;
  m_parameters.m_charge_max = -2;
  m_scene.AddIon(500.0, 2, 1000.0);
  m_scene.m_ms2.m_activation_center = 500.0;
  const auto found = m_determination.Determine(m_scene.m_store, m_scene.m_ms2, 0.0);
  ASSERT_FALSE(found.empty());
  EXPECT_NEAR(found.front().m_precursor.m_mz, -500.0, 1e-3);
  EXPECT_EQ(found.front().m_precursor.m_charge, -2);
}

TEST_F(Joint, ReportsOnlyTheChargesThatAreAskedFor) {
  m_parameters.m_charge_min = 3;
  m_scene.AddIon(500.0, 2, 1000.0);
  m_scene.m_ms2.m_activation_center = 500.0;
  EXPECT_TRUE(m_determination.Determine(m_scene.m_store, m_scene.m_ms2, 0.0).empty());
  EXPECT_NE(Find(500.0, 2), nullptr);
}

TEST_F(Joint, FindsDecoysOnlyWhereASpacingIsImpossible) {
  m_scene.AddIon(500.0, 2, 1000.0);
  m_scene.m_ms2.m_activation_center = 500.0;
  EXPECT_EQ(m_determination.CountDecoys(m_scene.m_store, m_scene.m_ms2, 0.0), 0u);
  // The same ion with isotopes 0.46 m/z apart.
  JointScene decoy;
  for (MS1Spectrum& survey : decoy.m_store)
    for (std::size_t i = 0; i < 3; ++i)
      survey.m_peaks.push_back(
          {500.0 + 0.46 * static_cast<double>(i), 1000.0 * LookUpIsotopeRow({500.0, 2})[i]});
  decoy.m_ms2.m_activation_center = 500.0;
  EXPECT_EQ(m_determination.CountDecoys(decoy.m_store, decoy.m_ms2, 0.0), 1u);
  EXPECT_TRUE(m_determination.Determine(decoy.m_store, decoy.m_ms2, 0.3).empty());
}

TEST_F(Joint, OrdersByProbabilityAndKeepsTheThreshold) {
  Random random(4);
  m_parameters.m_isolation_width = 4.0;
  for (int round = 0; round < 20; ++round) {
    m_scene = JointScene();
    for (int i = 0; i < 6; ++i)
      m_scene.AddIon(random.Real(498.0, 502.0), random.Int(1, 4), random.Real(10.0, 1000.0),
                     random.Real(0.5, 4.0));
    m_scene.m_ms2.m_activation_center = 500.0;
    const auto all = m_determination.Determine(m_scene.m_store, m_scene.m_ms2, 0.0);
    const auto some = m_determination.Determine(m_scene.m_store, m_scene.m_ms2, 0.5);
    for (std::size_t i = 1; i < all.size(); ++i)
      EXPECT_GE(all[i - 1].m_evidence.m_probability, all[i].m_evidence.m_probability);
    for (const JointPrecursor& precursor : some) EXPECT_GE(precursor.m_evidence.m_probability, 0.5);
    EXPECT_LE(some.size(), all.size());
    // Working memory of one scan does not affect the next.
    JointDetermination fresh(m_parameters);
    const auto again = fresh.Determine(m_scene.m_store, m_scene.m_ms2, 0.0);
    ASSERT_EQ(again.size(), all.size());
    for (std::size_t i = 0; i < all.size(); ++i)
      EXPECT_EQ(again[i].m_precursor.m_mz, all[i].m_precursor.m_mz);
  }
}

}  // namespace
}  // namespace tarvek::joint
