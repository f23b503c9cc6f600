#include "explain/Envelopes.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <span>

#include "EnvelopeFit.h"
#include "IsoPattern.h"
#include "IsotopeTable.h"

namespace tarvek::tools {
namespace {

constexpr double kIsotopesReachMz = 5.0;  // beyond the window
constexpr double kLeastPart = 0.1;        // of a peak, to belong to an ion
static_assert(kIsotopesShown == joint::kEnvelopePeaks);

Precursor Signed(const Precursor& ion) {
  return {ion.m_charge < 0 ? -ion.m_mz : ion.m_mz, ion.m_charge};
}

// Index of the peak nearest to mz within the tolerance, -1 without one.
int PeakAt(PeakSpan peaks, double mz, double tol_ppm) {
  if (peaks.empty()) return -1;
  const Peak& nearest = nearest_peak(peaks, mz);
  if (std::fabs(nearest.m_mz - mz) > tol_ppm * 1e-6 * mz) return -1;
  return static_cast<int>(&nearest - peaks.data());
}

PeakSpan PeaksAround(const MS1Spectrum& survey, const Explanation& explained) {
  return peaks_in_window(survey.m_peaks, explained.m_centre_mz,
                         explained.m_half_width_mz + kIsotopesReachMz, false);
}

// Shares of the isotopes in the table, with sum 1; all 0 for a mass beyond the table.
std::array<double, kIsotopesShown> SharesOf(const Precursor& ion) {
  std::array<double, kIsotopesShown> shares{};
  if (!IsInIsotopeTable(Signed(ion))) return shares;
  shares = LookUpIsotopeRow(Signed(ion));
  double sum = 0.0;
  for (const double share : shares) sum += share;
  if (sum > 0.0)
    for (double& share : shares) share /= sum;
  return shares;
}

/// The peaks of the survey with the envelopes over them.
class EnvelopesOfSurvey {
 public:
  EnvelopesOfSurvey(PeakSpan peaks, double tol_ppm) : m_peaks(peaks), m_tol_ppm(tol_ppm) {
    for (const Peak& peak : peaks) m_intensities.push_back(peak.m_intensity);
    m_noise = peaks.empty() ? 1.0 : std::max(1e-3, std::ranges::min(m_intensities));
  }

  [[nodiscard]] joint::EnvelopeColumn ColumnOf(const IonEnvelope& envelope) const {
    joint::EnvelopeColumn column;
    column.m_shares = SharesOf(envelope.m_ion);
    for (std::size_t i = 0; i < kIsotopesShown; ++i)
      column.m_lanes[i] = PeakAt(m_peaks, envelope.m_isotopes[i].m_mz, m_tol_ppm);
    return column;
  }

  /// The heights of envelopes that share peaks.
  void Fit(std::span<IonEnvelope* const> envelopes) const {
    std::vector<joint::EnvelopeColumn> columns;
    for (const IonEnvelope* envelope : envelopes) columns.push_back(ColumnOf(*envelope));
    joint::EnvelopeFitResult fit;
    joint::FitEnvelopes(m_intensities, columns, m_noise, 0.0, fit);
    for (std::size_t j = 0; j < columns.size(); ++j)
      for (std::size_t i = 0; i < kIsotopesShown; ++i) {
        EnvelopeIsotope& isotope = envelopes[j]->m_isotopes[i];
        const int peak = columns[j].m_lanes[i];
        isotope.m_expected = fit.m_amplitudes[j] * columns[j].m_shares[i];
        isotope.m_measured = peak < 0 ? 0.0 : m_intensities[static_cast<std::size_t>(peak)];
      }
  }

  [[nodiscard]] PeakSpan Peaks() const { return m_peaks; }

