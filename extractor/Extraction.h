// extractor/Extraction.h: converts one mzML or mzXML file to the outputs.
// Does:     keeps other extractors away, removes an old marker, reads the file, writes the outputs
//           under temporary names, renames them when all are complete, writes the marker last.
//           Reads a file again from the start when necessary (ExtractionPlan.h).
// Throws:   std::string naming the file; then no marker exists, except that of another extractor.
// Not here: the command line (ExtractorOptions.h), other formats (Converter.h).
#pragma once

#include <map>
#include <ostream>
#include <string>

#include "ExtractorOptions.h"
#include "RunRecord.h"
#include "ScanSinks.h"
#include "UnfinishedFile.h"

namespace tarvek::extractor {

/// The path of the marker, which exists when all outputs are complete.
std::string MarkerPath(const ExtractorOptions& options);

/// The marker of an input, and the right to write its outputs. Its temporary file is locked before
/// the first output changes or a conversion starts, until the marker is written.
class Marker {
 public:
  /// Makes the output directory and removes the marker of an earlier run. Throws "Another run is
  /// writing ..." while another extractor has the outputs, and then leaves its marker alone.
  explicit Marker(const ExtractorOptions& options);

  /// What it says of the input, as that was before anything was read of it.
  [[nodiscard]] const std::map<std::string, std::string>& Source() const { return m_source; }

  /// Writes the marker with what was counted: all outputs are complete.
  void Complete(const RunRecord& record);

 private:
  std::string m_text;
  std::map<std::string, std::string> m_source;
  UnfinishedFile m_file;
};

/// Where the scans go.
struct ExtractionTargets {
  bool m_writes_spectra = true;    // to the files of options; if not, writes no marker
  RecordTaker* m_taker = nullptr;  // additionally
};

/// Extracts path, which is options.m_input or its conversion, and returns the record in the marker.
/// marker: for options. report: gets progress and summary.
RunRecord Extract(const ExtractorOptions& options, const std::string& path, Marker& marker,
                  std::ostream& report, const ExtractionTargets& targets = {});

/// Throws "interrupted" when a stop was requested (NoteStopRequests in Platform.h); called between
/// blocks of work, so that unfinished files are removed on the way out.
void ThrowIfInterrupted();

}  // namespace tarvek::extractor
