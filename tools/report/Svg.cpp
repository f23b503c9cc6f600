#include "report/Svg.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "NumberText.h"
#include "ShownText.h"

namespace tarvek::tools {
namespace {

// The drawing, in units of its viewBox; the page scales it.
constexpr double kWidth = 640.0;
constexpr double kHeight = 300.0;

/// The edges of the plot in the drawing.
struct Edges {
  double m_left;
  double m_right;
  double m_top;
  double m_bottom;
};
constexpr Edges kPlot{.m_left = 76.0, .m_right = 616.0, .m_top = 14.0, .m_bottom = 250.0};
constexpr ChartRange kAcross{kPlot.m_left, kPlot.m_right};

// One decimal is a tenth of a pixel or less.
std::string Place(double value) {
  std::string text = Fixed(value, 1);
  if (text.ends_with(".0")) text.resize(text.size() - 2);
  return text == "-0" ? "0" : text;
}

/// A straight scale from numbers to the drawing.
struct Scale {
  ChartRange m_from;
  ChartRange m_to;

  [[nodiscard]] double operator()(double value) const {
    const double width = m_from.m_high - m_from.m_low;
    const double share = width > 0.0 ? (value - m_from.m_low) / width : 0.5;
    return m_to.m_low + share * (m_to.m_high - m_to.m_low);
  }
  [[nodiscard]] double Clamped(double value) const {
    return (*this)(std::clamp(value, m_from.m_low, m_from.m_high));
  }
};

/// The frame of a chart: the place of its plot, and the SVG around it.
class Drawing {
 public:
  explicit Drawing(const ChartText& text, double height = kHeight) {
    m_svg = "<svg role=\"img\" viewBox=\"0 0 " + Place(kWidth) + " " + Place(height) +
            "\" aria-labelledby=\"" + text.m_id + "-t " + text.m_id + "-d\">\n<title id=\"" +
            text.m_id + "-t\">" + Escaped(text.m_title) + "</title>\n<desc id=\"" + text.m_id +
            "-d\">" + Escaped(text.m_description) + "</desc>\n";
  }

  std::string Finish() { return m_svg + "</svg>\n"; }

  void Line(std::string_view css, double x1, double y1, double x2, double y2) {
    m_svg += "<line class=\"";
    m_svg.append(css).append("\" x1=\"" + Place(x1) + "\" y1=\"" + Place(y1) + "\" x2=\"" +
                             Place(x2) + "\" y2=\"" + Place(y2) + "\"/>\n");
  }

  void Text(std::string_view css, double x, double y, std::string_view anchor,
            std::string_view words) {
    m_svg += "<text class=\"";
    m_svg.append(css).append("\" x=\"" + Place(x) + "\" y=\"" + Place(y) + "\" text-anchor=\"");
    m_svg.append(anchor).append("\">").append(Escaped(words)).append("</text>\n");
  }

  void VerticalText(double x, double y, std::string_view words) {
    m_svg += "<text class=\"label\" text-anchor=\"middle\" transform=\"translate(" + Place(x) +
             " " + Place(y) + ") rotate(-90)\">" + Escaped(words) + "</text>\n";
  }

  /// Text that ends at the given place and rises from the lower left.
  void SlantedText(double x, double y, std::string_view words) {
    m_svg += "<text class=\"tick\" text-anchor=\"end\" transform=\"translate(" + Place(x) + " " +
             Place(y) + ") rotate(-40)\">" + Escaped(words) + "</text>\n";
  }

  void Box(std::string_view css, double x, double y, double width, double height,
           const std::string& tooltip = "") {
    m_svg += "<rect class=\"";
    m_svg.append(css).append("\" x=\"" + Place(x) + "\" y=\"" + Place(y) + "\" width=\"" +
                             Place(width) + "\" height=\"" + Place(height) + "\"");
    m_svg += tooltip.empty() ? "/>\n" : "><title>" + Escaped(tooltip) + "</title></rect>\n";
  }

  void Dot(std::string_view css, double x, double y, const std::string& tooltip) {
    constexpr double kRadius = 5.0;
    m_svg += "<circle class=\"";
    m_svg.append(css).append("\" cx=\"" + Place(x) + "\" cy=\"" + Place(y) + "\" r=\"" +
                             Place(kRadius) + "\"><title>" + Escaped(tooltip) +
                             "</title></circle>\n");
  }

