// IO/MgfText.h: the lines of MGF text and the titles of its blocks.
// Does:     tells what a line is and what it holds; reads the numbers of a title from its end, since
//           run names may hold dots, and writes it. Nothing is refused here: a value that cannot be
//           read has a status, of which a run makes an error and check a finding.
// Throws:   nothing but std::bad_alloc.
// Not here: blocks (MgfReader.h, MgfWriter.h). The lines: docs/formats/mgf.md.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "NumberText.h"

namespace tarvek {

enum class MgfToken { kPeak, kBegin, kEnd, kTitle, kCharge, kTime, kPepmass, kOther };

/// What lines of this kind begin with, such as "TITLE="; empty for a peak or another line.
std::string_view MgfBeginning(MgfToken token);

/// A line by its beginning. The text borrows from the line: of a peak or another line it is the line
/// as it is, else what follows the beginning, without blanks and line end behind it.
struct MgfLine {
  MgfToken m_token = MgfToken::kOther;
  std::string_view m_text;
};

MgfLine ReadMgfLine(std::string_view line);

/// "2+", "3-", "2": the sign follows the number.
ScannedNumber<std::int32_t> ScanMgfCharge(std::string_view text);

/// A title of the form run.scan.scan.charge.index.dta.
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

/// The scan number that a run takes from a title: that of our own, with or without index, else the
/// second field, behind the first dot.
ScannedNumber<std::int32_t> ScanMgfScanNumber(std::string_view text);

/// Appends the title line.
void AppendMgfTitle(std::string& text, const MgfTitle& title);

}  // namespace tarvek
