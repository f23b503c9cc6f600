#include "calibrate/Evidence.h"

#include <algorithm>
#include <cmath>

#include "calibrate/Mode.h"
#include "calibrate/PeptideIons.h"

namespace tarvek::tools {
namespace {

constexpr std::size_t kLadderPeaks = 150;
constexpr std::size_t kPairPeaks = 100;
constexpr std::size_t kMostRungs = 500;  // of a scan, so that no spectrum takes long
constexpr double kLadderEndMz = 1400.0;
constexpr double kFirstStepPpm = 20.0;
constexpr double kStepPpm = 6.0;
constexpr double kPairPpm = 35.0;
constexpr double kLeastPairMz = 150.0;  // below it the scale of fragments may be bent
constexpr double kPrecursorItselfMz = 0.01;

double PpmFrom(double measured, double expected) { return (measured / expected - 1.0) * 1e6; }

std::span<const Peak> PeaksBetween(std::span<const Peak> peaks, double low_mz, double high_mz) {
  const auto first = std::ranges::lower_bound(peaks, low_mz, {}, &Peak::m_mz);
  return {first, std::ranges::upper_bound(first, peaks.end(), high_mz, {}, &Peak::m_mz)};
}

/// The largest singly charged fragment that the precursors allow.
double EndOf(const FragmentScan& scan) {
  double end_mz = 0.0;
  for (const Precursor& precursor : scan.m_precursors)
    if (precursor.m_charge > 0) end_mz = std::max(end_mz, precursor.m_mz * precursor.m_charge);
  return std::min(end_mz, kLadderEndMz);
}

}  // namespace

std::span<const IonMatch> EvidenceFinder::SmallIonMatches(const FragmentScan& scan) {
  m_matches.clear();
  for (const SmallIon& ion : SmallIons()) {
    const double range_mz = ion.m_mz * kModeRangePpm * 1e-6;
    for (const Peak& peak : PeaksBetween(scan.m_peaks, ion.m_mz - range_mz, ion.m_mz + range_mz))
      m_matches.push_back({ion.m_mz, PpmFrom(peak.m_mz, ion.m_mz)});
  }
  return m_matches;
}

std::span<const IonMatch> EvidenceFinder::LadderMatches(const FragmentScan& scan) {
  m_matches.clear();
  TakeIntense(scan.m_peaks, kLadderPeaks);
  const double end_mz = EndOf(scan);
  m_rungs.clear();
  for (const SmallIon& ion : SmallIons()) {
    if (!ion.m_has_ladder) continue;
    AddPeaksNear(ion.m_mz, 0.0, kFirstStepPpm);
    m_rungs.insert(m_rungs.end(), m_found.begin(), m_found.end());
  }
  for (std::size_t i = 0; i < m_rungs.size() && m_rungs.size() < kMostRungs; ++i)
    Climb(m_rungs[i], end_mz);
  for (const Rung& rung : m_rungs)
    if (rung.m_mz >= kSmallIonsEndMz) m_matches.push_back({rung.m_mz, rung.m_ppm});
  return m_matches;
}

std::span<const FragmentPair> EvidenceFinder::Pairs(const FragmentScan& scan) {
  m_pairs.clear();
  TakeIntense(scan.m_peaks, kPairPeaks);
  for (const Precursor& precursor : scan.m_precursors)
    if (precursor.m_charge >= 2) AddPairs(precursor);
  return m_pairs;
}

/// Of equal intensities the lower m/z wins.
void EvidenceFinder::TakeIntense(std::span<const Peak> peaks, std::size_t most) {
  m_intense.assign(peaks.begin(), peaks.end());
  if (m_intense.size() > most) {
    std::ranges::stable_sort(m_intense, std::ranges::greater(), &Peak::m_intensity);
    m_intense.resize(most);
    std::ranges::stable_sort(m_intense, {}, &Peak::m_mz);
  }
}

void EvidenceFinder::AddPeaksNear(double mz, double centre_ppm, double half_width_ppm) {
  m_found.clear();
  const double low_mz = mz * (1.0 + (centre_ppm - half_width_ppm) * 1e-6);
  const double high_mz = mz * (1.0 + (centre_ppm + half_width_ppm) * 1e-6);
  for (const Peak& peak : PeaksBetween(m_intense, low_mz, high_mz))
    m_found.push_back({mz, PpmFrom(peak.m_mz, mz)});
}

/// Appends the rungs one residue above, unless they were already reached another way.
void EvidenceFinder::Climb(const Rung& rung, double end_mz) {
  constexpr double kSameMz = 1e-4;
  const Rung from = rung;  // m_rungs grows
  for (const double residue_da : kResiduesDa) {
    const double mz = from.m_mz + residue_da;
    if (mz > end_mz) return;
    AddPeaksNear(mz, from.m_ppm, kStepPpm);
    for (const Rung& found : m_found)
      if (std::ranges::none_of(m_rungs, [&found](const Rung& known) {
            return std::fabs(known.m_mz - found.m_mz) < kSameMz &&
                   std::fabs(known.m_ppm - found.m_ppm) < 0.5;
          }))
        m_rungs.push_back(found);
  }
}

void EvidenceFinder::AddPairs(const Precursor& precursor) {
  const double whole = precursor.m_mz * precursor.m_charge;
  const double sum_mz = whole - (precursor.m_charge - 2) * kExactProtonDa;
  const double range_mz = whole * kPairPpm * 1e-6;
  for (const Peak& low : m_intense) {
    if (low.m_mz < kLeastPairMz) continue;
    if (low.m_mz > sum_mz / 2.0) return;
    if (std::fabs(low.m_mz - precursor.m_mz) < kPrecursorItselfMz) continue;
    const double other_mz = sum_mz - low.m_mz;
    for (const Peak& high : PeaksBetween(m_intense, other_mz - range_mz, other_mz + range_mz))
      if (std::fabs(high.m_mz - precursor.m_mz) >= kPrecursorItselfMz)
        m_pairs.push_back(
            {low.m_mz, high.m_mz, whole, (sum_mz - low.m_mz - high.m_mz) / whole * 1e6});
  }
}

}  // namespace tarvek::tools
