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

/// The score of a candidate by the models that mars_model selects in kMarsModels.
double Score(FeaturesExtractor& candidate, std::int32_t mars_model);

extern const ScoringModel kModelA;
extern const ScoringModel kModelB;
extern const ScoringModel kModelC;
extern const ScoringModel kModelD;
extern const ScoringModel kModelE;
extern const ScoringModel kModelF;
extern const ScoringModel kModelG;

/// A number of mars_model with its models; with two of them, the larger score counts.
struct MarsModel {
  std::int32_t m_number;
  const ScoringModel* m_model;
  const ScoringModel* m_other = nullptr;
};

/// The numbers that select different scores. Numbers that are not listed mean the first one; 1024
/// means 4.
inline constexpr std::array<MarsModel, 8> kMarsModels = {{
    {0, &kModelA},
    {1, &kModelB},
    {2, &kModelC},
    {3, &kModelD},
    {4, &kModelE},
    {5, &kModelF},
    {15, &kModelG, &kModelF},
    {250, &kModelG},
}};
inline constexpr std::int32_t kOtherNumberOfE = 1024;

}  // namespace tarvek
