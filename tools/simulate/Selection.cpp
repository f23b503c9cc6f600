#include "simulate/Selection.h"

#include <algorithm>
#include <bit>
#include <functional>

namespace tarvek::tools {
namespace {

constexpr int kLowestIsotopeSeen = -8;  // of bit 0
constexpr int kIsotopeBits = 32;

constexpr double kMinLimits = 5.0;  // intensity of a precursor, in detection limits
constexpr int kMinCharges = 2;
constexpr int kMaxCharges = 6;
constexpr double kExclusionS = 30.0;
constexpr double kExclusionPpm = 10.0;
constexpr double kExclusionBinMz = 0.005;
constexpr double kIsotopesExcluded = 0.97;  // how often the isotopes are excluded as well
constexpr int kLastExcludedIsotope = 8;

// How often the charge of a visible envelope is read right, is not read at all (else it is
// mistaken), and how often an unknown charge is taken.
constexpr double kChargeRight = 0.97;
constexpr double kChargeUnread = 0.015;
// Singly charged ions are considered again in every survey, since they are never excluded.
constexpr double kSinglyChargedRight = 0.998;
constexpr double kUnknownTaken = 0.1;

// How often the monoisotopic peak is found: directly, or from another isotope while it is visible
// and while it is not; less often for weak precursors.
constexpr double kMonoFromItself = 0.97;
constexpr double kMonoFromIsotope = 0.62;
constexpr double kMonoUnseen = 0.25;
constexpr double kWeakLimits = 15.0;
constexpr double kWeakLoss = 0.08;
// When another isotope led to it: how often the window stays on that one.
constexpr double kCenterStays = 0.5;
// When it was not found directly: how often the right neighbour is taken, else the left one.
constexpr double kRightNeighbour = 0.75;
// How often the window is one isotope off.
constexpr double kCenterSlips = 0.03;

}  // namespace

PrecursorSelector::PrecursorSelector(const SimulateOptions& options)
    : m_top(options.m_top), m_low_mz(options.m_low_mz - 5.0) {
  m_excluded_until_s.assign(BinOf(options.m_high_mz + 5.0) + 1, -1.0);
}

std::size_t PrecursorSelector::BinOf(double mz) const {
  return static_cast<std::size_t>(std::max(0.0, (mz - m_low_mz) / kExclusionBinMz));
}

std::vector<Choice> PrecursorSelector::Choose(double seconds, std::span<const Centroid> survey,
                                              double limit, std::span<const IonSource> sources,
                                              Random& random) {
  m_isotopes_seen.assign(sources.size(), 0);
  std::vector<Centroid> ranked;
  for (const Centroid& peak : survey) {
    if (peak.m_intensity >= kMinLimits * limit) ranked.push_back(peak);
    const int bit = peak.m_isotope - kLowestIsotopeSeen;
    if (peak.m_source != kNoSource && bit >= 0 && bit < kIsotopeBits)
      m_isotopes_seen[static_cast<std::size_t>(peak.m_source)] |= std::uint32_t{1} << bit;
  }
  std::ranges::stable_sort(ranked, std::ranges::greater(), &Centroid::m_intensity);
  std::vector<Choice> choices;
  for (const Centroid& peak : ranked) {
    if (choices.size() == m_top) break;
    if (m_excluded_until_s[BinOf(peak.m_mz)] > seconds) continue;
    const int charges = DetermineCharges(peak, sources, random);
    if (charges == 0 ? !random.Chance(kUnknownTaken)
                     : charges < kMinCharges || charges > kMaxCharges)
      continue;
    choices.push_back(Declare(peak, charges, limit, sources, random));
    Exclude(peak, choices.back(), seconds + kExclusionS, random);
  }
  return choices;
}

/// 0 when fewer than two isotopes are visible.
int PrecursorSelector::DetermineCharges(const Centroid& peak, std::span<const IonSource> sources,
                                        Random& random) const {
  if (peak.m_source == kNoSource) return 0;
  const auto index = static_cast<std::size_t>(peak.m_source);
  if (std::popcount(m_isotopes_seen[index]) < 2) return 0;
  const int charges = sources[index].m_ion->m_charge;
  if (charges == 1) return random.Chance(kSinglyChargedRight) ? 1 : 2;
  const double reading = random.Uniform();
  if (reading < kChargeRight) return charges;
  if (reading < kChargeRight + kChargeUnread) return 0;
  return charges + (random.Chance(0.5) ? 1 : -1);
}

bool PrecursorSelector::IsVisible(std::int32_t source, int isotope) const {
  const std::uint32_t seen = m_isotopes_seen[static_cast<std::size_t>(source)];
  return (seen >> (isotope - kLowestIsotopeSeen) & 1u) != 0;
}

Choice PrecursorSelector::Declare(const Centroid& peak, int charges, double limit,
                                  std::span<const IonSource> sources, Random& random) const {
  Choice choice{peak.m_mz, peak.m_mz, charges, peak.m_source};
  if (charges == 0) return choice;
  const double spacing_mz = kMeanSpacingDa / charges;
  const bool is_right = charges == sources[static_cast<std::size_t>(peak.m_source)].m_ion->m_charge;
  const int isotope = peak.m_isotope;
  double chance = isotope == 0                  ? kMonoFromItself
                  : IsVisible(peak.m_source, 0) ? kMonoFromIsotope
                                                : kMonoUnseen;
  if (peak.m_intensity < kWeakLimits * limit) chance -= kWeakLoss;
  const bool is_found = isotope >= 0 && is_right && random.Chance(chance);
  if (is_found) {
    choice.m_declared_mz -= isotope * spacing_mz;
    if (!random.Chance(kCenterStays)) choice.m_center_mz = choice.m_declared_mz;
  } else if (isotope == 0 && is_right) {
    choice.m_declared_mz += random.Chance(kRightNeighbour) ? spacing_mz : -spacing_mz;
    choice.m_center_mz = choice.m_declared_mz;
  }
  if (random.Chance(kCenterSlips))
    choice.m_center_mz += random.Chance(0.5) ? spacing_mz : -spacing_mz;
  return choice;
}

void PrecursorSelector::Exclude(const Centroid& peak, const Choice& choice, double until_s,
                                Random& random) {
  ExcludeMz(peak.m_mz, until_s);
  ExcludeMz(choice.m_center_mz, until_s);
  if (choice.m_declared_charges == 0 || !random.Chance(kIsotopesExcluded)) return;
  for (int isotope = -1; isotope <= kLastExcludedIsotope; ++isotope)
    ExcludeMz(choice.m_declared_mz + isotope * kMeanSpacingDa / choice.m_declared_charges, until_s);
}

void PrecursorSelector::ExcludeMz(double mz, double until_s) {
  const double tolerance_mz = mz * kExclusionPpm / 1e6;
  const std::size_t last = std::min(BinOf(mz + tolerance_mz), m_excluded_until_s.size() - 1);
  for (std::size_t bin = BinOf(mz - tolerance_mz); bin <= last; ++bin)
    m_excluded_until_s[bin] = until_s;
}

}  // namespace tarvek::tools
