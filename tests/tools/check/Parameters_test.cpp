#include "check/Parameters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "ExtractorTestSupport.h"
#include "ParameterFile.h"
#include "ParameterText.h"
#include "TestSupport.h"
#include "check/Check.h"

namespace tarvek::tools {
namespace {

using extractor::test::Fragment;
using extractor::test::Mzml;
using extractor::test::Survey;
using tarvek::test::TemporaryDirectory;
using tarvek::test::WriteFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(NearestKey, NeedsTheFewestChanges) {
  EXPECT_EQ(NearestKey("isolation_with"), "isolation_width");
  EXPECT_EQ(NearestKey("cut_similar_mono"), "cut_similiar_mono");
  EXPECT_EQ(NearestKey("coelute"), "co-elute");
  EXPECT_EQ(NearestKey("chargerange"), "charge_range");
  EXPECT_EQ(NearestKey("mz"), "m/z");
}

struct Value {
  std::string m_key;
  std::vector<std::string> m_sound;
  std::vector<std::string> m_bad;
};

TEST(ValueFault, TellsSoundFromBad) {
  for (const Value& value : std::vector<Value>{
           {"co-elute", {"0", "1"}, {"no", "", "2", "true"}},
           {"intensity", {"0", "9"}, {"10", "-1", "1.5", "one"}},
           {"mars_model", {"4", "1024", "250"}, {"6", "A", ""}},
           {"isolation_width", {"2", "2.5", "+3", "1e0"}, {"0", "-2", "2,5", "wide", "nan", ""}},
           {"mars_threshold", {"-0.34", "0"}, {"-0,34", "inf"}},
           {"charge_range",
            {"2t6", "-7t-1", "1t1"},
            {"226", "2-6", "6t2", "t6", "2t", "0t0", "2t6x"}},
           {"input_format", {"mzml", "raw"}, {"mzML", "csv"}},
           {"datanum", {"0", "3"}, {"-1", "two"}},
           {"ipv_file", {"anything"}, {}}}) {
    for (const std::string& text : value.m_sound)
      EXPECT_EQ(ValueFault(value.m_key, text), "") << value.m_key << " = " << text;
    for (const std::string& text : value.m_bad)
      EXPECT_NE(ValueFault(value.m_key, text), "") << value.m_key << " = " << text;
  }
}

class CheckParametersTest : public testing::Test {
 protected:
  CheckParametersTest() {
    std::filesystem::create_directory(m_directory / "in");
    std::filesystem::create_directory(m_directory / "out");
    WriteFile(m_directory / "in/run.mzML", Mzml({Survey(1), Fragment(2)}));
  }

  /// The report of a parameter file of these lines, the isotope table given.
  [[nodiscard]] CheckReport Check(const std::string& lines) const {
    WriteFile(m_directory / "run.params",
              lines + "ipv_file = " TARVEK_SOURCE_DIR "/data/IPV.txt\n");
    return CheckPaths({m_directory / "run.params"}, {});
  }
  [[nodiscard]] std::string DataPath() const {
    return "datanum = 1\ndatapath1 = " + (m_directory / "in/run.mzML") + "\n";
  }
  static std::vector<std::string> Codes(const CheckReport& report) {
    std::vector<std::string> codes;
    for (const Finding& finding : report.Findings())
      codes.push_back(SeverityWord(finding.m_severity) + " " + finding.m_code);
    return codes;
  }

