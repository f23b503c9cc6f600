#include "UserParameters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "Logger.h"
#include "Platform.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;
using test::MessageOf;
using testing::ElementsAre;
using testing::IsEmpty;

class UserParametersTest : public testing::Test {
 protected:
  UserParametersTest() { std::filesystem::current_path(m_directory.Path()); }
  ~UserParametersTest() override { std::filesystem::current_path(m_former); }

  std::string MakeFile(std::string_view name) {
    test::WriteFile(m_directory / name, "");
    return m_directory / name;
  }
  /// The defaults with table applied, and the console output.
  UserParameters Apply(const ParameterTable& table) {
    UserParameters record;
    m_console = CaptureConsole([&] { ApplyParameterTable(record, table, logMessage); });
    return record;
  }
  UserParameters ApplyOne(const std::string& key, const std::string& value) {
    return Apply({{"datanum", "0"}, {key, value}});
  }
  std::string MessageOfOne(const std::string& key, const std::string& value) {
    return MessageOf([&] { ApplyOne(key, value); });
  }
  /// The text after the echo when a run starts.
  static void Complete(UserParameters& record) {
    Validate(record);
    DeriveValues(record);
    MakeOutputDirectory(record);
    MakeLogDirectory(record);
  }

  std::filesystem::path m_former = std::filesystem::current_path();
  test::TemporaryDirectory m_directory;
  test::ConsoleText m_console;
};

constexpr const char* kChargeRangeMessage =
    "Parameter Charge Range should be in the form of 2t6 or -7t-1!";

// Defaults and text form.

TEST(UserParametersDefaults, AreThoseThatUsersKnow) {
  const ParameterTable expected = {{"charge_range", "226"},
                                   {"check_activationcenter", "1"},
                                   {"co-elute", "1"},
                                   {"cut_similiar_mono", "1"},
                                   {"datanum", "0"},
                                   {"delete_msn", "0"},
                                   {"input_format", "raw"},
                                   {"intensity", "1"},
                                   {"ipv_file", "IPV.txt"},
                                   {"isolation_width", "2.000000"},
                                   {"logfilepath", ""},
                                   {"m/z", "5"},
                                   {"mars_model", "4"},
                                   {"mars_threshold", "-0.340000"},
                                   {"mstol", "20.000000"},
                                   {"mstolppm", "1"},
                                   {"output_mgf", "1"},
                                   {"output_msb", "0"},
                                   {"output_pf", "1"},
                                   {"outputpath", ""},
                                   {"recalibrate_window", "7.000000"},
                                   {"rewrite_files", "0"}};
  EXPECT_EQ(ToParameterTable(UserParameters()), expected);
}
TEST(UserParametersDefaults, HoldTheHalfWidthsBeforeValidation) {
  EXPECT_EQ(UserParameters().m_candidate_halfwidth, 3.0);
  EXPECT_EQ(UserParameters().m_extended_halfwidth, 3.5);
}
TEST(ToParameterTable, NumbersTheDataPathsFromOne) {
  UserParameters record;
  record.m_datapaths = {"a", "b"};
  ParameterTable table = ToParameterTable(record);
  EXPECT_EQ(table["datanum"], "2");
  EXPECT_EQ(table["datapath1"], "a");
  EXPECT_EQ(table["datapath2"], "b");
}
TEST(ToParameterTable, PutsATwoBetweenTheChargeLimits) {
  UserParameters record;
  record.m_charge_min = -7;
  record.m_charge_max = -1;
  EXPECT_EQ(ToParameterTable(record)["charge_range"], "-72-1");
}
TEST(ToParameterTable, WritesEachChangedField) {
  UserParameters record;
  record.m_rewrite_files = true;
  record.m_mstolppm = false;
  record.m_mz_digits = 7;
  record.m_mstol = 0.02;
  record.m_outputpath = "out";
  ParameterTable table = ToParameterTable(record);
  EXPECT_EQ(table["rewrite_files"], "1");
  EXPECT_EQ(table["mstolppm"], "0");
  EXPECT_EQ(table["m/z"], "7");
  EXPECT_EQ(table["mstol"], "0.020000");
  EXPECT_EQ(table["outputpath"], "out");
}

