// tools/ipv/TableFile.h: the isotope table as a file.
// Throws:   a std::string of the file helpers naming the path.
// Not here: the numbers (ipv/AveragineTable.h).
#pragma once

#include <span>
#include <string>

#include "ipv/AveragineTable.h"

namespace tarvek::tools {

/// The contents of the file: one row per line, five numbers of six decimals with single blanks
/// between them, each line ended by a line feed. Empty without rows.
std::string IsotopeTableText(std::span<const IsotopeEnvelope> rows);

/// Writes the table to path + "_unfinished" and renames it to path when complete, replacing an
/// existing file. On failure the unfinished file is removed and path is unchanged.
void WriteIsotopeTable(const std::string& path, std::span<const IsotopeEnvelope> rows);

}  // namespace tarvek::tools
