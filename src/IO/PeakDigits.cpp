#include "PeakDigits.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "NumberText.h"

namespace tarvek {

namespace {

// write: as WriteFixed, for one number of a peak.
template <class AnyPeak, class Write>
void AppendLines(std::string& text, std::span<AnyPeak> peaks, PeakDigits digits, Write write) {
  // Collects lines in a block of plain characters: appending each number to text costs more than
  // writing its digits.
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

double PowerOfTen(int exponent) {
  double power = 1.0;
  for (; exponent > 0; --exponent) power *= 10.0;
  return power;
}

constexpr std::size_t kBlockPeaks = 32;

/// Rounds a block of peaks with one multiplication and one division per number and without a
/// branch, so that the machine does both numbers of a peak at once.
class PeakRounder {
 public:
  explicit PeakRounder(PeakDigits digits)
      : m_powers{PowerOfTen(digits.m_mz), PowerOfTen(digits.m_intensity)},
        m_write_mz(ScaledWriterFor(digits.m_mz)),
        m_write_intensity(ScaledWriterFor(digits.m_intensity)) {}

  /// Rounds the numbers to what their text reads back as. False, with peaks unchanged, when one
  /// number needs its exact digits (near a half) or is large or negative. Below 2^40 the product is
  /// off by less than 2^-13.
  bool Round(std::span<Peak> peaks) {
    constexpr double kLimit = 1099511627776.0;  // 2^40
    constexpr double kOffHalf = 0.4998;
    std::array<Peak, kBlockPeaks> rounded;
    bool is_plain = true;
    for (std::size_t i = 0; i < peaks.size(); ++i) {
      const std::array<double, 2> products = {peaks[i].m_mz * m_powers[0],
                                              peaks[i].m_intensity * m_powers[1]};
      std::array<double, 2> whole;
      for (std::size_t k = 0; k < 2; ++k) {
        m_shifted[i][k] = products[k] + kToWhole;
        whole[k] = m_shifted[i][k] - kToWhole;
        is_plain &= products[k] > 0.0;
        is_plain &= products[k] < kLimit;
        is_plain &= std::fabs(products[k] - whole[k]) < kOffHalf;
      }
      rounded[i] = {whole[0] / m_powers[0], whole[1] / m_powers[1]};
    }
    if (is_plain) std::copy_n(rounded.begin(), peaks.size(), peaks.begin());
    return is_plain;
  }

  /// Appends the lines of the last count peaks that Round took.
  void AppendLines(std::string& text, std::size_t count) const {
    constexpr std::size_t kMaxLine = 64;  // 2^40 has 13 digits
    std::array<char, kBlockPeaks * kMaxLine> block;
    char* p = block.data();
    for (std::size_t i = 0; i < count; ++i) {
      p = m_write_mz(p, Digits(m_shifted[i][0]));
      *p++ = ' ';
      p = m_write_intensity(p, Digits(m_shifted[i][1]));
      *p++ = '\n';
    }
    text.append(block.data(), p);
  }

 private:
  // Adding it rounds a number below 2^51 to an integer, in the lowest bits of the sum.
  static constexpr double kToWhole = 4503599627370496.0;  // 2^52

  static std::uint64_t Digits(double shifted) {
    return std::bit_cast<std::uint64_t>(shifted) - std::bit_cast<std::uint64_t>(kToWhole);
  }

  std::array<double, 2> m_powers;
  ScaledWriter m_write_mz;
  ScaledWriter m_write_intensity;
  std::array<std::array<double, 2>, kBlockPeaks> m_shifted{};
};

}  // namespace

void AppendPeakLines(std::string& text, std::span<const Peak> peaks, PeakDigits digits) {
  AppendLines(text, peaks, digits, WriteFixed);
}

void AppendAndRoundPeakLines(std::string& text, std::span<Peak> peaks, PeakDigits digits) {
  PeakRounder rounder(digits);
  for (std::size_t first = 0; first < peaks.size(); first += kBlockPeaks) {
    const std::span<Peak> block = peaks.subspan(first, std::min(kBlockPeaks, peaks.size() - first));
    if (rounder.Round(block))
      rounder.AppendLines(text, block.size());
    else
      AppendLines(text, block, digits, WriteRounded);
  }
}

}  // namespace tarvek
