// tools/explain/Json.h: an explained scan for programs and for the page of scans.
// Does:     makes one JSON object of it; m/z are rounded to five decimals, intensities to four digits.
// Throws:   nothing but std::bad_alloc.
// Not here: the words of "explain" (explain/Text.h), the page (report/ScanPage.h).
#pragma once

#include <nlohmann/json.hpp>

#include "explain/Explanation.h"

namespace tarvek::tools {

/// How much of the candidates to print.
struct CandidateLimits {
  std::size_t m_most = 0;          // candidates; 0: all
  bool m_has_all_features = true;  // else the MainFeatures
};

/// Leaves out what all scans of a run share: is_joint, threshold and names of features.
nlohmann::ordered_json ScanJson(const Explanation& explained, const CandidateLimits& limits = {});

/// The names of the features in the order of ScanJson's "features".
nlohmann::ordered_json FeatureNamesJson(bool is_joint, const CandidateLimits& limits = {});

}  // namespace tarvek::tools
