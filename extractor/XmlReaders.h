// extractor/XmlReaders.h: turns mzML and mzXML into scans of one common form.
// Does:     reads mzML (indexed or not; the index is ignored) and mzXML (scans may be nested) element
//           by element.
// Owns:     the spectra that it is reading; borrows the consumer.
// Throws:   std::string naming the spectrum; the caller adds file and place.
// Not here: which spectra are used and how (ScanRules.h).
#pragma once

#include <memory>

#include "ReadingLimits.h"
#include "ScanConsumer.h"
#include "XmlStream.h"

namespace tarvek::extractor {

/// A handler for a file whose root element is mzML or indexedmzML.
std::unique_ptr<XmlHandler> MakeMzmlReader(ScanConsumer& consumer, const SizeLimits& limits);

/// A handler for a file whose root element is mzXML or, in old files, msRun.
std::unique_ptr<XmlHandler> MakeMzxmlReader(ScanConsumer& consumer, const SizeLimits& limits);

}  // namespace tarvek::extractor
