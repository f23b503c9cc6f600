// extractor/ScanRules.h: which spectra are used, and what the outputs say of them.
// Does:     decides survey, fragment scan or left out; gives scan number, analyser and activation
//           words, activation centre, declared precursors and precursor scan.
// Owns:     what it must remember of the spectra seen so far: a bounded stretch of them.
// Throws:   nothing but std::bad_alloc.
// Not here: peaks (PeakPreparation.h), counting (RunReport.h).
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "ExtractedScan.h"

namespace tarvek::extractor {

enum class ScanKind { kLeftOut, kSurvey, kFragment };

/// One precursor that the file declares; 0 for what it does not say.
struct DeclaredIon {
  double m_mz = 0.0;
  std::int32_t m_charge = 0;  // never negative
};

/// A scan as the outputs have it, without its peaks.
struct OutputScan {
  ScanKind m_kind = ScanKind::kLeftOut;
  std::string m_why_left_out;
  std::int32_t m_scan_no = 0;
  double m_rt_seconds = 0.0;
  double m_injection_ms = 0.0;
  std::string m_instrument;  // "FTMS" or "ITMS"
  bool m_is_negative = false;
  // fragment scans only
  std::string m_activation;
  double m_centre_mz = 0.0;
  std::int32_t m_precursor_scan = 0;  // 0 when no survey comes before
  std::vector<DeclaredIon> m_ions;    // at least one
};

class ScanRules {
 public:
  /// faims_volts: take only scans of this compensation voltage.
  explicit ScanRules(std::optional<double> faims_volts) : m_faims_volts(faims_volts) {}

  /// What becomes of a spectrum, its peaks aside. Changes nothing.
  [[nodiscard]] OutputScan Decide(const ExtractedScan& scan) const;

  /// Remembers a spectrum; to be called once for each, in file order. output: what Decide said,
  /// with m_kind kLeftOut when it was left out for its peaks.
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

  [[nodiscard]] std::string WhyUnused(const ExtractedScan& scan, std::int32_t scan_no) const;
  [[nodiscard]] std::int32_t PrecursorScan(const ExtractedScan& scan) const;
  [[nodiscard]] const Seen* ClimbToSurvey(std::uint64_t key) const;
  [[nodiscard]] const Seen* Find(std::uint64_t key) const;

  std::optional<double> m_faims_volts;
  std::int32_t m_last_scan_no = -1;  // of those that were written
  std::deque<Seen> m_seen;
  std::int64_t m_forgotten = 0;  // how many went from the front of m_seen
  std::unordered_map<std::uint64_t, std::int64_t> m_place_of_key;  // counted from the file's start
  std::vector<Seen> m_latest_surveys;  // of each polarity and voltage; the latest last
};

/// "FTMS" for Fourier and other well-resolved analysers, "ITMS" for ion traps, empty for unusable
/// or unknown ones. What the spectrum names decides, then its filter line, then the run's default.
std::string InstrumentWord(const ExtractedScan& scan);

/// One of the activation words of the text format; empty when there is none for the method, whose
/// name then goes to unknown ("none" when nothing is declared).
std::string ActivationWord(const ExtractedScan& scan, std::string& unknown);

/// The precursors that a fragment scan declares, one at least: charge 0 stands for an unknown
/// charge.
std::vector<DeclaredIon> DeclaredIons(const ExtractedScan& scan);

/// Isolation target, or the selected ion where no target is declared; 0 when there is neither.
double ActivationCentre(const ExtractedScan& scan);

}  // namespace tarvek::extractor
