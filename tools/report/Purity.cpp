#include "report/Purity.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "score/IsotopeShift.h"

namespace tarvek::tools {
namespace {

constexpr int kIsotopesOfAnEnvelope = 8;

// Both ends included; borrows from peaks.
std::span<const Peak> PeaksWithin(std::span<const Peak> peaks, double mz, double tol_mz) {
  const auto first = std::ranges::lower_bound(peaks, mz - tol_mz, {}, &Peak::m_mz);
  return {first, std::ranges::upper_bound(first, peaks.end(), mz + tol_mz, {}, &Peak::m_mz)};
}

template <std::size_t kBins>
void CountShare(std::array<std::int64_t, kBins>& bins, double share) {
  const auto bin = static_cast<std::size_t>(std::max(0.0, share) * static_cast<double>(kBins));
  ++bins.at(std::min(bin, kBins - 1));
}

}  // namespace

double TotalIntensity(std::span<const Peak> peaks) {
  double sum = 0.0;
  for (const Peak& peak : peaks) sum += peak.m_intensity;
  return sum;
}

std::optional<WindowShares> SharesInWindow(std::span<const Peak> peaks, double centre_mz,
                                           double half_width_mz,
                                           std::span<const Precursor> determined, double tol_ppm) {
  const std::span<const Peak> window = PeaksWithin(peaks, centre_mz, half_width_mz);
  const double total = TotalIntensity(window);
  if (!(total > 0.0) || !std::isfinite(total)) return std::nullopt;

  std::vector<bool> is_explained(window.size(), false);
  double main = 0.0;
  for (const Precursor& precursor : determined) {
    if (precursor.m_charge == 0) continue;
    double own = 0.0;
    std::span<const Peak> above = window;  // at a wide tolerance, a peak is of one isotope
    for (int isotope = 0; isotope < kIsotopesOfAnEnvelope; ++isotope) {
      const double mz = IsotopeMz(precursor.m_mz, isotope, precursor.m_charge);
      const std::span<const Peak> found = PeaksWithin(above, mz, tol_ppm * mz / 1e6);
      own += TotalIntensity(found);
      const auto place = static_cast<std::size_t>(found.data() - window.data());
      above = window.subspan(place + found.size());
      for (std::size_t i = 0; i < found.size(); ++i) is_explained[place + i] = true;
    }
    main = std::max(main, own);
  }
  double all = 0.0;
  for (std::size_t i = 0; i < window.size(); ++i)
    if (is_explained[i]) all += window[i].m_intensity;
  return WindowShares{main / total, all / total};
}

PurityMeter::PurityMeter(const RunContent& content, RunReport& report) : m_report(report) {
  PlaceRows(content);
}

// Every row with the centre of its window, in the order of their surveys.
void PurityMeter::PlaceRows(const RunContent& content) {
  for (const ReportRow& row : content.Rows()) {
    const InputScan* input = content.InputOf(row.m_scan_no);
    const bool has_centre = input != nullptr && input->m_centre_mz > 0.0;
    if (!has_centre && row.m_declared.m_mz <= 0.0) continue;
    if (!has_centre) m_report.m_declared_centres = true;
    m_placed.push_back({&row, has_centre ? input->m_centre_mz : row.m_declared.m_mz,
                        input != nullptr && input->m_survey > 0 ? input->m_survey : row.m_scan_no});
  }
  std::ranges::stable_sort(m_placed, {}, &PlacedRow::m_key);
}

void PurityMeter::TakeSurvey(MS1Spectrum& survey) {
  MeasureUntil(survey.m_scan_no);
  if (!m_survey) m_survey.emplace();
  std::swap(*m_survey, survey);
}

void PurityMeter::Finish() {
  MeasureUntil(kBehindAll);
  m_report.m_median_main_share = Median(std::move(m_main_shares));
  m_report.m_median_all_share = Median(std::move(m_all_shares));
}

void PurityMeter::MeasureUntil(std::int64_t scan_no) {
  for (; m_next < m_placed.size() && m_placed[m_next].m_key < scan_no; ++m_next)
    if (m_survey) Measure(m_placed[m_next]);
}

void PurityMeter::Measure(const PlacedRow& placed) {
  const auto shares =
      SharesInWindow(m_survey->m_peaks, placed.m_centre_mz, m_report.m_isolation_width / 2.0,
                     placed.m_row->m_determined, m_report.m_tol_ppm);
  if (!shares) {
    ++m_report.m_empty_windows;
    return;
  }
  ++m_report.m_windows;
  CountShare(m_report.m_main_share, shares->m_main);
  CountShare(m_report.m_all_share, shares->m_all);
  m_main_shares.push_back(shares->m_main);
  m_all_shares.push_back(shares->m_all);
}

}  // namespace tarvek::tools
