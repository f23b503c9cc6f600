#include "CandidateFeatures.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "Charge.h"
#include "NumericUtils.h"

namespace tarvek::joint {

const std::array<const char*, kFeatureCount> kFeatureNames = {"cos_near",
                                                              "cos_all",
                                                              "cos_nearest",
                                                              "cos_root",
                                                              "gain_over_lower",
                                                              "gain_over_higher",
                                                              "below_one",
                                                              "below_two",
                                                              "half_spacing",
                                                              "third_spacing",
                                                              "elution_01",
                                                              "elution_12",
                                                              "elution_below",
                                                              "surveys_with_both",
                                                              "unbroken",
                                                              "isotopes_found",
                                                              "found_of_expected",
                                                              "missing",
                                                              "spacing_ppm",
                                                              "spread_ppm",
                                                              "window_share",
                                                              "fit_share",
                                                              "fit_of_window",
                                                              "fit_of_own",
                                                              "cos_residual",
                                                              "loss_without",
                                                              "inside_share",
                                                              "inside_count",
                                                              "edge_distance",
                                                              "centre_ppm",
                                                              "centre_position",
                                                              "declared_charge",
                                                              "declared_offset",
                                                              "mass_defect",
                                                              "mass",
                                                              "charge",
                                                              "signal",
                                                              "other_charges",
                                                              "rival_fit",
                                                              "rival_cos",
                                                              "rank",
                                                              "candidates",
                                                              "explained",
                                                              "unfragmented",
                                                              "pairs",
                                                              "pairs_over_shifted",
                                                              "beyond_mz"};

namespace {

constexpr double kPrice = 0.3;                  // per unit of amplitude, in the fit
constexpr double kPeptideSpacingDa = 1.000495;  // mean mass of a peptide per nominal mass unit
constexpr double kLeastNoise = 1e-9;            // when the detection limit is unknown
constexpr double kNoRelation = 9.0;
constexpr double kFarPpm = 50.0;
constexpr double kFragmentTolPpm = 15.0;
constexpr double kBeyondIsotopesMz = 2.5;  // above the isotopes that come through unfragmented
constexpr std::array<double, 4> kImpossibleDa = {-0.45, -0.27, 0.31,
                                                 0.48};  // between nominal masses
constexpr unsigned kNearRows = 7u << kFirstNearRow;

using Envelope = std::array<double, kEnvelopePeaks>;

double Share(double part, double whole) { return whole > 0.0 ? part / whole : 0.0; }

/// Computes the features of one candidate after the common fit.
class Describer {
 public:
  Describer(const WindowOfScan& window, const EnvelopeCandidate& candidate)
      : m_window(window), m_candidate(candidate), m_lanes(window.m_lanes.Lanes()) {}

  void DescribeEnvelope(FeatureRow& f) const {
    const Envelope near = Intensities(0, [](const Lane& lane) { return lane.m_near; });
    const Envelope all = Intensities(0, [](const Lane& lane) { return lane.m_all; });
    const Envelope nearest =
        Intensities(0, [](const Lane& lane) { return lane.m_rows[kPrecursorPosition]; });
    f[kCosNear] = CosineSimilarity(near, m_candidate.m_expected);
    f[kCosAll] = CosineSimilarity(all, m_candidate.m_expected);
    f[kCosNearest] = CosineSimilarity(nearest, m_candidate.m_expected);
    Envelope roots = all;
    Envelope expected_roots = m_candidate.m_expected;
    for (double& value : roots) value = std::sqrt(value);
    for (double& value : expected_roots) value = std::sqrt(value);
    f[kCosRoot] = CosineSimilarity(roots, expected_roots);
    const Envelope lower = Intensities(-1, [](const Lane& lane) { return lane.m_all; });
    f[kGainOverLower] = f[kCosAll] - CosineSimilarity(lower, m_candidate.m_expected);
    Envelope higher{};
    std::copy(all.begin() + 1, all.end(), higher.begin());
    f[kGainOverHigher] = f[kCosAll] - CosineSimilarity(higher, m_candidate.m_expected);
    const double first = all[0] + all[1];
    const double below = At(-1, [](const Lane& lane) { return lane.m_all; });
    // The intensity here if an ion one isotope lower had this peak as its second.
    const double would_be = Share(m_candidate.m_expected[0], m_candidate.m_expected[1]) * all[0];
    f[kBelowOne] = std::min(3.0, Share(below, would_be));
    f[kBelowTwo] = std::min(3.0, Share(At(-2, [](const Lane& lane) { return lane.m_all; }), first));
    f[kHalfSpacing] = std::min(3.0, Share(AllAt(0.5), first));
    f[kThirdSpacing] = std::min(3.0, Share(AllAt(1.0 / 3.0) + AllAt(2.0 / 3.0), 2.0 * first));
  }

