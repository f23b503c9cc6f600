// tools/outputs/SpectrumNumbers.h: the scan numbers of the spectra of an instrument file.
// Does:     gives each spectrum the number that it had when the run was extracted.
// Owns:     the list of ids from the extraction, if it wrote one.
// Throws:   the constructor what TableReader throws.
// Not here: how an extraction numbers (docs/extractor.md).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace tarvek::tools {

/// The ending of the list's name, after the base name.
inline constexpr std::string_view kNativeIdEnding = ".nativeid.tsv";

class SpectrumNumbers {
 public:
  /// list_path: the list does not exist when the ids hold all numbers.
  explicit SpectrumNumbers(const std::string& list_path);

  /// position: of the spectrum in the file, from 0; id: its native id. std::nullopt for a spectrum
  /// that has no number of its own in the run.
  [[nodiscard]] std::optional<std::int32_t> Of(std::int64_t position, std::string_view id) const;

 private:
  std::unordered_map<std::int32_t, std::string> m_ids;  // of the scans numbered by position
};

}  // namespace tarvek::tools