// Applying a table.

TEST_F(UserParametersTest, AlonePathLeavesAllDefaults) {
  const UserParameters record = Apply({{"datapath", m_directory.Path()}});
  ParameterTable expected = ToParameterTable(UserParameters());
  expected["datanum"] = "1";
  expected["datapath1"] = m_directory.Path();
  EXPECT_EQ(ToParameterTable(record), expected);
}
TEST_F(UserParametersTest, DatanumZeroGivesNoDataPaths) {
  EXPECT_THAT(Apply({{"datanum", "0"}}).m_datapaths, IsEmpty());
}
TEST_F(UserParametersTest, NegativeDatanumGivesNoDataPaths) {
  EXPECT_THAT(Apply({{"datanum", "-3"}}).m_datapaths, IsEmpty());
}
TEST_F(UserParametersTest, UnknownKeysAreIgnoredInSilence) {
  ApplyOne("colour", "blue");
  EXPECT_EQ(m_console.m_out + m_console.m_err, "");
}

class BoolKey : public testing::TestWithParam<std::pair<const char*, bool UserParameters::*>> {
 protected:
  static bool Applied(const std::string& value) {
    UserParameters record;
    ApplyParameterTable(record, {{"datanum", "0"}, {GetParam().first, value}});
    return record.*GetParam().second;
  }
};
TEST_P(BoolKey, IsFalseForZeroAlone) { EXPECT_FALSE(Applied("0")); }
TEST_P(BoolKey, IsTrueForOne) { EXPECT_TRUE(Applied("1")); }
TEST_P(BoolKey, IsTrueForAnEmptyValue) { EXPECT_TRUE(Applied("")); }
TEST_P(BoolKey, IsTrueForTheWordFalse) { EXPECT_TRUE(Applied("false")); }
TEST_P(BoolKey, IsTrueForTwoZeros) { EXPECT_TRUE(Applied("00")); }
INSTANTIATE_TEST_SUITE_P(
    Keys, BoolKey,
    testing::Values(std::pair("rewrite_files", &UserParameters::m_rewrite_files),
                    std::pair("co-elute", &UserParameters::m_co_elute),
                    std::pair("cut_similiar_mono", &UserParameters::m_cut_similiar_mono),
                    std::pair("delete_msn", &UserParameters::m_delete_msn),
                    std::pair("check_activationcenter", &UserParameters::m_check_activationcenter),
                    std::pair("output_pf", &UserParameters::m_output_pf),
                    std::pair("output_mgf", &UserParameters::m_output_mgf),
                    std::pair("output_msb", &UserParameters::m_output_msb),
                    std::pair("mstolppm", &UserParameters::m_mstolppm)));

TEST_F(UserParametersTest, IntegerKeysSetTheirFields) {
  EXPECT_EQ(ApplyOne("intensity", "3").m_intensity_digits, 3);
  EXPECT_EQ(ApplyOne("m/z", "6").m_mz_digits, 6);
  EXPECT_EQ(ApplyOne("mars_model", "1024").m_mars_model, 1024);
}
TEST_F(UserParametersTest, IntegerKeysIgnoreTrailingText) {
  EXPECT_EQ(ApplyOne("mars_model", "12abc").m_mars_model, 12);
}
TEST_F(UserParametersTest, IntegerKeysNameTheirValueWhenItIsNoNumber) {
  EXPECT_EQ(MessageOfOne("m/z", "abc"),
            "cannot turn param: <name:User Defined Parameter: m/z> <value:abc> into an int.");
}
TEST_F(UserParametersTest, RealKeysSetTheirFields) {
  EXPECT_EQ(ApplyOne("mars_threshold", "-1.5").m_mars_threshold, -1.5);
  EXPECT_EQ(ApplyOne("isolation_width", "2.5").m_isolation_width, 2.5);
  EXPECT_EQ(ApplyOne("recalibrate_window", "1e1").m_recalibrate_window, 10.0);
  EXPECT_EQ(ApplyOne("mstol", "10").m_mstol, 10.0);
}
TEST_F(UserParametersTest, RealKeysNameTheirValueWhenItIsNoNumber) {
  EXPECT_EQ(MessageOfOne("mstol", ""),
            "cannot turn param: <name:User Defined Parameter: mstol> <value:> into an double.");
}
TEST_F(UserParametersTest, TextKeysAreCopiedAsTheyAre) {
  EXPECT_EQ(ApplyOne("logfilepath", " l/").m_logfilepath, " l/");
  EXPECT_EQ(ApplyOne("ipv_file", "My IPV.txt").m_ipv_file, "My IPV.txt");
  EXPECT_EQ(ApplyOne("input_format", "mzXML").m_input_format, "mzXML");
  EXPECT_EQ(ApplyOne("outputpath", "out\\").m_outputpath, "out\\");
}
TEST_F(UserParametersTest, ReportsTheChargeRangeBeforeAWrongInteger) {
  EXPECT_EQ(MessageOf([&] { Apply({{"m/z", "x"}, {"charge_range", "x"}}); }), kChargeRangeMessage);
}
TEST_F(UserParametersTest, ReportsAWrongRealBeforeAMissingDataPath) {
  EXPECT_THAT(MessageOf([&] { Apply({{"mstol", "x"}}); }), testing::HasSubstr("mstol"));
}