  TemporaryDirectory m_directory;
};

TEST_F(CheckParametersTest, ChecksItsDataPathsWithItsSettings) {
  EXPECT_THAT(Codes(Check(DataPath())), IsEmpty());
  EXPECT_THAT(Codes(Check(DataPath() + "isolation_width = 4\n")),
              ElementsAre("note isolation-width"));
  EXPECT_THAT(Codes(Check(DataPath() + "charge_range = 4t6\n")),
              ElementsAre("warning charge-range"));
  EXPECT_THAT(Codes(Check("datapath = " + (m_directory / "none.mzML") + "\n")),
              ElementsAre("defect nothing-here"));
}

TEST_F(CheckParametersTest, NamesAnUnknownKeyWithItsLineAndTheNearestOne) {
  const CheckReport report = Check("# by hand\n" + DataPath() + "isolation_with = 4\n");
  ASSERT_THAT(Codes(report), ElementsAre("warning unknown-key"));
  EXPECT_EQ(report.Findings().front().m_place.m_line, 4);
  EXPECT_THAT(report.Findings().front().m_meaning, HasSubstr("'isolation_with'"));
  EXPECT_THAT(report.Findings().front().m_advice, HasSubstr("'isolation_width'"));
}

TEST_F(CheckParametersTest, NamesNoNearestKeyOfALongOne) {
  const CheckReport longest = Check(DataPath() + std::string(64, 'k') + " = 1\n");
  EXPECT_THAT(longest.Findings().front().m_advice, HasSubstr("The nearest key"));
  const CheckReport longer = Check(DataPath() + std::string(65, 'k') + " = 1\n");
  ASSERT_THAT(Codes(longer), ElementsAre("warning unknown-key"));
  EXPECT_EQ(longer.Findings().front().m_advice, "No key that it knows is that long.");
}

TEST_F(CheckParametersTest, CountsUnknownKeysBeyondThoseThatItLists) {
  std::string lines = DataPath();
  for (int i = 0; i < 150; ++i) lines += "k" + std::to_string(i) + "x =\n";
  const CheckReport report = Check(lines);
  EXPECT_EQ(Codes(report).size(), kMostListed);
  EXPECT_EQ(report.Count(Severity::kWarning), 150u);
}

TEST_F(CheckParametersTest, RefusesMoreKeysThanAnyFileHas) {
  std::string lines;
  for (std::size_t i = 0; i < kMostParameters; ++i) lines += "k" + std::to_string(i) + "=\n";
  const CheckReport report = Check(lines);  // and ipv_file
  ASSERT_THAT(Codes(report), ElementsAre("defect unreadable"));
  EXPECT_EQ(report.Findings().front().m_meaning,
            "A run would stop here: " + (m_directory / "run.params") +
                ": more than 20000 keys, which no parameter file has.");
}

TEST_F(CheckParametersTest, ABadValueIsADefectAndTheRestIsChecked) {
  const CheckReport report = Check(DataPath() + "isolation_width = 2,5\ncharge_range = 4t6\n");
  ASSERT_THAT(Codes(report), ElementsAre("defect bad-value", "warning charge-range"));
  EXPECT_EQ(report.Findings().front().m_place.m_line, 3);
}

TEST_F(CheckParametersTest, DataNumberMustFit) {
  const std::string path = m_directory / "in/run.mzML";
  const std::string first = "datapath1 = " + path + "\n";
  EXPECT_THAT(Codes(Check("datanum = 0\n" + first)), ElementsAre("warning datanum"));
  EXPECT_THAT(Codes(Check("datanum = 1\n" + first + "datapath2 = " + path + "\n")),
              ElementsAre("warning datanum"));
  EXPECT_THAT(Codes(Check("datanum = 2\n" + first)), ElementsAre("defect datanum"));
  EXPECT_THAT(Codes(Check("datanum = 0\n")), ElementsAre("warning datanum"));
  EXPECT_THAT(Codes(Check(first)), ElementsAre("defect datanum"));
  EXPECT_THAT(Codes(Check("")), ElementsAre("defect datanum"));
  EXPECT_THAT(Codes(Check("datapath = " + path + "\n")), IsEmpty());
}

TEST_F(CheckParametersTest, ALineWithoutEqualsSignIsADefect) {
  EXPECT_THAT(Codes(Check("isolation_width 2\n")), ElementsAre("defect unreadable"));
}

TEST_F(CheckParametersTest, ComparesItsSettingsWithThoseOfTheOutputsThatAreThere) {
  const std::string lines = DataPath() + "outputpath = " + (m_directory / "out") + "\n";
  WriteFile(m_directory / "out/run.csv",
            "ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, TotleNumOfPrecursor\n"
            "HCD, FTMS, 2, 400.500000, 2, 1, 1, 400.500000, 2, \n");
  WriteFile(m_directory / "out/run.tarvek",
            "setting\tmars_model\t4\nsetting\tisolation_width\t2.000000\n"
            "count\tms2_exported\t1\ncount\tms2_read\t1\ncount\tprecursors\t1\n");
  EXPECT_THAT(Codes(Check(lines)), ElementsAre("note table-alone"));
  EXPECT_THAT(Codes(Check(lines + "mars_model = 5\n")),
              ElementsAre("note table-alone", "warning other-settings"));
}

TEST_F(CheckParametersTest, OfADirectoryTheFilesOfTheFormatAreTaken) {
  WriteFile(m_directory / "in/other.mzXML", "no mzXML");
  const std::string lines = "datapath = " + (m_directory / "in") + "\n";
  EXPECT_THAT(Codes(Check(lines + "input_format = mzml\n")), IsEmpty());
  EXPECT_THAT(Codes(Check(lines + "input_format = ms1\n")), ElementsAre("warning no-input"));
}

TEST_F(CheckParametersTest, TwoInputsOfOneNameInOneOutputDirectoryAreNamed) {
  std::filesystem::create_directory(m_directory / "two");
  WriteFile(m_directory / "two/run.mzML", Mzml({Survey(1), Fragment(2)}));
  const std::string paths = "datanum = 2\ndatapath1 = " + (m_directory / "in/run.mzML") +
                            "\ndatapath2 = " + (m_directory / "two/run.mzML") + "\n";
  EXPECT_THAT(Codes(Check(paths)), ElementsAre("note same-name"));
  EXPECT_THAT(Codes(Check(paths + "outputpath = " + (m_directory / "out") + "\n")),
              ElementsAre("warning same-name"));
}

// tarvek refuses its own template until someone edits it, and so does the check.
TEST_F(CheckParametersTest, TheTemplateHasNoUnknownKey) {
  for (const std::string& code : Codes(Check(TemplateText() + DataPath())))
    EXPECT_EQ(code.find("unknown-key"), std::string::npos) << code;
}

}  // namespace
}  // namespace tarvek::tools
