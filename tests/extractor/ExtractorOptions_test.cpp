#include "ExtractorOptions.h"

#include <gtest/gtest.h>

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
