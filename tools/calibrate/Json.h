// tools/calibrate/Json.h: a calibration for other programs.
// Throws:   nothing but std::bad_alloc.
// Not here: the fields, which docs/calibration.md describes.
#pragma once

#include <nlohmann/json.hpp>

#include "calibrate/Calibration.h"

namespace tarvek::tools {

nlohmann::ordered_json CalibrationJson(const Calibration& calibration);

}  // namespace tarvek::tools
