// morvex_xml.exe as a user or the driver runs it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
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

TEST(Program, WritesOutputsAndMarkerIntoTheGivenDirectory) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.mzML", Mzml({Survey(1), test::Fragment(2)}));
  const std::string out = directory / "out";
  const auto result =
      RunExtractor("xml", {"-ms", "-a", "-i", "1", "-m", "5", "-o", out, directory / "run.mzML"});
  EXPECT_EQ(result.m_exit_status, 0) << result.m_err;
  EXPECT_EQ(result.m_err, "");
  EXPECT_THAT(result.m_out, HasSubstr("Extracts " + (directory / "run.mzML")));
  for (const char* const name : {"run.ms1", "run.ms2", "run.morvex"})
    EXPECT_TRUE(fs::exists(fs::path(out) / name)) << name;
  EXPECT_EQ(std::distance(fs::directory_iterator(out), fs::directory_iterator()), 3);
}

TEST(Program, WritesTheBinaryPairWithoutTheTextPair) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.mzXML", test::Mzxml({{}}));
  EXPECT_EQ(RunExtractor("xml", {"-ms", directory / "run.mzXML", "-msb"}).m_exit_status, 0);
  for (const char* const name : {"run.mzxml.msb", "run.mzxml.mscsv", "run.morvex"})
    EXPECT_TRUE(fs::exists(directory / name)) << name;
  EXPECT_FALSE(fs::exists(directory / "run.ms1"));
}

TEST(Program, CopesWithBlanksQuotesAndUtf8InPaths) {
  for (const std::string name :
       {"a run", "it's \"quoted\"", "Größe µg 質量", "line\nbreak", "$HOME `x`", "-dash"}) {
    SCOPED_TRACE(name);
    const TemporaryDirectory directory;
    fs::create_directory(directory / name);
    const std::string base = (directory / name) + "/" + name;
    WriteFile(base + ".mzML", Mzml({Survey(1)}));
    EXPECT_EQ(RunExtractor("xml", {"-o", directory / name, base + ".mzML"}).m_exit_status, 0);
    EXPECT_TRUE(fs::exists(base + ".ms1"));
    EXPECT_TRUE(fs::exists(base + ".morvex"));
  }
}

TEST(Program, HearsTheEnvironmentAndTheOptionAboveIt) {
  const TemporaryDirectory directory;
  const std::string file = directory / "run.mzML";
  WriteFile(file, Mzml({Survey(1), test::Fragment(2)}));
  const std::map<std::string, std::string> variables = {{"TARVEK_ANALYSER", "ms2=ITMS"},
                                                        {"TARVEK_ACTIVATION", "cid"}};
  EXPECT_EQ(RunExtractor("xml", {file}, variables).m_exit_status, 0);
  EXPECT_THAT(test::ReadFile(directory / "run.ms1"), HasSubstr("InstrumentType\tFTMS"));
  EXPECT_THAT(test::ReadFile(directory / "run.ms2"), HasSubstr("InstrumentType\tITMS"));
  EXPECT_THAT(test::ReadFile(directory / "run.ms2"), HasSubstr("ActivationType\tCID"));
  EXPECT_EQ(RunExtractor("xml", {"--analyser", "FTMS", file}, variables).m_exit_status, 0);
  EXPECT_THAT(test::ReadFile(directory / "run.ms2"), HasSubstr("InstrumentType\tFTMS"));
}

TEST(Program, RefusesAVariableThatMakesNoSense) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.mzML", Mzml({Survey(1)}));
  const auto result =
      RunExtractor("xml", {directory / "run.mzML"}, {{"TARVEK_ANALYSER", "orbitrap"}});
  EXPECT_EQ(result.m_exit_status, 2);
  EXPECT_EQ(result.m_err,
            "morvex_xml.exe: TARVEK_ANALYSER needs FTMS or ITMS, for one level as ms2=ITMS, not "
            "\"orbitrap\"\n");
  EXPECT_FALSE(fs::exists(directory / "run.morvex"));
}