// Charge range.

TEST_F(UserParametersTest, ChargeRangeHasATBetweenItsLimits) {
  const UserParameters record = ApplyOne("charge_range", "3t5");
  EXPECT_EQ(record.m_charge_min, 3);
  EXPECT_EQ(record.m_charge_max, 5);
}
TEST_F(UserParametersTest, ChargeRangeMayBeNegative) {
  const UserParameters record = ApplyOne("charge_range", "-7t-1");
  EXPECT_EQ(record.m_charge_min, -7);
  EXPECT_EQ(record.m_charge_max, -1);
}
TEST_F(UserParametersTest, ChargeRangeMayRunDownwards) {
  const UserParameters record = ApplyOne("charge_range", " 6t +2t1");
  EXPECT_EQ(record.m_charge_min, 6);
  EXPECT_EQ(record.m_charge_max, 2);
}
TEST_F(UserParametersTest, ChargeRangeWithoutALowerLimitIsRefused) {
  EXPECT_EQ(MessageOfOne("charge_range", "t6"), kChargeRangeMessage);
}
TEST_F(UserParametersTest, ChargeRangeWithoutATIsRefused) {
  EXPECT_EQ(MessageOfOne("charge_range", "26"), kChargeRangeMessage);
}
TEST_F(UserParametersTest, ChargeRangeInItsTextFormIsRefused) {
  EXPECT_EQ(MessageOfOne("charge_range", "226"), kChargeRangeMessage);
}
TEST_F(UserParametersTest, ChargeRangeWithAnUpperCaseTIsRefused) {
  EXPECT_EQ(MessageOfOne("charge_range", "2T6"), kChargeRangeMessage);
}
TEST_F(UserParametersTest, ChargeRangeFormFailsWithACharacterString) {
  EXPECT_THROW(ApplyOne("charge_range", ""), const char*);
}
TEST_F(UserParametersTest, ChargeRangeWithoutAnUpperLimitIsRefused) {
  EXPECT_EQ(MessageOfOne("charge_range", "2t"), "invalid stoi argument");
}
TEST_F(UserParametersTest, ChargeRangeLimitWithoutDigitsIsRefused) {
  EXPECT_EQ(MessageOfOne("charge_range", "xt6"), "invalid stoi argument");
}
TEST_F(UserParametersTest, ChargeRangeLimitBeyondThirtyTwoBitsIsRefused) {
  EXPECT_EQ(MessageOfOne("charge_range", "2t2147483648"), "stoi argument out of range");
}

// Data paths.

