// IO/MsTextEcho.h: scans as they come back from .ms1 and .ms2 text, without the text.
// Does:     rounds the numbers of a record to those that reading its text gives, and keeps, drops and
//           words what the text reader keeps, drops and words.
// Owns:     what the reader would carry from a scan without peaks into the next.
// Throws:   nothing but std::bad_alloc.
// Not here: the text (MsTextWriter.h, MsTextReader.h), which is the definition; the last step of reading
//           (ScanCompletion.h), which the caller takes as a reader does.
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

  /// Makes of scan what the text reader would make of the text of scan, up to CompleteScan; false when
  /// no peak is left, so that the reader would pass over it. scan: as AppendMsText takes it, peaks
  /// ascending in m/z; of an MS2 scan m_orig_precursors hold what is declared.
  /// lines: where not null, the lines of all peaks are appended as AppendPeakLines does.
  bool Echo(MS1Spectrum& scan, std::string* lines = nullptr) const;
  bool Echo(MS2Spectrum& scan, std::string* lines = nullptr);

 private:
  template <class Spectrum>
  bool EchoCommon(Spectrum& scan, std::string* lines) const;

  PeakDigits m_digits;
  std::vector<Precursor> m_carried;  // from scans without peaks
};

}  // namespace tarvek