 private:
  PeakSpan m_peaks;
  double m_tol_ppm;
  double m_noise = 1.0;
  std::vector<double> m_intensities;
};

/// The part of a peak that an ion is expected to give.
struct PartOfPeak {
  std::size_t m_ion;
  double m_height;
};

using PartsOfPeaks = std::vector<std::vector<PartOfPeak>>;

PartsOfPeaks PartsOf(const EnvelopesOfSurvey& survey, const Explanation& explained) {
  PartsOfPeaks parts(survey.Peaks().size());
  for (std::size_t ion = 0; ion < explained.m_determined.size(); ++ion) {
    const IonEnvelope& envelope = explained.m_determined[ion].m_envelope;
    const joint::EnvelopeColumn column = survey.ColumnOf(envelope);
    for (std::size_t i = 0; i < kIsotopesShown; ++i)
      if (column.m_lanes[i] >= 0 && envelope.m_isotopes[i].m_expected > 0.0)
        parts[static_cast<std::size_t>(column.m_lanes[i])].push_back(
            {ion, envelope.m_isotopes[i].m_expected});
  }
  for (auto& of_peak : parts)
    std::ranges::stable_sort(of_peak, std::ranges::greater{}, &PartOfPeak::m_height);
  return parts;
}

void ListPeaks(PeakSpan peaks, const PartsOfPeaks& parts, Explanation& explained) {
  for (std::size_t k = 0; k < peaks.size(); ++k) {
    const Peak& peak = peaks[k];
    if (peak.m_mz < explained.LowEdge() - kShownBeyondMz ||
        peak.m_mz > explained.HighEdge() + kShownBeyondMz)
      continue;
    WindowPeak& shown = explained.m_peaks.emplace_back();
    shown.m_peak = peak;
    for (const PartOfPeak& part : parts[k])
      if (part.m_height >= kLeastPart * peak.m_intensity) shown.m_determined.push_back(part.m_ion);
  }
}

// Divides the current of the window among the ions: a shared peak by the expected part of each.
void ShareWindow(PeakSpan peaks, const PartsOfPeaks& parts, Explanation& explained) {
  double total = 0.0;
  std::vector<double> own(explained.m_determined.size());
  for (std::size_t k = 0; k < peaks.size(); ++k) {
    if (peaks[k].m_mz < explained.LowEdge() || peaks[k].m_mz > explained.HighEdge()) continue;
    total += peaks[k].m_intensity;
    double expected = 0.0;
    for (const PartOfPeak& part : parts[k]) expected += part.m_height;
    for (const PartOfPeak& part : parts[k])
      own[part.m_ion] += peaks[k].m_intensity * part.m_height / expected;
  }
  for (std::size_t ion = 0; ion < own.size(); ++ion)
    if (total > 0.0 && !explained.m_is_joint)
      explained.m_determined[ion].m_window_share = own[ion] / total;
}

void FollowIon(const Ms1Store& store, std::size_t survey, double tol_ppm,
               const Explanation& explained, IonEnvelope& envelope) {
  for (std::size_t p = 0; p < kWindowScans; ++p) {
    const std::size_t i = survey + p - kPrecursorPosition;  // wraps to a huge index below the store
    if (i >= store.size()) continue;
    const PeakSpan peaks = PeaksAround(store[i], explained);
    for (const EnvelopeIsotope& isotope : envelope.m_isotopes) {
      const int peak = PeakAt(peaks, isotope.m_mz, tol_ppm);
      if (peak >= 0) envelope.m_elution[p] += peaks[static_cast<std::size_t>(peak)].m_intensity;
    }
  }
}

}  // namespace

IonEnvelope EnvelopeOf(const Precursor& ion) {
  IonEnvelope envelope;
  envelope.m_ion = ion;
  for (std::size_t i = 0; i < kIsotopesShown; ++i)
    envelope.m_isotopes[i].m_mz = IsotopePositionMz(Signed(ion), static_cast<int>(i));
  return envelope;
}

void PutOverSurvey(const Ms1Store& store, std::size_t survey, double tol_ppm,
                   Explanation& explained) {
  const EnvelopesOfSurvey envelopes(PeaksAround(store[survey], explained), tol_ppm);
  std::vector<IonEnvelope*> determined;
  for (DeterminedIon& ion : explained.m_determined) determined.push_back(&ion.m_envelope);
  envelopes.Fit(determined);
  for (IonEnvelope& declared : explained.m_declared) {
    IonEnvelope* const alone = &declared;
    envelopes.Fit({&alone, 1});
  }
  const PartsOfPeaks parts = PartsOf(envelopes, explained);
  ListPeaks(envelopes.Peaks(), parts, explained);
  ShareWindow(envelopes.Peaks(), parts, explained);
  for (IonEnvelope* const ion : determined) FollowIon(store, survey, tol_ppm, explained, *ion);
  for (IonEnvelope& ion : explained.m_declared) FollowIon(store, survey, tol_ppm, explained, ion);
  for (std::size_t p = 0; p < kWindowScans; ++p) {
    const std::size_t i = survey + p - kPrecursorPosition;
    if (i < store.size()) explained.m_surveys[p] = {store[i].m_scan_no, store[i].m_rt};
  }
}

}  // namespace tarvek::tools
