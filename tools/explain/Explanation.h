// tools/explain/Explanation.h: all that led to the precursors of one MS2 scan.
// Does:     plain values, for people (explain/Text.h) and programs (explain/Json.h).
// Owns:     its lists and texts.
// Throws:   nothing.
// Not here: where they come from (explain/Explainer.h).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "SpectrumRecords.h"
#include "SpectrumUtils.h"

namespace tarvek::tools {

inline constexpr std::size_t kIsotopesShown = 5;

/// One isotope of an ion in the survey.
struct EnvelopeIsotope {
  double m_mz = 0.0;
  double m_expected = 0.0;  // height, when all envelopes share the peaks
  double m_measured = 0.0;  // height of the peak there; 0 without one
};

/// The expected ion in the survey. m/z are positive, the charge has the sign of the ion.
struct IonEnvelope {
  Precursor m_ion;
  std::array<EnvelopeIsotope, kIsotopesShown> m_isotopes{};
  std::array<double, kWindowScans> m_elution{};  // sum of the isotopes' peaks in each survey
};

struct DeterminedIon {
  IonEnvelope m_envelope;
  double m_score = 0.0;         // a probability when the precursors were determined together
  double m_window_share = 0.0;  // of the current in the isolation window
};

struct WindowPeak {
  Peak m_peak;
  std::vector<std::size_t> m_determined;  // ions that it belongs to, the largest part first
};

/// One of the ten surveys; the number is 0 where the run has none.
struct SurveyTime {
  std::int32_t m_scan_no = 0;
  double m_rt_s = 0.0;
};

struct CandidateIon {
  Precursor m_ion;  // as IonEnvelope; the m/z as it is tried
  bool m_is_kept = false;
  std::optional<double> m_score;   // as DeterminedIon; only candidates that were scored
  std::vector<double> m_features;  // in the order of FeatureNames; empty when not computed
  std::string m_reason;            // why it was kept or not
};

struct Explanation {
  std::int32_t m_scan_no = 0;
  std::int32_t m_survey_no = 0;
  double m_rt_s = 0.0;
  std::string m_activation;
  std::string m_analyser;
  double m_centre_mz = 0.0;
  double m_half_width_mz = 0.0;
  bool m_is_joint = false;
  double m_threshold = 0.0;

  std::vector<IonEnvelope> m_declared;
  std::vector<DeterminedIon> m_determined;  // best first
  std::string m_outcome;                    // in words

  std::vector<Precursor> m_exported;  // what tarvek would write for the scan now
  std::vector<Precursor> m_in_table;  // what the table of the run has
  bool m_agrees = false;              // both are the same

  std::vector<WindowPeak> m_peaks;  // of the survey in and near the window, ascending in m/z
  std::array<SurveyTime, kWindowScans> m_surveys{};
  std::vector<CandidateIon> m_candidates;  // kept, scored, then by stage

  [[nodiscard]] double LowEdge() const { return m_centre_mz - m_half_width_mz; }
  [[nodiscard]] double HighEdge() const { return m_centre_mz + m_half_width_mz; }
};

/// The names of the features of candidates.
std::vector<std::string> FeatureNames(bool is_joint);

/// The indices of the most telling ones, where there is no room for all.
std::vector<std::size_t> MainFeatures(bool is_joint);

}  // namespace tarvek::tools
