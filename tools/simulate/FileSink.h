// tools/simulate/FileSink.h: a simulated run as spectrum files with a table of the truth.
// Does:     writes OUTBASE.ms1 and OUTBASE.ms2, or OUTBASE.msb and OUTBASE.mscsv, and
//           OUTBASE.truth.tsv; docs/simulator.md describes the table. Nothing in them depends on the
//           time of writing.
// Owns:     the three files, which have their final names once Complete has returned, the truth
//           last; a sink that was not completed removes them.
// Throws:   a std::string: of the file helpers, naming the path, or what MsbWriter throws.
// Not here: the formats of spectra (IO/); mzML (simulate/MzmlSink.h); what is written
//           (simulate/Acquisition.h).
#pragma once

#include <initializer_list>
#include <memory>
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

  /// Closes the files of the scans and the table, deletes an old table, which must not stay next to
  /// new scans, and gives all files their names, the table last.
  void CompleteWith(std::initializer_list<UnfinishedFile*> scan_files);

 private:
  UnfinishedFile m_file;
  std::string m_text;
};

/// OUTBASE.ms1 and OUTBASE.ms2.
std::unique_ptr<RunSink> MakeTextSink(const std::string& out_base);

/// OUTBASE.msb and OUTBASE.mscsv.
std::unique_ptr<RunSink> MakeMsbSink(const std::string& out_base);

}  // namespace tarvek::tools
