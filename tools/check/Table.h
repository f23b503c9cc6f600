// tools/check/Table.h: the precursor table of a run.
// Does:     reads the rows in order and reports incomplete ones.
// Throws:   a std::string when the file cannot be opened or read.
// Not here: whether the rows agree with other files (check/Outputs.h); scores (score/Score.h).
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "PrecursorTableReader.h"
#include "SpectrumRecords.h"
#include "check/Findings.h"

namespace tarvek::tools {

struct ExportedScan {
  std::int32_t m_scan_no = 0;
  std::vector<Precursor> m_precursors;
};

struct TableContent {
  /// By activation and instrument word as in other file names, "HCDFT"; in row order.
  std::map<std::string, std::vector<ExportedScan>> m_scans;
  std::int64_t m_rows = 0;
  bool m_is_whole = true;  // no defect was found
};

TableContent CheckTable(CheckReport& report, const std::string& path);

}  // namespace tarvek::tools