  void Path(std::string_view css, std::string_view way) {
    if (way.empty()) return;
    m_svg += "<path class=\"";
    m_svg.append(css).append("\" d=\"").append(way).append("\"/>\n");
  }

 private:
  std::string m_svg;
};

/// A step of the y axis that keeps numbers short: 1 000 000 and more are given in powers of 1000.
struct Magnitude {
  double m_divisor = 1.0;
  std::string m_note;
};

Magnitude MagnitudeOf(double largest) {
  constexpr std::array<std::string_view, 5> kNotes = {"10⁶", "10⁹", "10¹²", "10¹⁵", "10¹⁸"};
  Magnitude magnitude;
  double divisor = 1e6;
  for (const std::string_view note : kNotes) {
    if (largest < divisor) break;
    magnitude = {divisor, ", " + std::string(note)};
    divisor *= 1000.0;
  }
  return magnitude;
}

double StepOf(const std::vector<double>& ticks) {
  return ticks.size() > 1 ? ticks[1] - ticks[0] : 1.0;
}

// Ticks, grid and label on the left of the plot.
void DrawYAxis(Drawing& drawing, const Scale& y, std::string_view label, int wanted) {
  const Magnitude magnitude = MagnitudeOf(std::max(std::fabs(y.m_from.m_low), y.m_from.m_high));
  const auto ticks = NiceTicks(y.m_from, wanted);
  const double step = StepOf(ticks) / magnitude.m_divisor;
  for (const double tick : ticks) {
    drawing.Line("grid", kPlot.m_left, y(tick), kPlot.m_right, y(tick));
    drawing.Text("tick", kPlot.m_left - 7.0, y(tick) + 4.0, "end",
                 TickText(tick / magnitude.m_divisor, step));
  }
  drawing.VerticalText(15.0, (y.m_to.m_low + y.m_to.m_high) / 2.0,
                       std::string(label) + magnitude.m_note);
}

// The line under the plot, and its label.
void DrawXLine(Drawing& drawing, std::string_view label) {
  drawing.Line("axis", kPlot.m_left, kPlot.m_bottom, kPlot.m_right, kPlot.m_bottom);
  if (label.empty()) return;
  drawing.Text("label", (kPlot.m_left + kPlot.m_right) / 2.0, kHeight - 8.0, "middle", label);
}

void DrawXAxis(Drawing& drawing, const Scale& x, std::string_view label) {
  const auto ticks = NiceTicks(x.m_from, 8);
  for (const double tick : ticks) {
    drawing.Line("axis", x(tick), kPlot.m_bottom, x(tick), kPlot.m_bottom + 5.0);
    drawing.Text("tick", x(tick), kPlot.m_bottom + 19.0, "middle", TickText(tick, StepOf(ticks)));
  }
  DrawXLine(drawing, label);
}

constexpr double kNamesHeight = 108.0;  // below the usual height of a chart

// The end of a name, which differs between runs more often than its beginning.
std::string ShortName(const std::string& name) {
  constexpr std::size_t kMostCharacters = 18;
  if (name.size() <= kMostCharacters) return name;
  std::size_t from = name.size() - (kMostCharacters - 1);
  while (from < name.size() && (static_cast<unsigned char>(name[from]) & 0xC0U) == 0x80U) ++from;
  return "\u2026" + name.substr(from);
}

// The slanted names of dots under the x axis; of many only every second, third ...
void DrawNames(Drawing& drawing, const Scale& x, std::span<const ChartDot> dots) {
  constexpr std::size_t kMostNames = 16;
  const std::size_t each = (dots.size() + kMostNames - 1) / kMostNames;
  for (std::size_t i = 0; i < dots.size(); i += each) {
    const double at = x.Clamped(dots[i].m_at.m_x);
    drawing.Line("axis", at, kPlot.m_bottom, at, kPlot.m_bottom + 5.0);
    drawing.SlantedText(at + 4.0, kPlot.m_bottom + 17.0, ShortName(dots[i].m_name));
  }
  DrawXLine(drawing, "");
}

bool HasLegend(std::span<const ChartSeries> series) { return series.size() > 1; }

void DrawLegend(Drawing& drawing, std::span<const ChartSeries> series) {
  constexpr double kCharacterWidth = 7.0;
  double at = kPlot.m_left;
  for (const ChartSeries& one : series) {
    drawing.Box(one.m_css, at, 5.0, 12.0, 12.0);
    drawing.Text("label", at + 18.0, 15.5, "start", one.m_name);
    at += 40.0 + kCharacterWidth * static_cast<double>(one.m_name.size());
  }
}

double TopOf(std::span<const ChartSeries> series) {
  constexpr double kLegendHeight = 22.0;
  return HasLegend(series) ? kPlot.m_top + kLegendHeight : kPlot.m_top;
}

std::size_t LengthOf(std::span<const ChartSeries> series) {
  std::size_t length = 0;
  for (const ChartSeries& one : series) length = std::max(length, one.m_values.size());
  return length;
}

double ValueAt(const ChartSeries& series, std::size_t i) {
  return i < series.m_values.size() ? series.m_values[i] : 0.0;
}

// The height of the highest stack, or of the highest bar when series overlap.
double Highest(std::span<const ChartSeries> series, HistogramForm form) {
  double highest = 0.0;
  for (std::size_t i = 0; i < LengthOf(series); ++i) {
    double height = 0.0;
    for (const ChartSeries& one : series)
      height = form == HistogramForm::kStacked ? height + ValueAt(one, i)
                                               : std::max(height, ValueAt(one, i));
    highest = std::max(highest, height);
  }
  return highest > 0.0 ? highest : 1.0;
}

Scale CountScale(double highest, double top, double bottom) {
  constexpr double kHeadroom = 1.06;
  return {{0.0, highest * kHeadroom}, {bottom, top}};
}

std::string CountTooltip(const std::string& what, const std::string& series, double value) {
  return what + (series.empty() ? "" : ", " + series) + ": " + GroupedNumber(value, 0);
}

void DrawStack(Drawing& drawing, std::span<const ChartSeries> series, std::size_t i, double left,
               double width, const Scale& y, const std::string& what) {
  double base = 0.0;
  for (const ChartSeries& one : series) {
    const double value = ValueAt(one, i);
    if (value <= 0.0) continue;
    drawing.Box(one.m_css, left, y(base + value), width, y(base) - y(base + value),
                CountTooltip(what, HasLegend(series) ? one.m_name : "", value));
    base += value;
  }
}

double StackOf(std::span<const ChartSeries> series, std::size_t i) {
  double sum = 0.0;
  for (const ChartSeries& one : series) sum += ValueAt(one, i);
  return sum;
}

// The outline of bars, closed at the bottom.
std::string Outline(const ChartSeries& series, const Scale& x, const Scale& y) {
  const auto bins = static_cast<double>(series.m_values.size());
  const double width = (x.m_from.m_high - x.m_from.m_low) / bins;
  std::string way = "M" + Place(x(x.m_from.m_low)) + " " + Place(y(0.0));
  for (std::size_t i = 0; i < series.m_values.size(); ++i) {
    way += "V" + Place(y(series.m_values[i]));
    way += "H" + Place(x(x.m_from.m_low + width * static_cast<double>(i + 1)));
  }
  return way + "V" + Place(y(0.0)) + "Z";
}

void DrawPoints(Drawing& drawing, const Scale& x, const Scale& y,
                std::span<const ChartPoint> points) {
  // Lines of no length with round ends are dots, one path for all.
  std::string way;
  for (const ChartPoint& point : points)
    way += "M" + Place(x.Clamped(point.m_x)) + " " + Place(y.Clamped(point.m_y)) + "h0";
  drawing.Path("dots", way);
}

constexpr int kDensityLevels = 9;

// 1 .. kDensityLevels, by the root of the share so that single points can be seen; 0 for none.
int LevelOf(std::int64_t count, std::int64_t largest) {
  if (count <= 0) return 0;
  const double share = std::sqrt(static_cast<double>(count) / static_cast<double>(largest));
  return std::clamp(static_cast<int>(std::ceil(share * kDensityLevels)), 1, kDensityLevels);
}

// Cells of one level make one path: the size of the picture does not grow with the points.
void DrawDensity(Drawing& drawing, const Scale& x, const Scale& y,
                 std::span<const ChartPoint> points) {
  constexpr std::size_t kDensityColumns = 96;
  constexpr std::size_t kDensityRows = 48;
  std::vector<std::int64_t> counts(kDensityColumns * kDensityRows, 0);
  const ChartRange rows{y.m_to.m_high, y.m_to.m_low};  // the drawing goes downwards
  for (const ChartPoint& point : points)
    ++counts[BinOf(y.Clamped(point.m_y), rows, kDensityRows) * kDensityColumns +
             BinOf(x.Clamped(point.m_x), x.m_to, kDensityColumns)];
  const double width = (x.m_to.m_high - x.m_to.m_low) / kDensityColumns;
  const double height = (rows.m_high - rows.m_low) / kDensityRows;
  const std::int64_t largest = *std::ranges::max_element(counts);
  for (int level = 1; level <= kDensityLevels; ++level) {
    std::string way;
    for (std::size_t cell = 0; cell < counts.size(); ++cell) {
      if (LevelOf(counts[cell], largest) != level) continue;
      const std::size_t column = cell % kDensityColumns;
      const std::size_t row = cell / kDensityColumns;
      way += "M" + Place(x.m_to.m_low + width * static_cast<double>(column)) + " " +
             Place(rows.m_low + height * static_cast<double>(row)) + "h" + Place(width) + "v" +
             Place(height) + "h-" + Place(width) + "z";
    }
    drawing.Path("d" + std::to_string(level), way);
  }
}

std::string LineWay(const Scale& x, const Scale& y, std::span<const ChartPoint> line) {
  std::string way;
  for (const ChartPoint& point : line)
    way +=
        (way.empty() ? "M" : "L") + Place(x.Clamped(point.m_x)) + " " + Place(y.Clamped(point.m_y));
  return way;
}

}  // namespace

std::size_t BinOf(double value, ChartRange range, std::size_t bins) {
  const double share = (value - range.m_low) / (range.m_high - range.m_low);
  const auto bin = static_cast<std::int64_t>(share * static_cast<double>(bins));
  return static_cast<std::size_t>(
      std::clamp<std::int64_t>(bin, 0, static_cast<std::int64_t>(bins) - 1));
}

std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char character : Shown(text)) AppendMarkup(escaped, character);
  return escaped;
}

