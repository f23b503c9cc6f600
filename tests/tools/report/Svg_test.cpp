#include "report/Svg.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace tarvek::tools {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

const ChartText kText = {"id", "A <title>", "What is \"seen\"", "x label", "y label"};

std::size_t CountOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
    ++count;
  return count;
}

/// Whether every element is closed in the right order and no stray "<" or "&" is left.
bool IsWellFormed(const std::string& xml) {
  std::vector<std::string> open;
  for (std::size_t at = 0; at < xml.size(); ++at) {
    if (xml[at] == '&' && xml.find(';', at) > at + 5) return false;
    if (xml[at] != '<') continue;
    const std::size_t end = xml.find('>', at);
    if (end == std::string::npos) return false;
    const std::string tag = xml.substr(at + 1, end - at - 1);
    const std::string name = tag.substr(
        tag.starts_with('/') ? 1 : 0, tag.find_first_of(" /", 1) - (tag.starts_with('/') ? 1 : 0));
    if (tag.starts_with('/')) {
      if (open.empty() || open.back() != tag.substr(1)) return false;
      open.pop_back();
    } else if (!tag.ends_with('/')) {
      open.push_back(name);
    }
    at = end;
  }
  return open.empty();
}

TEST(NiceTicks, StepsAreOneTwoOrFive) {
  EXPECT_THAT(NiceTicks({0.0, 10.0}, 5), ElementsAre(0.0, 2.0, 4.0, 6.0, 8.0, 10.0));
  EXPECT_THAT(NiceTicks({0.0, 97.0}, 5), ElementsAre(0.0, 20.0, 40.0, 60.0, 80.0));
  EXPECT_THAT(NiceTicks({-12.0, 12.0}, 5), ElementsAre(-10.0, -5.0, 0.0, 5.0, 10.0));
  EXPECT_THAT(NiceTicks({3.0, 3.0}, 5), ElementsAre(3.0));
}

TEST(NiceTicks, HitDecimalEndsInSpiteOfRounding) { EXPECT_EQ(NiceTicks({0.1, 0.7}, 6).size(), 7u); }

TEST(TickText, SetsThousandsApartAndKeepsTheDecimalsOfTheStep) {
  EXPECT_EQ(TickText(12345.0, 5.0), "12\u202f345");
  EXPECT_EQ(TickText(1234567.0, 1.0), "1\u202f234\u202f567");
  EXPECT_EQ(TickText(123.0, 1.0), "123");
  EXPECT_EQ(TickText(-0.5, 0.5), "\u22120.5");
  EXPECT_EQ(TickText(0.25, 0.05), "0.25");
  EXPECT_EQ(TickText(-123456.0, 1.0), "\u2212123\u202f456");
}

TEST(GroupedNumber, HasNoSignWhenItIsRoundedToNothing) {
  EXPECT_EQ(GroupedNumber(-0.001, 2), "0.00");
  EXPECT_EQ(GroupedNumber(-0.01, 2), "\u22120.01");
}

TEST(Escaped, LeavesNoCharacterWithAMeaning) {
  EXPECT_EQ(Escaped("<a href=\"x\">'&'"), "&lt;a href=&quot;x&quot;&gt;&#39;&amp;&#39;");
}

TEST(BarChart, HasABarForEachValueAboveZeroWithItsNumber) {
  const std::vector<std::string> labels = {"0", "1", "2"};
  const ChartSeries series{"scans", "s1", {0.0, 1500.0, 7.0}};
  const std::string svg = BarChart(kText, labels, {&series, 1});
  EXPECT_EQ(CountOf(svg, "<rect class=\"s1\""), 2u);
  EXPECT_THAT(svg, HasSubstr("<title>1: 1\u202f500</title>"));
  EXPECT_THAT(svg, HasSubstr("<title>2: 7</title>"));
  EXPECT_TRUE(IsWellFormed(svg)) << svg;
}

// The plot reaches from y 14 to y 250 and holds 1.06 times the highest bar: a bar of half the
// height has half its size.
TEST(BarChart, HeightsAreProportional) {
  const std::vector<std::string> labels = {"a", "b"};
  const ChartSeries series{"", "s1", {10.0, 5.0}};
  const std::string svg = BarChart(kText, labels, {&series, 1});
  EXPECT_THAT(svg, HasSubstr("height=\"222.6\""));  // 236 / 1.06
  EXPECT_THAT(svg, HasSubstr("height=\"111.3\""));
}

TEST(BarChart, HasALegendForSeveralSeries) {
  const std::vector<std::string> labels = {"a"};
  const std::vector<ChartSeries> series = {{"first", "s1", {1.0}}, {"second", "s2", {2.0}}};
  const std::string svg = BarChart(kText, labels, series);
  EXPECT_THAT(svg, HasSubstr(">first</text>"));
  EXPECT_THAT(svg, HasSubstr("<title>a, second: 2</title>"));
}

TEST(Charts, NameThemselvesForThoseWhoCannotSeeThem) {
  const ChartSeries series{"", "s1", {1.0, 2.0}};
  const std::string svg = HistogramChart(kText, {0.0, 1.0}, {&series, 1}, HistogramForm::kStacked);
  EXPECT_THAT(svg, HasSubstr("role=\"img\""));
  EXPECT_THAT(svg, HasSubstr("aria-labelledby=\"id-t id-d\""));
  EXPECT_THAT(svg, HasSubstr("<title id=\"id-t\">A &lt;title&gt;</title>"));
  EXPECT_THAT(svg, HasSubstr("<desc id=\"id-d\">What is &quot;seen&quot;</desc>"));
  EXPECT_THAT(svg, HasSubstr(">x label</text>"));
  EXPECT_THAT(svg, HasSubstr(">y label</text>"));
}

