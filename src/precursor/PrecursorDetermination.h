// precursor/PrecursorDetermination.h: which precursors were isolated for one MS2 scan.
// Does:     builds candidates from the MS1 scans around the precursor scan, filters, ranks and
//           scores them, and recalibrates the m/z of those kept.
// Owns:     its working data, reused from scan to scan.
// Throws:   nothing; broken invariants fail internal checks.
// Not here: which MS2 scans are processed, and what becomes of an empty answer (Ms2Loop.h).
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "ElutionGrid.h"
#include "FeaturesExtractor.h"
#include "SpectrumRecords.h"
#include "SpectrumUtils.h"
#include "UserParameters.h"

namespace tarvek {

class PrecursorDetermination {
 public:
  /// Borrows parameters, which must outlive it. The isotope table must be loaded.
  explicit PrecursorDetermination(const UserParameters& parameters) : m_params(&parameters) {}

  /// The precursors of ms2 in decreasing score order; m/z and charge are both negative for negative
  /// ions. Empty when nothing passes, or, after one message, when the precursor scan is not in
  /// store.
  std::vector<Precursor> determine_precursors(const Ms1Store& store, const MS2Spectrum& ms2);

  /// Hands the candidates of ms2 that are to be scored to use, once, in the order in which they
  /// are; not called when there is none. They end with the call.
  using UseCandidates = std::function<void(std::span<FeaturesExtractor* const> candidates)>;
  void WithCandidates(const Ms1Store& store, const MS2Spectrum& ms2, const UseCandidates& use);

 private:
  void FillGrid(const MS2Spectrum& ms2);
  void CollectSurvivors(const ScanContext& scan);
  [[nodiscard]] std::vector<FeaturesExtractor*> SelectForScoring();
  [[nodiscard]] std::vector<Precursor> Accept(std::span<FeaturesExtractor* const> candidates) const;

  const UserParameters* m_params;
  FilteredWindow m_filtered;
  PeakList m_candidates;
  ElutionGrid m_grid;
  std::vector<FeaturesExtractor> m_survivors;
};

/// The four values by which candidates are ranked before scoring.
using RankVector = std::array<double, 4>;

/// Order of entries by the product r0^3 r1 r2 r3^3 of their ranks, as indices, smallest first.
/// Ranks count along each sorted component; an entry shares the rank before it only when its value
/// equals that rank itself.
std::vector<std::size_t> PreRankOrder(std::vector<RankVector> entries);

/// Whether an isotope position from 0 to 3 lies nearer than tol_mz to the activation centre.
bool ReachesActivationCentre(const Precursor& precursor, double centre, double tol_mz);

/// Whether a candidate passes the filters on isotopes, envelope and isolation window.
bool PassesFilters(FeaturesExtractor& candidate, double centre, double isolation_width);

}  // namespace tarvek
