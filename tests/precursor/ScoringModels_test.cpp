#include "ScoringModels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <ostream>
#include <set>
#include <tuple>
#include <vector>

#include "IsotopeTable.h"
#include "ModelFeatures.h"
#include "NaiveDetermination.h"
#include "ParameterText.h"
#include "PrecursorTestSupport.h"
#include "Scene.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::Random;
using test::SameDouble;

using Feature = double (*)(FeaturesExtractor&);

constexpr Hinge kPlusHinge = {HingeSide::kPlus, 2.5, 3.0, 4.5};
constexpr Hinge kMinusHinge = {HingeSide::kMinus, 2.5, 3.0, 4.5};

TEST(CubicHinge, OfThePlusSideIsZeroUpToTheLowerKnot) {
  EXPECT_EQ(CubicHinge(kPlusHinge, 2.5), 0.0);
  EXPECT_EQ(CubicHinge(kPlusHinge, -100.0), 0.0);
}

TEST(CubicHinge, OfThePlusSideIsTheDistanceFromTheMiddleKnotFromTheUpperOneOn) {
  EXPECT_EQ(CubicHinge(kPlusHinge, 4.5), 1.5);
  EXPECT_EQ(CubicHinge(kPlusHinge, 6.0), 3.0);
}

TEST(CubicHinge, OfTheMinusSideIsTheDistanceFromTheMiddleKnotUpToTheLowerOne) {
  EXPECT_EQ(CubicHinge(kMinusHinge, 2.5), 0.5);
  EXPECT_EQ(CubicHinge(kMinusHinge, 1.0), 2.0);
}

TEST(CubicHinge, OfTheMinusSideIsZeroFromTheUpperKnotOn) {
  EXPECT_EQ(CubicHinge(kMinusHinge, 4.5), 0.0);
  EXPECT_EQ(CubicHinge(kMinusHinge, 100.0), 0.0);
}

TEST(CubicHinge, OfThePlusSideHasItsWorkedMiddleSegment) {
  // p = 0.625 and q = -1/8: at 3.5 it is 0.625 - 0.125, at 3.0 it is 0.15625 - 0.015625.
  EXPECT_EQ(CubicHinge(kPlusHinge, 3.5), 0.5);
  EXPECT_EQ(CubicHinge(kPlusHinge, 3.0), 0.140625);
}

TEST(CubicHinge, OfTheMinusSideHasItsMiddleSegment) {
  // p = (9 - 5 - 4.5) / 4 = -0.125 and q = (7 - 6) / -8 = -0.125; at 3.5 it is -0.125 + 0.125.
  EXPECT_EQ(CubicHinge(kMinusHinge, 3.5), 0.0);
  EXPECT_EQ(CubicHinge(kMinusHinge, 3.0), -0.125 * 2.25 + 0.125 * 3.375);
}

TEST(CubicHinge, HasTheWorkedConstantsOfTheFirstTermOfModelE) {
  const double p = -0.962402385589873;
  const double q = 0.7111 / (0.824576 * 0.824576 * 0.824576);
  ASSERT_EQ(kModelE.m_terms.size(), 18u);
  const Hinge& hinge = kModelE.m_terms[0].m_hinge;
  for (const double d : {0.1, 0.3, 0.5, 0.8})
    EXPECT_NEAR(CubicHinge(hinge, 0.118683 + d), p * d * d + q * d * d * d, 1e-13) << d;
}

TEST(CubicHinge, HasTheWorkedConstantsOfTheLastTermOfModelE) {
  const Hinge& hinge = kModelE.m_terms[17].m_hinge;
  EXPECT_EQ(CubicHinge(hinge, 3.0), 0.625 * 0.25 - 0.125 * 0.125);
  EXPECT_EQ(CubicHinge(hinge, 4.0), 0.625 * 2.25 - 0.125 * 3.375);
}

TEST(CubicHinge, IsNaNForNaN) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(std::isnan(CubicHinge(kPlusHinge, kNaN)));
  EXPECT_TRUE(std::isnan(CubicHinge(kMinusHinge, kNaN)));
}

