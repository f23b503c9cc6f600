#include "XmlPlace.h"

#include <cstring>

namespace tarvek::extractor {
namespace {

std::int64_t CountOf(char wanted, std::string_view bytes) {
  std::int64_t count = 0;
  const char* const end = bytes.data() + bytes.size();
  for (const char* at = bytes.data(); at < end; ++at, ++count) {
    at = static_cast<const char*>(std::memchr(at, wanted, static_cast<std::size_t>(end - at)));
    if (at == nullptr) break;
  }
  return count;
}

// The line ends of two bytes.
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
  if (const std::int64_t returns = CountOf('\r', bytes); returns > 0)
    m_line += returns - CountPairs(bytes);
}

std::string XmlPlace::Text() const {
  return "line " + std::to_string(m_line) + ", byte " + std::to_string(m_byte) + ": ";
}

}  // namespace tarvek::extractor
