#include "JointDetermination.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>

#include "JointModel.h"

namespace tarvek::joint {
namespace {

constexpr double kReachMz = 4.2;          // how far beyond the window isotopes of its ions lie
constexpr double kMinLocalShare = 0.003;  // of the highest peak in the window
constexpr double kLanePpm = 8.0;
constexpr double kIsotopeTolShare = 0.6;  // of the mass tolerance
constexpr std::size_t kMostCandidates = 48;

/// Two candidates of one charge within this distance are one ion.
constexpr double kSameIonPpm = 10.0;

bool IsDecoy(const FittedCandidate& fitted) {
  const EnvelopeCandidate& candidate = fitted.m_candidate;
  return candidate.m_step_mz * candidate.m_charge < 0.5 * (kDecoySpacing + kIsotopeSpacing);
}

}  // namespace

bool JointDetermination::AreOneIon(const Precursor& a, const Precursor& b) {
  return a.m_charge == b.m_charge &&
         std::fabs(a.m_mz - b.m_mz) < kSameIonPpm * 1e-6 * std::fabs(a.m_mz);
}

bool JointDetermination::IsAskedFor(int charge) const {
  const int signed_charge = IsNegative() ? -charge : charge;
  return signed_charge >= m_params->m_charge_min && signed_charge <= m_params->m_charge_max;
}

std::span<const FittedCandidate> JointDetermination::Candidates(const Ms1Store& store,
                                                                const MS2Spectrum& ms2) {
  return Explain(store, ms2, false);
}

std::size_t JointDetermination::CountDecoys(const Ms1Store& store, const MS2Spectrum& ms2,
                                            double threshold) {
  std::vector<FittedCandidate> decoys;
  std::ranges::copy_if(Explain(store, ms2, true), std::back_inserter(decoys), IsDecoy);
  return Report(decoys, threshold).size();
}

std::span<const FittedCandidate> JointDetermination::Explain(const Ms1Store& store,
                                                             const MS2Spectrum& ms2,
                                                             bool has_decoys) {
  m_fitted.clear();
  const double centre = ms2.m_activation_center;
  const double half_width = 0.5 * m_params->m_isolation_width;
  const double reach = half_width + kEdgeMz + kReachMz;
  const auto gathered = gather_ms1_window(store, ms2, reach);
  if (!gathered) return {};
  m_lanes.Build(*gathered, centre - reach, centre + reach, centre - half_width, centre + half_width,
                kMinLocalShare, kLanePpm);
  m_work += kVisitsPerScan + PeakCount(*gathered) +
            kVisitsPerLane * static_cast<std::int64_t>(m_lanes.Lanes().size());
  const int max_charge =
      std::max(std::abs(m_params->m_charge_min), std::abs(m_params->m_charge_max));
  WindowOfScan window{
      centre,     half_width,   ToleranceMz(*m_params, centre) / centre * 1e6 * kIsotopeTolShare,
      max_charge, IsNegative(), m_lanes};
  CollectCandidates(window, ms2.m_orig_precursors, kMostCandidates, m_candidates);
  if (has_decoys) {
    window.m_spacing_da = kDecoySpacing;
    std::vector<EnvelopeCandidate> decoys;
    CollectCandidates(window, ms2.m_orig_precursors, kMostCandidates, decoys);
    m_candidates.insert(m_candidates.end(), decoys.begin(), decoys.end());
  }
  const auto survey =
      std::ranges::lower_bound(store, ms2.m_precursor_scan, {}, &MS1Spectrum::m_scan_no);
  m_fitter.Fit(window, m_candidates, ms2, survey->m_peaks, m_fitted);
  return m_fitted;
}

std::vector<JointPrecursor> JointDetermination::Determine(const Ms1Store& store,
                                                          const MS2Spectrum& ms2,
                                                          double threshold) {
  return Report(Candidates(store, ms2), threshold);
}

std::vector<JointPrecursor> JointDetermination::Report(std::span<const FittedCandidate> candidates,
                                                       double threshold) const {
  std::vector<JointPrecursor> found;
  for (const FittedCandidate& fitted : candidates) {
    const EnvelopeCandidate& candidate = fitted.m_candidate;
    if (!IsAskedFor(candidate.m_charge)) continue;
    const double probability =
        JointProbability(kJointModel, JointScore(kJointModel, fitted.m_features));
    if (probability < threshold) continue;
    const double sign = IsNegative() ? -1.0 : 1.0;
    found.push_back(
        {{sign * candidate.m_mz, IsNegative() ? -candidate.m_charge : candidate.m_charge},
         {probability, fitted.m_window_share}});
  }
  std::ranges::stable_sort(found, std::ranges::greater{},
                           [](const JointPrecursor& one) { return one.m_evidence.m_probability; });
  std::vector<JointPrecursor> distinct;
  for (const JointPrecursor& precursor : found)
    if (std::ranges::none_of(distinct, [&](const JointPrecursor& kept) {
          return AreOneIon(kept.m_precursor, precursor.m_precursor);
        }))
      distinct.push_back(precursor);
  return distinct;
}

}  // namespace tarvek::joint
