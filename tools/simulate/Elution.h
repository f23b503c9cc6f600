// tools/simulate/Elution.h: what leaves the column, and when.
// Does:     gives the peptides and the background ions that are present at a time, and the current
//           of each.
// Owns:     the peptides that elute now; earlier ones are gone and later ones not yet drawn, so
//           that memory does not grow with the run.
// Throws:   nothing.
// Not here: spectra (simulate/Instrument.h).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "simulate/Options.h"
#include "simulate/Peptide.h"
#include "simulate/Random.h"

namespace tarvek::tools {

/// One isotope peak of an ion.
struct IonLine {
  double m_mz = 0.0;
  double m_fraction = 0.0;  // of the current of the analyte
  int m_isotope = 0;
};

struct Ion {
  int m_charge = 0;  // number of charges, positive in either polarity
  double m_mono_mz = 0.0;
  std::vector<IonLine> m_lines;  // isotopes in the range of the surveys, ascending
};

/// A skewed peak: a Gaussian convolved with an exponential decay. A second copy may follow, as a
/// shoulder or a separate peak.
struct ElutionProfile {
  double m_apex_s = 0.0;  // centre of the Gaussian
  double m_sigma_s = 1.0;
  double m_tau_s = 1.0;
  double m_second_share = 0.0;  // height of the second peak, in heights of the first
  double m_second_delay_s = 0.0;

  [[nodiscard]] double Begin() const { return m_apex_s - 4.0 * m_sigma_s; }
  [[nodiscard]] double End() const {
    return m_apex_s + m_second_delay_s + 4.0 * m_sigma_s + 7.0 * m_tau_s;
  }
  [[nodiscard]] double At(double seconds) const;  // near 1 at the top of the first peak
};

struct Peptide {
  std::string m_sequence;
  double m_mass_da = 0.0;  // monoisotopic
  double m_current = 0.0;  // charges per second near the top, all ions together
  ElutionProfile m_profile;
  std::vector<Ion> m_ions;
  std::uint64_t m_fragment_seed = 0;  // its fragments have the same pattern each time

  [[nodiscard]] double CurrentAt(double seconds) const { return m_current * m_profile.At(seconds); }
};

/// m/z of the ion of a neutral mass with this number of charges.
double MzOf(double mass_da, int charges, bool is_negative);

class PeptideStream {
 public:
  PeptideStream(const SimulateOptions& options, double gradient_s);

  /// Drops the peptides that have eluted and draws those that begin to; seconds must not decrease.
  void AdvanceTo(double seconds);

  [[nodiscard]] const std::vector<Peptide>& Present() const { return m_present; }

 private:
  void DrawSlice(std::int64_t slice);
  void AddVariant(const Peptide& peptide, Random& random);
  void SetIons(Peptide& peptide, Random& random);
  [[nodiscard]] double RetentionQuantile(const std::string& sequence) const;
  std::string DrawSequence(double apex_s, Random& random) const;

  SimulateOptions m_options;
  double m_gradient_s;
  IsotopeCalculator m_isotopes;
  std::vector<double> m_hydrophobicities;  // of many random peptides, ascending
  std::int64_t m_next_slice;
  std::vector<Peptide> m_present;
};

/// Singly charged, present throughout, its current rising and falling slowly.
struct BackgroundIon {
  Ion m_ion;
  double m_current = 0.0;
  double m_swing_ln = 0.0;
  double m_period_s = 1.0;
  double m_phase = 0.0;

  [[nodiscard]] double CurrentAt(double seconds) const;
};

std::vector<BackgroundIon> DrawBackground(const SimulateOptions& options);

}  // namespace tarvek::tools