TEST(Program, WritesPointsWhateverTheLocale) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.mzML", Mzml({Survey(1)}));
  const auto result =
      RunExtractor("xml", {directory / "run.mzML"}, {{"LC_ALL", "de_DE.UTF-8"}, {"LANG", "de_DE"}});
  EXPECT_EQ(result.m_exit_status, 0);
  EXPECT_THAT(test::ReadFile(directory / "run.ms1"), HasSubstr("\n400.25000 10.0\n"));
}

TEST(Program, PrintsItsNameAndTheVersionOfAll) {
  const std::string xml = RunExtractor("xml", {"--version"}).m_out;
  EXPECT_THAT(xml, testing::MatchesRegex("morvex_xml.exe [0-9]+\\.[0-9]+\\.[0-9]+\n"));
  for (const std::string kind : {"raw", "wiff"}) {
    const auto result = RunExtractor(kind, {"--version"});
    EXPECT_EQ(result.m_exit_status, 0);
    EXPECT_EQ(result.m_out, "morvex_" + kind + xml.substr(std::string("morvex_xml").size()));
  }
}

TEST(Program, ExplainsItself) {
  const auto result = RunExtractor("xml", {"--help"});
  EXPECT_EQ(result.m_exit_status, 0);
  EXPECT_THAT(result.m_out, HasSubstr("Usage: morvex_xml.exe [options] FILE"));
}

TEST(Program, EndsWithStatusTwoForABadCommandLine) {
  const auto result = RunExtractor("xml", {"-q", "x.mzML"});
  EXPECT_EQ(result.m_exit_status, 2);
  EXPECT_EQ(result.m_err, "morvex_xml.exe: unknown option -q; try --help\n");
}

TEST(Program, DoesItsWorkWhenNobodyReadsItsProgress) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.mzML", Mzml({Survey(1)}));
  tarvek::test::ProcessRequest request;
  request.m_program = test::ExtractorProgram("xml");
  request.m_arguments = {directory / "run.mzML"};
  request.m_standard_output = tarvek::test::StandardOutput::kClosedPipe;
  EXPECT_EQ(tarvek::test::RunProcess(request).m_exit_status, 0);
  EXPECT_TRUE(fs::exists(directory / "run.morvex"));
}

TEST(Program, RemovesTheOldMarkerBeforeAnythingElse) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.mzML", "<mzML>");
  WriteFile(directory / "run.morvex", "old");
  EXPECT_EQ(RunExtractor("xml", {directory / "run.mzML"}).m_exit_status, 1);
  EXPECT_FALSE(fs::exists(directory / "run.morvex"));
}

TEST(Program, WritesTheFiveHeaderLines) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.mzML", Mzml({Survey(1)}));
  ASSERT_EQ(RunExtractor("xml", {directory / "run.mzML"}).m_exit_status, 0);
  const std::vector<std::string> header =
      test::LinesFrom(test::ReadFile(directory / "run.ms1"), "H\t");
  ASSERT_EQ(header.size(), 5u);
  EXPECT_TRUE(header[0].starts_with("H\tCreationDate\t"));
  EXPECT_EQ(header[1], "H\tExtractor\tTarvek");
  EXPECT_EQ(header[2], "H\tExtractorVersion\t2.0.8");
  EXPECT_TRUE(header[3].starts_with("H\tComments\t"));
  EXPECT_EQ(header[4], "H\tDataType\tCentroided");
}

// Four GiB of white space compress to four MB; an error after them names its place.
TEST(Program, CountsBytesBeyondFourGib) {
  const TemporaryDirectory directory;
  const std::string block(std::size_t{1} << 24, ' ');
  const std::string packed = test::Gzipped(block);
  std::string content = test::Gzipped("<mzML>");
  for (int i = 0; i < 257; ++i) content += packed;
  // What follows the last member makes the file so large that it does not unpack to too much.
  const std::string padding(45'000'000, '\0');
  WriteFile(directory / "run.mzML.gz", content + test::Gzipped("</mzXML>") + padding);
  const auto result = RunExtractor("xml", {directory / "run.mzML.gz"});
  EXPECT_EQ(result.m_exit_status, 1);
  // 6 bytes of start, 257 x 2^24 blanks, and the name of the end after its "</"
  EXPECT_THAT(result.m_err, HasSubstr("byte " + std::to_string(6 + 257LL * (1 << 24) + 2) + ":"));
}

}  // namespace
}  // namespace tarvek::extractor
