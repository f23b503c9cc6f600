#include "LaneTable.h"

#include <gtest/gtest.h>

#include <array>
#include <map>

#include "PrecursorTestSupport.h"

namespace tarvek::joint {
namespace {

using test::Random;

ScanWindow WindowOf(const std::array<PeakList, kWindowScans>& lists) {
  ScanWindow window;
  for (std::size_t row = 0; row < kWindowScans; ++row) window[row] = lists[row];
  return window;
}

class Lanes : public testing::Test {
 protected:
  LaneTable& Build(double min_share = 0.0) {
    m_table.Build(WindowOf(m_lists), 495.0, 505.0, 499.0, 501.0, min_share, 8.0);
    return m_table;
  }
  std::array<PeakList, kWindowScans> m_lists;
  LaneTable m_table;
};

TEST_F(Lanes, OfNoPeaksIsEmpty) {
  EXPECT_TRUE(Build().Lanes().empty());
  EXPECT_EQ(m_table.Find(500.0, 1.0), kNoLane);
  EXPECT_EQ(m_table.DetectionLimit(), 0.0);
}

TEST_F(Lanes, JoinsPeaksOfNearlyOneMz) {
  m_lists[4] = {{500.000, 30.0}};
  m_lists[6] = {{500.002, 10.0}};  // 4 ppm
  m_lists[7] = {{500.010, 5.0}};   // 19 ppm from their mean
  const auto lanes = Build().Lanes();
  ASSERT_EQ(lanes.size(), 2u);
  EXPECT_NEAR(lanes[0].m_mz, 500.0005, 1e-9);  // (30 x 500 + 10 x 500.002) / 40
  EXPECT_EQ(lanes[0].m_near, 30.0);            // rows 3 to 5
  EXPECT_EQ(lanes[0].m_all, 40.0);
  EXPECT_EQ(lanes[0].m_present, 1u << 4 | 1u << 6);
  EXPECT_EQ(lanes[1].m_near, 0.0);
}

TEST_F(Lanes, LeaveOutWhatIsWeakForItsScan) {
  m_lists[4] = {{498.0, 1.5}, {500.0, 100.0}, {503.0, 2.5}};  // the highest counts from 499 to 501
  m_lists[5] = {{498.0, 1.5}, {503.0, 2.5}};                  // nothing there
  const auto lanes = Build(0.02).Lanes();
  ASSERT_EQ(lanes.size(), 3u);
  EXPECT_EQ(lanes[0].m_all, 1.5);
  EXPECT_EQ(lanes[2].m_all, 5.0);
  EXPECT_EQ(m_table.DetectionLimit(), 1.5);
}

TEST_F(Lanes, FindTheNearestWithinTheTolerance) {
  m_lists[0] = {{500.00, 1.0}, {500.01, 1.0}, {500.03, 1.0}};
  Build();
  EXPECT_EQ(m_table.Find(500.012, 0.02), 1);
  EXPECT_EQ(m_table.Find(500.019, 0.02), 1);
  EXPECT_EQ(m_table.Find(500.021, 0.02), 2);
  EXPECT_EQ(m_table.Find(500.02, 0.005), kNoLane);
  EXPECT_EQ(m_table.Find(200.0, 0.02), kNoLane);
  EXPECT_EQ(m_table.Find(900.0, 0.02), kNoLane);
}

TEST_F(Lanes, FindWhatAScanOfAllLanesFinds) {
  Random random(5);
  for (int round = 0; round < 50; ++round) {
    for (PeakList& list : m_lists) {
      list.clear();
      for (int i = random.Int(0, 60); i > 0; --i)
        list.push_back({random.Real(494.5, 505.5), random.Real(0.1, 50.0)});
      std::ranges::sort(list, {}, &Peak::m_mz);
    }
    const auto lanes = Build().Lanes();
    double sum = 0.0;
    for (std::size_t i = 0; i < lanes.size(); ++i) {
      sum += lanes[i].m_all;
      EXPECT_LE(lanes[i > 0 ? i - 1 : 0].m_mz, lanes[i].m_mz);
    }
    double expected_sum = 0.0;
    for (const PeakList& list : m_lists)
      for (const Peak& peak : list)
        if (peak.m_mz >= 495.0 && peak.m_mz <= 505.0) expected_sum += peak.m_intensity;
    EXPECT_NEAR(sum, expected_sum, 1e-6);
    for (int i = 0; i < 100; ++i) {
      const double mz = random.Real(494.0, 506.0);
      double distance = 0.02;
      int nearest = kNoLane;
      for (std::size_t k = 0; k < lanes.size(); ++k)
        if (std::fabs(lanes[k].m_mz - mz) <= distance) {
          distance = std::fabs(lanes[k].m_mz - mz);
          nearest = static_cast<int>(k);
        }
      EXPECT_EQ(m_table.Find(mz, 0.02), nearest);
    }
  }
}

// No survey has such peaks; files of strangers have.
TEST_F(Lanes, AreBoundedWhereTheToleranceIsSmall) {
  for (int i = 0; i < 60'000; ++i) m_lists[4].push_back({1.0 + i * 1e-4, 2.0});
  m_table.Build(WindowOf(m_lists), 0.0, 8.0, 0.0, 8.0, 0.0, 8.0);
  const auto lanes = m_table.Lanes();
  ASSERT_EQ(lanes.size(), 20'000u);
  EXPECT_NEAR(lanes.back().m_mz, 2.9999, 1e-9);
  for (int i = 0; i < 20'000; i += 77) EXPECT_EQ(m_table.Find(1.0 + i * 1e-4 + 2e-6, 1e-5), i);
  EXPECT_EQ(m_table.Find(3.5, 1e-5), kNoLane);
}

TEST_F(Lanes, TakeAHundredThousandPeaksOfAScan) {
  m_lists[4].assign(150'000, {500.0, 1.0});
  m_lists[5].assign(2, {500.0, 1.0});
  const auto lanes = Build().Lanes();
  ASSERT_EQ(lanes.size(), 1u);
  EXPECT_EQ(lanes[0].m_rows[4], 100'000.0);
  EXPECT_EQ(lanes[0].m_rows[5], 2.0);
}

}  // namespace
}  // namespace tarvek::joint