TEST(HistogramChart, DrawsBarsOrOutlines) {
  const ChartSeries series{"", "s1", {1.0, 0.0, 2.0}};
  EXPECT_EQ(CountOf(HistogramChart(kText, {0.0, 3.0}, {&series, 1}, HistogramForm::kStacked),
                    "<rect class=\"s1\""),
            2u);
  EXPECT_EQ(CountOf(HistogramChart(kText, {0.0, 3.0}, {&series, 1}, HistogramForm::kBefore),
                    "<path class=\"s1 outline\""),
            1u);
}

TEST(HeatMap, HasACellForEachPairAndNumbersThoseThatHoldSomething) {
  const std::vector<std::string> rows = {"2", "3"};
  const std::vector<std::string> columns = {"2", "3", "none"};
  const std::vector<std::int64_t> counts = {100, 0, 1, 0, 25, 0};
  const std::string svg = HeatMap(kText, rows, columns, counts);
  EXPECT_EQ(CountOf(svg, "<rect class=\"m"), 6u);
  EXPECT_EQ(CountOf(svg, "<rect class=\"m0\""), 3u);
  EXPECT_EQ(CountOf(svg, "<rect class=\"m9\""), 1u);
  EXPECT_EQ(CountOf(svg, "<rect class=\"m5\""), 1u);  // the root of a quarter is 0.5 of 9
  EXPECT_THAT(svg, HasSubstr("<title>3 \u2192 3: 25</title>"));
  EXPECT_TRUE(IsWellFormed(svg)) << svg;
}

std::vector<ChartPoint> Cloud(std::size_t size) {
  std::mt19937 random(1);
  std::vector<ChartPoint> points(size);
  for (ChartPoint& point : points)
    point = {static_cast<double>(random() % 1000) / 10.0,
             static_cast<double>(random() % 100) / 5.0 - 10.0};
  return points;
}

TEST(PointChart, DrawsFewPointsOneByOneAndManyAsDensity) {
  const std::string few = PointChart(kText, {0.0, 100.0}, {-10.0, 10.0}, Cloud(100), {});
  EXPECT_THAT(few, HasSubstr("<path class=\"dots\""));
  EXPECT_EQ(CountOf(few, "h0"), 100u);
  const std::string many = PointChart(kText, {0.0, 100.0}, {-10.0, 10.0}, Cloud(200000), {});
  EXPECT_THAT(many, Not(HasSubstr("class=\"dots\"")));
  EXPECT_THAT(many, HasSubstr("<path class=\"d9\""));
  EXPECT_LT(many.size(), 200000u);
}

TEST(PointChart, KeepsFarPointsAtTheEdge) {
  const std::vector<ChartPoint> points = {{50.0, 1000.0}, {-5.0, 0.0}};
  const std::string svg = PointChart(kText, {0.0, 100.0}, {-10.0, 10.0}, points, {});
  EXPECT_THAT(svg, HasSubstr("M346 14h0"));  // in the middle of 76 .. 616, at the top
  EXPECT_THAT(svg, HasSubstr("M76 132h0"));  // at the left, in the middle of 14 .. 250
}

TEST(DotChart, PutsNamesOnItsAxis) {
  std::vector<ChartDot> dots;
  for (int run = 0; run < 60; ++run)
    dots.push_back({{run + 1.0, 2.0}, "", "a long name of the run <" + std::to_string(100 + run)});
  const std::string svg = DotChart(kText, {0.0, 61.0}, {0.0, 4.0}, dots, 2.5);
  EXPECT_THAT(svg, HasSubstr(">\u2026e of the run &lt;100</text>"));  // its last 17 characters
  EXPECT_THAT(svg, testing::Not(HasSubstr("&lt;101")));               // each fourth of 60
  EXPECT_THAT(svg, HasSubstr("&lt;104"));
}

TEST(DotChart, NamesEveryDot) {
  const std::vector<ChartDot> dots = {{{1.0, 2.0}, "run <a>: 2"}, {{2.0, 3.0}, "run b: 3"}};
  const std::string svg = DotChart(kText, {0.0, 3.0}, {0.0, 4.0}, dots, 2.5);
  EXPECT_EQ(CountOf(svg, "<circle"), 2u);
  EXPECT_THAT(svg, HasSubstr("<title>run &lt;a&gt;: 2</title>"));
  EXPECT_TRUE(IsWellFormed(svg)) << svg;
}

TEST(TraceChart, GivesLargeCurrentsInPowersOfAThousand) {
  const std::vector<ChartPoint> trace = {{0.0, 1e8}, {1.0, 3e8}};
  const std::vector<double> bars = {1.0, 2.0};
  const std::string svg = TraceChart(kText, {0.0, 1.0}, trace, bars, "scans");
  EXPECT_THAT(svg, HasSubstr("y label, 10⁶"));
  EXPECT_THAT(svg, HasSubstr(">200</text>"));
  EXPECT_TRUE(IsWellFormed(svg)) << svg;
}

TEST(Charts, AreDrawnFromNothingToo) {
  for (const std::string& svg :
       {BarChart(kText, {}, {}), HistogramChart(kText, {0.0, 1.0}, {}, HistogramForm::kStacked),
        HeatMap(kText, {}, {}, {}), PointChart(kText, {0.0, 1.0}, {0.0, 1.0}, {}, {}),
        TraceChart(kText, {0.0, 1.0}, {}, {}, "")}) {
    EXPECT_TRUE(IsWellFormed(svg)) << svg;
    EXPECT_THAT(svg, Not(HasSubstr("nan")));
    EXPECT_THAT(svg, Not(HasSubstr("inf")));
  }
}

}  // namespace
}  // namespace tarvek::tools
