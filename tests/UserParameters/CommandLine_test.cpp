#include "CommandLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "Logger.h"
#include "ParameterText.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::MessageOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

std::vector<const char*> WithProgram(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "Tarvek.exe");
  return arguments;
}
ParameterTable Parse(std::vector<const char*> arguments) {
  arguments = WithProgram(std::move(arguments));
  return ParseCommandLine(static_cast<int>(arguments.size()), arguments.data());
}
std::string MessageOfParse(const std::vector<const char*>& arguments) {
  return MessageOf([&] { Parse(arguments); });
}

constexpr const char* kNumberMessage =
    "Incorrect parameters number! Please check the options or the *.cfg files.";

TEST(ParseCommandLine, TakesALoneArgumentAsTheDataPath) {
  EXPECT_THAT(Parse({"D:\\Dataset\\1.raw"}), ElementsAre(Pair("datapath", "D:\\Dataset\\1.raw")));
}
TEST(ParseCommandLine, TakesALoneOptionAsTheDataPath) {
  EXPECT_THAT(Parse({"-D"}), ElementsAre(Pair("datapath", "-D")));
}
TEST(ParseCommandLine, GivesNothingWithoutArguments) { EXPECT_THAT(Parse({}), IsEmpty()); }
TEST(ParseCommandLine, RefusesAnOptionWithoutItsValue) {
  EXPECT_EQ(MessageOfParse({"-D", "x", "-z"}), kNumberMessage);
  EXPECT_THROW(Parse({"-D", "x", "-z"}), const char*);
}
TEST(ParseCommandLine, RefusesAnEmptyArgumentVector) {
  EXPECT_EQ(MessageOf([] { ParseCommandLine(0, nullptr); }), kNumberMessage);
}
TEST(ParseCommandLine, NamesAnUnknownOption) {
  EXPECT_EQ(MessageOfParse({"-x", "1"}),
            "Unknown parameter option!-x! Please check the options or the *.cfg files.");
}
TEST(ParseCommandLine, NamesAnOptionThatIsNone) {
  EXPECT_EQ(MessageOfParse({"D:\\a", "-z"}),
            "Incorrect parametersD:\\a! Please check the options or the *.cfg files.");
}

class WrongOption : public testing::TestWithParam<const char*> {};
TEST_P(WrongOption, IsNamedAsIncorrect) {
  EXPECT_EQ(MessageOfParse({GetParam(), "1"}),
            std::string("Incorrect parameters") + GetParam() +
                "! Please check the options or the *.cfg files.");
}
INSTANTIATE_TEST_SUITE_P(Options, WrongOption,
                         testing::Values("--DD", "-DD", "--", "-1", "-", "", "z", "zz", "/z", "-?",
                                         "- ", " -z"));

TEST(ParseCommandLine, ReportsTheFirstWrongPair) {
  EXPECT_THAT(MessageOfParse({"-z", "4", "bad", "1", "-x", "1"}), HasSubstr("parametersbad!"));
}
TEST(ParseCommandLine, MayTakeAnOptionAsAValue) {
  EXPECT_THAT(Parse({"-D", "-z"}), ElementsAre(Pair("datapath", "-z")));
}
TEST(ParseCommandLine, KeepsTheLastValueOfARepeatedOption) {
  EXPECT_THAT(Parse({"-z", "4", "-z", "6"}), ElementsAre(Pair("m/z", "6")));
}
TEST(ParseCommandLine, TellsUpperFromLowerCase) {
  EXPECT_THAT(Parse({"-m", "0", "-M", "5"}),
              ElementsAre(Pair("mars_model", "5"), Pair("output_mgf", "0")));
}
TEST(ParseCommandLine, LeavesValuesAsTheyAre) {
  EXPECT_THAT(Parse({"-D", " A Dataset# "}), ElementsAre(Pair("datapath", " A Dataset# ")));
}
TEST(ParseCommandLine, KnowsEachOption) {
  const std::vector<std::pair<const char*, const char*>> expected = {
      {"-C", "co-elute"},
      {"-D", "datapath"},
      {"-F", "input_format"},
      {"-I", "ipv_file"},
      {"-L", "logfilepath"},
      {"-M", "mars_model"},
      {"-O", "outputpath"},
      {"-R", "recalibrate_window"},
      {"-S", "cut_similiar_mono"},
      {"-W", "isolation_width"},
      {"-a", "check_activationcenter"},
      {"-b", "output_msb"},
      {"-c", "charge_range"},
      {"-d", "delete_msn"},
      {"-i", "intensity"},
      {"-m", "output_mgf"},
      {"-p", "output_pf"},
      {"-r", "rewrite_files"},
      {"-t", "mars_threshold"},
      {"-z", "m/z"}};
  ASSERT_EQ(OptionLetters.size(), expected.size());
  for (const auto& [option, key] : expected)
    EXPECT_THAT(Parse({option, "v"}), ElementsAre(Pair(key, "v"))) << option;
}
TEST(OptionLetters, AreSortedByLetter) {
  EXPECT_TRUE(std::ranges::is_sorted(OptionLetters, {}, &OptionLetter::m_letter));
}

