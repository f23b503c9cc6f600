#include "simulate/Fragments.h"

#include <cmath>

#include "simulate/Realism.h"

namespace tarvek::tools {
namespace {

constexpr double kWaterDa = 18.0105647;
constexpr double kHydrogenDa = 1.00782503;

// How much of each series, and of the precursor unchanged, an activation gives.
struct Yield {
  std::string_view m_activation;
  double m_b;
  double m_y;
  double m_c;
  double m_z;
  double m_precursor;
};
constexpr std::array<Yield, 5> kYields{{
    {"CID", 0.7, 1.0, 0.0, 0.0, 0.02},
    {"HCD", 0.35, 1.0, 0.0, 0.0, 0.04},
    {"ETD", 0.0, 0.0, 1.0, 0.8, 0.40},
    {"ETCID", 0.3, 0.5, 1.0, 0.8, 0.20},
    {"ETHCD", 0.4, 0.8, 1.0, 0.8, 0.15},
}};

const Yield& YieldOf(std::string_view activation) {
  for (const Yield& yield : kYields)
    if (yield.m_activation == activation) return yield;
  return kYields[1];
}

std::size_t LetterIndex(char letter) { return static_cast<std::size_t>(letter - 'A'); }

}  // namespace

/// The fragments of one ion while they are collected.
struct Fragmenter::Shower {
  const Yield& m_yield;
  int m_precursor_charges;
  Random m_random;
  double m_sum = 0.0;
  std::vector<Emission>& m_emissions;
};

Fragmenter::Fragmenter(std::optional<double> n15_enrichment, bool is_negative, double realism)
    : m_is_negative(is_negative), m_realism(realism) {
  const IsotopeCalculator calculator(n15_enrichment);
  Composition ammonia;
  ammonia.m_atoms = {0, 3, 1, 0, 0};
  m_ammonia_da = calculator.MonoisotopicMass(ammonia);
  for (const char letter : std::string_view("ACDEFGHIKLMNPQRSTVWYm"))
    m_residue_da[LetterIndex(letter)] = calculator.MonoisotopicMass(ResidueComposition(letter));
}

void Fragmenter::Append(const Peptide& peptide, int charges, std::string_view activation,
                        double current, std::vector<Emission>& emissions) const {
  constexpr double kSiteLnDeviation = 1.0;
  constexpr double kProlineGain = 3.0;  // of the cut before proline
  const std::size_t first = emissions.size();
  Shower shower{YieldOf(activation), charges,
                Random(peptide.m_fragment_seed, static_cast<std::uint64_t>(charges)), 0.0,
                emissions};
  double prefix_da = 0.0;
  const std::string& sequence = peptide.m_sequence;
  for (std::size_t cut = 1; cut < sequence.size(); ++cut) {
    prefix_da += m_residue_da[LetterIndex(sequence[cut - 1])];
    const double gain = sequence[cut] == 'P' ? kProlineGain : 1.0;
    const double weight = gain * shower.m_random.LogNormal(1.0, kSiteLnDeviation);
    AppendCut(shower, prefix_da, peptide.m_mass_da - kWaterDa - prefix_da, weight);
  }
  double kept = shower.m_yield.m_precursor;
  if (m_realism > 0.0) kept *= PrecursorLeft(m_realism, shower.m_random);
  AppendIsotopes(shower, peptide.m_mass_da, charges, shower.m_sum * kept / (1.0 - kept));
  for (std::size_t i = first; i < emissions.size(); ++i)
    emissions[i].m_current *= current / shower.m_sum;
}

void Fragmenter::AppendCut(Shower& shower, double prefix_da, double suffix_da,
                           double weight) const {
  const Yield& yield = shower.m_yield;
  const double radical_da = kWaterDa - m_ammonia_da + kHydrogenDa;
  AppendSeries(shower, prefix_da, weight * yield.m_b, Losses::kYes);
  AppendSeries(shower, suffix_da + kWaterDa, weight * yield.m_y, Losses::kYes);
  AppendSeries(shower, prefix_da + m_ammonia_da, weight * yield.m_c, Losses::kNo);
  AppendSeries(shower, suffix_da + radical_da, weight * yield.m_z, Losses::kNo);
}

/// A fragment and, when it has any, its losses of water and ammonia.
void Fragmenter::AppendSeries(Shower& shower, double mass_da, double weight, Losses losses) const {
  constexpr double kSeriesLnDeviation = 0.7;
  constexpr double kLossChance = 0.25;
  constexpr double kLossYield = 0.2;
  if (weight == 0.0) return;
  const double own =
      weight * shower.m_random.LogNormal(1.0, SeriesGrowth(m_realism) * kSeriesLnDeviation);
  AppendFragment(shower, mass_da, own);
  if (losses == Losses::kNo) return;
  if (shower.m_random.Chance(kLossChance))
    AppendFragment(shower, mass_da - kWaterDa, own * kLossYield);
  if (shower.m_random.Chance(kLossChance))
    AppendFragment(shower, mass_da - m_ammonia_da, own * kLossYield);
}

/// Large fragments of highly charged ions keep two charges in part.
void Fragmenter::AppendFragment(Shower& shower, double mass_da, double weight) const {
  const int charges = shower.m_precursor_charges;
  const bool is_large = mass_da > (charges >= 3 ? 600.0 : 1200.0);
  const double twice = charges < 2 || !is_large ? 0.0 : charges >= 3 ? 0.4 : 0.15;
  AppendIsotopes(shower, mass_da, 1, weight * (1.0 - twice));
  if (twice > 0.0) AppendIsotopes(shower, mass_da, 2, weight * twice);
}

void Fragmenter::AppendIsotopes(Shower& shower, double mass_da, int charges, double weight) const {
  constexpr double kSpacingDa = 1.0031;
  // M+1 / M per Da of averagine; fragments are given Poisson envelopes of this mean.
  constexpr double kSinglyHeavyPerDa = 0.00054;
  constexpr int kFragmentIsotopes = 4;
  constexpr double kSmallestFraction = 0.001;
  if (mass_da <= 0.0) return;
  const double mean = mass_da * kSinglyHeavyPerDa;
  double fraction = std::exp(-mean);
  for (int isotope = 0; isotope < kFragmentIsotopes; ++isotope) {
    if (isotope > 0) fraction *= mean / isotope;
    if (fraction < kSmallestFraction) continue;
    const double mz = MzOf(mass_da + isotope * kSpacingDa, charges, m_is_negative);
    shower.m_emissions.push_back({mz, weight * fraction, 0, isotope});
    shower.m_sum += weight * fraction;
  }
}

}  // namespace tarvek::tools
