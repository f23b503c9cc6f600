// tools/simulate/MzmlSink.h: a simulated run as indexed mzML 1.1.0.
// Does:     writes OUTBASE.mzML and OUTBASE.truth.tsv; numbers are not rounded, intensities are
//           32-bit. Memory does not grow with the run: the index goes to a separate file first, and
//           the number of spectra into room left for it at the start of the file.
// Owns:     the files, which have their final names once Complete has returned, the truth last; a
//           sink that was not completed removes them.
// Throws:   a std::string of the file helpers naming the path.
// Not here: what is written (simulate/Acquisition.h).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "simulate/FileSink.h"
#include "simulate/Options.h"

namespace tarvek::tools {

class MzmlSink final : public RunSink {
 public:
  /// Uses of the options what the scans do not hold: polarity, isolation width and the range of the
  /// surveys.
  MzmlSink(const std::string& out_base, const SimulateOptions& options);

  void TakeSurvey(const MS1Spectrum& scan) override;
  void TakeFragments(const MS2Spectrum& scan, std::span<const TruthRow> truth) override;
  void Complete() override;

 private:
  void WriteSpectrum(std::int32_t scan_no);
  void WriteIndex();
  void WriteChecksum();

  bool m_is_negative;
  double m_half_width_mz;
  double m_low_mz;
  double m_high_mz;
  UnfinishedFile m_mzml;
  std::optional<UnfinishedFile> m_index;  // the entries of the index; never gets its name
  TruthFile m_truth;
  std::int64_t m_spectra = 0;
  std::string m_text;  // of one spectrum
};

}  // namespace tarvek::tools
