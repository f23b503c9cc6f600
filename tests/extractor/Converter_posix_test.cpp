#include "Converter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "ExtractorTestSupport.h"
#include "RunExtractor.h"

namespace tarvek::extractor {
namespace {

namespace fs = std::filesystem;

using test::Mzml;
using test::RunExtractor;
using test::Survey;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::HasSubstr;

/// A run to convert and a script that stands for the converter.
class ConverterTest : public testing::Test {
 protected:
  ConverterTest() {
    WriteFile(m_input, "vendor bytes");
    WriteFile(m_whole, Mzml({Survey(1), test::Fragment(2)}));
    fs::create_directory(m_directory / "out");
  }

  /// Runs the program of kind on m_input with a converter whose shell script this is: $1 is the
  /// input, $2 the directory.
  tarvek::test::ProcessResult Convert(const std::string& script, const std::string& kind = "raw",
                                      const std::vector<std::string>& options = {}) {
    const std::string path = m_directory / "converter";
    WriteFile(path, "#!/bin/sh\n" + script + "\n");
    fs::permissions(path, fs::perms::owner_all);
    const std::string variable = kind == "raw" ? "TARVEK_RAW_CONVERTER" : "TARVEK_WIFF_CONVERTER";
    std::vector<std::string> arguments = {"-ms", "-o", m_directory / "out", m_input};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return RunExtractor(kind, arguments, {{variable, "'" + path + "' {in} \"{outdir}\""}});
  }

  std::string CopyWhole(const std::string& name) const {
    return "cp '" + m_whole + "' \"$2/" + name + "\"";
  }

  [[nodiscard]] bool HasOutput(const std::string& name) const {
    return fs::exists(m_directory / ("out/" + name));
  }
  [[nodiscard]] std::ptrdiff_t OutputCount() const {
    return std::distance(fs::directory_iterator(m_directory / "out"), fs::directory_iterator());
  }

  TemporaryDirectory m_directory;
  std::string m_input = m_directory / "my run.raw";
  std::string m_whole = m_directory / "whole.mzML";
};

TEST_F(ConverterTest, ExtractsWhatTheConverterWroteUnderTheUsersName) {
  const auto result = Convert("echo converting \"$1\"; " + CopyWhole("other name.mzML"));
  EXPECT_EQ(result.m_exit_status, 0) << result.m_err;
  EXPECT_THAT(result.m_out, HasSubstr("converting " + m_input));
  EXPECT_TRUE(HasOutput("my run.ms1"));
  EXPECT_TRUE(HasOutput("my run.ms2"));
  EXPECT_TRUE(HasOutput("my run.morvex"));
  EXPECT_EQ(OutputCount(), 3);  // the temporary directory is gone
}

TEST_F(ConverterTest, KeepsOtherExtractorsAwayWhileItConverts) {
  const std::string marker = m_directory / "out/my run.morvex_unfinished";
  const auto result =
      Convert("flock -n '" + marker + "' true && echo free || echo taken; " + CopyWhole("x.mzML"));
  EXPECT_EQ(result.m_exit_status, 0) << result.m_err;
  EXPECT_THAT(result.m_out, HasSubstr("taken\n"));
  EXPECT_FALSE(HasOutput("my run.morvex_unfinished"));
}

TEST_F(ConverterTest, NamesTheBinaryPairAfterTheVendorFormat) {
  EXPECT_EQ(Convert(CopyWhole("x.mzML"), "raw", {"-msb"}).m_exit_status, 0);
  EXPECT_TRUE(HasOutput("my run.raw.msb"));
  EXPECT_TRUE(HasOutput("my run.raw.mscsv"));
}

TEST_F(ConverterTest, FailsWhenTheConverterFails) {
  const auto result = Convert(CopyWhole("x.mzML") + "; echo no licence >&2; exit 3");
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_out, HasSubstr("no licence"));
  EXPECT_THAT(result.m_err, HasSubstr(m_input + ": the converter failed"));
  EXPECT_EQ(OutputCount(), 0);
}

TEST_F(ConverterTest, FailsWhenTheConverterEndsWellWithHalfAFile) {
  const auto result = Convert("head -c 900 '" + m_whole + "' > \"$2/x.mzML\"");
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, HasSubstr(m_input + ": the converter wrote a truncated mzML"));
  EXPECT_EQ(OutputCount(), 0);
}

TEST_F(ConverterTest, FailsWhenTheConverterWritesNothing) {
  const auto result = Convert("exit 0");
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, HasSubstr("wrote no mzML"));
}

