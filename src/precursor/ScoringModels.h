// precursor/ScoringModels.h: regression-spline scores of candidate precursors.
// Does:     evaluates the model that mars_model selects: an intercept plus terms, each a
//           coefficient times a piecewise-cubic hinge of one feature.
// Owns:     the constant tables.
// Throws:   nothing.
// Not here: how models are fitted; the threshold (PrecursorDetermination.h).
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "FeaturesExtractor.h"

namespace tarvek {

enum class HingeSide { kPlus, kMinus };

/// Knots t_minus < t < t_plus in units of the feature.
struct Hinge {
  HingeSide m_side;
  double m_t_minus;
  double m_t;
  double m_t_plus;
};

struct ModelTerm {
  double (*m_feature)(FeaturesExtractor& candidate);
  Hinge m_hinge;
  double m_coefficient;
};

struct ScoringModel {
  double m_intercept;
  std::span<const ModelTerm> m_terms;  // in evaluation order, which is part of the result
};

/// The cubic hinge: side + rises from 0 at t_minus to x - t from t_plus on; side - falls from t - x
/// up to t_minus to 0 at t_plus. Continuous, with continuous slope.
double CubicHinge(const Hinge& hinge, double x);

/// Intercept, then the terms added in order. May be NaN when a feature is.
double EvaluateModel(const ScoringModel& model, FeaturesExtractor& candidate);

/// The score of a candidate under the model that mars_model selects: with 15 the larger of models G
/// and F; any number that is not listed below selects model A.
double Score(FeaturesExtractor& candidate, std::int32_t mars_model);

/// The numbers of mars_model that select different scores.
inline constexpr std::array<std::int32_t, 8> kMarsModels = {0, 1, 2, 3, 4, 5, 15, 250};

extern const ScoringModel kModelA;  // mars_model 0
extern const ScoringModel kModelB;  // 1
extern const ScoringModel kModelC;  // 2
extern const ScoringModel kModelD;  // 3
extern const ScoringModel kModelE;  // 4 and 1024
extern const ScoringModel kModelF;  // 5
extern const ScoringModel kModelG;  // 250

}  // namespace tarvek
