#include "PeakLineFormat.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>

#include "IoTestSupport.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::MessageOf;
using test::ScopedPeakLineFormat;

std::string LinesOf(const std::vector<Peak>& peaks) {
  std::string text;
  AppendPeakLines(text, peaks);
  return text;
}

TEST(PeakLineFormat, HasFiveAndOneDecimalsByDefault) {
  EXPECT_EQ(GetPeakLineFormat(), "%.5f %.1f\n");
  EXPECT_EQ(LinesOf({{100.123456, 2000.66}}), "100.12346 2000.7\n");
}

TEST(PeakLineFormat, RoundsToTheInstalledDecimals) {
  const ScopedPeakLineFormat format("%.3f %.0f\n");
  EXPECT_EQ(LinesOf({{100.123456, 2000.6}}), "100.123 2001\n");
}

TEST(PeakLineFormat, GivesBackTheInstalledText) {
  const ScopedPeakLineFormat format("%.9f %.2f\n");
  EXPECT_EQ(GetPeakLineFormat(), "%.9f %.2f\n");
}

TEST(PeakLineFormat, AppendsOneLinePerPeakBehindWhatIsThere) {
  std::string text = "before\n";
  AppendPeakLines(text, std::vector<Peak>{{1.0, 2.0}, {3.0, 4.0}});
  EXPECT_EQ(text, "before\n1.00000 2.0\n3.00000 4.0\n");
}

TEST(PeakLineFormat, AppendsNothingForNoPeaks) { EXPECT_EQ(LinesOf({}), ""); }

TEST(PeakLineFormat, RefusesATextOfAnotherForm) {
  for (const char* text : {"", "%.5f %.1f", "%.12f %.1f\n", "%.5f\t%.1f\n", "%.xf %.1f\n",
                           "%.5f %.1g\n", "%.5f %.1f\n\n"}) {
    SCOPED_TRACE(text);
    EXPECT_NE(MessageOf([&] { SetPeakLineFormat(text); }).find("PeakLineFormat"),
              std::string::npos);
    EXPECT_EQ(GetPeakLineFormat(), "%.5f %.1f\n");
  }
}

TEST(PeakLineFormat, AgreesWithPrintfForAllDigitCounts) {
  constexpr unsigned kSeed = 20;
  SCOPED_TRACE(kSeed);
  std::mt19937_64 random(kSeed);
  std::uniform_real_distribution<double> magnitude(-3.0, 9.0);
  for (int mz_digits = 0; mz_digits <= 9; ++mz_digits) {
    for (int intensity_digits = 0; intensity_digits <= 9; ++intensity_digits) {
      const std::string text =
          "%." + std::to_string(mz_digits) + "f %." + std::to_string(intensity_digits) + "f\n";
      const ScopedPeakLineFormat format(text);
      for (int i = 0; i < 200; ++i) {
        const Peak peak{std::pow(10.0, magnitude(random)), std::pow(10.0, magnitude(random))};
        char expected[128];
        std::snprintf(expected, sizeof expected, "%.*f %.*f\n", mz_digits, peak.m_mz,
                      intensity_digits, peak.m_intensity);
        ASSERT_EQ(LinesOf({peak}), expected);
      }
    }
  }
}

TEST(PeakLineFormat, RoundsTiesAsPrintfDoes) {
  const ScopedPeakLineFormat format("%.1f %.0f\n");
  EXPECT_EQ(LinesOf({{0.25, 0.5}, {0.75, 1.5}, {0.125, 2.5}}), "0.2 0\n0.8 2\n0.1 2\n");
}

}  // namespace
}  // namespace tarvek
