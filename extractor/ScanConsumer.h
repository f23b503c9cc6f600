// extractor/ScanConsumer.h: where a reader's spectra go.
// Does:     the interface between the readers of a format and what is made of their spectra.
// Throws:   what the consumer throws; readers pass it on.
// Not here: either side.
#pragma once

#include <vector>

#include "ExtractedScan.h"
#include "SpectrumRecords.h"

namespace tarvek::extractor {

class ScanConsumer {
 public:
  virtual ~ScanConsumer() = default;

  /// The number of spectra that the file declares; may never be called.
  virtual void OnDeclaredCount(std::int64_t count) = 0;

  /// Asked when everything but the peaks is known. A reader does not decode peaks that are not
  /// wanted. Called once for each spectrum that has peaks, before OnScan.
  virtual bool WantsPeaks(const ExtractedScan& scan) = 0;

  /// One spectrum, in file order. peaks: empty when there are none or they were not wanted; the
  /// consumer may change them.
  virtual void OnScan(const ExtractedScan& scan, std::vector<Peak>& peaks) = 0;
};

}  // namespace tarvek::extractor
