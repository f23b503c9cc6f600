// tools/simulate/Fragments.h: the fragments of a peptide ion.
// Does:     gives the fragment ions of a peptide with their isotope peaks and currents.
// Owns:     the masses of the residues.
// Throws:   nothing.
// Not here: how they are measured (simulate/Instrument.h).
#pragma once

#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include "simulate/Elution.h"
#include "simulate/Instrument.h"
#include "simulate/Peptide.h"

namespace tarvek::tools {

class Fragmenter {
 public:
  /// realism: see simulate/Realism.h.
  Fragmenter(std::optional<double> n15_enrichment, bool is_negative, double realism = 0.0);

  /// Appends the fragments of the peptide's ion with this number of charges, unsorted; their
  /// currents add up to current. activation: one of kActivationTypes. The same peptide and
  /// activation always give the same pattern.
  void Append(const Peptide& peptide, int charges, std::string_view activation, double current,
              std::vector<Emission>& emissions) const;

 private:
  struct Shower;
  enum class Losses { kNo, kYes };
  void AppendCut(Shower& shower, double prefix_da, double suffix_da, double weight) const;
  void AppendSeries(Shower& shower, double mass_da, double weight, Losses losses) const;
  void AppendFragment(Shower& shower, double mass_da, double weight) const;
  void AppendIsotopes(Shower& shower, double mass_da, int charges, double weight) const;

  bool m_is_negative;
  double m_realism;
  double m_ammonia_da = 0.0;
  std::array<double, 26 + 32> m_residue_da{};  // by letter, A to z
};

}  // namespace tarvek::tools
