#include "AnalyserDecision.h"

#include <gtest/gtest.h>

#include <string>

namespace tarvek::extractor {
namespace {

/// A scan with its own configuration or the run's default.
struct Case {
  InstrumentConfiguration m_configuration;
  ExtractedScan m_scan;

  explicit Case(std::int32_t ms_level = 1) { m_scan.m_ms_level = ms_level; }

  AnalyserDecision Decide(const ScanOverrides& overrides = {}, const ExtractionPlan& plan = {}) {
    m_scan.m_configuration = &m_configuration;
    return AnalyserDecider(overrides).Decide(m_scan, m_scan.m_ms_level == 2 ? "HCD" : "", plan);
  }
};

void ExpectDecision(const AnalyserDecision& decision, std::string_view word, AnalyserStep step) {
  EXPECT_EQ(decision.m_word, word);
  EXPECT_EQ(decision.m_step, step);
}

// Removes each step in turn, so that the next one decides.
TEST(AnalyserDecider, AsksTheStepsInTheirOrder) {
  Case one;
  one.m_scan.m_has_own_analyser = true;
  one.m_scan.m_analyser = Analyser::kIonTrap;
  one.m_scan.m_filter = "FTMS + p NSI Full ms";
  one.m_configuration.m_analysers = {Analyser::kOther, Analyser::kIonTrap, Analyser::kOther};
  one.m_configuration.m_has_inductive_detector = true;
  one.m_configuration.m_model_name = "LTQ Velos";
  ScanOverrides overrides;
  overrides.m_ms1_analyser = "FTMS";
  ExpectDecision(one.Decide(overrides), "FTMS", AnalyserStep::kUser);
  overrides = {"", "FTMS", ""};
  ExpectDecision(one.Decide(overrides), "ITMS", AnalyserStep::kScan);
  one.m_scan.m_analyser = Analyser::kOther;  // a quadrupole resolves nothing here
  ExpectDecision(one.Decide(), "FTMS", AnalyserStep::kFilter);
  one.m_scan.m_filter = "+ p NSI Full ms";
  ExpectDecision(one.Decide(), "ITMS", AnalyserStep::kConfiguration);
  one.m_configuration.m_analysers = {Analyser::kOther, Analyser::kUnknown};
  ExpectDecision(one.Decide(), "FTMS", AnalyserStep::kDetector);
  one.m_configuration.m_has_inductive_detector = false;
  ExpectDecision(one.Decide(), "ITMS", AnalyserStep::kModel);
  one.m_configuration.m_model_name = "TSQ Vantage";
  ExpectDecision(one.Decide(), "", AnalyserStep::kUndecided);
  ExtractionPlan plan;
  plan.m_has_looked = true;
  plan.m_looks["ms1"] = Resolution::kUnit;
  ExpectDecision(one.Decide({}, plan), "ITMS", AnalyserStep::kPeaks);
  plan.m_looks["ms1"] = Resolution::kUnclear;
  ExpectDecision(one.Decide({}, plan), "FTMS", AnalyserStep::kAssumed);
}

TEST(AnalyserDecider, TakesTheHighestOrderThatResolvesMasses) {
  Case one;
  one.m_configuration.m_analysers = {Analyser::kIonTrap, Analyser::kFourier, Analyser::kOther};
  ExpectDecision(one.Decide(), "FTMS", AnalyserStep::kConfiguration);
  one.m_configuration.m_analysers = {Analyser::kFourier, Analyser::kIonTrap, Analyser::kUnknown};
  ExpectDecision(one.Decide(), "ITMS", AnalyserStep::kConfiguration);
}

TEST(AnalyserDecider, LeavesTheFragmentScansOfATrapHybridOpen) {
  Case survey;
  survey.m_configuration.m_model_accession = 1001742;
  ExpectDecision(survey.Decide(), "FTMS", AnalyserStep::kModel);
  Case fragment(2);
  fragment.m_configuration.m_model_accession = 1001742;
  ExpectDecision(fragment.Decide(), "", AnalyserStep::kUndecided);
  fragment.m_configuration.m_has_inductive_detector = true;  // of the configuration for surveys
  ExpectDecision(fragment.Decide(), "", AnalyserStep::kUndecided);
  fragment.m_scan.m_has_own_analyser = true;  // as converters name the first one for all scans
  ExpectDecision(fragment.Decide(), "", AnalyserStep::kUndecided);
  ExtractionPlan plan;
  plan.m_has_looked = true;
  plan.m_looks["ms2 "] = Resolution::kUnit;
  ExpectDecision(fragment.Decide({}, plan), "ITMS", AnalyserStep::kPeaks);
  plan.m_looks["ms2 "] = Resolution::kUnclear;
  ExpectDecision(fragment.Decide({}, plan), "FTMS", AnalyserStep::kDetector);
  fragment.m_configuration.m_analysers = {Analyser::kFourier};
  fragment.m_scan.m_has_own_analyser = false;
  ExpectDecision(fragment.Decide({}, plan), "FTMS", AnalyserStep::kConfiguration);
  plan.m_looks["ms2 "] = Resolution::kUnit;
  ExpectDecision(fragment.Decide({}, plan), "ITMS", AnalyserStep::kPeaks);
}

TEST(AnalyserDecider, CopesWithoutAConfiguration) {
  ExtractedScan scan;
  scan.m_ms_level = 1;
  AnalyserDecider decider({});
  ExpectDecision(decider.Decide(scan, "", {}), "", AnalyserStep::kUndecided);
  scan.m_analyser = Analyser::kTimeOfFlight;
  ExpectDecision(decider.Decide(scan, "", {}), "FTMS", AnalyserStep::kConfiguration);
}

TEST(ExtractionPlan, TakesWhatAllGroupsOfALevelAgreeOnForAGroupThatWasNotMet) {
  ExtractionPlan plan;
  plan.m_looks = {{"ms1", Resolution::kHigh}, {"ms2 CID", Resolution::kUnit}};
  EXPECT_EQ(plan.LookOf("ms2 CID"), Resolution::kUnit);
  EXPECT_EQ(plan.LookOf("ms2 ETD"), Resolution::kUnit);
  plan.m_looks["ms2 HCD"] = Resolution::kHigh;
  EXPECT_EQ(plan.LookOf("ms2 ETD"), Resolution::kUnclear);
  EXPECT_EQ(plan.LookOf("ms1"), Resolution::kHigh);
  EXPECT_EQ(ExtractionPlan().LookOf("ms1"), Resolution::kUnclear);
}

TEST(ShownModel, IsTheNameInTheFileOrThatOfTheTerm) {
  InstrumentConfiguration configuration;
  EXPECT_EQ(ShownModel(configuration), "");
  configuration.m_model_accession = 1001911;
  EXPECT_EQ(ShownModel(configuration), "Q Exactive");
  configuration.m_model_name = "our QE";
  EXPECT_EQ(ShownModel(configuration), "our QE");
}

}  // namespace
}  // namespace tarvek::extractor
