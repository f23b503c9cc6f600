// How the program starts: without arguments, with a question, with a parameter file, with options.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "ProgramTest.h"

namespace tarvek::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kBanner =
    "\n"
    "\t  *********************************************\n"
    "\t /       Tarvek2.0 (x64)Tarvek developers\\\n"
    "\t |       E-mail: support@tarvek.example\n"
    "\t |       Web: https://tarvek.example\n"
    "\t  *********************************************\n"
    "\n";

constexpr const char* kVersionLine = "Tarvek Version-Release-2.2.1(x64)\n";

constexpr const char* kAttention =
    "\n"
    "\n"
    "ATTENTION:\n"
    "\tCarefully configured parameter file is required!\n"
    "\tA standard parameter file named 'Tarvek.params' is generated.\n";

constexpr const char* kUsage =
    "\n"
    "USAGE:\n"
    "Usage via config files:\n"
    "\tTarvek.exe Tarvek.params\n"
    "Usage via command options:\n"
    "\tTarvek.exe -D D:\\Dataset\\1.raw\n"
    "\tOr\n"
    "\tTarvek.exe -D D:\\Dataset\n"
    "\tOr\n"
    "\tTarvek.exe -D \"D:\\A Dataset\"\n"
    "\tOr (in linux)\n"
    "\tTarvek.exe -D \"/A Dataset/1.raw\"\n"
    "Note: \n"
    "\tIf spaces appear in file path, the file path must be enclosed in double quotation marks. \n"
    "\n"
    "OPTIONS:\n"
    "\t-C\tco-elute\t\tdefault: 1\n"
    "\t\t# 0 Output single precursor for single scan;\n"
    "\t\t# 1 Output all co - eluted precursors.\n"
    "\t-D\tdatapath\t\tdefault: \n"
    "\t\t# The directory contains input files / the input file path.\n"
    "\t-F\tinput_format\t\tdefault: raw\n"
    "\t\t# Options: raw / mzXML / mzML / ms1 / mgf.\n"
    "\t-I\tipv_file\t\tdefault: IPV.txt\n"
    "\n"
    "\t-L\tlogfilepath\t\tdefault: \n"
    "\t\t# Default value is the directory of data_path.\n"
    "\t-M\tmars_model\t\tdefault: 4\n"
    "\t\t# 0: 11 features, trained on a HeLa data set;\n"
    "\t\t# 1: Velos data set 1, 11 features;\n"
    "\t\t# 2: Velos data set 1, 5 features;\n"
    "\t\t# 3: QE data set 1, 9 features;\n"
    "\t\t# 4: 9 features (Recommended); formerly an 11-feature model;\n"
    "\t\t# 5: N15, 9 features;\n"
    "\t\t# 15: best between N15, 9 features and QE data set 2, 9 features [Experimental];\n"
    "\t\t# 250: QE data set 2, 9 features;\n"
    "\t\t# 1024: 9 features [Experimental].\n"
    "\t-O\toutputpath\t\tdefault: \n"
    "\t\t# Default value is the directory of data_path.\n"
    "\t-R\trecalibrate_window\t\tdefault: 7.000000\n"
    "\n"
    "\t-S\tcut_similiar_mono\t\tdefault: 1\n"
    "\t\t# Do not change this usually.\n"
    "\t\t# 0 Output single precursor for single scan;\n"
    "\t\t# 1 Keep one precursor in 20ppm with same charge.\n"
    "\t-W\tisolation_width\t\tdefault: 2.000000\n"
    "\t\t# Options: 2 / 2.5 / 3 / 4.\n"
    "\t-a\tcheck_activationcenter\t\tdefault: 1\n"
    "\t\t# 0 Do Not check;\n"
    "\t\t# 1 Check(Recommended).\n"
    "\t-b\toutput_msb\t\tdefault: 0\n"
    "\t\t#Will stop output ms1, ms2, pf1, pf2. 0 Do Not output MSB;\n"
    "\t\t# 1 Output MSB.\n"
    "\t-c\tcharge_range\t\tdefault: 226\n"
    "\t\t# Tarvek will try to enumerate each charge state within this range together with each "
    "candidate ms1 peak. e.g: 2t6\n"
    "\t-d\tdelete_msn\t\tdefault: 0\n"
    "\t\t# 0 Keep the MS1/MS2 files [recommended];\n"
    "\t\t# 1 Delete the MS1/MS2 files.\n"
    "\t-i\tintensity\t\tdefault: 1\n"
    "\t\t# The digits of intensity to output\n"
    "\t-m\toutput_mgf\t\tdefault: 1\n"
    "\t\t# 0 Do Not output MGF;\n"
    "\t\t\t\t# 1 Output MGF.\n"
    "\t-p\toutput_pf\t\tdefault: 1\n"
    "\t\t# 0 Do Not output PF;\n"
    "\t\t# 1 Output PF.\n"
    "\t-r\trewrite_files\t\tdefault: 0\n"
    "\t\t# 0 Do Not rewrite file if exist;\n"
    "\t\t# 1 Rewrite files anyway.\n"
    "\t-t\tmars_threshold\t\tdefault: -0.340000\n"
    "\t\t# Be careful with this. Never try to revise this one.\n"
    "\t-z\tm/z\t\tdefault: 5\n"
    "\t\t# The digits of m/z to output\n";

