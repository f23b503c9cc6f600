// extractor/ExtractorMain.h: the bodies of the extractor programs.
// Does:     reads the command line, extracts, turns errors into a line on standard error.
// Throws:   nothing.
// Not here: anything a library could use.
#pragma once

#include "Converter.h"

namespace tarvek::extractor {

/// 0 when the outputs and the marker are written, 1 when they are not, 2 when the command line or
/// an environment variable that says the same makes no sense.
int RunXmlExtractor(int argc, const char* const* argv);
int RunVendorExtractor(int argc, const char* const* argv, VendorKind kind);

}  // namespace tarvek::extractor
