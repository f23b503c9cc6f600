#include "ParameterText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "Logger.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;
using test::ReadFile;
using testing::HasSubstr;

constexpr std::string_view kTemplate =
    "# Tarvek.cfg params template\n"
    "# For help: mail to support@tarvek.example\n"
    "[Basic Options]\n"
    "datanum = 0\n"
    "\t\t# The number of datapath.\n"
    "datapath1 = \n"
    "\t\t# The directory contains input files / the input file path.\n"
    "[Advanced Options]\n"
    "charge_range = 226\n"
    "\t\t# Tarvek will try to enumerate each charge state within this range together with each "
    "candidate ms1 peak. e.g: 2t6\n"
    "check_activationcenter = 1\n"
    "\t\t# 0 Do Not check;\n"
    "\t\t# 1 Check(Recommended).\n"
    "co-elute = 1\n"
    "\t\t# 0 Output single precursor for single scan;\n"
    "\t\t# 1 Output all co - eluted precursors.\n"
    "cut_similiar_mono = 1\n"
    "\t\t# Do not change this usually.\n"
    "\t\t# 0 Output single precursor for single scan;\n"
    "\t\t# 1 Keep one precursor in 20ppm with same charge.\n"
    "delete_msn = 0\n"
    "\t\t# 0 Keep the MS1/MS2 files [recommended];\n"
    "\t\t# 1 Delete the MS1/MS2 files.\n"
    "input_format = raw\n"
    "\t\t# Options: raw / mzXML / mzML / ms1 / mgf.\n"
    "intensity = 1\n"
    "\t\t# The digits of intensity to output\n"
    "ipv_file = IPV.txt\n"
    "\n"
    "isolation_width = 2.000000\n"
    "\t\t# Options: 2 / 2.5 / 3 / 4.\n"
    "logfilepath = \n"
    "\t\t# Default value is the directory of data_path.\n"
    "m/z = 5\n"
    "\t\t# The digits of m/z to output\n"
    "mars_model = 4\n"
    "\t\t# 0: 11 features, trained on a HeLa data set;\n"
    "\t\t# 1: Velos data set 1, 11 features;\n"
    "\t\t# 2: Velos data set 1, 5 features;\n"
    "\t\t# 3: QE data set 1, 9 features;\n"
    "\t\t# 4: 9 features (Recommended); formerly an 11-feature model;\n"
    "\t\t# 5: N15, 9 features;\n"
    "\t\t# 15: best between N15, 9 features and QE data set 2, 9 features [Experimental];\n"
    "\t\t# 250: QE data set 2, 9 features;\n"
    "\t\t# 1024: 9 features [Experimental].\n"
    "mars_threshold = -0.340000\n"
    "\t\t# Be careful with this. Never try to revise this one.\n"
    "output_mgf = 1\n"
    "\t\t# 0 Do Not output MGF;\n"
    "\t\t\t\t# 1 Output MGF.\n"
    "output_msb = 0\n"
    "\t\t#Will stop output ms1, ms2, pf1, pf2. 0 Do Not output MSB;\n"
    "\t\t# 1 Output MSB.\n"
    "output_pf = 1\n"
    "\t\t# 0 Do Not output PF;\n"
    "\t\t# 1 Output PF.\n"
    "outputpath = \n"
    "\t\t# Default value is the directory of data_path.\n"
    "recalibrate_window = 7.000000\n"
    "\n"
    "rewrite_files = 0\n"
    "\t\t# 0 Do Not rewrite file if exist;\n"
    "\t\t# 1 Rewrite files anyway.\n";

TEST(ParameterComment, IsEmptyForAKeyWithoutOne) {
  EXPECT_EQ(ParameterComment("ipv_file"), "");
  EXPECT_EQ(ParameterComment("recalibrate_window"), "");
}
TEST(ParameterComment, IsEmptyForAnUnknownKey) { EXPECT_EQ(ParameterComment("colour"), ""); }
TEST(ParameterComment, IsTheSameForBothDataPathKeys) {
  EXPECT_EQ(ParameterComment("datapath"), ParameterComment("datapath1"));
}

TEST(TemplateFileName, HasNoLeadingZeros) {
  EXPECT_EQ(TemplateFileName({2024, 3, 5, 9, 7, 3, 2}), "Tarvek202435973.cfg");
  EXPECT_EQ(TemplateFileName({2025, 1, 1, 0, 0, 0, 3}), "Tarvek202511000.cfg");
}
TEST(TemplateFileName, HasTwoDigitsWhereThereAreTwo) {
  EXPECT_EQ(TemplateFileName({2024, 12, 31, 23, 59, 58, 2}), "Tarvek20241231235958.cfg");
}

TEST(TemplateText, IsWrittenToTheLetter) { EXPECT_EQ(TemplateText(), kTemplate); }

