// extractor/MzmlReader.h: mzML to neutral scans.
// Does:     reads mzML (indexed or not; the index is ignored) element by element.
// Owns:     the spectrum that is being read; borrows the consumer.
// Throws:   std::string naming the spectrum; the caller adds file and place.
// Not here: which spectra are used and how (ScanRules.h).
#pragma once

#include <memory>

#include "ScanConsumer.h"
#include "XmlStream.h"

namespace tarvek::extractor {

/// A handler for a file whose root element is mzML or indexedmzML.
std::unique_ptr<XmlHandler> MakeMzmlReader(ScanConsumer& consumer);

}  // namespace tarvek::extractor
