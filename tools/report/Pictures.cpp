#include "report/Pictures.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <set>

#include "report/Svg.h"

namespace tarvek::tools {
namespace {

constexpr double kSecondsPerMinute = 60.0;
constexpr std::size_t kTraceBins = 500;
constexpr std::size_t kTimeBins = 80;
constexpr std::size_t kMedianBins = 24;
constexpr std::size_t kPointsOfAMedian = 8;
constexpr const char* kTimeLabel = "retention time, min";

ChartText TextOf(const ReportFinding& finding, const std::string& x_label,
                 const std::string& y_label) {
  return {finding.m_id, finding.m_title, finding.m_seen, x_label, y_label};
}

// Minutes from the first to the last time of the run.
ChartRange TimeRange(const RunReport& report) {
  std::vector<double> ends;
  for (const auto* values : {&report.m_surveys, &report.m_ppm})
    for (const TimedValue& value : *values) ends.push_back(value.m_rt_s);
  ends.insert(ends.end(), report.m_ms2_times_s.begin(), report.m_ms2_times_s.end());
  if (ends.empty()) return {0.0, 1.0};
  const auto [low, high] = std::ranges::minmax(ends);
  const double end = high > low ? high : low + 1.0;
  return {low / kSecondsPerMinute, end / kSecondsPerMinute};
}

double MiddleOf(std::size_t bin, ChartRange range, std::size_t bins) {
  return range.m_low + (range.m_high - range.m_low) * (static_cast<double>(bin) + 0.5) /
                           static_cast<double>(bins);
}

// The values of each bin of time.
std::vector<std::vector<double>> Binned(const std::vector<TimedValue>& values, ChartRange range,
                                        std::size_t bins) {
  std::vector<std::vector<double>> binned(bins);
  for (const TimedValue& value : values)
    binned[BinOf(value.m_rt_s / kSecondsPerMinute, range, bins)].push_back(value.m_value);
  return binned;
}

std::vector<double> CountsOverTime(const std::vector<double>& times_s, ChartRange range) {
  std::vector<double> counts(kTimeBins, 0.0);
  for (const double rt_s : times_s) ++counts[BinOf(rt_s / kSecondsPerMinute, range, kTimeBins)];
  return counts;
}

std::vector<double> AsValues(std::span<const std::int64_t> counts) {
  std::vector<double> values;
  for (const std::int64_t count : counts) values.push_back(static_cast<double>(count));
  return values;
}

std::string PrecursorsPicture(const ReportFinding& finding, const RunReport& report) {
  std::vector<std::string> labels;
  for (std::size_t count = 0; count + 1 < kPrecursorCounts; ++count)
    labels.push_back(std::to_string(count));
  labels.push_back("> " + std::to_string(kPrecursorCounts - 2));
  const ChartSeries scans{"scans", "s1", AsValues(report.m_by_count)};
  return BarChart(TextOf(finding, "precursors of a scan", "scans"), labels, {&scans, 1});
}

std::string IsotopesPicture(const ReportFinding& finding, const RunReport& report) {
  std::vector<std::string> labels;
  ChartSeries matched{"determined", "s1", {}};
  ChartSeries other{"neither moved nor confirmed", "s6", {}};
  for (int shift = -kMaxShift; shift <= kMaxShift; ++shift) {
    labels.push_back((shift < 0   ? "\u2212"
                      : shift > 0 ? "+"
                                  : "") +
                     std::to_string(std::abs(shift)));
    matched.m_values.push_back(static_cast<double>(report.m_by_shift[ShiftPlace(shift)]));
    other.m_values.push_back(0.0);
  }
  labels.insert(labels.end(), {"not found", "kept"});
  other.m_values.push_back(static_cast<double>(report.m_unmatched));
  other.m_values.push_back(static_cast<double>(report.m_kept));
  const std::vector<ChartSeries> series = {matched, other};
  return BarChart(TextOf(finding, "determined minus declared, isotopes", "scans"), labels, series);
}

std::string ChargesPicture(const ReportFinding& finding, const RunReport& report) {
  std::set<int> declared;
  std::set<int> determined;
  for (const auto& [charges, scans] : report.m_charges) {
    declared.insert(charges.first);
    determined.insert(charges.second != 0 ? charges.second : charges.first);
  }
  std::vector<std::string> rows;
  std::vector<std::string> columns;
  std::vector<std::int64_t> counts;
  const auto count_of = [&](int from, int to) {
    const auto found = report.m_charges.find({from, to});
    return found == report.m_charges.end() ? 0 : found->second;
  };
  columns.reserve(determined.size() + 1);
  for (const int to : determined) columns.push_back(std::to_string(to));
  columns.emplace_back("none");
  for (const int from : declared) {
    rows.push_back(std::to_string(from));
    for (const int to : determined) counts.push_back(count_of(from, to));
    counts.push_back(count_of(from, 0));
  }
  return HeatMap(TextOf(finding, "determined charge", "declared charge"), rows, columns, counts);
}

std::string PpmPicture(const ReportFinding& finding, const RunReport& report) {
  const ChartRange time = TimeRange(report);
  std::vector<ChartPoint> points;
  for (const TimedValue& value : report.m_ppm)
    points.push_back({value.m_rt_s / kSecondsPerMinute, value.m_value});
  std::vector<ChartPoint> line;
  const auto binned = Binned(report.m_ppm, time, kMedianBins);
  for (std::size_t bin = 0; bin < binned.size(); ++bin)
    if (binned[bin].size() >= kPointsOfAMedian)
      line.push_back({MiddleOf(bin, time, kMedianBins), *Median(binned[bin])});
  // Most of the cloud fills the picture; far points are on its edge.
  const double reach = std::clamp(std::ceil(report.m_absolute_ppm_95.value_or(0.0) * 1.5),
                                  std::min(2.0, report.m_tol_ppm), report.m_tol_ppm);
  return PointChart(TextOf(finding, kTimeLabel, "determined minus declared, ppm"), time,
                    {-reach, reach}, points, line);
}

std::string PurityPicture(const ReportFinding& finding, const RunReport& report) {
  const std::vector<ChartSeries> series = {
      {"all precursors of the scan together", "s2", AsValues(report.m_all_share)},
      {"its main precursor", "s1", AsValues(report.m_main_share)}};
  return HistogramChart(TextOf(finding, "share of the current in the isolation window, %", "scans"),
                        {0.0, 100.0}, series, HistogramForm::kBefore);
}

std::string CurrentPicture(const ReportFinding& finding, const RunReport& report) {
  const ChartRange time = TimeRange(report);
  std::vector<ChartPoint> trace;
  if (report.m_surveys.size() <= kTraceBins) {
    for (const TimedValue& value : report.m_surveys)
      trace.push_back({value.m_rt_s / kSecondsPerMinute, value.m_value});
  } else {
    const auto binned = Binned(report.m_surveys, time, kTraceBins);
    for (std::size_t bin = 0; bin < binned.size(); ++bin) {
      if (binned[bin].empty()) continue;
      double sum = 0.0;
      for (const double value : binned[bin]) sum += value;
      trace.push_back(
          {MiddleOf(bin, time, kTraceBins), sum / static_cast<double>(binned[bin].size())});
    }
  }
  return TraceChart(TextOf(finding, kTimeLabel, "ion current"), time, trace,
                    CountsOverTime(report.m_ms2_times_s, time), "MS2 scans");
}

std::string LeftOutPicture(const ReportFinding& finding, const RunReport& report) {
  const ChartRange time = TimeRange(report);
  std::vector<double> left_out_s;
  for (const LeftOutScan& scan : report.m_left_out)
    if (scan.m_rt_s) left_out_s.push_back(*scan.m_rt_s);
  const std::vector<ChartSeries> series = {
      {"left out", "s4", CountsOverTime(left_out_s, time)},
      {"exported", "s6", CountsOverTime(report.m_ms2_times_s, time)}};
  return HistogramChart(TextOf(finding, kTimeLabel, "MS2 scans"), time, series,
                        HistogramForm::kStacked);
}

}  // namespace

std::string PictureOf(const ReportFinding& finding, const RunReport& report) {
  if (finding.m_verdict == Verdict::kNoData) return {};
  if (finding.m_id == "precursors") return PrecursorsPicture(finding, report);
  if (finding.m_id == "isotopes") return IsotopesPicture(finding, report);
  if (finding.m_id == "charges") return ChargesPicture(finding, report);
  if (finding.m_id == "ppm") return PpmPicture(finding, report);
  if (finding.m_id == "purity") return PurityPicture(finding, report);
  if (finding.m_id == "current") return CurrentPicture(finding, report);
  return LeftOutPicture(finding, report);
}

}  // namespace tarvek::tools
