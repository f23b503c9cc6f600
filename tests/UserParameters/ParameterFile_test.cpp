#include "ParameterFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "ParameterText.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::MessageOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

ParameterTable TableOf(std::string_view line) {
  ParameterTable table;
  AddParameterLine(line, table);
  return table;
}

TEST(AddParameterLine, LowersAndTrimsTheKeyAndCutsTheComment) {
  EXPECT_THAT(TableOf("  MARS_Model = 4  # comment\n"), ElementsAre(Pair("mars_model", "4")));
}
TEST(AddParameterLine, KeepsInnerBlanksOfTheValue) {
  EXPECT_THAT(TableOf("datapath = D:\\A Dataset\r\n"),
              ElementsAre(Pair("datapath", "D:\\A Dataset")));
}
TEST(AddParameterLine, KeepsQuotationMarks) {
  EXPECT_THAT(TableOf("datapath = \"a b\""), ElementsAre(Pair("datapath", "\"a b\"")));
}
TEST(AddParameterLine, KeepsTheCaseOfTheValue) {
  EXPECT_THAT(TableOf("input_format=mzXML"), ElementsAre(Pair("input_format", "mzXML")));
}
TEST(AddParameterLine, KeepsFurtherEqualsSignsInTheValue) {
  EXPECT_THAT(TableOf("datapath=a=b="), ElementsAre(Pair("datapath", "a=b=")));
}
TEST(AddParameterLine, TakesAnEmptyValue) {
  EXPECT_THAT(TableOf("key =\n"), ElementsAre(Pair("key", "")));
}
TEST(AddParameterLine, TakesAnEmptyKey) { EXPECT_THAT(TableOf("= 1"), ElementsAre(Pair("", "1"))); }
TEST(AddParameterLine, SkipsALineOfBlanks) { EXPECT_THAT(TableOf(" \t\r\n"), IsEmpty()); }
TEST(AddParameterLine, SkipsACommentLine) { EXPECT_THAT(TableOf("\t\t# 0 no; a = b"), IsEmpty()); }
TEST(AddParameterLine, SkipsASemicolonLine) { EXPECT_THAT(TableOf("; note = 1"), IsEmpty()); }
TEST(AddParameterLine, SkipsASectionLine) { EXPECT_THAT(TableOf(" [Basic=Options]"), IsEmpty()); }
TEST(AddParameterLine, RefusesALineWithoutAnEqualsSign) {
  EXPECT_EQ(MessageOf([] { TableOf("abc"); }), "Unexpected INI format!");
  EXPECT_THROW(TableOf("abc"), const char*);
}
TEST(AddParameterLine, RefusesALineWhoseEqualsSignIsInItsComment) {
  EXPECT_EQ(MessageOf([] { TableOf("abc # = 1"); }), "Unexpected INI format!");
}
TEST(AddParameterLine, KeepsTheLastValueOfAKey) {
  ParameterTable table;
  AddParameterLine("m/z = 4", table);
  AddParameterLine("M/Z = 6", table);
  EXPECT_THAT(table, ElementsAre(Pair("m/z", "6")));
}

class ReadParameterFileTest : public testing::Test {
 protected:
  UserParameters Read(const std::string& content) {
    const std::string path = m_directory / "run.cfg";
    test::WriteFile(path, content + "\nlogfilepath = " + m_directory.Path() + "\n");
    UserParameters record;
    test::CaptureConsole([&] { record = ReadParameterFile(path); });
    return record;
  }
  test::TemporaryDirectory m_directory;
};