  void DescribeElution(FeatureRow& f) const {
    f[kElution01] = ElutionCosine(0, 1);
    f[kElution12] = ElutionCosine(1, 2);
    f[kElutionBelow] = ElutionCosine(-1, 0);
    const unsigned both = Present(0) & Present(1);
    int surveys = 0;
    for (std::size_t row = 0; row < kWindowScans; ++row)
      surveys += static_cast<int>(both >> row & 1u);
    f[kSurveysWithBoth] = surveys;
    f[kUnbroken] = Unbroken(both);
  }

  void DescribeIsotopes(FeatureRow& f) const {
    int found = 0;
    while (found < static_cast<int>(kEnvelopePeaks) && (Present(found) & kNearRows) != 0) ++found;
    f[kIsotopesFound] = found;
    const double amplitude = OwnAmplitude();
    const double limit = m_window.m_lanes.DetectionLimit();
    int expected = 0;
    int seen = 0;
    double missing = 0.0;
    for (std::size_t i = 0; i < kEnvelopePeaks; ++i) {
      if (amplitude * m_candidate.m_expected[i] / 3.0 < 1.5 * limit) continue;
      ++expected;
      if ((Present(static_cast<int>(i)) & kNearRows) != 0)
        ++seen;
      else
        missing += m_candidate.m_expected[i];
    }
    f[kFoundOfExpected] = Share(seen, expected);
    f[kMissing] = missing;
    f[kSignal] = std::min(100.0, std::sqrt(Share(amplitude, limit)));
    DescribeSpacing(f);
  }

  void DescribePlace(FeatureRow& f, double window_current) const {
    double own = 0.0;
    double inside = 0.0;
    double most = 0.0;
    double distance = 0.0;
    int count = 0;
    double centre_distance = kFarPpm;
    int centre_position = -1;
    for (int i = 0; i < static_cast<int>(kEnvelopePeaks); ++i) {
      const double mz = m_candidate.m_mz + i * m_candidate.m_step_mz;
      const double off_ppm = std::fabs(mz - m_window.m_centre) / mz * 1e6;
      if (off_ppm < centre_distance) {
        centre_distance = off_ppm;
        centre_position = i;
      }
      if (mz < m_window.LowEdge() || mz > m_window.HighEdge()) continue;
      const double share = m_candidate.m_expected[static_cast<std::size_t>(i)];
      own += At(i, [](const Lane& lane) { return lane.m_near; });
      inside += share;
      ++count;
      if (share <= most) continue;
      most = share;
      distance = std::min(mz - m_window.LowEdge(), m_window.HighEdge() - mz);
    }
    f[kWindowShare] = Share(own, window_current);
    f[kInsideShare] = inside;
    f[kInsideCount] = count;
    f[kEdgeDistance] = distance;
    f[kCentrePpm] = centre_distance;
    f[kCentrePosition] = centre_position;
    const double mass = NeutralMass();
    f[kMass] = mass;
    f[kCharge] = m_candidate.m_charge;
    const double nominal = std::floor(mass / kPeptideSpacingDa + 0.5);
    f[kMassDefect] = std::fabs(mass - nominal * kPeptideSpacingDa);
  }

