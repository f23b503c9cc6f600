// tools/explain/Text.h: an explained scan as text for people.
// Does:     head, precursors, the survey with the edges of the window, elution, candidates.
// Throws:   nothing but std::bad_alloc.
#pragma once

#include <string>

#include "explain/Explanation.h"

namespace tarvek::tools {

/// Ends in a line feed. run: its name.
std::string ExplanationText(const std::string& run, const Explanation& explained);

}  // namespace tarvek::tools
