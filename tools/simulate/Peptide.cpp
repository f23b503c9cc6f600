#include "simulate/Peptide.h"

#include <algorithm>
#include <cmath>

#include "Check.h"

namespace tarvek::tools {
namespace {

constexpr const char* kModule = "SimulatePeptide";

struct Residue {
  char m_letter;
  Composition m_composition;  // C, H, N, O, S
  double m_percent;           // of the residues of human proteins (UniProtKB/Swiss-Prot)
  double m_retention;         // Krokhin et al., Mol. Cell. Proteomics 3, 908 (2004), table of R_c
};

// Cysteine has the carbamidomethyl group C2 H3 N O; its nitrogen comes from the reagent. m is
// oxidised methionine, which random sequences do not contain; it has methionine's retention.
constexpr std::array<Residue, 21> kResidues{{
    {'A', {{3, 5, 1, 1, 0}}, 7.01, 0.8},     {'R', {{6, 12, 4, 1, 0}}, 5.64, -1.3},
    {'N', {{4, 6, 2, 2, 0}}, 3.58, -1.2},    {'D', {{4, 5, 1, 3, 0}}, 4.73, -0.5},
    {'C', {{5, 8, 1, 2, 1}, 1}, 2.30, -0.8}, {'Q', {{5, 8, 2, 2, 0}}, 4.77, -0.9},
    {'E', {{5, 7, 1, 3, 0}}, 7.10, 0.0},     {'G', {{2, 3, 1, 1, 0}}, 6.57, -0.9},
    {'H', {{6, 7, 3, 1, 0}}, 2.63, -1.3},    {'I', {{6, 11, 1, 1, 0}}, 4.33, 8.4},
    {'L', {{6, 11, 1, 1, 0}}, 9.96, 9.6},    {'K', {{6, 12, 2, 1, 0}}, 5.72, -1.9},
    {'M', {{5, 9, 1, 1, 1}}, 2.13, 5.8},     {'F', {{9, 9, 1, 1, 0}}, 3.65, 10.5},
    {'P', {{5, 7, 1, 1, 0}}, 6.31, 0.2},     {'S', {{3, 5, 1, 2, 0}}, 8.33, -0.8},
    {'T', {{4, 7, 1, 2, 0}}, 5.36, 0.4},     {'W', {{11, 10, 2, 1, 0}}, 1.22, 11.0},
    {'Y', {{9, 9, 1, 2, 0}}, 2.66, 4.0},     {'V', {{5, 9, 1, 1, 0}}, 5.97, 5.0},
    {'m', {{5, 9, 1, 2, 1}}, 0.0, 5.8},
}};

constexpr Composition kWater{{0, 2, 0, 1, 0}};

// Masses in Da of the lightest isotopes and of the shifts to the heavier ones: Atomic Mass
// Evaluation 2003 (Audi, Wapstra and Thibault, Nucl. Phys. A 729, 337). Order of Element.
constexpr std::array<double, kElementCount> kLightestMassDa{12.0, 1.00782503207, 14.0030740048,
                                                            15.99491461956, 31.97207100};
constexpr std::array<IsotopeEnvelope, kElementCount> kMassShiftDa{{
    {0.0, 1.0033548378},                           // 13C
    {0.0, 1.0062767457},                           // 2H
    {0.0, 0.9970348934},                           // 15N
    {0.0, 1.0042170804, 2.0042463804},             // 17O, 18O
    {0.0, 0.99938776, 1.9957959, 0.0, 3.9950097},  // 33S, 34S, 36S
}};

constexpr double kSmallestFraction = 0.0005;

// One site in ten stays uncut, in addition to those before proline.
constexpr double kMissedCleavage = 0.1;

const Residue& ResidueOf(char letter) {
  const auto found = std::ranges::find(kResidues, letter, &Residue::m_letter);
  TARVEK_CHECK(found != kResidues.end(), "found != kResidues.end()", kModule);
  return *found;
}

const Residue& RandomResidue(Random& random) {
  static const std::array<double, kResidues.size()> kCumulated = [] {
    std::array<double, kResidues.size()> sums{};
    double sum = 0.0;
    for (std::size_t i = 0; i < sums.size(); ++i) sums[i] = sum += kResidues[i].m_percent;
    return sums;
  }();
  const double drawn = random.Uniform() * kCumulated.back();
  const auto found = std::ranges::upper_bound(kCumulated, drawn);
  const auto index = static_cast<std::size_t>(found - kCumulated.begin());
  return kResidues[std::min(index, kResidues.size() - 1)];
}

bool IsCutAfter(char residue) { return residue == 'K' || residue == 'R'; }

/// The residues from one cut to the next, at most one more than a peptide may have.
void DrawPeptide(Random& random, std::string& sequence) {
  sequence.clear();
  char next = RandomResidue(random).m_letter;
  while (sequence.size() <= kMaxPeptideLength) {
    const char residue = next;
    sequence.push_back(residue);
    next = RandomResidue(random).m_letter;
    if (IsCutAfter(residue) && next != 'P' && !random.Chance(kMissedCleavage)) return;
  }
}

}  // namespace

Composition& Composition::operator+=(const Composition& other) {
  for (std::size_t i = 0; i < m_atoms.size(); ++i) m_atoms[i] += other.m_atoms[i];
  m_reagent_nitrogen += other.m_reagent_nitrogen;
  return *this;
}

Composition ResidueComposition(char residue) { return ResidueOf(residue).m_composition; }

Composition PeptideComposition(std::string_view sequence) {
  Composition sum = kWater;
  for (const char residue : sequence) sum += ResidueOf(residue).m_composition;
  return sum;
}

IsotopeCalculator::IsotopeCalculator(std::optional<double> n15_enrichment)
    : m_is_labelled(n15_enrichment.has_value()) {
  for (std::size_t kind = 0; kind < kAtomKinds; ++kind) {
    const std::size_t element = kind == kReagentNitrogen ? std::size_t{kNitrogen} : kind;
    AtomCounts one_atom{};
    one_atom[element] = 1.0;
    const IsotopeEnvelope relative = EnvelopeOf(one_atom, std::nullopt);
    double sum = 0.0;
    for (const double abundance : relative) sum += abundance;
    Shifts none;
    none.m_probability[0] = 1.0;
    Shifts atom;
    for (std::size_t k = 0; k < kPeaks; ++k) {
      atom.m_probability[k] = relative[k] / sum;
      atom.m_moment[k] = atom.m_probability[k] * kMassShiftDa[element][k];
    }
    if (m_is_labelled && kind == kNitrogen) {  // shifts downwards, from 15N to 14N
      atom.m_probability[0] = *n15_enrichment;
      atom.m_probability[1] = 1.0 - *n15_enrichment;
      atom.m_moment[1] = -atom.m_probability[1] * kMassShiftDa[kNitrogen][1];
    }
    m_powers[kind] = {none, atom};
  }
}

double IsotopeCalculator::MonoisotopicMass(const Composition& composition) const {
  double mass_da = 0.0;
  for (std::size_t i = 0; i < kElementCount; ++i)
    mass_da += static_cast<double>(composition.m_atoms[i]) * kLightestMassDa[i];
  if (m_is_labelled)
    mass_da += static_cast<double>(composition.m_atoms[kNitrogen]) * kMassShiftDa[kNitrogen][1];
  return mass_da + static_cast<double>(composition.m_reagent_nitrogen) * kLightestMassDa[kNitrogen];
}

IsotopeCalculator::Shifts IsotopeCalculator::Convolve(const Shifts& a, const Shifts& b) {
  Shifts product;
  for (std::size_t i = 0; i < kShifts; ++i) {
    if (a.m_probability[i] == 0.0) continue;
    for (std::size_t j = 0; i + j < kShifts; ++j) {
      product.m_probability[i + j] += a.m_probability[i] * b.m_probability[j];
      product.m_moment[i + j] +=
          a.m_probability[i] * b.m_moment[j] + a.m_moment[i] * b.m_probability[j];
    }
  }
  return product;
}

const IsotopeCalculator::Shifts& IsotopeCalculator::Power(std::size_t kind, std::size_t atoms) {
  std::vector<Shifts>& powers = m_powers[kind];
  while (powers.size() <= atoms) powers.push_back(Convolve(powers[1], powers.back()));
  return powers[atoms];
}

std::vector<Isotopologue> IsotopeCalculator::Envelope(const Composition& composition) {
  Shifts gain = Power(kReagentNitrogen, composition.m_reagent_nitrogen);
  for (std::size_t element = 0; element < kElementCount; ++element)
    if (!m_is_labelled || element != kNitrogen)
      gain = Convolve(Power(element, composition.m_atoms[element]), gain);
  const Shifts& loss = Power(kNitrogen, m_is_labelled ? composition.m_atoms[kNitrogen] : 0);
  std::vector<Isotopologue> envelope;
  const int size = static_cast<int>(kShifts);
  for (int isotope = 1 - size; isotope < size; ++isotope) {
    double probability = 0.0;
    double moment = 0.0;
    for (int lost = std::max(0, -isotope); lost < size && isotope + lost < size; ++lost) {
      const int gained = isotope + lost;
      const auto i = static_cast<std::size_t>(lost);
      const auto j = static_cast<std::size_t>(gained);
      probability += loss.m_probability[i] * gain.m_probability[j];
      moment += loss.m_probability[i] * gain.m_moment[j] + loss.m_moment[i] * gain.m_probability[j];
    }
    if (probability >= kSmallestFraction)
      envelope.push_back({isotope, moment / probability, probability});
  }
  return envelope;
}

std::string RandomTrypticPeptide(Random& random) {
  std::string sequence;
  do {
    DrawPeptide(random, sequence);
  } while (sequence.size() < kMinPeptideLength || sequence.size() > kMaxPeptideLength);
  return sequence;
}

// Krokhin et al. 2004: sum of the coefficients, corrected for length and for high sums.
double Hydrophobicity(std::string_view sequence) {
  double sum = 0.0;
  for (const char residue : sequence) sum += ResidueOf(residue).m_retention;
  const auto length = static_cast<double>(sequence.size());
  double length_factor = 1.0;
  if (length < 10.0) length_factor = 1.0 - 0.027 * (10.0 - length);
  if (length > 20.0) length_factor = 1.0 - 0.014 * (length - 20.0);
  const double corrected = length_factor * sum;
  return corrected < 38.0 ? corrected : corrected - 0.3 * (corrected - 38.0);
}

std::array<double, kMaxPeptideCharge> ChargeDistribution(std::string_view sequence,
                                                         bool is_negative, Random& random) {
  // Sites that take up a proton, the amino end included, or that give one away, the carboxyl end
  // included.
  const std::string_view kinds = is_negative ? "DE" : "KRH";
  const auto sites = 1.0 + static_cast<double>(std::ranges::count_if(sequence, [&](char c) {
                       return kinds.find(c) != std::string_view::npos;
                     }));
  const double mean =
      0.80 + 0.40 * sites + 0.025 * static_cast<double>(sequence.size()) + 0.25 * random.Normal();
  constexpr double kDeviation = 0.5;
  std::array<double, kMaxPeptideCharge> fractions{};
  double sum = 0.0;
  for (std::size_t i = 0; i < fractions.size(); ++i) {
    const double distance = (static_cast<double>(i + 1) - mean) / kDeviation;
    sum += fractions[i] = std::exp(-0.5 * distance * distance);
  }
  for (double& fraction : fractions) fraction /= sum;
  return fractions;
}

}  // namespace tarvek::tools
