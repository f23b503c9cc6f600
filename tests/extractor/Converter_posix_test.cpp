#include "Converter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "ExtractorOptions.h"
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

/// A run to convert and a script instead of the converter.
class ConverterTest : public testing::Test {
 protected:
  ConverterTest() {
    WriteFile(m_input, "vendor bytes");
    WriteFile(m_whole, Mzml({Survey(1), test::Fragment(2)}));
    fs::create_directory(m_directory / "out");
  }

  /// Runs the program of kind on m_input with this shell script as converter: $1 is the input, $2
  /// the directory.
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
  EXPECT_THAT(Convert("exit 0", "wiff").m_err, HasSubstr("plate.wiff.scan, which is not next to"));
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

// Names that a shell, a second expansion of the template or a program's options would interpret.
const std::vector<std::string> kHostileNames = {
    "{in};touch pwned;.raw",
    "{outdir} {in}.raw",
    "{in}\";touch pwned;\".raw",
    "a;touch pwned;.raw",
    "$(touch pwned).raw",
    "`touch pwned`.raw",
    "a\"b'c.raw",
    "it's & touch pwned.raw",
    "two\nlines\ntouch pwned.raw",
    "  blanks  .raw",
    "-o.raw",
    "--help.raw",
    "* ? [a] ~ # ! \\ $HOME %PATH%.raw",
};

/// A folder with only the input, and a program instead of every converter: it records its
/// arguments, each followed by a NUL, and converts.
class HostileNamesTest : public testing::Test {
 protected:
  HostileNamesTest() {
    fs::create_directories(m_directory / "bin");
    fs::create_directories(m_directory / "{in};touch pwned;");
    WriteFile(m_whole, Mzml({Survey(1)}));
  }
  /// A converter that writes into any argument that is a directory, with or without "-o=".
  void Install(const std::string& program) {
    WriteFile(program, "#!/bin/sh\nprintf '%s\\0' \"$@\" > '" + (m_directory / "arguments") +
                           "'\nfor word; do word=${word#-o=}; if [ -d \"$word\" ]; then cp '" +
                           m_whole + "' \"$word/x.mzML\"; fi; done\n");
    fs::permissions(program, fs::perms::owner_all);
  }
  /// Extracts name, relative to the current directory, into "out".
  tarvek::test::ProcessResult Extract(const std::string& kind, const std::string& name,
                                      std::map<std::string, std::string> variables) {
    const std::string input = m_directory / ("work/" + name);
    fs::remove_all(m_directory / "work");
    fs::create_directories(m_directory / "work");
    WriteFile(input, "vendor bytes");
    WriteFile(input + ".scan", "");
    tarvek::test::ProcessRequest request;
    request.m_program = test::ExtractorProgram(kind);
    request.m_arguments = {"-o", "out", "--", name};
    request.m_working_directory = m_directory / "work";
    request.m_environment = std::move(variables);
    return tarvek::test::RunProcess(request);
  }
  /// The arguments that the converter got.
  std::vector<std::string> Arguments() const {
    std::vector<std::string> arguments;
    std::string word;
    for (const char c : test::ReadFile(m_directory / "arguments")) {
      if (c != '\0') {
        word += c;
        continue;
      }
      arguments.push_back(word);
      word.clear();
    }
    return arguments;
  }
  /// The folder of the input: the input, its scans, the outputs, and no file that a name caused.
  void ExpectNothingElse(const std::string& name) const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(m_directory / "work"))
      names.push_back(entry.path().filename().string());
    EXPECT_THAT(names, testing::UnorderedElementsAre(name, name + ".scan", "out"));
  }
  static std::string BaseOf(const std::string& name) { return name.substr(0, name.rfind('.')); }
  static std::string AsArgument(const std::string& name) {
    return name.front() == '-' ? "./" + name : name;
  }

  TemporaryDirectory m_directory;
  std::string m_whole = m_directory / "whole.mzML";
};

