// Utils/Threads.h: how many threads a run may use.
// Does:     reads the environment variable TARVEK_THREADS, else asks the machine.
// Throws:   std::string naming the variable when its value is not a number of threads.
// Not here: what the threads do; no result depends on their number.
#pragma once

#include <cstddef>

namespace tarvek {

inline constexpr const char* kThreadsVariable = "TARVEK_THREADS";

/// TARVEK_THREADS, a whole number of 1 or more; when it is not set or empty, the number of threads
/// that the machine runs at once, at least 1. With 1 the caller does all work in its own thread.
std::size_t ThreadsAllowed();

}  // namespace tarvek
