#include "PeakLineFormat.h"

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
  for (const Peak& peak : peaks) {
    AppendFixed(text, peak.m_mz, mz_decimals);
    text.push_back(' ');
    AppendFixed(text, peak.m_intensity, intensity_decimals);
    text.push_back('\n');
  }
}

}  // namespace tarvek
