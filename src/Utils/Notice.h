// Utils/Notice.h: notices from readers, writers and settings to the user.
// Does:     names the levels of a notice and the type of function that takes it: logMessage in a
//           run, TakeSilently in a tool. So readers and writers never print.
// Throws:   nothing.
// Not here: where a notice is shown (log/Logger.h).
#pragma once

#include <string_view>

namespace tarvek {

inline constexpr std::string_view kInfo = "INFO";
inline constexpr std::string_view kWarn = "WARN";

/// Takes a notice of kInfo or kWarn; the texts are borrowed for the call.
using NoticeTaker = void (*)(std::string_view level, std::string_view text);

/// Drops the notice.
inline void TakeSilently(std::string_view, std::string_view) {}

}  // namespace tarvek
