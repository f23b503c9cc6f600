// IO/MsTextReader.h: readers of .ms1 and .ms2 text files.
// Does:     delivers one scan per call, peaks ascending in m/z, the blocks of a repeated scan
//           number merged into one record.
// Owns:     the open file and the number of the scan with the "S" line that ended the previous
//           scan.
// Throws:   a std::string: "Cannot open MS1 File, Path: ..." (or MS2) when opening; what File::Read
//           throws; a message naming file and scan for one with too many Z lines. A malformed line is no error: a text that is no number reads as 0.
// Not here: which scans are of use. Line kinds and keys: docs/formats/ms1-ms2.md.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ScanNumber.h"
#include "SpectrumFile.h"
#include "SpectrumRecords.h"

namespace tarvek {

template <class Spectrum>
class MsTextReader : public SpectrumReader {
 public:
  /// Refills scan with the next scan that has peaks; false, with scan without peaks, at the end of
  /// the file. Discards what scan held, but reuses its capacity.
  bool ReadNext(Spectrum& scan);

 protected:
  MsTextReader(const std::string& path, std::string_view mode, const std::string& kind,
               NoticeTaker notice)
      : SpectrumReader(path, mode, kind, notice) {}

 private:
  bool NextLine(std::string_view& line, std::vector<Peak>* peaks);
  bool FinishRecord(Spectrum& scan);

  ScanNumberReader m_numbers;
  std::optional<WrittenScanNumber> m_pending_number;
};

extern template class MsTextReader<MS1Spectrum>;
extern template class MsTextReader<MS2Spectrum>;

/// Reads scan numbers, the attributes common to all scans, and peaks.
class Ms1TextReader final : public MsTextReader<MS1Spectrum> {
 public:
  /// mode "r". Only a writer needs the header block (MsTextWriter.h).
  Ms1TextReader(const std::string& path, std::string_view mode, NoticeTaker notice = TakeSilently)
      : MsTextReader(path, mode, "MS1", notice) {}
};

/// Also reads activation, precursor scan and the declared precursors, which it stores in both
/// m_orig_precursors and m_precursors.
class Ms2TextReader final : public MsTextReader<MS2Spectrum> {
 public:
  /// mode "r"; no header block, as for Ms1TextReader.
  Ms2TextReader(const std::string& path, std::string_view mode, NoticeTaker notice = TakeSilently)
      : MsTextReader(path, mode, "MS2", notice) {}
};

/// The precursor for the numbers of a "Z" line: a charge below 1 is unknown, and a mass of 0 means
/// the centre of the isolation window.
Precursor PrecursorOfChargeLine(std::int32_t charge, double mass_da, double center_mz);

/// The instrument type in records for the value of an "InstrumentType" line: "FT", "IT" or
/// "Unknown".
std::string_view InstrumentTypeOfText(std::string_view text);

}  // namespace tarvek
