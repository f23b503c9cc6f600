// tools/batch/InputLook.h: what the first scans of an input say about settings.
// Does:     reads an mzML, mzXML or ms1 input from its start until enough is seen; counts declared
//           widths and charges, polarities, and the charges that isotopes in the surveys show.
// Throws:   nothing but std::bad_alloc: of an input that cannot be read nothing is known, and its
//           check reports what is wrong.
// Not here: the settings that are chosen for it (batch/AutoSettings.h).
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>

#include "SpectrumRecords.h"

namespace tarvek::tools {

/// How many MS2 scans and surveys are read: enough to see what a method does. For intact proteins
/// all MS2 scans are read, since the highest m/z limits the charges.
inline constexpr std::int64_t kFragmentsToSee = 1000;
inline constexpr std::int64_t kSurveysToSee = 10;

/// From this charge on ions are those of intact proteins.
inline constexpr std::int32_t kIntactCharge = 8;

/// An isolated ion below this m/z is rarely a peptide.
inline constexpr double kSmallIonMz = 350.0;

struct InputLook {
  std::string m_why_nothing;                        // is known; empty when the input was read
  std::int64_t m_fragments = 0;                     // MS2 scans that were read
  bool m_is_whole = false;                          // they are all that there are
  std::map<std::int64_t, std::int64_t> m_widths;    // full width in hundredths of m/z: MS2 scans
  std::map<std::int32_t, std::int64_t> m_charges;   // declared size of the charge: MS2 scans
  std::map<std::int32_t, std::int64_t> m_spacings;  // charge: strong peaks of the first surveys
  std::int64_t m_small_ions = 0;                    // MS2 scans that isolate below kSmallIonMz
  double m_highest_mz = 0.0;                        // of an isolation centre
  std::int64_t m_positive = 0;                      // scans that declare this polarity
  std::int64_t m_negative = 0;
};

InputLook LookAtInput(const std::string& path);

/// Adds to spacings the charge of each of the strongest peaks that has isotopes above it; the
/// charge follows from their spacing. peaks: ascending in m/z.
void AddSpacings(std::span<const Peak> peaks, std::map<std::int32_t, std::int64_t>& spacings);

}  // namespace tarvek::tools
