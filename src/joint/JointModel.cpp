#include "JointModel.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "Check.h"

namespace tarvek::joint {
namespace {

// place: tried first, because a model with all features in order has it there.
std::size_t FeatureOf(std::string_view name, std::size_t place) {
  if (place < kFeatureNames.size() && name == kFeatureNames[place]) return place;
  const auto found = std::ranges::find(kFeatureNames, name);
  TARVEK_CHECK(found != kFeatureNames.end(), "the model knows the feature", "JointModel");
  return static_cast<std::size_t>(found - kFeatureNames.begin());
}

double LogOdds(std::span<const JointKnot> knots, double score) {
  if (score <= knots.front().m_score) return knots.front().m_log_odds;
  if (score >= knots.back().m_score) return knots.back().m_log_odds;
  const auto above = std::ranges::upper_bound(knots, score, {}, &JointKnot::m_score);
  const JointKnot& high = *above;
  const JointKnot& low = *(above - 1);
  return low.m_log_odds +
         (high.m_log_odds - low.m_log_odds) * (score - low.m_score) / (high.m_score - low.m_score);
}

}  // namespace

double JointScore(const JointModel& model, const FeatureRow& features) {
  double score = model.m_intercept;
  for (std::size_t i = 0; i < model.m_steps.size(); ++i) {
    const JointSteps& steps = model.m_steps[i];
    const double value = features[FeatureOf(steps.m_feature, i)];
    const auto place = std::ranges::lower_bound(steps.m_thresholds, value);
    score += steps.m_values.begin()[place - steps.m_thresholds.begin()];
  }
  return score;
}

double JointProbability(const JointModel& model, double score) {
  return 1.0 / (1.0 + std::exp(-LogOdds(model.m_calibration, score)));
}

}  // namespace tarvek::joint
