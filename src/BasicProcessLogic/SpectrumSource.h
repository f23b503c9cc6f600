// BasicProcessLogic/SpectrumSource.h: where the scans of one input file come from.
// Does:     one interface over the kinds of extracted spectra, with the rules in which they differ.
// Owns:     an implementation owns its readers.
// Throws:   what the readers throw.
#pragma once

#include <cstdint>

#include "SpectrumRecords.h"

namespace tarvek {

class SpectrumSource {
 public:
  virtual ~SpectrumSource() = default;

  /// The next MS1 (MS2) scan in file order; false at the end, also when asked again.
  virtual bool NextMs1(MS1Spectrum& scan) = 0;
  virtual bool NextMs2(MS2Spectrum& scan) = 0;

  /// Whether an MS1 scan is resolved well enough to look for isotope envelopes.
  [[nodiscard]] virtual bool IsHighResolution(const MS1Spectrum& scan) const = 0;

  /// Whether the declared charge of an MS2 scan lets its precursors be determined.
  [[nodiscard]] virtual bool AllowsDetermination(const MS2Spectrum& scan) const = 0;

  /// The MS1 scans read so far where their number is reported every thousand scans, else 0.
  [[nodiscard]] virtual std::int32_t ReportedMs1Count() const = 0;

  /// Whether a scan goes to PF2 before MGF and CSV, or after them.
  [[nodiscard]] virtual bool WritesPf2First() const = 0;

  /// Share of the MS2 input that was read, 0 to 1; 0 when unknown.
  [[nodiscard]] virtual double FractionRead() const { return 0.0; }

  /// Close the readers of MS1 and of MS2 scans; where one reader serves both, the first call does.
  virtual void FinishMs1() = 0;
  virtual void FinishMs2() = 0;

 protected:
  SpectrumSource() = default;
  SpectrumSource(const SpectrumSource&) = default;
  SpectrumSource& operator=(const SpectrumSource&) = default;
};

}  // namespace tarvek