void AppendMarkup(std::string& escaped, char character) {
  switch (character) {
    case '&':
      escaped += "&amp;";
      break;
    case '<':
      escaped += "&lt;";
      break;
    case '>':
      escaped += "&gt;";
      break;
    case '"':
      escaped += "&quot;";
      break;
    case '\'':
      escaped += "&#39;";
      break;
    default:
      escaped += character;
  }
}

std::vector<double> NiceTicks(ChartRange range, int wanted) {
  const double width = range.m_high - range.m_low;
  if (!(width > 0.0) || !std::isfinite(width) || wanted < 1) return {range.m_low};
  const double rough = width / wanted;
  const double power = std::pow(10.0, std::floor(std::log10(rough)));
  double step = 10.0 * power;
  for (const double factor : {5.0, 2.0, 1.0})
    if (factor * power >= rough * 0.999) step = factor * power;
  std::vector<double> ticks;
  const double tolerance = step * 1e-6;
  for (double n = std::ceil((range.m_low - tolerance) / step); n * step <= range.m_high + tolerance;
       n += 1.0)
    ticks.push_back(n == 0.0 ? 0.0 : n * step);  // no -0
  return ticks;
}

std::string GroupedNumber(double value, int decimals) {
  std::string plain = Fixed(value, decimals);
  if (plain.find_first_not_of("-0.") == std::string::npos && plain.starts_with('-'))
    plain.erase(0, 1);  // rounded to nothing, it has no sign
  const std::size_t point = std::min(plain.find('.'), plain.size());
  const std::size_t first = plain.starts_with('-') ? 1 : 0;
  constexpr std::string_view kThinSpace = "\u202f";  // narrow, no break
  std::string text;
  for (std::size_t i = 0; i < plain.size(); ++i) {
    if (i > first && i < point && (point - i) % 3 == 0) text += kThinSpace;
    text += i == 0 && first == 1 ? std::string("\u2212") : std::string(1, plain[i]);
  }
  return text;
}

