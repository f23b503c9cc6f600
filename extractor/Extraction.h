// extractor/Extraction.h: one mzML or mzXML file to the outputs.
// Does:     keeps other extractors away, removes an old marker, reads the file, writes the
//           outputs under temporary names, renames them when all are complete, writes the marker
//           last. A file that needs it is read again from the start (ExtractionPlan.h).
// Throws:   std::string naming the file; no marker exists then, unless it is another extractor's.
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

/// The path of the marker that says that all outputs are complete.
std::string MarkerPath(const ExtractorOptions& options);

/// The marker of an input, and with it the right to write its outputs: its temporary file is locked
/// from before the first of them is touched, or a conversion is begun, until the marker stands.
class Marker {
 public:
  /// Makes the output directory and removes the marker of an earlier run. Throws "Another run is
  /// writing ..." while another extractor has the outputs, whose marker is left alone.
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

/// Where scans go.
struct ExtractionTargets {
  bool m_writes_spectra = true;  // to the files of options; without them the marker is not written
  RecordTaker* m_taker = nullptr;  // as well
};

/// Extracts path, which is options.m_input or what that was converted to, and returns what the marker
/// says. marker: that of options. report: progress and summary go there.
RunRecord Extract(const ExtractorOptions& options, const std::string& path, Marker& marker,
                  std::ostream& report, const ExtractionTargets& targets = {});

/// Throws "interrupted" when a stop was requested (NoteStopRequests in Platform.h); asked between two
/// blocks of the work, so that unfinished files are removed on the way out.
void ThrowIfInterrupted();

}  // namespace tarvek::extractor
