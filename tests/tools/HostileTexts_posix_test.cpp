// Hostile names and texts through tarvek-tools: what it prints and writes for people shows them as text.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "ToolsProgram.h"

namespace tarvek::tools {
namespace {

namespace fs = std::filesystem;
using test::ProcessResult;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kTable = TARVEK_SOURCE_DIR "/data/IPV.txt";

class HostileTexts : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    m_home = std::make_unique<TemporaryDirectory>();
    test::InstallPrograms(m_home->Path());
  }
  static void TearDownTestSuite() { m_home.reset(); }

  ProcessResult Tools(std::vector<std::string> arguments) const {
    test::ProcessRequest request = test::ToolsRequest(std::move(arguments), m_directory.Path());
    request.m_program = *m_home / "bin/tarvek-tools";
    return test::RunProcess(request);
  }
  ProcessResult Run(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"run", "--isotope-table", kTable, "-o", "out"});
    return Tools(std::move(arguments));
  }
  /// A simulated run under a name of its own, with ".mzML" behind it.
  void Simulate(const std::string& base) const {
    ASSERT_EQ(Tools({"simulate", "--seed", "1", "--ms2", "60", "--format", "mzml", "simulated"})
                  .m_exit_status,
              0);
    fs::rename(m_directory / "simulated.mzML", m_directory / (base + ".mzML"));
  }

  static inline std::unique_ptr<TemporaryDirectory> m_home;  // with the installed programs
  TemporaryDirectory m_directory;
};

constexpr const char* kForged = "a\n[1 of 1] done: \x1b[2J<i>\xFF";
constexpr const char* kShown = "a\\n[1 of 1] done: \\x1b[2J<i>\\xff";
constexpr const char* kShownInPages = "a\\n[1 of 1] done: \\x1b[2J&lt;i&gt;\\xff";

/// Whether nothing in text but line feeds and tabs controls a terminal.
bool IsPrinted(const std::string& text) {
  return std::ranges::none_of(text, [](char c) {
    return (c >= 0 && c < ' ' && c != '\n' && c != '\t') || c == '\x7f' || c == '\xFF';
  });
}

TEST_F(HostileTexts, OfNamesAreEscapedByRunCheckAndReport) {
  Simulate(kForged);
  const std::string name = std::string(kForged) + ".mzML";
  const ProcessResult run = Run({name});
  EXPECT_EQ(run.m_exit_status, 0) << run.m_out << run.m_err;
  EXPECT_THAT(run.m_out, HasSubstr(std::string(kShown) + ".mzML"));
  EXPECT_TRUE(IsPrinted(run.m_out + run.m_err)) << run.m_out << run.m_err;

  const ProcessResult check = Tools({"check", name});
  EXPECT_THAT(check.m_out, HasSubstr(std::string(kShown) + ".mzML ("));
  EXPECT_TRUE(IsPrinted(check.m_out)) << check.m_out;

  const ProcessResult report = Tools({"report", "out"});
  EXPECT_EQ(report.m_exit_status, 0) << report.m_err;
  EXPECT_TRUE(IsPrinted(report.m_out)) << report.m_out;
  for (const std::string& page :
       {std::string(kForged) + ".report.html", std::string(kForged) + ".scans.html",
        std::string("tarvek_report.html")}) {
    const std::string html = ReadFile(m_directory / "out" + "/" + page);
    EXPECT_THAT(html, HasSubstr(kShownInPages)) << page;
    EXPECT_THAT(html, Not(HasSubstr("a\n[1 of 1]"))) << page;
    EXPECT_TRUE(IsPrinted(html)) << page;
  }
}

TEST_F(HostileTexts, OfFailuresAreEscapedByRunAndBatch) {
  WriteFile(m_directory / (std::string(kForged) + ".mzML"), "<mzML>");
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"run", "--isotope-table", kTable, "-o", "out"},
        {"run", "--no-check", "--isotope-table", kTable, "-o", "out"}}) {
    std::vector<std::string> words = arguments;
    words.push_back(std::string(kForged) + ".mzML");
    const ProcessResult result = Tools(words);
    EXPECT_EQ(result.m_exit_status, 1);
    EXPECT_THAT(result.m_err, HasSubstr(std::string(": ") + kShown + ".mzML: "));
    EXPECT_THAT(result.m_err, testing::AnyOf(HasSubstr("the file is truncated"),
                                             HasSubstr("Cannot use morvex to extract signals")));
    EXPECT_TRUE(IsPrinted(result.m_out + result.m_err)) << result.m_err;
  }
}

TEST_F(HostileTexts, OfIdsAreEscapedOnTheirWayThroughTarvek) {
  WriteFile(m_directory / "run.mzML",
            "<mzML><run><spectrumList><spectrum id=\"1&#10;[Tarvek] &lt;ERROR&gt; - forged\" "
            "defaultArrayLength=\"x\"/></spectrumList></run></mzML>");
  for (const char* const check : {"--no-check", "--quiet"}) {
    const ProcessResult result = Run({"run.mzML", check});
    EXPECT_EQ(result.m_exit_status, 1);
    EXPECT_THAT(result.m_err, Not(HasSubstr("\n[Tarvek]")));
    EXPECT_THAT(result.m_err, Not(HasSubstr("forged\n")));
  }
  EXPECT_THAT(ReadFile(m_directory / "out/batch_logs/run/console.txt"),
              HasSubstr("spectrum \"1\\n[Tarvek] <ERROR> - forged\": declares"));
}

