#include "calibrate/Estimator.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <map>
#include <optional>
#include <tuple>

#include "NumberText.h"
#include "calibrate/Mode.h"
#include "calibrate/PeptideIons.h"

namespace tarvek::tools {
namespace {

constexpr ModeDemands kSureBias = {40.0, 2.5, 0.5};
constexpr ModeDemands kSureBand = {40.0, 2.0, 0.5};
constexpr ModeDemands kSureSlice = {40.0, 2.0, 0.8};

constexpr double kLeastPairsOfSlice = 120.0;
constexpr double kLeastSmallIonsOfSlice = 300.0;
constexpr std::size_t kMostSlices = 40;
constexpr std::size_t kLeastSlices = 3;
constexpr double kLeastDriftPpm = 1.0;   // from the lowest to the highest slice
constexpr double kLeastDriftTest = 4.0;  // mean square of deviations over errors
constexpr double kMostSliceChangePpm = 10.0;

constexpr std::size_t kLeastIons = 8;     // different ions that make the mode of small ions
constexpr double kMostShareOfIon = 0.35;  // of the matches near the mode
constexpr double kNearModePpm = 3.0;
constexpr double kAnchorMz = 130.0;  // from here on the scale is less bent

constexpr double kLeastSurveyPpm = 0.5;
constexpr double kMostBendPpm = 3.0;  // of the scale above the small ions
constexpr double kSpreads = 4.0;      // that a tolerance holds
constexpr double kLeastTolerancePpm = 4.0;
constexpr double kMostTolerancePpm = 20.0;
constexpr double kShareOfFragments =
    0.71;  // sqrt(0.5 * 0.5 + 0.5 * 0.5): two halves of a precursor
constexpr double kLeastShareOfSpread = 0.5;  // of that of the sums

struct Band {
  double m_low_mz = 0.0;
  double m_high_mz = 0.0;
};
constexpr std::array<Band, 4> kSmallIonBands = {
    {{0.0, kAnchorMz}, {kAnchorMz, 180.0}, {180.0, 240.0}, {240.0, kSmallIonsEndMz}}};
constexpr std::array<Band, 3> kLadderBands = {
    {{kSmallIonsEndMz, 650.0}, {650.0, 900.0}, {900.0, 1400.0}}};

bool IsIonTrap(std::string_view analyser) { return analyser.starts_with("IT"); }
bool IsFourierTransform(std::string_view analyser) { return analyser.starts_with("FT"); }

/// A difference with its time and scan.
struct Timed {
  std::int32_t m_scan_no = 0;
  double m_rt_s = 0.0;
  double m_ppm = 0.0;
};

using Items = std::vector<ScanSample<IonMatch>::Kept>;

std::optional<Mode> ModeOf(std::span<const Timed> values) {
  PpmHistogram histogram;
  for (const Timed& value : values)
    histogram.Add(value.m_ppm, ScrambledScan(value.m_scan_no) >> 8U);
  return histogram.FindMode();
}

std::vector<Timed> InBand(const Items& items, const Band& band) {
  std::vector<Timed> values;
  for (const auto& [scan_no, rt_s, match] : items)
    if (match.m_mz >= band.m_low_mz && match.m_mz < band.m_high_mz)
      values.push_back({scan_no, rt_s, match.m_ppm});
  return values;
}

/// The median m/z of the matches of a band near its mode: the place of its knot.
double PlaceOf(const Items& items, const Band& band, double mode_ppm) {
  std::vector<double> places;
  for (const auto& item : items)
    if (item.m_item.m_mz >= band.m_low_mz && item.m_item.m_mz < band.m_high_mz &&
        std::fabs(item.m_item.m_ppm - mode_ppm) <= kNearModePpm)
      places.push_back(item.m_item.m_mz);
  if (places.empty()) return (band.m_low_mz + band.m_high_mz) / 2.0;
  const auto middle = places.begin() + static_cast<std::ptrdiff_t>(places.size() / 2);
  std::nth_element(places.begin(), middle, places.end());
  return *middle;
}

/// Whether several ions make the mode, not one alone.
bool HasManyIons(const Items& items, double mode_ppm) {
  std::map<double, std::int64_t> counts;  // by m/z of the ion
  std::int64_t all = 0;
  std::int64_t most = 0;
  for (const auto& item : items) {
    if (item.m_item.m_mz < kAnchorMz || std::fabs(item.m_item.m_ppm - mode_ppm) > kNearModePpm)
      continue;
    most = std::max(most, ++counts[item.m_item.m_mz]);
    ++all;
  }
  constexpr std::int64_t kLeastCount = 3;
  const auto ions =
      std::ranges::count_if(counts, [](const auto& entry) { return entry.second >= kLeastCount; });
  return ions >= static_cast<std::ptrdiff_t>(kLeastIons) &&
         static_cast<double>(most) <= kMostShareOfIon * static_cast<double>(all);
}

Confidence ConfidenceOf(const std::optional<Mode>& mode) {
  if (!mode) return {};
  return {mode->m_ppm, mode->m_error_ppm, mode->m_strength, std::llround(mode->m_matches),
          IsSure(*mode, kSureBias)};
}

/// Knots of the bands that have a sure mode. Above the small ions a band must also be close to the
/// band before, since ladders have more background.
Curve FragmentsByMz(const Items& small_ions, const Items& ladders) {
  Curve curve;
  const auto add = [&curve](const Items& items, const Band& band, bool is_ladder) {
    const std::optional<Mode> mode = ModeOf(InBand(items, band));
    if (!mode || !IsSure(*mode, kSureBand)) return;
    const bool is_far = is_ladder && !curve.m_knots.empty() &&
                        std::fabs(mode->m_ppm - curve.m_knots.back().m_ppm) > kMostBendPpm;
    if (!is_far) curve.m_knots.push_back({PlaceOf(items, band, mode->m_ppm), mode->m_ppm});
  };
  for (const Band& band : kSmallIonBands) add(small_ions, band, false);
  for (const Band& band : kLadderBands) add(ladders, band, true);
  return curve;
}

double MedianTime(std::span<const Timed> slice) { return slice[slice.size() / 2].m_rt_s; }

struct Slice {
  double m_rt_s = 0.0;
  double m_ppm = 0.0;
  double m_error_ppm = 0.0;
};

/// values ascend in time.
std::vector<Slice> SlicesOf(std::span<const Timed> values, std::size_t count, double whole_ppm) {
  std::vector<Slice> slices;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t first = values.size() * i / count;
    const std::span<const Timed> part =
        values.subspan(first, values.size() * (i + 1) / count - first);
    const std::optional<Mode> mode = ModeOf(part);
    if (mode && IsSure(*mode, kSureSlice) &&
        std::fabs(mode->m_ppm - whole_ppm) <= kMostSliceChangePpm)
      slices.push_back({MedianTime(part), mode->m_ppm, mode->m_error_ppm});
  }
  return slices;
}

/// Whether the slices differ by more than their errors explain.
bool Drifts(std::span<const Slice> slices) {
  double sum = 0.0;
  double weights = 0.0;
  for (const Slice& slice : slices) {
    const double weight = 1.0 / (slice.m_error_ppm * slice.m_error_ppm);
    sum += weight * slice.m_ppm;
    weights += weight;
  }
  double squares = 0.0;
  for (const Slice& slice : slices) {
    const double deviation = (slice.m_ppm - sum / weights) / slice.m_error_ppm;
    squares += deviation * deviation;
  }
  const auto [low, high] = std::ranges::minmax_element(slices, {}, &Slice::m_ppm);
  return high->m_ppm - low->m_ppm >= kLeastDriftPpm &&
         squares >= kLeastDriftTest * static_cast<double>(slices.size() - 1);
}

/// Each slice averaged with half the weight of its neighbours; slices of one time become one knot.
Curve Smoothed(std::span<const Slice> slices) {
  Curve curve;
  for (std::size_t i = 0; i < slices.size(); ++i) {
    double sum = 2.0 * slices[i].m_ppm;
    double weight = 2.0;
    if (i > 0) {
      sum += slices[i - 1].m_ppm;
      weight += 1.0;
    }
    if (i + 1 < slices.size()) {
      sum += slices[i + 1].m_ppm;
      weight += 1.0;
    }
    if (curve.m_knots.empty() || slices[i].m_rt_s > curve.m_knots.back().m_at)
      curve.m_knots.push_back({slices[i].m_rt_s, sum / weight});
  }
  return curve;
}

/// The mode over time where there are enough matches and they drift; otherwise no knots.
Curve ByTime(std::vector<Timed> values, const Mode& whole, double least_matches) {
  const std::size_t count =
      std::min(kMostSlices, static_cast<std::size_t>(whole.m_matches / least_matches));
  if (count < kLeastSlices) return {};
  // Sorted by every field, so that slices do not depend on the order of the input.
  std::ranges::sort(values, [](const Timed& a, const Timed& b) {
    return std::tie(a.m_rt_s, a.m_scan_no, a.m_ppm) < std::tie(b.m_rt_s, b.m_scan_no, b.m_ppm);
  });
  const std::vector<Slice> slices = SlicesOf(values, count, whole.m_ppm);
  if (slices.size() < kLeastSlices || !Drifts(slices)) return {};
  return Smoothed(slices);
}

/// The matches without the bend of the scale.
std::vector<Timed> Straightened(const Items& matches, const Curve& by_mz) {
  std::vector<Timed> values;
  for (const auto& [scan_no, rt_s, match] : matches)
    if (match.m_mz >= kAnchorMz)
      values.push_back({scan_no, rt_s, match.m_ppm - by_mz.At(match.m_mz)});
  return values;
}

/// The bias of precursors according to each pair.
std::vector<Timed> BiasOfPairs(const std::vector<ScanSample<FragmentPair>::Kept>& pairs,
                               const Calibration& fragments) {
  std::vector<Timed> values;
  values.reserve(pairs.size());
  for (const auto& [scan_no, rt_s, pair] : pairs) {
    const double error = pair.m_low_mz * fragments.FragmentPpm(rt_s, pair.m_low_mz) +
                         pair.m_high_mz * fragments.FragmentPpm(rt_s, pair.m_high_mz);
    values.push_back({scan_no, rt_s, pair.m_ppm + error / pair.m_precursor_mz_times_charge});
  }
  return values;
}

double SpreadOf(std::span<const Timed> values) {
  const std::optional<Mode> mode = ModeOf(values);
  return mode ? mode->m_spread_ppm : 0.0;
}

/// The spread of precursors around their bias. The sums also spread by the errors of two fragments,
/// about as large as those of ladders; these explain only a part of the spread.
double PrecursorSpread(std::vector<Timed> biases, const Curve& by_time,
                       std::span<const Timed> ladders) {
  for (Timed& bias : biases) bias.m_ppm -= by_time.At(bias.m_rt_s);
  const double sums = SpreadOf(biases);
  const double fragments = kShareOfFragments * SpreadOf(ladders);
  const double rest = sums * sums - fragments * fragments;
  return std::max(sums * kLeastShareOfSpread, std::sqrt(std::max(rest, 0.0)));
}

std::int64_t ToleranceOf(double spread, double error) {
  const double wanted = kSpreads * spread + 2.0 * error;
  return std::llround(std::ceil(std::clamp(wanted, kLeastTolerancePpm, kMostTolerancePpm)));
}

std::string UnsureText(const std::string& what, const Confidence& confidence) {
  return "the bias of " + what + " is not sure: " + std::to_string(confidence.m_matches) +
         " matches, " + Fixed(confidence.m_strength, 1) + " times the background, error " +
         Fixed(confidence.m_error_ppm, 2) + " ppm";
}

}  // namespace

