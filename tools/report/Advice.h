// tools/report/Advice.h: what to change next, from the numbers of a run.
// Does:     compares width, charges, threshold, m/z and left-out scans with the data of the run.
// Throws:   nothing but std::bad_alloc.
// Not here: what is usual in a picture (report/Findings.h). The limits are at the top of the source file.
#pragma once

#include <string>
#include <vector>

#include "report/Data.h"

namespace tarvek::tools {

struct Advice {
  std::string m_id;         // for other programs
  std::string m_what;       // "-W 4" or a sentence
  std::string m_why;        // the numbers, as a sentence
  bool m_is_change = true;  // false: something to look up, since the numbers do not decide
};

/// The most important first; empty when nothing needs a change.
std::vector<Advice> WhatToChange(const RunReport& report);

}  // namespace tarvek::tools
