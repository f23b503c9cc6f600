#include "PeakLineFormat.h"

#include <array>
#include <string_view>

#include "Check.h"
#include "NumberText.h"

namespace tarvek {
namespace {

constexpr std::size_t kMzDigitAt = 2;
constexpr std::size_t kIntensityDigitAt = 7;

std::string& InstalledFormat() {
  static std::string format = "%.5f %.1f\n";
  return format;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool IsPeakLineFormat(std::string format) {
  constexpr std::string_view kForm = "%.Nf %.Mf\n";
  if (format.size() != kForm.size() || !IsDigit(format[kMzDigitAt]) ||
      !IsDigit(format[kIntensityDigitAt]))
    return false;
  format[kMzDigitAt] = 'N';
  format[kIntensityDigitAt] = 'M';
  return format == kForm;
}

}  // namespace

void SetPeakLineFormat(const std::string& format) {
  TARVEK_CHECK(IsPeakLineFormat(format), "IsPeakLineFormat(format)", "PeakLineFormat");
  InstalledFormat() = format;
}

const std::string& GetPeakLineFormat() { return InstalledFormat(); }

void AppendPeakLines(std::string& text, std::span<const Peak> peaks) {
  const int mz_decimals = InstalledFormat()[kMzDigitAt] - '0';
  const int intensity_decimals = InstalledFormat()[kIntensityDigitAt] - '0';
  // Lines gather in a block of plain characters: appending each number to text costs more than
  // writing it.
  constexpr std::size_t kMaxLine = 2 * kMaxFixedText + 2;
  std::array<char, 16 * kMaxLine> block;
  char* p = block.data();
  const char* const full = block.data() + block.size() - kMaxLine;
  for (const Peak& peak : peaks) {
    p = WriteFixed(p, peak.m_mz, mz_decimals);
    *p++ = ' ';
    p = WriteFixed(p, peak.m_intensity, intensity_decimals);
    *p++ = '\n';
    if (p <= full) continue;
    text.append(block.data(), p);
    p = block.data();
  }
  text.append(block.data(), p);
}

}  // namespace tarvek