std::uint32_t ScrambledScan(std::int32_t scan_no) noexcept {
  auto bits = static_cast<std::uint32_t>(scan_no);
  bits = (bits ^ bits >> 16U) * 0x7feb352dU;
  bits = (bits ^ bits >> 15U) * 0x846ca68bU;
  return bits ^ bits >> 16U;
}

CalibrationEstimator::CalibrationEstimator(std::size_t most_items)
    : m_small_ions(most_items), m_ladders(most_items), m_pairs(most_items) {}

void CalibrationEstimator::Add(const FragmentScan& scan) {
  ++m_scans;
  if (IsIonTrap(scan.m_analyser)) ++m_ion_trap_scans;
  const bool is_negative = std::ranges::any_of(
      scan.m_precursors, [](const Precursor& precursor) { return precursor.m_charge < 0; });
  if (!IsFourierTransform(scan.m_analyser) || scan.m_activation == "ETD" || is_negative) return;
  ++m_used_scans;
  for (const IonMatch& match : m_finder.SmallIonMatches(scan))
    m_small_ions.Add({scan.m_scan_no, scan.m_rt_s, match});
  for (const IonMatch& match : m_finder.LadderMatches(scan))
    m_ladders.Add({scan.m_scan_no, scan.m_rt_s, match});
  for (const FragmentPair& pair : m_finder.Pairs(scan))
    m_pairs.Add({scan.m_scan_no, scan.m_rt_s, pair});
}

