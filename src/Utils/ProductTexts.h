// Utils/ProductTexts.h: names and addresses that are shown to users.
// Does:     keeps each of them in one place; the version comes from the build.
// Throws:   nothing.
// Not here: the sentences that use them.
#pragma once

#include <string_view>

namespace tarvek {

/// "2.2.1": the version of the CMake project, for all programs.
std::string_view ProductVersion();

inline constexpr std::string_view kMaker = "Tarvek developers";
inline constexpr std::string_view kWebSite = "https://tarvek.example";
inline constexpr std::string_view kSupportAddress = "support@tarvek.example";

}  // namespace tarvek
