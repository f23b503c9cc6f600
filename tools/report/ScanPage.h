// tools/report/ScanPage.h: the page that shows any scan of a run.
// Does:     explains the scans of a run and packs them into one HTML text; its script draws the
//           chosen scan.
// Owns:     nothing beyond a call.
// Throws:   what explain/RunToExplain.h throws.
// Not here: the explanation of a scan (explain/Explainer.h), the script (report/ScanScript.h).
//
// In the page, scans are JSON as in "explain --json" (explain/Json.h), without what the page does
// not show: arrays of kScansInChunk scans, deflated and in base64, with an index of columns. So the
// browser unpacks a few kB for a scan, whatever the length of the run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "explain/RunToExplain.h"
#include "report/Data.h"

namespace tarvek::tools {

inline constexpr std::size_t kScansInChunk = 24;
inline constexpr std::size_t kMostScansDefault = 20'000;

struct ScanPage {
  std::string m_html;
  ScanPageOutcome m_outcome;  // except the name of the file
};

/// The exported scans of a run, at most `most` of them, evenly spread over the run.
ScanPage MakeScanPage(const RunLocation& location, std::size_t most);

}  // namespace tarvek::tools
