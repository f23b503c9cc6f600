// tools/report/Data.h: the numbers of a run's report.
// Does:     counts and measures what the pictures show, from the files of a finished run.
// Owns:     a RunReport owns its numbers; peaks are read scan by scan and not kept.
// Throws:   ReadRunReport what report/Files.h throws; the rest nothing.
// Not here: the windows (report/Purity.h), scans left out (report/LeftOut.h); what is normal
//           (report/Findings.h), pictures (report/Svg.h), pages (report/Page.h).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "SpectrumRecords.h"
#include "UserParameters.h"
#include "calibrate/Calibration.h"
#include "report/Files.h"
#include "score/IsotopeShift.h"

namespace tarvek::tools {

struct ReportSettings {
  std::string m_input_folder;               // empty: next to the outputs
  std::optional<double> m_isolation_width;  // m/z, both edges included
  double m_tol_ppm = 20.0;                  // as tarvek's own mass tolerance
};

inline constexpr std::size_t kPrecursorCounts = 12;  // 0 .. 10, and more
inline constexpr std::size_t kPurityBins = 20;       // from 0 to 1

/// The determined precursor that matches the declared one.
struct DeclaredMatch {
  std::size_t m_index = 0;  // in the list of the determined ones
  int m_shift = 0;          // isotopes: -1 means that the determined peak is one below
};

/// The determined precursor of the declared charge that is 0 to 3 isotopes from the declared m/z,
/// by smallest shift, then the first; without one, the first of another charge at the declared m/z
/// itself. std::nullopt when none is within tol_ppm.
std::optional<DeclaredMatch> MatchDeclared(const Precursor& declared,
                                           std::span<const Precursor> determined, double tol_ppm);

/// Whether the declared precursors were exported because none was determined: the same number,
/// order and charges, and m/z that agree in the decimals of the table.
bool IsKeptAsDeclared(std::span<const Precursor> exported, std::span<const Precursor> declared);

/// The time at scan_no, interpolated between its neighbours in knots, which ascend by scan number;
/// outside them the time of the nearest knot; std::nullopt without knots.
std::optional<double> TimeOfScan(std::span<const ScanTime> knots, std::int32_t scan_no);

/// The median, for an even number the mean of the two middle values; std::nullopt without values.
std::optional<double> Median(std::vector<double> values);

struct TimedValue {
  double m_rt_s = 0.0;
  double m_value = 0.0;
};

struct LeftOutScan {
  std::int32_t m_scan_no = 0;
  std::optional<double> m_rt_s;
  std::string m_reason;
};

/// One of the files that a report uses.
struct ReportSource {
  std::string m_file;  // its name
  std::string m_use;
  bool m_is_there = false;
};

/// A file that the run wrote.
struct ReportOutput {
  std::string m_file;  // name
  std::int64_t m_bytes = 0;
};

/// How sure a run with joint determination is.
struct JointFigures {
  std::int64_t m_precursors = 0;
  double m_doubts = 0.0;  // sum of 1 less the probability: the expected number of wrong ones
  std::int64_t m_decoy_scans = 0;
  std::int64_t m_decoys = 0;  // found in those scans at a spacing that isotopes do not have
};

/// What became of the page of scans.
struct ScanPageOutcome {
  std::string m_file;  // its name; empty without one
  std::size_t m_scans = 0;
  std::size_t m_scans_of_run = 0;
  std::size_t m_differing = 0;  // scans for which the repeated determination gives other precursors
  std::int64_t m_bytes = 0;
  std::string m_why_not;  // a sentence
  bool m_failed = false;  // there are spectra to show, and they or the isotope table cannot be read

