// IO/MsTextHeader.h: the header block of .ms1 and .ms2 text files.
// Does:     gives the block as text, for whoever writes such a file.
// Throws:   nothing but std::bad_alloc.
// Not here: reading; the readers skip header lines.
#pragma once

#include <string>

#include "Platform.h"

namespace tarvek {

/// The five "H" lines, each with its line feed; creation_time is local time.
std::string MsTextHeader(const LocalTime& creation_time);

}  // namespace tarvek