TEST_F(HostileNamesTest, ReachTheUsersConverterUnchanged) {
  const std::string converter = m_directory / "bin/converter";
  Install(converter);
  for (const std::string kind : {"raw", "wiff"}) {
    const std::string variable = kind == "raw" ? "TARVEK_RAW_CONVERTER" : "TARVEK_WIFF_CONVERTER";
    for (const std::string& name : kHostileNames) {
      SCOPED_TRACE(kind + " " + name);
      const auto result =
          Extract(kind, name,
                  {{variable, "'" + converter + "' {in} -i={in} -o \"{outdir}\" '{in}{outdir}'"}});
      EXPECT_EQ(result.m_exit_status, 0) << result.m_err;
      const std::vector<std::string> arguments = Arguments();
      ASSERT_EQ(arguments.size(), 5u);
      const std::string input = AsArgument(name);
      const std::string directory = "out/" + BaseOf(name) + ".converting1";
      EXPECT_EQ(arguments, (std::vector<std::string>{input, "-i=" + input, "-o", directory,
                                                     input + directory}));
      EXPECT_TRUE(fs::exists(m_directory / ("work/out/" + BaseOf(name) + ".morvex")));
      ExpectNothingElse(name);
    }
  }
}

TEST_F(HostileNamesTest, ReachTheKnownConvertersUnchanged) {
  const std::string folder = m_directory / "{in};touch pwned;";
  const std::map<std::string, std::string> variables = {{"PATH", folder + ":/usr/bin:/bin"},
                                                        {"TARVEK_RAW_CONVERTER", ""},
                                                        {"TARVEK_WIFF_CONVERTER", ""}};
  Install(folder + "/msconvert");
  for (const std::string& name : kHostileNames) {
    SCOPED_TRACE(name);
    EXPECT_EQ(Extract("wiff", name, variables).m_exit_status, 0);
    EXPECT_EQ(Arguments(),
              (std::vector<std::string>{AsArgument(name), "--mzML", "--zlib", "--filter",
                                        "peakPicking vendor msLevel=1-2", "-o",
                                        "out/" + BaseOf(name) + ".converting1"}));
    ExpectNothingElse(name);
  }
  Install(folder + "/ThermoRawFileParser");
  for (const std::string& name : kHostileNames) {
    SCOPED_TRACE(name);
    EXPECT_EQ(Extract("raw", name, variables).m_exit_status, 0);
    EXPECT_EQ(Arguments(), (std::vector<std::string>{"-i=" + AsArgument(name),
                                                     "-o=out/" + BaseOf(name) + ".converting1",
                                                     "-f=2", "-L=1-2"}));
    ExpectNothingElse(name);
  }
}

TEST_F(HostileNamesTest, DoNoHarmWhereThereIsNoSuchConverter) {
  const std::string name = kHostileNames.front();
  const auto result =
      Extract("raw", name, {{"TARVEK_RAW_CONVERTER", "no_such_converter {in} {outdir}"}});
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err,
              HasSubstr(name + ": the converter cannot be started: no_such_converter"));
  EXPECT_THAT(result.m_err, HasSubstr("No such file or directory (the command is no shell line"));
  ExpectNothingElse(name);
}

TEST_F(ConverterTest, HasItsProgramLookedForOnThePath) {
  EXPECT_EQ(Convert(CopyWhole("x.mzML")).m_exit_status, 0);
  const auto result = RunExtractor("raw", {"-o", m_directory / "out", m_input},
                                   {{"PATH", m_directory.Path() + ":/usr/bin:/bin"},
                                    {"TARVEK_RAW_CONVERTER", "converter {in} {outdir}"}});
  EXPECT_EQ(result.m_exit_status, 0) << result.m_err;
}

