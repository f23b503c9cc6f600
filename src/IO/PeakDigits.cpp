#include "PeakDigits.h"

#include <array>

#include "NumberText.h"

namespace tarvek {

void AppendPeakLines(std::string& text, std::span<const Peak> peaks, PeakDigits digits) {
  // Lines gather in a block of plain characters: appending each number to text costs more than
  // writing it.
  constexpr std::size_t kMaxLine = 2 * kMaxFixedText + 2;
  std::array<char, 16 * kMaxLine> block;
  char* p = block.data();
  const char* const full = block.data() + block.size() - kMaxLine;
  for (const Peak& peak : peaks) {
    p = WriteFixed(p, peak.m_mz, digits.m_mz);
    *p++ = ' ';
    p = WriteFixed(p, peak.m_intensity, digits.m_intensity);
    *p++ = '\n';
    if (p <= full) continue;
    text.append(block.data(), p);
    p = block.data();
  }
  text.append(block.data(), p);
}

}  // namespace tarvek