TEST_F(ReadParameterFileTest, GivesAValidatedRecord) {
  const UserParameters record = Read(
      "[Basic Options]\r\ndatanum = 1\r\ndatapath1 = " + m_directory.Path() +
      "/ # here\r\n[Advanced Options]\r\ncharge_range = 3t5\r\nm/z = 4\r\ninput_format = mzXML");
  EXPECT_THAT(record.m_datapaths, ElementsAre(m_directory.Path()));
  EXPECT_EQ(record.m_charge_min, 3);
  EXPECT_EQ(record.m_peak_format, "%.4f %.1f\n");
  EXPECT_EQ(record.m_input_format, "mzXML");
}
TEST_F(ReadParameterFileTest, TakesABoolWithoutAValueAsTrue) {
  EXPECT_TRUE(Read("datanum=0\nrewrite_files =").m_rewrite_files);
}
TEST_F(ReadParameterFileTest, SkipsAByteOrderMarkBeforeTheFirstLine) {
  EXPECT_EQ(Read("\xEF\xBB\xBFm/z = 3\ndatanum = 0").m_mz_digits, 3);
  EXPECT_EQ(Read("\xEF\xBB\xBF[Basic Options]\r\nm/z = 3\r\ndatanum = 0").m_mz_digits, 3);
}
TEST_F(ReadParameterFileTest, SkipsNoByteOrderMarkElsewhere) {
  EXPECT_EQ(Read("datanum = 0\n\xEF\xBB\xBFm/z = 3").m_mz_digits, 5);
}
TEST_F(ReadParameterFileTest, IgnoresUnknownKeys) {
  EXPECT_NO_THROW(Read("datanum = 0\ncolour = blue"));
}
TEST_F(ReadParameterFileTest, TakesSoManyKeysAndNoMore) {
  const std::string path = m_directory / "many.cfg";
  std::string content;
  for (int i = 0; i < 20'000; ++i) content += "datapath" + std::to_string(i) + " = x\n";
  test::WriteFile(path, content + content);
  EXPECT_EQ(ReadParameterTable(path).size(), 20'000u);
  test::WriteFile(path, content + "m/z = 4\n");
  EXPECT_EQ(MessageOf([&] { ReadParameterTable(path); }),
            path + ": more than 20000 keys, which no parameter file has");
}
TEST_F(ReadParameterFileTest, NamesAFileItCannotOpen) {
  const std::string path = m_directory / "missing.cfg";
  EXPECT_EQ(MessageOf([&] { ReadParameterFile(path); }), "Cannot open  File, Path: " + path);
}
TEST_F(ReadParameterFileTest, StopsAtALineWithoutAnEqualsSign) {
  EXPECT_EQ(MessageOf([&] { Read("datanum = 0\nabc"); }), "Unexpected INI format!");
}
TEST_F(ReadParameterFileTest, MissesTheDataPath) {
  EXPECT_EQ(MessageOf([&] { Read("m/z = 4"); }), "Unable to find User Defined Parameter: datapath");
}
TEST_F(ReadParameterFileTest, RefusesTheUneditedTemplateForItsChargeRange) {
  EXPECT_EQ(MessageOf([&] { Read(TemplateText()); }),
            "Parameter Charge Range should be in the form of 2t6 or -7t-1!");
}
TEST_F(ReadParameterFileTest, TakesTheTemplateWithAnEditedChargeRange) {
  std::string text = TemplateText();
  text.replace(text.find("= 226"), 5, "= 2t6");
  EXPECT_EQ(Read(text).m_charge_max, 6);
}
TEST_F(ReadParameterFileTest, TakesTheIsotopeTableOfTheTemplateForNoChoice) {
  std::string text = TemplateText();
  text.replace(text.find("= 226"), 5, "= 2t6");
  EXPECT_FALSE(Read(text).m_ipv_file_is_given);
  text.replace(text.find("IPV.txt"), 7, "N15.txt");
  EXPECT_TRUE(Read(text).m_ipv_file_is_given);
}
TEST_F(ReadParameterFileTest, ContinuesALineBeyond1023BytesAsTheNextLine) {
  // The first piece is "m/z = 4" and blanks; the rest is read as a separate line.
  std::string line = "m/z = 4";
  line.resize(1023, ' ');
  EXPECT_EQ(Read("datanum = 0\n" + line + "intensity = 3").m_intensity_digits, 3);
}
TEST_F(ReadParameterFileTest, CutsACommentBeyond1023BytesIntoALineThatIsNoComment) {
  EXPECT_EQ(MessageOf([&] { Read("datanum = 0\n#" + std::string(1023, 'x')); }),
            "Unexpected INI format!");
}

}  // namespace
}  // namespace tarvek
