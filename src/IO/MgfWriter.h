// IO/MgfWriter.h: MS2 scans as Mascot Generic Format text.
// Does:     writes one BEGIN IONS block per precursor of a scan, each with all peaks of the scan.
// Owns:     the open file.
// Throws:   a std::string: "Cannot open MGF File, Path: ..." or "Cannot write " + path.
// Not here: the decimals of peak lines (PeakLineFormat.h); the split by scan type
//           (SpectrumWriterGroup.h). The blocks: docs/formats/mgf.md.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "SpectrumFile.h"
#include "SpectrumRecords.h"
#include "SpectrumWriterGroup.h"

namespace tarvek {

class MgfWriter final : public SpectrumWriter {
 public:
  /// mode "w+"; title is the run name that begins every TITLE.
  MgfWriter(const std::string& path, std::string_view mode, std::string title);

  /// A scan without precursors is counted but leaves nothing in the file.
  void WriteMs2(const MS2Spectrum& scan);

  void Close() { Finish(); }

 private:
  void AppendBlockStart(const MS2Spectrum& scan, std::size_t precursor_index);

  std::string m_title;
  std::string m_block_start;  // both reused from scan to scan
  std::string m_peak_lines;
};

using MgfGroup = SpectrumWriterGroup<MgfWriter>;

}  // namespace tarvek