TEST_F(UserParametersTest, DataPathsKeepTheirNumberedOrder) {
  const std::string a = MakeFile("a.raw");
  const std::string b = MakeFile("b.raw");
  EXPECT_THAT(Apply({{"datanum", "2"}, {"datapath1", b}, {"datapath2", a}}).m_datapaths,
              ElementsAre(b, a));
}
TEST_F(UserParametersTest, DataPathIsIgnoredBesideDatanum) {
  EXPECT_THAT(Apply({{"datanum", "0"}, {"datapath", m_directory.Path()}}).m_datapaths, IsEmpty());
}
TEST_F(UserParametersTest, DataPathsThatADatanumOfZeroHidesAreAWarning) {
  Apply({{"datanum", "0"}, {"datapath1", "a.raw"}, {"datapath2", "b.raw"}});
  EXPECT_EQ(m_console.m_err,
            "[Tarvek] <WARN> - datanum is 0, so that nothing is processed of datapath1 = a.raw, "
            "datapath2 = b.raw.\n");
  Apply({{"datanum", "-1"}, {"datapath", "a.raw"}});
  EXPECT_EQ(m_console.m_err,
            "[Tarvek] <WARN> - datanum is -1, so that nothing is processed of datapath = a.raw.\n");
}
TEST_F(UserParametersTest, DatanumOfZeroWithoutDataPathsIsNoWarning) {
  Apply({{"datanum", "0"}, {"datapath1", ""}});  // as in the template
  EXPECT_EQ(m_console.m_err, "");
}
TEST_F(UserParametersTest, IsotopeTableIsGivenWhenItsKeyIsThere) {
  EXPECT_FALSE(Apply({{"datanum", "0"}}).m_ipv_file_is_given);
  EXPECT_TRUE(Apply({{"datanum", "0"}, {"ipv_file", "IPV.txt"}}).m_ipv_file_is_given);
}
TEST_F(UserParametersTest, MissingDataPathIsRefused) {
  EXPECT_EQ(MessageOf([&] { Apply({}); }), "Unable to find User Defined Parameter: datapath");
  EXPECT_THROW(Apply({}), const char*);
}
TEST_F(UserParametersTest, MissingNumberedDataPathIsRefused) {
  const ParameterTable table = {{"datanum", "3"}, {"datapath1", "x"}, {"datapath3", "y"}};
  EXPECT_EQ(MessageOf([&] { Apply(table); }), "Unable to find User Defined Parameter: datapath2");
  EXPECT_THROW(Apply(table), std::string);
}
TEST_F(UserParametersTest, DatanumThatIsNoNumberIsRefused) {
  EXPECT_EQ(MessageOf([&] {
              Apply({{"datanum", "two"}});
            }),
            "cannot turn param: <name:User Defined Parameter: datanum> <value:two> into an int.");
}
TEST_F(UserParametersTest, DataPathLosesItsTrailingSeparators) {
  MakeFile("D:\\Data");
  EXPECT_THAT(Apply({{"datapath", "D:\\Data\\"}}).m_datapaths, ElementsAre("D:\\Data"));
}
TEST_F(UserParametersTest, DirectoryLosesItsTrailingSeparatorsOfBothKinds) {
  EXPECT_THAT(Apply({{"datapath", m_directory.Path() + "/\\/"}}).m_datapaths,
              ElementsAre(m_directory.Path()));
}
TEST_F(UserParametersTest, RootAsDataPathBecomesEmptyAndIsDropped) {
  EXPECT_THAT(Apply({{"datapath", "/"}}).m_datapaths, IsEmpty());
  EXPECT_EQ(m_console.m_err, "[Tarvek] <WARN> - Datapath:  is not a valid datapath.\n");
}
TEST_F(UserParametersTest, MissingEntryIsDroppedWithAWarningAndTheOthersStay) {
  const std::string a = MakeFile("a.raw");
  const UserParameters record =
      Apply({{"datanum", "2"}, {"datapath1", "no/such/"}, {"datapath2", a}});
  EXPECT_THAT(record.m_datapaths, ElementsAre(a));
  EXPECT_EQ(m_console.m_err, "[Tarvek] <WARN> - Datapath: no/such is not a valid datapath.\n");
}

// Validation.

