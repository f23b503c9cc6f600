// tools/simulate/TextSink.h: a simulated run as .ms1 and .ms2 text with a table of the truth.
// Does:     writes OUTBASE.ms1, OUTBASE.ms2 and OUTBASE.truth.tsv; docs/simulator.md describes the
//           table. Nothing in them depends on the time of writing.
// Owns:     the three files, which have their final names once Complete has returned, the truth
//           last; a sink that was not completed removes them.
// Throws:   a std::string of the file helpers naming the path.
// Not here: what is written (simulate/Acquisition.h).
#pragma once

#include <string>

#include "simulate/FileSink.h"

namespace tarvek::tools {

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

/// The lines of one scan.
void AppendSurveyText(std::string& text, const MS1Spectrum& scan);
void AppendFragmentsText(std::string& text, const MS2Spectrum& scan);
void AppendTruthText(std::string& text, const TruthRow& row);

}  // namespace tarvek::tools
