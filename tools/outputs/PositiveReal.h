// tools/outputs/PositiveReal.h: the check of options that are a number above 0.
// Does:     refuses what CLI::PositiveNumber lets pass: "nan", which is in no order with 0, and
//           infinity, which no tolerance or width is.
// Throws:   nothing itself; CLI11 turns the text into an error that names the option.
#pragma once

#include <CLI/CLI.hpp>
#include <cmath>
#include <string>

#include "NumberText.h"

namespace tarvek::tools {

inline CLI::Validator PositiveReal() {
  return {[](const std::string& text) -> std::string {
            const ScannedNumber<double> number = ScanReal(text);
            const bool is_positive = number.m_status == NumberStatus::kOk &&
                                     std::isfinite(number.m_value) && number.m_value > 0.0;
            return is_positive ? "" : "must be a number above 0, not " + text;
          },
          "POSITIVE"};
}

}  // namespace tarvek::tools
