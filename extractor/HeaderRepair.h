// extractor/HeaderRepair.h: mistakes that common converters make before the first spectrum.
// Does:     blanks attributes that an element has a second time. Converters that record two peak
//           pickings write centroided="1" centroided="1", which no XML parser takes.
// Throws:   nothing.
// Not here: mistakes among the spectra, which stay errors.
#pragma once

#include <span>

namespace tarvek::extractor {

/// Overwrites with blanks every attribute of a start tag that the tag has already named, so that
/// byte and line numbers stay. block: the beginning of an XML file; a tag that it cuts off is left
/// as it is.
void BlankRepeatedAttributes(std::span<char> block);

}  // namespace tarvek::extractor