  std::int64_t m_kept = 0;       // scans that kept the declared precursor,
  std::int64_t m_nearly = 0;     // of these: with a candidate just below the threshold
  std::int32_t m_kept_scan = 0;  // one of the others
  std::string m_why_kept;        // the reason of most others, in words
};

/// A score within this of the threshold is near it; a threshold is moved by this much.
inline constexpr double kThresholdStep = 0.3;

struct RunReport {
  std::string m_name;
  ScanPageOutcome m_scan_page;
  std::vector<ReportSource> m_sources;
  std::string m_width_source;
  double m_isolation_width = UserParameters{}.m_isolation_width;  // of tarvek, until it is known
  bool m_knows_width = false;              // false: the width is only assumed
  std::optional<double> m_declared_width;  // by the instrument file, of most MS2 scans; m/z
  std::string m_declared_width_source;
  double m_tol_ppm = 0.0;
  std::map<std::string, std::string> m_settings;          // as in the record
  std::map<std::string, std::int64_t> m_declared_widths;  // RunRecord::m_widths
  std::vector<ReportOutput> m_outputs;
  std::optional<JointFigures> m_joint;       // empty when each precursor was determined on its own
  std::optional<Calibration> m_calibration;  // of the outputs; empty when none was asked for

  std::int64_t m_scans = 0;
  std::int64_t m_precursors = 0;
  std::map<std::string, std::int64_t> m_scans_by_kind;
  std::array<std::int64_t, kPrecursorCounts> m_by_count{};  // scans with 0, 1, .. 10, more

  std::map<int, std::int64_t> m_by_charge;  // determined precursors; without those that were kept

  std::int64_t m_undeclared = 0;                   // scans without a declared m/z or charge
  std::int64_t m_without_charge = 0;               // of these: a charge of 2 was only assumed
  std::int64_t m_kept = 0;                         // scans that kept the declared precursor
  std::int64_t m_unmatched = 0;                    // with the declared one near no determined one
  std::array<std::int64_t, kShifts> m_by_shift{};  // -3 .. 3; without the kept ones
  std::map<std::pair<int, int>, std::int64_t> m_charges;  // declared, determined (0: none); no kept

  std::vector<TimedValue> m_ppm;  // of those at shift 0 with the declared charge; with known times
  std::optional<double> m_median_ppm;
  std::optional<double> m_absolute_ppm_95;

  std::array<std::int64_t, kPurityBins> m_main_share{};
  std::array<std::int64_t, kPurityBins> m_all_share{};
  std::int64_t m_windows = 0;        // that hold current
  std::int64_t m_empty_windows = 0;  // that hold none
  bool m_declared_centres = false;   // centres unknown, the declared m/z was used
  std::optional<double> m_median_main_share;
  std::optional<double> m_median_all_share;

  std::vector<TimedValue> m_surveys;  // total ion current
  std::vector<double> m_ms2_times_s;  // ascending
  std::string m_time_source;          // empty when times are unknown
  std::optional<double> m_median_ms2_peaks;

  std::vector<LeftOutScan> m_left_out;  // ascending; not more than kMaxLeftOut
  std::int64_t m_left_out_count = 0;
  std::map<std::string, std::int64_t> m_left_out_reasons;
  std::string m_left_out_source;  // empty when it cannot be known
};

inline constexpr std::size_t kMaxLeftOut = 200000;

/// Share of left-out scans among all MS2 scans; std::nullopt when unknown.
std::optional<double> LeftOutShare(const RunReport& report);

/// Whether MS2 scans were read but none was exported.
bool ExportedNothing(const RunReport& report);

/// Scans with a declared precursor that matched a determined one, at any shift.
std::int64_t MatchedScans(const RunReport& report);

RunReport ReadRunReport(const RunFiles& files, const ReportSettings& settings);

/// A number that sums up a run, for tiles, tables and other programs.
struct KeyFigure {
  std::string m_id;     // for programs
  std::string m_label;  // for people
  std::string m_unit;   // "%", "ppm" or empty
  int m_decimals = 0;
  std::optional<double> m_value;
};

/// Always the same figures in the same order.
std::vector<KeyFigure> KeyFigures(const RunReport& report);

}  // namespace tarvek::tools
