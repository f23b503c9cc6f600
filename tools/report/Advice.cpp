#include "report/Advice.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <utility>

#include "NumberText.h"
#include "outputs/DeclaredWidth.h"
#include "outputs/RunOutcome.h"
#include "report/Svg.h"

namespace tarvek::tools {
namespace {

constexpr std::int64_t kScansToJudge = 20;       // fewer are not judged
constexpr std::int64_t kPrecursorsToJudge = 50;  // likewise
constexpr double kSecondWidth = 0.05;            // share of the scans that declare another width
constexpr double kMostAtLimit = 0.08;  // share of precursors with the highest charge asked for
constexpr double kMostDeclaredBeyond =
    0.03;  // share of scans with a declared charge outside the range
constexpr double kMostPrecursorsPerScan = 6.0;
constexpr double kMostKept = 0.4;    // share of scans for which nothing was determined
constexpr double kMostWrong = 0.35;  // expected share of wrong precursors
constexpr double kHigherProbability = 0.5;
constexpr double kLeastNearly = 0.25;  // share of those scans that a lower threshold would help
constexpr double kLargestMedianPpm = 3.0;
constexpr double kMostLeftOut = 0.05;

double Share(std::int64_t part, std::int64_t whole) {
  return whole == 0 ? 0.0 : static_cast<double>(part) / static_cast<double>(whole);
}
std::string PercentText(double share) { return GroupedNumber(100.0 * share, 1) + " %"; }
std::string CountText(std::int64_t count) { return GroupedNumber(static_cast<double>(count), 0); }

std::optional<std::string> SettingOf(const RunReport& report, const std::string& key) {
  const auto found = report.m_settings.find(key);
  if (found == report.m_settings.end()) return std::nullopt;
  return found->second;
}

std::optional<double> NumberOf(const RunReport& report, const std::string& key) {
  const auto text = SettingOf(report, key);
  return text ? FiniteReal(*text) : std::nullopt;
}

struct ChargeLimits {
  int m_low;
  int m_high;

