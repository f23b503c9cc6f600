// precursor/ScoringModels.h: regression-spline scores of candidate precursors.
// Does:     evaluates the model that mars_model selects: an intercept plus terms, each a
//           coefficient times a piecewise-cubic hinge of one feature.
// Owns:     the constant tables.
// Throws:   RequireScoringModel a std::string when the model is not available.
// Not here: how models are fitted; the threshold (PrecursorDetermination.h).
#pragma once

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

/// Checks that the model that mars_model selects is there. Throws a std::string naming it when not.
void RequireScoringModel(std::int32_t mars_model);

/// The score of a candidate under the model that mars_model selects. Call RequireScoringModel
/// first.
double Score(FeaturesExtractor& candidate, std::int32_t mars_model);

/// mars_model 4 and 1024.
extern const ScoringModel kModelE;

}  // namespace tarvek
