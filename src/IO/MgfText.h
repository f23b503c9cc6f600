// IO/MgfText.h: the lines of MGF text and the titles of its blocks.
// Does:     classifies a line and splits it; parses a title from its end, because run names may
//           contain dots; writes titles. Rejects no value: one that cannot be read gets a status,
//           which a run reports as an error and check as a finding.
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

/// The beginning of lines of this kind, such as "TITLE="; empty for a peak or another line.
std::string_view MgfBeginning(MgfToken token);

/// A line split by its beginning. m_text borrows from the line: the whole line for a peak or
/// another line, else the text after the beginning, without trailing blanks and line end.
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
  /// In the form that tarvek writes: with a run, the same scan number twice, an index and ".dta".
  bool m_is_whole = false;
};

/// std::nullopt for a text without scan, scan and charge before index and ".dta", which are
/// optional.
std::optional<MgfTitle> ParseMgfTitle(std::string_view text);

/// The scan number that a run takes from a title: from a title in our form, with or without index,
/// else from the second field, after the first dot.
ScannedNumber<std::int32_t> ScanMgfScanNumber(std::string_view text);

/// Appends the title line.
void AppendMgfTitle(std::string& text, const MgfTitle& title);

}  // namespace tarvek
