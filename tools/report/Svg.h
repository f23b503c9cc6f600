// tools/report/Svg.h: a small kit of charts as inline SVG.
// Does:     draws bars, histograms, a heat map, points or their density, a trace over bars; each
//           with axes, ticks, a title and a description for people who cannot see it.
// Owns:     nothing: values in, text out. The same values give the same text on every machine.
// Throws:   nothing but std::bad_alloc.
// Not here: colours, which are CSS classes of the page: s1 .. s6 for series, d1 .. d9 for densities,
//           m0 .. m9 for cells and n1 .. n9 for the numbers in them, "axis",
//           "grid", "tick", "label", "value", "zero", "median", "trace", "under", "dots", "dot".
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tarvek::tools {

struct ChartText {
  std::string m_id;  // unique in the page
  std::string m_title;
  std::string m_description;
  std::string m_x_label;
  std::string m_y_label;
};

struct ChartSeries {
  std::string m_name;  // in the legend, which a chart of one series leaves out
  std::string m_css;
  std::vector<double> m_values;
};

struct ChartRange {
  double m_low = 0.0;
  double m_high = 1.0;
};

struct ChartPoint {
  double m_x = 0.0;
  double m_y = 0.0;
};

/// The index of value among bins of equal width; outside the range, the nearest bin.
std::size_t BinOf(double value, ChartRange range, std::size_t bins);

/// Text for HTML and SVG with special characters escaped.
std::string Escaped(std::string_view text);

/// Appends one byte of a text that is Shown already.
void AppendMarkup(std::string& escaped, char character);

/// About `wanted` multiples of 1, 2 or 5 times a power of ten inside the range; its one value for a
/// range of width 0.
std::vector<double> NiceTicks(ChartRange range, int wanted);

/// A number with the decimals that step needs and separated thousands: 12345, 5 is "12 345".
std::string TickText(double value, double step);

/// value with the given decimals and separated thousands.
std::string GroupedNumber(double value, int decimals);

/// Bars with a label each; the series are stacked.
std::string BarChart(const ChartText& text, std::span<const std::string> labels,
                     std::span<const ChartSeries> series);

/// Bars of equal width over a range of numbers; the series are stacked or, as outlines, overlap.
enum class HistogramForm { kStacked, kBefore };
std::string HistogramChart(const ChartText& text, ChartRange x, std::span<const ChartSeries> series,
                           HistogramForm form);

/// Counts row by row; as many as rows times columns.
std::string HeatMap(const ChartText& text, std::span<const std::string> rows,
                    std::span<const std::string> columns, std::span<const std::int64_t> counts);

/// Points, or their density when there are more than kMaxPoints; over them a line. Points outside
/// the ranges are drawn at the edge.
inline constexpr std::size_t kMaxPoints = 1500;
std::string PointChart(const ChartText& text, ChartRange x, ChartRange y,
                       std::span<const ChartPoint> points, std::span<const ChartPoint> line);

struct ChartDot {
  ChartPoint m_at;
  std::string m_tooltip;
  std::string m_name{};  // under the x axis, instead of a number
};

/// Single values with tooltips, over a level line. With many names some are left out; long ones
/// keep their end.
std::string DotChart(const ChartText& text, ChartRange x, ChartRange y,
                     std::span<const ChartDot> dots, double level);

/// A filled trace above bars of equal width on the same x axis. bars_label: y axis of the bars.
std::string TraceChart(const ChartText& text, ChartRange x, std::span<const ChartPoint> trace,
                       std::span<const double> bars, const std::string& bars_label);

}  // namespace tarvek::tools
