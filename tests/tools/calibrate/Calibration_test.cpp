#include "calibrate/Calibration.h"

#include <gtest/gtest.h>

#include <string>

namespace tarvek::tools {
namespace {

TEST(Curve, IsALineBetweenKnotsAndConstantOutside) {
  const Curve curve{{{100.0, -2.0}, {200.0, 2.0}, {400.0, 3.0}}};
  EXPECT_DOUBLE_EQ(curve.At(0.0), -2.0);
  EXPECT_DOUBLE_EQ(curve.At(100.0), -2.0);
  EXPECT_DOUBLE_EQ(curve.At(150.0), 0.0);
  EXPECT_DOUBLE_EQ(curve.At(200.0), 2.0);
  EXPECT_DOUBLE_EQ(curve.At(300.0), 2.5);
  EXPECT_DOUBLE_EQ(curve.At(4000.0), 3.0);
  EXPECT_DOUBLE_EQ(Curve{}.At(7.0), 0.0);
}

TEST(WithoutBias, TakesABiasAwayFromBothSigns) {
  EXPECT_NEAR(WithoutBias(500.0025, 5.0), 500.0, 1e-9);
  EXPECT_NEAR(WithoutBias(-500.0025, 5.0), -500.0, 1e-9);
  EXPECT_EQ(WithoutBias(0.0, 5.0), 0.0);
}

TEST(Calibration, ComesBackFromARecordAsRounded) {
  Calibration calibration;
  calibration.m_surveys = {-5.123, 0.081, 7.44, 806, true};
  calibration.m_fragments = {0.5, 0.1, 15.0, 7421, true};
  calibration.m_surveys_by_time = {{{10.04, -5.006}, {20.0, -4.0}}};
  calibration.m_fragments_by_mz = {{{110.0, -2.5}, {250.0, 0.25}}};
  calibration.m_tolerance_ppm = 6;
  RunRecord record;
  AddCalibration(calibration, record);
  EXPECT_TRUE(IsCalibrated(record));
  RunRecord read;
  std::string text = RunRecordText(record);
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    EXPECT_TRUE(AddRunRecordLine(text.substr(0, end), read));
    text.erase(0, end + 1);
  }
  EXPECT_EQ(read, record);
  const Calibration back = *CalibrationIn(read);
  EXPECT_TRUE(back.IsOn());
  EXPECT_EQ(back.m_surveys_by_time, (Curve{{{10.0, -5.01}, {20.0, -4.0}}}));
  EXPECT_EQ(back.m_fragments_by_mz, calibration.m_fragments_by_mz);
  EXPECT_TRUE(back.m_fragments_by_time.m_knots.empty());
  EXPECT_EQ(back.m_surveys.m_matches, 806);
  EXPECT_EQ(back.m_tolerance_ppm, 6);
}

TEST(Calibration, SaysInARecordWhyItIsOff) {
  Calibration calibration;
  calibration.m_why_off = "all fragment spectra are of ion traps";
  RunRecord record;
  AddCalibration(calibration, record);
  EXPECT_EQ(CalibrationIn(record)->m_why_off, calibration.m_why_off);
  EXPECT_EQ(CalibrationIn(record)->SurveyPpm(3.0), 0.0);
}

TEST(Calibration, IsNoneInARecordWithoutIt) {
  EXPECT_FALSE(CalibrationIn(RunRecord()));
  EXPECT_FALSE(IsCalibrated(RunRecord()));
}

TEST(Calibration, RefusesEntriesThatCannotBeRead) {
  for (const char* text : {"10.0", "10.0:x", "20.0:1.0 10.0:1.0"}) {
    RunRecord record;
    record.m_calibration["surveys_by_time"] = text;
    EXPECT_THROW(CalibrationIn(record), std::string) << text;
  }
}

}  // namespace
}  // namespace tarvek::tools
