#include "simulate/Fragments.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "SpectrumRecords.h"

namespace tarvek::tools {
namespace {

Peptide PeptideOf(const std::string& sequence,
                  std::optional<double> n15_enrichment = std::nullopt) {
  Peptide peptide;
  peptide.m_sequence = sequence;
  peptide.m_mass_da =
      IsotopeCalculator(n15_enrichment).MonoisotopicMass(PeptideComposition(sequence));
  peptide.m_fragment_seed = 99;
  return peptide;
}

std::vector<Emission> FragmentsOf(const std::string& activation, bool is_negative = false,
                                  std::optional<double> n15_enrichment = std::nullopt) {
  std::vector<Emission> fragments;
  Fragmenter(n15_enrichment, is_negative)
      .Append(PeptideOf("LVNELTEFAK", n15_enrichment), 2, activation, 1000.0, fragments);
  return fragments;
}

bool HasMz(const std::vector<Emission>& fragments, double mz) {
  return std::ranges::any_of(
      fragments, [&](const Emission& fragment) { return std::abs(fragment.m_mz - mz) < 2e-4; });
}

class CurrentOfFragments : public testing::TestWithParam<std::string_view> {};

TEST_P(CurrentOfFragments, IsThatOfTheIon) {
  double sum = 0.0;
  for (const Emission& fragment : FragmentsOf(std::string(GetParam()))) sum += fragment.m_current;
  EXPECT_NEAR(sum, 1000.0, 1e-6);
}

INSTANTIATE_TEST_SUITE_P(AllActivations, CurrentOfFragments, testing::ValuesIn(kActivationTypes));

// y1 of lysine: 128.09496 + 18.01056 + 1.00728.
TEST(Fragments, HoldTheYSeries) { EXPECT_TRUE(HasMz(FragmentsOf("HCD"), 147.11280)); }

// b2 of LV: 113.08406 + 99.06841 + 1.00728.
TEST(Fragments, HoldTheBSeries) { EXPECT_TRUE(HasMz(FragmentsOf("CID"), 213.15975)); }

// c2 of LV: b2 + 17.02655.
TEST(Fragments, HoldTheCSeriesOfElectronTransfer) {
  EXPECT_TRUE(HasMz(FragmentsOf("ETD"), 230.18630));
}

TEST(Fragments, OfElectronTransferAloneHoldNoBSeries) {
  EXPECT_FALSE(HasMz(FragmentsOf("ETD"), 213.15975));
}

TEST(Fragments, OfBothKindsHoldBothSeries) {
  const auto fragments = FragmentsOf("ETHCD");
  EXPECT_TRUE(HasMz(fragments, 213.15975));
  EXPECT_TRUE(HasMz(fragments, 230.18630));
}

TEST(Fragments, HoldThePrecursor) { EXPECT_TRUE(HasMz(FragmentsOf("HCD"), 582.31896)); }

// y2 of mK: y1 of lysine + 131.04048 + 15.99491.
TEST(Fragments, HoldOxidisedMethionine) {
  std::vector<Emission> fragments;
  Fragmenter(std::nullopt, false).Append(PeptideOf("LVNEmK"), 2, "HCD", 1000.0, fragments);
  EXPECT_TRUE(HasMz(fragments, 147.11280 + 131.04048 + 15.99491));
}

/// Current that stays at the m/z of the precursor, its isotopes included, of many peptides.
double PrecursorCurrent(double realism) {
  double sum = 0.0;
  for (std::uint64_t seed = 0; seed < 300; ++seed) {
    Peptide peptide = PeptideOf("LVNELTEFAK");
    peptide.m_fragment_seed = seed;
    std::vector<Emission> fragments;
    Fragmenter(std::nullopt, false, realism).Append(peptide, 2, "HCD", 1.0, fragments);
    for (const Emission& fragment : fragments)
      if (std::abs(fragment.m_mz - 582.31896 - fragment.m_isotope * 0.50155) < 1e-3)
        sum += fragment.m_current / 300.0;
  }
  return sum;
}

// HCD leaves 4 %; of that exp(-2.5 + 1.5 N(0, 1)), at most all: a fifth on average.
TEST(RealisticFragments, LeaveLessOfThePrecursor) {
  EXPECT_NEAR(PrecursorCurrent(0.0), 0.04, 0.002);
  EXPECT_LT(PrecursorCurrent(1.0), 0.016);
  EXPECT_GT(PrecursorCurrent(1.0), 0.004);
}

// y1 with two protons fewer.
TEST(Fragments, OfNegativeIonsLackProtons) {
  EXPECT_TRUE(HasMz(FragmentsOf("HCD", true), 147.11280 - 2 * 1.007276));
}

// Lysine has two atoms of nitrogen.
TEST(Fragments, AreLabelledLikeThePeptide) {
  EXPECT_TRUE(HasMz(FragmentsOf("HCD", false, 0.99), 147.11280 + 2 * 0.997035));
}

TEST(Fragments, HaveTheSamePatternEachTime) {
  const auto first = FragmentsOf("HCD");
  const auto second = FragmentsOf("HCD");
  ASSERT_EQ(first.size(), second.size());
  for (std::size_t i = 0; i < first.size(); ++i) EXPECT_EQ(first[i].m_current, second[i].m_current);
}

}  // namespace
}  // namespace tarvek::tools
