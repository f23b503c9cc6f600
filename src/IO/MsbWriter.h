// IO/MsbWriter.h: binary spectrum files (.msb) with their scan table (.mscsv).
// Does:     writes a record and a row for each scan. Every number is the one that the text of the
//           scan (MsTextWriter.h) reads back as, so both formats agree to the last bit. Leaves out
//           a peak with an intensity that rounds to zero, and a scan without other peaks.
// Throws:   a std::string: "Cannot write ..." of the files, or naming a scan of more than
//           kMaxMsbPeaks peaks.
// Not here: the files, which the caller owns; the rows (ScanTable.h). Records: docs/formats/msb.md.
#pragma once

#include <string>
#include <vector>

#include "OutputFile.h"
#include "PeakDigits.h"
#include "SpectrumRecords.h"

namespace tarvek {

class MsbWriter {
 public:
  /// Writes the header of the table. Both files must be empty, and stay open until the last scan.
  MsbWriter(OutputFile& msb, OutputFile& table, PeakDigits digits);

  void Write(const MS1Spectrum& scan);

  /// The table has room for one declared precursor: the first of m_orig_precursors, which are as
  /// for AppendMsText.
  void Write(const MS2Spectrum& scan);

 private:
  void WriteScan(ScanTableEntry& entry, const std::vector<Peak>& peaks);
  void RoundPeaks(const std::vector<Peak>& peaks);

  OutputFile* m_msb;
  OutputFile* m_table;
  PeakDigits m_digits;
  std::vector<Peak> m_peaks;  // of one scan, rounded
  std::string m_bytes;        // of one record or row
};

}  // namespace tarvek
