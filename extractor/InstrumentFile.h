// extractor/InstrumentFile.h: passes the spectra of an mzML or mzXML file to a consumer.
// Does:     recognises the format by the root element and reads the file once from front to back.
// Throws:   std::string naming the file and, if known, spectrum and place; what the consumer and
//           the callbacks throw.
// Not here: the use of the spectra (Extraction.h).
#pragma once

#include <functional>
#include <string>

#include "ScanConsumer.h"
#include "XmlStream.h"

namespace tarvek::extractor {

/// Reads a plain or gzip file. on_format: called with "mzML" or "mzXML" before the first spectrum.
/// on_block: as for ReadXmlFile.
void ReadInstrumentFile(const std::string& path, ScanConsumer& consumer,
                        const std::function<void(const std::string&)>& on_format,
                        const std::function<void(const ReadingState&)>& on_block);

}  // namespace tarvek::extractor
