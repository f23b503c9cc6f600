// tools/batch/AutoSettings.h: settings that fit an input, each with its reason.
// Does:     chooses the isolation width, the charges and their sign by what the first scans show.
// Throws:   nothing but std::bad_alloc.
// Not here: the look at the input (batch/InputLook.h); what the user names, which wins
//           (batch/Plan.h, batch/RunPlan.h).
#pragma once

#include <string>
#include <vector>

#include "UserParameters.h"
#include "batch/InputLook.h"

namespace tarvek::tools {

struct AutoChoice {
  std::string m_key;     // of tarvek's parameters
  std::string m_value;   // as a parameter file takes it
  std::string m_reason;  // goes on behind "since"
};

/// One choice for isolation_width and one for charge_range, the defaults of tarvek where the input
/// does not tell.
std::vector<AutoChoice> ChooseSettings(const InputLook& look);

/// "-W 4, since all 321 MS2 scans declare 4 m/z".
std::string ChoiceText(const AutoChoice& choice);

/// Puts what fits the input path into table, but for the keys that are there, and returns what was
/// chosen. A key that is there gives no choice, and an MGF input none at all.
std::vector<AutoChoice> AddFittingSettings(const std::string& path, ParameterTable& table);

}  // namespace tarvek::tools
