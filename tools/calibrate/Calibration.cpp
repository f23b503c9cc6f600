#include "calibrate/Calibration.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "NumberText.h"

namespace tarvek::tools {
namespace {

constexpr int kPpmDecimals = 2;
constexpr int kPlaceDecimals = 1;

// Keys of the entries.
constexpr const char* kOff = "off";
constexpr const char* kSurveys = "surveys";
constexpr const char* kFragments = "fragments";
constexpr const char* kSurveysByTime = "surveys_by_time";
constexpr const char* kFragmentsByMz = "fragments_by_mz";
constexpr const char* kFragmentsByTime = "fragments_by_time";
constexpr const char* kTolerance = "tolerance_ppm";

// "6551.0:-5.17 6576.2:-4.99"
std::string CurveText(const Curve& curve) {
  std::string text;
  for (const Knot& knot : curve.m_knots) {
    if (!text.empty()) text += ' ';
    AppendFixed(text, knot.m_at, kPlaceDecimals);
    text += ':';
    AppendFixed(text, knot.m_ppm, kPpmDecimals);
  }
  return text;
}

// "-5.10 ppm, error 0.08, strength 7.4, matches 806"
std::string ConfidenceText(const Confidence& confidence) {
  return Fixed(confidence.m_ppm, kPpmDecimals) + " " + Fixed(confidence.m_error_ppm, kPpmDecimals) +
         " " + Fixed(confidence.m_strength, 1) + " " + std::to_string(confidence.m_matches) +
         (confidence.m_is_sure ? " sure" : " unsure");
}

[[noreturn]] void Refuse(const std::string& key, std::string_view text) {
  throw "the calibration \"" + key + "\" of the record cannot be read: " + std::string(text);
}

double Number(const std::string& key, std::string_view text) {
  const std::optional<double> value = FiniteReal(text);
  if (!value) Refuse(key, text);
  return *value;
}

std::vector<std::string_view> Words(std::string_view text) {
  std::vector<std::string_view> words;
  while (!text.empty()) {
    const std::size_t end = text.find(' ');
    words.push_back(text.substr(0, end));
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
  }
  return words;
}

const std::string& Entry(const RunRecord& record, const std::string& key) {
  static const std::string kNone;
  const auto found = record.m_calibration.find(key);
  return found == record.m_calibration.end() ? kNone : found->second;
}

Curve CurveIn(const RunRecord& record, const std::string& key) {
  Curve curve;
  for (const std::string_view word : Words(Entry(record, key))) {
    const std::size_t colon = word.find(':');
    if (colon == std::string_view::npos) Refuse(key, word);
    curve.m_knots.push_back(
        {Number(key, word.substr(0, colon)), Number(key, word.substr(colon + 1))});
  }
  if (!std::ranges::is_sorted(curve.m_knots, {}, &Knot::m_at)) Refuse(key, Entry(record, key));
  return curve;
}

Confidence ConfidenceIn(const RunRecord& record, const std::string& key) {
  constexpr std::size_t kFields = 5;
  const std::vector<std::string_view> words = Words(Entry(record, key));
  if (words.empty()) return {};
  if (words.size() != kFields) Refuse(key, Entry(record, key));
  return {Number(key, words[0]), Number(key, words[1]), Number(key, words[2]),
          static_cast<std::int64_t>(Number(key, words[3])), words[4] == "sure"};
}

void AddCurve(RunRecord& record, const char* key, const Curve& curve) {
  if (!curve.m_knots.empty()) record.m_calibration[key] = CurveText(curve);
}

}  // namespace

double Curve::At(double place) const {
  if (m_knots.empty()) return 0.0;
  const auto above = std::ranges::lower_bound(m_knots, place, {}, &Knot::m_at);
  if (above == m_knots.end()) return m_knots.back().m_ppm;
  if (above == m_knots.begin()) return above->m_ppm;
  const auto below = std::prev(above);
  const double share = (place - below->m_at) / (above->m_at - below->m_at);
  return below->m_ppm + share * (above->m_ppm - below->m_ppm);
}

bool IsCalibrated(const RunRecord& record) {
  return record.m_settings.contains(std::string(kSettingCalibrated));
}

void AddCalibration(const Calibration& calibration, RunRecord& record) {
  record.m_settings[std::string(kSettingCalibrated)] = "1";
  record.m_calibration.clear();
  record.m_calibration[kSurveys] = ConfidenceText(calibration.m_surveys);
  record.m_calibration[kFragments] = ConfidenceText(calibration.m_fragments);
  if (!calibration.IsOn()) {
    record.m_calibration[kOff] = calibration.m_why_off;
    return;
  }
  AddCurve(record, kSurveysByTime, calibration.m_surveys_by_time);
  AddCurve(record, kFragmentsByMz, calibration.m_fragments_by_mz);
  AddCurve(record, kFragmentsByTime, calibration.m_fragments_by_time);
  record.m_calibration[kTolerance] = std::to_string(calibration.m_tolerance_ppm);
}

Calibration Rounded(const Calibration& calibration) {
  RunRecord record;
  AddCalibration(calibration, record);
  return *CalibrationIn(record);
}

std::optional<Calibration> CalibrationIn(const RunRecord& record) {
  if (record.m_calibration.empty()) return std::nullopt;
  Calibration calibration;
  calibration.m_why_off = Entry(record, kOff);
  calibration.m_surveys = ConfidenceIn(record, kSurveys);
  calibration.m_fragments = ConfidenceIn(record, kFragments);
  calibration.m_surveys_by_time = CurveIn(record, kSurveysByTime);
  calibration.m_fragments_by_mz = CurveIn(record, kFragmentsByMz);
  calibration.m_fragments_by_time = CurveIn(record, kFragmentsByTime);
  if (const std::string& text = Entry(record, kTolerance); !text.empty())
    calibration.m_tolerance_ppm = static_cast<std::int64_t>(Number(kTolerance, text));
  return calibration;
}

}  // namespace tarvek::tools
