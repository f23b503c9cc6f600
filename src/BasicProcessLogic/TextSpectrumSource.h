// BasicProcessLogic/TextSpectrumSource.h: scans from a .ms1 file and the .ms2 file beside it.
// Does:     gives the scans of the two readers; tells how text input differs from binary.
// Owns:     the readers.
// Throws:   what the readers throw.
#pragma once

#include <string>

#include "IO.h"
#include "SpectrumSource.h"

namespace tarvek {

class TextSpectrumSource : public SpectrumSource {
 public:
  TextSpectrumSource(const std::string& ms1_path, const std::string& ms2_path);

  bool NextMs1(MS1Spectrum& scan) override;
  bool NextMs2(MS2Spectrum& scan) override;
  [[nodiscard]] bool IsHighResolution(const MS1Spectrum& scan) const override;
  [[nodiscard]] bool AllowsDetermination(const MS2Spectrum& scan) const override;
  [[nodiscard]] std::int32_t ReportedMs1Count() const override;
  [[nodiscard]] bool WritesPf2First() const override { return true; }
  [[nodiscard]] double FractionRead() const override { return m_ms2.FractionRead(); }
  void FinishMs1() override;
  void FinishMs2() override;

 private:
  Ms1TextReader m_ms1;
  Ms2TextReader m_ms2;
};

}  // namespace tarvek
