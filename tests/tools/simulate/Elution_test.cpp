#include "simulate/Elution.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "SpectrumRecords.h"

namespace tarvek::tools {
namespace {

constexpr ElutionProfile kProfile{100.0, 4.0, 3.0};

TEST(ElutionProfile, IsNearOneAtTheTop) {
  double top = 0.0;
  for (double t = 80.0; t < 130.0; t += 0.1) top = std::max(top, kProfile.At(t));
  EXPECT_NEAR(top, 1.0, 0.15);
}

TEST(ElutionProfile, HasATailBehindTheTop) {
  EXPECT_GT(kProfile.At(100.0 + 12.0), 3.0 * kProfile.At(100.0 - 12.0));
}

// A density times sqrt(sigma^2 + tau^2) sqrt(2 pi) = 5 * 2.506628.
TEST(ElutionProfile, HasTheAreaOfAGaussianOfItsVariance) {
  double area = 0.0;
  for (double t = 50.0; t < 250.0; t += 0.1) area += 0.1 * kProfile.At(t);
  EXPECT_NEAR(area, 12.53314, 0.01);
}

// 1.5 times the area of the first peak alone.
TEST(ElutionProfile, MayComeASecondTime) {
  const ElutionProfile twice{100.0, 4.0, 3.0, 0.5, 20.0};
  double area = 0.0;
  for (double t = 50.0; t < 250.0; t += 0.1) area += 0.1 * twice.At(t);
  EXPECT_NEAR(area, 1.5 * 12.53314, 0.02);
  EXPECT_NEAR(twice.At(123.0), kProfile.At(123.0) + 0.5 * kProfile.At(103.0), 1e-12);
  EXPECT_LT(twice.At(twice.End()), 2e-3);
}

TEST(ElutionProfile, IsNegligibleOutsideItsLimits) {
  EXPECT_LT(kProfile.At(kProfile.Begin()), 1e-3);
  EXPECT_LT(kProfile.At(kProfile.End()), 2e-3);
}

// (1162.62336 + 2 * 1.007276) / 2
TEST(MzOf, AddsProtonsToPositiveIons) { EXPECT_NEAR(MzOf(1162.62336, 2, false), 582.318956, 1e-6); }

TEST(MzOf, TakesProtonsFromNegativeIons) {
  EXPECT_NEAR(MzOf(1162.62336, 2, true), 580.304404, 1e-6);
}

std::vector<std::string> SequencesAt(const SimulateOptions& options, double seconds) {
  PeptideStream stream(options, 3600.0);
  stream.AdvanceTo(seconds);
  std::vector<std::string> sequences;
  for (const Peptide& peptide : stream.Present()) sequences.push_back(peptide.m_sequence);
  return sequences;
}

TEST(PeptideStream, TheSameSeedGivesTheSamePeptides) {
  EXPECT_EQ(SequencesAt({}, 50.0), SequencesAt({}, 50.0));
}

TEST(PeptideStream, AnotherSeedGivesOtherPeptides) {
  SimulateOptions other;
  other.m_seed = 2;
  EXPECT_NE(SequencesAt({}, 50.0), SequencesAt(other, 50.0));
}

TEST(PeptideStream, WhatIsPresentDoesNotDependOnTheStepsTakenThere) {
  PeptideStream stream({}, 3600.0);
  for (double t = 0.0; t < 300.0; t += 0.7) stream.AdvanceTo(t);
  stream.AdvanceTo(300.0);
  std::vector<std::string> sequences;
  for (const Peptide& peptide : stream.Present()) sequences.push_back(peptide.m_sequence);
  EXPECT_EQ(sequences, SequencesAt({}, 300.0));
}

TEST(PeptideStream, HoldsNoMoreLaterThanSooner) {
  PeptideStream stream({}, 3600.0);
  stream.AdvanceTo(300.0);
  const std::size_t soon = stream.Present().size();
  stream.AdvanceTo(3000.0);
  EXPECT_LT(stream.Present().size(), soon + soon / 4);
  EXPECT_GT(stream.Present().size(), soon - soon / 4);
}

TEST(PeptideStream, HydrophobicPeptidesComeLater) {
  const auto mean_at = [](double seconds) {
    double sum = 0.0;
    const auto sequences = SequencesAt({}, seconds);
    for (const std::string& sequence : sequences) sum += Hydrophobicity(sequence);
    return sum / static_cast<double>(sequences.size());
  };
  EXPECT_GT(mean_at(1800.0), mean_at(300.0) + 5.0);
  EXPECT_GT(mean_at(3300.0), mean_at(1800.0) + 5.0);
}

TEST(PeptideStream, IonsBelongToTheirPeptide) {
  PeptideStream stream({}, 3600.0);
  stream.AdvanceTo(100.0);
  IsotopeCalculator calculator(std::nullopt);
  for (const Peptide& peptide : stream.Present()) {
    const double mass_da = calculator.MonoisotopicMass(PeptideComposition(peptide.m_sequence));
    for (const Ion& ion : peptide.m_ions)
      ASSERT_NEAR((ion.m_mono_mz - kProtonMass) * ion.m_charge, mass_da, 1e-6);
  }
}

TEST(PeptideStream, LinesLieInTheRangeOfTheSurveys) {
  PeptideStream stream({}, 3600.0);
  stream.AdvanceTo(100.0);
  for (const Peptide& peptide : stream.Present())
    for (const Ion& ion : peptide.m_ions)
      for (const IonLine& line : ion.m_lines) {
        ASSERT_GE(line.m_mz, 350.0);
        ASSERT_LE(line.m_mz, 1500.0);
      }
}

TEST(PeptideStream, AmountsSpanFiveDecades) {
  SimulateOptions options;
  PeptideStream stream(options, 3600.0);
  double smallest = 1e30;
  double largest = 0.0;
  for (double t = 0.0; t < 3600.0; t += 50.0) {
    stream.AdvanceTo(t);
    for (const Peptide& peptide : stream.Present()) {
      smallest = std::min(smallest, peptide.m_current);
      largest = std::max(largest, peptide.m_current);
    }
  }
  EXPECT_NEAR(std::log10(largest / smallest), 5.0, 0.3);
}

// Cyclic (C2 H6 Si O)6, protonated: 445.12003.
TEST(Background, HoldsThePolysiloxaneOfSixUnits) {
  const auto ions = DrawBackground({});
  const auto found = std::ranges::find_if(ions, [](const BackgroundIon& ion) {
    return std::abs(ion.m_ion.m_mono_mz - 445.12) < 0.001;
  });
  ASSERT_NE(found, ions.end());
  EXPECT_NEAR(found->m_ion.m_mono_mz, 445.12003, 1e-4);
}

TEST(Background, IsSinglyCharged) {
  for (const BackgroundIon& ion : DrawBackground({})) EXPECT_EQ(ion.m_ion.m_charge, 1);
}

SimulateOptions AsRealRuns() {
  SimulateOptions options;
  options.m_realism = 1.0;
  return options;
}

TEST(RealisticPeptides, AreThoseOfTheModelAndVariantsOfSome) {
  const auto usual = SequencesAt({}, 300.0);
  const auto real = SequencesAt(AsRealRuns(), 300.0);
  std::size_t found = 0;
  for (const std::string& sequence : usual)
    found += static_cast<std::size_t>(std::ranges::count(real, sequence));
  EXPECT_EQ(found, usual.size()) << "longer tails only add to what is present";
  EXPECT_GT(real.size(), usual.size() * 108 / 100);
}

// 15 % of the peptides, but one in seven has no residue that can change: 16 % of the residues can,
// and a peptide has seven or more.
TEST(RealisticPeptides, BringVariantsOfTheirOwnTime) {
  PeptideStream stream(AsRealRuns(), 3600.0);
  std::size_t variants = 0;
  std::size_t all = 0;
  for (double seconds = 0.0; seconds < 3600.0; seconds += 150.0) {
    stream.AdvanceTo(seconds);
    const auto& present = stream.Present();
    all += present.size();
    for (std::size_t i = 0; i + 1 < present.size(); ++i) {
      const Peptide& variant = present[i];
      const Peptide& peptide = present[i + 1];
      if (variant.m_fragment_seed != peptide.m_fragment_seed) continue;
      ++variants;
      ASSERT_NE(variant.m_sequence, peptide.m_sequence);
      ASSERT_EQ(variant.m_sequence.size(), peptide.m_sequence.size());
      ASSERT_LT(variant.m_current, 0.6 * peptide.m_current);
      ASSERT_LE(std::abs(variant.m_profile.m_apex_s - peptide.m_profile.m_apex_s),
                peptide.m_profile.m_sigma_s);
    }
  }
  EXPECT_NEAR(static_cast<double>(variants) / static_cast<double>(all - variants), 0.13, 0.015);
}

TEST(Contaminants, JoinTheUsualBackground) {
  const auto usual = DrawBackground({});
  const auto real = DrawBackground(AsRealRuns());
  ASSERT_EQ(real.size(), usual.size() + 700);
  for (std::size_t i = 0; i < usual.size(); ++i) {
    ASSERT_EQ(real[i].m_ion.m_mono_mz, usual[i].m_ion.m_mono_mz);
    ASSERT_EQ(real[i].m_current, usual[i].m_current);
  }
}

// Isotopes half a unit apart; odd and even masses.
TEST(Contaminants, AreDoublyChargedInPart) {
  const auto ions = DrawBackground(AsRealRuns());
  std::size_t doubly = 0;
  for (const BackgroundIon& ion : ions) {
    if (ion.m_ion.m_charge == 1) continue;
    ++doubly;
    ASSERT_EQ(ion.m_ion.m_charge, 2);
    const auto& lines = ion.m_ion.m_lines;
    if (lines.size() > 1) {
      ASSERT_NEAR(lines[1].m_mz - lines[0].m_mz, 1.0033 / 2, 1e-9);
    }
  }
  EXPECT_NEAR(static_cast<double>(doubly), 0.12 * 700, 30.0);
}

// A mean of ln(max / min) of 2 * 1.5, over more than the longest period.
TEST(Contaminants, ComeAndGo) {
  const auto ions = DrawBackground(AsRealRuns());
  double sum = 0.0;
  for (std::size_t i = ions.size() - 700; i < ions.size(); ++i) {
    double least = 1e30;
    double most = 0.0;
    for (double t = 0.0; t < 300.0; t += 1.0) {
      least = std::min(least, ions[i].CurrentAt(t));
      most = std::max(most, ions[i].CurrentAt(t));
    }
    sum += std::log(most / least);
  }
  EXPECT_NEAR(sum / 700.0, 3.0, 0.2);
}

}  // namespace
}  // namespace tarvek::tools
