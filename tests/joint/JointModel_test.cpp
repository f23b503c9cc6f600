#include "JointModel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <set>
#include <string>

#include "TestSupport.h"

namespace tarvek::joint {
namespace {

constexpr std::array<JointSteps, 2> kSteps = {
    {{"cos_near", {0.5, 0.8}, {-1.0, 0.25, 2.0}}, {"charge", {}, {0.125}}}};
constexpr std::array<JointKnot, 3> kKnots = {{{-2.0, -4.0}, {0.0, 0.0}, {1.0, 3.0}}};
constexpr JointModel kModel = {10.0, kSteps, kKnots};

double ScoreOf(double cos_near) {
  FeatureRow features{};
  features[kCosNear] = cos_near;
  return JointScore(kModel, features);
}

TEST(JointModel, AddsTheStepOfEachFeature) {
  EXPECT_EQ(ScoreOf(0.0), 9.125);
  EXPECT_EQ(ScoreOf(0.5), 9.125);  // a threshold belongs to the step below it
  EXPECT_EQ(ScoreOf(std::nextafter(0.5, 1.0)), 10.375);
  EXPECT_EQ(ScoreOf(0.8), 10.375);
  EXPECT_EQ(ScoreOf(0.9), 12.125);
}

TEST(JointModel, ReadsTheProbabilityOffTheCurve) {
  EXPECT_EQ(JointProbability(kModel, 0.0), 0.5);
  EXPECT_NEAR(JointProbability(kModel, -1.0), 1.0 / (1.0 + std::exp(2.0)), 1e-12);
  EXPECT_NEAR(JointProbability(kModel, 0.5), 1.0 / (1.0 + std::exp(-1.5)), 1e-12);
  EXPECT_NEAR(JointProbability(kModel, -9.0), 1.0 / (1.0 + std::exp(4.0)), 1e-12);
  EXPECT_NEAR(JointProbability(kModel, 9.0), 1.0 / (1.0 + std::exp(-3.0)), 1e-12);
}

TEST(JointModel, RefusesAFeatureThatDoesNotExist) {
  const JointSteps steps = {"colour", {}, {0.125}};
  const JointModel model = {0.0, std::span(&steps, 1), kKnots};
  EXPECT_THAT(test::MessageOf([&] { JointScore(model, FeatureRow{}); }),
              testing::HasSubstr("knows the feature"));
}

TEST(JointModel, OfTheProgramIsSound) {
  std::set<std::string> names;
  for (const JointSteps& steps : kJointModel.m_steps) {
    EXPECT_TRUE(names.insert(steps.m_feature).second) << steps.m_feature;
    EXPECT_EQ(steps.m_values.size(), steps.m_thresholds.size() + 1) << steps.m_feature;
    EXPECT_TRUE(std::ranges::is_sorted(steps.m_thresholds)) << steps.m_feature;
  }
  ASSERT_GE(kJointModel.m_calibration.size(), 2u);
  EXPECT_TRUE(std::ranges::is_sorted(kJointModel.m_calibration, {}, &JointKnot::m_score));
  EXPECT_TRUE(std::ranges::is_sorted(kJointModel.m_calibration, {}, &JointKnot::m_log_odds));
  EXPECT_EQ(std::set<std::string>(kFeatureNames.begin(), kFeatureNames.end()).size(),
            kFeatureCount);
  EXPECT_NO_THROW(JointScore(kJointModel, FeatureRow{}));
}

}  // namespace
}  // namespace tarvek::joint