TEST(CubicHinge, AgreesWithTheFormulaWrittenOut) {
  for (unsigned seed = 0; seed < 500; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    const double t_minus = random.Real(-1.0, 1.0);
    const double t = t_minus + random.Real(0.01, 1.0);
    const double t_plus = t + random.Real(0.01, 1.0);
    for (int i = 0; i < 20; ++i) {
      const double x = random.Real(t_minus - 0.5, t_plus + 0.5);
      EXPECT_TRUE(SameDouble(CubicHinge({HingeSide::kPlus, t_minus, t, t_plus}, x),
                             naive::HingePlus(x, t_minus, t, t_plus)));
      EXPECT_TRUE(SameDouble(CubicHinge({HingeSide::kMinus, t_minus, t, t_plus}, x),
                             naive::HingeMinus(x, t_minus, t, t_plus)));
    }
  }
}

TEST(CubicHinge, IsContinuousWithItsSlopeAtTheKnots) {
  for (unsigned seed = 0; seed < 500; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    const double t_minus = random.Real(-1.0, 1.0);
    const double t = t_minus + random.Real(0.01, 1.0);
    const double t_plus = t + random.Real(0.01, 1.0);
    // The slope bends most over the shorter side; a step of it changes the slope in proportion.
    const double step = 1e-5 * std::min(t - t_minus, t_plus - t);
    for (const HingeSide side : {HingeSide::kPlus, HingeSide::kMinus}) {
      const Hinge h = {side, t_minus, t, t_plus};
      for (const double knot : {t_minus, t_plus}) {
        const double before = (CubicHinge(h, knot) - CubicHinge(h, knot - step)) / step;
        const double after = (CubicHinge(h, knot + step) - CubicHinge(h, knot)) / step;
        EXPECT_NEAR(before, after, 1e-3);
      }
    }
  }
}

/// A doubly charged envelope at the centre of an MS2 scan, eluting over three scans.
struct EnvelopeScene : test::Scene {
  EnvelopeScene() {
    InstallIsotopeTable(test::PoissonTable());
    for (std::size_t p = 3; p <= 5; ++p)
      m_lists[p] = {{500.0, 100.0}, {500.5015, 60.0}, {501.003, 20.0}, {501.5045, 5.0}};
    m_candidates = m_lists[4];
    Build();
  }
};

TEST(EvaluateModel, IsTheInterceptWithoutTerms) {
  const EnvelopeScene scene;
  FeaturesExtractor candidate = scene.Candidate({500.0, 2});
  EXPECT_EQ(EvaluateModel({0.25, {}}, candidate), 0.25);
}

TEST(EvaluateModel, AddsCoefficientTimesHingeOfTheFeature) {
  const EnvelopeScene scene;
  FeaturesExtractor candidate = scene.Candidate({500.0, 2});
  const std::vector<ModelTerm> terms = {
      {[](FeaturesExtractor& c) { return c.abs_charge(); }, {HingeSide::kPlus, 0.0, 1.0, 1.5}, 3.0},
      {[](FeaturesExtractor& c) { return c.charge_times_mz(); },
       {HingeSide::kMinus, 1500.0, 1600.0, 1700.0},
       0.5}};
  EXPECT_EQ(EvaluateModel({0.25, terms}, candidate), 0.25 + 3.0 * 1.0 + 0.5 * 600.0);
}

TEST(Score, IsTheSameForModel1024AndModel4) {
  const EnvelopeScene scene;
  FeaturesExtractor candidate = scene.Candidate({500.0, 2});
  FeaturesExtractor same = scene.Candidate({500.0, 2});
  EXPECT_EQ(Score(candidate, 1024), Score(same, 4));
}

