// tools/batch/Presets.h: settings for kinds of runs, which are installed as parameter files.
// Does:     lists them, reads one by its name, and writes the isotope table that one may need.
// Throws:   a std::string: for an unknown name, with the list of presets; what ReadParameterTable
//           and WriteIsotopeTable throw.
// Not here: which setting wins (batch/Plan.h, batch/RunPlan.h).
//
// A preset is share/tarvek/presets/NAME.cfg, a parameter file of tarvek without data paths, and its
// first line is "# " and what it is for.
#pragma once

#include <functional>
#include <string>

#include "UserParameters.h"

namespace tarvek::tools {

/// The key of the isotope table, and the value that means the table for 15N-labelled peptides.
inline constexpr const char* kIsotopeTableKey = "ipv_file";
inline constexpr const char* kN15Table = "IPV_n15.txt";

/// A line for each preset: its name and what it is for.
std::string PresetList();

/// The settings of the preset name.
ParameterTable ReadPreset(const std::string& name);

/// Where a preset asks for kN15Table, writes that table into folder (created if missing), reports
/// it through note, and puts its path into settings. An identical table is left alone. note may be
/// empty.
void PlaceIsotopeTable(ParameterTable& settings, const std::string& folder,
                       const std::function<void(const std::string&)>& note);

}  // namespace tarvek::tools
