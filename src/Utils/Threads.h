// Utils/Threads.h: how many threads a run may use.
// Does:     reads the environment variable TARVEK_THREADS, else asks the machine.
// Throws:   std::string naming the variable when its value is no number of threads.
// Not here: what the threads do; no result depends on how many they are.
#pragma once

#include <cstddef>

namespace tarvek {

inline constexpr const char* kThreadsVariable = "TARVEK_THREADS";

/// TARVEK_THREADS, a whole number of 1 or more; without it, or when it is empty, as many threads as
/// the machine runs at once. At least 1. With 1 the thread that asks is to do everything itself.
std::size_t ThreadsAllowed();

}  // namespace tarvek
