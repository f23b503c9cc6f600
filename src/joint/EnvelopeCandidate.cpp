#include "EnvelopeCandidate.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "Charge.h"
#include "NumericUtils.h"

namespace tarvek::joint {
namespace {

constexpr double kMinCosine = 0.35;
constexpr double kHeavyDa = 1700.0;  // from here on the monoisotopic peak may be below the noise
constexpr int kDeclaredShifts = 4;   // the declared isotope and three below it
constexpr double kMinInsideShare = 0.1;  // of the most intense isotope
constexpr double kSamePpm = 8.0;

double Tolerance(const WindowOfScan& window, double mz) { return window.m_tol_ppm * 1e-6 * mz; }

bool FillExpected(const WindowOfScan& window, EnvelopeCandidate& candidate) {
  const Precursor ion{window.m_is_negative ? -candidate.m_mz : candidate.m_mz,
                      window.m_is_negative ? -candidate.m_charge : candidate.m_charge};
  if (!IsInIsotopeTable(ion)) return false;
  const IsotopeRow& row = LookUpIsotopeRow(ion);
  double sum = 0.0;
  for (const double share : row) sum += share;
  if (!(sum > 0.0)) return false;
  for (std::size_t i = 0; i < kEnvelopePeaks; ++i) candidate.m_expected[i] = row[i] / sum;
  return true;
}

bool IsInside(const WindowOfScan& window, double mz) {
  return mz >= window.LowEdge() - kEdgeMz && mz <= window.HighEdge() + kEdgeMz;
}

bool ReachesWindow(const WindowOfScan& window, const EnvelopeCandidate& candidate) {
  const double highest = std::ranges::max(candidate.m_expected);
  for (std::size_t i = 0; i < kEnvelopePeaks; ++i)
    if (candidate.m_expected[i] >= kMinInsideShare * highest &&
        IsInside(window, candidate.m_mz + static_cast<double>(i) * candidate.m_step_mz))
      return true;
  return false;
}

void FillLanes(const WindowOfScan& window, EnvelopeCandidate& candidate) {
  for (std::size_t i = 0; i < kPositions; ++i)
    candidate.m_lanes[i] = LaneAtPosition(window, candidate, static_cast<int>(i) + kLowestPosition);
}

const Lane* LaneOrNone(const WindowOfScan& window, const EnvelopeCandidate& candidate,
                       int position) {
  const int i = candidate.LaneAt(position);
  return i == kNoLane ? nullptr : &window.m_lanes.Lanes()[static_cast<std::size_t>(i)];
}

// Whether two neighbours among the first four isotopes have a peak in the same MS1 scan.
bool HasPartners(const WindowOfScan& window, const EnvelopeCandidate& candidate) {
  unsigned before = 0;
  for (int position = 0; position < 4; ++position) {
    const Lane* lane = LaneOrNone(window, candidate, position);
    const unsigned present = lane != nullptr ? lane->m_present : 0;
    if ((present & before) != 0) return true;
    before = present;
  }
  return false;
}

double BestCosine(const WindowOfScan& window, const EnvelopeCandidate& candidate) {
  std::array<double, kEnvelopePeaks> near{};
  std::array<double, kEnvelopePeaks> all{};
  for (std::size_t i = 0; i < kEnvelopePeaks; ++i)
    if (const Lane* lane = LaneOrNone(window, candidate, static_cast<int>(i))) {
      near[i] = lane->m_near;
      all[i] = lane->m_all;
    }
  return std::max(CosineSimilarity(near, candidate.m_expected),
                  CosineSimilarity(all, candidate.m_expected));
}

// The second smallest amplitude that a significant isotope permits, inside the window.
double QuickShare(const WindowOfScan& window, const EnvelopeCandidate& candidate) {
  double inside = 0.0;
  double lowest = std::numeric_limits<double>::infinity();
  double second = lowest;
  for (std::size_t i = 0; i < kEnvelopePeaks; ++i) {
    const double share = candidate.m_expected[i];
    if (IsInside(window, candidate.m_mz + static_cast<double>(i) * candidate.m_step_mz))
      inside += share;
    if (share < kMinInsideShare) continue;
    const Lane* lane = LaneOrNone(window, candidate, static_cast<int>(i));
    const double amplitude = lane != nullptr ? (lane->m_near + 0.1 * lane->m_all) / share : 0.0;
    second = std::min(second, std::max(lowest, amplitude));
    lowest = std::min(lowest, amplitude);
  }
  return std::isfinite(second) ? second * inside : 0.0;
}

// Mean over the first isotopes, each weighted by the root of its intensity.
void RefineMz(const WindowOfScan& window, EnvelopeCandidate& candidate) {
  double sum = 0.0;
  double weights = 0.0;
  for (int position = 0; position < 3; ++position) {
    const Lane* lane = LaneOrNone(window, candidate, position);
    if (lane == nullptr) continue;
    const double weight =
        std::sqrt(lane->m_all) * candidate.m_expected[static_cast<std::size_t>(position)];
    sum += weight * (lane->m_mz - position * candidate.m_step_mz - candidate.m_mz);
    weights += weight;
  }
  if (weights > 0.0) candidate.m_mz += sum / weights;
}

class Collector {
 public:
  Collector(const WindowOfScan& window, std::vector<EnvelopeCandidate>& candidates)
      : m_window(&window), m_candidates(&candidates) {}

