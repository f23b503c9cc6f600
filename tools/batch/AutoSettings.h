// tools/batch/AutoSettings.h: settings that fit an input, and why.
// Does:     chooses the isolation width, the charges and their sign from the first scans.
// Throws:   nothing but std::bad_alloc.
// Not here: the look at the input (batch/InputLook.h); the user's own settings, which win
//           (batch/Plan.h, batch/RunPlan.h).
#pragma once

#include <string>
#include <vector>

#include "UserParameters.h"
#include "batch/InputLook.h"

namespace tarvek::tools {

struct AutoChoice {
  std::string m_key;     // of tarvek's parameters
  std::string m_value;   // as written in a parameter file
  std::string m_reason;  // follows "since"
};

/// One choice for isolation_width and one for charge_range: tarvek's defaults where the input does
/// not say.
std::vector<AutoChoice> ChooseSettings(const InputLook& look);

/// "-W 4, since all 321 MS2 scans declare 4 m/z".
std::string ChoiceText(const AutoChoice& choice);

/// Adds the settings that fit the input path to table and returns the choices. A key that is
/// already there is not chosen; for an MGF input nothing is.
std::vector<AutoChoice> AddFittingSettings(const std::string& path, ParameterTable& table);

}  // namespace tarvek::tools