TEST(Score, OfModelEAgreesWithTheTermsWrittenOut) {
  const IsotopeTable table = test::PoissonTable();
  InstallIsotopeTable(table);
  std::size_t compared = 0;
  for (unsigned seed = 0; seed < 200; ++seed) {
    SCOPED_TRACE(seed);
    const test::ScanRun run = test::RandomRun(seed);
    const auto twin = naive::BuildScan(run.m_params, run.m_store, run.m_ms2);
    if (!twin || twin->m_candidates.empty()) continue;
    const test::Scene scene(run, *twin);
    for (std::size_t i = 0; i < twin->m_candidates.size(); i += 9) {
      const double mz = twin->m_candidates[i].m_mz;
      const int z = static_cast<int>(i % 11) - 5;
      if (z == 0) continue;
      const Precursor precursor{z < 0 ? -mz : mz, z};
      FeaturesExtractor candidate = scene.Candidate(precursor);
      const double expected = naive::ScoreModelE(naive::ComputeFeatures(*twin, table, precursor));
      EXPECT_TRUE(SameDouble(Score(candidate, 4), expected)) << mz << " charge " << z;
      ++compared;
    }
  }
  EXPECT_GT(compared, 300u);
}

/// The expected shape of a fitted model: the number of its terms and exactly these features.
struct ModelShape {
  const char* m_name;
  const ScoringModel* m_model;
  std::size_t m_terms;
  std::set<Feature> m_features;
};

void PrintTo(const ModelShape& shape, std::ostream* out) { *out << shape.m_name; }

using namespace model_features;

const std::set<Feature> kFeaturesOfB = {&Similarity0,  &Correlation01,  &CorrelationM1,
                                        &ElutionShare, &WindowIsotopes, &IsotopeCount,
                                        &WindowRatio,  &ChargeTimesMz};
const std::set<Feature> kFeaturesOfDAndG = {&Similarity0,   &Correlation01, &CorrelationM1,
                                            &MzSpread,      &ElutionShare,  &WindowRatio,
                                            &ChargeTimesMz, &AbsCharge};

std::set<Feature> With(std::set<Feature> features, Feature further) {
  features.insert(further);
  return features;
}

const std::vector<ModelShape> kShapes = {
    {"A", &kModelA, 17, With(kFeaturesOfB, &AbsCharge)},
    {"B", &kModelB, 18, kFeaturesOfB},
    {"C", &kModelC, 13, {&Similarity0, &CorrelationM1, &ElutionShare, &WindowRatio}},
    {"D", &kModelD, 15, kFeaturesOfDAndG},
    {"E",
     &kModelE,
     18,
     {&SimilarityM1, &WindowRatio, &Similarity0, &ChargeTimesMz, &SimilarityM2, &ElutionShare,
      &CorrelationM1, &Correlation01, &AbsCharge}},
    {"F",
     &kModelF,
     15,
     {&Similarity0, &Correlation01, &CorrelationM1, &ElutionShare, &WindowRatio, &ChargeTimesMz}},
    {"G", &kModelG, 17, kFeaturesOfDAndG},
};

TEST(MarsModels, HaveAShapeHereAndALineInTheHelp) {
  for (const MarsModel& row : kMarsModels) {
    SCOPED_TRACE(row.m_number);
    EXPECT_TRUE(std::ranges::count(kShapes, row.m_model, &ModelShape::m_model));
    EXPECT_NE(ParameterComment("mars_model").find("# " + std::to_string(row.m_number) + ": "),
              std::string_view::npos);
  }
}

class EveryModel : public testing::TestWithParam<ModelShape> {};
INSTANTIATE_TEST_SUITE_P(ScoringModels, EveryModel, testing::ValuesIn(kShapes),
                         [](const auto& test) { return test.param.m_name; });

TEST_P(EveryModel, HasItsNumberOfTerms) {
  EXPECT_EQ(GetParam().m_model->m_terms.size(), GetParam().m_terms);
}

TEST_P(EveryModel, UsesExactlyItsFeatures) {
  std::set<Feature> used;
  for (const ModelTerm& term : GetParam().m_model->m_terms) used.insert(term.m_feature);
  EXPECT_EQ(used, GetParam().m_features);
}