Calibration CalibrationEstimator::Estimate() const {
  Calibration found;
  if (m_used_scans == 0) {
    found.m_why_off = m_scans > 0 && m_ion_trap_scans == m_scans
                          ? "all fragment spectra are of ion traps"
                          : "there are no fragment spectra that tell";
    return found;
  }
  const Band anchor{kAnchorMz, kSmallIonsEndMz};
  const std::optional<Mode> fragments = ModeOf(InBand(m_small_ions.Items(), anchor));
  found.m_fragments = ConfidenceOf(fragments);
  if (found.m_fragments.m_is_sure && !HasManyIons(m_small_ions.Items(), fragments->m_ppm)) {
    found.m_fragments.m_is_sure = false;
    found.m_why_off = "few ions of peptides make the bias of fragments";
    return found;
  }
  found.m_fragments_by_mz = FragmentsByMz(m_small_ions.Items(), m_ladders.Items());
  if (!found.m_fragments.m_is_sure || found.m_fragments_by_mz.m_knots.empty()) {
    found.m_fragments.m_is_sure = false;
    found.m_why_off = UnsureText("fragments", found.m_fragments);
    return found;
  }
  const std::vector<Timed> straight = Straightened(m_small_ions.Items(), found.m_fragments_by_mz);
  if (const std::optional<Mode> rest = ModeOf(straight))
    found.m_fragments_by_time = ByTime(straight, *rest, kLeastSmallIonsOfSlice);
  const std::vector<Timed> biases = BiasOfPairs(m_pairs.Items(), found);
  const std::optional<Mode> surveys = ModeOf(biases);
  found.m_surveys = ConfidenceOf(surveys);
  if (!found.m_surveys.m_is_sure) {
    found.m_why_off = UnsureText("surveys", found.m_surveys);
    return found;
  }
  found.m_surveys_by_time = ByTime(biases, *surveys, kLeastPairsOfSlice);
  // A small bias without drift cannot be told from zero and stays uncorrected.
  if (found.m_surveys_by_time.m_knots.empty() && std::fabs(surveys->m_ppm) >= kLeastSurveyPpm)
    found.m_surveys_by_time.m_knots.push_back({0.0, surveys->m_ppm});
  const double spread = PrecursorSpread(biases, found.m_surveys_by_time,
                                        Straightened(m_ladders.Items(), found.m_fragments_by_mz));
  found.m_tolerance_ppm = ToleranceOf(spread, surveys->m_error_ppm);
  return found;
}

}  // namespace tarvek::tools
