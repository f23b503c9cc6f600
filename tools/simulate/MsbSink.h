// tools/simulate/MsbSink.h: a simulated run as a binary spectrum file with its scan table.
// Does:     writes OUTBASE.msb, OUTBASE.mscsv and OUTBASE.truth.tsv. Every number is the one that
//           reading the text of the same run gives, so both say the same to the last bit. A scan
//           whose peaks all round to nothing is left out: no reader of the text returns one.
// Owns:     the three files, which have their final names once Complete has returned, the truth
//           last; a sink that was not completed removes them.
// Throws:   a std::string: of the file helpers, naming the path, or naming a scan of more than
//           kMaxMsbPeaks peaks.
// Not here: the text (simulate/TextSink.h), what is written (simulate/Acquisition.h).
#pragma once

#include <span>
#include <string>
#include <vector>

#include "simulate/FileSink.h"

namespace tarvek::tools {

class MsbSink final : public RunSink {
 public:
  explicit MsbSink(const std::string& out_base);

  void TakeSurvey(const MS1Spectrum& scan) override;
  void TakeFragments(const MS2Spectrum& scan, std::span<const TruthRow> truth) override;
  void Complete() override;

 private:
  void WriteScan(ScanTableEntry entry, const std::vector<Peak>& peaks);

  UnfinishedFile m_msb;
  UnfinishedFile m_table;
  TruthFile m_truth;
  std::vector<Peak> m_peaks;  // of one scan, rounded
  std::string m_bytes;        // of one record or row
};

/// The row of a scan in the table, its final line feed included. Reals have the decimals of the
/// text format, except the m/z of the precursor, which it gives only as a mass: that is exact.
void AppendTableRow(std::string& text, const ScanTableEntry& entry);

}  // namespace tarvek::tools