  void DescribeDeclared(FeatureRow& f, const std::vector<Precursor>& declared) const {
    f[kDeclaredOffset] = kNoRelation;
    for (const Precursor& precursor : declared) {
      const int charge = ChargeWithoutSign(precursor.m_charge);
      if (charge == 0) continue;
      if (charge != m_candidate.m_charge) {
        if (f[kDeclaredCharge] == 0.0) f[kDeclaredCharge] = -1.0;
        continue;
      }
      f[kDeclaredCharge] = 1.0;
      const double steps = (std::fabs(precursor.m_mz) - m_candidate.m_mz) / m_candidate.m_step_mz;
      const double nearest = std::floor(steps + 0.5);
      const double off_mz = std::fabs(steps - nearest) * m_candidate.m_step_mz;
      if (std::fabs(nearest) <= 5.0 && off_mz < 2.0 * m_window.m_tol_ppm * 1e-6 * m_candidate.m_mz)
        f[kDeclaredOffset] = std::min(f[kDeclaredOffset], std::fabs(nearest));
    }
  }

  void DescribeOtherCharges(FeatureRow& f, PeakSpan survey) const {
    const double mass = NeutralMass();
    int found = 0;
    for (const int charge : {m_candidate.m_charge - 1, m_candidate.m_charge + 1}) {
      if (charge < 1) continue;
      const double mz = mass / charge + kProtonMass;
      found += HasPeak(survey, mz) &&
                       HasPeak(survey, mz + m_candidate.m_step_mz * m_candidate.m_charge / charge)
                   ? 1
                   : 0;
    }
    f[kOtherCharges] = found;
  }

  void DescribeFragments(FeatureRow& f, const FragmentPairs& pairs) const {
    if (pairs.IsEmpty()) return;
    const double mass = NeutralMass();
    double chance = 0.0;
    for (const double off : kImpossibleDa) chance += pairs.PairShare(mass + off);
    const double own = pairs.PairShare(mass);
    f[kUnfragmented] =
        pairs.ShareAt(m_candidate.m_mz) + pairs.ShareAt(m_candidate.m_mz + m_candidate.m_step_mz);
    f[kBeyondMz] = pairs.ShareAbove(m_candidate.m_mz + kBeyondIsotopesMz);
    f[kPairs] = own - chance / static_cast<double>(kImpossibleDa.size());
    f[kPairsOverShifted] =
        own - 0.5 * (pairs.PairShare(mass - kIsotopeDa) + pairs.PairShare(mass + kIsotopeDa));
  }

  /// The least-squares amplitude for the near intensities, without other candidates.
  [[nodiscard]] double OwnAmplitude() const {
    double ye = 0.0;
    double ee = 0.0;
    for (std::size_t i = 0; i < kEnvelopePeaks; ++i) {
      const double share = m_candidate.m_expected[i];
      ye += share * At(static_cast<int>(i), [](const Lane& lane) { return lane.m_near; });
      ee += share * share;
    }
    return Share(ye, ee);
  }

 private:
  static constexpr double kIsotopeDa = 1.003;

  template <class Value>
  [[nodiscard]] double At(int position, Value value) const {
    const int i = m_candidate.LaneAt(position);
    return i == kNoLane ? 0.0 : value(m_lanes[static_cast<std::size_t>(i)]);
  }

  template <class Value>
  [[nodiscard]] Envelope Intensities(int first, Value value) const {
    Envelope values{};
    for (std::size_t i = 0; i < kEnvelopePeaks; ++i)
      values[i] = At(first + static_cast<int>(i), value);
    return values;
  }

  [[nodiscard]] double AllAt(double position) const {
    const int i = LaneAtPosition(m_window, m_candidate, position);
    return i == kNoLane ? 0.0 : m_lanes[static_cast<std::size_t>(i)].m_all;
  }

  [[nodiscard]] unsigned Present(int position) const {
    const int i = m_candidate.LaneAt(position);
    return i == kNoLane ? 0 : m_lanes[static_cast<std::size_t>(i)].m_present;
  }

