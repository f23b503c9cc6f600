#include "ipv/AveragineTable.h"

#include <algorithm>
#include <limits>

#include "Check.h"
#include "SpectrumRecords.h"

namespace tarvek::tools {
namespace {

// Coefficient k: the abundance of the isotope k nominal mass units above the lightest.
using IsotopeAbundances = std::array<double, kPeaks>;

// Representative isotopic compositions of the elements, IUPAC Technical Report 2009 (Berglund and
// Wieser, Pure Appl. Chem. 83, 397, 2011). Order of Element.
constexpr std::array<IsotopeAbundances, kElementCount> kNaturalAbundances{{
    {0.9893, 0.0107},                       // 12C, 13C
    {0.999885, 0.000115},                   // 1H, 2H
    {0.99636, 0.00364},                     // 14N, 15N
    {0.99757, 0.00038, 0.00205},            // 16O, 17O, 18O
    {0.9499, 0.0075, 0.0425, 0.0, 0.0001},  // 32S, 33S, 34S, 36S
}};

// Averagine, the mean amino acid residue: Senko, Beu and McLafferty, J. Am. Soc. Mass Spectrom. 6,
// 229 (1995). Order of Element.
constexpr AtomCounts kAveragine{4.9384, 7.7583, 1.3577, 1.4773, 0.0417};
constexpr double kAveragineMassDa = 111.1254;

// 15.000109 - 14.003074, the atomic masses of 15N and 14N in Da.
constexpr double kN15ShiftDa = 0.997035;

constexpr const char* kModule = "IsotopeTable";

bool IsEnrichment(std::optional<double> n15_enrichment) {
  return !n15_enrichment || (*n15_enrichment > 0.0 && *n15_enrichment <= 1.0);
}

/// Multiplies a truncated polynomial by factor; coefficients beyond its length are dropped.
void MultiplyBy(std::vector<double>& polynomial, const IsotopeAbundances& factor) {
  for (std::size_t k = polynomial.size(); k-- > 0;) {
    double sum = 0.0;
    for (std::size_t j = 0; j < factor.size() && j <= k; ++j) sum += polynomial[k - j] * factor[j];
    polynomial[k] = sum;
  }
}

/// A mixture in which the given fraction of the molecules has one more atom of these abundances.
IsotopeAbundances PartOfAnAtom(const IsotopeAbundances& abundances, double fraction) {
  IsotopeAbundances part{};
  for (std::size_t k = 0; k < part.size(); ++k) part[k] = fraction * abundances[k];
  part[0] += 1.0 - fraction;
  return part;
}

/// Probabilities by nominal mass, as two polynomials: what isotopes add to the mass of M, and what
/// 14N takes from it in labelled nitrogen.
struct MassShifts {
  std::vector<double> m_gain;  // index: mass units above the lightest isotopes
  std::vector<double> m_loss;  // index: atoms of 14N; {1} without a label

  /// Sum over the losses of P(loss) * P(gain = loss + k), for k of M..M+4, scaled to a largest of
  /// 1; all zero when the largest is below the normal doubles, where digits are lost. Averagine up
  /// to the mass of the table stays far above that at any enrichment: the largest term of the sum
  /// is at least about 1e-55 * 1e-170.
  [[nodiscard]] IsotopeEnvelope Envelope() const {
    IsotopeEnvelope envelope{};
    for (std::size_t k = 0; k < envelope.size(); ++k)
      for (std::size_t loss = 0; loss < m_loss.size(); ++loss)
        envelope[k] += m_loss[loss] * m_gain[loss + k];
    const double largest = *std::ranges::max_element(envelope);
    if (largest < std::numeric_limits<double>::min()) return {};
    for (double& intensity : envelope) intensity /= largest;
    return envelope;
  }
};

/// The envelopes of a growing molecule: each whole atom is multiplied in once for all rows of a
/// table.
class GrowingMolecule {
 public:
  /// max_nitrogen: the largest nitrogen count that EnvelopeAt will get.
  GrowingMolecule(double max_nitrogen, std::optional<double> n15_enrichment)
      : m_is_labelled(n15_enrichment.has_value()) {
    TARVEK_CHECK(IsEnrichment(n15_enrichment), "0 < enrichment && enrichment <= 1", kModule);
    if (m_is_labelled) {
      m_abundances[kNitrogen] = {*n15_enrichment, 1.0 - *n15_enrichment};
    }
    // Losses go from 0 to all atoms; the last atom may be a fraction.
    const std::size_t max_loss =
        m_is_labelled ? static_cast<std::size_t>(max_nitrogen) + std::size_t{1} : 0;
    m_whole.m_loss.assign(max_loss + 1, 0.0);
    m_whole.m_gain.assign(max_loss + kPeaks, 0.0);
    m_whole.m_loss[0] = 1.0;
    m_whole.m_gain[0] = 1.0;
  }

