#include "simulate/Realism.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

namespace tarvek::tools {
namespace {

TEST(Realism, OfNoneLeavesTheModelAlone) {
  EXPECT_EQ(ScanSlowdown(0.0), 1.0);
  EXPECT_EQ(PeptideAmount(0.0), 1.0);
  EXPECT_EQ(VariantChance(0.0), 0.0);
  EXPECT_EQ(ContaminantCount(0.0), 0u);
  EXPECT_EQ(MzErrorGrowth(0.0), 1.0);
  EXPECT_EQ(IntensityErrorGrowth(0.0), 1.0);
  EXPECT_EQ(DropoutChance(0.0, 1.0), 0.0);
  EXPECT_EQ(SeriesGrowth(0.0), 1.0);
}

TEST(Realism, ProbabilitiesGrowNoFurtherThanAtOne) {
  EXPECT_EQ(VariantChance(3.0), VariantChance(1.0));
  EXPECT_EQ(DropoutChance(3.0, 1.0), DropoutChance(1.0, 1.0));
  EXPECT_EQ(ScanSlowdown(3.0), ScanSlowdown(1.0));
}

TEST(MakeUneven, LengthensTailsAndAddsSecondPeaksToSome) {
  Random random(3);
  constexpr int kProfiles = 5000;
  double tau_s = 0.0;
  int seconds = 0;
  for (int i = 0; i < kProfiles; ++i) {
    ElutionProfile profile{100.0, 4.0, 3.0};
    MakeUneven(1.0, random, profile);
    ASSERT_GE(profile.m_tau_s, 3.0);
    ASSERT_EQ(profile.m_sigma_s, 4.0);
    tau_s += profile.m_tau_s / kProfiles;
    if (profile.m_second_share == 0.0) continue;
    ++seconds;
    ASSERT_GE(profile.m_second_delay_s, 1.5 * 4.0);
    ASSERT_LE(profile.m_second_delay_s, 4.0 * 4.0);
  }
  EXPECT_NEAR(tau_s, 3.0 * 1.6, 0.15);
  EXPECT_NEAR(seconds, 0.2 * kProfiles, 0.03 * kProfiles);
}

double MassOf(const std::string& sequence) {
  return IsotopeCalculator(std::nullopt).MonoisotopicMass(PeptideComposition(sequence));
}

double VariantGain(const std::string& sequence) {
  Random random(1);
  return MassOf(VariantSequence(sequence, random)) - MassOf(sequence);
}

// O - N - H; O; C + 2 H.
TEST(VariantSequence, IsDeamidatedOxidisedOrAHomologue) {
  EXPECT_NEAR(VariantGain("ANAK"), 15.994915 - 14.003074 - 1.007825, 1e-5);
  EXPECT_NEAR(VariantGain("AQAK"), 15.994915 - 14.003074 - 1.007825, 1e-5);
  EXPECT_NEAR(VariantGain("AMAK"), 15.994915, 1e-5);
  EXPECT_NEAR(VariantGain("AVAK"), 12.0 + 2 * 1.007825, 1e-5);
}

TEST(VariantSequence, DiffersInOneResidueWhicheverIsDrawn) {
  const std::string sequence = "NQMVNQMVK";
  for (unsigned seed = 0; seed < 50; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    const std::string variant = VariantSequence(sequence, random);
    ASSERT_EQ(variant.size(), sequence.size());
    int changed = 0;
    for (std::size_t i = 0; i < sequence.size(); ++i) changed += variant[i] != sequence[i] ? 1 : 0;
    EXPECT_EQ(changed, 1);
  }
}

TEST(VariantSequence, IsTheSequenceWhenNothingInItChanges) {
  Random random(1);
  EXPECT_EQ(VariantSequence("PEPTIDEK", random), "PEPTIDEK");
}

/// Logarithms of the factors of many surveys for two lines of one source and one of another.
struct Shaken {
  Shaken() {
    Random random(11);
    for (int i = 0; i < 4000; ++i) {
      std::vector<Emission> lines{{500.0, 1.0, 0, 0}, {500.5, 1.0, 0, 1}, {600.0, 1.0, 1, 0}};
      ShakeSpray(1.0, 2, random, lines);
      m_first.push_back(std::log(lines[0].m_current));
      m_isotope.push_back(std::log(lines[1].m_current));
      m_other.push_back(std::log(lines[2].m_current));
    }
  }
  std::vector<double> m_first;
  std::vector<double> m_isotope;
  std::vector<double> m_other;
};

TEST(ShakeSpray, KeepsTheIsotopesOfAnIonInProportion) {
  const Shaken shaken;
  EXPECT_EQ(shaken.m_first, shaken.m_isotope);
}

// Both ions scatter by 0.12 on their own: their ratio by 0.17.
TEST(ShakeSpray, ScattersIonsOnTheirOwn) {
  const Shaken shaken;
  double square = 0.0;
  for (std::size_t i = 0; i < shaken.m_first.size(); ++i)
    square += std::pow(shaken.m_first[i] - shaken.m_other[i], 2.0);
  EXPECT_NEAR(std::sqrt(square / static_cast<double>(shaken.m_first.size())), 0.17, 0.01);
}

// In 3 % the spray breaks down to 0.3 on average; without that e^-1 would be 3.6 deviations away.
TEST(ShakeSpray, ScalesWholeSurveysAndBreaksDownNowAndThen) {
  Shaken shaken;
  std::ranges::sort(shaken.m_first);
  EXPECT_NEAR(shaken.m_first[shaken.m_first.size() / 2], 0.0, 0.03);
  const auto low = std::ranges::lower_bound(shaken.m_first, -1.0) - shaken.m_first.begin();
  EXPECT_NEAR(static_cast<double>(low) / static_cast<double>(shaken.m_first.size()), 0.02, 0.01);
}

TEST(DropoutChance, FallsWithTheHeightOfThePeak) {
  EXPECT_EQ(DropoutChance(1.0, 1.0), 0.5);
  EXPECT_EQ(DropoutChance(0.5, 1.0), 0.25);
  EXPECT_NEAR(DropoutChance(1.0, 2.5), 0.5 * std::exp(-1.0), 1e-12);
  EXPECT_LT(DropoutChance(1.0, 20.0), 1e-5);
}

TEST(PrecursorLeft, IsMostlyFarLessAndNeverMore) {
  Random random(5);
  std::vector<double> left;
  for (int i = 0; i < 2001; ++i) left.push_back(PrecursorLeft(1.0, random));
  std::ranges::sort(left);
  EXPECT_NEAR(left[1000], std::exp(-2.5), 0.01);
  EXPECT_LE(left.back(), 1.0);
}

}  // namespace
}  // namespace tarvek::tools
