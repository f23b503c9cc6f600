// Utils/Notice.h: what readers, writers and settings have to tell people.
// Does:     names the levels of a notice and the form of who takes it: logMessage in a run, nobody
//           in a tool, so that what reads or writes never prints by itself.
// Throws:   nothing.
// Not here: where a notice is shown (log/Logger.h).
#pragma once

#include <string_view>

namespace tarvek {

inline constexpr std::string_view kInfo = "INFO";
inline constexpr std::string_view kWarn = "WARN";

/// Takes a notice of kInfo or kWarn; the texts are borrowed for the call.
using NoticeTaker = void (*)(std::string_view level, std::string_view text);

/// Takes notices and keeps them to itself.
inline void TakeSilently(std::string_view, std::string_view) {}

}  // namespace tarvek
