#include "ScoringModels.h"

#include <algorithm>

namespace tarvek {
namespace {

constexpr std::int32_t kLargerOfGAndF = 15;

const ScoringModel& FindModel(std::int32_t mars_model) {
  switch (mars_model) {
    case 1:
      return kModelB;
    case 2:
      return kModelC;
    case 3:
      return kModelD;
    case 4:
    case 1024:
      return kModelE;
    case 5:
      return kModelF;
    case 250:
      return kModelG;
    default:
      return kModelA;
  }
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
  if (mars_model == kLargerOfGAndF)
    return std::max(EvaluateModel(kModelG, candidate), EvaluateModel(kModelF, candidate));
  return EvaluateModel(FindModel(mars_model), candidate);
}

}  // namespace tarvek