TEST_P(EveryModel, HasAscendingKnotsAndFiniteNumbers) {
  EXPECT_TRUE(std::isfinite(GetParam().m_model->m_intercept));
  for (const ModelTerm& term : GetParam().m_model->m_terms) {
    EXPECT_LT(term.m_hinge.m_t_minus, term.m_hinge.m_t);
    EXPECT_LT(term.m_hinge.m_t, term.m_hinge.m_t_plus);
    EXPECT_TRUE(std::isfinite(term.m_hinge.m_t_minus) && std::isfinite(term.m_hinge.m_t_plus));
    EXPECT_TRUE(std::isfinite(term.m_coefficient) && term.m_coefficient != 0.0);
  }
}

TEST_P(EveryModel, HasNoTermTwice) {
  std::set<std::tuple<Feature, HingeSide, double>> seen;
  for (const ModelTerm& term : GetParam().m_model->m_terms)
    EXPECT_TRUE(seen.emplace(term.m_feature, term.m_hinge.m_side, term.m_hinge.m_t).second);
}

TEST_P(EveryModel, KeepsNeighbouringHingesOfAFeatureApart) {
  for (const ModelTerm& a : GetParam().m_model->m_terms) {
    for (const ModelTerm& b : GetParam().m_model->m_terms) {
      if (a.m_feature != b.m_feature || a.m_hinge.m_t >= b.m_hinge.m_t) continue;
      EXPECT_LE(a.m_hinge.m_t_plus, b.m_hinge.m_t_minus);
    }
  }
}

/// A feature and its low, middling and high value.
struct FeatureValues {
  Feature m_feature;
  std::array<double, 3> m_values;
};

// The same are in model_scores.py.
const std::vector<FeatureValues> kValues = {
    {&Similarity0, {0.6, 0.981, 1.0}},         {&SimilarityM1, {-0.2, 0.8, 0.97}},
    {&SimilarityM2, {-0.1, 0.5, 0.99}},        {&Correlation01, {0.1, 0.95, 1.0}},
    {&CorrelationM1, {0.2, 0.9, 0.998}},       {&ElutionShare, {0.05, 0.7, 0.999}},
    {&WindowRatio, {0.04, 0.3, 1.75}},         {&IsotopeCount, {2.0, 4.0, 5.0}},
    {&WindowIsotopes, {1.0, 3.0, 5.0}},        {&MzSpread, {0.1, 2.5, 14.0}},
    {&ChargeTimesMz, {600.0, 1500.0, 4400.0}}, {&AbsCharge, {1.0, 3.0, 5.0}},
};

/// The score that a model gives when each feature has the value of value_of(its values).
template <typename ValueOf>
double ScoreOfValues(const ScoringModel& model, ValueOf value_of) {
  double score = model.m_intercept;
  for (const ModelTerm& term : model.m_terms) {
    const auto found = std::ranges::find(kValues, term.m_feature, &FeatureValues::m_feature);
    score += term.m_coefficient * CubicHinge(term.m_hinge, value_of(found->m_values));
  }
  return score;
}

double MeanScoreFromLowToHigh(const ScoringModel& model) {
  constexpr int kSteps = 1000;
  double total = 0.0;
  for (int step = 0; step <= kSteps; ++step)
    total += ScoreOfValues(model, [&](const std::array<double, 3>& values) {
      return values[0] + step / static_cast<double>(kSteps) * (values[2] - values[0]);
    });
  return total / (kSteps + 1);
}

struct ModelScores {
  const ScoringModel* m_model;
  std::array<double, 4> m_scores;  // of low, middling and high values; mean from low to high
};

// Printed by model_scores.py, which has its own table reader and formula.
const std::vector<ModelScores> kScores = {
    {&kModelA, {-1.20813273427442, -0.186270383872893, 0.843222086834103, -0.436401681990033}},
    {&kModelB, {-1.00252933069922, -0.127688264416082, 0.786550794775433, -0.451502263627758}},
    {&kModelC, {-0.724703956066884, -0.374777060324645, 0.954090200140925, -0.286955523245179}},
    {&kModelD, {-1.27798474137884, -0.196507120523242, 0.722763993796944, -0.463840147207101}},
    {&kModelE, {-1.88487714973432, -0.445931776152491, 0.934137774706548, -0.36907096238651}},
    {&kModelF, {-1.2754850264693, -0.120799037201102, 1.3004529988152, -0.476491699652873}},
    {&kModelG, {-1.27451699316199, -0.170586310894992, 0.630604194242317, -0.456133970496049}},
};