TEST_F(UserParametersTest, ValidationRefusesMzDigitsOutsideZeroToNine) {
  for (const int digits : {10, -1}) {
    UserParameters record;
    record.m_mz_digits = digits;
    EXPECT_EQ(MessageOf([&] { Validate(record); }),
              "Argument m/z(-z) invalid: m/z should be integer in [0, 9]");
    EXPECT_THROW(Validate(record), const char*);
  }
}
TEST_F(UserParametersTest, ValidationRefusesIntensityDigitsOutsideZeroToNine) {
  for (const int digits : {10, -1}) {
    UserParameters record;
    record.m_intensity_digits = digits;
    EXPECT_EQ(MessageOf([&] { Validate(record); }),
              "Argument Intensity(-i) invalid: Intensity should be integer in [0, 9]");
  }
}
TEST_F(UserParametersTest, ValidationChecksMzBeforeIntensity) {
  UserParameters record;
  record.m_mz_digits = 10;
  record.m_intensity_digits = 10;
  EXPECT_THAT(MessageOf([&] { Validate(record); }), testing::StartsWith("Argument m/z"));
}
TEST_F(UserParametersTest, NothingIsMadeWhenADigitRangeFails) {
  const std::string out = m_directory / "out";
  CaptureConsole([&] {
    EXPECT_THROW(CompleteParameters({{"datanum", "0"}, {"outputpath", out}, {"m/z", "10"}}),
                 const char*);
  });
  EXPECT_FALSE(std::filesystem::exists(out));
}
TEST_F(UserParametersTest, ValidationOnlyValidates) {
  UserParameters record;
  record.m_outputpath = m_directory / "out";
  EXPECT_EQ(CaptureConsole([&] { Validate(record); }).m_out, "");
  EXPECT_TRUE(std::filesystem::is_empty(m_directory.Path()));
}
TEST_F(UserParametersTest, OutputDirectoryIsMadeBeforeThatOfTheLog) {
  UserParameters record;
  record.m_outputpath = MakeFile("file");
  record.m_logfilepath = m_directory / "logs";
  EXPECT_EQ(MessageOf([&] { Complete(record); }),
            "Can not make the directory: " + MakeFile("file"));
  EXPECT_FALSE(std::filesystem::exists(m_directory / "logs"));
}
TEST_F(UserParametersTest, ValidationBuildsThePeakFormat) {
  UserParameters record;
  Complete(record);
  EXPECT_EQ(record.m_peak_format, "%.5f %.1f\n");
}
TEST_F(UserParametersTest, ValidationBuildsThePeakFormatOfTheLimits) {
  UserParameters record;
  record.m_mz_digits = 9;
  record.m_intensity_digits = 0;
  Complete(record);
  EXPECT_EQ(record.m_peak_format, "%.9f %.0f\n");
}
TEST_F(UserParametersTest, ValidationWidensTheDefaultHalfWidths) {
  UserParameters record;
  Complete(record);
  EXPECT_EQ(record.m_candidate_halfwidth, 3.0);
  EXPECT_DOUBLE_EQ(record.m_extended_halfwidth, 3.3);
}
TEST_F(UserParametersTest, ValidationTakesTheToleranceInMz) {
  UserParameters record =
      Apply({{"datanum", "0"}, {"mstolppm", "0"}, {"mstol", "0.02"}, {"isolation_width", "4"}});
  Complete(record);
  EXPECT_EQ(record.m_candidate_halfwidth, 5.0);
  EXPECT_DOUBLE_EQ(record.m_extended_halfwidth, 5.02);
}

TEST_F(UserParametersTest, KeepsARootAsOutputDirectory) {
  UserParameters record;
  record.m_outputpath = "//";
  record.m_logfilepath = m_directory.Path();
  Complete(record);
  EXPECT_EQ(record.m_outputpath, std::string(1, kPathSeparator));
}

