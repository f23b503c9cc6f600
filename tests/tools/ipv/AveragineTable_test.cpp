#include "ipv/AveragineTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <map>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "TestSupport.h"

namespace tarvek::tools {
namespace {

constexpr double kEnrichment = 0.99;

// Some 3000 sums of doubles of at most 1 with relative errors of 1e-16 each stay below 1e-12.
constexpr double kRounding = 1e-12;

using Isotopes = std::map<int, long double>;  // mass number to abundance

Isotopes IsotopesOf(std::size_t element, std::optional<double> n15_enrichment) {
  if (element == kNitrogen && n15_enrichment)
    return {{14, 1.0L - *n15_enrichment}, {15, *n15_enrichment}};
  switch (element) {
    case kCarbon:
      return {{12, 0.9893L}, {13, 0.0107L}};
    case kHydrogen:
      return {{1, 0.999885L}, {2, 0.000115L}};
    case kNitrogen:
      return {{14, 0.99636L}, {15, 0.00364L}};
    case kOxygen:
      return {{16, 0.99757L}, {17, 0.00038L}, {18, 0.00205L}};
    default:
      return {{32, 0.9499L}, {33, 0.0075L}, {34, 0.0425L}, {36, 0.0001L}};
  }
}

/// The mass number that an atom of the element has in M.
int MassNumberInM(std::size_t element, std::optional<double> n15_enrichment) {
  if (element == kNitrogen && n15_enrichment) return 15;
  return IsotopesOf(element, n15_enrichment).begin()->first;
}

IsotopeEnvelope Scaled(const std::array<long double, kPeaks>& intensities) {
  const long double largest = *std::ranges::max_element(intensities);
  IsotopeEnvelope envelope{};
  for (std::size_t k = 0; k < kPeaks; ++k)
    envelope[k] = static_cast<double>(intensities[k] / largest);
  return envelope;
}

/// The five probabilities of a whole number of atoms, by adding one atom at a time to the
/// distribution of the whole mass number. Nothing is truncated.
std::array<long double, kPeaks> ConvolvedAtomByAtom(const AtomCounts& whole_counts,
                                                    std::optional<double> n15_enrichment) {
  Isotopes molecule{{0, 1.0L}};
  int mass_number_of_m = 0;
  for (std::size_t element = 0; element < kElementCount; ++element) {
    for (int atom = 0; atom < static_cast<int>(whole_counts[element]); ++atom) {
      Isotopes grown;
      for (const auto& [molecule_mass, probability] : molecule)
        for (const auto& [atom_mass, abundance] : IsotopesOf(element, n15_enrichment))
          grown[molecule_mass + atom_mass] += probability * abundance;
      molecule = std::move(grown);
      mass_number_of_m += MassNumberInM(element, n15_enrichment);
    }
  }
  std::array<long double, kPeaks> five{};
  for (std::size_t k = 0; k < kPeaks; ++k)
    five[k] = molecule[mass_number_of_m + static_cast<int>(k)];
  return five;
}

/// The mixture of the 32 molecules with each count rounded down or up, weighted by how near the
/// mean count is to each.
IsotopeEnvelope MixtureOfWholeMolecules(const AtomCounts& counts,
                                        std::optional<double> n15_enrichment) {
  std::array<long double, kPeaks> mixture{};
  for (unsigned choice = 0; choice < 1U << kElementCount; ++choice) {
    AtomCounts whole{};
    long double weight = 1.0L;
    for (std::size_t element = 0; element < kElementCount; ++element) {
      const double below = std::floor(counts[element]);
      const bool is_up = (choice >> element & 1U) != 0;
      const double fraction = counts[element] - below;
      whole[element] = is_up ? below + 1.0 : below;
      weight *= is_up ? fraction : 1.0 - fraction;
    }
    const auto five = ConvolvedAtomByAtom(whole, n15_enrichment);
    for (std::size_t k = 0; k < kPeaks; ++k) mixture[k] += weight * five[k];
  }
  return Scaled(mixture);
}

using Complex = std::complex<long double>;

/// Value at z of the generating function of the mass shifts, M being the power 0.
Complex GeneratingFunction(const AtomCounts& counts, std::optional<double> n15_enrichment,
                           Complex z) {
  Complex value = 1.0L;
  for (std::size_t element = 0; element < kElementCount; ++element) {
    Complex atom = 0.0L;
    for (const auto& [mass, abundance] : IsotopesOf(element, n15_enrichment))
      atom += abundance * std::pow(z, mass - MassNumberInM(element, n15_enrichment));
    const double below = std::floor(counts[element]);
    const long double fraction = counts[element] - below;
    value *= std::pow(atom, static_cast<int>(below)) * (1.0L - fraction + fraction * atom);
  }
  return value;
}

/// Coefficients 0..4 of the generating function by an inverse Fourier transform of its values on
/// the unit circle; 512 points leave room for every shift of a noticeable probability.
IsotopeEnvelope FourierEnvelope(const AtomCounts& counts, std::optional<double> n15_enrichment) {
  constexpr int kPoints = 512;
  std::array<Complex, kPeaks> coefficients{};
  for (int point = 0; point < kPoints; ++point) {
    const long double angle = 2.0L * std::numbers::pi_v<long double> * point / kPoints;
    const Complex value = GeneratingFunction(counts, n15_enrichment, std::polar(1.0L, angle));
    for (std::size_t k = 0; k < kPeaks; ++k)
      coefficients[k] += value * std::polar(1.0L, -angle * static_cast<long double>(k));
  }
  std::array<long double, kPeaks> five{};
  for (std::size_t k = 0; k < kPeaks; ++k) five[k] = coefficients[k].real();
  return Scaled(five);
}

void ExpectNear(const IsotopeEnvelope& actual, const IsotopeEnvelope& expected, double tolerance) {
  for (std::size_t k = 0; k < kPeaks; ++k) {
    SCOPED_TRACE("peak M+" + std::to_string(k));
    EXPECT_NEAR(actual[k], expected[k], tolerance);
  }
}

// C153 H225 N43 O49 S1.
constexpr AtomCounts kGlucagon{153.0, 225.0, 43.0, 49.0, 1.0};

TEST(EnvelopeOf, ACarbonChainHasTheBinomialRatios) {
  // M+1/M = n r and M+2/M = n (n-1)/2 r^2 with r = 0.0107/0.9893; 60 atoms keep M the largest.
  const IsotopeEnvelope envelope = EnvelopeOf({60.0, 0.0, 0.0, 0.0, 0.0}, std::nullopt);
  const double ratio = 0.0107 / 0.9893;
  ExpectNear(envelope,
             {1.0, 60.0 * ratio, 1770.0 * ratio * ratio, 34220.0 * ratio * ratio * ratio,
              487635.0 * ratio * ratio * ratio * ratio},
             kRounding);
}

TEST(EnvelopeOf, TheFirstRatioOfGlucagonIsTheSumOverItsAtoms) {
  // By hand: 153 * 0.0107/0.9893 + 225 * 0.000115/0.999885 + 43 * 0.00364/0.99636
  //        + 49 * 0.00038/0.99757 + 0.0075/0.9499 = 1.864334 to six decimals.
  const IsotopeEnvelope envelope = EnvelopeOf(kGlucagon, std::nullopt);
  EXPECT_NEAR(envelope[1] / envelope[0], 1.864334, 5e-6);
}

TEST(EnvelopeOf, GlucagonAgreesWithAConvolutionAtomByAtom) {
  ExpectNear(EnvelopeOf(kGlucagon, std::nullopt),
             Scaled(ConvolvedAtomByAtom(kGlucagon, std::nullopt)), kRounding);
}

TEST(EnvelopeOf, WholeCountsAgreeWithAConvolutionAtomByAtom) {
  for (unsigned seed = 0; seed < 20; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const AtomCounts counts{static_cast<double>(random() % 300),
                            static_cast<double>(random() % 450), static_cast<double>(random() % 80),
                            static_cast<double>(random() % 90), static_cast<double>(random() % 6)};
    ExpectNear(EnvelopeOf(counts, std::nullopt), Scaled(ConvolvedAtomByAtom(counts, std::nullopt)),
               kRounding);
  }
}

TEST(EnvelopeOf, MeanCountsAgreeWithTheMixtureOfWholeMolecules) {
  const AtomCounts counts{20.25, 31.5, 5.75, 6.1, 0.3};
  ExpectNear(EnvelopeOf(counts, std::nullopt), MixtureOfWholeMolecules(counts, std::nullopt),
             kRounding);
}

TEST(EnvelopeOf, NoAtomsLeaveMAlone) {
  EXPECT_EQ(EnvelopeOf(AtomCounts{}, std::nullopt), (IsotopeEnvelope{1.0, 0.0, 0.0, 0.0, 0.0}));
}

TEST(EnvelopeOf, IsZeroWhenADoubleCannotHoldIt) {
  // 0.9893^100000 is about 1e-467.
  EXPECT_EQ(EnvelopeOf({1e5, 0.0, 0.0, 0.0, 0.0}, std::nullopt), IsotopeEnvelope{});
}

TEST(EnvelopeOf, ANegativeCountIsAFailedCheck) {
  EXPECT_EQ(test::MessageOf([] {
              EnvelopeOf({-0.5, 1.0, 1.0, 1.0, 1.0}, std::nullopt);
            }),
            "count >= 0.0, module IsotopeTable");
}

TEST(EnvelopeOf, AnEnrichmentAboveOneIsAFailedCheck) {
  EXPECT_EQ(test::MessageOf([] { EnvelopeOf(AtomCounts{}, 1.01); }),
            "0 < enrichment && enrichment <= 1, module IsotopeTable");
}

TEST(LabelledEnvelopeOf, OneAtomOf14NMovesAHeavyCarbonToM) {
  // One C and one N. M = 12C 15N or 13C 14N: 0.9893 * 0.99 + 0.0107 * 0.01 = 0.979514.
  // M+1 = 13C 15N: 0.0107 * 0.99 = 0.010593.
  ExpectNear(EnvelopeOf({1.0, 0.0, 1.0, 0.0, 0.0}, kEnrichment),
             {1.0, 0.010593 / 0.979514, 0.0, 0.0, 0.0}, kRounding);
}

TEST(LabelledEnvelopeOf, NitrogenAloneIsOnlyM) {
  EXPECT_EQ(EnvelopeOf({0.0, 0.0, 12.0, 0.0, 0.0}, kEnrichment),
            (IsotopeEnvelope{1.0, 0.0, 0.0, 0.0, 0.0}));
}

TEST(LabelledEnvelopeOf, FullEnrichmentTakesNitrogenOut) {
  AtomCounts without_nitrogen = kGlucagon;
  without_nitrogen[kNitrogen] = 0.0;
  ExpectNear(EnvelopeOf(kGlucagon, 1.0), EnvelopeOf(without_nitrogen, std::nullopt), kRounding);
}

TEST(LabelledEnvelopeOf, GlucagonAgreesWithAConvolutionAtomByAtom) {
  for (const double enrichment : {1.0, 0.99, 0.9, 0.5, 0.1}) {
    SCOPED_TRACE(enrichment);
    ExpectNear(EnvelopeOf(kGlucagon, enrichment),
               Scaled(ConvolvedAtomByAtom(kGlucagon, enrichment)), kRounding);
  }
}

TEST(LabelledEnvelopeOf, MeanCountsAgreeWithTheMixtureOfWholeMolecules) {
  const AtomCounts counts{20.25, 31.5, 5.75, 6.1, 0.3};
  ExpectNear(EnvelopeOf(counts, kEnrichment), MixtureOfWholeMolecules(counts, kEnrichment),
             kRounding);
}

TEST(AveragineCounts, OneResidueHasTheCountsOfAveragine) {
  const AtomCounts counts = AveragineCounts(111.1254 + 1.007276, std::nullopt);
  const AtomCounts expected{4.9384, 7.7583, 1.3577, 1.4773, 0.0417};
  for (std::size_t element = 0; element < kElementCount; ++element)
    EXPECT_NEAR(counts[element], expected[element], kRounding);
}

TEST(AveragineCounts, OneLabelledResidueIsHeavierByItsNitrogen) {
  // 111.1254 + 1.3577 * (15.000109 - 14.003074) = 112.479074.
  const AtomCounts counts = AveragineCounts(112.479074 + 1.007276, kEnrichment);
  EXPECT_NEAR(counts[kNitrogen], 1.3577, 1e-7);
  EXPECT_NEAR(counts[kCarbon], 4.9384, 1e-7);
}

TEST(AveragineCounts, AMassBelowTheProtonHasNoAtoms) {
  EXPECT_EQ(AveragineCounts(1.0, std::nullopt), AtomCounts{});
}

TEST(ComputeIsotopeTable, HasARowPerDalton) {
  EXPECT_EQ(ComputeIsotopeTable(std::nullopt).size(), 15000U);
}

TEST(ComputeIsotopeTable, TheLargestNumberOfEachRowIsOneAndNoneIsNegative) {
  for (const std::optional<double> label : {std::optional<double>{}, std::optional(kEnrichment)}) {
    const auto rows = ComputeIsotopeTable(label);
    for (std::size_t i = 0; i < rows.size(); ++i) {
      ASSERT_EQ(std::ranges::max(rows[i]), 1.0) << "row " << i;
      ASSERT_GE(std::ranges::min(rows[i]), 0.0) << "row " << i;
      ASSERT_FALSE(std::signbit(std::ranges::min(rows[i]))) << "row " << i;
    }
  }
}

TEST(ComputeIsotopeTable, RowsAgreeWithTheFourierTransformOfTheGeneratingFunction) {
  for (const std::optional<double> label : {std::optional<double>{}, std::optional(kEnrichment)}) {
    const auto rows = ComputeIsotopeTable(label);
    for (const std::size_t i : {2U, 10U, 111U, 500U, 1000U, 1848U, 3000U, 7777U, 14999U}) {
      SCOPED_TRACE("row " + std::to_string(i));
      ExpectNear(rows[i], FourierEnvelope(AveragineCounts(static_cast<double>(i), label), label),
                 kRounding);
    }
  }
}

TEST(ComputeIsotopeTable, MPlusOneOvertakesMNearEighteenHundredDalton) {
  // The well-known mass at which the monoisotopic peak of a peptide stops being the largest.
  const auto rows = ComputeIsotopeTable(std::nullopt);
  const auto first =
      std::ranges::find_if(rows, [](const IsotopeEnvelope& row) { return row[1] > row[0]; });
  const auto mass_da = first - rows.begin();
  EXPECT_GT(mass_da, 1750);
  EXPECT_LT(mass_da, 1900);
}

// Adding d of an atom with abundance p of its lightest isotope changes a probability by at most d
// (1 - p)/p times the largest of the five: it loses d (1 - p) of the envelope without this part of
// an atom and gains at most as much from lower peaks, and that envelope is at most 1/p of the whole
// one. A dalton holds 0.0089988 averagine residues, so the sum over the elements is
//   (4.9384 * 0.010816 + 7.7583 * 0.000115 + 1.3577 * 0.003653 + 1.4773 * 0.002436
//    + 0.0417 * 0.052743) * 0.0089988 = 0.000586.
// The largest of the five changes by as much, which at most doubles the change of a quotient.
TEST(ComputeIsotopeTable, NeighbouringRowsDifferByLessThanAnAtomPerDaltonAllows) {
  constexpr double kBound = 2.0 * 0.000586 * 1.01;
  const auto rows = ComputeIsotopeTable(std::nullopt);
  for (std::size_t i = 1; i < rows.size(); ++i)
    for (std::size_t k = 0; k < kPeaks; ++k)
      ASSERT_LE(std::abs(rows[i][k] - rows[i - 1][k]), kBound) << "row " << i << ", M+" << k;
}

// The first ratio is a sum over the elements. A fraction f of an atom adds f p1/(1 - q f) with
// q = 1 - p0, which lies below the straight line f p1/p0 by (p1/p0) q f (1 - f)/(1 - q f), at most
// (p1/p0) (q/p0)/4: carbon 2.9e-5, nitrogen 3.3e-6, oxygen 2e-7, sulphur 1.04e-4, in all 1.37e-4.
TEST(ComputeIsotopeTable, TheFirstRatioIsNearlyLinearInTheMass) {
  const double ratio_per_residue = 4.9384 * 0.0107 / 0.9893 + 7.7583 * 0.000115 / 0.999885 +
                                   1.3577 * 0.00364 / 0.99636 + 1.4773 * 0.00038 / 0.99757 +
                                   0.0417 * 0.0075 / 0.9499;
  const auto rows = ComputeIsotopeTable(std::nullopt);
  for (std::size_t i = 2; i < rows.size(); ++i) {
    const double line = ratio_per_residue * (static_cast<double>(i) - 1.007276) / 111.1254;
    const double below = line - rows[i][1] / rows[i][0];
    ASSERT_GE(below, -kRounding * line) << "row " << i;
    ASSERT_LE(below, 1.5e-4) << "row " << i;
  }
}

TEST(ComputeLabelledIsotopeTable, ARowIsThatOfTheUnlabelledPeptideOfTheSameComposition) {
  // Row 2000 of the labelled table: the neutral mass 1998.992724 is 17.772130 residues of
  // 112.479074 Da, and its nitrogen is that many times 1.3577.
  const auto rows = ComputeIsotopeTable(1.0);
  const double residues = 1998.992724 / 112.479074;
  const AtomCounts without_nitrogen{4.9384 * residues, 7.7583 * residues, 0.0, 1.4773 * residues,
                                    0.0417 * residues};
  ExpectNear(rows[2000], EnvelopeOf(without_nitrogen, std::nullopt), 1e-7);
}

TEST(ComputeLabelledIsotopeTable, LabelledPeptidesHaveASmallerFirstRatioThanNaturalOnes) {
  // The label removes the share of natural 15N, 43/1864 of the ratio of glucagon, and makes the
  // residue heavier.
  const auto labelled = ComputeIsotopeTable(kEnrichment);
  const auto natural = ComputeIsotopeTable(std::nullopt);
  for (std::size_t i = 2; i < natural.size(); ++i)
    ASSERT_LT(labelled[i][1] / labelled[i][0], natural[i][1] / natural[i][0]) << "row " << i;
}

TEST(ComputeLabelledIsotopeTable, IsFiniteAtTheSmallestEnrichment) {
  for (const IsotopeEnvelope& row : ComputeIsotopeTable(1e-300))
    ASSERT_EQ(std::ranges::max(row), 1.0);
}

}  // namespace
}  // namespace tarvek::tools
