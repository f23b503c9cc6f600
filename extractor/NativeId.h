// extractor/NativeId.h: scan numbers in the ids of spectra.
// Does:     reads the number where an id is of a form that has one.
// Throws:   nothing.
// Not here: the numbers of spectra whose ids have none (ScanRules.h).
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tarvek::extractor {

/// The scan number of "controllerType=C controllerNumber=K scan=N", "scan=N", "scanId=N"; nothing
/// for every other form, whose numbers count something else.
std::optional<std::int32_t> ScanNumberOf(std::string_view native_id);

}  // namespace tarvek::extractor
