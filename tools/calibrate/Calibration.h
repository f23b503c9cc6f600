// tools/calibrate/Calibration.h: the bias of the m/z scales of a run, and its correction.
// Does:     holds biases as functions of time and of m/z; corrects m/z; writes the bias to the
//           record of a run and reads it back.
// Owns:     its knots.
// Throws:   CalibrationIn a std::string for entries that cannot be read; the rest nothing but
//           std::bad_alloc.
// Not here: how a bias is found (calibrate/Estimator.h), files (calibrate/Rewrite.h).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "RunRecord.h"

namespace tarvek::tools {

/// ppm at a time in seconds, or at an m/z.
struct Knot {
  double m_at = 0.0;
  double m_ppm = 0.0;

  bool operator==(const Knot&) const = default;
};

/// Lines between knots, which ascend; constant outside them, 0 without any.
struct Curve {
  std::vector<Knot> m_knots;

  [[nodiscard]] double At(double place) const;

  bool operator==(const Curve&) const = default;
};

/// How sure a bias is.
struct Confidence {
  double m_ppm = 0.0;  // of the whole run
  double m_error_ppm = 0.0;
  double m_strength = 0.0;  // of the mode against its background
  std::int64_t m_matches = 0;
  bool m_is_sure = false;
};

/// A bias is positive where a measured m/z is too large.
struct Calibration {
  std::string m_why_off;  // why nothing may be corrected; empty when it may be
  Confidence m_surveys;
  Confidence m_fragments;
  Curve m_surveys_by_time;           // one knot: constant; none: too small to be corrected
  Curve m_fragments_by_mz;           // one knot: constant
  Curve m_fragments_by_time;         // to be added to that; none: constant
  std::int64_t m_tolerance_ppm = 0;  // for the search after the correction

  [[nodiscard]] bool IsOn() const noexcept { return m_why_off.empty(); }
  [[nodiscard]] double SurveyPpm(double rt_s) const { return m_surveys_by_time.At(rt_s); }
  [[nodiscard]] double FragmentPpm(double rt_s, double mz) const {
    return m_fragments_by_mz.At(mz) + m_fragments_by_time.At(rt_s);
  }
};

/// The true m/z of a measured one; signs stay. A NaN stays a NaN.
inline double WithoutBias(double mz, double ppm) { return mz / (1.0 + ppm * 1e-6); }

/// Whether --apply or `run --calibrate` has processed this run.
bool IsCalibrated(const RunRecord& record);

/// The setting that says so, for comparison with the current settings.
inline constexpr std::string_view kSettingCalibrated = "calibrated";

/// Marks record as calibrated and adds the entries. Numbers are rounded; apply what Rounded
/// returns, which is what a reader of the record gets.
void AddCalibration(const Calibration& calibration, RunRecord& record);
Calibration Rounded(const Calibration& calibration);

/// The calibration in a record; std::nullopt when it has none.
std::optional<Calibration> CalibrationIn(const RunRecord& record);

}  // namespace tarvek::tools
