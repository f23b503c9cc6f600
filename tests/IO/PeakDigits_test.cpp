#include "PeakDigits.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

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

}  // namespace
}  // namespace tarvek