std::string TickText(double value, double step) {
  const int decimals =
      step > 0.0 ? std::clamp(static_cast<int>(std::ceil(-std::log10(step) - 1e-9)), 0, 6) : 0;
  return GroupedNumber(value, decimals);
}

std::string BarChart(const ChartText& text, std::span<const std::string> labels,
                     std::span<const ChartSeries> series) {
  Drawing drawing(text);
  const Scale y =
      CountScale(Highest(series, HistogramForm::kStacked), TopOf(series), kPlot.m_bottom);
  if (HasLegend(series)) DrawLegend(drawing, series);
  DrawYAxis(drawing, y, text.m_y_label, 5);
  const double slot =
      (kPlot.m_right - kPlot.m_left) / static_cast<double>(std::max<std::size_t>(labels.size(), 1));
  constexpr std::size_t kMostLabels = 16;
  const std::size_t every = (labels.size() + kMostLabels - 1) / kMostLabels;
  for (std::size_t i = 0; i < labels.size(); ++i) {
    const double left = kPlot.m_left + slot * static_cast<double>(i);
    DrawStack(drawing, series, i, left + slot * 0.12, slot * 0.76, y, labels[i]);
    if (i % every == 0)
      drawing.Text("tick", left + slot / 2.0, kPlot.m_bottom + 19.0, "middle", labels[i]);
    const double sum = StackOf(series, i);
    if (every == 1 && sum > 0.0)
      drawing.Text("value", left + slot / 2.0, y(sum) - 4.0, "middle", GroupedNumber(sum, 0));
  }
  DrawXLine(drawing, text.m_x_label);
  return drawing.Finish();
}

