// extractor/HeaderRepair.h: fixes mistakes that common converters make before the first spectrum.
// Does:     blanks repeated attributes of an element. Converters that record two peak pickings
//           write centroided="1" centroided="1", which every XML parser rejects.
// Throws:   nothing.
// Not here: mistakes among the spectra, which stay errors.
#pragma once

#include <span>

namespace tarvek::extractor {

/// Overwrites with blanks every attribute that repeats an earlier one of its start tag, so that
/// byte and line numbers stay the same. block: the beginning of an XML file; a tag that it cuts off
/// stays unchanged.
void BlankRepeatedAttributes(std::span<char> block);

}  // namespace tarvek::extractor
