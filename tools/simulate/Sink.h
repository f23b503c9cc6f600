// tools/simulate/Sink.h: where the scans of a simulated run and their truth go.
// Does:     the interface between the simulator and its output formats.
// Throws:   what an implementation says.
// Not here: a format (simulate/FileSink.h).
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "SpectrumRecords.h"

namespace tarvek::tools {

/// A peptide ion in the isolation window of an MS2 scan.
struct TruthRow {
  std::int32_t m_scan_no = 0;
  double m_mz = 0.0;          // of the monoisotopic ion
  std::int32_t m_charge = 0;  // negative for negative ions
  double m_share = 0.0;       // of the current in the window
  bool m_is_target = false;   // whether the instrument chose the window for it
  std::string m_peptide;
  std::int32_t m_isotope_offset = 0;   // the isotope nearest to the activation centre
  double m_declared_mz = 0.0;          // 0 when the instrument did not know the charge
  std::int32_t m_declared_charge = 0;  // signed; 0 when unknown
  double m_isolated_current = 0.0;     // charges per second of this ion in the window
};

class RunSink {
 public:
  virtual ~RunSink() = default;

  /// Scans come in order of their numbers. Instrument types are FTMS or ITMS, peaks ascend in m/z.
  virtual void TakeSurvey(const MS1Spectrum& scan) = 0;

  /// m_orig_precursors holds the declared precursors, charges signed, 0 when unknown. truth:
  /// descending in share.
  virtual void TakeFragments(const MS2Spectrum& scan, std::span<const TruthRow> truth) = 0;

  /// After the last scan.
  virtual void Complete() = 0;
};

}  // namespace tarvek::tools
