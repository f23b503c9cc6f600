#include "ScoringModels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "IsotopeTable.h"
#include "NaiveDetermination.h"
#include "PrecursorTestSupport.h"
#include "Scene.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::MessageOf;
using test::Random;
using test::SameDouble;

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

TEST(CubicHinge, OfEveryTermOfModelETakesItsValuesAtTheKnots) {
  for (const ModelTerm& term : kModelE.m_terms) {
    const Hinge& h = term.m_hinge;
    const bool plus = h.m_side == HingeSide::kPlus;
    EXPECT_EQ(CubicHinge(h, h.m_t_minus), plus ? 0.0 : h.m_t - h.m_t_minus);
    EXPECT_EQ(CubicHinge(h, h.m_t_plus), plus ? h.m_t_plus - h.m_t : 0.0);
  }
}

TEST(CubicHinge, OfEveryTermOfModelEIsContinuousAtTheKnots) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  for (const ModelTerm& term : kModelE.m_terms) {
    const Hinge& h = term.m_hinge;
    const double tolerance = 1e-12 * std::max(1.0, h.m_t_plus);
    EXPECT_NEAR(CubicHinge(h, std::nextafter(h.m_t_minus, kInfinity)), CubicHinge(h, h.m_t_minus),
                tolerance);
    EXPECT_NEAR(CubicHinge(h, std::nextafter(h.m_t_plus, -kInfinity)), CubicHinge(h, h.m_t_plus),
                tolerance);
  }
}

TEST(CubicHinge, OfEveryTermOfModelEHasAContinuousSlopeAtTheKnots) {
  for (const ModelTerm& term : kModelE.m_terms) {
    const Hinge& h = term.m_hinge;
    const double step = 1e-5 * (h.m_t_plus - h.m_t_minus);
    for (const double knot : {h.m_t_minus, h.m_t_plus}) {
      const double before = (CubicHinge(h, knot) - CubicHinge(h, knot - step)) / step;
      const double after = (CubicHinge(h, knot + step) - CubicHinge(h, knot)) / step;
      EXPECT_NEAR(before, after, 1e-3);
    }
  }
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

TEST(Score, FailsForAModelThatIsNotThere) {
  const EnvelopeScene scene;
  FeaturesExtractor candidate = scene.Candidate({500.0, 2});
  EXPECT_EQ(MessageOf([&] { Score(candidate, 2); }),
            "Scoring model 2 (mars_model) is not in this version yet. Use 4, which is recommended, "
            "or 1024.");
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

TEST(RequireScoringModel, AcceptsModels4And1024) {
  EXPECT_EQ(MessageOf([] { RequireScoringModel(4); }), "(nothing was thrown)");
  EXPECT_EQ(MessageOf([] { RequireScoringModel(1024); }), "(nothing was thrown)");
}

TEST(RequireScoringModel, RefusesEveryModelWithoutATable) {
  for (const int model : {0, 1, 2, 3, 5, 15, 250, 7, -1})
    EXPECT_EQ(MessageOf([model] { RequireScoringModel(model); }),
              "Scoring model " + std::to_string(model) +
                  " (mars_model) is not in this version yet. Use 4, which is recommended, or "
                  "1024.");
}

}  // namespace
}  // namespace tarvek
