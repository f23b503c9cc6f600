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
#include <span>
#include <string>

#include "MsbWriter.h"
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

class TextSink final : public RunSink {
 public:
  explicit TextSink(const std::string& out_base);

  void TakeSurvey(const MS1Spectrum& scan) override;
  void TakeFragments(const MS2Spectrum& scan, std::span<const TruthRow> truth) override;
  void Complete() override;

 private:
  UnfinishedFile m_ms1;
  UnfinishedFile m_ms2;
  TruthFile m_truth;
  std::string m_text;  // of one scan
};

class MsbSink final : public RunSink {
 public:
  explicit MsbSink(const std::string& out_base);

  void TakeSurvey(const MS1Spectrum& scan) override;
  void TakeFragments(const MS2Spectrum& scan, std::span<const TruthRow> truth) override;
  void Complete() override;

 private:
  UnfinishedFile m_msb;
  UnfinishedFile m_table;
  TruthFile m_truth;
  MsbWriter m_writer;
};

void AppendTruthText(std::string& text, const TruthRow& row);

}  // namespace tarvek::tools
