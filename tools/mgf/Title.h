// tools/mgf/Title.h: the title of an MGF block, run.scan.scan.charge.index.dta.
// Does:     reads it from its end, since run names may hold dots.
// Throws:   nothing.
// Not here: MGF as the input of a run, where the second field is the scan number (MgfReader of
//           src/IO).
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tarvek::tools {

struct MgfTitle {
  std::string_view m_run;  // borrows from the title
  std::int32_t m_scan_no = 0;
  std::int32_t m_charge = 0;
  std::int32_t m_index = 0;  // of the precursor within its scan, 0 when the title has none
  /// As tarvek writes it: with a run, one scan number twice, an index and ".dta".
  bool m_is_whole = false;
};

/// Nothing for a text without scan, scan and charge before index and ".dta", which may be missing.
std::optional<MgfTitle> ParseMgfTitle(std::string_view text);

}  // namespace tarvek::tools