class ReadCommandLineTest : public testing::Test {
 protected:
  ReadCommandLineTest() { std::filesystem::current_path(m_directory.Path()); }
  ~ReadCommandLineTest() override { std::filesystem::current_path(m_former); }
  UserParameters Read(std::vector<const char*> arguments) {
    arguments = WithProgram(std::move(arguments));
    UserParameters record;
    m_console = test::CaptureConsole([&] {
      record = ReadCommandLine(static_cast<int>(arguments.size()), arguments.data(), logMessage);
    });
    return record;
  }
  std::filesystem::path m_former = std::filesystem::current_path();
  test::TemporaryDirectory m_directory;
  test::ConsoleText m_console;
};

TEST_F(ReadCommandLineTest, GivesAValidatedRecord) {
  EXPECT_EQ(Read({"-D", m_directory.Path().c_str(), "-z", "4", "-z", "6"}).m_peak_format,
            "%.6f %.1f\n");
}
TEST_F(ReadCommandLineTest, WarnsOfALoneArgumentThatIsNoDataPath) {
  EXPECT_THAT(Read({"-D"}).m_datapaths, IsEmpty());
  EXPECT_EQ(m_console.m_err, "[Tarvek] <WARN> - Datapath: -D is not a valid datapath.\n");
}
TEST_F(ReadCommandLineTest, TakesABareFileNameAndItsDirectoryForTheLog) {
  test::WriteFile(m_directory / "run.ms1", "");
  EXPECT_EQ(Read({"run.ms1"}).m_logfilepath, ".");
}
TEST_F(ReadCommandLineTest, MissesTheDataPath) {
  EXPECT_EQ(MessageOf([&] {
              Read({"-z", "4"});
            }),
            "Unable to find User Defined Parameter: datapath");
}
TEST_F(ReadCommandLineTest, FailsLateOnABadValue) {
  EXPECT_EQ(MessageOf([&] {
              Read({"-z", "x", "-D", "."});
            }),
            "cannot turn param: <name:User Defined Parameter: m/z> <value:x> into an int.");
}

std::string Usage() {
  return test::CaptureConsole([] { PrintUsage(); }).m_out;
}

TEST(PrintUsage, BeginsWithTheExamples) {
  EXPECT_THAT(
      Usage(),
      testing::StartsWith(
          "\nUSAGE:\nUsage via config files:\n\tTarvek.exe Tarvek.params\n"
          "Usage via command options:\n\tTarvek.exe -D D:\\Dataset\\1.raw\n\tOr\n"
          "\tTarvek.exe -D D:\\Dataset\n\tOr\n\tTarvek.exe -D \"D:\\A Dataset\"\n"
          "\tOr (in linux)\n\tTarvek.exe -D \"/A Dataset/1.raw\"\nNote: \n"
          "\tIf spaces appear in file path, the file path must be enclosed in double quotation "
          "marks. \n\nOPTIONS:\n\t-C\tco-elute\t\tdefault: 1\n"));
}
TEST(PrintUsage, ShowsTheTextFormOfTheChargeRangeAndItsComment) {
  EXPECT_THAT(Usage(),
              HasSubstr("\n\t-c\tcharge_range\t\tdefault: 226\n\t\t# Tarvek will try to enumerate "
                        "each charge state within this range together with each candidate ms1 "
                        "peak. e.g: 2t6\n\t-d\tdelete_msn\t\tdefault: 0\n"));
}
TEST(PrintUsage, ShowsAnEmptyLineForAKeyWithoutAComment) {
  EXPECT_THAT(Usage(), HasSubstr("\n\t-I\tipv_file\t\tdefault: IPV.txt\n\n\t-L\tlogfilepath"));
  EXPECT_THAT(Usage(),
              HasSubstr("\n\t-R\trecalibrate_window\t\tdefault: 7.000000\n\n\t-S\tcut_similiar"));
}
TEST(PrintUsage, ShowsNoDefaultForTheDataPath) {
  EXPECT_THAT(Usage(), HasSubstr("\n\t-D\tdatapath\t\tdefault: \n\t\t# The directory contains "));
}
TEST(PrintUsage, EndsWithTheLastOption) {
  EXPECT_THAT(Usage(), testing::EndsWith("\n\t-z\tm/z\t\tdefault: 5\n"
                                         "\t\t# The digits of m/z to output\n"));
}
TEST(PrintUsage, ShowsTheOptionsInOrder) {
  const std::string usage = Usage();
  std::size_t at = 0;
  for (const char letter : std::string("CDFILMORSWabcdimprtz")) {
    const std::size_t found = usage.find(std::string("\n\t-") + letter + "\t", at);
    ASSERT_NE(found, std::string::npos) << letter;
    at = found;
  }
}

}  // namespace
}  // namespace tarvek
