// Utils/ProductTexts.h: names and addresses that are shown to users.
// Does:     keeps each of them in one place.
// Throws:   nothing.
// Not here: the sentences around them.
#pragma once

#include <string_view>

namespace tarvek {

inline constexpr std::string_view kMaker = "Tarvek developers";
inline constexpr std::string_view kWebSite = "https://tarvek.example";
inline constexpr std::string_view kSupportAddress = "support@tarvek.example";

}  // namespace tarvek