// ------------------------------------------------------------ without arguments

class WithoutArguments : public ProgramTest {
 protected:
  /// The only file in the directory.
  [[nodiscard]] std::string TemplateName() const {
    const FileMap files = OutputsIn(m_directory.Path());
    return files.size() == 1 ? files.begin()->first : "";
  }
};

TEST_F(WithoutArguments, ShowsVersionAttentionAndUsageToTheLetter) {
  Run({});
  EXPECT_EQ(m_result.m_out,
            std::string(kBanner) + kVersionLine + "\n\nRELEASES:\n" + kAttention + kUsage);
}
TEST_F(WithoutArguments, EndsNormally) {
  EXPECT_EQ(Run({}).m_exit_status, 0);
  EXPECT_EQ(m_result.m_err, "");
}
TEST_F(WithoutArguments, ShowsTheReleaseNotesOfTheCurrentDirectoryAsTheyAre) {
  Write("Tarvek_Release.txt", "Tarvek 1\n\tfirst\r\nno line feed at the end");
  Run({});
  EXPECT_EQ(m_result.m_out, std::string(kBanner) + kVersionLine +
                                "\n\nRELEASES:\nTarvek 1\n\tfirst\r\nno line feed at the end" +
                                kAttention + kUsage);
}
TEST_F(WithoutArguments, ShowsReleaseNotesWithLinesOfAnyLength) {
  const std::string notes = std::string(5000, 'n') + "\n";
  Write("Tarvek_Release.txt", notes);
  EXPECT_THAT(Run({}).m_out, HasSubstr("RELEASES:\n" + notes + kAttention));
}
TEST_F(WithoutArguments, WritesATemplateNamedAfterTheTime) {
  Run({});
  EXPECT_THAT(TemplateName(), testing::MatchesRegex("Tarvek20[0-9]+[.]cfg"));
}
TEST_F(WithoutArguments, WritesNoLog) {
  Run({});
  EXPECT_FALSE(Exists(kLog));
}
TEST_F(WithoutArguments, WritesATemplateThatFailsOnItsChargeRangeWhenReadBack) {
  Run({});
  Run({TemplateName()});
  EXPECT_EQ(m_result.m_err,
            "[Tarvek] <ERROR> - Parameter Charge Range should be in the form of 2t6 or -7t-1!\n");
  EXPECT_EQ(m_result.m_exit_status, 255);
}
TEST_F(WithoutArguments, WritesATemplateThatBeginsWithTheBasicOptions) {
  Run({});
  EXPECT_THAT(Content(TemplateName()),
              StartsWith("# Tarvek.cfg params template\n"
                         "# For help: mail to support@tarvek.example\n"
                         "[Basic Options]\n"
                         "datanum = 0\n"
                         "\t\t# The number of datapath.\n"
                         "datapath1 = \n"
                         "\t\t# The directory contains input files / the input file path.\n"
                         "[Advanced Options]\n"
                         "charge_range = 226\n"));
}
TEST_F(WithoutArguments, WritesATemplateThatEndsWithTheLastKey) {
  Run({});
  EXPECT_THAT(Content(TemplateName()), EndsWith("recalibrate_window = 7.000000\n"
                                                "\n"
                                                "rewrite_files = 0\n"
                                                "\t\t# 0 Do Not rewrite file if exist;\n"
                                                "\t\t# 1 Rewrite files anyway.\n"));
}

