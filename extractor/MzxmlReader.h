// extractor/MzxmlReader.h: mzXML to neutral scans.
// Does:     reads mzXML element by element; scans may be nested.
// Owns:     the scans that are being read; borrows the consumer.
// Throws:   std::string naming the scan; the caller adds file and place.
// Not here: which scans are used and how (ScanRules.h).
#pragma once

#include <memory>

#include "ScanConsumer.h"
#include "XmlStream.h"

namespace tarvek::extractor {

/// A handler for a file whose root element is mzXML or, in old files, msRun.
std::unique_ptr<XmlHandler> MakeMzxmlReader(ScanConsumer& consumer);

}  // namespace tarvek::extractor
