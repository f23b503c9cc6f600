// tools/report/Findings.h: what the pictures of a run's report mean.
// Does:     says for each picture what the run shows, whether that is usual, what is normal and what
//           to do if not.
// Throws:   nothing but std::bad_alloc.
// Not here: the numbers (report/Data.h), the pictures (report/Pictures.h). The limits between usual
//           and unusual are at the top of the source file; docs/report.md explains them.
#pragma once

#include <string>
#include <vector>

#include "report/Data.h"

namespace tarvek::tools {

enum class Verdict {
  kUsual,
  kLook,
  kNoData,
  kDefect  // only for remarks: there are no outputs
};

struct ReportFinding {
  std::string m_id;  // of the picture, for anchors and other programs
  std::string m_title;
  Verdict m_verdict = Verdict::kNoData;
  std::string m_seen;  // in this run; without data: what is missing
  std::string m_normal;
  std::string m_otherwise;
};

/// Always the same seven in the same order: precursors, isotopes, charges, ppm, purity, current,
/// left-out.
std::vector<ReportFinding> ReportFindings(const RunReport& report);

/// Remarks without a picture, only where they apply: nothing-exported (a defect), empty,
/// isolation-width.
std::vector<ReportFinding> ReportRemarks(const RunReport& report);

/// "usual", "look", "no data" or "defect".
std::string VerdictWord(Verdict verdict);

}  // namespace tarvek::tools
