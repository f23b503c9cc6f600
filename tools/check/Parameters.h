// tools/check/Parameters.h: a parameter file of tarvek, before the run that it describes.
// Does:     reports keys that tarvek does not know, values that it would refuse or misread, and data
//           paths that are not counted; says what the run would process, and how.
// Throws:   std::bad_alloc; a file that is damaged or cannot be read is a finding.
// Not here: the inputs and outputs of that run (the other headers of check/).
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "check/Findings.h"
#include "check/Inputs.h"
#include "check/Targets.h"

namespace tarvek::tools {

/// The run that a parameter file describes.
struct ParameterPlan {
  CheckOptions m_options;
  CheckTargets m_targets;
};

/// std::nullopt when path is not a parameter file. A value that makes no sense counts as not given,
/// so that the rest can be checked.
std::optional<ParameterPlan> CheckParameters(CheckReport& report, const std::string& path);

/// The known key that needs the fewest inserted, deleted or replaced letters to become key; the
/// first in byte order of equals.
std::string NearestKey(std::string_view key);

/// What is wrong with the value of a known key, as a sentence without its subject; empty when it is
/// valid.
std::string ValueFault(const std::string& key, const std::string& value);

}  // namespace tarvek::tools
