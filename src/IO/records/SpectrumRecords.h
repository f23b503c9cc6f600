// IO/records/SpectrumRecords.h: the in-memory records of spectra.
// Does:     plain values that every reader produces and every writer consumes.
// Owns:     each record owns its lists and texts.
// Throws:   nothing.
// Not here: file formats; they are in IO/.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarvek {

/// One centroid: m/z in Th and intensity in arbitrary units.
struct Peak {
  double m_mz = 0.0;
  double m_intensity = 0.0;
};

/// Monoisotopic m/z in Th and signed charge of one precursor ion; a negative charge is a negative
/// ion.
struct Precursor {
  double m_mz = 0.0;
  std::int32_t m_charge = 0;
};

/// No scan declares more; each is a copy of its peaks in MGF.
inline constexpr std::size_t kMaxDeclaredPrecursors = 100;

/// What speaks for a precursor that was determined together with the others of its scan.
struct PrecursorEvidence {
  double m_probability = 0.0;  // that an ion of its m/z and charge was isolated
  double m_share = 0.0;        // of the ion current in the isolation window
};

/// One survey scan. Readers return its peaks in ascending m/z.
struct MS1Spectrum {
  std::int32_t m_scan_no = 0;
  double m_rt = 0.0;  // seconds
  double m_ion_injection_time = 0.0;
  std::string m_instrument_type;
  std::vector<Peak> m_peaks;
};

/// One MS2 scan. Readers return its peaks in ascending m/z.
struct MS2Spectrum {
  std::int32_t m_scan_no = 0;
  std::int32_t m_precursor_scan = 0;  // the MS1 scan that the instrument took the precursor from
  double m_activation_center = 0.0;   // m/z of the centre of the isolation window
  double m_rt = 0.0;                  // seconds
  double m_ion_injection_time = 0.0;
  std::string m_activation_type;
  std::string m_instrument_type;
  std::vector<Precursor> m_orig_precursors;  // as the input declared them
  std::vector<Precursor> m_precursors;       // as they are exported
  std::vector<Peak> m_peaks;
  std::vector<PrecursorEvidence> m_evidence{};  // parallel to m_precursors, or empty
  std::string m_peak_lines{};  // the text of m_peaks with the digits of the outputs, or empty
};

/// One row of the scan table that accompanies a binary spectrum file.
struct ScanTableEntry {
  std::int32_t m_scan_no = 0;
  std::int32_t m_precursor_scan = 0;  // kNoPrecursorScan marks an MS1 scan
  double m_activation_center = 0.0;
  double m_rt = 0.0;
  double m_ion_injection_time = 0.0;
  std::string m_activation_type;
  std::string m_instrument_type;
  std::int32_t m_peak_num = 0;
  std::int64_t m_start_pos = 0;
  std::int64_t m_end_pos = 0;
  std::int32_t m_lower_charge = 0;
  double m_mono_mz = 0.0;
};

/// MS2 scans of other activation or instrument types are left out.
inline constexpr std::array<std::string_view, 5> kActivationTypes = {"CID", "HCD", "ETD", "ETCID",
                                                                     "ETHCD"};
inline constexpr std::array<std::string_view, 4> kInstrumentTypes = {"IT", "FT", "ITMS", "FTMS"};

inline bool IsKnownActivation(std::string_view type) {
  return std::ranges::find(kActivationTypes, type) != kActivationTypes.end();
}
inline bool IsKnownInstrument(std::string_view type) {
  return std::ranges::find(kInstrumentTypes, type) != kInstrumentTypes.end();
}

/// Whether tarvek processes this activation and instrument type.
inline bool IsProcessed(const MS2Spectrum& scan) {
  return IsKnownActivation(scan.m_activation_type) && IsKnownInstrument(scan.m_instrument_type);
}

/// Proton mass in Da: CODATA 1.00727647, kept at six decimals because every exported m/z carries
/// this rounding.
inline constexpr double kProtonMass = 1.007276;

/// Assumed when none is declared: the commonest charge of tryptic peptides.
inline constexpr std::int32_t kAssumedCharge = 2;

/// In a scan table: marks an MS1 scan.
inline constexpr std::int32_t kNoPrecursorScan = -1;

/// An m/z or mass counts as absent below this absolute value, an intensity up to it.
inline constexpr double kZeroTolerance = 1e-6;

/// Largest number of peaks in one record of a binary spectrum file.
inline constexpr std::int32_t kMaxMsbPeaks = 10000;

/// M+H, the singly protonated mass in Da, from m/z and charge (1 or more); and back.
inline double SinglyProtonatedMass(double mz, std::int32_t charge) {
  return mz * charge - (charge - 1) * kProtonMass;
}
inline double MzOfMass(double singly_protonated_da, std::int32_t charge) {
  return (singly_protonated_da + (charge - 1) * kProtonMass) / charge;
}

/// A precursor without m/z or charge is useless and never exported.
inline bool IsUsable(const Precursor& precursor) {
  const bool absent_mz = precursor.m_mz > -kZeroTolerance && precursor.m_mz < kZeroTolerance;
  return !absent_mz && precursor.m_charge != 0;
}

/// Sorts by ascending m/z; peaks of equal m/z keep their order. A NaN, which binary input can
/// contain, comes after every number.
inline void SortByMz(std::vector<Peak>& peaks) {
  constexpr auto ascending = [](const Peak& a, const Peak& b) {
    return a.m_mz < b.m_mz || (std::isnan(b.m_mz) && !std::isnan(a.m_mz));
  };
  if (!std::ranges::is_sorted(peaks, ascending)) std::ranges::stable_sort(peaks, ascending);
}

/// Empties a record for the next read, keeping the capacity of its lists.
inline void Clear(MS1Spectrum& scan) {
  scan.m_scan_no = 0;
  scan.m_rt = scan.m_ion_injection_time = 0.0;
  scan.m_instrument_type.clear();
  scan.m_peaks.clear();
}

inline void Clear(MS2Spectrum& scan) {
  scan.m_scan_no = scan.m_precursor_scan = 0;
  scan.m_activation_center = scan.m_rt = scan.m_ion_injection_time = 0.0;
  scan.m_activation_type.clear();
  scan.m_instrument_type.clear();
  scan.m_orig_precursors.clear();
  scan.m_precursors.clear();
  scan.m_evidence.clear();
  scan.m_peak_lines.clear();
  scan.m_peaks.clear();
}

}  // namespace tarvek
