#include "PeakDigits.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "NumberText.h"

namespace tarvek {
namespace {

std::string LinesOf(const std::vector<Peak>& peaks, PeakDigits digits = {}) {
  std::string text;
  AppendPeakLines(text, peaks, digits);
  return text;
}

TEST(PeakLines, HaveFiveAndOneDecimalsByDefault) {
  EXPECT_EQ(LinesOf({{100.123456, 2000.66}}), "100.12346 2000.7\n");
}

TEST(PeakLines, RoundToTheDigits) {
  EXPECT_EQ(LinesOf({{100.123456, 2000.6}}, {3, 0}), "100.123 2001\n");
}

TEST(PeakLines, AreAppendedBehindWhatIsThere) {
  std::string text = "before\n";
  AppendPeakLines(text, std::vector<Peak>{{1.0, 2.0}, {3.0, 4.0}}, {});
  EXPECT_EQ(text, "before\n1.00000 2.0\n3.00000 4.0\n");
}

TEST(PeakLines, AreNoneForNoPeaks) { EXPECT_EQ(LinesOf({}), ""); }

TEST(PeakLines, AgreeWithPrintfForAllDigitCounts) {
  constexpr unsigned kSeed = 20;
  SCOPED_TRACE(kSeed);
  std::mt19937_64 random(kSeed);
  std::uniform_real_distribution<double> magnitude(-3.0, 9.0);
  for (int mz_digits = 0; mz_digits <= 9; ++mz_digits) {
    for (int intensity_digits = 0; intensity_digits <= 9; ++intensity_digits) {
      for (int i = 0; i < 200; ++i) {
        const Peak peak{std::pow(10.0, magnitude(random)), std::pow(10.0, magnitude(random))};
        char expected[128];
        std::snprintf(expected, sizeof expected, "%.*f %.*f\n", mz_digits, peak.m_mz,
                      intensity_digits, peak.m_intensity);
        ASSERT_EQ(LinesOf({peak}, {mz_digits, intensity_digits}), expected);
      }
    }
  }
}

TEST(PeakLines, RoundTiesAsPrintfDoes) {
  EXPECT_EQ(LinesOf({{0.25, 0.5}, {0.75, 1.5}, {0.125, 2.5}}, {1, 0}), "0.2 0\n0.8 2\n0.1 2\n");
}

TEST(PeakLines, AreTheSameWithRoundingForAllDigitCounts) {
  std::mt19937_64 random(35);
  SCOPED_TRACE("seed 35");
  std::uniform_real_distribution<double> mz(10.0, 4000.0);
  std::uniform_real_distribution<double> magnitude(-3.0, 13.0);
  for (int mz_digits = 0; mz_digits <= 9; ++mz_digits) {
    for (int intensity_digits = 0; intensity_digits <= 9; ++intensity_digits) {
      const PeakDigits digits{mz_digits, intensity_digits};
      for (std::size_t count : {1u, 31u, 32u, 33u, 200u}) {
        std::vector<Peak> peaks;
        for (std::size_t i = 0; i < count; ++i)
          peaks.push_back({mz(random), std::pow(10.0, magnitude(random))});
        // sometimes a case that the simple way cannot decide
        if (random() % 3 == 0)
          peaks[random() % count].m_intensity = static_cast<double>(random() % 1000) / 8.0;
        if (random() % 9 == 0)
          peaks[random() % count].m_intensity = random() % 2 == 0 ? -0.0 : -1.5;
        const std::string expected = LinesOf(peaks, digits);
        std::vector<Peak> rounded = peaks;
        std::string text;
        AppendAndRoundPeakLines(text, rounded, digits);
        ASSERT_EQ(text, expected);
        for (std::size_t i = 0; i < count; ++i) {
          ASSERT_EQ(rounded[i].m_mz, Rounded(peaks[i].m_mz, mz_digits));
          ASSERT_EQ(rounded[i].m_intensity, Rounded(peaks[i].m_intensity, intensity_digits));
        }
      }
    }
  }
}

}  // namespace
}  // namespace tarvek
