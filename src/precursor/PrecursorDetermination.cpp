#include "PrecursorDetermination.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numeric>
#include <string>
#include <utility>

#include "Logger.h"
#include "NumberText.h"
#include "ScoringModels.h"

namespace tarvek {
namespace {

constexpr int kIsotopesAgainstCentre = 4;  // positions 0 to 3

void ReportMissingPrecursorScan(const MS2Spectrum& ms2) {
  // The text is frozen, see docs/frozen-names.md.
  std::string text = "Cannot found the precurosr scan of MS2: ";
  AppendInteger(text, ms2.m_precursor_scan);
  logInfo(text);
}

// Three surveys have no more in one m/z.
constexpr double kMaxPeaksPerMz = 1500.0;

std::size_t MostCandidatePeaks(const UserParameters& params) {
  return static_cast<std::size_t>(kMaxPeaksPerMz * 2.0 *
                                  std::clamp(params.m_candidate_halfwidth, 1.0, 1e6));
}

void ReportTooManyPeaks(const UserParameters& params, const MS2Spectrum& ms2) {
  std::string text = params.m_current_file + ", scan ";
  AppendInteger(text, ms2.m_scan_no);
  text += ": more than ";
  AppendInteger(text, static_cast<std::int64_t>(MostCandidatePeaks(params)));
  logMessage(kWarn, text +
                        " survey peaks around its isolation window, which no survey has. Its "
                        "declared precursors are kept.");
}

RankVector RankingValues(FeaturesExtractor& candidate) {
  return {candidate.ipv_similarity_0(), -candidate.xic_correlation_m1_0(),
          candidate.xic_correlation_0_1(), candidate.window_intensity_ratio()};
}

// Replaces component k of every entry by its rank. Compares with the entry before, which already
// has its rank, so equal values almost never share one; results depend on this.
void ReplaceByRank(std::vector<RankVector>& entries, std::vector<std::size_t>& order,
                   std::size_t k) {
  std::ranges::stable_sort(order, {}, [&](std::size_t i) { return entries[i][k]; });
  double counter = 1.0;
  for (std::size_t place = 0; place < order.size(); ++place) {
    double& value = entries[order[place]][k];
    if (place > 0 && entries[order[place - 1]][k] != value) counter += 1.0;
    value = counter;
  }
}

double RankProduct(const RankVector& r) {
  return r[0] * r[0] * r[0] * r[1] * r[2] * (r[3] * r[3] * r[3]);
}

struct ScoredCandidate {
  FeaturesExtractor* m_candidate;
  double m_score;
};

}  // namespace

std::vector<std::size_t> PreRankOrder(std::vector<RankVector> entries) {
  std::vector<std::size_t> order(entries.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  for (std::size_t k = 0; k < std::tuple_size_v<RankVector>; ++k) ReplaceByRank(entries, order, k);
  std::ranges::stable_sort(order, {}, [&](std::size_t i) { return RankProduct(entries[i]); });
  return order;
}

bool ReachesActivationCentre(const Precursor& precursor, double centre, double tol_mz) {
  for (int i = 0; i < kIsotopesAgainstCentre; ++i)
    if (std::fabs(IsotopePositionMz(precursor, i) - centre) < tol_mz) return true;
  return false;
}

int WantedIsotopes(std::int32_t charge) { return std::abs(std::int64_t{charge}) > 3 ? 3 : 2; }

Filter StoppingFilter(FeaturesExtractor& candidate, double centre, double isolation_width) {
  const Precursor& precursor = candidate.GetPrecursor();
  const std::int64_t abs_charge = std::abs(std::int64_t{precursor.m_charge});
  const int wanted_isotopes = WantedIsotopes(precursor.m_charge);
  if (!candidate.MayHaveIsotopes(wanted_isotopes)) return Filter::kIsotopes;
  if (candidate.isotope_count() < wanted_isotopes) return Filter::kIsotopes;
  if (candidate.ipv_similarity_0() < kMinSimilarity) return Filter::kEnvelope;
  const bool needs_two_in_window = abs_charge > 2 || precursor.m_mz > centre + isolation_width;
  if (needs_two_in_window && candidate.window_isotope_count() < 2) return Filter::kIsotopesInWindow;
  return candidate.window_intensity_ratio() < kMinWindowRatio ? Filter::kIntensityInWindow
                                                              : Filter::kNone;
}

bool PassesFilters(FeaturesExtractor& candidate, double centre, double isolation_width) {
  return StoppingFilter(candidate, centre, isolation_width) == Filter::kNone;
}

std::vector<Precursor> PrecursorDetermination::determine_precursors(const Ms1Store& store,
                                                                    const MS2Spectrum& ms2) {
  std::vector<Precursor> accepted;
  WithCandidates(store, ms2, [&](std::span<FeaturesExtractor* const> candidates) {
    accepted = Accept(candidates);
  });
  return accepted;
}

void PrecursorDetermination::WithScan(const Ms1Store& store, const MS2Spectrum& ms2,
                                      const UseScan& use) {
  const auto window = gather_ms1_window(store, ms2, m_params->m_extended_halfwidth);
  if (!window) {
    ReportMissingPrecursorScan(ms2);
    return;
  }
  m_work += PeakCount(*window);
  filter_by_local_intensity(*window, ms2.m_activation_center, m_filtered);
  collect_peak_candidates(*m_params, m_filtered, ms2, m_candidates);
  if (m_candidates.empty()) return;
  if (m_candidates.size() > MostCandidatePeaks(*m_params))
    return ReportTooManyPeaks(*m_params, ms2);
  FillGrid(ms2);
  const ScanContext scan{*m_params, ms2, *window, m_candidates, m_grid};
  use(scan);
  m_work += scan.m_summed / kSumsPerVisit;
  m_survivors.clear();  // they borrow from the scan's context
}

void PrecursorDetermination::WithCandidates(const Ms1Store& store, const MS2Spectrum& ms2,
                                            const UseCandidates& use) {
  WithScan(store, ms2, [&](const ScanContext& scan) {
    CollectSurvivors(scan);
    if (m_survivors.empty()) return;
    std::vector<FeaturesExtractor*> survivors;
    survivors.reserve(m_survivors.size());
    for (FeaturesExtractor& survivor : m_survivors) survivors.push_back(&survivor);
    use(SelectForScoring(survivors));
  });
}

void PrecursorDetermination::WithAllTried(const Ms1Store& store, const MS2Spectrum& ms2,
                                          const UseTried& use) {
  WithScan(store, ms2, [&](const ScanContext& scan) {
    m_survivors.clear();
    ForEachCandidate(scan,
                     [&](const FeaturesExtractor& candidate) { m_survivors.push_back(candidate); });
    std::vector<TriedCandidate> tried;
    tried.reserve(m_survivors.size());
    for (FeaturesExtractor& candidate : m_survivors)
      tried.push_back({&candidate, Stage::kRankedTooLow});
    FindStages(tried, ms2.m_activation_center);
    if (!tried.empty()) use(tried);
  });
}

// Sets the stage of each; those that pass the filters count as ranked too low until selected.
void PrecursorDetermination::FindStages(std::vector<TriedCandidate>& tried, double centre) {
  std::vector<FeaturesExtractor*> survivors;
  for (TriedCandidate& one : tried) {
    if (!ReachesCentre(one.m_candidate->GetPrecursor(), centre)) {
      one.m_stage = Stage::kMissesCentre;
      continue;
    }
    one.m_filter = StoppingFilter(*one.m_candidate, centre, m_params->m_isolation_width);
    if (one.m_filter != Filter::kNone)
      one.m_stage = Stage::kFiltered;
    else
      survivors.push_back(one.m_candidate);
  }
  for (FeaturesExtractor* const selected : SelectForScoring(survivors)) {
    TriedCandidate& one = *std::ranges::find(tried, selected, &TriedCandidate::m_candidate);
    one.m_score = Score(*selected, m_params->m_mars_model);
    one.m_stage = one.m_score > m_params->m_mars_threshold ? Stage::kAccepted : Stage::kScoreTooLow;
  }
}

void PrecursorDetermination::FillGrid(const MS2Spectrum& ms2) {
  m_grid.Reset(m_params->m_candidate_halfwidth, ms2.m_activation_center,
               m_params->m_extended_halfwidth);
  for (std::size_t row = 0; row < m_filtered.size(); ++row)
    for (const Peak& peak : m_filtered[row]) m_grid.Add(row, peak);
}

bool PrecursorDetermination::ReachesCentre(const Precursor& precursor, double centre) const {
  return m_params->m_co_elute ||
         ReachesActivationCentre(precursor, centre, ToleranceMz(*m_params, centre));
}

// Takes every possible monoisotopic peak with every charge.
template <class Take>
void PrecursorDetermination::ForEachCandidate(const ScanContext& scan, Take take) const {
  const double highest_mz =
      m_params->m_isolation_width * 0.5 + scan.m_ms2.m_activation_center + kEdgeAllowanceMz;
  for (const Peak& peak : m_candidates) {
    if (!(peak.m_mz <= highest_mz)) continue;
    for (std::int64_t z = m_params->m_charge_min; z <= m_params->m_charge_max; ++z) {
      if (z == 0) continue;  // an ion is charged
      take(FeaturesExtractor(
          scan, Precursor{z < 0 ? -peak.m_mz : peak.m_mz, static_cast<std::int32_t>(z)}));
    }
  }
}

void PrecursorDetermination::CollectSurvivors(const ScanContext& scan) {
  const double centre = scan.m_ms2.m_activation_center;
  m_survivors.clear();
  ForEachCandidate(scan, [&](FeaturesExtractor candidate) {
    if (ReachesCentre(candidate.GetPrecursor(), centre) &&
        PassesFilters(candidate, centre, m_params->m_isolation_width))
      m_survivors.push_back(candidate);
    m_work += candidate.HasIsoPattern() ? kVisitsPerEnvelope : 1;
  });
}

// The survivors to score, in scoring order.
std::vector<FeaturesExtractor*> PrecursorDetermination::SelectForScoring(
    std::span<FeaturesExtractor* const> survivors) const {
  const std::size_t limit = m_params->m_co_elute ? kCandidateLimit : 1;
  if (survivors.size() <= limit) return {survivors.begin(), survivors.end()};
  std::vector<RankVector> values;
  values.reserve(survivors.size());
  for (FeaturesExtractor* const survivor : survivors) values.push_back(RankingValues(*survivor));
  std::vector<std::size_t> order = PreRankOrder(std::move(values));
  order.resize(limit);
  std::vector<FeaturesExtractor*> selected;
  for (const std::size_t i : order) selected.push_back(survivors[i]);
  return selected;
}

std::vector<Precursor> PrecursorDetermination::Accept(
    std::span<FeaturesExtractor* const> candidates) const {
  std::vector<ScoredCandidate> scored;
  scored.reserve(candidates.size());
  for (FeaturesExtractor* const candidate : candidates)
    scored.push_back({candidate, Score(*candidate, m_params->m_mars_model)});
  std::ranges::stable_sort(scored, std::ranges::greater{}, &ScoredCandidate::m_score);
  std::vector<Precursor> accepted;
  for (const ScoredCandidate& candidate : scored) {
    if (!(candidate.m_score > m_params->m_mars_threshold)) break;
    const std::int32_t charge = candidate.m_candidate->GetPrecursor().m_charge;
    const double mz = candidate.m_candidate->refined_mz();
    accepted.push_back({charge < 0 ? -mz : mz, charge});
  }
  return accepted;
}

}  // namespace tarvek
