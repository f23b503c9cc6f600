// extractor/ScanRules.h: which spectra are used, and their fields in the outputs.
// Does:     decides survey scan, MS2 scan or left out; gives scan number, analyser and activation
//           words, activation centre, declared precursors and precursor scan.
// Owns:     its memory of the last spectra, which is bounded.
// Throws:   PlanLack when the file needs another plan; std::bad_alloc.
// Not here: which analyser (AnalyserDecision.h) and which activation (ActivationDecision.h), peaks
//           (PeakPreparation.h), counting (RunReport.h), reading again (ExtractionPlan.h).
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "ActivationDecision.h"
#include "AnalyserDecision.h"
#include "ExtractedScan.h"
#include "ExtractionPlan.h"
#include "ScanOverrides.h"

namespace tarvek::extractor {

enum class ScanKind { kLeftOut, kSurvey, kFragment };

/// One precursor that the file declares; 0 for a missing value.
struct DeclaredIon {
  double m_mz = 0.0;
  std::int32_t m_charge = 0;  // never negative
};

/// A scan for the outputs, without its peaks.
struct OutputScan {
  ScanKind m_kind = ScanKind::kLeftOut;
  std::string m_why_left_out;
  std::int32_t m_scan_no = 0;
  double m_rt_seconds = 0.0;
  double m_injection_ms = 0.0;
  std::string m_instrument;  // "FTMS" or "ITMS"
  AnalyserStep m_analyser_step = AnalyserStep::kUndecided;
  bool m_is_negative = false;
  // MS2 scans only
  std::string m_activation;
  bool m_is_activation_assumed = false;  // neither the file nor the user names it
  bool m_has_several_activations = false;
  double m_centre_mz = 0.0;
  std::int32_t m_precursor_scan = 0;  // 0 without an earlier survey scan
  std::vector<DeclaredIon> m_ions;    // at least one
};

/// The user's choices.
struct RuleOptions {
  std::optional<double> m_faims_volts;  // take only scans of this compensation voltage
  ScanOverrides m_overrides;
};

class ScanRules {
 public:
  ScanRules(const RuleOptions& options, ExtractionPlan plan)
      : m_options(options), m_plan(std::move(plan)), m_analysers(options.m_overrides) {}

  /// The decision for a spectrum, without regard to its peaks. It stays the same until the next
  /// Remember.
  [[nodiscard]] OutputScan Decide(const ExtractedScan& scan);

  /// Remembers a spectrum; call it once for each, in file order. output: the result of Decide, with
  /// m_kind kLeftOut when the spectrum was left out because of its peaks.
  void Remember(const ExtractedScan& scan, const OutputScan& output);

 private:
  struct Seen {
    std::uint64_t m_key = 0;
    std::uint64_t m_parent_key = 0;  // 0: none
    std::int32_t m_scan_no = 0;
    bool m_is_survey = false;  // and was written
    Polarity m_polarity = Polarity::kUnknown;
    std::optional<double> m_faims_volts;
  };

  /// The surveys of one polarity and compensation voltage.
  struct SurveyList {
    Polarity m_polarity = Polarity::kUnknown;
    std::optional<double> m_faims_volts;
    std::int32_t m_latest_scan_no = 0;  // in the order of the file
    double m_latest_rt_seconds = 0.0;
    std::deque<std::pair<double, std::int32_t>> m_by_time;  // ascending; retention time, scan
  };

  [[nodiscard]] std::string WhyUnused(const ExtractedScan& scan,
                                      const DeclaredActivation& activation) const;
  [[nodiscard]] std::int32_t ScanNumber(const ExtractedScan& scan) const;
  void DescribeFragment(const ExtractedScan& scan, const DeclaredActivation& activation,
                        OutputScan& output) const;
  [[nodiscard]] std::int32_t PrecursorScan(const ExtractedScan& scan) const;
  [[nodiscard]] std::int32_t SurveyBefore(const ExtractedScan& scan) const;
  [[nodiscard]] const Seen* ClimbToSurvey(std::uint64_t key) const;
  [[nodiscard]] const Seen* Find(std::uint64_t key) const;
  void RememberSurvey(const Seen& seen, double rt_seconds);

  RuleOptions m_options;
  ExtractionPlan m_plan;
  AnalyserDecider m_analysers;
  std::int32_t m_last_scan_no = -1;  // of the written scans
  std::int64_t m_spectra = 0;        // number of remembered ones
  std::deque<Seen> m_seen;
  std::int64_t m_forgotten = 0;  // how many were removed from the front of m_seen
  std::unordered_map<std::uint64_t, std::int64_t> m_place_of_key;  // counted from the file's start
  std::vector<SurveyList> m_surveys;  // the list of the latest survey last
};

/// The precursors that an MS2 scan declares, at least one; charge 0 means unknown.
std::vector<DeclaredIon> DeclaredIons(const ExtractedScan& scan);

/// The isolation target, else the selected ion; 0 without either.
double ActivationCentre(const ExtractedScan& scan);

}  // namespace tarvek::extractor