// ------------------------------------------------------------ questions

class Question : public ProgramTest {};

TEST_F(Question, HelpAloneShowsTheUsage) {
  EXPECT_EQ(Run({"--help"}).m_out, kUsage);
  EXPECT_EQ(m_result.m_exit_status, 0);
}
TEST_F(Question, VersionAloneShowsTheVersion) {
  EXPECT_EQ(Run({"--version"}).m_out, kVersionLine);
  EXPECT_EQ(m_result.m_exit_status, 0);
}
TEST_F(Question, WritesNoFile) {
  Run({"--help"});
  Run({"--version"});
  EXPECT_TRUE(std::filesystem::is_empty(m_directory.Path()));
}
TEST_F(Question, IsADataPathWhenSuchAFileExists) {
  Write("--help", "x");
  EXPECT_THAT(Run({"--help"}).m_out, HasSubstr("06: datapath1 = --help\n"));
}
TEST_F(Question, IsAnOptionErrorBesideOtherArguments) {
  Run({"--help", "1"});
  EXPECT_EQ(m_result.m_err,
            "[Tarvek] <ERROR> - Incorrect parameters--help! Please check the options or the "
            "*.cfg files.\n");
}

// ------------------------------------------------------------ parameter files

class ParameterFileName : public PairTest, public testing::WithParamInterface<const char*> {};

TEST_P(ParameterFileName, IsReadAsAParameterFile) {
  Write(GetParam(), "datapath = run.ms1\n");
  EXPECT_EQ(Run({GetParam()}).m_exit_status, 0);
  EXPECT_TRUE(Exists("run.csv"));
}
INSTANTIATE_TEST_SUITE_P(Start, ParameterFileName,
                         testing::Values("run.ini", "run.INI", "run.cfg", "run.Cfg", "run.params",
                                         "run.para"));

class OneArgument : public PairTest {};

TEST_F(OneArgument, IsTrimmedBeforeItIsReadAsAParameterFile) {
  Write("run.ini", "datapath = run.ms1\n");
  EXPECT_EQ(Run({" run.ini\t"}).m_exit_status, 0);
  EXPECT_TRUE(Exists("run.csv"));
}
// Not an option error: a single argument is a data path, here one without any instrument file.
TEST_F(OneArgument, IsADataPathWithAnotherEnding) {
  Write("run.txt", "datapath = run.ms1\n");
  EXPECT_THAT(Run({"run.txt"}).m_out, HasSubstr("06: datapath1 = run.txt\n"));
}
TEST_F(OneArgument, IsADataPathEvenWhenItLooksLikeAnOption) {
  Run({"-D"});
  EXPECT_EQ(m_result.m_err, "[Tarvek] <WARN> - Datapath: -D is not a valid datapath.\n");
  EXPECT_EQ(m_result.m_exit_status, 0);
}
TEST_F(OneArgument, NamesAMissingParameterFile) {
  Run({"none.cfg"});
  EXPECT_EQ(m_result.m_err, "[Tarvek] <ERROR> - Cannot open  File, Path: none.cfg\n");
  EXPECT_EQ(m_result.m_exit_status, 255);
}
TEST_F(OneArgument, FailsOnAParameterLineWithoutEqualsSign) {
  Write("run.cfg", "datapath = run.ms1\nabc\n");
  EXPECT_EQ(Run({"run.cfg"}).m_err, "[Tarvek] <ERROR> - Unexpected INI format!\n");
}
TEST_F(OneArgument, ProcessesEveryNumberedDataPathOfAParameterFile) {
  PlacePair("", "other");
  Write("run.cfg",
        "; comment\n[Basic Options]\nDataNum = 2 # two\ndatapath1 = run.ms1\n"
        "datapath2 = other.ms1\nunknown = 1\n");
  EXPECT_EQ(Run({"run.cfg"}).m_exit_status, 0);
  EXPECT_TRUE(Exists("run.csv"));
  EXPECT_TRUE(Exists("other.csv"));
}

