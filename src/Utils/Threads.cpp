#include "Threads.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <system_error>
#include <thread>

#include "Platform.h"

namespace tarvek {

std::size_t ThreadsAllowed() {
  const std::string text = EnvironmentVariable(kThreadsVariable).value_or("");
  if (text.empty()) return std::max<std::size_t>(std::thread::hardware_concurrency(), 1);
  std::size_t threads = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, threads);
  if (error != std::errc() || stop != end || threads == 0)
    throw std::string(kThreadsVariable) + " needs a whole number of 1 or more, not \"" + text +
        "\"";
  return threads;
}

}  // namespace tarvek
