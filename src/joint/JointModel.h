// joint/JointModel.h: from the features of a candidate to the probability that it is a precursor.
// Does:     adds up a step function of each feature, and reads the probability off a curve.
// Throws:   nothing.
// Not here: the numbers (JointModelTable.cpp, written by training/fit_joint.py).
#pragma once

#include <initializer_list>
#include <span>

#include "CandidateFeatures.h"

namespace tarvek::joint {

/// A step function of one feature. Value i holds up to and including threshold i; the last value,
/// which has no threshold, holds beyond all. The lists live as long as the JointSteps that they
/// initialize.
struct JointSteps {
  const char* m_feature;                       // one of kFeatureNames
  std::initializer_list<double> m_thresholds;  // ascending
  std::initializer_list<double> m_values;
};

/// A point of the curve, which is linear between points and flat beyond the ends.
struct JointKnot {
  double m_score;     // ascending
  double m_log_odds;  // ascending
};

struct JointModel {
  double m_intercept;
  std::span<const JointSteps> m_steps;
  std::span<const JointKnot> m_calibration;
};

extern const JointModel kJointModel;

/// The intercept plus the steps, added in order.
double JointScore(const JointModel& model, const FeatureRow& features);

/// The probability for a score by the curve: 1 / (1 + exp(-log odds)).
double JointProbability(const JointModel& model, double score);

}  // namespace tarvek::joint
