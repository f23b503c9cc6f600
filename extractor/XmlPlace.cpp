#include "XmlPlace.h"

#include <algorithm>
#include <cstring>

namespace tarvek::extractor {
namespace {

// Sixteen bytes that the compiler processes at once, on any machine.
using Lanes = signed char __attribute__((vector_size(16)));

// A lane cannot count further.
constexpr std::size_t kMostSteps = 127;

std::int64_t CountOf(char wanted, std::string_view bytes) {
  std::int64_t count = 0;
  while (bytes.size() >= sizeof(Lanes)) {
    const std::size_t steps = std::min(bytes.size() / sizeof(Lanes), kMostSteps);
    Lanes counts{};
    for (std::size_t i = 0; i < steps; ++i) {
      Lanes lanes;
      std::memcpy(&lanes, bytes.data() + i * sizeof(Lanes), sizeof(Lanes));
      counts -= lanes == static_cast<signed char>(wanted);  // -1 where equal
    }
    for (std::size_t i = 0; i < sizeof(Lanes); ++i) count += counts[i];
    bytes.remove_prefix(steps * sizeof(Lanes));
  }
  return count + std::ranges::count(bytes, wanted);
}

// The number of line ends of two bytes.
std::int64_t CountPairs(std::string_view bytes) {
  std::int64_t count = 0;
  for (std::size_t at = bytes.find("\r\n"); at != std::string_view::npos;
       at = bytes.find("\r\n", at + 2))
    ++count;
  return count;
}

}  // namespace

void XmlPlace::Pass(std::string_view bytes) {
  if (bytes.empty()) return;
  m_byte += static_cast<std::int64_t>(bytes.size());
  m_line += CountOf('\n', bytes);
  if (m_is_behind_cr && bytes.front() == '\n') --m_line;
  m_is_behind_cr = bytes.back() == '\r';
  if (bytes.find('\r') != std::string_view::npos)
    m_line += CountOf('\r', bytes) - CountPairs(bytes);
}

std::string XmlPlace::Text() const {
  return "line " + std::to_string(m_line) + ", byte " + std::to_string(m_byte) + ": ";
}

}  // namespace tarvek::extractor
