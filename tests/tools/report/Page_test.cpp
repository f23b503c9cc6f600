#include "report/Page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <random>

#include "report/Pictures.h"
#include "report/Summary.h"

namespace tarvek::tools {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

/// A run of 100000 scans with all data.
RunReport LargeReport() {
  std::mt19937 random(1);
  RunReport report;
  report.m_name = "large";
  report.m_tol_ppm = 20.0;
  report.m_scans = 100000;
  report.m_precursors = 200000;
  report.m_scans_by_kind = {{"HCD FT", 100000}};
  report.m_by_count[2] = 100000;
  report.m_by_shift[ShiftPlace(0)] = 90000;
  report.m_by_shift[ShiftPlace(-1)] = 10000;
  report.m_charges = {{{2, 2}, 60000}, {{3, 3}, 39000}, {{2, 3}, 1000}};
  for (int i = 0; i < 100000; ++i) {
    const double rt_s = 0.05 * i;
    report.m_ms2_times_s.push_back(rt_s);
    report.m_ppm.push_back({rt_s, static_cast<double>(random() % 100) / 10.0 - 5.0});
    if (i % 10 == 0) report.m_surveys.push_back({rt_s, 1e8 + static_cast<double>(random() % 1000)});
    report.m_left_out.push_back({i, rt_s, "activation type not known"});
  }
  report.m_left_out_count = 100000;
  report.m_left_out_reasons = {{"activation type not known", 100000}};
  report.m_left_out_source = "the .ms2 file";
  report.m_median_ppm = 0.0;
  report.m_absolute_ppm_95 = 4.9;
  report.m_windows = 100000;
  report.m_main_share[15] = report.m_all_share[18] = 100000;
  report.m_median_main_share = 0.77;
  report.m_median_all_share = 0.92;
  return report;
}

/// Scans over 1000 seconds, 50 apart except for one pause.
std::vector<double> SteadyTimes(double pause_s) {
  std::vector<double> times = {0.0, pause_s};
  for (double rt_s = 150.0; rt_s <= 1000.0; rt_s += 50.0) times.push_back(rt_s);
  return times;
}

Verdict VerdictOf(const RunReport& report, const std::string& id) {
  for (const ReportFinding& finding : ReportFindings(report))
    if (finding.m_id == id) return finding.m_verdict;
  ADD_FAILURE() << "no finding " << id;
  return Verdict::kNoData;
}

TEST(RunPage, StaysSmallForALargeRun) { EXPECT_LT(RunPage(LargeReport()).size(), 500000u); }

TEST(RunPage, IsCompleteInItself) {
  const std::string page = RunPage(LargeReport());
  for (const char* outside : {"http:", "https:", "<script", "<link", "src=", "url(", "@import"})
    EXPECT_THAT(page, Not(HasSubstr(outside)));
  EXPECT_THAT(page, HasSubstr("prefers-color-scheme: dark"));
  EXPECT_THAT(page, HasSubstr("@media print"));
}

TEST(RunPage, TellsOfEveryPictureWhatIsNormalAndWhatToDoOtherwise) {
  const RunReport report = LargeReport();
  const std::string page = RunPage(report);
  for (const ReportFinding& finding : ReportFindings(report)) {
    EXPECT_THAT(page, HasSubstr("<h2>" + finding.m_title + "</h2>"));
    EXPECT_THAT(page, HasSubstr("<svg role=\"img\" viewBox=\"0 0 640 300\" aria-labelledby=\"" +
                                finding.m_id + "-t"));
    EXPECT_FALSE(finding.m_normal.empty());
    EXPECT_FALSE(finding.m_otherwise.empty());
  }
}

TEST(RunPage, SaysWhatIsMissingInsteadOfDrawingIt) {
  RunReport report;
  report.m_name = "table alone";
  report.m_scans = 1;
  report.m_precursors = 1;
  report.m_by_count[1] = 1;
  report.m_undeclared = 1;
  const std::string page = RunPage(report);
  EXPECT_THAT(page, HasSubstr("Not drawn. No .pf1 or .ms1 file: the surveys are unknown."));
  EXPECT_THAT(page, HasSubstr("Not drawn. No scan declares a precursor"));
  EXPECT_THAT(page, HasSubstr("Not drawn. Neither the input"));
  EXPECT_THAT(page, Not(HasSubstr("aria-labelledby=\"purity-t")));
  EXPECT_THAT(page, HasSubstr("aria-labelledby=\"precursors-t"));
}

TEST(RunPage, EscapesTheNameOfTheRun) {
  RunReport report;
  report.m_name = "<b>&\"run\"";
  const std::string page = RunPage(report);
  EXPECT_THAT(page, HasSubstr("<h1>&lt;b&gt;&amp;&quot;run&quot;</h1>"));
  EXPECT_THAT(page, Not(HasSubstr("<b>&\"run")));
}

TEST(RunPage, NamesTheFirstScansOfEachReason) {
  EXPECT_THAT(RunPage(LargeReport()), HasSubstr("<td>0, 1, 2, 3, 4, 5, 6, 7 \u2026</td>"));
}

TEST(RunPage, GivesItsSettingsWithAllTheirDigits) {
  RunReport report;
  report.m_isolation_width = 0.004;
  report.m_tol_ppm = 0.4;
  const std::string page = RunPage(report);
  EXPECT_THAT(page, HasSubstr("isolation width 0.004 m/z"));
  EXPECT_THAT(page, HasSubstr("within 0.4 ppm"));
}

TEST(PictureOf, DrawsNoDifferenceBeyondTheTolerance) {
  RunReport report = LargeReport();
  report.m_absolute_ppm_95 = 0.5;
  ReportFinding finding;
  finding.m_id = "ppm";
  finding.m_verdict = Verdict::kUsual;
  EXPECT_THAT(PictureOf(finding, report), HasSubstr(">2</text>"));  // from -2 to 2
  report.m_tol_ppm = 1.0;
  EXPECT_THAT(PictureOf(finding, report), Not(HasSubstr(">2</text>")));
}

TEST(ReportFindings, AskForALookWhereALimitIsPassed) {
  RunReport report = LargeReport();
  EXPECT_EQ(VerdictOf(report, "precursors"), Verdict::kUsual);
  EXPECT_EQ(VerdictOf(report, "isotopes"), Verdict::kUsual);
  EXPECT_EQ(VerdictOf(report, "charges"), Verdict::kUsual);
  EXPECT_EQ(VerdictOf(report, "ppm"), Verdict::kUsual);
  EXPECT_EQ(VerdictOf(report, "purity"), Verdict::kUsual);
  EXPECT_EQ(VerdictOf(report, "current"), Verdict::kUsual);
  EXPECT_EQ(VerdictOf(report, "left-out"), Verdict::kLook);

  report.m_precursors = 700000;
  report.m_by_shift = {0, 0, 60000, 40000, 0, 0, 0};
  report.m_charges = {{{2, 2}, 70000}, {{2, 3}, 30000}};
  report.m_median_ppm = -6.0;
  report.m_median_main_share = 0.2;
  report.m_ms2_times_s = {0.0, 10.0, 100.0, 110.0};
  report.m_left_out_count = 0;
  EXPECT_EQ(VerdictOf(report, "precursors"), Verdict::kLook);
  EXPECT_EQ(VerdictOf(report, "isotopes"), Verdict::kLook);
  EXPECT_EQ(VerdictOf(report, "charges"), Verdict::kLook);
  EXPECT_EQ(VerdictOf(report, "ppm"), Verdict::kLook);
  EXPECT_EQ(VerdictOf(report, "purity"), Verdict::kLook);
  EXPECT_EQ(VerdictOf(report, "current"), Verdict::kLook);
  EXPECT_EQ(VerdictOf(report, "left-out"), Verdict::kUsual);
}

/// A run with one figure just inside a limit, and just outside it.
struct LimitCase {
  const char* m_name;
  const char* m_finding;
  void (*m_inside)(RunReport& report);
  void (*m_outside)(RunReport& report);
};
class FindingLimit : public testing::TestWithParam<LimitCase> {};

TEST_P(FindingLimit, IsUsualAtTheLimitAndNotBeyondIt) {
  RunReport report = LargeReport();
  GetParam().m_inside(report);
  EXPECT_EQ(VerdictOf(report, GetParam().m_finding), Verdict::kUsual);
  GetParam().m_outside(report);
  EXPECT_EQ(VerdictOf(report, GetParam().m_finding), Verdict::kLook);
}

// The limits are those of docs/report.md; the run has 100000 scans, 90000 of them at the declared
// isotope and 10000 one below.
INSTANTIATE_TEST_SUITE_P(
    OfTheDocument, FindingLimit,
    testing::Values(
        LimitCase{"mean", "precursors", [](RunReport& r) { r.m_precursors = 600000; },
                  [](RunReport& r) { r.m_precursors = 600001; }},
        LimitCase{"singles", "precursors", [](RunReport& r) { r.m_by_count[1] = 95000; },
                  [](RunReport& r) { r.m_by_count[1] = 95001; }},
        LimitCase{"moved", "isotopes",
                  [](RunReport& r) { r.m_by_shift = {0, 0, 40000, 50000, 10000, 0, 0}; },
                  [](RunReport& r) { r.m_by_shift = {0, 0, 40001, 49999, 10000, 0, 0}; }},
        LimitCase{"unmatched", "isotopes",
                  [](RunReport& r) {  // 40 of 100, not found and kept together
                    r.m_by_shift = {0, 0, 0, 60000, 0, 0, 0};
                    r.m_unmatched = 30000;
                    r.m_kept = 10000;
                  },
                  [](RunReport& r) { r.m_kept = 10001; }},
        LimitCase{"charges", "charges",
                  [](RunReport& r) {
                    r.m_charges = {{{2, 2}, 80000}, {{2, 3}, 20000}};
                  },
                  [](RunReport& r) {
                    r.m_charges = {{{2, 2}, 79999}, {{2, 3}, 20001}};
                  }},
        LimitCase{"median_above", "ppm", [](RunReport& r) { r.m_median_ppm = 5.0; },
                  [](RunReport& r) { r.m_median_ppm = 5.01; }},
        LimitCase{"median_below", "ppm", [](RunReport& r) { r.m_median_ppm = -5.0; },
                  [](RunReport& r) { r.m_median_ppm = -5.01; }},
        LimitCase{"spread", "ppm", [](RunReport& r) { r.m_absolute_ppm_95 = 15.0; },  // 20 ppm
                  [](RunReport& r) { r.m_absolute_ppm_95 = 15.01; }},
        LimitCase{"main_share", "purity", [](RunReport& r) { r.m_median_main_share = 0.3; },
                  [](RunReport& r) { r.m_median_main_share = 0.299; }},
        LimitCase{"all_share", "purity", [](RunReport& r) { r.m_median_all_share = 0.5; },
                  [](RunReport& r) { r.m_median_all_share = 0.499; }},
        LimitCase{"pause_seconds", "current",  // nearly all of the run, but a minute
                  [](RunReport& r) {
                    r.m_ms2_times_s = {0.0, 1.0, 61.0};
                  },
                  [](RunReport& r) {
                    r.m_ms2_times_s = {0.0, 1.0, 61.5};
                  }},
        LimitCase{"pause_share", "current",  // more than a minute, but a tenth of the run
                  [](RunReport& r) { r.m_ms2_times_s = SteadyTimes(100.0); },
                  [](RunReport& r) { r.m_ms2_times_s = SteadyTimes(101.0); }},
        LimitCase{"left_out", "left-out",
                  [](RunReport& r) {
                    r.m_left_out_count = 5000;
                    r.m_scans = 95000;
                  },
                  [](RunReport& r) { r.m_left_out_count = 5001; }}),
    [](const auto& limit) { return std::string(limit.param.m_name); });

TEST(ReportFindings, DoNotJudgeAFewScans) {
  RunReport report;
  report.m_scans = 5;
  report.m_precursors = 50;
  report.m_by_count[10] = 5;
  EXPECT_EQ(VerdictOf(report, "precursors"), Verdict::kUsual);
  report.m_scans = 50;
  report.m_precursors = 500;
  report.m_by_count[10] = 50;
  EXPECT_EQ(VerdictOf(report, "precursors"), Verdict::kLook);
}

/// Runs that differ in their number of scans.
std::vector<BatchRun> Batch(const std::vector<std::int64_t>& scans) {
  std::vector<BatchRun> runs;
  for (std::size_t i = 0; i < scans.size(); ++i) {
    RunReport report;
    report.m_name = "run " + std::to_string(i);
    report.m_scans = report.m_precursors = scans[i];
    report.m_by_shift[ShiftPlace(-1)] = 3;
    report.m_by_count[1] = scans[i];
    runs.push_back(BatchRunOf(report, report.m_name + ".report.html"));
  }
  return runs;
}

BatchRun Failed() {
  BatchRun run;
  run.m_name = "broken";
  run.m_error = "broken.pf1 is damaged";
  return run;
}

/// Whether the first figure of a run, its number of scans, is marked.
bool IsMarked(const std::vector<BatchRun>& runs, std::size_t run) {
  const std::string page = BatchPage("week 1", runs);
  std::size_t row = page.find("<tbody>");
  for (std::size_t i = 0; i <= run; ++i) row = page.find("<td class=\"name\">", row + 1);
  const std::string cell = "<td class=\"number";
  return page.substr(page.find(cell, row)).starts_with(cell + " out\">");
}

TEST(BatchPage, MarksAFigureThatIsFarFromTheOthers) {
  // median 100, deviations 0 1 1 2 2 100, their median 1.5; 3.5 x max(1.4826 x 1.5, 2) = 7.8
  auto runs = Batch({100, 101, 99, 102, 98, 200});
  runs.push_back(Failed());  // without the figure
  for (std::size_t run = 0; run < 5; ++run) EXPECT_FALSE(IsMarked(runs, run)) << run;
  EXPECT_TRUE(IsMarked(runs, 5));
}

TEST(BatchPage, NeedsEnoughRunsAndMoreThanASmallDifferenceToMarkAFigure) {
  EXPECT_FALSE(IsMarked(Batch({100, 100, 100, 900}), 3));
  EXPECT_FALSE(IsMarked(Batch({100, 100, 100, 100, 106}), 4));  // 7 is 3.5 times 2 % of 100
  EXPECT_TRUE(IsMarked(Batch({100, 100, 100, 100, 108}), 4));
}

TEST(BatchPage, LinksItsRunsAndNamesThoseWithoutReport) {
  auto runs = Batch({100, 101, 99});
  runs.push_back(Failed());
  const std::string page = BatchPage("week 1", runs);
  EXPECT_THAT(page, HasSubstr("<h1>week 1</h1>"));
  EXPECT_THAT(page, HasSubstr("<a href=\"run%200.report.html\">run 0</a>"));
  EXPECT_THAT(page, HasSubstr("4 runs; 3 with something worth a look, 1 without a report."));
  EXPECT_THAT(page, HasSubstr("broken.pf1 is damaged"));
}

TEST(BatchPage, IsWrittenForNoRunAtAll) {
  EXPECT_THAT(BatchPage("none", {}), HasSubstr("0 runs; "));
}

TEST(RunJson, HoldsTheFiguresAndTheCounts) {
  const json parsed = json::parse(RunJson(LargeReport()));
  EXPECT_EQ(parsed["run"], "large");
  EXPECT_EQ(parsed["figures"]["ms2_scans"], 100000.0);
  EXPECT_EQ(parsed["figures"]["isotope_corrected"], 10.0);
  EXPECT_EQ(parsed["isotope_shift"]["-1"], 10000);
  EXPECT_EQ(parsed["findings"]["left-out"]["verdict"], "look");
  EXPECT_EQ(parsed["charges"].size(), 3u);
}

TEST(RunJson, GivesNullForWhatIsNotKnown) {
  const json parsed = json::parse(RunJson({}));
  EXPECT_TRUE(parsed["figures"]["median_ppm"].is_null());
  EXPECT_EQ(parsed["findings"]["ppm"]["verdict"], "no data");
}

TEST(RunJson, ReplacesWhatIsNoUtf8) {
  RunReport report;
  report.m_name = "run\xff";
  EXPECT_EQ(json::parse(RunJson(report))["run"], "run\ufffd");
}

TEST(BatchJson, ListsEveryRun) {
  auto runs = Batch({100});
  runs.push_back(Failed());
  const json parsed = json::parse(BatchJson(runs));
  ASSERT_EQ(parsed["runs"].size(), 2u);
  EXPECT_EQ(parsed["runs"][0]["page"], "run 0.report.html");
  EXPECT_EQ(parsed["runs"][1]["error"], "broken.pf1 is damaged");
}

TEST(MultiQc, HasASectionForEachFileWithTheRunsThatHaveAReport) {
  auto runs = Batch({100, 50});
  runs.push_back(Failed());
  const json table = json::parse(FiguresForMultiQc(runs));
  EXPECT_EQ(table["id"], "tarvek");
  EXPECT_EQ(table["plot_type"], "table");
  EXPECT_EQ(table["data"].size(), 3u);
  EXPECT_EQ(table["data"]["broken"]["state"], "no report");
  EXPECT_EQ(table["data"]["run 1"]["ms2_scans"], 50.0);
  EXPECT_FALSE(table["data"]["run 1"].contains("median_ppm"));
  const json isotopes = json::parse(IsotopesForMultiQc(runs));
  EXPECT_EQ(isotopes["plot_type"], "bargraph");
  EXPECT_EQ(isotopes["data"]["run 0"]["-1"], 3);
  const json precursors = json::parse(PrecursorsForMultiQc(runs));
  EXPECT_EQ(precursors["data"]["run 0"]["1"], 100);
  EXPECT_EQ(precursors["data"]["run 0"]["more than 10"], 0);
}

}  // namespace
}  // namespace tarvek::tools