std::string HistogramChart(const ChartText& text, ChartRange range,
                           std::span<const ChartSeries> series, HistogramForm form) {
  Drawing drawing(text);
  const Scale x{range, kAcross};
  const Scale y = CountScale(Highest(series, form), TopOf(series), kPlot.m_bottom);
  if (HasLegend(series)) DrawLegend(drawing, series);
  DrawYAxis(drawing, y, text.m_y_label, 5);
  const std::size_t bins = LengthOf(series);
  const double width =
      (range.m_high - range.m_low) / static_cast<double>(std::max<std::size_t>(bins, 1));
  if (form == HistogramForm::kBefore) {
    for (const ChartSeries& one : series) drawing.Path(one.m_css + " outline", Outline(one, x, y));
  } else {
    for (std::size_t i = 0; i < bins; ++i) {
      const double low = range.m_low + width * static_cast<double>(i);
      const double gap = 0.5;
      DrawStack(drawing, series, i, x(low) + gap, x(low + width) - x(low) - 2.0 * gap, y,
                TickText(low, width / 10.0) + " \u2013 " + TickText(low + width, width / 10.0));
    }
  }
  DrawXAxis(drawing, x, text.m_x_label);
  return drawing.Finish();
}

std::string HeatMap(const ChartText& text, std::span<const std::string> rows,
                    std::span<const std::string> columns, std::span<const std::int64_t> counts) {
  Drawing drawing(text);
  const double width = (kPlot.m_right - kPlot.m_left) /
                       static_cast<double>(std::max<std::size_t>(columns.size(), 1));
  const double height =
      (kPlot.m_bottom - kPlot.m_top) / static_cast<double>(std::max<std::size_t>(rows.size(), 1));
  const std::int64_t largest = counts.empty() ? 0 : *std::ranges::max_element(counts);
  for (std::size_t r = 0; r < rows.size(); ++r) {
    const double top = kPlot.m_top + height * static_cast<double>(r);
    drawing.Text("tick", kPlot.m_left - 7.0, top + height / 2.0 + 4.0, "end", rows[r]);
    for (std::size_t c = 0; c < columns.size(); ++c) {
      const double left = kPlot.m_left + width * static_cast<double>(c);
      const std::int64_t count = counts[r * columns.size() + c];
      const int level = LevelOf(count, largest);
      drawing.Box("m" + std::to_string(level), left + 1.0, top + 1.0, width - 2.0, height - 2.0,
                  CountTooltip(rows[r] + " \u2192 " + columns[c], "", static_cast<double>(count)));
      if (count > 0)
        drawing.Text("n" + std::to_string(level), left + width / 2.0, top + height / 2.0 + 4.0,
                     "middle", GroupedNumber(static_cast<double>(count), 0));
    }
  }
  for (std::size_t c = 0; c < columns.size(); ++c)
    drawing.Text("tick", kPlot.m_left + width * (static_cast<double>(c) + 0.5),
                 kPlot.m_bottom + 19.0, "middle", columns[c]);
  drawing.VerticalText(15.0, (kPlot.m_top + kPlot.m_bottom) / 2.0, text.m_y_label);
  DrawXLine(drawing, text.m_x_label);
  return drawing.Finish();
}

