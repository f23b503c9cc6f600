// tools/table/Text.h: the rows of the table as text.
// Does:     header and rows as tab-separated values, or a row as one JSON object on a line.
// Throws:   nothing but std::bad_alloc.
// Not here: what the columns mean (docs/formats/table.md), files.
#pragma once

#include <string>

#include "table/Rows.h"

namespace tarvek::tools {

/// The names of the columns with a tab between them, and a line feed.
std::string TsvHeader();

/// Append one line. An unknown value is an empty field, in JSON null.
void AppendTsv(const PrecursorFact& row, std::string& text);
void AppendJsonLine(const PrecursorFact& row, std::string& text);

}  // namespace tarvek::tools
