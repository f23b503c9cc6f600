// tools/ipv/AveragineTable.h: expected isotope envelopes of average peptides.
// Does:     computes, per singly protonated mass, the relative intensities of M..M+4 of averagine.
//           Only sums, products and quotients, in a fixed order: every machine gets the same
//           digits.
// Owns:     nothing; results are values.
// Throws:   nothing. An enrichment outside (0, 1], a negative or an undefined atom count is a
//           failed check.
// Not here: the text of the table and the command line (ipv/Command.h).
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

namespace tarvek::tools {

inline constexpr std::size_t kTableRows = 15000;
inline constexpr std::size_t kPeaks = 5;

/// The fraction of 15N that labelled media usually give.
inline constexpr double kUsualEnrichment = 0.99;

/// Intensities of M, M+1, .. M+4 (peaks of one nominal mass each), the largest of the five being 1.
using IsotopeEnvelope = std::array<double, kPeaks>;

enum Element : std::size_t { kCarbon, kHydrogen, kNitrogen, kOxygen, kSulfur, kElementCount };

/// Mean numbers of atoms, indexed by Element; not negative, not necessarily whole.
using AtomCounts = std::array<double, kElementCount>;

/// The averagine composition of a peptide of this singly protonated mass; all zero below the mass
/// of a proton. With an n15_enrichment the mass is that of the peptide with 15N alone.
AtomCounts AveragineCounts(double protonated_mass_da, std::optional<double> n15_enrichment);

/// The envelope of a composition. A mean count between two whole numbers means a mixture of
/// molecules with either number. Without n15_enrichment nitrogen is natural and M holds the
/// lightest isotopes alone; with one, that fraction of the nitrogen is 15N, the rest 14N, and M has
/// the nominal mass of 15N alone with the lightest isotopes of the other elements. All zero when
/// none of the five is a normal double, as for some ten thousands of atoms.
IsotopeEnvelope EnvelopeOf(const AtomCounts& counts, std::optional<double> n15_enrichment);

/// kTableRows envelopes; row i belongs to the singly protonated mass of i Da.
std::vector<IsotopeEnvelope> ComputeIsotopeTable(std::optional<double> n15_enrichment);

}  // namespace tarvek::tools
