// Model E: the recommended model, nine features, 18 terms. Its constants are given, not fitted
// here.
#include <array>

#include "ModelFeatures.h"
#include "ScoringModels.h"

namespace tarvek {
namespace {

using namespace model_features;

constexpr std::array<ModelTerm, 18> kTerms = {{
    {&SimilarityM1, {kPlus, 0.118683, 0.886521, 0.943259}, 2.167891678118},
    {&SimilarityM1, {kMinus, 0.118683, 0.886521, 0.943259}, -0.182055449457441},
    {&WindowRatio, {kPlus, 0.280507, 0.521009, 0.7605045}, 0.484178202820683},
    {&WindowRatio, {kMinus, 0.280507, 0.521009, 0.7605045}, -2.0012841532973},
    {&Similarity0, {kPlus, 0.730544, 0.961079, 0.980539}, 9.84830022285372},
    {&Similarity0, {kMinus, 0.730544, 0.961079, 0.980539}, -0.664726837910063},
    {&ChargeTimesMz, {kPlus, 687.37946, 774.5019, 4315.231375}, 5.86652807168618e-05},
    {&ChargeTimesMz, {kMinus, 687.37946, 774.5019, 4315.231375}, -0.000229163620818983},
    {&SimilarityM2, {kPlus, -0.053957, 0.636762, 0.799464}, -0.47954051980684},
    {&SimilarityM2, {kMinus, -0.053957, 0.636762, 0.799464}, 1.51413716980376},
    {&ElutionShare, {kPlus, 0.4850235, 0.968961, 0.9844805}, -1.05609578125814},
    {&ElutionShare, {kMinus, 0.4850235, 0.968961, 0.9844805}, -0.341778268342375},
    {&CorrelationM1, {kPlus, 0.404172, 0.808344, 0.904172}, -2.22773468584997},
    {&CorrelationM1, {kMinus, 0.404172, 0.808344, 0.904172}, -0.0407614339429833},
    {&Correlation01, {kPlus, 0.495494, 0.990988, 0.995494}, 0.333777817101604},
    {&Correlation01, {kMinus, 0.495494, 0.990988, 0.995494}, -0.402563975681755},
    {&SimilarityM2, {kMinus, 0.799464, 0.962166, 0.9810815}, -1.20142953078344},
    {&AbsCharge, {kPlus, 2.5, 3.0, 4.5}, -0.115481018847564},
}};

}  // namespace

const ScoringModel kModelE = {0.413690411793215, kTerms};

}  // namespace tarvek
