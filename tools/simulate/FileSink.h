// tools/simulate/FileSink.h: what the sinks that write a run to files have in common.
// Does:     the table of the truth; the final names all at the end.
// Owns:     a TruthFile its file.
// Throws:   a std::string of the file helpers naming the path.
// Not here: the scans (simulate/MsbSink.h, simulate/MzmlSink.h); the text of a row of the truth
//           (simulate/TextSink.h).
#pragma once

#include <initializer_list>
#include <span>
#include <string>

#include "UnfinishedFile.h"
#include "simulate/Sink.h"

namespace tarvek::tools {

/// OUTBASE.truth.tsv, the same for every format of the scans; docs/simulator.md describes it.
class TruthFile {
 public:
  explicit TruthFile(const std::string& out_base);

  void Write(std::span<const TruthRow> rows);

  /// Closes the files of the scans and the table, deletes an old table, which must not stand beside
  /// new scans, and gives all files their names, the table last.
  void CompleteWith(std::initializer_list<UnfinishedFile*> scan_files);

 private:
  UnfinishedFile m_file;
  std::string m_text;
};

}  // namespace tarvek::tools
