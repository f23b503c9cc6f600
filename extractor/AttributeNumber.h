// extractor/AttributeNumber.h: numbers in attributes of instrument files.
// Does:     reads a finite real, or nothing.
// Throws:   nothing.
// Not here: arrays (BinaryArray.h).
#pragma once

#include <cmath>
#include <optional>
#include <string_view>

#include "NumberText.h"

namespace tarvek::extractor {

/// The number that text begins with; nothing when there is none or it is not finite.
inline std::optional<double> FiniteReal(std::string_view text) {
  const auto scanned = ScanReal(text);
  if (scanned.m_status == NumberStatus::kNoDigits || !std::isfinite(scanned.m_value))
    return std::nullopt;
  return scanned.m_value;
}

}  // namespace tarvek::extractor