TEST_F(UserParametersTest, OutputDirectoryIsMadeWithItsParents) {
  UserParameters record;
  record.m_outputpath = m_directory / "out/deep//";
  Complete(record);
  EXPECT_EQ(record.m_outputpath, m_directory / "out/deep");
  EXPECT_TRUE(std::filesystem::is_directory(m_directory / "out/deep"));
  EXPECT_FALSE(record.m_outputpath_follows_input);
}
TEST_F(UserParametersTest, OutputDirectoryThatCannotBeMadeIsNamed) {
  UserParameters record;
  record.m_outputpath = MakeFile("file");
  EXPECT_EQ(MessageOf([&] { Complete(record); }),
            "Can not make the directory: " + m_directory / "file");
}
TEST_F(UserParametersTest, WithoutAnOutputDirectoryTheOutputFollowsTheInput) {
  UserParameters record;
  Complete(record);
  EXPECT_TRUE(record.m_outputpath_follows_input);
  EXPECT_EQ(record.m_outputpath, "");
}

TEST_F(UserParametersTest, LogGoesIntoItsOwnDirectoryFirst) {
  UserParameters record;
  record.m_logfilepath = m_directory / "logs/";
  record.m_outputpath = m_directory / "out";
  record.m_datapaths = {MakeFile("a.raw")};
  Complete(record);
  EXPECT_EQ(record.m_logfilepath, m_directory / "logs");
  EXPECT_TRUE(std::filesystem::is_directory(m_directory / "logs"));
}
TEST_F(UserParametersTest, LogGoesIntoTheOutputDirectorySecond) {
  UserParameters record;
  record.m_outputpath = m_directory / "out/";
  record.m_datapaths = {MakeFile("a.raw")};
  Complete(record);
  EXPECT_EQ(record.m_logfilepath, m_directory / "out");
}
TEST_F(UserParametersTest, LogGoesIntoTheCurrentDirectoryWithoutDataPaths) {
  UserParameters record;
  Complete(record);
  EXPECT_EQ(record.m_logfilepath, ".");
}
TEST_F(UserParametersTest, LogGoesBesideTheFirstInputFile) {
  std::filesystem::create_directory(m_directory / "in");
  UserParameters record;
  record.m_datapaths = {MakeFile("in/a.raw"), MakeFile("b.raw")};
  Complete(record);
  EXPECT_EQ(record.m_logfilepath, m_directory / "in");
}
TEST_F(UserParametersTest, LogGoesIntoTheFirstInputDirectory) {
  std::filesystem::create_directory(m_directory / "in");
  UserParameters record;
  record.m_datapaths = {m_directory / "in"};
  Complete(record);
  EXPECT_EQ(record.m_logfilepath, m_directory / "in");
}
TEST_F(UserParametersTest, LogGoesIntoTheInputDirectoryThatHasNoSeparator) {
  std::filesystem::create_directory(m_directory / "in");
  UserParameters record;
  record.m_datapaths = {"in"};
  Complete(record);
  EXPECT_EQ(record.m_logfilepath, "in");
}
TEST_F(UserParametersTest, LogOfABareFileNameGoesIntoTheCurrentDirectory) {
  MakeFile("run.ms1");
  UserParameters record;
  record.m_datapaths = {"run.ms1"};
  Complete(record);
  EXPECT_EQ(record.m_logfilepath, ".");
}
TEST_F(UserParametersTest, LogDirectoryThatCannotBeMadeIsNamed) {
  UserParameters record;
  record.m_logfilepath = MakeFile("file") + "/logs";
  EXPECT_EQ(MessageOf([&] { Complete(record); }),
            "Can not make the directory: " + m_directory / "file/logs");
}

TEST_F(UserParametersTest, CompletedParametersAreEchoedWithoutDerivedPaths) {
  const test::ConsoleText text = CaptureConsole([&] {
    CompleteParameters({{"datapath", m_directory.Path()}}, logMessage);
  });
  EXPECT_THAT(text.m_out, testing::HasSubstr("> - 12: logfilepath = \n"));
}
TEST_F(UserParametersTest, EchoIsShownEvenWhenValidationFails) {
  const test::ConsoleText text = CaptureConsole([&] {
    MessageOf([] { CompleteParameters({{"datanum", "0"}, {"m/z", "10"}}, logMessage); });
  });
  EXPECT_THAT(text.m_out, testing::HasSubstr("m/z = 10\n"));
}

// The current file.

