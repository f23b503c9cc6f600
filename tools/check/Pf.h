// tools/check/Pf.h: one .pf1 or .pf2 file with its index.
// Does:     walks the records from the header to the end of the file and compares header, index and
//           records with each other; peaks are not kept.
// Throws:   a std::string when a file cannot be opened or read.
// Not here: the format (PfReader of src/IO); whether the records agree with other files
//           (check/Outputs.h).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "SpectrumRecords.h"
#include "check/Findings.h"

namespace tarvek::tools {

struct CheckedPfScan {
  std::int32_t m_scan_no = 0;
  std::vector<Precursor> m_precursors;  // of a .pf1 file: retention time and charge 1
};

struct PfContent {
  std::string m_title;
  std::vector<CheckedPfScan> m_scans;
  bool m_is_whole = true;  // no defect was found
};

/// path: that of the data file; the index is path + "idx".
PfContent CheckPf(CheckReport& report, const std::string& path);

}  // namespace tarvek::tools
