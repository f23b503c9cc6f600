#include "mzml/RunPrecursors.h"

#include <gtest/gtest.h>

#include <string>

#include "RunRecord.h"
#include "TestSupport.h"
#include "calibrate/Calibration.h"
#include "report/ReportTestRun.h"

namespace tarvek::tools {
namespace {

TEST(RunPrecursors, KeepsWhatIsDeclaredWhereTheTableRepeatsIt) {
  const test::TemporaryDirectory directory;
  test::WriteFile(directory / "hand.csv", HandTable());
  const RunPrecursors run(directory / "hand.csv");
  ASSERT_EQ(run.Scans().size(), 6U);
  EXPECT_EQ(run.Find(5), nullptr);
  ASSERT_NE(run.Find(6), nullptr);
  EXPECT_EQ(run.Of(*run.Find(6)).size(), 2U);
  EXPECT_EQ(run.Of(*run.Find(6))[1].m_mz, 720.0);
  for (const int scan_no : {2, 3, 4, 6, 8}) EXPECT_FALSE(run.IsKept(*run.Find(scan_no), 0.0, 1));
  EXPECT_TRUE(run.IsKept(*run.Find(7), 0.0, 1));
  EXPECT_FALSE(run.IsKept(*run.Find(7), 0.0, 2));  // of two declared ones it would have both
}

TEST(RunPrecursors, CorrectsTheDeclaredPrecursorsOfACalibratedRun) {
  const test::TemporaryDirectory directory;
  test::WriteFile(directory / "hand.csv",
                  std::string(kTableHeader) + "CID, IT, 7, 800.000000, 3, 1, 1, 799.996001, 3, \n");
  RunRecord record;
  record.m_settings["m/z"] = "2";
  Calibration calibration;
  calibration.m_surveys_by_time.m_knots = {{100.0, 5.0}, {200.0, 0.0}};
  AddCalibration(calibration, record);
  WriteRunRecord(directory / "hand.tarvek", record);
  const RunPrecursors run(directory / "hand");
  EXPECT_TRUE(run.IsKept(*run.Find(7), 100.0, 1));
  EXPECT_FALSE(run.IsKept(*run.Find(7), 200.0, 1));
  EXPECT_DOUBLE_EQ(run.RoundingMz(), 0.02);
}

TEST(RunPrecursors, AsksTheEvidenceOfAJointRun) {
  const test::TemporaryDirectory directory;
  test::WriteFile(directory / "hand.csv", HandTable());
  test::WriteFile(directory / "hand.precursors.tsv",
                  "scan\tmz\tcharge\tprobability\tshare\n7\t800.000000\t3\t0.9919\t0.8827\n");
  const RunPrecursors run(directory / "hand");
  EXPECT_FALSE(run.IsKept(*run.Find(7), 0.0, 1));
  EXPECT_TRUE(run.IsKept(*run.Find(2), 0.0, 1));
}

}  // namespace
}  // namespace tarvek::tools