class TwoArguments : public ProgramTest {};

TEST_F(TwoArguments, AreOptionsEvenWhenTheFirstEndsLikeAParameterFile) {
  Write("run.cfg", "datapath = .\n");
  Run({"run.cfg", "x"});
  EXPECT_EQ(m_result.m_err,
            "[Tarvek] <ERROR> - Incorrect parametersrun.cfg! Please check the options or the "
            "*.cfg files.\n");
}

// ------------------------------------------------------------ errors of options

struct BadStart {
  const char* m_name;
  std::vector<std::string> m_arguments;
  const char* m_message;
};

void PrintTo(const BadStart& start, std::ostream* out) { *out << start.m_name; }

class BadOption : public ProgramTest, public testing::WithParamInterface<BadStart> {
 protected:
  BadOption() { Run(GetParam().m_arguments); }
};

TEST_P(BadOption, IsNamedOnStandardError) {
  EXPECT_EQ(m_result.m_err, std::string("[Tarvek] <ERROR> - ") + GetParam().m_message + "\n");
}
TEST_P(BadOption, EndsWithTheCrashMessageOnStandardOutput) {
  EXPECT_THAT(m_result.m_out, EndsWith(kCrashLines));
}
TEST_P(BadOption, EndsWithStatus255) { EXPECT_EQ(m_result.m_exit_status, 255); }
TEST_P(BadOption, DoesNotShowTheUsage) { EXPECT_THAT(m_result.m_out, Not(HasSubstr("USAGE"))); }

constexpr const char* kWrongNumber =
    "Incorrect parameters number! Please check the options or the *.cfg files.";

INSTANTIATE_TEST_SUITE_P(
    Start, BadOption,
    testing::Values(
        BadStart{"WithoutValue", {"-D", "x", "-z"}, kWrongNumber},
        BadStart{"FiveArguments", {"-D", "x", "-z", "1", "-i"}, kWrongNumber},
        BadStart{"UnknownLetter",
                 {"-x", "1"},
                 "Unknown parameter option!-x! Please check the options or the *.cfg files."},
        BadStart{"OtherLetterCase",
                 {"-A", "1"},
                 "Unknown parameter option!-A! Please check the options or the *.cfg files."},
        BadStart{"TooLong",
                 {"--DD", "1"},
                 "Incorrect parameters--DD! Please check the options or the *.cfg files."},
        BadStart{"WithoutDash",
                 {"D:\\a", "-z"},
                 "Incorrect parametersD:\\a! Please check the options or the *.cfg files."},
        BadStart{"Empty",
                 {"", "1"},
                 "Incorrect parameters! Please check the options or the *.cfg files."},
        BadStart{"NoDataPath", {"-z", "4"}, "Unable to find User Defined Parameter: datapath"},
        BadStart{"MzDigitsTooMany",
                 {"-D", ".", "-z", "10"},
                 "Argument m/z(-z) invalid: m/z should be integer in [0, 9]"},
        BadStart{"MzDigitsNegative",
                 {"-D", ".", "-z", "-1"},
                 "Argument m/z(-z) invalid: m/z should be integer in [0, 9]"},
        BadStart{"IntensityDigitsTooMany",
                 {"-D", ".", "-i", "10"},
                 "Argument Intensity(-i) invalid: Intensity should be integer in [0, 9]"},
        BadStart{"MzDigitsNotANumber",
                 {"-D", ".", "-z", "abc"},
                 "cannot turn param: <name:User Defined Parameter: m/z> <value:abc> into an int."},
        BadStart{"ThresholdNotANumber",
                 {"-D", ".", "-t", "x"},
                 "cannot turn param: <name:User Defined Parameter: mars_threshold> <value:x> into "
                 "an double."},
        BadStart{"ChargeRangeWithoutT",
                 {"-D", ".", "-c", "226"},
                 "Parameter Charge Range should be in the form of 2t6 or -7t-1!"},
        BadStart{"ChargeRangeWithoutMinimum",
                 {"-D", ".", "-c", "t6"},
                 "Parameter Charge Range should be in the form of 2t6 or -7t-1!"},
        BadStart{"ChargeRangeWithoutMaximum", {"-D", ".", "-c", "2t"}, "invalid stoi argument"},
        BadStart{"ChargeRangeTooLarge",
                 {"-D", ".", "-c", "2t99999999999"},
                 "stoi argument out of range"},
        BadStart{"OutputDirectoryImpossible",
                 {"-D", ".", "-O", "/dev/null/out/"},
                 "Can not make the directory: /dev/null/out"}),
    [](const auto& each) { return each.param.m_name; });