  [[nodiscard]] double ElutionCosine(int a, int b) const {
    const int first = m_candidate.LaneAt(a);
    const int second = m_candidate.LaneAt(b);
    if (first == kNoLane || second == kNoLane) return 0.0;
    return CosineSimilarity(m_lanes[static_cast<std::size_t>(first)].m_rows,
                            m_lanes[static_cast<std::size_t>(second)].m_rows);
  }

  static int Unbroken(unsigned rows) {
    int count = 0;
    for (std::size_t row = kPrecursorPosition; row < kWindowScans && (rows >> row & 1u) != 0; ++row)
      ++count;
    for (std::size_t row = kPrecursorPosition; row-- > 0 && (rows >> row & 1u) != 0;) ++count;
    return count;
  }

  void DescribeSpacing(FeatureRow& f) const {
    double first_off = kFarPpm;
    double sum = 0.0;
    double weights = 0.0;
    for (int i = 0; i < 4; ++i) {
      const int lane = m_candidate.LaneAt(i);
      if (lane == kNoLane) continue;
      const Lane& found = m_lanes[static_cast<std::size_t>(lane)];
      const double expected = m_candidate.m_mz + i * m_candidate.m_step_mz;
      const double off = (found.m_mz - expected) / expected * 1e6;
      const double weight = std::sqrt(found.m_all);
      sum += weight * off * off;
      weights += weight;
    }
    const int zero = m_candidate.LaneAt(0);
    const int one = m_candidate.LaneAt(1);
    if (zero != kNoLane && one != kNoLane) {
      const double step = m_lanes[static_cast<std::size_t>(one)].m_mz -
                          m_lanes[static_cast<std::size_t>(zero)].m_mz;
      first_off = std::fabs(step - m_candidate.m_step_mz) / m_candidate.m_mz * 1e6;
    }
    f[kSpacingPpm] = first_off;
    f[kSpreadPpm] = std::sqrt(Share(sum, weights));
  }

  [[nodiscard]] bool HasPeak(PeakSpan survey, double mz) const {
    return !peaks_in_window(survey, mz, m_window.m_tol_ppm, true).empty();
  }

  [[nodiscard]] double NeutralMass() const {
    const double proton = m_window.m_is_negative ? -kProtonMass : kProtonMass;
    return (m_candidate.m_mz - proton) * m_candidate.m_charge;
  }

