// precursor/PrecursorDetermination.h: which precursors were isolated for one MS2 scan.
// Does:     builds candidates from the MS1 scans around the precursor scan, filters, ranks and
//           scores them, and recalibrates the m/z of the accepted ones.
// Owns:     its working data, reused from scan to scan.
// Throws:   nothing; broken invariants fail internal checks.
// Not here: which MS2 scans are processed, and the handling of an empty answer (Ms2Loop.h).
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

/// The limits of the filters: isotopes in a row of one MS1 scan, similarity of the envelope
/// (ipv_similarity_0), share of the window (window_intensity_ratio).
int WantedIsotopes(std::int32_t charge);
inline constexpr double kMinSimilarity = 0.5;
inline constexpr double kMinWindowRatio = 0.04;
/// At most so many candidates are scored; only one without co_elute.
inline constexpr std::size_t kCandidateLimit = 1000;

/// The first filter that rejects a candidate, in the order of the filters.
enum class Filter {
  kNone,               // it passes all filters
  kIsotopes,           // too few in a row
  kEnvelope,           // too different from the expected one
  kIsotopesInWindow,   // too few of them
  kIntensityInWindow,  // too small a share
};

/// How far a candidate got.
enum class Stage { kMissesCentre, kFiltered, kRankedTooLow, kScoreTooLow, kAccepted };

struct TriedCandidate {
  FeaturesExtractor* m_candidate;
  Stage m_stage;
  Filter m_filter = Filter::kNone;  // for kFiltered
  double m_score = 0.0;             // from kScoreTooLow on
};

class PrecursorDetermination {
 public:
  /// Borrows parameters, which must outlive it. The isotope table must be loaded.
  explicit PrecursorDetermination(const UserParameters& parameters) : m_params(&parameters) {}

  /// The precursors of ms2 in decreasing score order; m/z and charge are both negative for negative
  /// ions. Empty when nothing passes, or, after one message, when the precursor scan is not in
  /// store.
  std::vector<Precursor> determine_precursors(const Ms1Store& store, const MS2Spectrum& ms2);

  /// What determine_precursors did so far, for all its scans, in visits of a peak, which take about
  /// 0.1 microseconds: one for each peak of the ten windows, one for each candidate,
  /// kVisitsPerEnvelope for each isotope envelope that was read, and one for kSumsPerVisit peaks that
  /// features summed up.
  [[nodiscard]] std::int64_t Work() const { return m_work; }
  static constexpr std::int64_t kVisitsPerEnvelope = 16;
  static constexpr std::int64_t kSumsPerVisit = 64;

  /// Calls use once with the candidates of ms2 to score, in scoring order; not at all without any.
  /// The candidates live only during the call.
  using UseCandidates = std::function<void(std::span<FeaturesExtractor* const> candidates)>;
  void WithCandidates(const Ms1Store& store, const MS2Spectrum& ms2, const UseCandidates& use);

  /// The same for all candidates in the isolation window, in ascending m/z and charge, each with
  /// the stage that it reached. Slower; for people who ask why.
  using UseTried = std::function<void(std::span<const TriedCandidate> tried)>;
  void WithAllTried(const Ms1Store& store, const MS2Spectrum& ms2, const UseTried& use);

 private:
  using UseScan = std::function<void(const ScanContext& scan)>;
  void WithScan(const Ms1Store& store, const MS2Spectrum& ms2, const UseScan& use);
  void FillGrid(const MS2Spectrum& ms2);
  void CollectSurvivors(const ScanContext& scan);
  void FindStages(std::vector<TriedCandidate>& tried, double centre);
  template <class Take>
  void ForEachCandidate(const ScanContext& scan, Take take) const;
  [[nodiscard]] bool ReachesCentre(const Precursor& precursor, double centre) const;
  [[nodiscard]] std::vector<FeaturesExtractor*> SelectForScoring(
      std::span<FeaturesExtractor* const> survivors) const;
  [[nodiscard]] std::vector<Precursor> Accept(std::span<FeaturesExtractor* const> candidates) const;

  const UserParameters* m_params;
  FilteredWindow m_filtered;
  PeakList m_candidates;
  ElutionGrid m_grid;
  std::vector<FeaturesExtractor> m_survivors;
  std::int64_t m_work = 0;
};

/// The four values that rank candidates before scoring.
using RankVector = std::array<double, 4>;

/// The indices of entries in ascending order of the product r0^3 r1 r2 r3^3 of their ranks. Ranks
/// count along each sorted component; an entry shares the rank of the one before only when its
/// value equals that rank itself.
std::vector<std::size_t> PreRankOrder(std::vector<RankVector> entries);

/// Whether an isotope position from 0 to 3 is nearer than tol_mz to the activation centre.
bool ReachesActivationCentre(const Precursor& precursor, double centre, double tol_mz);

/// The first filter on isotopes, envelope and isolation window that rejects a candidate.
Filter StoppingFilter(FeaturesExtractor& candidate, double centre, double isolation_width);

/// Whether a candidate passes all of them.
bool PassesFilters(FeaturesExtractor& candidate, double centre, double isolation_width);

}  // namespace tarvek
