#include "ScoringModels.h"

#include <algorithm>

namespace tarvek {
namespace {

const MarsModel& FindModel(std::int32_t mars_model) {
  const std::int32_t number = mars_model == kOtherNumberOfE ? 4 : mars_model;
  const auto row = std::ranges::find(kMarsModels, number, &MarsModel::m_number);
  return row == kMarsModels.end() ? kMarsModels.front() : *row;
}

double PlusHinge(const Hinge& h, double x) {
  if (x <= h.m_t_minus) return 0.0;
  if (x >= h.m_t_plus) return x - h.m_t;
  const double width = h.m_t_plus - h.m_t_minus;
  const double p = (2.0 * h.m_t_plus + h.m_t_minus - 3.0 * h.m_t) / (width * width);
  const double q = (2.0 * h.m_t - h.m_t_plus - h.m_t_minus) / (width * width * width);
  const double d = x - h.m_t_minus;
  return p * d * d + q * d * d * d;
}

double MinusHinge(const Hinge& h, double x) {
  if (x <= h.m_t_minus) return h.m_t - x;
  if (x >= h.m_t_plus) return 0.0;
  const double width = h.m_t_minus - h.m_t_plus;
  const double p = (3.0 * h.m_t - 2.0 * h.m_t_minus - h.m_t_plus) / (width * width);
  const double q = (h.m_t_minus + h.m_t_plus - 2.0 * h.m_t) / (width * width * width);
  const double d = x - h.m_t_plus;
  return p * d * d + q * d * d * d;
}

}  // namespace

double CubicHinge(const Hinge& hinge, double x) {
  return hinge.m_side == HingeSide::kPlus ? PlusHinge(hinge, x) : MinusHinge(hinge, x);
}

double EvaluateModel(const ScoringModel& model, FeaturesExtractor& candidate) {
  double score = model.m_intercept;
  for (const ModelTerm& term : model.m_terms)
    score += term.m_coefficient * CubicHinge(term.m_hinge, term.m_feature(candidate));
  return score;
}

double Score(FeaturesExtractor& candidate, std::int32_t mars_model) {
  const MarsModel& selected = FindModel(mars_model);
  const double score = EvaluateModel(*selected.m_model, candidate);
  if (selected.m_other == nullptr) return score;
  return std::max(score, EvaluateModel(*selected.m_other, candidate));
}

}  // namespace tarvek
