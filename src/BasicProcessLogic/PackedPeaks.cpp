#include "PackedPeaks.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace tarvek {
namespace {

constexpr std::array<double, 10> kPowersOfTen = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};

double PowerOf(int decimals) { return kPowersOfTen[static_cast<std::size_t>(decimals)]; }

// value x power, if dividing it by power gives value again.
std::optional<std::uint64_t> WholeMultiple(double value, double power) {
  constexpr double kLimit = 9007199254740992.0;  // 2^53
  const double product = value * power + 0.5;
  if (!(product >= 0.0 && product < kLimit)) return std::nullopt;
  const auto whole = static_cast<std::uint64_t>(product);
  if (static_cast<double>(whole) / power != value) return std::nullopt;
  return whole;
}

// Seven bits per byte, the lowest first; the eighth bit says that more follow.
constexpr std::size_t kMaxNumberBytes = 8;  // for 53 bits

unsigned char* PutNumber(unsigned char* out, std::uint64_t number) {
  for (; number >= 0x80; number >>= 7) *out++ = static_cast<unsigned char>(number | 0x80);
  *out++ = static_cast<unsigned char>(number);
  return out;
}

const unsigned char* TakeNumber(const unsigned char* in, std::uint64_t& number) {
  number = 0;
  for (int shift = 0;; shift += 7) {
    const unsigned char byte = *in++;
    number |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
    if ((byte & 0x80) == 0) return in;
  }
}

}  // namespace

bool PackedPeaks::Pack(std::span<const Peak> peaks, PeakDigits digits) {
  m_digits = digits;
  m_count = peaks.size();
  m_bytes.clear();
  std::vector<unsigned char> bytes(peaks.size() * 2 * kMaxNumberBytes);
  unsigned char* out = bytes.data();
  const double mz_power = PowerOf(digits.m_mz);
  const double intensity_power = PowerOf(digits.m_intensity);
  std::uint64_t last_mz = 0;
  for (const Peak& peak : peaks) {
    const auto mz = WholeMultiple(peak.m_mz, mz_power);
    const auto intensity = WholeMultiple(peak.m_intensity, intensity_power);
    if (!mz || !intensity || *mz < last_mz) return false;
    out = PutNumber(out, *mz - last_mz);
    out = PutNumber(out, *intensity);
    last_mz = *mz;
  }
  m_bytes.assign(bytes.data(), out);  // without spare capacity
  return true;
}

void PackedPeaks::Unpack(std::vector<Peak>& peaks) const {
  peaks.resize(m_count);
  const unsigned char* in = m_bytes.data();
  const double mz_power = PowerOf(m_digits.m_mz);
  const double intensity_power = PowerOf(m_digits.m_intensity);
  std::uint64_t mz = 0;
  for (Peak& peak : peaks) {
    std::uint64_t difference = 0;
    std::uint64_t intensity = 0;
    in = TakeNumber(in, difference);
    in = TakeNumber(in, intensity);
    mz += difference;
    peak = {static_cast<double>(mz) / mz_power, static_cast<double>(intensity) / intensity_power};
  }
}

}  // namespace tarvek