UserParameters WithCurrentFile(const std::string& path) {
  UserParameters record;
  SetCurrentFile(record, path);
  return record;
}

TEST(SetCurrentFile, CutsThePathAtItsLastSeparatorAndLastDot) {
  const UserParameters record = WithCurrentFile("a/b.c.raw");
  EXPECT_EQ(record.m_current_file, "a/b.c.raw");
  EXPECT_EQ(record.m_current_dir, "a");
  EXPECT_EQ(record.m_current_filename, "b.c.raw");
  EXPECT_EQ(record.m_current_basename, "b.c");
  EXPECT_EQ(record.m_current_ext, "raw");
}
TEST(SetCurrentFile, TakesBothEndingsOfAPackedFile) {
  UserParameters record;
  for (const char* const ending : {"mzML.gz", "mzXML.gz", "MZML.GZ"}) {
    SetCurrentFile(record, std::string("a/b.c.") + ending);
    EXPECT_EQ(record.m_current_basename, "b.c");
    EXPECT_EQ(record.m_current_ext, ending);
  }
}
TEST(SetCurrentFile, TakesTheLastEndingOfOtherPackedFiles) {
  UserParameters record;
  SetCurrentFile(record, "b.ms1.gz");
  EXPECT_EQ(record.m_current_basename, "b.ms1");
  SetCurrentFile(record, "mzML.gz");
  EXPECT_EQ(record.m_current_basename, "mzML");
}
TEST(SetCurrentFile, TakesTheLastSeparatorOfEitherKind) {
  EXPECT_EQ(WithCurrentFile("D:\\x/y\\1.raw").m_current_dir, "D:\\x/y");
}
TEST(SetCurrentFile, InAFolderKeepsABackslashOfTheName) {
  UserParameters record;
  SetCurrentFileIn(record, "out", "a\\b.ms1");
  EXPECT_EQ(record.m_current_file, std::string("out") + kPathSeparator + "a\\b.ms1");
  EXPECT_EQ(record.m_current_dir, "out");
  EXPECT_EQ(record.m_current_filename, "a\\b.ms1");
  EXPECT_EQ(record.m_current_basename, "a\\b");
}
TEST(SetCurrentFile, PutsABareNameIntoTheCurrentDirectory) {
  const UserParameters record = WithCurrentFile("1.raw");
  EXPECT_EQ(record.m_current_dir, ".");
  EXPECT_EQ(record.m_current_filename, "1.raw");
}
TEST(SetCurrentFile, WantsADotInTheFileNameItself) {
  EXPECT_EQ(MessageOf([] { WithCurrentFile("a.b/raw"); }),
            "i_dot != string::npos, module UserParameters");
}
TEST(SetCurrentFile, LeavesAnExplicitOutputDirectoryAlone) {
  UserParameters record;
  record.m_outputpath = "out";
  SetCurrentFile(record, "a/b.raw");
  EXPECT_EQ(record.m_outputpath, "out");
}
TEST(SetCurrentFile, MovesTheOutputDirectoryThatFollowsTheInput) {
  UserParameters record;
  record.m_outputpath_follows_input = true;
  SetCurrentFile(record, "a/b.raw");
  SetCurrentFile(record, "c/d.raw");
  EXPECT_EQ(record.m_outputpath, "c");
}
TEST(SetCurrentFile, KeepsTheOutputOfAFileInTheRootThere) {
  UserParameters record;
  record.m_outputpath_follows_input = true;
  SetCurrentFile(record, "/b.raw");
  EXPECT_EQ(record.m_outputpath, std::string(1, kPathSeparator));
}

TEST(ToleranceMz, ScalesWithTheMzWhenItIsInPpm) {
  EXPECT_DOUBLE_EQ(ToleranceMz(UserParameters(), 500.0), 0.01);
}
TEST(ToleranceMz, IsTheSameEverywhereWhenItIsInMz) {
  UserParameters record;
  record.m_mstolppm = false;
  record.m_mstol = 0.02;
  EXPECT_EQ(ToleranceMz(record, 500.0), 0.02);
}

}  // namespace
}  // namespace tarvek
