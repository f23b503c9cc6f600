#include "report/Advice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "report/Page.h"

namespace tarvek::tools {
namespace {

using testing::HasSubstr;
using testing::Not;

/// A run with nothing to improve.
RunReport GoodRun() {
  RunReport report;
  report.m_name = "run";
  report.m_scans = 100;
  report.m_precursors = 200;
  report.m_by_count[2] = 100;
  report.m_settings = {{"charge_range", "2t6"}, {"co-elute", "1"}, {"mars_threshold", "-0.340000"}};
  report.m_knows_width = true;
  report.m_isolation_width = 2.0;
  report.m_declared_width = 2.0;
  report.m_declared_widths = {{"2.00", 100}};
  report.m_by_charge = {{2, 120}, {3, 70}, {4, 10}};
  report.m_charges = {{{2, 2}, 60}, {{3, 3}, 40}};
  report.m_by_shift[ShiftPlace(0)] = 100;
  return report;
}

std::optional<std::string> WhatOf(const RunReport& report, const std::string& id) {
  const std::vector<Advice> advice = WhatToChange(report);
  const auto found = std::ranges::find(advice, id, &Advice::m_id);
  return found == advice.end() ? std::nullopt : std::optional(found->m_what);
}

TEST(WhatToChange, IsEmptyForARunAsItShouldBe) { EXPECT_TRUE(WhatToChange(GoodRun()).empty()); }

TEST(WhatToChange, NamesTheWidthThatTheInputDeclares) {
  RunReport report = GoodRun();
  report.m_isolation_width = 1.0;
  report.m_declared_width = 4.0;
  report.m_declared_widths = {{"4.00", 100}};
  EXPECT_EQ(WhatOf(report, "width"), "-W 4");
  const std::string page = RunPage(report);
  EXPECT_THAT(page, Not(HasSubstr("Nothing unusual")));
  EXPECT_THAT(page, HasSubstr("<strong><code>-W</code> 4</strong>"));
}

TEST(WhatToChange, SaysThatTheWidthIsNotKnown) {
  RunReport report = GoodRun();
  report.m_declared_width.reset();
  report.m_declared_widths.clear();
  report.m_isolation_width = 1.0;
  EXPECT_TRUE(WhatOf(report, "width-unknown").has_value());
  EXPECT_THAT(RunPage(report), Not(HasSubstr("Nothing unusual.")));
}

TEST(WhatToChange, NamesSeveralWidthsOfOneRun) {
  RunReport report = GoodRun();
  report.m_declared_widths = {{"2.00", 90}, {"10.00", 6}, {"3.00", 4}, {"not declared", 30}};
  // 6 of 130 scans are 4.6 %.
  EXPECT_FALSE(WhatOf(report, "several-widths").has_value());
  report.m_declared_widths = {{"2.00", 90}, {"10.00", 10}};
  EXPECT_THAT(WhatOf(report, "several-widths").value(), HasSubstr("-W 10"));
}

TEST(WhatToChange, RaisesTheChargesThatReachTheirLimit) {
  RunReport report = GoodRun();
  report.m_settings["charge_range"] = "2t4";
  report.m_by_charge = {{2, 120}, {3, 65}, {4, 15}};  // 7.5 %
  EXPECT_FALSE(WhatOf(report, "charges").has_value());
  report.m_by_charge = {{2, 120}, {3, 64}, {4, 16}};  // 8 %
  EXPECT_EQ(WhatOf(report, "charges"), "-c 2t5");
  report.m_settings["charge_range"] = "-4t-2";
  EXPECT_EQ(WhatOf(report, "charges"), "-c -5t-2");
}

TEST(WhatToChange, WidensTheChargesToThoseDeclared) {
  RunReport report = GoodRun();
  report.m_charges = {{{1, 0}, 10}, {{2, 2}, 80}, {{8, 0}, 10}};
  EXPECT_EQ(WhatOf(report, "charges"), "-c 1t8");
  report.m_charges = {{{1, 0}, 2}, {{2, 2}, 98}};
  EXPECT_FALSE(WhatOf(report, "charges").has_value());
}

TEST(WhatToChange, MovesTheThreshold) {
  RunReport report = GoodRun();
  report.m_precursors = 601;
  EXPECT_EQ(WhatOf(report, "threshold"), "-t -0.04");
  report = GoodRun();
  report.m_by_shift[ShiftPlace(0)] = 59;
  report.m_kept = 41;
  EXPECT_EQ(WhatOf(report, "threshold"), "-t -0.64");
  report.m_scan_page.m_kept = 41;
  report.m_scan_page.m_nearly = 11;
  EXPECT_EQ(WhatOf(report, "threshold"), "-t -0.64");
  report.m_scan_page.m_nearly = 10;  // 24 %
  report.m_scan_page.m_kept_scan = 77;
  EXPECT_FALSE(WhatOf(report, "threshold").has_value());
  EXPECT_THAT(WhatOf(report, "kept").value(), HasSubstr("explain RUN 77"));
}

TEST(WhatToChange, RaisesTheProbabilityOfARunWithManyWrongPrecursors) {
  RunReport report = GoodRun();
  report.m_joint = JointFigures{200, 71.0, 0, 0};
  EXPECT_THAT(WhatOf(report, "threshold").value(), HasSubstr("--probability 0.5"));
  report.m_settings["joint"] = "0.5000";
  EXPECT_FALSE(WhatOf(report, "threshold").has_value());
  report.m_settings["joint"] = "0.3000";
  report.m_joint->m_doubts = 69.0;
  EXPECT_FALSE(WhatOf(report, "threshold").has_value());
}

TEST(WhatToChange, NamesCoElutionCalibrationAndInput) {
  RunReport report = GoodRun();
  report.m_settings["co-elute"] = "0";
  report.m_median_ppm = -4.0;
  report.m_ppm.resize(30);
  report.m_left_out_source = "the record of the run";
  report.m_left_out_count = 10;
  report.m_left_out_reasons = {{"no peaks", 10}};
  EXPECT_EQ(WhatOf(report, "co-elution"), "-C 1");
  EXPECT_THAT(WhatOf(report, "calibration").value(), HasSubstr("calibrate"));
  EXPECT_THAT(WhatOf(report, "input").value(), HasSubstr("tarvek-tools check"));
}

TEST(BatchPage, EndsWithWhatToChangeAndListsSettingsAndFiles) {
  RunReport first = GoodRun();
  first.m_settings["isolation_width"] = "1.000000";
  first.m_isolation_width = 1.0;
  first.m_outputs = {{"run.csv", 1500}, {"run_HCDFT.mgf", 2'000'000}};
  RunReport second = GoodRun();
  second.m_name = "other<run>";
  second.m_settings["isolation_width"] = "2.000000";
  const std::vector<BatchRun> runs = {BatchRunOf(first, "run.report.html"),
                                      BatchRunOf(second, "other.report.html")};
  const std::string page = BatchPage("batch", runs);
  EXPECT_THAT(page, HasSubstr("1.000000 (run); 2.000000 (other&lt;run&gt;)"));
  EXPECT_THAT(page, HasSubstr("run.csv and run_HCDFT.mgf"));
  EXPECT_THAT(page, HasSubstr("2.0 MB"));
  const std::size_t change = page.find("What to change next");
  ASSERT_NE(change, std::string::npos);
  EXPECT_EQ(page.find("<h2>", change), std::string::npos);
  EXPECT_THAT(page.substr(change), HasSubstr("<code>-W</code> 2</strong> \u2013 run."));
}

}  // namespace
}  // namespace tarvek::tools
