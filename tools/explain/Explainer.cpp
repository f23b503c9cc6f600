#include "explain/Explainer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <utility>

#include "Charge.h"
#include "IsotopeTable.h"
#include "JointModel.h"
#include "Ms2Loop.h"
#include "NumberText.h"
#include "ScoringModels.h"
#include "explain/Envelopes.h"
#include "features/CandidateFeatures.h"

namespace tarvek::tools {
namespace {

constexpr double kTableRounding = 7.5e-7;      // half of the last decimal, and a little
constexpr double kCorrectedRounding = 2.0e-6;  // the correction is rounded too
constexpr int kReasonDecimals = 2;

Precursor WithoutSign(const Precursor& ion) { return {std::fabs(ion.m_mz), ion.m_charge}; }

std::string IonText(const Precursor& ion) {
  return Fixed(std::fabs(ion.m_mz), 4) + " " + std::to_string(ChargeWithoutSign(ion.m_charge)) +
         (ion.m_charge < 0 ? "-" : "+");
}

// How many isotopes of one ion are isotopes of another.
int SharedIsotopes(const Precursor& a, const Precursor& b, double tol_ppm) {
  const IonEnvelope first = EnvelopeOf(WithoutSign(a));
  const IonEnvelope second = EnvelopeOf(WithoutSign(b));
  int shared = 0;
  for (const EnvelopeIsotope& one : first.m_isotopes)
    shared += std::ranges::any_of(second.m_isotopes, [&](const EnvelopeIsotope& other) {
      return std::fabs(one.m_mz - other.m_mz) <= tol_ppm * 1e-6 * one.m_mz;
    });
  return shared;
}

// ", and its peaks are those of ...": the kept ion that shares most isotopes with it, of two or more.
std::string RivalText(const Precursor& ion, const std::vector<DeterminedIon>& kept,
                      double tol_ppm) {
  int most = 1;
  const DeterminedIon* rival = nullptr;
  for (const DeterminedIon& one : kept) {
    const int shared = SharedIsotopes(ion, one.m_envelope.m_ion, tol_ppm);
    if (shared > most) {
      most = shared;
      rival = &one;
    }
  }
  if (rival == nullptr) return {};
  return "; " + std::to_string(most) + " of its isotopes are those of " +
         IonText(rival->m_envelope.m_ion);
}

std::string FilterText(Filter filter, FeaturesExtractor& candidate) {
  switch (filter) {
    case Filter::kIsotopes:
      return "dropped: fewer than " +
             std::to_string(WantedIsotopes(candidate.GetPrecursor().m_charge)) +
             " isotopes in a row";
    case Filter::kEnvelope:
      return "dropped: likeness " + Fixed(candidate.ipv_similarity_0(), kReasonDecimals) +
             " to the expected envelope, below " + Fixed(kMinSimilarity, kReasonDecimals);
    case Filter::kIsotopesInWindow:
      return "dropped: fewer than 2 isotopes in the window";
    case Filter::kIntensityInWindow:
      return "dropped: " + Fixed(candidate.window_intensity_ratio(), 3) +
             " of the window's intensity, below " + Fixed(kMinWindowRatio, kReasonDecimals);
    case Filter::kNone:
      break;
  }
  return {};
}

std::string ThresholdText(double threshold) { return "the threshold of " + ExactText(threshold); }

std::string RankedTooLowText(const UserParameters& parameters, const FeaturesExtractor* best) {
  if (parameters.m_co_elute)
    return "beaten: not among the " + std::to_string(kCandidateLimit) +
           " that rank best before the score";
  return "beaten: " + (best == nullptr ? std::string("another") : IonText(best->GetPrecursor())) +
         " ranks before it, and one alone is scored (-C 0)";
}

// The first scored candidate.
const FeaturesExtractor* BestRanked(std::span<const TriedCandidate> tried) {
  const auto found = std::ranges::find_if(tried, [](const TriedCandidate& one) {
    return one.m_stage == Stage::kAccepted || one.m_stage == Stage::kScoreTooLow;
  });
  return found == tried.end() ? nullptr : found->m_candidate;
}

std::string StageText(const TriedCandidate& one, const UserParameters& parameters,
                      const FeaturesExtractor* best) {
  switch (one.m_stage) {
    case Stage::kMissesCentre:
      return "dropped: none of its first isotopes is at the centre (-C 0)";
    case Stage::kFiltered:
      return FilterText(one.m_filter, *one.m_candidate);
    case Stage::kRankedTooLow:
      return RankedTooLowText(parameters, best);
    case Stage::kScoreTooLow:
      return "beaten: the score is not above " + ThresholdText(parameters.m_mars_threshold);
    case Stage::kAccepted:
      return "kept: the score is above " + ThresholdText(parameters.m_mars_threshold);
  }
  return {};
}

bool IsScored(const TriedCandidate& one) {
  return one.m_stage == Stage::kAccepted || one.m_stage == Stage::kScoreTooLow;
}

// A candidate without isotopes has no features, and a heavy one has no expected envelope.
bool HasFeatures(const TriedCandidate& one) {
  const bool has_isotopes =
      one.m_stage != Stage::kMissesCentre && one.m_filter != Filter::kIsotopes;
  return has_isotopes && IsInIsotopeTable(one.m_candidate->GetPrecursor());
}

CandidateIon CandidateOf(const TriedCandidate& one, std::string reason) {
  CandidateIon candidate;
  candidate.m_ion = WithoutSign(one.m_candidate->GetPrecursor());
  candidate.m_is_kept = one.m_stage == Stage::kAccepted;
  if (IsScored(one)) candidate.m_score = one.m_score;
  if (HasFeatures(one))
    for (const FeatureColumn& column : kFeatureColumns)
      candidate.m_features.push_back(column.m_value(*one.m_candidate));
  candidate.m_reason = std::move(reason);
  return candidate;
}

// Kept candidates, then scored ones by score, then those with features; the others keep their
// order.
void SortCandidates(std::vector<CandidateIon>& candidates) {
  const auto place = [](const CandidateIon& one) {
    if (one.m_is_kept) return 0;
    if (one.m_score) return 1;
    return one.m_features.empty() ? 3 : 2;
  };
  std::ranges::stable_sort(candidates, [&](const CandidateIon& a, const CandidateIon& b) {
    if (place(a) != place(b)) return place(a) < place(b);
    return a.m_score.value_or(0.0) > b.m_score.value_or(0.0);
  });
}

void SortDetermined(std::vector<DeterminedIon>& determined) {
  std::ranges::stable_sort(determined, std::ranges::greater{}, &DeterminedIon::m_score);
}

// The ions of the common fit that share peaks with the candidate, largest first.
std::string FitRivalText(const joint::EnvelopeCandidate& candidate,
                         std::span<const joint::FittedCandidate> fitted) {
  const joint::FittedCandidate* largest = nullptr;
  for (const joint::FittedCandidate& one : fitted) {
    const bool shares = std::ranges::any_of(candidate.m_lanes, [&](int lane) {
      return lane != joint::kNoLane && std::ranges::count(one.m_candidate.m_lanes, lane) > 0;
    });
    if (shares && (largest == nullptr || one.m_window_share > largest->m_window_share))
      largest = &one;
  }
  return largest == nullptr
             ? "beaten: the common fit does without it"
             : "beaten: the common fit gives its peaks to " +
                   IonText({largest->m_candidate.m_mz, largest->m_candidate.m_charge});
}

bool IsFitted(const joint::EnvelopeCandidate& candidate,
              std::span<const joint::FittedCandidate> fitted) {
  return std::ranges::any_of(fitted, [&](const joint::FittedCandidate& one) {
    return one.m_candidate.m_charge == candidate.m_charge &&
           one.m_candidate.m_mz == candidate.m_mz && one.m_candidate.m_lanes == candidate.m_lanes;
  });
}

/// Why a candidate of the common fit is reported or not; is_kept says which.
struct JointVerdict {
  bool m_is_kept;
  std::string m_reason;
};

JointVerdict JudgeFitted(const Precursor& ion, double probability, double threshold,
                         bool is_asked_for, std::span<const joint::JointPrecursor> reported) {
  if (!is_asked_for) return {false, "dropped: its charge is not asked for (-c)"};
  if (probability < threshold)
    return {false, "beaten: its probability is below " + ThresholdText(threshold)};
  for (const joint::JointPrecursor& one : reported) {
    if (one.m_precursor.m_charge == ion.m_charge && one.m_precursor.m_mz == ion.m_mz)
      return {true, "kept: its probability reaches " + ThresholdText(threshold)};
    if (joint::JointDetermination::AreOneIon(one.m_precursor, ion))
      return {false,
              "beaten: the same ion as " + IonText(one.m_precursor) + ", which is more probable"};
  }
  return {false, "dropped"};
}

}  // namespace

std::size_t PlaceOfSurvey(const Ms1Store& store, const MS2Spectrum& scan) {
  const auto found =
      std::ranges::lower_bound(store, scan.m_precursor_scan, {}, &MS1Spectrum::m_scan_no);
  if (found == store.end() || found->m_scan_no != scan.m_precursor_scan) return store.size();
  return static_cast<std::size_t>(found - store.begin());
}

Explanation Explainer::Explain(const RunToExplain::ScanInRun& in_run) {
  const MS2Spectrum& scan = in_run.m_scan;
  const UserParameters& parameters = m_run->Parameters();
  Explanation explained;
  explained.m_scan_no = scan.m_scan_no;
  explained.m_survey_no = scan.m_precursor_scan;
  explained.m_rt_s = scan.m_rt;
  explained.m_activation = scan.m_activation_type;
  explained.m_analyser = scan.m_instrument_type;
  explained.m_centre_mz = scan.m_activation_center;
  explained.m_half_width_mz = 0.5 * parameters.m_isolation_width;
  explained.m_is_joint = m_run->JointThreshold().has_value();
  explained.m_threshold = m_run->JointThreshold().value_or(parameters.m_mars_threshold);
  for (const Precursor& declared : scan.m_orig_precursors)
    if (IsUsable(declared)) explained.m_declared.push_back(EnvelopeOf(WithoutSign(declared)));
  Determine(in_run, explained);
  CompareWithTable(explained);
  return explained;
}

void Explainer::Determine(const RunToExplain::ScanInRun& in_run, Explanation& explained) {
  const MS2Spectrum& scan = in_run.m_scan;
  const std::string_view reason = ReasonNotProcessed(scan);
  if (!reason.empty()) {
    explained.m_outcome = "left out: " + std::string(reason);
    return;
  }
  const std::size_t survey = PlaceOfSurvey(in_run.m_store, scan);
  const bool has_survey = survey < in_run.m_store.size();
  explained.m_exported = scan.m_precursors;
  if (!CanDetermine(in_run.m_source, in_run.m_store, scan)) {
    explained.m_outcome = "declared precursor kept: without a declared charge none is determined";
  } else if (!has_survey) {
    explained.m_outcome =
        "declared precursor kept: its survey is not among those of high resolution";
    explained.m_exported = scan.m_orig_precursors;
  } else {
    if (explained.m_is_joint)
      DetermineTogether(in_run, explained);
    else
      DetermineEach(in_run, explained);
    SortCandidates(explained.m_candidates);
    explained.m_outcome = explained.m_determined.empty()
                              ? "declared precursor kept: no candidate passes"
                              : "determined";
    if (explained.m_determined.empty()) explained.m_exported = scan.m_orig_precursors;
  }
  std::erase_if(explained.m_exported, [](const Precursor& one) { return !IsUsable(one); });
  if (explained.m_exported.empty()) explained.m_outcome = "left out: no usable precursor";
  if (has_survey) {
    const double centre = std::max(1.0, scan.m_activation_center);
    PutOverSurvey(in_run.m_store, survey, ToleranceMz(m_run->Parameters(), centre) / centre * 1e6,
                  explained);
  }
}

void Explainer::DetermineEach(const RunToExplain::ScanInRun& in_run, Explanation& explained) {
  const UserParameters& parameters = m_run->Parameters();
  explained.m_exported.clear();
  m_single.WithAllTried(in_run.m_store, in_run.m_scan, [&](std::span<const TriedCandidate> tried) {
    for (const TriedCandidate& one : tried) {
      if (one.m_stage != Stage::kAccepted) continue;
      const Precursor ion{one.m_candidate->refined_mz(), one.m_candidate->GetPrecursor().m_charge};
      explained.m_determined.push_back({EnvelopeOf(ion), one.m_score, 0.0});
    }
    const FeaturesExtractor* const best = BestRanked(tried);
    const double tol_ppm =
        ToleranceMz(parameters, explained.m_centre_mz) / explained.m_centre_mz * 1e6;
    for (const TriedCandidate& one : tried) {
      std::string reason = StageText(one, parameters, best);
      if (one.m_stage == Stage::kScoreTooLow)
        reason += RivalText(one.m_candidate->GetPrecursor(), explained.m_determined, tol_ppm);
      explained.m_candidates.push_back(CandidateOf(one, std::move(reason)));
    }
  });
  // tarvek's own answer, for its order of ties.
  explained.m_exported = m_single.determine_precursors(in_run.m_store, in_run.m_scan);
  SortDetermined(explained.m_determined);
}

void Explainer::DetermineTogether(const RunToExplain::ScanInRun& in_run, Explanation& explained) {
  const double threshold = explained.m_threshold;
  const bool is_negative = m_run->Parameters().m_charge_max < 0;
  const auto signed_ion = [is_negative](const joint::EnvelopeCandidate& candidate) {
    return is_negative ? Precursor{-candidate.m_mz, -candidate.m_charge}
                       : Precursor{candidate.m_mz, candidate.m_charge};
  };
  const auto reported = m_joint.Determine(in_run.m_store, in_run.m_scan, threshold);
  explained.m_exported.clear();
  for (const joint::JointPrecursor& one : reported) {
    explained.m_exported.push_back(one.m_precursor);
    explained.m_determined.push_back({EnvelopeOf(WithoutSign(one.m_precursor)),
                                      one.m_evidence.m_probability, one.m_evidence.m_share});
  }
  const auto fitted = m_joint.Candidates(in_run.m_store, in_run.m_scan);
  for (const joint::FittedCandidate& one : fitted) {
    const Precursor ion = signed_ion(one.m_candidate);
    const double probability = joint::JointProbability(
        joint::kJointModel, joint::JointScore(joint::kJointModel, one.m_features));
    auto [is_kept, reason] = JudgeFitted(ion, probability, threshold,
                                         m_joint.IsAskedFor(one.m_candidate.m_charge), reported);
    explained.m_candidates.push_back(
        {WithoutSign(ion), is_kept, probability,
         std::vector<double>(one.m_features.begin(), one.m_features.end()), std::move(reason)});
  }
  for (const joint::EnvelopeCandidate& candidate : m_joint.Tried())
    if (!IsFitted(candidate, fitted))
      explained.m_candidates.push_back({WithoutSign(signed_ion(candidate)),
                                        false,
                                        std::nullopt,
                                        {},
                                        FitRivalText(candidate, fitted)});
}

void Explainer::CompareWithTable(Explanation& explained) const {
  const std::vector<Precursor>* const row = m_run->InTable(explained.m_scan_no);
  if (row != nullptr) explained.m_in_table = *row;
  const double ppm = m_run->CorrectionPpm(explained.m_rt_s);
  const double rounding = ppm == 0.0 ? kTableRounding : kCorrectedRounding;
  explained.m_agrees = std::ranges::equal(
      explained.m_exported, explained.m_in_table, [&](const Precursor& a, const Precursor& b) {
        return a.m_charge == b.m_charge && std::fabs(WithoutBias(a.m_mz, ppm) - b.m_mz) < rounding;
      });
}

std::vector<std::string> FeatureNames(bool is_joint) {
  if (is_joint) return {joint::kFeatureNames.begin(), joint::kFeatureNames.end()};
  std::vector<std::string> names;
  names.reserve(kFeatureColumns.size());
  for (const FeatureColumn& column : kFeatureColumns) names.emplace_back(column.m_name);
  return names;
}

std::vector<std::size_t> MainFeatures(bool is_joint) {
  if (is_joint)
    return {joint::kCosNear,     joint::kElution01,     joint::kIsotopesFound,
            joint::kMissing,     joint::kSpacingPpm,    joint::kFitShare,
            joint::kCosResidual, joint::kGainOverLower, joint::kRivalFit};
  return {0, 1, 3, 4, 5, 6, 7, 8, 9};  // leaves out near-duplicates, m/z and charge
}

}  // namespace tarvek::tools
