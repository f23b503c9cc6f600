// IO/MsTextEcho.h: what a scan becomes when written as .ms1 or .ms2 text and read back.
// Does:     rounds the numbers of a record as that round trip does, and drops and renames what the
//           text reader drops and renames.
// Owns:     what the reader would carry from a scan without peaks into the next.
// Throws:   nothing but std::bad_alloc.
// Not here: the text (MsTextWriter.h, MsTextReader.h), which is the definition; the last step of
//           reading (ScanCompletion.h), which the caller takes as a reader does.
#pragma once

#include <string>
#include <vector>

#include "PeakDigits.h"
#include "SpectrumRecords.h"

namespace tarvek {

class MsTextEcho {
 public:
  /// digits: those of the text.
  explicit MsTextEcho(PeakDigits digits) : m_digits(digits) {}

  /// Changes scan into what the text reader would make of its text, up to CompleteScan; false when
  /// no peak is left, so that the reader would skip it. scan: as for AppendMsText, peaks ascending
  /// in m/z; m_orig_precursors of an MS2 scan hold the declared precursors.
  /// lines: unless null, gets the lines of all peaks, in the form of AppendPeakLines.
  bool Echo(MS1Spectrum& scan, std::string* lines = nullptr) const;
  bool Echo(MS2Spectrum& scan, std::string* lines = nullptr);

 private:
  template <class Spectrum>
  bool EchoCommon(Spectrum& scan, std::string* lines) const;

  PeakDigits m_digits;
  std::vector<Precursor> m_carried;  // from scans without peaks
};

}  // namespace tarvek