  /// No count may be below that of an earlier call.
  IsotopeEnvelope EnvelopeAt(const AtomCounts& counts) {
    for (std::size_t element = 0; element < kElementCount; ++element)
      AddWholeAtoms(element, counts[element]);
    MassShifts shifts = m_whole;
    for (std::size_t element = 0; element < kElementCount; ++element) {
      const double fraction = counts[element] - m_whole_counts[element];
      MultiplyBy(ShiftsOf(shifts, element), PartOfAnAtom(m_abundances[element], fraction));
    }
    return shifts.Envelope();
  }

 private:
  std::vector<double>& ShiftsOf(MassShifts& shifts, std::size_t element) const {
    return m_is_labelled && element == kNitrogen ? shifts.m_loss : shifts.m_gain;
  }

  void AddWholeAtoms(std::size_t element, double count) {
    TARVEK_CHECK(count >= m_whole_counts[element], "count >= m_whole_counts[element]", kModule);
    while (m_whole_counts[element] + 1.0 <= count) {
      MultiplyBy(ShiftsOf(m_whole, element), m_abundances[element]);
      m_whole_counts[element] += 1.0;
    }
  }

  bool m_is_labelled;
  std::array<IsotopeAbundances, kElementCount> m_abundances = kNaturalAbundances;
  AtomCounts m_whole_counts{};  // the atoms in m_whole
  MassShifts m_whole;
};

}  // namespace

AtomCounts AveragineCounts(double protonated_mass_da, std::optional<double> n15_enrichment) {
  const double label_shift_da = n15_enrichment ? kAveragine[kNitrogen] * kN15ShiftDa : 0.0;
  const double neutral_mass_da = std::max(0.0, protonated_mass_da - kProtonMass);
  const double residues = neutral_mass_da / (kAveragineMassDa + label_shift_da);
  AtomCounts counts = kAveragine;
  for (double& count : counts) count *= residues;
  return counts;
}

IsotopeEnvelope EnvelopeOf(const AtomCounts& counts, std::optional<double> n15_enrichment) {
  for (const double count : counts) TARVEK_CHECK(count >= 0.0, "count >= 0.0", kModule);
  return GrowingMolecule(counts[kNitrogen], n15_enrichment).EnvelopeAt(counts);
}

std::vector<IsotopeEnvelope> ComputeIsotopeTable(std::optional<double> n15_enrichment) {
  const AtomCounts heaviest = AveragineCounts(static_cast<double>(kTableRows), n15_enrichment);
  GrowingMolecule molecule(heaviest[kNitrogen], n15_enrichment);
  std::vector<IsotopeEnvelope> rows;
  rows.reserve(kTableRows);
  for (std::size_t mass_da = 0; mass_da < kTableRows; ++mass_da)
    rows.push_back(
        molecule.EnvelopeAt(AveragineCounts(static_cast<double>(mass_da), n15_enrichment)));
  return rows;
}

}  // namespace tarvek::tools
