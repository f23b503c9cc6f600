// tools/mzml/RunPrecursors.h: the precursors of a finished run, by scan.
// Does:     reads them from its table; finds the scans for which nothing was determined.
// Owns:     what it read, in a few dozen bytes for each precursor.
// Throws:   the constructor a std::string naming the file that is missing, cannot be read or is
//           damaged; the rest nothing.
// Not here: writing them into a spectrum (mzml/SpectrumText.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "SpectrumRecords.h"
#include "calibrate/Calibration.h"

namespace tarvek::tools {

class RunPrecursors {
 public:
  struct Scan {
    std::int32_t m_scan_no = 0;
    Precursor m_declared;     // as in the table; -1 and -1: none
    std::size_t m_first = 0;  // of its precursors
    std::size_t m_count = 0;
    bool m_has_evidence = false;  // in a joint run: something was determined
  };

  /// base_path: with or without ".csv".
  explicit RunPrecursors(const std::string& base_path);

  /// Path without ending.
  [[nodiscard]] const std::string& BasePath() const noexcept { return m_base; }

  /// Ascending by number.
  [[nodiscard]] std::span<const Scan> Scans() const noexcept { return m_scans; }

  /// The best first.
  [[nodiscard]] std::span<const Precursor> Of(const Scan& scan) const {
    return std::span(m_precursors).subspan(scan.m_first, scan.m_count);
  }

  /// The scan with this number; null without it.
  [[nodiscard]] const Scan* Find(std::int32_t scan_no) const noexcept;

  /// Whether a scan was exported with its declared precursors. rt_s: its time, for the correction
  /// of a calibrated run; ions: those that the instrument file declares for it.
  [[nodiscard]] bool IsKept(const Scan& scan, double rt_s, std::size_t ions) const;

  /// By how much a declared m/z of the table may differ from that of the instrument file.
  [[nodiscard]] double RoundingMz() const noexcept { return m_rounding_mz; }

 private:
  void ReadTable(const std::string& path);
  void ReadEvidence(const std::string& path);
  void ReadRecord(const std::string& path);

  std::string m_base;
  std::vector<Scan> m_scans;
  std::vector<Precursor> m_precursors;
  bool m_is_joint = false;
  std::optional<Calibration> m_correction;
  double m_rounding_mz = 0.01;
};

}  // namespace tarvek::tools