std::string PointChart(const ChartText& text, ChartRange x_range, ChartRange y_range,
                       std::span<const ChartPoint> points, std::span<const ChartPoint> line) {
  Drawing drawing(text);
  const Scale x{x_range, kAcross};
  const Scale y{y_range, {kPlot.m_bottom, kPlot.m_top}};
  DrawYAxis(drawing, y, text.m_y_label, 6);
  if (y_range.m_low < 0.0 && y_range.m_high > 0.0)
    drawing.Line("zero", kPlot.m_left, y(0.0), kPlot.m_right, y(0.0));
  if (points.size() > kMaxPoints)
    DrawDensity(drawing, x, y, points);
  else
    DrawPoints(drawing, x, y, points);
  const std::string way = LineWay(x, y, line);
  drawing.Path("median-edge", way);
  drawing.Path("median", way);
  DrawXAxis(drawing, x, text.m_x_label);
  return drawing.Finish();
}

std::string DotChart(const ChartText& text, ChartRange x_range, ChartRange y_range,
                     std::span<const ChartDot> dots, double level) {
  const bool has_names =
      std::ranges::any_of(dots, [](const ChartDot& dot) { return !dot.m_name.empty(); });
  Drawing drawing(text, has_names ? kHeight + kNamesHeight : kHeight);
  const Scale x{x_range, kAcross};
  const Scale y{y_range, {kPlot.m_bottom, kPlot.m_top}};
  DrawYAxis(drawing, y, text.m_y_label, 5);
  drawing.Line("median", kPlot.m_left, y.Clamped(level), kPlot.m_right, y.Clamped(level));
  for (const ChartDot& dot : dots)
    drawing.Dot("dot", x.Clamped(dot.m_at.m_x), y.Clamped(dot.m_at.m_y), dot.m_tooltip);
  if (has_names)
    DrawNames(drawing, x, dots);
  else
    DrawXAxis(drawing, x, text.m_x_label);
  return drawing.Finish();
}

std::string TraceChart(const ChartText& text, ChartRange x_range, std::span<const ChartPoint> trace,
                       std::span<const double> bars, const std::string& bars_label) {
  constexpr double kTraceBottom = 150.0;
  constexpr double kBarsTop = 168.0;
  Drawing drawing(text);
  const Scale x{x_range, kAcross};
  double highest = 0.0;
  for (const ChartPoint& point : trace) highest = std::max(highest, point.m_y);
  const Scale y = CountScale(highest > 0.0 ? highest : 1.0, kPlot.m_top, kTraceBottom);
  DrawYAxis(drawing, y, text.m_y_label, 3);
  if (!trace.empty()) {
    const std::string way = LineWay(x, y, trace);
    drawing.Path("under",
                 way + "V" + Place(y(0.0)) + "H" + Place(x.Clamped(trace.front().m_x)) + "Z");
    drawing.Path("trace", way);
  }
  drawing.Line("axis", kPlot.m_left, kTraceBottom, kPlot.m_right, kTraceBottom);

  const ChartSeries counts{"", "s2", {bars.begin(), bars.end()}};
  const Scale rate =
      CountScale(Highest({&counts, 1}, HistogramForm::kStacked), kBarsTop, kPlot.m_bottom);
  DrawYAxis(drawing, rate, bars_label, 2);
  if (!bars.empty()) drawing.Path("s2 filled", Outline(counts, x, rate));
  DrawXAxis(drawing, x, text.m_x_label);
  return drawing.Finish();
}

}  // namespace tarvek::tools
