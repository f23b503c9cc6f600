#include "FragmentPairs.h"

#include <gtest/gtest.h>

#include <cmath>

#include "PrecursorTestSupport.h"

namespace tarvek::joint {
namespace {

using test::Random;

TEST(FragmentPairs, AddUpToTheMass) {
  FragmentPairs pairs;
  pairs.Take({{200.0, 4.0}, {300.0, 25.0}, {602.014552, 9.0}}, 10.0);
  // 200 + 602.014552 less two protons; root of 4 x 9 of 38.
  EXPECT_NEAR(pairs.PairShare(800.0), 6.0 / 38.0, 1e-12);
  EXPECT_EQ(pairs.PairShare(800.1), 0.0);
  EXPECT_NEAR(pairs.ShareAt(300.001), 25.0 / 38.0, 1e-12);
  EXPECT_EQ(pairs.ShareAt(310.0), 0.0);
  EXPECT_NEAR(pairs.ShareAbove(300.0), 9.0 / 38.0, 1e-12);
  EXPECT_NEAR(pairs.ShareAbove(199.0), 1.0, 1e-12);
  EXPECT_EQ(pairs.ShareAbove(602.02), 0.0);
}

TEST(FragmentPairs, DoNotPairAFragmentWithItself) {
  FragmentPairs pairs;
  pairs.Take({{401.007276, 4.0}}, 10.0);
  EXPECT_EQ(pairs.PairShare(800.0), 0.0);
}

TEST(FragmentPairs, OfNoFragmentsAreNone) {
  FragmentPairs pairs;
  pairs.Take({}, 10.0);
  EXPECT_TRUE(pairs.IsEmpty());
  EXPECT_EQ(pairs.PairShare(800.0), 0.0);
  EXPECT_EQ(pairs.ShareAt(800.0), 0.0);
  EXPECT_EQ(pairs.ShareAbove(0.0), 0.0);
}

TEST(FragmentPairs, KeepTheEightyStrongest) {
  std::vector<Peak> fragments;
  for (int i = 0; i < 100; ++i) fragments.push_back({300.0 + i, 1.0 + i});
  FragmentPairs pairs;
  pairs.Take(fragments, 10.0);
  EXPECT_EQ(pairs.ShareAt(319.0), 0.0);
  EXPECT_GT(pairs.ShareAt(320.0), 0.0);
}

TEST(FragmentPairs, AreThoseThatAScanOfAllPairsFinds) {
  Random random(3);
  for (int round = 0; round < 100; ++round) {
    std::vector<Peak> fragments;
    double total = 0.0;
    for (int i = random.Int(1, 80); i > 0; --i) {
      fragments.push_back({100.0 + 0.25 * random.Int(0, 3000), random.Real(1.0, 9.0)});
      total += fragments.back().m_intensity;
    }
    std::ranges::sort(fragments, {}, &Peak::m_mz);
    const double mass = 300.0 + 0.25 * random.Int(0, 4000) - 2.0 * kProtonMass;
    double expected = 0.0;
    for (std::size_t a = 0; a < fragments.size(); ++a)
      for (std::size_t b = a + 1; b < fragments.size(); ++b)
        if (std::fabs(fragments[a].m_mz + fragments[b].m_mz - mass - 2.0 * kProtonMass) < 1e-3)
          expected += std::sqrt(fragments[a].m_intensity * fragments[b].m_intensity);
    FragmentPairs pairs;
    pairs.Take(fragments, 10.0);
    EXPECT_NEAR(pairs.PairShare(mass), expected / total, 1e-9);
  }
}

}  // namespace
}  // namespace tarvek::joint
