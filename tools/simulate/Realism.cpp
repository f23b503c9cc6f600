#include "simulate/Realism.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tarvek::tools {
namespace {

struct Exchange {
  char m_from;
  char m_to;
};
// Deamidation (+0.984 Da), oxidation (+15.995 Da), a homologue (+14.016 Da).
constexpr std::array<Exchange, 4> kExchanges{{{'N', 'D'}, {'Q', 'E'}, {'M', 'm'}, {'V', 'L'}}};

/// For probabilities that grow with realism up to 1.
double Part(double realism) { return std::min(1.0, realism); }

}  // namespace

// The constants of the functions below hold at a realism of 1. docs/simulator.md shows the runs that
// they come from.

double ScanSlowdown(double realism) { return 1.0 + 0.8 * Part(realism); }

void MakeUneven(double realism, Random& random, ElutionProfile& profile) {
  constexpr double kTailGrowth = 0.6;
  constexpr double kSecondPeak = 0.2;
  profile.m_tau_s *= 1.0 + realism * random.Exponential(kTailGrowth);
  if (!random.Chance(kSecondPeak * Part(realism))) return;
  profile.m_second_share = random.Uniform(0.15, 0.8);
  profile.m_second_delay_s = profile.m_sigma_s * random.Uniform(1.5, 4.0);
}

double VariantChance(double realism) { return 0.15 * Part(realism); }

std::string VariantSequence(const std::string& sequence, Random& random) {
  std::vector<std::size_t> places;
  const auto exchange_of = [](char residue) {
    return std::ranges::find(kExchanges, residue, &Exchange::m_from);
  };
  for (std::size_t i = 0; i < sequence.size(); ++i)
    if (exchange_of(sequence[i]) != kExchanges.end()) places.push_back(i);
  std::string variant = sequence;
  if (places.empty()) return variant;
  const std::size_t place = places[random.Below(places.size())];
  variant[place] = exchange_of(sequence[place])->m_to;
  return variant;
}

std::size_t ContaminantCount(double realism) {
  return static_cast<std::size_t>(std::lround(700.0 * realism));
}

void ShakeSpray(double realism, std::size_t sources, Random& random, std::vector<Emission>& lines) {
  constexpr double kSurveyLnDeviation = 0.25;
  constexpr double kIonLnDeviation = 0.12;
  constexpr double kBreakdown = 0.03;
  double survey = random.LogNormal(1.0, kSurveyLnDeviation * realism);
  if (random.Chance(kBreakdown * Part(realism))) survey *= random.Uniform(0.1, 0.5);
  std::vector<double> factors(sources);
  for (double& factor : factors) factor = survey * random.LogNormal(1.0, kIonLnDeviation * realism);
  for (Emission& line : lines) line.m_current *= factors[static_cast<std::size_t>(line.m_source)];
}

double PeptideAmount(double realism) { return std::pow(10.0, -0.3 * realism); }

double MzErrorGrowth(double realism) { return 1.0 + 0.25 * realism; }

double IntensityErrorGrowth(double realism) { return 1.0 + realism; }

double DropoutChance(double realism, double limits) {
  constexpr double kDropoutAtLimit = 0.5;
  constexpr double kDropoutLimits = 1.5;  // the height over which it falls by e
  return Part(realism) * kDropoutAtLimit * std::min(1.0, std::exp((1.0 - limits) / kDropoutLimits));
}

double PrecursorLeft(double realism, Random& random) {
  constexpr double kLn = -2.5;
  constexpr double kLnDeviation = 1.5;
  return std::min(1.0, std::exp(realism * (kLn + kLnDeviation * random.Normal())));
}

double SeriesGrowth(double realism) { return 1.0 + 1.2 * realism; }

}  // namespace tarvek::tools
