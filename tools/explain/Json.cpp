#include "explain/Json.h"

#include <algorithm>
#include <cmath>

namespace tarvek::tools {
namespace {

using nlohmann::ordered_json;

double RoundedTo(double value, double steps_per_unit) {
  return std::round(value * steps_per_unit) / steps_per_unit;
}

double Mz(double mz) { return RoundedTo(mz, 1e5); }
double Figure(double value) { return RoundedTo(value, 1e4); }

// Four digits, which is more than a drawing shows.
double Height(double value) {
  if (!(std::fabs(value) > 0.0) || !std::isfinite(value)) return 0.0;
  const double step = std::pow(10.0, std::floor(std::log10(std::fabs(value))) - 3.0);
  return step >= 1.0 ? std::round(value / step) * step : RoundedTo(value, std::round(1.0 / step));
}

ordered_json IonJson(const Precursor& ion) {
  return {{"mz", Mz(ion.m_mz)}, {"charge", ion.m_charge}};
}

ordered_json EnvelopeJson(const IonEnvelope& envelope) {
  ordered_json json = IonJson(envelope.m_ion);
  ordered_json expected = ordered_json::array();
  ordered_json measured = ordered_json::array();
  for (const EnvelopeIsotope& isotope : envelope.m_isotopes) {
    expected.push_back(Height(isotope.m_expected));
    measured.push_back(Height(isotope.m_measured));
  }
  json["expected"] = std::move(expected);
  json["measured"] = std::move(measured);
  ordered_json elution = ordered_json::array();
  for (const double sum : envelope.m_elution) elution.push_back(Height(sum));
  json["elution"] = std::move(elution);
  return json;
}

ordered_json DeterminedJson(const DeterminedIon& ion) {
  ordered_json json = EnvelopeJson(ion.m_envelope);
  json["score"] = Figure(ion.m_score);
  json["share"] = Figure(ion.m_window_share);
  return json;
}

ordered_json PeakJson(const WindowPeak& peak) {
  ordered_json json = {Mz(peak.m_peak.m_mz), Height(peak.m_peak.m_intensity)};
  for (const std::size_t ion : peak.m_determined) json.push_back(ion);
  return json;
}

std::vector<std::size_t> FeaturesOf(bool is_joint, const CandidateLimits& limits) {
  if (!limits.m_has_all_features) return MainFeatures(is_joint);
  std::vector<std::size_t> all(FeatureNames(is_joint).size());
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
  return all;
}

ordered_json CandidateJson(const CandidateIon& candidate, const std::vector<std::size_t>& shown) {
  ordered_json json = IonJson(candidate.m_ion);
  json["kept"] = candidate.m_is_kept;
  json["score"] =
      candidate.m_score ? ordered_json(Figure(*candidate.m_score)) : ordered_json(nullptr);
  ordered_json features = ordered_json::array();
  for (const std::size_t i : shown)
    if (i < candidate.m_features.size()) features.push_back(Figure(candidate.m_features[i]));
  json["features"] = std::move(features);
  json["reason"] = candidate.m_reason;
  return json;
}

template <class Values, class ToJson>
ordered_json ListOf(const Values& values, std::size_t most, ToJson to_json) {
  ordered_json list = ordered_json::array();
  for (const auto& value : values) {
    if (list.size() == most) break;
    list.push_back(to_json(value));
  }
  return list;
}

}  // namespace

ordered_json ScanJson(const Explanation& explained, const CandidateLimits& limits) {
  constexpr std::size_t kAll = static_cast<std::size_t>(-1);
  const std::vector<std::size_t> shown = FeaturesOf(explained.m_is_joint, limits);
  const auto ion = [](const Precursor& one) {
    return IonJson({std::fabs(one.m_mz), one.m_charge});
  };
  ordered_json surveys = ordered_json::array();
  for (const SurveyTime& survey : explained.m_surveys)
    surveys.push_back({survey.m_scan_no, RoundedTo(survey.m_rt_s, 100.0)});
  return {
      {"scan", explained.m_scan_no},
      {"survey", explained.m_survey_no},
      {"rt_seconds", RoundedTo(explained.m_rt_s, 1000.0)},
      {"activation", explained.m_activation},
      {"analyser", explained.m_analyser},
      {"centre_mz", Mz(explained.m_centre_mz)},
      {"low_mz", Mz(explained.LowEdge())},
      {"high_mz", Mz(explained.HighEdge())},
      {"outcome", explained.m_outcome},
      {"agrees_with_table", explained.m_agrees},
      {"in_table", ListOf(explained.m_in_table, kAll, ion)},
      {"declared", ListOf(explained.m_declared, kAll, EnvelopeJson)},
      {"determined", ListOf(explained.m_determined, kAll, DeterminedJson)},
      {"peaks", ListOf(explained.m_peaks, kAll, PeakJson)},
      {"surveys", std::move(surveys)},
      {"candidate_count", explained.m_candidates.size()},
      {"candidates", ListOf(explained.m_candidates, limits.m_most == 0 ? kAll : limits.m_most,
                            [&](const CandidateIon& one) { return CandidateJson(one, shown); })}};
}

ordered_json FeatureNamesJson(bool is_joint, const CandidateLimits& limits) {
  const std::vector<std::string> names = FeatureNames(is_joint);
  ordered_json json = ordered_json::array();
  for (const std::size_t i : FeaturesOf(is_joint, limits)) json.push_back(names[i]);
  return json;
}

}  // namespace tarvek::tools