TEST_P(EveryModel, GivesTheScoresWorkedOutElsewhere) {
  const auto found = std::ranges::find(kScores, GetParam().m_model, &ModelScores::m_model);
  ASSERT_NE(found, kScores.end());
  for (std::size_t i = 0; i < 3; ++i)
    EXPECT_NEAR(ScoreOfValues(*found->m_model, [&](const auto& values) { return values[i]; }),
                found->m_scores[i], 1e-12);
  EXPECT_NEAR(MeanScoreFromLowToHigh(*found->m_model), found->m_scores[3], 1e-12);
}

TEST_P(EveryModel, GivesAFiniteScore) {
  const EnvelopeScene scene;
  FeaturesExtractor candidate = scene.Candidate({500.0, 2});
  EXPECT_TRUE(std::isfinite(EvaluateModel(*GetParam().m_model, candidate)));
}

/// The score of one candidate by the number of a model.
double ScoreBy(std::int32_t mars_model) {
  const EnvelopeScene scene;
  FeaturesExtractor candidate = scene.Candidate({500.0, 2});
  return Score(candidate, mars_model);
}

double ScoreOf(const ScoringModel& model) {
  const EnvelopeScene scene;
  FeaturesExtractor candidate = scene.Candidate({500.0, 2});
  return EvaluateModel(model, candidate);
}

TEST(Score, TakesTheModelOfItsNumber) {
  EXPECT_EQ(ScoreBy(0), ScoreOf(kModelA));
  EXPECT_EQ(ScoreBy(1), ScoreOf(kModelB));
  EXPECT_EQ(ScoreBy(2), ScoreOf(kModelC));
  EXPECT_EQ(ScoreBy(3), ScoreOf(kModelD));
  EXPECT_EQ(ScoreBy(4), ScoreOf(kModelE));
  EXPECT_EQ(ScoreBy(5), ScoreOf(kModelF));
  EXPECT_EQ(ScoreBy(250), ScoreOf(kModelG));
  EXPECT_EQ(ScoreBy(1024), ScoreOf(kModelE));
}

TEST(Score, DiffersBetweenTheModels) {
  std::set<double> scores;
  for (const int model : {0, 1, 2, 3, 4, 5, 250}) scores.insert(ScoreBy(model));
  EXPECT_EQ(scores.size(), 7u);
}

TEST(Score, TakesModelAForAnUnknownNumber) {
  for (const int unknown : {7, -1, 6, 14, 16, 251, 1023, 2147483647})
    EXPECT_EQ(ScoreBy(unknown), ScoreOf(kModelA)) << unknown;
}

// Model G scores some candidates higher and model F others, so testing only one shows nothing.
TEST(Score, Of15IsTheLargerOfModelsGAndF) {
  InstallIsotopeTable(test::PoissonTable());
  std::size_t g_larger = 0;
  std::size_t f_larger = 0;
  for (unsigned seed = 0; seed < 200; ++seed) {
    SCOPED_TRACE(seed);
    const test::ScanRun run = test::RandomRun(seed);
    const auto twin = naive::BuildScan(run.m_params, run.m_store, run.m_ms2);
    if (!twin || twin->m_candidates.empty()) continue;
    const test::Scene scene(run, *twin);
    FeaturesExtractor candidate = scene.Candidate({twin->m_candidates.front().m_mz, 2});
    const double g = EvaluateModel(kModelG, candidate);
    const double f = EvaluateModel(kModelF, candidate);
    EXPECT_EQ(Score(candidate, 15), g > f ? g : f);
    ++(g > f ? g_larger : f_larger);
  }
  EXPECT_GT(g_larger, 0u);
  EXPECT_GT(f_larger, 0u);
}

}  // namespace
}  // namespace tarvek
