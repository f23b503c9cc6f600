// extractor/ExtractorMain.h: the bodies of the extractor programs.
// Does:     reads the command line, extracts, turns errors into a line on standard error.
// Throws:   nothing.
// Not here: code that a library could use.
#pragma once

#include "Converter.h"

namespace tarvek::extractor {

/// 0 when the outputs and the marker are written, 1 when they are not, 2 when the command line or
/// an equivalent environment variable is invalid.
int RunXmlExtractor(int argc, const char* const* argv);
int RunVendorExtractor(int argc, const char* const* argv, VendorKind kind);

}  // namespace tarvek::extractor
