// precursor/ModelFeatures.h: the features by the names that the tables of the scoring models use.
// Does:     one plain function for each feature, and short names of the hinge sides.
// Throws:   nothing.
// Not here: how a feature is computed (FeaturesExtractor.h). Only the Model*.cpp include this.
#pragma once

#include "ScoringModels.h"

namespace tarvek::model_features {

inline double Similarity0(FeaturesExtractor& c) { return c.ipv_similarity_0(); }
inline double SimilarityM1(FeaturesExtractor& c) { return c.ipv_similarity_m1(); }
inline double SimilarityM2(FeaturesExtractor& c) { return c.ipv_similarity_m2(); }
inline double Correlation01(FeaturesExtractor& c) { return c.xic_correlation_0_1(); }
inline double CorrelationM1(FeaturesExtractor& c) { return c.xic_correlation_m1_0(); }
inline double ElutionShare(FeaturesExtractor& c) { return c.elution_share(); }
inline double WindowRatio(FeaturesExtractor& c) { return c.window_intensity_ratio(); }
inline double IsotopeCount(FeaturesExtractor& c) { return c.isotope_count(); }
inline double WindowIsotopes(FeaturesExtractor& c) { return c.window_isotope_count(); }
inline double MzSpread(FeaturesExtractor& c) { return c.mz_spread_ppm(); }
inline double ChargeTimesMz(FeaturesExtractor& c) { return c.charge_times_mz(); }
inline double AbsCharge(FeaturesExtractor& c) { return c.abs_charge(); }

inline constexpr HingeSide kPlus = HingeSide::kPlus;
inline constexpr HingeSide kMinus = HingeSide::kMinus;

}  // namespace tarvek::model_features
