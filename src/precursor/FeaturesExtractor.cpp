#include "FeaturesExtractor.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "IsotopeTable.h"
#include "Logger.h"
#include "NumberText.h"
#include "NumericUtils.h"

namespace tarvek {
namespace {

constexpr double kZeroDenominator = 1e-6;

// The lowest isotope position that a feature reads.
constexpr int kLowestPosition = -2;

// The expected intensities after zeros for the positions below the monoisotopic peak.
constexpr std::size_t kMaxShift = -kLowestPosition;
using ShiftedRow = std::array<double, kMaxShift + std::tuple_size_v<IsotopeRow>>;

double SumIntensity(PeakSpan peaks) {
  double sum = 0.0;
  for (const Peak& peak : peaks) sum += peak.m_intensity;
  return sum;
}

int LeadingIsotopes(const IsoPattern::Row& row) {
  const auto mono = row.begin() + IsoPattern::kMonoColumn;
  return static_cast<int>(
      std::find_if_not(mono, row.end(), [](double intensity) { return intensity > 0.0; }) - mono);
}

void ReportMassOutsideTable(const ScanContext& scan, const Precursor& precursor) {
  std::string text = "The mass of a candidate precursor is outside the isotope table: file " +
                     scan.m_params.m_current_file + ", scan ";
  AppendInteger(text, scan.m_ms2.m_scan_no);
  text += ", m/z ";
  AppendFixed(text, precursor.m_mz, 6);
  text += ", charge ";
  AppendInteger(text, precursor.m_charge);
  text += ". Narrow charge_range, now ";
  AppendInteger(text, scan.m_params.m_charge_min);
  text += "t";
  AppendInteger(text, scan.m_params.m_charge_max);
  logMessage(kError, text + ".");
}

const IsotopeRow& ExpectedEnvelope(const ScanContext& scan, const Precursor& precursor) {
  if (!IsInIsotopeTable(precursor)) ReportMassOutsideTable(scan, precursor);
  return LookUpIsotopeRow(precursor);
}

PeakSpan WindowPeaks(const ScanContext& scan) {
  return peaks_in_window(scan.m_peak_candidates, scan.m_ms2.m_activation_center,
                         scan.m_params.m_isolation_width * 0.5, false);
}

}  // namespace

double WindowTotal(const ScanContext& scan) {
  if (scan.m_window_total) return *scan.m_window_total;
  const double total = SumIntensity(WindowPeaks(scan));
  if (total > kZeroDenominator) scan.m_window_total = total;  // as a ratio of nothing is not kept
  return total;
}

double PearsonCorrelation(std::span<const double> x, std::span<const double> y) {
  double sx = 0.0;
  double sy = 0.0;
  double sxx = 0.0;
  double syy = 0.0;
  double sxy = 0.0;
  for (std::size_t i = 0; i < x.size(); ++i) {
    sx += x[i];
    sy += y[i];
    sxx += x[i] * x[i];
    syy += y[i] * y[i];
    sxy += x[i] * y[i];
  }
  const auto n = static_cast<double>(x.size());
  const double numerator = sxy - sx * sy / n;
  const double denominator = std::sqrt((sxx - sx * sx / n) * (syy - sy * sy / n));
  return denominator <= kZeroDenominator ? 0.0 : numerator / denominator;
}

EnvelopeInput FeaturesExtractor::Input() const {
  return {m_scan->m_ms2.m_activation_center, m_scan->m_params.m_mstol, m_scan->m_params.m_mstolppm,
          m_scan->m_peak_candidates, m_scan->m_grid};
}

const IsoPattern& FeaturesExtractor::iso_pattern() {
  if (!m_iso_pattern) m_iso_pattern.emplace(Input(), m_precursor, kLowestPosition);
  return *m_iso_pattern;
}

bool FeaturesExtractor::MayHaveIsotopes(int wanted) const {
  return MayHoldIsotopes(Input(), m_precursor, wanted);
}

double FeaturesExtractor::IpvSimilarity(int shift, std::optional<double>& cache, int* best_row) {
  if (cache) return *cache;
  const IsotopeRow& expected = ExpectedEnvelope(*m_scan, m_precursor);
  ShiftedRow shifted{};
  std::ranges::copy(expected, shifted.begin() + kMaxShift);
  const auto n = expected.size() + static_cast<std::size_t>(-shift);
  const std::span<const double> x = std::span(shifted).last(n);
  const IsoPattern::Matrix& rows = iso_pattern().Rows();
  double best = -1.0;
  for (std::size_t r = 0; r < rows.size(); ++r) {
    const double correlation = PearsonCorrelation(x, std::span(rows[r]).last(n));
    if (!(correlation > best)) continue;  // NaN is never better
    best = correlation;
    if (best_row != nullptr) *best_row = static_cast<int>(r);
  }
  return cache.emplace(best);
}

double FeaturesExtractor::ipv_similarity_0() {
  return IpvSimilarity(0, m_ipv_similarity_0, nullptr);
}
double FeaturesExtractor::ipv_similarity_m1() {
  return IpvSimilarity(-1, m_ipv_similarity_m1, nullptr);
}
double FeaturesExtractor::ipv_similarity_m2() {
  return IpvSimilarity(-2, m_ipv_similarity_m2, &m_best_row);
}

double FeaturesExtractor::XicCorrelation(int a, int b, std::optional<double>& cache) {
  if (cache) return *cache;
  const IsoPattern& pattern = iso_pattern();
  return cache.emplace(CosineSimilarity(pattern.ElutionProfile(a), pattern.ElutionProfile(b)));
}

double FeaturesExtractor::xic_correlation_0_1() {
  return XicCorrelation(0, 1, m_xic_correlation_0_1);
}
double FeaturesExtractor::xic_correlation_m1_0() {
  return XicCorrelation(-1, 0, m_xic_correlation_m1_0);
}

double FeaturesExtractor::elution_share() {
  if (m_elution_share) return *m_elution_share;
  const IsoPattern& pattern = iso_pattern();
  if (pattern.Total() < kZeroDenominator) return 1.0;
  return m_elution_share.emplace(pattern.SumFromMono() / pattern.Total());
}

int FeaturesExtractor::isotope_count() {
  if (m_isotope_count) return *m_isotope_count;
  int longest = 0;
  for (const IsoPattern::Row& row : iso_pattern().Rows())
    longest = std::max(longest, LeadingIsotopes(row));
  return m_isotope_count.emplace(longest);
}

int FeaturesExtractor::window_isotope_count() {
  if (m_window_isotope_count) return *m_window_isotope_count;
  const double half_width = m_scan->m_params.m_isolation_width * 0.5 + kEdgeAllowanceMz;
  int inside = 0;
  for (int i = 0; i < isotope_count(); ++i) {
    const double distance = IsotopePositionMz(m_precursor, i) - m_scan->m_ms2.m_activation_center;
    if (std::fabs(distance) < half_width) ++inside;
  }
  return m_window_isotope_count.emplace(inside);
}

void FeaturesExtractor::Count(PeakSpan peaks) const {
  m_scan->m_summed += static_cast<std::int64_t>(peaks.size());
}

double FeaturesExtractor::IsotopeIntensityInWindow(PeakSpan window_peaks) {
  const double tol_mz = ToleranceMz(m_scan->m_params, m_scan->m_ms2.m_activation_center);
  double sum = 0.0;
  for (int i = 0; i < isotope_count(); ++i) {
    const double x = IsotopePositionMz(m_precursor, i);
    const PeakSpan peaks = peaks_in_window(window_peaks, x, tol_mz, false);
    for (const Peak& peak : peaks) sum += peak.m_intensity;
    Count(peaks);
  }
  return sum;
}

double FeaturesExtractor::window_intensity_ratio() {
  if (m_window_intensity_ratio) return *m_window_intensity_ratio;
  const double width = m_scan->m_params.m_isolation_width;
  const double total = WindowTotal(*m_scan);
  if (total <= kZeroDenominator) return 0.0;
  return m_window_intensity_ratio.emplace(IsotopeIntensityInWindow(WindowPeaks(*m_scan)) * width /
                                          total * 0.5);
}

double FeaturesExtractor::mz_spread_ppm() {
  if (m_mz_spread_ppm) return *m_mz_spread_ppm;
  // Truncated on purpose: the feature is defined so, and models are fitted with it.
  const double m0 = std::trunc(std::fabs(m_precursor.m_mz));
  std::vector<double> mz;
  std::vector<double> weights;
  for (const PeakSpan& scan : m_scan->m_scan_window) {
    const UserParameters& params = m_scan->m_params;
    const PeakSpan peaks = peaks_in_window(scan, m0, params.m_mstol, params.m_mstolppm);
    for (const Peak& peak : peaks) {
      mz.push_back(peak.m_mz);
      weights.push_back(peak.m_intensity);
    }
    Count(peaks);
  }
  return m_mz_spread_ppm.emplace(WeightedStdDev(mz, weights) * 1e6 / m0);
}

double FeaturesExtractor::refined_mz() {
  if (m_refined_mz) return *m_refined_mz;
  const double mz = std::fabs(m_precursor.m_mz);
  double weighted_sum = 0.0;
  double intensity_sum = 0.0;
  for (const PeakSpan& scan : m_scan->m_scan_window) {
    const PeakSpan peaks = peaks_in_window(scan, mz, m_scan->m_params.m_recalibrate_window, true);
    for (const Peak& peak : peaks) {
      weighted_sum += peak.m_mz * peak.m_intensity;
      intensity_sum += peak.m_intensity;
    }
    Count(peaks);
  }
  return m_refined_mz.emplace(intensity_sum > kZeroDenominator ? weighted_sum / intensity_sum : mz);
}

double FeaturesExtractor::abs_charge() const {
  return std::fabs(static_cast<double>(m_precursor.m_charge));
}

}  // namespace tarvek
