// tools/check/Mgf.h: the blocks of an MGF file.
// Does:     reads the blocks, reports those that are incomplete, have no peaks, or have no scan
//           number in the title.
// Throws:   a std::string when the file cannot be read.
// Not here: whether the blocks agree with other files (check/Outputs.h).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "SpectrumRecords.h"
#include "check/Findings.h"

namespace tarvek::tools {

struct CheckedBlock {
  std::int32_t m_scan_no = 0;
  Precursor m_precursor;    // m/z without sign
  std::int64_t m_line = 0;  // of BEGIN IONS
};

struct MgfContent {
  std::vector<CheckedBlock> m_blocks;
  std::string m_run_name;  // in the first title
  bool m_is_whole = true;  // no defect was found
};

MgfContent CheckMgf(CheckReport& report, const std::string& path);

}  // namespace tarvek::tools