class WriteParameterTemplateTest : public testing::Test {
 protected:
  WriteParameterTemplateTest() { std::filesystem::current_path(m_directory.Path()); }
  ~WriteParameterTemplateTest() override { std::filesystem::current_path(m_former); }
  [[nodiscard]] std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_directory.Path()))
      names.push_back(entry.path().filename().string());
    return names;
  }
  std::filesystem::path m_former = std::filesystem::current_path();
  test::TemporaryDirectory m_directory;
  LocalTime m_time{2024, 3, 5, 9, 7, 3, 2};
};

TEST_F(WriteParameterTemplateTest, WritesTheTemplateUnderTheTime) {
  WriteParameterTemplate(m_time);
  EXPECT_EQ(ReadFile(m_directory / "Tarvek202435973.cfg"), kTemplate);
}
TEST_F(WriteParameterTemplateTest, TakesTheTimeOfTheClock) {
  WriteParameterTemplate();
  EXPECT_THAT(Names(), testing::ElementsAre(testing::MatchesRegex("Tarvek[0-9]+\\.cfg")));
}
TEST_F(WriteParameterTemplateTest, WritesOneFileInTheSameSecond) {
  WriteParameterTemplate(m_time);
  WriteParameterTemplate(m_time);
  EXPECT_EQ(Names().size(), 1u);
}
TEST_F(WriteParameterTemplateTest, LeavesAnExistingFileAlone) {
  test::WriteFile(m_directory / "Tarvek202435973.cfg", "mine");
  const test::ConsoleText text = CaptureConsole([&] { WriteParameterTemplate(m_time); });
  EXPECT_EQ(ReadFile(m_directory / "Tarvek202435973.cfg"), "mine");
  EXPECT_EQ(text.m_out + text.m_err, "");
}
TEST_F(WriteParameterTemplateTest, NamesAFileItCannotMake) {
  std::filesystem::create_directory(m_directory / "Tarvek202435973.cfg");
  EXPECT_EQ(test::MessageOf([&] { WriteParameterTemplate(m_time); }),
            "Cannot open  File, Path: Tarvek202435973.cfg");
}

std::string Echo(const UserParameters& record) {
  return CaptureConsole([&] { EchoParameters(record, logMessage); }).m_out;
}

TEST(EchoParameters, NumbersTheDefaultsWithOneDataPath) {
  UserParameters record;
  record.m_datapaths = {"x"};
  EXPECT_EQ(Echo(record),
            "[Tarvek] <INFO> - --------- BEGIN PARAMETERS -----------\n"
            "[Tarvek] <INFO> - 01: charge_range = 226\n"
            "[Tarvek] <INFO> - 02: check_activationcenter = 1\n"
            "[Tarvek] <INFO> - 03: co-elute = 1\n"
            "[Tarvek] <INFO> - 04: cut_similiar_mono = 1\n"
            "[Tarvek] <INFO> - 05: datanum = 1\n"
            "[Tarvek] <INFO> - 06: datapath1 = x\n"
            "[Tarvek] <INFO> - 07: delete_msn = 0\n"
            "[Tarvek] <INFO> - 08: input_format = raw\n"
            "[Tarvek] <INFO> - 09: intensity = 1\n"
            "[Tarvek] <INFO> - 10: ipv_file = IPV.txt\n"
            "[Tarvek] <INFO> - 11: isolation_width = 2.000000\n"
            "[Tarvek] <INFO> - 12: logfilepath = \n"
            "[Tarvek] <INFO> - 13: m/z = 5\n"
            "[Tarvek] <INFO> - 14: mars_model = 4\n"
            "[Tarvek] <INFO> - 15: mars_threshold = -0.340000\n"
            "[Tarvek] <INFO> - 16: mstol = 20.000000\n"
            "[Tarvek] <INFO> - 17: mstolppm = 1\n"
            "[Tarvek] <INFO> - 18: output_mgf = 1\n"
            "[Tarvek] <INFO> - 19: output_msb = 0\n"
            "[Tarvek] <INFO> - 20: output_pf = 1\n"
            "[Tarvek] <INFO> - 21: outputpath = \n"
            "[Tarvek] <INFO> - 22: recalibrate_window = 7.000000\n"
            "[Tarvek] <INFO> - 23: rewrite_files = 0\n"
            "[Tarvek] <INFO> - --------- END PARAMETERS -------------\n");
}
TEST(EchoParameters, ShowsTheTenthDataPathBeforeTheSecond) {
  UserParameters record;
  for (int i = 1; i <= 10; ++i) record.m_datapaths.push_back("p" + std::to_string(i));
  EXPECT_THAT(Echo(record), HasSubstr("06: datapath1 = p1\n[Tarvek] <INFO> - 07: datapath10 = p10\n"
                                      "[Tarvek] <INFO> - 08: datapath2 = p2\n"));
}

}  // namespace
}  // namespace tarvek
