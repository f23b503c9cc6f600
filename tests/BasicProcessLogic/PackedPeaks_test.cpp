#include "PackedPeaks.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "NumberText.h"

namespace tarvek {
namespace {

void ExpectTheSame(const std::vector<Peak>& peaks, PeakDigits digits) {
  PackedPeaks packed;
  ASSERT_TRUE(packed.Pack(peaks, digits));
  std::vector<Peak> unpacked = {{1.0, 1.0}};
  packed.Unpack(unpacked);
  ASSERT_EQ(unpacked.size(), peaks.size());
  for (std::size_t i = 0; i < peaks.size(); ++i) {
    EXPECT_EQ(unpacked[i].m_mz, peaks[i].m_mz);
    EXPECT_EQ(unpacked[i].m_intensity, peaks[i].m_intensity);
  }
}

TEST(PackedPeaks, GiveBackTheSameNumbersForAllDigits) {
  std::mt19937 random(31);
  std::uniform_real_distribution<double> mz(0.1, 6000.0);
  std::uniform_real_distribution<double> exponent(-1.0, 6.5);
  for (int round = 0; round < 400; ++round) {
    const PeakDigits digits{round % 10, round / 10 % 10};
    std::vector<Peak> peaks;
    for (int i = 0; i < 200; ++i)
      peaks.push_back({Rounded(mz(random), digits.m_mz),
                       Rounded(std::pow(10.0, exponent(random)), digits.m_intensity)});
    SortByMz(peaks);
    ExpectTheSame(peaks, digits);
  }
}

TEST(PackedPeaks, TakeLessThanHalfOfASurvey) {
  std::mt19937 random(32);
  std::uniform_real_distribution<double> mz(350.0, 1500.0);
  std::uniform_real_distribution<double> exponent(3.0, 8.0);
  std::vector<Peak> peaks;
  for (int i = 0; i < 1500; ++i)
    peaks.push_back({Rounded(mz(random), 5), Rounded(std::pow(10.0, exponent(random)), 1)});
  SortByMz(peaks);
  PackedPeaks packed;
  ASSERT_TRUE(packed.Pack(peaks, {5, 1}));
  EXPECT_LT(packed.Bytes(), peaks.size() * sizeof(Peak) / 2);
}

TEST(PackedPeaks, RefuseWhatTheyCannotGiveBack) {
  PackedPeaks packed;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const Peak& peak : {Peak{500.123456, 1.0}, Peak{500.0, 0.25}, Peak{-5.0, 1.0},
                           Peak{nan, 1.0}, Peak{500.0, 1e300}})
    EXPECT_FALSE(packed.Pack(std::vector<Peak>{peak}, {5, 1})) << peak.m_mz;
  EXPECT_FALSE(packed.Pack(std::vector<Peak>{{501.0, 1.0}, {500.0, 1.0}}, {5, 1}));
  EXPECT_TRUE(packed.IsEmpty());
}

TEST(PackedPeaks, HoldNone) {
  ExpectTheSame({}, {5, 1});
  ExpectTheSame({{0.0, 0.0}}, {5, 1});
}

}  // namespace
}  // namespace tarvek
