// extractor/ReadingLimits.h: what no instrument file has more of.
// Does:     says the limits that keep time and memory in proportion to the size of a file.
// Throws:   Take a std::string without file and place; the rest nothing.
// Not here: the size of a tag (XmlPlace.h), the largest array (BinaryArray.h), how deep elements nest
//           (ElementNesting.h).
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "BinaryArray.h"
#include "NumberText.h"

namespace tarvek::extractor {

/// Names and ids that are kept or compared again and again; what follows in them does not count.
inline constexpr std::size_t kMaxKeptText = 1000;

inline std::string_view KeptText(std::string_view text) { return text.substr(0, kMaxKeptText); }

/// Of parameter groups, instrument configurations and their analysers together.
inline constexpr std::size_t kMaxHeaderBytes = std::size_t{16} << 20;

/// Room that a parameter takes beyond its texts, and that a configuration takes with them.
inline constexpr std::size_t kParamBytes = 128;
inline constexpr std::size_t kConfigurationBytes = 3 * kMaxKeptText;

/// Of one instrument, looked through for each spectrum.
inline constexpr std::size_t kMaxAnalysers = 100;

/// References to parameter groups may stand for so much text, and for so much more with each element
/// of the file.
inline constexpr std::uint64_t kFreeGroupBytes = std::uint64_t{64} << 20;
inline constexpr std::uint64_t kGroupBytesPerElement = 2000;

/// Base64 of a number of 64 bits, half of it blanks, and what a short array may have more.
inline constexpr std::size_t kMaxTextPerNumber = 24;
inline constexpr std::size_t kFreeArrayText = std::size_t{1} << 20;

/// The text that an array of count numbers may have.
inline std::size_t MostArrayText(std::int64_t count) {
  return kFreeArrayText +
         kMaxTextPerNumber * static_cast<std::size_t>(std::max<std::int64_t>(count, 0));
}

/// Files up to here are read in little memory, whatever they hold. Larger ones may hold more for their
/// size.
inline constexpr std::int64_t kSmallFileBytes = std::int64_t{10} << 20;

/// The numbers that an array may have in a file of so many stored bytes: in a small one as without
/// compression, in a larger one two bytes for each. All of kMaxArrayLength where the size is not
/// known, 0.
inline std::int64_t MostNumbers(std::int64_t stored_bytes) {
  constexpr std::int64_t kFree = 500'000;
  constexpr std::int64_t kBytesPerPeak = 10;
  constexpr std::int64_t kBytesPerPeakOfLarge = 2;
  if (stored_bytes <= 0) return kMaxArrayLength;
  const std::int64_t small = std::min(stored_bytes, kSmallFileBytes);
  return std::clamp(small / kBytesPerPeak + (stored_bytes - small) / kBytesPerPeakOfLarge, kFree,
                    kMaxArrayLength);
}

/// The numbers of all arrays together, in a file of so many stored bytes: a bound for the time.
inline std::int64_t MostNumbersOfFile(std::int64_t stored_bytes) {
  constexpr std::int64_t kFree = 20'000'000;
  constexpr std::int64_t kNumbersPerByte = 10;
  if (stored_bytes <= 0) return std::numeric_limits<std::int64_t>::max();
  return kFree + kNumbersPerByte * stored_bytes;
}

/// The peaks that the spectra of a file of so many stored bytes may keep, profiles picked: a bound for
/// the memory of those who hold many spectra.
inline std::int64_t MostPeaksOfFile(std::int64_t stored_bytes) {
  constexpr std::int64_t kFree = 500'000;
  constexpr double kPeaksPerByte = 0.3;
  constexpr std::int64_t kPeaksPerByteOfLarge = 5;
  if (stored_bytes <= 0) return std::numeric_limits<std::int64_t>::max();
  const std::int64_t small = std::min(stored_bytes, kSmallFileBytes);
  return kFree + static_cast<std::int64_t>(kPeaksPerByte * static_cast<double>(small)) +
         kPeaksPerByteOfLarge * (stored_bytes - small);
}

/// What the stored size of a file allows.
struct SizeLimits {
  explicit SizeLimits(std::int64_t stored_bytes = 0)
      : m_of_array(MostNumbers(stored_bytes)), m_of_file(MostNumbersOfFile(stored_bytes)) {}

  /// Takes the numbers of an array from those of the file; throws when there are too many.
  void Take(std::size_t numbers) {
    m_of_file -= static_cast<std::int64_t>(numbers);
    if (m_of_file < 0)
      throw std::string("the arrays of the file hold more numbers than one of its size can");
  }

  std::int64_t m_of_array;
  std::int64_t m_of_file;
};

/// Counts the elements of a file of so many stored bytes: a bound for the time of one that unpacks to a
/// hundred times its size. Packed spectra and results have more than four bytes for each.
class ElementLimit {
 public:
  explicit ElementLimit(std::int64_t stored_bytes = 0)
      : m_left(stored_bytes <= 0 ? std::numeric_limits<std::int64_t>::max()
                                 : kFree + stored_bytes) {}

  /// Throws when there are too many.
  void Take() {
    if (--m_left < 0) throw std::string("the file has more elements than one of its size can");
  }

 private:
  static constexpr std::int64_t kFree = 2'000'000;
  std::int64_t m_left;
};

/// A number that an m/z, a time, a voltage can be; sums and products with it stay finite.
inline std::optional<double> PossibleReal(std::string_view text) {
  constexpr double kMost = 1e9;
  const std::optional<double> value = FiniteReal(text);
  return value && std::fabs(*value) <= kMost ? value : std::nullopt;
}

/// A gzip file may unpack to so much, and to so many times its own size.
inline constexpr std::int64_t kFreeUnpackedBytes = std::int64_t{256} << 20;
inline constexpr std::int64_t kMaxUnpackedRatio = 100;

}  // namespace tarvek::extractor
