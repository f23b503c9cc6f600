#include "calibrate/Estimator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "SyntheticRun.h"

namespace tarvek::tools {
namespace {

using test::ConstantBias;
using test::SyntheticBias;
using test::SyntheticRun;
using test::SyntheticScan;
using testing::HasSubstr;

Calibration EstimateOf(const std::vector<SyntheticScan>& scans,
                       std::size_t most_items = CalibrationEstimator::kMostItems) {
  CalibrationEstimator estimator(most_items);
  for (const SyntheticScan& scan : scans) estimator.Add(scan.View());
  return estimator.Estimate();
}

std::string RecordOf(const Calibration& calibration) {
  RunRecord record;
  AddCalibration(calibration, record);
  return RunRecordText(record);
}

TEST(CalibrationEstimator, FindsConstantBiases) {
  for (const auto& [survey_ppm, fragment_ppm] :
       {std::pair{-6.0, 3.0}, {5.0, 5.0}, {2.0, -4.0}, {-9.0, -8.0}}) {
    SCOPED_TRACE(testing::Message() << survey_ppm << ", " << fragment_ppm);
    const Calibration found =
        EstimateOf(SyntheticRun(11).Scans(400, 1000.0, ConstantBias(survey_ppm, fragment_ppm)));
    EXPECT_EQ(found.m_why_off, "");
    for (const double rt_s : {0.0, 500.0, 2000.0})
      EXPECT_NEAR(found.SurveyPpm(rt_s), survey_ppm, 0.4);
    for (const double mz : {120.0, 200.0, 600.0, 1200.0})
      EXPECT_NEAR(found.FragmentPpm(0.0, mz), fragment_ppm, 0.5) << mz;
    EXPECT_EQ(found.m_surveys_by_time.m_knots.size(), 1u);
    EXPECT_TRUE(found.m_fragments_by_time.m_knots.empty());
  }
}

TEST(CalibrationEstimator, SaysHowFarTheEstimateMayBeOff) {
  int sure = 0;
  for (unsigned seed = 1; seed <= 12; ++seed) {
    SCOPED_TRACE(seed);
    const Calibration found =
        EstimateOf(SyntheticRun(seed).Scans(60, 100.0, ConstantBias(-4.0, 1.0)));
    if (!found.m_surveys.m_is_sure) continue;
    ++sure;
    EXPECT_LE(std::fabs(found.m_surveys.m_ppm + 4.0), 3.0 * found.m_surveys.m_error_ppm + 0.2);
  }
  EXPECT_GE(sure, 6);
}

TEST(CalibrationEstimator, RecommendsATolerance) {
  // Precursors spread by 1 ppm: 99 % of them are within 3.
  const Calibration found = EstimateOf(SyntheticRun(5).Scans(500, 1000.0, ConstantBias(7.0, 0.0)));
  EXPECT_GE(found.m_tolerance_ppm, 4);
  EXPECT_LE(found.m_tolerance_ppm, 8);
}

TEST(CalibrationEstimator, IsNotMisledByABentScaleBelow200) {
  SyntheticBias bias = ConstantBias(-5.0, 0.0);
  bias.m_fragment = [](double, double mz) { return mz < 150.0 ? -12.0 : 1.0; };
  const Calibration found = EstimateOf(SyntheticRun(7).Scans(400, 1000.0, bias));
  EXPECT_EQ(found.m_why_off, "");
  EXPECT_NEAR(found.SurveyPpm(500.0), -5.0, 0.5);
  EXPECT_NEAR(found.FragmentPpm(500.0, 110.0), -12.0, 0.8);
  EXPECT_NEAR(found.FragmentPpm(500.0, 700.0), 1.0, 0.5);
}

TEST(CalibrationEstimator, FollowsABendAbove420) {
  SyntheticBias bias = ConstantBias(3.0, 0.0);
  bias.m_fragment = [](double, double mz) { return mz < 420.0 ? 2.0 : 0.0; };
  const Calibration found = EstimateOf(SyntheticRun(13).Scans(600, 1000.0, bias));
  EXPECT_EQ(found.m_why_off, "");
  EXPECT_NEAR(found.FragmentPpm(0.0, 750.0), 0.0, 0.5);
  EXPECT_NEAR(found.SurveyPpm(500.0), 3.0, 0.6);
}

TEST(CalibrationEstimator, FollowsADrift) {
  SyntheticBias bias = ConstantBias(0.0, 2.0);
  bias.m_survey = [](double rt_s) { return -4.0 + 8.0 * rt_s / 3000.0; };
  const Calibration found = EstimateOf(SyntheticRun(17).Scans(2000, 3000.0, bias));
  EXPECT_EQ(found.m_why_off, "");
  EXPECT_GE(found.m_surveys_by_time.m_knots.size(), 3u);
  for (const double rt_s : {300.0, 1000.0, 1500.0, 2000.0, 2700.0})
    EXPECT_NEAR(found.SurveyPpm(rt_s), bias.m_survey(rt_s), 0.7) << rt_s;
}

TEST(CalibrationEstimator, FollowsADriftOfFragments) {
  SyntheticBias bias = ConstantBias(-3.0, 0.0);
  bias.m_fragment = [](double rt_s, double) { return -3.0 + 6.0 * rt_s / 3000.0; };
  const Calibration found = EstimateOf(SyntheticRun(19).Scans(2000, 3000.0, bias));
  EXPECT_EQ(found.m_why_off, "");
  for (const double rt_s : {300.0, 1500.0, 2700.0}) {
    EXPECT_NEAR(found.FragmentPpm(rt_s, 500.0), bias.m_fragment(rt_s, 500.0), 0.8) << rt_s;
    EXPECT_NEAR(found.SurveyPpm(rt_s), -3.0, 0.8) << rt_s;
  }
}

TEST(CalibrationEstimator, DoesNotCorrectSurveysByLessThanItKnows) {
  const Calibration found = EstimateOf(SyntheticRun(23).Scans(400, 1000.0, ConstantBias(0.1, 4.0)));
  EXPECT_EQ(found.m_why_off, "");
  EXPECT_EQ(found.SurveyPpm(500.0), 0.0);
  EXPECT_NEAR(found.FragmentPpm(0.0, 300.0), 4.0, 0.5);
}

TEST(CalibrationEstimator, IsOffForIonTraps) {
  std::vector<SyntheticScan> scans = SyntheticRun(29).Scans(400, 1000.0, ConstantBias(-6.0, 3.0));
  for (const char* analyser : {"IT", "ITMS"}) {
    for (SyntheticScan& scan : scans) scan.m_analyser = analyser;
    const Calibration found = EstimateOf(scans);
    EXPECT_EQ(found.m_why_off, "all fragment spectra are of ion traps");
    EXPECT_EQ(found.SurveyPpm(0.0), 0.0);
  }
}

TEST(CalibrationEstimator, TakesTheFourierTransformSpectraOfAMixedRun) {
  std::vector<SyntheticScan> scans = SyntheticRun(31).Scans(500, 1000.0, ConstantBias(-6.0, 3.0));
  std::vector<SyntheticScan> traps = SyntheticRun(37).Scans(500, 1000.0, ConstantBias(-6.0, -15.0));
  for (SyntheticScan& scan : traps) {
    scan.m_analyser = "ITMS";
    scan.m_scan_no += 1000;
  }
  const std::string alone = RecordOf(EstimateOf(scans));
  scans.insert(scans.end(), traps.begin(), traps.end());
  EXPECT_EQ(RecordOf(EstimateOf(scans)), alone);
}

TEST(CalibrationEstimator, IsOffForFewSpectra) {
  const Calibration found = EstimateOf(SyntheticRun(41).Scans(8, 10.0, ConstantBias(-6.0, 3.0)));
  EXPECT_THAT(found.m_why_off, HasSubstr("is not sure"));
  EXPECT_EQ(found.SurveyPpm(0.0), 0.0);
}

TEST(CalibrationEstimator, IsOffWithoutSpectra) {
  EXPECT_EQ(EstimateOf({}).m_why_off, "there are no fragment spectra that tell");
}

TEST(CalibrationEstimator, IsOffForNegativeIonsAndElectronTransfer) {
  std::vector<SyntheticScan> scans = SyntheticRun(43).Scans(300, 1000.0, ConstantBias(-6.0, 3.0));
  std::vector<SyntheticScan> negative = scans;
  for (SyntheticScan& scan : negative) scan.m_precursors.front().m_charge *= -1;
  EXPECT_EQ(EstimateOf(negative).m_why_off, "there are no fragment spectra that tell");
  for (SyntheticScan& scan : scans) scan.m_activation = "ETD";
  EXPECT_EQ(EstimateOf(scans).m_why_off, "there are no fragment spectra that tell");
}

TEST(CalibrationEstimator, IsOffForNoise) {
  std::vector<SyntheticScan> scans = SyntheticRun(47).Scans(300, 1000.0, ConstantBias(0.0, 0.0));
  std::mt19937 random(47);
  for (SyntheticScan& scan : scans) {
    for (Peak& peak : scan.m_peaks)
      peak.m_mz = 110.0 + 1300.0 * (static_cast<double>(random()) / 4294967296.0);
    SortByMz(scan.m_peaks);
  }
  EXPECT_FALSE(EstimateOf(scans).IsOn());
}

TEST(CalibrationEstimator, IsOffWhenPrecursorsAreNotOfTheirFragments) {
  std::vector<SyntheticScan> scans = SyntheticRun(53).Scans(300, 1000.0, ConstantBias(-6.0, 3.0));
  std::vector<Precursor> first = scans.front().m_precursors;
  for (std::size_t i = 0; i + 1 < scans.size(); ++i)
    scans[i].m_precursors = scans[i + 1].m_precursors;
  scans.back().m_precursors = first;
  const Calibration found = EstimateOf(scans);
  EXPECT_TRUE(found.m_fragments.m_is_sure);
  EXPECT_FALSE(found.m_surveys.m_is_sure);
  EXPECT_THAT(found.m_why_off, HasSubstr("surveys"));
}

TEST(CalibrationEstimator, DoesNotBelieveOneContaminant) {
  std::vector<SyntheticScan> scans;
  for (int i = 0; i < 400; ++i) {
    SyntheticScan scan;
    scan.m_scan_no = i + 1;
    scan.m_peaks = {{175.11895 * (1.0 + 9e-6), 100.0}, {500.3, 10.0}};
    scan.m_precursors = {{450.0, 2}};
    scans.push_back(scan);
  }
  const Calibration found = EstimateOf(scans);
  EXPECT_EQ(found.m_why_off, "few ions of peptides make the bias of fragments");
}

TEST(CalibrationEstimator, DoesNotDependOnTheOrderOfSpectra) {
  SyntheticBias bias = ConstantBias(0.0, 2.0);
  bias.m_survey = [](double rt_s) { return -4.0 + 8.0 * rt_s / 3000.0; };
  std::vector<SyntheticScan> scans = SyntheticRun(59).Scans(900, 3000.0, bias);
  const std::string ascending = RecordOf(EstimateOf(scans));
  const std::string thinned = RecordOf(EstimateOf(scans, 3000));
  std::mt19937 random(59);
  for (int i = 0; i < 3; ++i) {
    for (std::size_t j = scans.size(); j > 1; --j) std::swap(scans[j - 1], scans[random() % j]);
    EXPECT_EQ(RecordOf(EstimateOf(scans)), ascending);
    EXPECT_EQ(RecordOf(EstimateOf(scans, 3000)), thinned);
  }
  EXPECT_NE(thinned, ascending);
}

TEST(CalibrationEstimator, DoesNotDependOnTheOrderOfEqualPeaks) {
  std::vector<SyntheticScan> scans = SyntheticRun(61).Scans(300, 1000.0, ConstantBias(-6.0, 3.0));
  for (SyntheticScan& scan : scans) {
    scan.m_peaks.push_back(scan.m_peaks.back());
    scan.m_precursors.push_back({scan.m_precursors.front().m_mz + 0.3, 3});
  }
  const std::string one = RecordOf(EstimateOf(scans));
  for (SyntheticScan& scan : scans) std::ranges::reverse(scan.m_precursors);
  EXPECT_EQ(RecordOf(EstimateOf(scans)), one);
}

TEST(CalibrationEstimator, KeepsABoundedSample) {
  const std::vector<SyntheticScan> scans =
      SyntheticRun(67).Scans(2000, 3000.0, ConstantBias(-6.0, 3.0));
  const Calibration found = EstimateOf(scans, 6000);
  EXPECT_EQ(found.m_why_off, "");
  EXPECT_NEAR(found.SurveyPpm(500.0), -6.0, 0.5);
  EXPECT_LT(found.m_fragments.m_matches, 6000);
}

TEST(ScanSample, HoldsNoMoreThanItMay) {
  ScanSample<int> sample(100);
  for (std::int32_t scan_no = 1; scan_no <= 10000; ++scan_no) {
    sample.Add({scan_no, 0.0, scan_no});
    ASSERT_LE(sample.Items().size(), 100u);
  }
  EXPECT_GE(sample.Items().size(), 30u);
}

}  // namespace
}  // namespace tarvek::tools
