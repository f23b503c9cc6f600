// IO/MgfWriter.h: MS2 scans as Mascot Generic Format text.
// Does:     writes one BEGIN IONS block per precursor of a scan, each with all peaks of the scan;
//           gives the lines before and after the peaks of a block.
// Owns:     the open file.
// Throws:   a std::string: "Cannot open MGF File, Path: ..." or "Cannot write " + path.
// Not here: peak lines (PeakDigits.h); the split by scan type (SpectrumWriterGroup.h). The blocks:
//           docs/formats/mgf.md.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "PeakDigits.h"
#include "SpectrumFile.h"
#include "SpectrumRecords.h"
#include "SpectrumWriterGroup.h"

namespace tarvek {

class MgfWriter final : public SpectrumWriter {
 public:
  /// mode "w+"; title is the run name that begins every TITLE.
  MgfWriter(const std::string& path, std::string_view mode, std::string title,
            PeakDigits digits = {}, NoticeTaker notice = TakeSilently,
            Naming naming = Naming::kAtOnce);

  /// Counts a scan without precursors but writes no block for it.
  void WriteMs2(const MS2Spectrum& scan);

  void Close() { Finish(); }

 private:
  std::string m_title;
  PeakDigits m_digits;
  std::string m_block_start;  // both reused from scan to scan
  std::string m_peak_lines;
};

using MgfGroup = SpectrumWriterGroup<MgfWriter, PeakDigits>;

/// The values in the lines of a block before its peaks.
struct MgfBlockStart {
  std::string_view m_title;  // the run name that begins the TITLE
  std::int32_t m_scan_no = 0;
  std::size_t m_index = 0;   // of the precursor within the scan
  Precursor m_precursor;     // a negative ion shows its sign in TITLE and after CHARGE only
  bool m_has_charge = true;  // false: without a CHARGE line
  double m_rt = 0.0;         // seconds
};

void AppendMgfStart(std::string& text, const MgfBlockStart& start);

/// The line after the peaks.
inline constexpr std::string_view kMgfBlockEnd = "END IONS\n";

}  // namespace tarvek
