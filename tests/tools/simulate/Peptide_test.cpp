#include "simulate/Peptide.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "TestSupport.h"

namespace tarvek::tools {
namespace {

constexpr double kN15 = 0.99;

double MassOf(const std::string& sequence, std::optional<double> n15_enrichment = std::nullopt) {
  return IsotopeCalculator(n15_enrichment).MonoisotopicMass(PeptideComposition(sequence));
}

std::vector<Isotopologue> EnvelopeOfPeptide(const std::string& sequence,
                                            std::optional<double> n15_enrichment = std::nullopt) {
  return IsotopeCalculator(n15_enrichment).Envelope(PeptideComposition(sequence));
}

double FractionOf(const std::vector<Isotopologue>& envelope, int isotope) {
  const auto found = std::ranges::find(envelope, isotope, &Isotopologue::m_isotope);
  return found == envelope.end() ? 0.0 : found->m_fraction;
}

double ShiftOf(const std::vector<Isotopologue>& envelope, int isotope) {
  return std::ranges::find(envelope, isotope, &Isotopologue::m_isotope)->m_mass_shift_da;
}

/// Atoms including those of the reagent, counted like in the isotope table.
AtomCounts AtomsOf(const std::string& sequence) {
  const Composition composition = PeptideComposition(sequence);
  AtomCounts atoms{};
  for (std::size_t i = 0; i < kElementCount; ++i)
    atoms[i] = static_cast<double>(composition.m_atoms[i]);
  atoms[kNitrogen] += static_cast<double>(composition.m_reagent_nitrogen);
  return atoms;
}

// Sums of the usual five-decimal residue masses, by hand: L 113.08406, V 99.06841, ...
TEST(PeptideMass, IsTheSumOfResiduesAndWater) {
  EXPECT_NEAR(MassOf("LVNELTEFAK"), 1162.62336, 1e-4);
}

TEST(PeptideMass, HoldsCarbamidomethylatedCysteines) {
  EXPECT_NEAR(MassOf("CCTESLVNR"), 1137.49067, 1e-4);
}

TEST(PeptideMass, CountsEveryAminoAcidOnce) {
  // The average of 20 residues would hide a wrong one: the sum of all residue masses, C as
  // carbamidomethyl cysteine, and water.
  EXPECT_NEAR(MassOf("ACDEFGHIKLMNPQRSTVWY"), 2394.12490 + 57.02146, 1e-3);
}

// One oxygen, 15.994915.
TEST(PeptideMass, HoldsOxidisedMethionine) {
  EXPECT_NEAR(MassOf("AmK") - MassOf("AMK"), 15.994915, 1e-5);
}

TEST(PeptideMass, GrowsWithLabelledNitrogen) {
  EXPECT_NEAR(MassOf("LVNELTEFAK", kN15) - MassOf("LVNELTEFAK"), 12 * 0.9970349, 1e-5);
}

TEST(PeptideMass, TheReagentBringsUnlabelledNitrogen) {
  EXPECT_NEAR(MassOf("CCTESLVNR", kN15) - MassOf("CCTESLVNR"), 13 * 0.9970349, 1e-5);
}

TEST(PeptideComposition, ALetterThatIsNoAminoAcidFailsACheck) {
  EXPECT_THROW(PeptideComposition("PEPTIDEX"), test::CheckFailure);
}

// C53 H86 N12 O17: 53 * 0.0107 / 0.9893 + 86 * 0.000115 / 0.999885 + 12 * 0.00364 / 0.99636
// + 17 * 0.00038 / 0.99757.
TEST(Envelope, TheFirstHeavyPeakFollowsFromTheComposition) {
  const auto envelope = EnvelopeOfPeptide("LVNELTEFAK");
  EXPECT_NEAR(FractionOf(envelope, 1) / FractionOf(envelope, 0), 0.633441, 1e-5);
}

// The same terms, each weighted with the mass difference of its isotope.
TEST(Envelope, TheFirstHeavyPeakLiesAtTheMeanOfItsMolecules) {
  EXPECT_NEAR(ShiftOf(EnvelopeOfPeptide("LVNELTEFAK"), 1), 1.002971, 2e-6);
}

TEST(Envelope, TheMonoisotopicPeakIsNotShifted) {
  EXPECT_NEAR(ShiftOf(EnvelopeOfPeptide("LVNELTEFAK"), 0), 0.0, 1e-9);
}

class EnvelopeOfSequence : public testing::TestWithParam<const char*> {};

TEST_P(EnvelopeOfSequence, AgreesWithTheIsotopeTable) {
  const auto envelope = EnvelopeOfPeptide(GetParam());
  const IsotopeEnvelope expected = EnvelopeOf(AtomsOf(GetParam()), std::nullopt);
  double largest = 0.0;
  for (int k = 0; k < static_cast<int>(kPeaks); ++k)
    largest = std::max(largest, FractionOf(envelope, k));
  for (std::size_t k = 0; k < kPeaks; ++k) {
    if (expected[k] < 0.002) continue;  // smaller ones are left out
    EXPECT_NEAR(FractionOf(envelope, static_cast<int>(k)) / largest, expected[k], 1e-9);
  }
}

TEST_P(EnvelopeOfSequence, HoldsNearlyAllMolecules) {
  double sum = 0.0;
  for (const Isotopologue& part : EnvelopeOfPeptide(GetParam())) sum += part.m_fraction;
  EXPECT_NEAR(sum, 1.0, 0.002);
}

TEST_P(EnvelopeOfSequence, AscendsInMass) {
  for (const auto& envelope : {EnvelopeOfPeptide(GetParam()), EnvelopeOfPeptide(GetParam(), kN15)})
    EXPECT_TRUE(std::ranges::is_sorted(envelope, {}, &Isotopologue::m_mass_shift_da));
}

INSTANTIATE_TEST_SUITE_P(LightAndHeavy, EnvelopeOfSequence,
                         testing::Values("GGGGGGK", "LVNELTEFAK", "CCTESLVNRMMCK",
                                         "WWWWWWWWWWFFFFFFFFFFYYYYYYYYYYMMMMR"));

// Binomial by hand, 12 atoms at 99 %: losing none 0.886385, one 0.107440, two 0.005969; the other
// elements give 0.589601 of M at M+1 and about 0.21 at M+2.
TEST(Envelope, UnlabelledNitrogenGivesAPeakBelowM) {
  const auto envelope = EnvelopeOfPeptide("LVNELTEFAK", kN15);
  const double below = 0.107440 + 0.005969 * 0.589601;
  const double mono = 0.886385 + 0.107440 * 0.589601 + 0.005969 * 0.21;
  EXPECT_NEAR(FractionOf(envelope, -1) / FractionOf(envelope, 0), below / mono, 5e-4);
}

TEST(Envelope, ALabelledOneAgreesWithTheIsotopeTableFromMOn) {
  const auto envelope = EnvelopeOfPeptide("LVNELTEFAK", kN15);
  const IsotopeEnvelope expected = EnvelopeOf(AtomsOf("LVNELTEFAK"), kN15);
  for (std::size_t k = 0; k < kPeaks; ++k)
    EXPECT_NEAR(FractionOf(envelope, static_cast<int>(k)) / FractionOf(envelope, 0), expected[k],
                1e-6);
}

// Between -0.99703 (14N alone) and 0.0063 lower, where a 13C makes up for each further loss.
TEST(Envelope, ThePeakBelowMLiesANitrogenIsotopeLower) {
  EXPECT_NEAR(ShiftOf(EnvelopeOfPeptide("LVNELTEFAK", kN15), -1), -0.99703, 0.0005);
}

TEST(TrypticPeptide, HasTheLengthsAndEndsOfADigest) {
  Random random(11);
  for (int i = 0; i < 2000; ++i) {
    const std::string sequence = RandomTrypticPeptide(random);
    ASSERT_GE(sequence.size(), kMinPeptideLength);
    ASSERT_LE(sequence.size(), kMaxPeptideLength);
    ASSERT_TRUE(sequence.back() == 'K' || sequence.back() == 'R') << sequence;
  }
}

TEST(TrypticPeptide, SometimesHoldsAMissedCleavage) {
  Random random(11);
  int missed = 0;
  for (int i = 0; i < 2000; ++i) {
    const std::string sequence = RandomTrypticPeptide(random);
    missed += sequence.find_first_of("KR") + 1 < sequence.size() ? 1 : 0;
  }
  EXPECT_GT(missed, 200);
  EXPECT_LT(missed, 900);
}

TEST(TrypticPeptide, UsesAllAminoAcids) {
  Random random(11);
  std::set<char> seen;
  for (int i = 0; i < 500; ++i)
    for (const char residue : RandomTrypticPeptide(random)) seen.insert(residue);
  EXPECT_EQ(seen.size(), 20u);
}

// (9.6 + 5.0 - 1.2 + 0 + 9.6 + 0.4 + 0 + 10.5 + 0.8 - 1.9), ten residues: no correction.
TEST(Hydrophobicity, SumsTheCoefficients) { EXPECT_NEAR(Hydrophobicity("LVNELTEFAK"), 32.8, 1e-9); }

TEST(Hydrophobicity, IsLessForShortPeptides) {
  EXPECT_NEAR(Hydrophobicity("LLLK"), (3 * 9.6 - 1.9) * (1.0 - 0.027 * 6.0), 1e-9);
}

double MeanCharge(const std::string& sequence, bool is_negative) {
  Random random(3);
  double sum = 0.0;
  for (int i = 0; i < 200; ++i) {
    const auto fractions = ChargeDistribution(sequence, is_negative, random);
    for (std::size_t k = 0; k < fractions.size(); ++k)
      sum += static_cast<double>(k + 1) * fractions[k];
  }
  return sum / 200.0;
}

TEST(ChargeDistribution, SumsToOne) {
  Random random(3);
  double sum = 0.0;
  for (const double fraction : ChargeDistribution("LVNELTEFAK", false, random)) sum += fraction;
  EXPECT_NEAR(sum, 1.0, 1e-12);
}

TEST(ChargeDistribution, IsMostlyTwoForATypicalTrypticPeptide) {
  EXPECT_NEAR(MeanCharge("LVNELTEFAK", false), 2.0, 0.25);
}

TEST(ChargeDistribution, BasicSitesAddPositiveCharges) {
  EXPECT_GT(MeanCharge("LVHELHEFAK", false), MeanCharge("LVNELTEFAK", false) + 0.5);
}

TEST(ChargeDistribution, AcidicSitesAddNegativeCharges) {
  EXPECT_GT(MeanCharge("LVEELEEFAK", true), MeanCharge("LVNELTEFAK", true) + 0.5);
}

}  // namespace
}  // namespace tarvek::tools
