// tools/check/Account.h: what a run would make of the scans of one input, whatever its format.
// Does:     takes the scans one by one as tarvek would get them, counts those used and not used,
//           and at the end reports what is unusual.
// Owns:     the counts and the numbers of the surveys.
// Throws:   nothing but std::bad_alloc.
// Not here: reading (check/Inputs.h); damage of a file, which its reader finds.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <unordered_set>

#include "IsotopeTable.h"
#include "SpectrumRecords.h"
#include "UserParameters.h"
#include "check/Findings.h"

namespace tarvek::tools {

/// A fragment scan as the MS2 loop gets it.
struct FragmentFacts {
  std::int32_t m_scan_no = 0;
  std::int32_t m_precursor_scan = 0;  // 0 when none is named
  double m_centre_mz = 0.0;
  std::string m_activation;
  std::string m_instrument;
  bool m_has_precursor = true;
  std::int32_t m_charge = 0;             // 0: not declared
  std::optional<double> m_isolation_mz;  // full width
};

/// Settings of a run that are compared with the declarations of its input; tarvek's defaults.
struct RunSettings {
  double m_isolation_width = UserParameters().m_isolation_width;
  std::int32_t m_charge_min = UserParameters().m_charge_min;
  std::int32_t m_charge_max = UserParameters().m_charge_max;
  /// Singly protonated masses below it, in Da, have a row with values in the isotope table.
  std::int64_t m_table_end_da = kIsotopeTableRows;
};

/// The largest charge, without its sign, whose candidates up to mz have singly protonated masses below
/// end_da; 0 when not even charge 1 has.
std::int32_t LargestCharge(double mz, std::int64_t end_da, bool is_negative = false);

/// The code of the finding that a candidate may be beyond the isotope table. Its settings have the
/// charges that are left, where any are.
inline constexpr const char* kMassLimitCode = "mass-limit";

/// What an account must know about the format.
struct AccountRules {
  /// A charge of 0 is replaced by 2 before the loop sees it; else the scan is dropped.
  bool m_assumes_charge_2 = true;
  /// Profile spectra are centroided while they are read.
  bool m_picks_peaks = false;
};

class CheckAccount {
 public:
  CheckAccount(std::string path, std::string kind, AccountRules rules);

  void TakeSurvey(std::int32_t scan_no, bool is_high_resolution, double rt_seconds,
                  std::span<const Peak> peaks, bool is_ion_trap);
  void TakeFragment(const FragmentFacts& fragment, std::span<const Peak> peaks);
  /// Scans that a run does not use; is_ms2: whether they are of that level.
  void LeaveOut(const std::string& reason, std::int64_t scan_no, bool is_ms2,
                std::int64_t count = 1);

  /// The sign of the ions, where the format has it.
  void SetNegative(bool is_negative) { m_is_negative = is_negative; }

  /// Adds the item and its findings.
  void Report(CheckReport& report, const RunSettings& settings) const;

 private:
  struct Marked {
    std::int64_t m_count = 0;
    std::int64_t m_first_scan = 0;
    void Add(std::int64_t scan_no);
  };

  /// Spectra of one level with known peak spacing.
  struct Looked {
    std::int64_t m_count = 0;
    Marked m_profiles;
  };

  static void LookAtPeaks(Looked& looked, std::int32_t scan_no, std::span<const Peak> peaks,
                          bool is_ion_trap);
  bool IsProcessed(const FragmentFacts& fragment);
  void TakeCharge(const FragmentFacts& fragment);
  void ReportSurveys(CheckReport& report) const;
  void ReportFragments(CheckReport& report) const;
  void ReportPrecursors(CheckReport& report) const;
  void ReportProfiles(CheckReport& report) const;
  void ReportCharges(CheckReport& report, const RunSettings& settings) const;
  void ReportMasses(CheckReport& report, const RunSettings& settings) const;
  void ReportWidths(CheckReport& report, double setting) const;
  [[nodiscard]] double HighestCandidateMz(const RunSettings& settings) const;
  [[nodiscard]] std::string ChargeAdvice(std::int32_t lowest, std::int32_t highest,
                                         bool is_negative, const RunSettings& settings) const;
  [[nodiscard]] static FindingPlace First(const Marked& marked);

  std::string m_path;
  std::string m_kind;
  AccountRules m_rules;
  LeftOutScans m_left_out;
  std::unordered_set<std::int32_t> m_survey_numbers;
  std::int64_t m_high_surveys = 0;
  std::int64_t m_low_surveys = 0;
  std::int64_t m_fragments = 0;  // that would be processed
  std::int64_t m_lost_fragments = 0;
  Looked m_looked_surveys;
  Looked m_looked_fragments;
  Marked m_without_parent;
  Marked m_without_centre;
  Marked m_without_charge;
  Marked m_disordered;
  std::map<std::int32_t, std::int64_t> m_charges;
  std::map<std::int64_t, std::int64_t> m_widths;  // full width in hundredths of m/z
  double m_highest_centre_mz = 0.0;
  std::int32_t m_last_survey = -1;
  std::int32_t m_last_fragment = -1;
  std::optional<bool> m_is_negative;
  std::optional<double> m_first_rt;
  double m_last_rt = 0.0;
};

/// Warns when the run name, the file name without its ending, has dots.
void CheckRunName(CheckReport& report, const std::string& path, const std::string& run_name);

}  // namespace tarvek::tools
