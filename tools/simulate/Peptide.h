// tools/simulate/Peptide.h: tryptic peptides: sequences, masses, isotope envelopes, charges.
// Does:     draws sequences; computes what follows from a sequence.
// Owns:     IsotopeCalculator its tables, which grow with the largest composition asked for.
// Throws:   nothing. A letter that is not an amino acid is a failed check.
// Not here: amounts and retention times (simulate/Elution.h), fragments (simulate/Fragments.h).
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ipv/AveragineTable.h"
#include "simulate/Random.h"

namespace tarvek::tools {

inline constexpr std::size_t kMinPeptideLength = 7;
inline constexpr std::size_t kMaxPeptideLength = 35;
inline constexpr std::size_t kMaxPeptideCharge = 6;

/// Whole numbers of atoms. Nitrogen that a reagent brought is never labelled and counted apart.
struct Composition {
  std::array<std::size_t, kElementCount> m_atoms{};  // by Element
  std::size_t m_reagent_nitrogen = 0;

  Composition& operator+=(const Composition& other);
};

/// A residue, cysteine carbamidomethylated; m is oxidised methionine.
Composition ResidueComposition(char residue);

/// Residues and water.
Composition PeptideComposition(std::string_view sequence);

/// All molecules of one nominal mass.
struct Isotopologue {
  int m_isotope = 0;           // mass units above the monoisotopic molecule; below it negative
  double m_mass_shift_da = 0;  // mean over its molecules, from the monoisotopic mass
  double m_fraction = 0;       // of all molecules
};

/// Monoisotopic masses and envelopes of compositions. With an n15_enrichment in (0, 1] that
/// fraction of the nitrogen is 15N, and the monoisotopic molecule holds 15N alone.
class IsotopeCalculator {
 public:
  explicit IsotopeCalculator(std::optional<double> n15_enrichment);

  [[nodiscard]] double MonoisotopicMass(const Composition& composition) const;

  /// Ascending isotopes, none below 0.0005 of all molecules.
  std::vector<Isotopologue> Envelope(const Composition& composition);

 private:
  static constexpr std::size_t kShifts = 16;
  static constexpr std::size_t kReagentNitrogen = kElementCount;
  static constexpr std::size_t kAtomKinds = kElementCount + 1;

  /// By nominal mass shift: the probability, and probability times mean mass shift.
  struct Shifts {
    std::array<double, kShifts> m_probability{};
    std::array<double, kShifts> m_moment{};
  };
  static Shifts Convolve(const Shifts& a, const Shifts& b);
  const Shifts& Power(std::size_t kind, std::size_t atoms);

  bool m_is_labelled;
  std::array<std::vector<Shifts>, kAtomKinds> m_powers;  // [kind][atoms]
};

/// 7 to 35 residues from a digest of a random protein of human amino acid frequencies.
std::string RandomTrypticPeptide(Random& random);

/// Retention in reversed-phase chromatography on an arbitrary ascending scale.
double Hydrophobicity(std::string_view sequence);

/// The fractions of charges 1 .. kMaxPeptideCharge (index charge - 1); their sum is 1. random adds
/// the peptide's own preference.
std::array<double, kMaxPeptideCharge> ChargeDistribution(std::string_view sequence,
                                                         bool is_negative, Random& random);

}  // namespace tarvek::tools