  const WindowOfScan& m_window;
  const EnvelopeCandidate& m_candidate;
  std::span<const Lane> m_lanes;
};

double CurrentInWindow(const WindowOfScan& window) {
  double current = 0.0;
  for (const Lane& lane : window.m_lanes.Lanes())
    if (lane.m_mz >= window.LowEdge() && lane.m_mz <= window.HighEdge()) current += lane.m_near;
  return current;
}

bool SharesPeak(const EnvelopeColumn& a, const EnvelopeColumn& b) {
  return std::ranges::any_of(a.m_lanes, [&b](int lane) {
    return lane != kNoLane &&
           std::ranges::any_of(b.m_lanes, [lane](int other) { return other == lane; });
  });
}

// How the fit treats one candidate.
void DescribeFit(std::span<const double> intensities, const EnvelopeColumn& column,
                 const EnvelopeFitResult& fit, double amplitude, double noise, FeatureRow& f) {
  Envelope left{};
  double loss = 0.0;
  double around = 0.0;
  for (std::size_t i = 0; i < kEnvelopePeaks; ++i) {
    if (column.m_lanes[i] == kNoLane) continue;
    const auto k = static_cast<std::size_t>(column.m_lanes[i]);
    const double explained = amplitude * column.m_shares[i];
    const double residual = fit.m_residuals[k];
    left[i] = std::max(0.0, residual + explained);
    loss += ((residual + explained) * (residual + explained) - residual * residual) /
            (intensities[k] + noise);
    around += intensities[k];
  }
  f[kCosResidual] = CosineSimilarity(left, column.m_shares);
  f[kLossWithout] = Share(loss, around);
}

}  // namespace

void CandidateFitter::FillColumns(const WindowOfScan& window,
                                  std::span<const EnvelopeCandidate> candidates) {
  m_intensities.clear();
  for (const Lane& lane : window.m_lanes.Lanes()) m_intensities.push_back(lane.m_near);
  m_columns.clear();
  for (const EnvelopeCandidate& candidate : candidates) {
    EnvelopeColumn& column = m_columns.emplace_back();
    column.m_shares = candidate.m_expected;
    std::copy(candidate.m_lanes.begin() - kLowestPosition, candidate.m_lanes.end(),
              column.m_lanes.begin());
  }
}

// The fit with a price selects the candidates, but shrinks their amplitudes; a second fit without
// price gives the true ones.
void CandidateFitter::FitChosen(double noise) {
  FitEnvelopes(m_intensities, m_columns, noise, kPrice, m_fit);
  m_chosen.clear();
  std::size_t kept = 0;
  for (std::size_t j = 0; j < m_columns.size(); ++j) {
    if (!(m_fit.m_amplitudes[j] > 0.0)) continue;
    m_chosen.push_back(j);
    m_columns[kept++] = m_columns[j];
  }
  m_columns.resize(kept);
  FitEnvelopes(m_intensities, m_columns, noise, 0.0, m_fit);
}

void CandidateFitter::Fit(const WindowOfScan& window, std::span<const EnvelopeCandidate> candidates,
                          const MS2Spectrum& ms2, PeakSpan precursor_scan,
                          std::vector<FittedCandidate>& fitted) {
  fitted.clear();
  FillColumns(window, candidates);
  const double noise = std::max(window.m_lanes.DetectionLimit(), kLeastNoise);
  FitChosen(noise);
  m_pairs.Take(ms2.m_peaks, kFragmentTolPpm);
  const double current = CurrentInWindow(window);
  for (std::size_t k = 0; k < m_chosen.size(); ++k) {
    FittedCandidate& one = fitted.emplace_back();
    one.m_candidate = candidates[m_chosen[k]];
    FeatureRow& f = one.m_features;
    const Describer describer(window, one.m_candidate);
    describer.DescribeEnvelope(f);
    describer.DescribeElution(f);
    describer.DescribeIsotopes(f);
    describer.DescribePlace(f, current);
    describer.DescribeDeclared(f, ms2.m_orig_precursors);
    describer.DescribeOtherCharges(f, precursor_scan);
    describer.DescribeFragments(f, m_pairs);
    const double amplitude = m_fit.m_amplitudes[k];
    one.m_window_share = std::min(1.0, Share(amplitude * f[kInsideShare], current));
    f[kFitShare] = one.m_window_share;
    f[kFitOfOwn] = std::min(3.0, Share(amplitude, describer.OwnAmplitude()));
    DescribeFit(m_intensities, m_columns[k], m_fit, amplitude, noise, f);
  }
  DescribeCompany(fitted);
}

// The features that compare the candidates of a scan with each other.
void CandidateFitter::DescribeCompany(std::vector<FittedCandidate>& fitted) const {
  double explained = 0.0;
  for (const FittedCandidate& one : fitted) explained += one.m_features[kFitShare];
  for (std::size_t a = 0; a < fitted.size(); ++a) {
    FeatureRow& f = fitted[a].m_features;
    f[kFitOfWindow] = Share(f[kFitShare], explained);
    f[kExplained] = std::min(3.0, explained);
    f[kCandidates] = static_cast<double>(fitted.size());
    f[kRivalCos] = -1.0;
    double rival = 0.0;
    for (std::size_t b = 0; b < fitted.size(); ++b) {
      if (a == b) continue;
      const FeatureRow& other = fitted[b].m_features;
      if (other[kFitShare] > f[kFitShare]) f[kRank] += 1.0;
      if (!SharesPeak(m_columns[a], m_columns[b])) continue;
      rival = std::max(rival, m_fit.m_amplitudes[b]);
      f[kRivalCos] = std::max(f[kRivalCos], other[kCosNear] - f[kCosNear]);
    }
    f[kRivalFit] =
        rival > 0.0 ? std::min(10.0, rival / std::max(m_fit.m_amplitudes[a], kLeastNoise)) : 0.0;
  }
}

}  // namespace tarvek::joint