// ------------------------------------------------------------ echo

class Echo : public PairTest {};

TEST_F(Echo, ShowsTheDefaultsInTwentyThreeNumberedLines) {
  Run({"run.ms1"});
  const std::string start = "[Tarvek] <INFO> - ";
  std::string expected = start + "--------- BEGIN PARAMETERS -----------\n";
  for (const char* line : {"01: charge_range = 226",
                           "02: check_activationcenter = 1",
                           "03: co-elute = 1",
                           "04: cut_similiar_mono = 1",
                           "05: datanum = 1",
                           "06: datapath1 = run.ms1",
                           "07: delete_msn = 0",
                           "08: input_format = raw",
                           "09: intensity = 1",
                           "10: ipv_file = IPV.txt",
                           "11: isolation_width = 2.000000",
                           "12: logfilepath = ",
                           "13: m/z = 5",
                           "14: mars_model = 4",
                           "15: mars_threshold = -0.340000",
                           "16: mstol = 20.000000",
                           "17: mstolppm = 1",
                           "18: output_mgf = 1",
                           "19: output_msb = 0",
                           "20: output_pf = 1",
                           "21: outputpath = ",
                           "22: recalibrate_window = 7.000000",
                           "23: rewrite_files = 0"})
    expected += start + line + "\n";
  expected += start + "--------- END PARAMETERS -------------\n";
  EXPECT_THAT(m_result.m_out, StartsWith(kBanner + expected));
}
TEST_F(Echo, ShowsTheLastValueOfARepeatedOption) {
  Run({"-D", "run.ms1", "-z", "4", "-z", "6"});
  EXPECT_THAT(m_result.m_out, HasSubstr("13: m/z = 6\n"));
}
TEST_F(Echo, ShowsAChargeRangeOfNegativeIons) {
  Run({"-D", "run.ms1", "-c", "-7t-1"});
  EXPECT_THAT(m_result.m_out, HasSubstr("01: charge_range = -72-1\n"));
}
TEST_F(Echo, ComesBeforeTheDigitsAreChecked) {
  Run({"-D", "run.ms1", "-z", "10"});
  EXPECT_THAT(m_result.m_out, HasSubstr("13: m/z = 10\n"));
}
TEST_F(Echo, ShowsATemplateWithItsChargeRangeSet) {
  Write("run.cfg", "charge_range = 2t4\ndatanum = 0\nmstol = 0.02\nmstolppm = 0\n");
  Run({"run.cfg"});
  EXPECT_THAT(m_result.m_out, HasSubstr("01: charge_range = 224\n"));
  EXPECT_THAT(m_result.m_out, HasSubstr("05: datanum = 0\n"));
  EXPECT_THAT(m_result.m_out, HasSubstr("15: mstol = 0.020000\n"));
}

}  // namespace
}  // namespace tarvek::test