TEST_F(ConverterTest, SaysThatACommandIsNoShellLine) {
  const auto result = RunExtractor("raw", {"-o", m_directory / "out", m_input},
                                   {{"TARVEK_RAW_CONVERTER", "gunzip {in} | c -o {outdir}"}});
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err,
              HasSubstr("TARVEK_RAW_CONVERTER holds | (the command is no shell line"));
  EXPECT_THAT(result.m_err, HasSubstr("script"));
  EXPECT_EQ(OutputCount(), 0);
}

TEST_F(ConverterTest, IsWaitedForWhenItsExtractorIsToldToStop) {
  const auto result = Convert("kill -TERM $PPID; sleep 0.1; echo ends; " + CopyWhole("x.mzML"));
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_out, HasSubstr("ends\n"));
  EXPECT_THAT(result.m_err, HasSubstr("interrupted; nothing was extracted"));
  EXPECT_EQ(OutputCount(), 0);
}

TEST_F(ConverterTest, EndsWithItsExtractorAtCtrlC) {
  // the terminal sends the signal to a process group
  const auto group_of = [](const std::string& process) {
    return "$(cut -d ' ' -f 5 /proc/" + process + "/stat)";
  };
  const auto result = Convert("test " + group_of("$$") + " = " + group_of("$PPID") +
                              " && kill -INT $PPID $$; sleep 60");
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, HasSubstr("interrupted; nothing was extracted"));
  EXPECT_EQ(OutputCount(), 0);
}

TEST_F(ConverterTest, GetsNoInput) {
  EXPECT_EQ(Convert("read line && exit 1; " + CopyWhole("x.mzML")).m_exit_status, 0);
}

class SearchPathTest : public testing::Test {
 protected:
  void Install(const std::string& name) {
    WriteFile(m_directory / name, "");
    fs::permissions(m_directory / name, fs::perms::owner_all);
  }
  std::optional<CommandTemplate> Find(VendorKind kind, const std::string& from_environment = "") {
    return FindConverter(kind, from_environment, "/nowhere:" + m_directory.Path());
  }
  TemporaryDirectory m_directory;
  const CommandTemplate m_msconvert = {
      {m_directory / "msconvert"},
      {"{in}", "--mzML", "--zlib", "--filter", "peakPicking vendor msLevel=1-2", "-o", "{outdir}"}};
  const std::vector<std::string> m_parser_arguments = {"-i={in}", "-o={outdir}", "-f=2", "-L=1-2"};
};

TEST_F(SearchPathTest, TakesTheTemplateOfTheEnvironmentFirst) {
  Install("ThermoRawFileParser");
  EXPECT_EQ(Find(VendorKind::kRaw, "mine {in}"), (CommandTemplate{{}, {"mine", "{in}"}}));
}

TEST_F(SearchPathTest, TakesTheRawParserBeforeMsconvert) {
  Install("msconvert");
  EXPECT_EQ(Find(VendorKind::kRaw), m_msconvert);
  Install("ThermoRawFileParser");
  EXPECT_EQ(Find(VendorKind::kRaw),
            (CommandTemplate{{m_directory / "ThermoRawFileParser"}, m_parser_arguments}));
  EXPECT_EQ(Find(VendorKind::kWiff), m_msconvert);
}

TEST_F(SearchPathTest, RunsTheRawParserUnderMonoWhereItMust) {
  Install("ThermoRawFileParser.exe");
  EXPECT_EQ(Find(VendorKind::kRaw), std::nullopt);
  Install("mono");
  EXPECT_EQ(Find(VendorKind::kRaw),
            (CommandTemplate{{m_directory / "mono", m_directory / "ThermoRawFileParser.exe"},
                             m_parser_arguments}));
}

TEST_F(SearchPathTest, SkipsWhatCannotBeRun) {
  WriteFile(m_directory / "msconvert", "");
  EXPECT_EQ(Find(VendorKind::kWiff), std::nullopt);
}

}  // namespace
}  // namespace tarvek::extractor
