// tools/check/Check.h: checks the files at some paths.
// Throws:   std::bad_alloc; a defect is no error but a finding.
// Not here: which files a path means (check/Targets.h), the checks (check/Inputs.h,
//           check/Outputs.h), the texts (check/Findings.h).
#pragma once

#include <string>
#include <vector>

#include "check/Findings.h"
#include "check/Inputs.h"

namespace tarvek::tools {

/// Checks all paths: inputs as a run with these options would read them, outputs as they are.
CheckReport CheckPaths(const std::vector<std::string>& paths, const CheckOptions& options);

}  // namespace tarvek::tools