TEST_F(ConverterTest, RefusesSeveralSamples) {
  const std::string wiff = m_directory / "plate.wiff";
  WriteFile(wiff, "");
  WriteFile(wiff + ".scan", "");
  m_input = wiff;
  const auto result =
      Convert(CopyWhole("plate-A1.mzML") + "; " + CopyWhole("plate-A2.mzML"), "wiff");
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, HasSubstr("holds 2 samples"));
  EXPECT_THAT(result.m_err, HasSubstr("plate-A1 plate-A2"));
  EXPECT_EQ(OutputCount(), 0);
  EXPECT_EQ(Convert(CopyWhole("plate-A1.mzML"), "wiff").m_exit_status, 0);
  EXPECT_TRUE(HasOutput("plate.morvex"));
}

TEST_F(ConverterTest, AsksForTheScanFileOfAWiff) {
  m_input = m_directory / "plate.wiff";
  WriteFile(m_input, "");
  EXPECT_THAT(Convert("exit 0", "wiff").m_err, HasSubstr("plate.wiff.scan, which is not beside"));
}

TEST_F(ConverterTest, RemovesTheMarkerOfAnEarlierRun) {
  WriteFile(m_directory / "out/my run.morvex", "old");
  EXPECT_EQ(Convert("exit 1").m_exit_status, 1);
  EXPECT_FALSE(HasOutput("my run.morvex"));
}

TEST_F(ConverterTest, SaysInThreeLinesWhatToInstall) {
  const std::map<std::string, std::string> nothing = {
      {"PATH", m_directory.Path()}, {"TARVEK_RAW_CONVERTER", ""}, {"TARVEK_WIFF_CONVERTER", ""}};
  const auto raw = RunExtractor("raw", {m_input}, nothing);
  EXPECT_EQ(raw.m_exit_status, 1);
  EXPECT_THAT(raw.m_err, HasSubstr("Install ThermoRawFileParser"));
  EXPECT_EQ(test::LinesFrom(NoConverterText(VendorKind::kRaw), "").size(), 3u);
  EXPECT_EQ(test::LinesFrom(NoConverterText(VendorKind::kWiff), "").size(), 3u);
}

TEST_F(ConverterTest, SaysThatTheFileIsNotThere) {
  EXPECT_THAT(RunExtractor("raw", {m_directory / "none.raw"}).m_err,
              HasSubstr("Cannot open instrument File, Path: " + (m_directory / "none.raw")));
}

class SearchPathTest : public testing::Test {
 protected:
  void Install(const std::string& name) {
    WriteFile(m_directory / name, "");
    fs::permissions(m_directory / name, fs::perms::owner_all);
  }
  std::optional<std::string> Find(VendorKind kind, const std::string& from_environment = "") {
    return FindConverter(kind, from_environment, "/nowhere:" + m_directory.Path());
  }
  TemporaryDirectory m_directory;
};

TEST_F(SearchPathTest, TakesTheTemplateOfTheEnvironmentFirst) {
  Install("ThermoRawFileParser");
  EXPECT_EQ(Find(VendorKind::kRaw, "mine {in}"), "mine {in}");
}

TEST_F(SearchPathTest, TakesTheRawParserBeforeMsconvert) {
  Install("msconvert");
  EXPECT_THAT(*Find(VendorKind::kRaw), HasSubstr("msconvert\" {in} --mzML --zlib --filter "
                                                 "\"peakPicking vendor msLevel=1-2\" -o {outdir}"));
  Install("ThermoRawFileParser");
  EXPECT_THAT(*Find(VendorKind::kRaw),
              HasSubstr("ThermoRawFileParser\" -i={in} -o={outdir} -f=2 -L=1-2"));
  EXPECT_THAT(*Find(VendorKind::kWiff), HasSubstr("msconvert\""));
}

TEST_F(SearchPathTest, RunsTheRawParserUnderMonoWhereItMust) {
  Install("ThermoRawFileParser.exe");
  EXPECT_EQ(Find(VendorKind::kRaw), std::nullopt);
  Install("mono");
  EXPECT_THAT(*Find(VendorKind::kRaw), testing::ContainsRegex("mono\" \".*Parser.exe\" -i="));
}

TEST_F(SearchPathTest, SkipsWhatCannotBeRun) {
  WriteFile(m_directory / "msconvert", "");
  EXPECT_EQ(Find(VendorKind::kWiff), std::nullopt);
}

TEST(ConverterCommand, QuotesPathsForTheShell) {
  EXPECT_EQ(ConverterCommand("c -i={in} -o={outdir}", "/a b/$x\".raw", "/o"),
            "c -i=\"/a b/\\$x\\\".raw\" -o=\"/o\"");
}

TEST(ConverterCommand, DropsQuotesThatTheTemplateHas) {
  EXPECT_EQ(ConverterCommand("c \"{in}\" '{outdir}'", "/a", "/b"), "c \"/a\" \"/b\"");
}

TEST(ConverterCommand, LeavesBracesInPathsAlone) {
  EXPECT_EQ(ConverterCommand("c {in} {outdir}", "/{outdir}.raw", "/b"),
            "c \"/{outdir}.raw\" \"/b\"");
}

}  // namespace
}  // namespace tarvek::extractor