  void FromLanes() {
    const double reach = m_window->HighEdge() + kEdgeMz;
    for (int charge = 1; charge <= m_window->m_max_charge; ++charge) {
      const double step = m_window->Step(charge);
      const double lowest = m_window->LowEdge() - kEdgeMz - 4.0 * step;
      for (const Lane& lane : m_window->m_lanes.Lanes()) {
        if (lane.m_mz < lowest) continue;
        if (lane.m_mz > reach + step) break;
        if (m_window->m_lanes.Find(lane.m_mz + step, Tolerance(*m_window, lane.m_mz)) == kNoLane)
          continue;
        if (lane.m_mz <= reach) Try(lane.m_mz, charge);
        if (lane.m_mz * charge > kHeavyDa &&
            m_window->m_lanes.Find(lane.m_mz - step, Tolerance(*m_window, lane.m_mz)) == kNoLane)
          Try(lane.m_mz - step, charge);
      }
    }
  }

  void FromDeclared(const Precursor& declared) {
    const int charge = ChargeWithoutSign(declared.m_charge);
    if (charge == 0 || charge > m_window->m_max_charge) return;
    for (int shift = 0; shift < kDeclaredShifts; ++shift) {
      const double mz = std::fabs(declared.m_mz) - shift * m_window->Step(charge);
      if (!Has(mz, charge)) Try(mz, charge);
    }
  }

 private:
  [[nodiscard]] bool Has(double mz, int charge) const {
    return std::ranges::any_of(*m_candidates, [&](const EnvelopeCandidate& candidate) {
      return candidate.m_charge == charge && std::fabs(candidate.m_mz - mz) < kSamePpm * 1e-6 * mz;
    });
  }

  void Try(double mz, int charge) {
    EnvelopeCandidate candidate;
    candidate.m_mz = mz;
    candidate.m_charge = charge;
    candidate.m_step_mz = m_window->Step(charge);
    if (!FillExpected(*m_window, candidate) || !ReachesWindow(*m_window, candidate)) return;
    FillLanes(*m_window, candidate);
    if (!HasPartners(*m_window, candidate)) return;
    if (BestCosine(*m_window, candidate) < kMinCosine) return;
    candidate.m_quick_share = QuickShare(*m_window, candidate);
    RefineMz(*m_window, candidate);
    m_candidates->push_back(candidate);
  }

  const WindowOfScan* m_window;
  std::vector<EnvelopeCandidate>* m_candidates;
};

bool ByChargeAndMz(const EnvelopeCandidate& a, const EnvelopeCandidate& b) {
  return a.m_charge != b.m_charge ? a.m_charge < b.m_charge : a.m_mz < b.m_mz;
}

}  // namespace

int LaneAtPosition(const WindowOfScan& window, const EnvelopeCandidate& candidate,
                   double position) {
  return window.m_lanes.Find(candidate.m_mz + position * candidate.m_step_mz,
                             Tolerance(window, candidate.m_mz));
}

void CollectCandidates(const WindowOfScan& window, const std::vector<Precursor>& declared,
                       std::size_t most, std::vector<EnvelopeCandidate>& candidates) {
  candidates.clear();
  Collector collector(window, candidates);
  collector.FromLanes();
  for (const Precursor& precursor : declared) collector.FromDeclared(precursor);
  if (candidates.size() > most) {
    std::ranges::stable_sort(candidates, std::ranges::greater{}, &EnvelopeCandidate::m_quick_share);
    candidates.resize(most);
  }
  std::ranges::stable_sort(candidates, ByChargeAndMz);
}

}  // namespace tarvek::joint
