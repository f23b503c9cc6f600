// joint/JointDetermination.h: which precursors explain the whole isolation window of an MS2 scan.
// Does:     collects all conceivable precursors, fits their envelopes together to the MS1 scans
//           around the precursor scan, and gives each the probability that it was isolated.
// Owns:     its working data, reused from scan to scan.
// Throws:   nothing.
// Not here: which MS2 scans are processed (Ms2Loop.h); the determination of each candidate on its
//           own (PrecursorDetermination.h).
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "CandidateFeatures.h"
#include "EnvelopeCandidate.h"
#include "LaneTable.h"
#include "SpectrumRecords.h"
#include "SpectrumUtils.h"
#include "UserParameters.h"

namespace tarvek::joint {

/// A precursor; its m/z and charge are both negative for negative ions.
struct JointPrecursor {
  Precursor m_precursor;
  PrecursorEvidence m_evidence;
};

/// In Da. For charges up to 7, none of its multiples or fractions is near one of the isotope
/// spacing.
inline constexpr double kDecoySpacing = 0.92;

class JointDetermination {
 public:
  /// Borrows parameters, which must outlive it. The isotope table must be loaded.
  explicit JointDetermination(const UserParameters& parameters) : m_params(&parameters) {}

  /// The precursors of ms2 with a probability of at least threshold, in decreasing probability;
  /// empty when there is none, or when the precursor scan is not in store.
  std::vector<JointPrecursor> Determine(const Ms1Store& store, const MS2Spectrum& ms2,
                                        double threshold);

  /// The candidates that the common fit keeps, of all charges from 1 on, not only the wanted ones.
  std::span<const FittedCandidate> Candidates(const Ms1Store& store, const MS2Spectrum& ms2);

  /// All candidates of the last scan, including those that the fit did not keep, and their lanes.
  [[nodiscard]] std::span<const EnvelopeCandidate> Tried() const { return m_candidates; }
  [[nodiscard]] const LaneTable& Lanes() const { return m_lanes; }

  /// What all calls did so far, in visits of a peak, which take about 0.1 microseconds: one for each
  /// peak around the windows, and more for each lane and each scan.
  [[nodiscard]] std::int64_t Work() const { return m_work; }
  static constexpr std::int64_t kVisitsPerLane = 20;
  static constexpr std::int64_t kVisitsPerScan = 300;

  /// Whether a and b are the same ion; then only the more probable one is reported.
  static bool AreOneIon(const Precursor& a, const Precursor& b);

  /// How many candidates with isotopes kDecoySpacing apart, which no ion has, Determine would
  /// report if they took part with all others. So many of the precursors that it reports are there
  /// by chance.
  std::size_t CountDecoys(const Ms1Store& store, const MS2Spectrum& ms2, double threshold);

  /// Whether parameters ask for this charge (without sign).
  [[nodiscard]] bool IsAskedFor(int charge) const;

 private:
  std::span<const FittedCandidate> Explain(const Ms1Store& store, const MS2Spectrum& ms2,
                                           bool has_decoys);
  std::vector<JointPrecursor> Report(std::span<const FittedCandidate> candidates,
                                     double threshold) const;
  [[nodiscard]] bool IsNegative() const { return m_params->m_charge_max < 0; }

  const UserParameters* m_params;
  LaneTable m_lanes;
  std::vector<EnvelopeCandidate> m_candidates;
  std::vector<FittedCandidate> m_fitted;
  CandidateFitter m_fitter;
  std::int64_t m_work = 0;
};

}  // namespace tarvek::joint
