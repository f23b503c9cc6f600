// tools/report/ScanPage.h: the page on which any scan of a run can be looked at.
// Does:     explains the scans of a run and packs them into one HTML text, whose script draws the one
//           that is asked for.
// Owns:     nothing beyond a call.
// Throws:   what explain/RunToExplain.h throws.
// Not here: what is known of a scan (explain/Explainer.h), the script (report/ScanScript.h).
//
// In the page: scans are JSON as "explain --json" prints it (explain/Json.h), without what the page does
// not show, kScansInChunk to an array, which is deflated and written in base64. An index of columns
// finds them. So the browser unpacks a few kB for a scan, whatever the length of the run.
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
  ScanPageOutcome m_outcome;  // but for the name of the file
};

/// The exported scans of a run, at most most of them, evenly spread over the run.
ScanPage MakeScanPage(const RunLocation& location, std::size_t most);

}  // namespace tarvek::tools
