// tools/ReportPictures.h: the pictures of a run's report.
// Does:     turns the numbers of a run into one chart for each finding.
// Throws:   nothing but std::bad_alloc.
// Not here: how a chart is drawn (ReportSvg.h); the words around it (ReportFindings.h).
#pragma once

#include <string>

#include "ReportData.h"
#include "ReportFindings.h"

namespace tarvek::tools {

/// The SVG of a finding; empty when it has no data. The size does not grow with the run.
std::string PictureOf(const ReportFinding& finding, const RunReport& report);

}  // namespace tarvek::tools
