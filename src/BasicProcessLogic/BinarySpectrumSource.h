// BasicProcessLogic/BinarySpectrumSource.h: scans from a .msb file and its scan table.
// Does:     gives the scans of one reader by level; tells how binary input differs from text.
// Owns:     the reader.
// Throws:   what MsbReader throws.
#pragma once

#include <string>

#include "IO.h"
#include "Logger.h"
#include "SpectrumSource.h"

namespace tarvek {

class BinarySpectrumSource : public SpectrumSource {
 public:
  /// base_path: without ".msb" and ".mscsv".
  explicit BinarySpectrumSource(const std::string& base_path) : m_reader(base_path, logMessage) {}

  bool NextMs1(MS1Spectrum& scan) override { return m_reader.TakeMs1(scan); }
  bool NextMs2(MS2Spectrum& scan) override { return m_reader.TakeMs2(scan); }
  [[nodiscard]] bool IsHighResolution(const MS1Spectrum& scan) const override;
  [[nodiscard]] bool AllowsDetermination(const MS2Spectrum& scan) const override;
  [[nodiscard]] std::int32_t ReportedMs1Count() const override { return 0; }
  [[nodiscard]] bool WritesPf2First() const override { return false; }
  [[nodiscard]] double FractionRead() const override { return m_reader.FractionRead(); }
  void FinishMs1() override { m_reader.Finish(); }
  void FinishMs2() override {}

 private:
  MsbReader m_reader;
};

}  // namespace tarvek
