// extractor/Extraction.h: one mzML or mzXML file to the outputs.
// Does:     removes an old marker, reads the file once, writes the outputs under temporary names,
//           renames them when all are complete, writes the marker last.
// Throws:   std::string naming the file; no marker exists then.
// Not here: the command line (ExtractorOptions.h), other formats (Converter.h).
#pragma once

#include <ostream>
#include <string>

#include "ExtractorOptions.h"

namespace tarvek::extractor {

/// The path of the marker that says that all outputs are complete.
std::string MarkerPath(const ExtractorOptions& options);

/// Removes the marker of an earlier run. Throws when it cannot.
void RemoveMarker(const ExtractorOptions& options);

/// Extracts path, which is options.m_input or what that was converted to. report: progress and
/// summary go there.
void Extract(const ExtractorOptions& options, const std::string& path, std::ostream& report);

}  // namespace tarvek::extractor
