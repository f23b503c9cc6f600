#include "report/Findings.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <optional>
#include <string_view>

#include "NumberText.h"
#include "outputs/DeclaredWidth.h"
#include "outputs/RunOutcome.h"
#include "report/Svg.h"

namespace tarvek::tools {
namespace {

// Beyond these limits a picture needs a look. They are wide: real runs of peptides with usual
// settings stay inside.
constexpr double kMostPrecursorsPerScan = 6.0;
constexpr double kMostSingles = 0.95;           // share of scans with one precursor
constexpr std::int64_t kScansToJudge = 20;      // fewer are not judged
constexpr double kMostMoved = 0.5;              // share of scans moved to another isotope
constexpr double kMostUnmatched = 0.4;          // share of scans without a match, or kept
constexpr double kLeastSameCharge = 0.8;        // share of matched scans
constexpr double kLargestMedianPpm = 5.0;       // without sign
constexpr double kLargestPpm95OfTol = 0.75;     // as a share of the tolerance
constexpr double kLeastMainShare = 0.3;         // median purity
constexpr double kLeastAllShare = 0.5;          // median share of all precursors
constexpr double kLongestPause = 0.1;           // share of the run between two MS2 scans
constexpr double kShortestPauseSeconds = 60.0;  // that is worth a word
constexpr double kMostLeftOut = 0.05;           // share of MS2 scans

double Share(std::int64_t part, std::int64_t whole) {
  return whole == 0 ? 0.0 : static_cast<double>(part) / static_cast<double>(whole);
}

std::string PercentText(double share) { return GroupedNumber(100.0 * share, 1) + " %"; }
std::string PercentText(std::int64_t part, std::int64_t whole) {
  return PercentText(Share(part, whole));
}
std::string CountText(std::int64_t count) { return GroupedNumber(static_cast<double>(count), 0); }

/// What a picture shows of a run.
struct Judgement {
  std::string m_seen;
  bool m_is_unusual = false;
  std::int64_t m_scans = 0;  // that were judged
};

/// std::nullopt without data.
using Judge = std::optional<Judgement> (*)(const RunReport& report);

std::optional<Judgement> JudgePrecursors(const RunReport& report) {
  if (report.m_scans == 0) return std::nullopt;
  const double mean =
      static_cast<double>(report.m_precursors) / static_cast<double>(report.m_scans);
  const std::int64_t singles = report.m_by_count[1];
  const std::int64_t many =
      std::accumulate(report.m_by_count.begin() + 7, report.m_by_count.end(), std::int64_t{0});
  return Judgement{GroupedNumber(mean, 2) + " precursors per scan; " +
                       PercentText(singles, report.m_scans) + " of " + CountText(report.m_scans) +
                       " scans hold one, " + PercentText(many, report.m_scans) + " more than six.",
                   mean > kMostPrecursorsPerScan || Share(singles, report.m_scans) > kMostSingles,
                   report.m_scans};
}

std::optional<Judgement> JudgeIsotopes(const RunReport& report) {
  const std::int64_t matched = MatchedScans(report);
  const std::int64_t declared = matched + report.m_unmatched + report.m_kept;
  if (declared == 0) return std::nullopt;
  std::int64_t below = 0;
  std::int64_t above = 0;
  for (int shift = 1; shift <= kMaxShift; ++shift) {
    below += report.m_by_shift[ShiftPlace(-shift)];
    above += report.m_by_shift[ShiftPlace(shift)];
  }
  return Judgement{PercentText(report.m_by_shift[ShiftPlace(0)], declared) +
                       " at the declared isotope, " + PercentText(below, declared) + " below it, " +
                       PercentText(above, declared) + " above it; " +
                       PercentText(report.m_unmatched, declared) + " not found near it, " +
                       PercentText(report.m_kept, declared) + " kept as declared.",
                   Share(below + above, matched) > kMostMoved ||
                       Share(report.m_unmatched + report.m_kept, declared) > kMostUnmatched,
                   declared};
}

std::optional<Judgement> JudgeCharges(const RunReport& report) {
  std::int64_t same = 0;
  for (const auto& [charges, scans] : report.m_charges)
    if (charges.first == charges.second) same += scans;
  const std::int64_t matched = MatchedScans(report);
  if (matched == 0) return std::nullopt;
  return Judgement{
      PercentText(same, matched) + " of " + CountText(matched) +
          " scans keep the declared charge; with another one: " + CountText(matched - same) + ".",
      Share(same, matched) < kLeastSameCharge, matched};
}

std::optional<Judgement> JudgePpm(const RunReport& report) {
  if (report.m_ppm.empty() || !report.m_median_ppm || !report.m_absolute_ppm_95)
    return std::nullopt;
  const auto scans = static_cast<std::int64_t>(report.m_ppm.size());
  return Judgement{"Median " + GroupedNumber(*report.m_median_ppm, 2) + " ppm; 95 % within " +
                       GroupedNumber(*report.m_absolute_ppm_95, 1) + " ppm (" + CountText(scans) +
                       " scans at the declared isotope and charge).",
                   std::fabs(*report.m_median_ppm) > kLargestMedianPpm ||
                       *report.m_absolute_ppm_95 > kLargestPpm95OfTol * report.m_tol_ppm,
                   scans};
}

std::optional<Judgement> JudgePurity(const RunReport& report) {
  if (report.m_windows == 0 || !report.m_median_main_share || !report.m_median_all_share)
    return std::nullopt;
  std::string seen = "In the survey before the scan, half of the windows hold " +
                     PercentText(*report.m_median_main_share) +
                     " or more of the main precursor and " +
                     PercentText(*report.m_median_all_share) + " or more of all together";
  if (report.m_empty_windows > 0)
    seen += "; windows without a peak: " + CountText(report.m_empty_windows);
  return Judgement{
      seen + ".",
      *report.m_median_main_share < kLeastMainShare || *report.m_median_all_share < kLeastAllShare,
      report.m_windows};
}

// The longest time between two neighbouring MS2 scans, and its start; std::nullopt with less than
// two.
std::optional<TimedValue> LongestPause(const RunReport& report) {
  const auto& times = report.m_ms2_times_s;
  if (times.size() < 2) return std::nullopt;
  TimedValue pause;
  for (std::size_t i = 1; i < times.size(); ++i)
    if (times[i] - times[i - 1] > pause.m_value) pause = {times[i - 1], times[i] - times[i - 1]};
  return pause;
}

std::optional<Judgement> JudgeCurrent(const RunReport& report) {
  if (report.m_surveys.empty()) return std::nullopt;
  std::string seen = CountText(static_cast<std::int64_t>(report.m_surveys.size())) +
                     " surveys and " + CountText(report.m_scans) + " MS2 scans";
  if (report.m_median_ms2_peaks)
    seen += " of " + GroupedNumber(*report.m_median_ms2_peaks, 0) + " peaks (median)";
  const auto pause = LongestPause(report);
  if (pause)
    seen += "; the longest pause between MS2 scans is " + GroupedNumber(pause->m_value, 1) +
            " s, from minute " + GroupedNumber(pause->m_rt_s / 60.0, 2) + " on";
  const bool is_unusual =
      pause && pause->m_value > kShortestPauseSeconds &&
      pause->m_value > kLongestPause * (report.m_ms2_times_s.back() - report.m_ms2_times_s.front());
  return Judgement{seen + ".", is_unusual, report.m_scans};
}

std::optional<Judgement> JudgeLeftOut(const RunReport& report) {
  const auto share = LeftOutShare(report);
  if (!share) return std::nullopt;
  const std::string seen = report.m_left_out_count == 0
                               ? "No scan was left out"
                               : CountText(report.m_left_out_count) + " scans (" +
                                     PercentText(*share) + ") were left out";
  // Few scans are judged too: the small number may be the problem.
  return Judgement{seen + ", judged by " + report.m_left_out_source + ".", *share > kMostLeftOut,
                   kScansToJudge};
}

struct FindingTexts {
  std::string_view m_id;
  std::string_view m_title;
  std::string_view m_no_data;
  std::string_view m_normal;
  std::string_view m_otherwise;
  Judge m_judge;
  bool m_needs_surveys = false;  // without them the page says kNoSurveys
};

constexpr std::string_view kNoSurveys = "No .pf1 or .ms1 file: the surveys are unknown.";

// clang-format off
constexpr std::array<FindingTexts, 7> kFindings = {{
    {"precursors", "Precursors per scan",
     "The table holds no scans.",
     "One to four precursors in most scans; a wider isolation window holds more of them.",
     "Many scans with more than six: the isolation width (-W) is set wider than the instrument "
     "isolated, or the score threshold (-t) is too low. One in nearly every scan: co-eluting "
     "precursors are switched off (-C 0).",
     JudgePrecursors},
    {"isotopes", "Monoisotopic peak against the declared one",
     "No scan declares a precursor with m/z and charge.",
     "0 is the highest bar. Instruments often declare a heavier isotope, so a tenth to a half of "
     "the scans at \u22121 to \u22123 is common and is what was corrected; few are above 0.",
     "More below 0 than at 0: the instrument's monoisotopic selection was off, so search with the "
     "determined precursors alone. Many not found or kept: the declared values belong to other "
     "scans (check the converter), charges lie outside -c, or surveys are missing around the "
     "scans.",
     JudgeIsotopes},
    {"charges", "Declared against determined charge",
     "No scan has both a declared and a determined precursor.",
     "Nearly all scans lie on the diagonal. Converters write 2 where the instrument knew no "
     "charge, so a declared 2 moves more often than others.",
     "Whole rows off the diagonal: the declared charges are placeholders (allow for it in the "
     "search) or the charge range (-c) leaves out the true one. A full column \u201cnone\u201d: "
     "see the picture of the isotopes.",
     JudgeCharges},
    {"ppm", "m/z difference over retention time",
     "No precursor was determined at its declared isotope, or no times are known.",
     "A level cloud around 0, most of it within a few ppm; the line is the running median.",
     "A level cloud away from 0: the instrument's declared values and its surveys disagree; check "
     "the calibration. A slope or a step: the calibration drifted, so search with a wider "
     "precursor tolerance or recalibrate. A cloud as high as the picture: the declared m/z are "
     "rounded or come from another source.",
     JudgePpm},
    {"purity", "Isolation purity",
     "No isolation window holds current in its survey.",
     "The main precursor has half of the current or more in most windows of 2 m/z or less; all "
     "determined precursors together explain well over half.",
     "A low main share: many spectra are chimeric, so isolate more narrowly or use a longer "
     "gradient, and let the search use all precursors of a scan. A low share of all together: "
     "noise or a wrong isolation width; check -W.",
     JudgePurity, true},
    {"current", "Total ion current with its MS2 scans",
     kNoSurveys,
     "The current rises and falls smoothly over the gradient; MS2 scans come where there is "
     "current, at a steady rate.",
     "Current that drops to nothing in between: spray or injection failed. Current without MS2 "
     "scans: the trigger threshold or the exclusion list was too strict, or scans were left out "
     "(see below). MS2 scans without current: noise was fragmented.",
     JudgeCurrent, true},
    {"left-out", "Scans left out",
     "Neither the input (.ms2 or .mscsv next to the outputs, or --input) nor the numbers of the "
     "surveys (.pf1) are there.",
     "None, or a few spread over the run.",
     "All of one kind: the activation or analyser is not one that tarvek processes, which the "
     "table below names. In one stretch: surveys or peaks are missing there. Without a usable "
     "precursor: the converter wrote none; start from mzML.",
     JudgeLeftOut},
}};
// clang-format on

// The reasons with their scans, the largest first.
std::string LeftOutReasons(const RunReport& report) {
  RunRecord record;
  record.m_left_out = report.m_left_out_reasons;
  constexpr std::size_t kReasonsNamed = 3;
  return ReasonsText(record, kReasonsNamed);
}

ReportFinding NothingExported(const RunReport& report) {
  const std::string reasons = LeftOutReasons(report);
  return {"nothing-exported",
          "Nothing was exported",
          Verdict::kDefect,
          "None of " + CountText(report.m_left_out_count) + " MS2 scans was exported, judged by " +
              report.m_left_out_source + (reasons.empty() ? "" : ": " + reasons) + ".",
          "Nearly all MS2 scans are exported.",
          "These outputs are of no use: run tarvek-tools check on the input, which says what is "
          "wrong with its scans."};
}

ReportFinding EmptyTable() {
  return {"empty",
          "The table is empty",
          Verdict::kLook,
          "The table holds no scan, and how many were read is not known.",
          "Nearly all MS2 scans are exported.",
          "Run tarvek-tools check on the input, which says how many MS2 scans it holds."};
}

ReportFinding OtherWidth(const RunReport& report, double declared) {
  return {"isolation-width",
          "Isolation width",
          Verdict::kLook,
          "The input declares a width of " + ExactText(declared) + " m/z (" +
              report.m_declared_width_source + "), and the run took " +
              ExactText(report.m_isolation_width) + ".",
          "The two differ by no more than a tenth.",
          declared > report.m_isolation_width
              ? "Precursors near the edges of the window are missed: run tarvek with -W " +
                    ExactText(declared) + ", or with a value between the two."
              : "Ions outside the window may be taken for precursors: compare with the results of "
                "-W " +
                    ExactText(declared) + "."};
}

ReportFinding FindingOf(const FindingTexts& texts, const RunReport& report) {
  ReportFinding finding{
      std::string(texts.m_id),      std::string(texts.m_title),  Verdict::kNoData,
      std::string(texts.m_no_data), std::string(texts.m_normal), std::string(texts.m_otherwise)};
  const auto judgement = texts.m_judge(report);
  if (judgement) {
    finding.m_seen = judgement->m_seen;
    const bool asks_for_a_look = judgement->m_is_unusual && judgement->m_scans >= kScansToJudge;
    finding.m_verdict = asks_for_a_look ? Verdict::kLook : Verdict::kUsual;
  } else if (texts.m_needs_surveys && report.m_surveys.empty()) {
    finding.m_seen = kNoSurveys;
  }
  return finding;
}

}  // namespace

std::vector<ReportFinding> ReportFindings(const RunReport& report) {
  std::vector<ReportFinding> findings;
  findings.reserve(kFindings.size());
  for (const FindingTexts& texts : kFindings) findings.push_back(FindingOf(texts, report));
  return findings;
}

std::vector<ReportFinding> ReportRemarks(const RunReport& report) {
  std::vector<ReportFinding> remarks;
  if (ExportedNothing(report))
    remarks.push_back(NothingExported(report));
  else if (report.m_scans == 0)
    remarks.push_back(EmptyTable());
  if (report.m_declared_width && report.m_knows_width &&
      IsOtherWidth(*report.m_declared_width, report.m_isolation_width))
    remarks.push_back(OtherWidth(report, *report.m_declared_width));
  return remarks;
}

std::string VerdictWord(Verdict verdict) {
  if (verdict == Verdict::kUsual) return "usual";
  if (verdict == Verdict::kDefect) return "defect";
  return verdict == Verdict::kLook ? "look" : "no data";
}

}  // namespace tarvek::tools
