#include "calibrate/Json.h"

namespace tarvek::tools {
namespace {

using nlohmann::ordered_json;

ordered_json CurveJson(const Curve& curve, const char* place) {
  ordered_json json = ordered_json::array();
  for (const Knot& knot : curve.m_knots) json.push_back({{place, knot.m_at}, {"ppm", knot.m_ppm}});
  return json;
}

ordered_json ConfidenceJson(const Confidence& confidence) {
  return {{"ppm", confidence.m_ppm},
          {"error_ppm", confidence.m_error_ppm},
          {"matches", confidence.m_matches},
          {"strength", confidence.m_strength},
          {"sure", confidence.m_is_sure}};
}

}  // namespace

ordered_json CalibrationJson(const Calibration& calibration) {
  const bool is_on = calibration.IsOn();
  return {
      {"correction", is_on ? "on" : "off"},
      {"why_off", calibration.m_why_off},
      {"surveys", ConfidenceJson(calibration.m_surveys)},
      {"fragments", ConfidenceJson(calibration.m_fragments)},
      {"surveys_by_time", CurveJson(calibration.m_surveys_by_time, "seconds")},
      {"fragments_by_mz", CurveJson(calibration.m_fragments_by_mz, "mz")},
      {"fragments_by_time", CurveJson(calibration.m_fragments_by_time, "seconds")},
      {"tolerance_ppm", is_on ? ordered_json(calibration.m_tolerance_ppm) : ordered_json(nullptr)}};
}

}  // namespace tarvek::tools
