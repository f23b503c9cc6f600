// tools/report/Pictures.h: the pictures of a run's report.
// Does:     turns the numbers of a run into one chart for each finding.
// Throws:   nothing but std::bad_alloc.
// Not here: how a chart is drawn (report/Svg.h); the words around it (report/Findings.h).
#pragma once

#include <string>

#include "report/Data.h"
#include "report/Findings.h"

namespace tarvek::tools {

/// The SVG of a finding; empty when it has no data. The size does not grow with the run.
std::string PictureOf(const ReportFinding& finding, const RunReport& report);

}  // namespace tarvek::tools
