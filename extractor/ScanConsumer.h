// extractor/ScanConsumer.h: the receiver of a reader's spectra.
// Does:     is the interface between the readers of a format and the users of their spectra.
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

  /// Called when everything but the peaks is known, once for each spectrum that has peaks, before
  /// OnScan. A reader does not decode peaks that are not wanted.
  virtual bool WantsPeaks(const ExtractedScan& scan) = 0;

  /// One spectrum, in file order. peaks: empty when the spectrum has none or they were not wanted;
  /// the consumer may change them.
  virtual void OnScan(const ExtractedScan& scan, std::vector<Peak>& peaks) = 0;
};

}  // namespace tarvek::extractor
