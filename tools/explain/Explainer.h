// tools/explain/Explainer.h: why an MS2 scan has the precursors that it has.
// Does:     determines them again as tarvek does, keeps every candidate and its fate, and fits the
//           envelopes to the survey.
// Owns:     the working data of both determinations.
// Throws:   nothing but std::bad_alloc.
// Not here: reading the run (explain/RunToExplain.h), words and JSON (explain/Text.h, explain/Json.h).
#pragma once

#include "JointDetermination.h"
#include "PrecursorDetermination.h"
#include "explain/Explanation.h"
#include "explain/RunToExplain.h"

namespace tarvek::tools {

class Explainer {
 public:
  /// Borrows run, which must outlive it.
  explicit Explainer(const RunToExplain& run)
      : m_run(&run), m_single(run.Parameters()), m_joint(run.Parameters()) {}

  Explanation Explain(const RunToExplain::ScanInRun& scan);

 private:
  void Determine(const RunToExplain::ScanInRun& scan, Explanation& explained);
  void DetermineEach(const RunToExplain::ScanInRun& scan, Explanation& explained);
  void DetermineTogether(const RunToExplain::ScanInRun& scan, Explanation& explained);
  void CompareWithTable(Explanation& explained) const;

  const RunToExplain* m_run;
  PrecursorDetermination m_single;
  joint::JointDetermination m_joint;
};

/// The index of a scan's survey in store; store.size() when it is not there.
std::size_t PlaceOfSurvey(const Ms1Store& store, const MS2Spectrum& scan);

}  // namespace tarvek::tools
