// precursor/FeaturesExtractor.h: one candidate precursor of one MS2 scan and its features.
// Does:     computes each feature on first request and keeps it.
// Owns:     its isotope envelope; borrows everything in ScanContext, which must outlive it.
// Throws:   nothing; a mass outside the isotope table is logged and fails an internal check.
// Not here: which candidates are tried or kept (PrecursorDetermination.h), scores
//           (ScoringModels.h).
#pragma once

#include <cstdint>
#include <optional>

#include "ElutionGrid.h"
#include "IsoPattern.h"
#include "SpectrumRecords.h"
#include "SpectrumUtils.h"
#include "UserParameters.h"

namespace tarvek {

/// The isolation window also passes ions this far beyond its edges, in m/z.
inline constexpr double kEdgeAllowanceMz = 0.05;

/// The values that all candidates of one MS2 scan share.
struct ScanContext {
  const UserParameters& m_params;
  const MS2Spectrum& m_ms2;
  const ScanWindow& m_scan_window;  // as gathered, not thinned
  PeakSpan m_peak_candidates;       // not empty; not yet cut to the isolation window
  const ElutionGrid& m_grid;
  mutable std::optional<double> m_window_total{};  // WindowTotal, when it was asked for
  mutable std::int64_t m_summed = 0;               // peaks that features have summed up
};

/// Intensity of the candidate peaks inside the isolation window.
double WindowTotal(const ScanContext& scan);

class FeaturesExtractor {
 public:
  /// precursor: signed m/z and charge, both negative for a negative ion; charge not 0.
  FeaturesExtractor(const ScanContext& scan, const Precursor& precursor)
      : m_scan(&scan), m_precursor(precursor) {}

  [[nodiscard]] const Precursor& GetPrecursor() const { return m_precursor; }

  /// The observed isotope envelope from position -2 up: no feature reads more.
  const IsoPattern& iso_pattern();

  /// Whether iso_pattern was read, by whatever needs it.
  [[nodiscard]] bool HasIsoPattern() const { return m_iso_pattern.has_value(); }

  /// Best Pearson correlation of a row of the envelope with the expected envelope. The m1 and m2
  /// forms start one and two positions below the monoisotopic peak, with an expected intensity of 0
  /// there.
  double ipv_similarity_0();
  double ipv_similarity_m1();
  double ipv_similarity_m2();
  /// The row that gave ipv_similarity_m2; -1 before the first call of that.
  [[nodiscard]] int best_row() const { return m_best_row; }

  /// Cosine of the elution profiles of two isotope positions: 0 and 1; -1 and 0.
  double xic_correlation_0_1();
  double xic_correlation_m1_0();

  /// Elution intensity from the monoisotopic position up, as a share of that from one position
  /// below it up; 1 when both are 0.
  double elution_share();

  /// Longest run of isotope positions from 0 up with intensity in the same row, 0 to 5.
  int isotope_count();

  /// False only when isotope_count is below wanted; does not need the envelope.
  [[nodiscard]] bool MayHaveIsotopes(int wanted) const;

  /// The number of those positions inside the isolation window.
  int window_isotope_count();

  /// Candidate-peak intensity at those positions inside the isolation window, scaled by the
  /// window's half-width, as a share of all intensity there; 0 without any.
  double window_intensity_ratio();

  /// Intensity-weighted spread of the m/z near the truncated m/z over the scan window, in ppm.
  double mz_spread_ppm();

  /// The intensity-weighted mean m/z over the scan window within recalibrate_window ppm, positive;
  /// the candidate's own m/z without intensity.
  double refined_mz();

  [[nodiscard]] double charge_times_mz() const { return m_precursor.m_charge * m_precursor.m_mz; }
  [[nodiscard]] double abs_charge() const;

 private:
  double IpvSimilarity(int shift, std::optional<double>& cache, int* best_row);
  double XicCorrelation(int a, int b, std::optional<double>& cache);
  [[nodiscard]] EnvelopeInput Input() const;
  [[nodiscard]] double IsotopeIntensityInWindow(PeakSpan window_peaks);
  void Count(PeakSpan peaks) const;

  const ScanContext* m_scan;
  Precursor m_precursor;
  std::optional<IsoPattern> m_iso_pattern;
  std::optional<double> m_ipv_similarity_0;
  std::optional<double> m_ipv_similarity_m1;
  std::optional<double> m_ipv_similarity_m2;
  std::optional<double> m_xic_correlation_0_1;
  std::optional<double> m_xic_correlation_m1_0;
  std::optional<double> m_elution_share;
  std::optional<double> m_window_intensity_ratio;
  std::optional<double> m_mz_spread_ppm;
  std::optional<double> m_refined_mz;
  std::optional<int> m_isotope_count;
  std::optional<int> m_window_isotope_count;
  int m_best_row = -1;
};

/// Pearson correlation of x and y, of the same length; 0 when the root of the variances is at most
/// 1e-6. May be NaN when rounding makes a variance negative.
double PearsonCorrelation(std::span<const double> x, std::span<const double> y);

}  // namespace tarvek
