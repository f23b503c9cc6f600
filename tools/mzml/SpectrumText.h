// tools/mzml/SpectrumText.h: the text of one spectrum of an mzML file.
// Does:     reads the declared precursor of a spectrum; replaces its selected ions, id and index
//           and keeps every other byte.
// Throws:   nothing but std::bad_alloc.
// Not here: which ions (mzml/RunPrecursors.h), the file around the spectra (mzml/Copy.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "SpectrumRecords.h"

namespace tarvek::tools {

/// What a spectrum declares. The first precursor counts.
struct SpectrumFacts {
  bool m_has_precursor = false;  // an element that selected ions can be put into
  std::size_t m_ions = 0;
  std::optional<double> m_ion_mz;     // of the first selected ion
  std::optional<double> m_target_mz;  // of the isolation window
  std::optional<double> m_rt_s;
};

/// spectrum: from "<spectrum" to "</spectrum>".
SpectrumFacts FactsOf(std::string_view spectrum);

/// The spectrum with these selected ions in its first precursor instead of its own. m/z have six
/// decimals; m/z and charges have no signs. Unchanged without a precursor.
std::string WithSelectedIons(std::string_view spectrum, std::span<const Precursor> ions);

/// The spectrum with another id, escaped as in XML, and another index.
std::string WithIdAndIndex(std::string_view spectrum, std::string_view id, std::int64_t index);

}  // namespace tarvek::tools
