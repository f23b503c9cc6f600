#include "ScanRules.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>

#include "NativeId.h"
#include "NumberText.h"
#include "ReadingLimits.h"
#include "ShownText.h"

namespace tarvek::extractor {
namespace {

// A precursor scan is at most a few cycles back; we forget older spectra.
constexpr std::size_t kMaxSeen = 1 << 16;

// Of the name of an activation in a reason.
constexpr std::size_t kMaxShownName = 200;

// Pairs of polarity and compensation voltage that a run may have.
constexpr std::size_t kMaxKinds = 64;

// Two compensation voltages are the same when they differ by less (in volts).
constexpr double kSameVoltage = 0.05;

bool SameVoltage(std::optional<double> a, std::optional<double> b) {
  if (!a || !b) return !a && !b;
  return std::fabs(*a - *b) < kSameVoltage;
}

bool SamePolarity(Polarity a, Polarity b) {
  return a == b || a == Polarity::kUnknown || b == Polarity::kUnknown;
}

// The key of an id: its scan number in a known form, else a hash of the text. Ids that are only a
// number, as some mzML writers have them, get a hash too.
std::uint64_t KeyOf(std::string_view id) {
  constexpr std::uint64_t kTextMark = std::uint64_t{1} << 63;
  if (const auto number = ScanNumberOf(id)) return static_cast<std::uint64_t>(*number) + 1;
  return std::hash<std::string_view>{}(id) | kTextMark;
}

std::int32_t ChargeOf(const SelectedIon& ion) {
  std::int32_t charge = ion.m_charge;
  if (charge == 0 && ion.m_possible_charges.size() == 1) charge = ion.m_possible_charges.front();
  // No ion has more charges; a larger number is a damaged file.
  constexpr std::int32_t kMaxCharge = 1000;
  return charge >= -kMaxCharge && charge <= kMaxCharge ? std::abs(charge) : 0;
}

// "ITMS + c NSI d Full ms2 413.26@cid35.00 [...]": the first number after the level.
double CentreOfFilter(std::string_view filter) {
  constexpr std::string_view kLevel = " ms2 ";
  const std::size_t level = filter.find(kLevel);
  if (level == std::string_view::npos) return 0.0;
  return std::max(PossibleReal(filter.substr(level + kLevel.size())).value_or(0.0), 0.0);
}

}  // namespace

std::vector<DeclaredIon> DeclaredIons(const ExtractedScan& scan) {
  std::vector<DeclaredIon> ions;
  for (const DeclaredPrecursor& precursor : scan.m_precursors) {
    for (const SelectedIon& ion : precursor.m_ions) {
      const double mz = ion.m_mz > 0.0 ? ion.m_mz : precursor.m_target_mz.value_or(0.0);
      ions.push_back({std::max(mz, 0.0), ChargeOf(ion)});
    }
  }
  if (ions.empty()) ions.push_back({ActivationCentre(scan), 0});
  return ions;
}

double ActivationCentre(const ExtractedScan& scan) {
  if (!scan.m_precursors.empty()) {
    const DeclaredPrecursor& precursor = scan.m_precursors.front();
    if (precursor.m_target_mz && *precursor.m_target_mz > 0.0) return *precursor.m_target_mz;
    if (!precursor.m_ions.empty() && precursor.m_ions.front().m_mz > 0.0)
      return precursor.m_ions.front().m_mz;
  }
  return CentreOfFilter(scan.m_filter);
}

// Empty when the spectrum is used.
std::string ScanRules::WhyUnused(const ExtractedScan& scan,
                                 const DeclaredActivation& activation) const {
  if (!scan.m_is_mass_spectrum) return "no mass spectrum (UV or other)";
  if (scan.m_ms_level < 1) return "no MS level";
  if (scan.m_ms_level > 2) return "MS level above 2";
  if (m_options.m_faims_volts && !SameVoltage(m_options.m_faims_volts, scan.m_faims_volts))
    return "other compensation voltage";
  if (scan.m_peak_count == 0) return "empty";
  if (scan.m_ms_level == 1) return {};
  const bool is_told = !m_options.m_overrides.m_activation.empty();
  if (!is_told && !activation.m_other.empty())
    return "activation without a word: " + Shown(activation.m_other, kMaxShownName);
  return ActivationCentre(scan) > 0.0 ? std::string() : "no isolation target and no selected ion";
}

// Numbers that are too large for the outputs do not count.
std::int32_t ScanRules::ScanNumber(const ExtractedScan& scan) const {
  constexpr std::int64_t kLargest = std::numeric_limits<std::int32_t>::max() - 1;
  const auto number = ScanNumberOf(scan.m_id);
  if (number && *number <= kLargest && !m_plan.m_numbers_by_position) return *number;
  const std::int64_t position = m_plan.m_numbers_by_position ? m_spectra : scan.m_position;
  return static_cast<std::int32_t>(std::min(position + 1, kLargest));
}

OutputScan ScanRules::Decide(const ExtractedScan& scan) {
  const DeclaredActivation activation =
      scan.m_ms_level == 2 ? ActivationOf(scan) : DeclaredActivation();
  OutputScan output;
  output.m_scan_no = ScanNumber(scan);
  output.m_why_left_out = WhyUnused(scan, activation);
  if (!output.m_why_left_out.empty()) return output;
  if (output.m_scan_no <= m_last_scan_no) throw PlanLack::kAscendingNumbers;
  const AnalyserDecision analyser = m_analysers.Decide(scan, activation.m_word, m_plan);
  if (analyser.m_step == AnalyserStep::kUndecided) throw PlanLack::kAnalyser;
  output.m_instrument = analyser.m_word;
  output.m_analyser_step = analyser.m_step;
  output.m_kind = scan.m_ms_level == 1 ? ScanKind::kSurvey : ScanKind::kFragment;
  output.m_rt_seconds = scan.m_rt_seconds.value_or(0.0);
  output.m_injection_ms = scan.m_injection_ms;
  output.m_is_negative = scan.m_polarity == Polarity::kNegative;
  if (output.m_kind == ScanKind::kFragment) DescribeFragment(scan, activation, output);
  return output;
}

void ScanRules::DescribeFragment(const ExtractedScan& scan, const DeclaredActivation& activation,
                                 OutputScan& output) const {
  const std::string& told = m_options.m_overrides.m_activation;
  output.m_activation = told.empty() ? activation.m_word : told;
  output.m_is_activation_assumed = output.m_activation.empty();
  if (output.m_is_activation_assumed) output.m_activation = UsualActivation(output.m_instrument);
  output.m_has_several_activations = told.empty() && activation.m_is_several;
  output.m_centre_mz = ActivationCentre(scan);
  output.m_precursor_scan = PrecursorScan(scan);
  output.m_ions = DeclaredIons(scan);
}

const ScanRules::Seen* ScanRules::Find(std::uint64_t key) const {
  const auto place = m_place_of_key.find(key);
  if (place == m_place_of_key.end()) return nullptr;
  return &m_seen[static_cast<std::size_t>(place->second - m_forgotten)];
}

// In methods with decision scans, an MS2 scan names another MS2 scan, which names the survey scan.
const ScanRules::Seen* ScanRules::ClimbToSurvey(std::uint64_t key) const {
  constexpr int kMaxSteps = 16;
  for (int step = 0; step < kMaxSteps && key != 0; ++step) {
    const Seen* const seen = Find(key);
    if (seen == nullptr || seen->m_is_survey) return seen;
    key = seen->m_parent_key;
  }
  return nullptr;
}

std::int32_t ScanRules::PrecursorScan(const ExtractedScan& scan) const {
  if (!scan.m_precursors.empty() && !scan.m_precursors.front().m_scan_ref.empty()) {
    const Seen* const survey = ClimbToSurvey(KeyOf(scan.m_precursors.front().m_scan_ref));
    if (survey != nullptr && SamePolarity(survey->m_polarity, scan.m_polarity) &&
        SameVoltage(survey->m_faims_volts, scan.m_faims_volts))
      return survey->m_scan_no;
  }
  return SurveyBefore(scan);
}

// The latest in the file, unless it was measured later: then the file is not in time order, and
// this takes the latest by time.
std::int32_t ScanRules::SurveyBefore(const ExtractedScan& scan) const {
  const auto fits = [&](const SurveyList& list) {
    return SamePolarity(list.m_polarity, scan.m_polarity) &&
           SameVoltage(list.m_faims_volts, scan.m_faims_volts);
  };
  const auto latest = std::find_if(m_surveys.rbegin(), m_surveys.rend(), fits);
  if (latest == m_surveys.rend()) return 0;
  if (!scan.m_rt_seconds || *scan.m_rt_seconds >= latest->m_latest_rt_seconds)
    return latest->m_latest_scan_no;
  std::pair<double, std::int32_t> best = {-std::numeric_limits<double>::infinity(), 0};
  for (const SurveyList& list : m_surveys) {
    if (!fits(list)) continue;
    const auto after = std::ranges::upper_bound(
        list.m_by_time, std::pair(*scan.m_rt_seconds, std::numeric_limits<std::int32_t>::max()));
    if (after != list.m_by_time.begin()) best = std::max(best, *std::prev(after));
  }
  return best.second;
}

void ScanRules::Remember(const ExtractedScan& scan, const OutputScan& output) {
  ++m_spectra;
  Seen seen;
  seen.m_key = KeyOf(scan.m_id);
  seen.m_scan_no = output.m_scan_no;
  seen.m_is_survey = output.m_kind == ScanKind::kSurvey;
  seen.m_polarity = scan.m_polarity;
  seen.m_faims_volts = scan.m_faims_volts;
  if (!scan.m_precursors.empty() && !scan.m_precursors.front().m_scan_ref.empty())
    seen.m_parent_key = KeyOf(scan.m_precursors.front().m_scan_ref);
  if (output.m_kind != ScanKind::kLeftOut) m_last_scan_no = output.m_scan_no;
  if (seen.m_is_survey) RememberSurvey(seen, output.m_rt_seconds);
  m_place_of_key[seen.m_key] = m_forgotten + static_cast<std::int64_t>(m_seen.size());
  m_seen.push_back(seen);
  if (m_seen.size() <= kMaxSeen) return;
  const auto oldest = m_place_of_key.find(m_seen.front().m_key);
  if (oldest != m_place_of_key.end() && oldest->second == m_forgotten) m_place_of_key.erase(oldest);
  m_seen.pop_front();
  ++m_forgotten;
}

void ScanRules::RememberSurvey(const Seen& seen, double rt_seconds) {
  const auto place = std::ranges::find_if(m_surveys, [&](const SurveyList& list) {
    return list.m_polarity == seen.m_polarity &&
           SameVoltage(list.m_faims_volts, seen.m_faims_volts);
  });
  if (place != m_surveys.end()) {
    std::rotate(place, place + 1, m_surveys.end());
  } else {
    if (m_surveys.size() >= kMaxKinds) m_surveys.erase(m_surveys.begin());
    m_surveys.push_back({seen.m_polarity, seen.m_faims_volts, 0, 0.0, {}});
  }
  SurveyList& list = m_surveys.back();
  list.m_latest_scan_no = seen.m_scan_no;
  list.m_latest_rt_seconds = rt_seconds;
  const std::pair survey(rt_seconds, seen.m_scan_no);
  list.m_by_time.insert(std::ranges::upper_bound(list.m_by_time, survey), survey);
  if (list.m_by_time.size() > kMaxSeen) list.m_by_time.erase(list.m_by_time.begin());
}

}  // namespace tarvek::extractor
