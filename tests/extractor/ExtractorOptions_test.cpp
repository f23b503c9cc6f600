#include "ExtractorOptions.h"

#include <gtest/gtest.h>

#include <map>

#include "TestSupport.h"

namespace tarvek::extractor {
namespace {

ExtractorOptions Parsed(const std::vector<std::string>& arguments) {
  return ParseOptions(arguments);
}

std::string ErrorOf(const std::vector<std::string>& arguments) {
  return tarvek::test::MessageOf([&] { Parsed(arguments); });
}

TEST(ParseOptions, ReadsTheDriversCommandLine) {
  const auto options =
      Parsed({"-ms", "-a", "-i", "2", "-m", "4", "-o", "/out dir", "/in/a b.mzXML", "-msb"});
  EXPECT_FALSE(options.m_mgf);
  EXPECT_TRUE(options.m_msb);
  EXPECT_EQ(options.m_intensity_digits, 2);
  EXPECT_EQ(options.m_mz_digits, 4);
  EXPECT_EQ(options.m_output_directory, "/out dir");
  EXPECT_EQ(options.m_input, "/in/a b.mzXML");
  EXPECT_EQ(options.m_base_name, "a b");
  EXPECT_EQ(options.m_format, "mzxml");
}

TEST(ParseOptions, WritesBesideTheInputWithFiveAndOneDecimalsUnlessTold) {
  const auto options = Parsed({"/in/run.mzML"});
  EXPECT_EQ(options.m_output_directory, "/in");
  EXPECT_EQ(options.m_mz_digits, 5);
  EXPECT_EQ(options.m_intensity_digits, 1);
  EXPECT_FALSE(options.m_msb);
  EXPECT_EQ(Parsed({"run.mzML"}).m_output_directory, ".");
}

TEST(ParseOptions, TakesANegativeVoltage) {
  EXPECT_EQ(Parsed({"--faims", "-45.5", "run.mzML"}).m_faims_volts, -45.5);
}

TEST(ParseOptions, TakesAFileNameWithADashBehindTwoDashes) {
  EXPECT_EQ(Parsed({"--", "-ms.mzML"}).m_input, "-ms.mzML");
}

TEST(ParseOptions, TakesAnAnalyserForBothLevelsOrOne) {
  const auto text_of = [](const std::vector<std::string>& arguments) {
    return AnalyserOverrideText(Parsed(arguments).m_overrides);
  };
  EXPECT_EQ(text_of({"run.mzML"}), "");
  EXPECT_EQ(text_of({"--analyser", "FTMS", "run.mzML"}), "FTMS");
  EXPECT_EQ(text_of({"--analyser", "ms2=itms", "run.mzML"}), "ms2=ITMS");
  EXPECT_EQ(text_of({"--analyser", "MS1=FTMS, ms2=ITMS", "run.mzML"}), "ms1=FTMS,ms2=ITMS");
  EXPECT_EQ(text_of({"--analyser", "ms1=FTMS", "--analyser", "ms2=ITMS", "run.mzML"}),
            "ms1=FTMS,ms2=ITMS");
  EXPECT_EQ(text_of({"--analyser", "FTMS", "--analyser", "ms2=ITMS", "run.mzML"}),
            "ms1=FTMS,ms2=ITMS");
  EXPECT_EQ(text_of({"--analyser", "ms1=ITMS,ms2=ITMS", "run.mzML"}), "ITMS");
}

TEST(ParseOptions, TakesAnActivation) {
  EXPECT_EQ(Parsed({"--activation", "EThcD", "run.mzML"}).m_overrides.m_activation, "ETHCD");
  EXPECT_EQ(Parsed({"run.mzML"}).m_overrides.m_activation, "");
}

TEST(ParseOptions, RefusesAnalysersAndActivationsThatItDoesNotKnow) {
  const std::string analyser = "option --analyser needs FTMS or ITMS, for one level as ms2=ITMS, ";
  EXPECT_EQ(ErrorOf({"--analyser", "TOF", "a.mzML"}), analyser + "not \"TOF\"");
  EXPECT_EQ(ErrorOf({"--analyser", "ms3=FTMS", "a.mzML"}), analyser + "not \"ms3=FTMS\"");
  EXPECT_EQ(ErrorOf({"--analyser", "ms1=FTMS,", "a.mzML"}), analyser + "not \"\"");
  EXPECT_EQ(ErrorOf({"--analyser", "", "a.mzML"}), analyser + "not \"\"");
  EXPECT_EQ(ErrorOf({"--analyser", "ms1=", "a.mzML"}), analyser + "not \"ms1=\"");
  EXPECT_EQ(ErrorOf({"--activation", "ECD", "a.mzML"}),
            "option --activation needs HCD, CID, ETD, ETHCD or ETCID, not \"ECD\"");
}

VariableOf Environment(const std::map<std::string, std::string>& variables) {
  return [variables](const std::string& name) -> std::optional<std::string> {
    const auto found = variables.find(name);
    if (found == variables.end()) return std::nullopt;
    return found->second;
  };
}

TEST(AddEnvironment, SaysWhatTheOptionsSay) {
  ScanOverrides overrides;
  AddEnvironment(Environment({{"TARVEK_ANALYSER", "ms2=ITMS"}, {"TARVEK_ACTIVATION", "CID"}}),
                 overrides);
  EXPECT_EQ(AnalyserOverrideText(overrides), "ms2=ITMS");
  EXPECT_EQ(overrides.m_activation, "CID");
}

TEST(AddEnvironment, GivesWayToAnOptionAndToNothingWhenEmpty) {
  ScanOverrides overrides = Parsed({"--analyser", "ms2=FTMS", "run.mzML"}).m_overrides;
  AddEnvironment(Environment({{"TARVEK_ANALYSER", "ITMS"}, {"TARVEK_ACTIVATION", ""}}), overrides);
  EXPECT_EQ(AnalyserOverrideText(overrides), "ms2=FTMS");
  EXPECT_EQ(overrides.m_activation, "");
}

TEST(AddEnvironment, NamesTheVariableWhoseValueMakesNoSense) {
  const auto error_of = [](const std::map<std::string, std::string>& variables) {
    ScanOverrides overrides;
    return tarvek::test::MessageOf([&] { AddEnvironment(Environment(variables), overrides); });
  };
  EXPECT_EQ(error_of({{"TARVEK_ANALYSER", "FT"}}),
            "TARVEK_ANALYSER needs FTMS or ITMS, for one level as ms2=ITMS, not \"FT\"");
  EXPECT_EQ(error_of({{"TARVEK_ACTIVATION", "X"}}),
            "TARVEK_ACTIVATION needs HCD, CID, ETD, ETHCD or ETCID, not \"X\"");
}

TEST(ParseOptions, RefusesWhatMakesNoSense) {
  EXPECT_EQ(ErrorOf({"-ms"}), "no instrument file is given; try --help");
  EXPECT_EQ(ErrorOf({"a.mzML", "b.mzML"}),
            "one instrument file at a time, please: a.mzML or b.mzML?");
  EXPECT_EQ(ErrorOf({"-x", "a.mzML"}), "unknown option -x; try --help");
  EXPECT_EQ(ErrorOf({"a.mzML", "-o"}), "option -o needs a value");
  EXPECT_EQ(ErrorOf({"-m", "10", "a.mzML"}),
            "option -m needs a number of digits from 0 to 9, not \"10\"");
  EXPECT_EQ(ErrorOf({"-i", "1x", "a.mzML"}),
            "option -i needs a number of digits from 0 to 9, not \"1x\"");
  EXPECT_EQ(ErrorOf({"--faims", "low", "a.mzML"}), "option --faims needs a voltage, not \"low\"");
}

TEST(BaseNameOf, DropsTheLastExtensionAndGzBeforeIt) {
  EXPECT_EQ(BaseNameOf("/a/run.mzML"), "run");
  EXPECT_EQ(BaseNameOf("/a/run.mzML.gz"), "run");
  EXPECT_EQ(BaseNameOf("/a/run.1.mzXML.GZ"), "run.1");
  EXPECT_EQ(BaseNameOf("C:\\data\\x.raw"), "x");
  EXPECT_EQ(BaseNameOf("/a.b/run"), "run");
}

}  // namespace
}  // namespace tarvek::extractor