TEST_F(HostileTexts, OfErrorsThatNameNoFileComeWithIt) {
  WriteFile(m_directory / "bad.mgf", "BEGIN IONS\nTITLE=none\n200.5 5.0\nEND IONS\n");
  const ProcessResult result = Tools({"batch", "--", "-D", "bad.mgf", "-O", "out", "-I", kTable});
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err,
              HasSubstr("bad.mgf: Cannot process bad.mgf: no number in the line 'TITLE=none'"));
}

TEST_F(HostileTexts, OfLinesThatAreNoTextAreNotRepeated) {
  WriteFile(m_directory / "fake", "#!/bin/sh\nprintf 'PNG\\033[2J\\377\\n'\nexit 3\n");
  fs::permissions(m_directory / "fake", fs::perms::owner_all);
  WriteFile(m_directory / "a.mgf", "");
  const ProcessResult result =
      Tools({"batch", "--tarvek", "./fake", "--", "-D", "a.mgf", "-O", "out", "-I", kTable});
  EXPECT_THAT(result.m_err, HasSubstr("a.mgf: ended with status 3 (log: "));
}

TEST_F(HostileTexts, OfLongRunNamesAreCut) {
  const std::string name(50'000'000, 'r');
  const auto row = [](int scan) {
    return std::to_string(scan) + "\t1\t2\t1000\t1000\t1e-9\t2.5\tPEPTIDEK\tPEPTIDEK\t" +
           (scan == 1 ? "rev_P" : "P") + std::to_string(scan) + "\n";
  };
  std::string rows;
  for (int scan = 1; scan <= 300; ++scan) rows += row(scan);
  WriteFile(m_directory / "a.txt",
            "CometVersion 2019.01 rev. 5\t" + name +
                "\tdate\tp.fasta\nscan\tnum\tcharge\texp_neutral_mass\tcalc_neutral_mass\te-value\t"
                "xcorr\tplain_peptide\tmodified_peptide\tprotein\n" +
                rows);
  const ProcessResult result = Tools({"psms", "a.txt", "--all", "-o", "out.tsv"});
  EXPECT_EQ(result.m_exit_status, 0) << result.m_err.substr(0, 1000);
  // Run names have no dots.
  EXPECT_THAT(result.m_out, HasSubstr("rrr___ (50000000 bytes) "));
  EXPECT_LT(result.m_out.size() + result.m_err.size(), 10'000u);
  EXPECT_LT(fs::file_size(m_directory / "out.tsv"), 1'000'000u);
  EXPECT_LT(result.m_cpu_seconds, 5.0);
}

TEST_F(HostileTexts, OfMessagesOfTheCommandLineAreEscaped) {
  const ProcessResult result = Tools({"check", "none\n\x1b[2J.mzML", "--bad\x1b"});
  EXPECT_NE(result.m_exit_status, 0);
  EXPECT_TRUE(IsPrinted(result.m_err)) << result.m_err;
}

TEST_F(HostileTexts, InputsMayBeNamedAsOptions) {
  Simulate("-x");
  EXPECT_EQ(Run({"-x.mzML"}).m_exit_status, 0);
  EXPECT_TRUE(fs::exists(m_directory / "out/-x.csv"));
  EXPECT_EQ(Run({"*.mzML", "--again"}).m_exit_status, 0);
  EXPECT_EQ(Run({".", "--again"}).m_exit_status, 0);
  EXPECT_EQ(Tools({"check", "-x.mzML"}).m_exit_status, 0);
  const ProcessResult batch =
      Tools({"batch", "--", "-D", "-x.mzML", "-O", "batch_out", "-I", kTable});
  EXPECT_EQ(batch.m_exit_status, 0) << batch.m_err;
  EXPECT_TRUE(fs::exists(m_directory / "batch_out/-x.csv"));
}

TEST_F(HostileTexts, InputsMayHaveBackslashesInTheirNames) {
  for (const std::string base : {"a\\", "\\b", "c\\d"}) {
    SCOPED_TRACE(base);
    Simulate(base);
    const ProcessResult run = Run({base + ".mzML"});
    EXPECT_EQ(run.m_exit_status, 0) << run.m_err;
    EXPECT_TRUE(fs::exists(m_directory / ("out/" + base + ".csv")));
    const ProcessResult batch =
        Tools({"batch", "--", "-D", base + ".mzML", "-O", "batch_out", "-I", kTable});
    EXPECT_EQ(batch.m_exit_status, 0) << batch.m_err;
    EXPECT_TRUE(fs::exists(m_directory / ("batch_out/" + base + ".csv")));
  }
}

}  // namespace
}  // namespace tarvek::tools
