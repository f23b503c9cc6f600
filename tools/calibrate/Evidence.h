// tools/calibrate/Evidence.h: what one fragment spectrum says about the m/z scales.
// Does:     finds small ions of peptides, ladders of residues that begin at them, and pairs of
//           fragments that add up to a precursor.
// Owns:     its working memory, reused from scan to scan.
// Throws:   nothing but std::bad_alloc.
// Not here: combining spectra (calibrate/Estimator.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "SpectrumRecords.h"

namespace tarvek::tools {

/// One fragment spectrum with the precursors that were determined for it.
struct FragmentScan {
  std::int32_t m_scan_no = 0;
  double m_rt_s = 0.0;
  std::string_view m_activation;
  std::string_view m_analyser;
  std::span<const Peak> m_peaks;  // ascending in m/z
  std::span<const Precursor> m_precursors;
};

/// A peak near the m/z that a fragment ion of peptides has.
struct IonMatch {
  double m_mz = 0.0;   // of the ion
  double m_ppm = 0.0;  // of the peak, from there
};

/// Two fragments of charge 1 that may be the halves of a precursor.
struct FragmentPair {
  double m_low_mz = 0.0;
  double m_high_mz = 0.0;
  double m_precursor_mz_times_charge = 0.0;
  double m_ppm = 0.0;  // precursor less fragments, of the last number
};

class EvidenceFinder {
 public:
  /// All peaks within kModeRangePpm of small ions.
  std::span<const IonMatch> SmallIonMatches(const FragmentScan& scan);

  /// Peaks that are reached from a small y or b ion by adding residues, from kSmallIonsEndMz on; only
  /// the most intense peaks, each once for an ion. A step that is more than 6 ppm off does not
  /// count.
  std::span<const IonMatch> LadderMatches(const FragmentScan& scan);

  /// Pairs within 35 ppm of a precursor of charge 2 or more, among the most intense peaks.
  std::span<const FragmentPair> Pairs(const FragmentScan& scan);

 private:
  struct Rung {
    double m_mz = 0.0;  // of the ion
    double m_ppm = 0.0;
  };

  void TakeIntense(std::span<const Peak> peaks, std::size_t most);
  void AddPeaksNear(double mz, double centre_ppm, double half_width_ppm);
  void Climb(const Rung& rung, double end_mz);
  void AddPairs(const Precursor& precursor);

  std::vector<Peak> m_intense;  // ascending in m/z
  std::vector<IonMatch> m_matches;
  std::vector<Rung> m_found;  // by AddPeaksNear
  std::vector<Rung> m_rungs;  // to climb on from
  std::vector<FragmentPair> m_pairs;
};

}  // namespace tarvek::tools
