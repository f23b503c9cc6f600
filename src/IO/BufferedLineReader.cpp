#include "BufferedLineReader.h"

#include <algorithm>

#include "LineReader.h"

namespace tarvek {

bool BufferedLineReader::ReadLine(std::string_view& line) {
  m_line.clear();
  while (true) {
    if (m_position == m_buffer.size()) Refill();
    const char c = m_buffer[m_position];
    if (c == '\0') return false;
    ++m_position;
    if (c == '\n') {
      line = m_line;
      return true;
    }
    m_line.push_back(c);
    if (m_line.size() == kMaxLineLength) throw "Line " + m_line + " is too long!";
  }
}

// Fills the whole buffer; at the end of the file the rest of it is NUL bytes.
void BufferedLineReader::Refill() {
  std::size_t filled = 0;
  while (filled < m_buffer.size()) {
    const std::size_t count = m_file->Read(m_buffer.data() + filled, m_buffer.size() - filled);
    if (count == 0) break;
    filled += count;
  }
  std::fill(m_buffer.begin() + static_cast<std::ptrdiff_t>(filled), m_buffer.end(), '\0');
  m_position = 0;
}

}  // namespace tarvek
