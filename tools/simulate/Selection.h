// tools/simulate/Selection.h: which precursors the instrument takes from a survey.
// Does:     picks the most intense peaks that are not excluded, and declares m/z and charge for
//           them, with the errors that instruments make.
// Owns:     the list of excluded m/z.
// Throws:   nothing.
// Not here: when surveys are taken (simulate/Acquisition.h).
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "simulate/Elution.h"
#include "simulate/Instrument.h"
#include "simulate/Options.h"
#include "simulate/Random.h"

namespace tarvek::tools {

/// Between neighbouring isotope peaks of peptides.
inline constexpr double kMeanSpacingDa = 1.00286;

/// An ion that is present: of a peptide, or of the background when m_peptide is null. The pointers
/// borrow from PeptideStream and the background list and last until the next survey.
struct IonSource {
  const Peptide* m_peptide = nullptr;
  const BackgroundIon* m_background = nullptr;
  const Ion* m_ion = nullptr;
  double m_current = 0.0;  // of the analyte at the time of the survey
};

struct Choice {
  double m_center_mz = 0.0;
  double m_declared_mz = 0.0;
  int m_declared_charges = 0;  // 0: unknown
  std::int32_t m_source = kNoSource;
};

class PrecursorSelector {
 public:
  explicit PrecursorSelector(const SimulateOptions& options);

  /// At most m_top choices, descending in intensity. survey: ascending; their m_source are indices
  /// into sources.
  std::vector<Choice> Choose(double seconds, std::span<const Centroid> survey, double limit,
                             std::span<const IonSource> sources, Random& random);

 private:
  int DetermineCharges(const Centroid& peak, std::span<const IonSource> sources,
                       Random& random) const;
  [[nodiscard]] bool IsVisible(std::int32_t source, int isotope) const;
  Choice Declare(const Centroid& peak, int charges, double limit,
                 std::span<const IonSource> sources, Random& random) const;
  void Exclude(const Centroid& peak, const Choice& choice, double until_s, Random& random);
  void ExcludeMz(double mz, double until_s);
  [[nodiscard]] std::size_t BinOf(double mz) const;

  std::size_t m_top;
  double m_low_mz;
  std::vector<double> m_excluded_until_s;      // by bin of m/z
  std::vector<std::uint32_t> m_isotopes_seen;  // by source: bits of visible isotopes
};

}  // namespace tarvek::tools
