#include "simulate/Elution.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "SpectrumRecords.h"
#include "simulate/Realism.h"

namespace tarvek::tools {
namespace {

// Streams of the run's seed.
constexpr std::uint64_t kBackgroundStream = 2;
constexpr std::uint64_t kContaminantStream = 3;
constexpr std::uint64_t kFirstSliceStream = std::uint64_t{1} << 32;
constexpr std::uint64_t kFirstUnevenStream = std::uint64_t{2} << 32;

constexpr double kSliceS = 10.0;
// Slices in front of the run, so that its first scans already see tails.
constexpr std::int64_t kFirstSlice = -12;
// The longest rise of a peak: peptides are drawn this long before their apex.
constexpr double kLeadS = 60.0;

constexpr double kPeptidesPerSecond = 7.0;

// Five decades: 2.5 to either side of the median.
constexpr double kMedianCurrent = 3.0e5;
constexpr double kCurrentDecades = 0.9;
constexpr double kMaxCurrentDecades = 2.5;

constexpr double kMedianSigmaS = 3.8;
constexpr double kSigmaLnDeviation = 0.25;

constexpr std::size_t kRetentionSamples = 4096;
constexpr std::uint64_t kRetentionSeed = 20040701;  // the scale is the same for every run
constexpr int kSequencesTried = 8;

constexpr double kSmallestChargeFraction = 0.002;

constexpr std::size_t kBackgroundIons = 150;
constexpr double kBackgroundMedianCurrent = 9.0e4;
constexpr double kBackgroundLnDeviation = 1.0;

constexpr double kDoublyChargedContaminants = 0.12;
constexpr double kContaminantMedianCurrent = 8.0e4;
constexpr double kContaminantLnDeviation = 1.6;
constexpr double kContaminantSwingLn = 2.5;
constexpr double kContaminantShortestS = 15.0;
constexpr double kContaminantLongestS = 240.0;

// Currents of modified forms, in those of the peptides, and how far apart they elute.
constexpr double kSmallestVariant = 0.05;
constexpr double kLargestVariant = 0.6;
constexpr double kVariantShiftSigmas = 1.0;

double DrawCurrent(Random& random) {
  double decades = kCurrentDecades * random.Normal();
  while (std::abs(decades) > kMaxCurrentDecades) decades = kCurrentDecades * random.Normal();
  return kMedianCurrent * std::pow(10.0, decades);
}

ElutionProfile DrawProfile(double apex_s, Random& random) {
  ElutionProfile profile;
  profile.m_apex_s = apex_s;
  profile.m_sigma_s = std::clamp(random.LogNormal(kMedianSigmaS, kSigmaLnDeviation), 1.5, 10.0);
  profile.m_tau_s = profile.m_sigma_s * random.Uniform(0.3, 1.5);
  return profile;
}

/// The mass defect of background ions: near that of organic matter, 0.0005 m/z per m/z, scattered.
double DrawBackgroundMz(const SimulateOptions& options, Random& random) {
  // More ions at low m/z: uniform in the logarithm.
  const double mz =
      options.m_low_mz * std::pow(options.m_high_mz / options.m_low_mz, random.Uniform());
  return std::floor(mz) + std::floor(mz) * 0.0005 + 0.08 * random.Normal();
}

void AddLine(Ion& ion, const SimulateOptions& options, const IonLine& line) {
  if (line.m_mz >= options.m_low_mz && line.m_mz <= options.m_high_mz) ion.m_lines.push_back(line);
}

/// mz: of the monoisotopic ion.
Ion OrganicIon(double mz, int charges, const SimulateOptions& options) {
  constexpr double kSpacingDa = 1.0033;
  const IsotopeEnvelope envelope =
      EnvelopeOf(AveragineCounts(mz * charges, std::nullopt), std::nullopt);
  double sum = 0.0;
  for (const double intensity : envelope) sum += intensity;
  Ion ion{charges, mz, {}};
  for (std::size_t k = 0; k < envelope.size(); ++k)
    AddLine(ion, options,
            {mz + static_cast<double>(k) * kSpacingDa / charges, envelope[k] / sum,
             static_cast<int>(k)});
  return ion;
}

/// Protonated cyclic (C2 H6 Si O)n; its isotope peaks are those of silicon and carbon.
Ion PolysiloxaneIon(int units, const SimulateOptions& options) {
  constexpr double kUnitMassDa = 74.018790;
  constexpr double kSinglePerUnit = 0.0735;  // 29Si, 13C
  constexpr double kDoublePerUnit = 0.0356;  // 30Si, 18O
  const double mz = units * kUnitMassDa + kProtonMass;
  const double first = units * kSinglePerUnit;
  const double second = first * first * 0.5 * (units - 1) / units + units * kDoublePerUnit;
  const double sum = 1.0 + first + second;
  Ion ion{1, mz, {}};
  AddLine(ion, options, {mz, 1.0 / sum, 0});
  AddLine(ion, options, {mz + 1.0007, first / sum, 1});
  AddLine(ion, options, {mz + 1.9980, second / sum, 2});
  return ion;
}

/// The density of the exponentially modified Gaussian, times the width of a Gaussian of the same
/// variance.
double PeakAt(double from_apex_s, double sigma_s, double tau_s) {
  const double ratio = sigma_s / tau_s;
  const double density = 0.5 / tau_s * std::exp(0.5 * ratio * ratio - from_apex_s / tau_s) *
                         std::erfc((ratio - from_apex_s / sigma_s) / std::numbers::sqrt2);
  const double width_s = std::sqrt(sigma_s * sigma_s + tau_s * tau_s);
  return density * width_s * std::sqrt(2.0 * std::numbers::pi);
}

BackgroundIon WithCurrent(Ion ion, double current, Random& random) {
  BackgroundIon background;
  background.m_ion = std::move(ion);
  background.m_current = current;
  background.m_swing_ln = random.Uniform(0.1, 0.8);
  background.m_period_s = random.Uniform(120.0, 1800.0);
  background.m_phase = random.Uniform(0.0, 2.0 * std::numbers::pi);
  return background;
}

/// Ions of one and two charges that come and go.
void AddContaminants(const SimulateOptions& options, std::vector<BackgroundIon>& ions) {
  Random random(options.m_seed, kContaminantStream);
  const std::size_t count = ContaminantCount(options.m_realism);
  for (std::size_t i = 0; i < count; ++i) {
    const int charges = random.Chance(kDoublyChargedContaminants) ? 2 : 1;
    double mz = DrawBackgroundMz(options, random);
    if (charges == 2 && random.Chance(0.5)) mz += 0.5;  // of an odd mass
    const double current = random.LogNormal(kContaminantMedianCurrent, kContaminantLnDeviation);
    ions.push_back(WithCurrent(OrganicIon(mz, charges, options), current, random));
    ions.back().m_swing_ln = random.Uniform(0.5, kContaminantSwingLn);
    ions.back().m_period_s = random.Uniform(kContaminantShortestS, kContaminantLongestS);
  }
}

}  // namespace

double ElutionProfile::At(double seconds) const {
  const double first = PeakAt(seconds - m_apex_s, m_sigma_s, m_tau_s);
  if (m_second_share == 0.0) return first;
  const double from_second_s = seconds - m_apex_s - m_second_delay_s;
  return first + m_second_share * PeakAt(from_second_s, m_sigma_s, m_tau_s);
}

double MzOf(double mass_da, int charges, bool is_negative) {
  const double proton_da = is_negative ? -kProtonMass : kProtonMass;
  return mass_da / charges + proton_da;
}

PeptideStream::PeptideStream(const SimulateOptions& options, double gradient_s)
    : m_options(options),
      m_gradient_s(gradient_s),
      m_isotopes(options.m_n15_enrichment),
      m_next_slice(kFirstSlice) {
  Random random(kRetentionSeed);
  m_hydrophobicities.reserve(kRetentionSamples);
  for (std::size_t i = 0; i < kRetentionSamples; ++i)
    m_hydrophobicities.push_back(Hydrophobicity(RandomTrypticPeptide(random)));
  std::ranges::sort(m_hydrophobicities);
}

void PeptideStream::AdvanceTo(double seconds) {
  while (static_cast<double>(m_next_slice) * kSliceS < seconds + kLeadS) DrawSlice(m_next_slice++);
  std::erase_if(m_present,
                [&](const Peptide& peptide) { return peptide.m_profile.End() < seconds; });
}

void PeptideStream::DrawSlice(std::int64_t slice) {
  Random random(m_options.m_seed,
                kFirstSliceStream + static_cast<std::uint64_t>(slice - kFirstSlice));
  // From a separate stream, so that the peptides are the same with and without it.
  Random uneven(m_options.m_seed,
                kFirstUnevenStream + static_cast<std::uint64_t>(slice - kFirstSlice));
  const std::size_t count = random.Poisson(kPeptidesPerSecond * kSliceS);
  for (std::size_t i = 0; i < count; ++i) {
    Peptide peptide;
    const double apex_s = (static_cast<double>(slice) + random.Uniform()) * kSliceS;
    peptide.m_sequence = DrawSequence(apex_s, random);
    peptide.m_current = PeptideAmount(m_options.m_realism) * DrawCurrent(random);
    peptide.m_profile = DrawProfile(apex_s, random);
    peptide.m_fragment_seed = random.Bits();
    if (m_options.m_realism > 0.0) MakeUneven(m_options.m_realism, uneven, peptide.m_profile);
    SetIons(peptide, random);
    if (m_options.m_realism > 0.0) AddVariant(peptide, uneven);
    if (!peptide.m_ions.empty()) m_present.push_back(std::move(peptide));
  }
}

/// The deamidated or oxidised form that some peptides also have.
void PeptideStream::AddVariant(const Peptide& peptide, Random& random) {
  if (!random.Chance(VariantChance(m_options.m_realism))) return;
  Peptide variant;
  variant.m_sequence = VariantSequence(peptide.m_sequence, random);
  if (variant.m_sequence == peptide.m_sequence) return;
  variant.m_current = peptide.m_current * random.Uniform(kSmallestVariant, kLargestVariant);
  variant.m_profile = peptide.m_profile;
  variant.m_profile.m_apex_s +=
      random.Uniform(-1.0, 1.0) * kVariantShiftSigmas * variant.m_profile.m_sigma_s;
  variant.m_fragment_seed = peptide.m_fragment_seed;
  SetIons(variant, random);
  if (!variant.m_ions.empty()) m_present.push_back(std::move(variant));
}

double PeptideStream::RetentionQuantile(const std::string& sequence) const {
  const auto found = std::ranges::lower_bound(m_hydrophobicities, Hydrophobicity(sequence));
  return static_cast<double>(found - m_hydrophobicities.begin()) /
         static_cast<double>(m_hydrophobicities.size());
}

/// Of a few sequences, the one with the hydrophobicity that fits the retention time best. This
/// fills the gradient evenly, and a slice can be drawn without the others.
std::string PeptideStream::DrawSequence(double apex_s, Random& random) const {
  const double wanted = std::clamp(apex_s / m_gradient_s, 0.0, 1.0);
  std::string best;
  double best_distance = 2.0;
  for (int i = 0; i < kSequencesTried; ++i) {
    std::string sequence = RandomTrypticPeptide(random);
    const double distance = std::abs(RetentionQuantile(sequence) - wanted);
    if (distance >= best_distance) continue;
    best_distance = distance;
    best = std::move(sequence);
  }
  return best;
}

void PeptideStream::SetIons(Peptide& peptide, Random& random) {
  const Composition composition = PeptideComposition(peptide.m_sequence);
  peptide.m_mass_da = m_isotopes.MonoisotopicMass(composition);
  const std::vector<Isotopologue> envelope = m_isotopes.Envelope(composition);
  const auto fractions = ChargeDistribution(peptide.m_sequence, m_options.m_is_negative, random);
  for (std::size_t i = 0; i < fractions.size(); ++i) {
    if (fractions[i] < kSmallestChargeFraction) continue;
    const int charges = static_cast<int>(i) + 1;
    Ion ion{charges, MzOf(peptide.m_mass_da, charges, m_options.m_is_negative), {}};
    for (const Isotopologue& part : envelope)
      AddLine(ion, m_options,
              {ion.m_mono_mz + part.m_mass_shift_da / charges, fractions[i] * part.m_fraction,
               part.m_isotope});
    if (!ion.m_lines.empty()) peptide.m_ions.push_back(std::move(ion));
  }
}

double BackgroundIon::CurrentAt(double seconds) const {
  const double angle = 2.0 * std::numbers::pi * seconds / m_period_s + m_phase;
  return m_current * std::exp(m_swing_ln * std::sin(angle));
}

std::vector<BackgroundIon> DrawBackground(const SimulateOptions& options) {
  Random random(options.m_seed, kBackgroundStream);
  std::vector<BackgroundIon> ions;
  for (std::size_t i = 0; i < kBackgroundIons; ++i) {
    const double mz = DrawBackgroundMz(options, random);
    const double current = random.LogNormal(kBackgroundMedianCurrent, kBackgroundLnDeviation);
    ions.push_back(WithCurrent(OrganicIon(mz, 1, options), current, random));
  }
  for (int units = 5; units <= 10 && !options.m_is_negative; ++units) {
    const double current = random.LogNormal(2.0e6, 0.5);
    ions.push_back(WithCurrent(PolysiloxaneIon(units, options), current, random));
  }
  if (options.m_realism > 0.0) AddContaminants(options, ions);
  return ions;
}

}  // namespace tarvek::tools
