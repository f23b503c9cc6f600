// joint/EnvelopeCandidate.h: the conceivable precursors of one MS2 scan.
// Does:     collects every lane and charge with an isotope partner and an isotope in the isolation
//           window, and the declared precursors; each also some isotopes lower.
// Throws:   nothing.
// Not here: which candidates are true (JointDetermination.h).
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "EnvelopeFit.h"
#include "IsoPattern.h"
#include "IsotopeTable.h"
#include "LaneTable.h"
#include "SpectrumRecords.h"

namespace tarvek::joint {

/// The isotope positions in use: from two below the monoisotopic one to four above.
inline constexpr int kLowestPosition = -2;
inline constexpr std::size_t kPositions = kEnvelopePeaks + 2;

/// The values that all candidates of one MS2 scan share.
struct WindowOfScan {
  double m_centre;      // activation centre, m/z
  double m_half_width;  // of the isolation window, m/z
  double m_tol_ppm;     // between isotopes of one ion
  int m_max_charge;     // without sign, 1 or more
  bool m_is_negative;   // ions are negative
  const LaneTable& m_lanes;
  double m_spacing_da = kIsotopeSpacing;  // of isotopes

  /// m/z between isotope peaks of a charge.
  [[nodiscard]] double Step(int charge) const { return m_spacing_da / charge; }
  [[nodiscard]] double LowEdge() const { return m_centre - m_half_width; }
  [[nodiscard]] double HighEdge() const { return m_centre + m_half_width; }
};

/// The isolation window lets ions pass this far beyond its edges, in m/z.
inline constexpr double kEdgeMz = 0.1;

struct EnvelopeCandidate {
  double m_mz = 0.0;       // monoisotopic, positive; refined over isotopes and MS1 scans
  int m_charge = 0;        // without sign
  double m_step_mz = 0.0;  // between its isotopes
  std::array<int, kPositions> m_lanes{};            // position p is entry p - kLowestPosition
  std::array<double, kEnvelopePeaks> m_expected{};  // shares of the isotopes; their sum is 1
  double m_quick_share = 0.0;  // what its two or three best isotopes could explain in the window

  [[nodiscard]] int LaneAt(int position) const {
    return m_lanes[static_cast<std::size_t>(position - kLowestPosition)];
  }
};

/// Index of the lane at a position of an ion, of any sign and also between isotopes.
int LaneAtPosition(const WindowOfScan& window, const EnvelopeCandidate& candidate, double position);

/// All candidates, in ascending order of charge and m/z; at most most of them, those that could
/// explain the most. declared: the precursors that the input declares.
void CollectCandidates(const WindowOfScan& window, const std::vector<Precursor>& declared,
                       std::size_t most, std::vector<EnvelopeCandidate>& candidates);

}  // namespace tarvek::joint