  [[nodiscard]] bool IsNegative() const { return m_high < 0; }
  [[nodiscard]] int Highest() const { return std::max(std::abs(m_low), std::abs(m_high)); }
  [[nodiscard]] int Lowest() const { return std::min(std::abs(m_low), std::abs(m_high)); }
  /// The value for -c with other limits; without sign.
  [[nodiscard]] std::string Text(int lowest, int highest) const {
    return IsNegative() ? std::to_string(-highest) + "t" + std::to_string(-lowest)
                        : std::to_string(lowest) + "t" + std::to_string(highest);
  }
};

std::optional<ChargeLimits> ChargesOf(const RunReport& report) {
  const auto text = SettingOf(report, "charge_range");
  if (!text) return std::nullopt;
  const std::size_t middle = text->find('t');
  if (middle == std::string::npos) return std::nullopt;
  const auto low = FiniteReal(text->substr(0, middle));
  const auto high = FiniteReal(text->substr(middle + 1));
  if (!low || !high) return std::nullopt;
  return ChargeLimits{static_cast<int>(*low), static_cast<int>(*high)};
}

void AdviseWidth(const RunReport& report, std::vector<Advice>& advice) {
  if (!report.m_declared_width) {
    if (report.m_scans > 0)
      advice.push_back({"width-unknown", "Compare -W with the method of the instrument.",
                        "The input does not declare its isolation width; the run took " +
                            ExactText(report.m_isolation_width) + " m/z.",
                        false});
    return;
  }
  const double declared = *report.m_declared_width;
  if (report.m_knows_width && IsOtherWidth(declared, report.m_isolation_width))
    advice.push_back({"width", "-W " + ExactText(declared),
                      "The input declares windows of " + ExactText(declared) +
                          " m/z, and the run took " + ExactText(report.m_isolation_width) + "."});
}

// Widths that more than a few scans have, the widest last.
void AdviseSeveralWidths(const RunReport& report, std::vector<Advice>& advice) {
  std::int64_t all = 0;
  for (const auto& [width, scans] : report.m_declared_widths) all += scans;
  std::string list;
  std::vector<std::pair<double, std::int64_t>> several;
  for (const auto& [text, scans] : report.m_declared_widths)
    if (const auto width = FiniteReal(text); width && Share(scans, all) >= kSecondWidth)
      several.emplace_back(*width, scans);
  std::ranges::sort(several);
  if (several.size() < 2) return;
  for (const auto& [width, scans] : several)
    list +=
        (list.empty() ? "" : ", ") + ExactText(width) + " m/z in " + CountText(scans) + " scans";
  advice.push_back(
      {"several-widths",
       "One -W does not fit all scans: process the run with each, or with the widest, -W " +
           ExactText(several.back().first) + ".",
       "The input declares several widths: " + list + ".",
       report.m_isolation_width < several.back().first});
}

std::int64_t DeclaredBeyond(const RunReport& report, bool is_above, int limit) {
  std::int64_t scans = 0;
  for (const auto& [charges, count] : report.m_charges)
    if (is_above ? charges.first > limit : charges.first < limit) scans += count;
  return scans;
}

void AdviseCharges(const RunReport& report, std::vector<Advice>& advice) {
  const auto limits = ChargesOf(report);
  if (!limits) return;
  int lowest = limits->Lowest();
  int highest = limits->Highest();
  std::string why;
  std::int64_t precursors = 0;
  for (const auto& [charge, count] : report.m_by_charge) precursors += count;
  const auto at = report.m_by_charge.find(highest);
  const std::int64_t at_highest = at == report.m_by_charge.end() ? 0 : at->second;
  if (precursors >= kPrecursorsToJudge && Share(at_highest, precursors) >= kMostAtLimit) {
    why += PercentText(Share(at_highest, precursors)) +
           " of the precursors have the highest charge that "
           "was asked for, " +
           std::to_string(highest) + ", so that higher ones are likely.";
    highest += highest >= 5 ? 2 : 1;
  }
  std::int64_t declared = 0;
  for (const auto& [charges, count] : report.m_charges) declared += count;
  for (const bool is_above : {false, true}) {
    const std::int64_t beyond =
        DeclaredBeyond(report, is_above, is_above ? limits->Highest() : limits->Lowest());
    if (declared < kScansToJudge || Share(beyond, declared) < kMostDeclaredBeyond) continue;
    why += (why.empty() ? "" : " ") + CountText(beyond) + " scans declare a charge " +
           (is_above ? "above " : "below ") + "the range " + *SettingOf(report, "charge_range") +
           ".";
    for (const auto& [charges, count] : report.m_charges) {
      if (Share(count, declared) < kMostDeclaredBeyond) continue;
      lowest = is_above ? lowest : std::min(lowest, std::max(1, charges.first));
      highest = is_above ? std::max(highest, charges.first) : highest;
    }
  }
  if (!why.empty() && (lowest != limits->Lowest() || highest != limits->Highest()))
    advice.push_back({"charges", "-c " + limits->Text(lowest, highest), why});
}

std::string ThresholdWords(double threshold) { return "-t " + Fixed(threshold, 2); }

// Many scans for which nothing was determined: a lower threshold, where candidates come near it.
void AdviseKept(const RunReport& report, double threshold, double share,
                std::vector<Advice>& advice) {
  const ScanPageOutcome& page = report.m_scan_page;
  const std::string seen =
      "For " + PercentText(share) +
      " of the scans nothing was determined and the declared precursor was kept";
  if (page.m_kept == 0) {
    advice.push_back({"threshold", ThresholdWords(threshold - kThresholdStep), seen + "."});
  } else if (Share(page.m_nearly, page.m_kept) >= kLeastNearly) {
    advice.push_back({"threshold", ThresholdWords(threshold - kThresholdStep),
                      seen + "; " + CountText(page.m_nearly) + " of " + CountText(page.m_kept) +
                          " have a candidate so little below the threshold."});
  } else {
    advice.push_back({"kept",
                      "tarvek-tools explain RUN " + std::to_string(page.m_kept_scan) +
                          " says more of one of the scans without a determined precursor.",
                      seen + ", and a lower threshold would not help: " + page.m_why_kept + "."});
  }
}

void AdviseThreshold(const RunReport& report, std::vector<Advice>& advice) {
  if (report.m_joint) {
    const double wrong =
        report.m_joint->m_precursors == 0
            ? 0.0
            : report.m_joint->m_doubts / static_cast<double>(report.m_joint->m_precursors);
    const double threshold = NumberOf(report, "joint").value_or(0.0);
    if (report.m_joint->m_precursors >= kPrecursorsToJudge && wrong > kMostWrong &&
        threshold < kHigherProbability)
      advice.push_back(
          {"threshold", "--probability 0.5 (of tarvek-tools run --joint)",
           "By their probabilities " + PercentText(wrong) + " of the precursors are wrong."});
    return;
  }
  const auto threshold = NumberOf(report, "mars_threshold");
  if (!threshold || report.m_scans < kScansToJudge) return;
  const double mean =
      static_cast<double>(report.m_precursors) / static_cast<double>(report.m_scans);
  const std::int64_t compared = MatchedScans(report) + report.m_unmatched + report.m_kept;
  if (mean > kMostPrecursorsPerScan)
    advice.push_back({"threshold", ThresholdWords(*threshold + kThresholdStep),
                      "A scan has " + GroupedNumber(mean, 1) +
                          " precursors on average, of which many are of low score."});
  else if (compared >= kScansToJudge && Share(report.m_kept, compared) > kMostKept)
    AdviseKept(report, *threshold, Share(report.m_kept, compared), advice);
}

void AdviseCoElution(const RunReport& report, std::vector<Advice>& advice) {
  if (SettingOf(report, "co-elute") == "0")
    advice.push_back({"co-elution", "-C 1",
                      "The run takes one precursor for each scan (-C 0); those that were isolated "
                      "with it are not reported."});
}

void AdviseCalibration(const RunReport& report, std::vector<Advice>& advice) {
  if (report.m_calibration || !report.m_median_ppm || std::ssize(report.m_ppm) < kScansToJudge)
    return;
  if (std::fabs(*report.m_median_ppm) > kLargestMedianPpm)
    advice.push_back({"calibration", "tarvek-tools calibrate RUN, then --apply",
                      "Determined m/z lie " + GroupedNumber(*report.m_median_ppm, 1) +
                          " ppm from the declared ones (median)."});
}

void AdviseInput(const RunReport& report, std::vector<Advice>& advice) {
  const auto share = LeftOutShare(report);
  if (!share || *share <= kMostLeftOut) return;
  RunRecord record;
  record.m_left_out = report.m_left_out_reasons;
  const std::string reasons = ReasonsText(record, 2);
  advice.push_back({"input", "tarvek-tools check on the input",
                    CountText(report.m_left_out_count) + " MS2 scans (" + PercentText(*share) +
                        ") were left out" + (reasons.empty() ? "" : ": " + reasons) + "."});
}

}  // namespace

std::vector<Advice> WhatToChange(const RunReport& report) {
  std::vector<Advice> advice;
  AdviseInput(report, advice);
  AdviseWidth(report, advice);
  AdviseSeveralWidths(report, advice);
  AdviseCharges(report, advice);
  AdviseThreshold(report, advice);
  AdviseCoElution(report, advice);
  AdviseCalibration(report, advice);
  std::stable_partition(advice.begin(), advice.end(),
                        [](const Advice& one) { return one.m_is_change; });
  return advice;
}

}  // namespace tarvek::tools
