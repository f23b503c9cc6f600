// tools/psms/Table.h: the table of matches, one row each.
// Does:     gives its header and a row. The columns: docs/psms.md.
// Throws:   nothing but std::bad_alloc.
// Not here: which matches have a row (psms/Command.h).
#pragma once

#include <string>
#include <string_view>

#include "psms/Blocks.h"
#include "psms/Competition.h"

namespace tarvek::tools {

/// With its line end.
std::string_view PsmTableHeader();

/// Appends the row of a match.
void AppendPsmRow(std::string& text, const JoinedMatch& joined, const Contender& contender);

}  // namespace tarvek::tools
