// tools/report/Purity.h: how much of an isolation window the determined precursors explain.
// Does:     measures the windows of a run in its surveys.
// Owns:     one survey at a time; borrows the content of the run.
// Throws:   nothing but std::bad_alloc.
// Not here: reading surveys (report/Data.h); what is normal (report/Findings.h).
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <vector>

#include "SpectrumRecords.h"
#include "report/Content.h"
#include "report/Data.h"

namespace tarvek::tools {

/// 0 for none.
double TotalIntensity(std::span<const Peak> peaks);

/// Shares of the current in an isolation window.
struct WindowShares {
  double m_main = 0.0;  // of the precursor that has most
  double m_all = 0.0;   // of all precursors together, each peak counted once
};

/// peaks ascend in m/z. A precursor's peaks are those within tol_ppm of its first eight isotopes.
/// std::nullopt when the window, both edges included, holds no current.
std::optional<WindowShares> SharesInWindow(std::span<const Peak> peaks, double centre_mz,
                                           double half_width_mz,
                                           std::span<const Precursor> determined, double tol_ppm);

/// Reads the surveys once and keeps the latest: when the next one comes, the scans in between are
/// measured in it.
class PurityMeter {
 public:
  /// Takes width and tolerance from report and counts into it; both outlive this.
  PurityMeter(const RunContent& content, RunReport& report);

  /// The surveys in the order of their numbers. Keeps survey, and leaves an older one in the
  /// variable for reuse.
  void TakeSurvey(MS1Spectrum& survey);

  /// Measures the scans after the last survey and fills in the medians.
  void Finish();

 private:
  /// An exported scan with its data from other files.
  struct PlacedRow {
    const ReportRow* m_row = nullptr;
    double m_centre_mz = 0.0;
    std::int64_t m_key = 0;  // the survey is the last one that is not above this scan number
  };
  static constexpr std::int64_t kBehindAll = std::numeric_limits<std::int64_t>::max();

  void PlaceRows(const RunContent& content);
  void MeasureUntil(std::int64_t scan_no);
  void Measure(const PlacedRow& placed);

  RunReport& m_report;
  std::vector<PlacedRow> m_placed;  // by key
  std::size_t m_next = 0;           // of these
  std::optional<MS1Spectrum> m_survey;
  std::vector<double> m_main_shares;
  std::vector<double> m_all_shares;
};

}  // namespace tarvek::tools
