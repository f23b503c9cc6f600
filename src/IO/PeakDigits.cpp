#include "PeakDigits.h"

#include <array>

#include "NumberText.h"

namespace tarvek {

namespace {

// write: as WriteFixed, for one number of a peak.
template <class AnyPeak, class Write>
void AppendLines(std::string& text, std::span<AnyPeak> peaks, PeakDigits digits, Write write) {
  // Lines gather in a block of plain characters: appending each number to text costs more than
  // writing it.
  constexpr std::size_t kMaxLine = 2 * kMaxFixedText + 2;
  std::array<char, 16 * kMaxLine> block;
  char* p = block.data();
  const char* const full = block.data() + block.size() - kMaxLine;
  for (AnyPeak& peak : peaks) {
    p = write(p, peak.m_mz, digits.m_mz);
    *p++ = ' ';
    p = write(p, peak.m_intensity, digits.m_intensity);
    *p++ = '\n';
    if (p <= full) continue;
    text.append(block.data(), p);
    p = block.data();
  }
  text.append(block.data(), p);
}

}  // namespace

void AppendPeakLines(std::string& text, std::span<const Peak> peaks, PeakDigits digits) {
  AppendLines(text, peaks, digits, WriteFixed);
}

void AppendAndRoundPeakLines(std::string& text, std::span<Peak> peaks, PeakDigits digits) {
  AppendLines(text, peaks, digits, WriteRounded);
}

}  // namespace tarvek
