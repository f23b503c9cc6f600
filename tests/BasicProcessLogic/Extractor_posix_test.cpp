// The extractor as a child process: shell scripts stand in for it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "Extractor.h"
#include "FileUtils.h"
#include "Platform.h"
#include "ProcessTestSupport.h"
#include "RunDriver.h"
#include "RunRecord.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

namespace fs = std::filesystem;
using test::CaptureConsole;
using test::kNothingThrown;
using test::MessageOf;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::EndsWith;
using testing::HasSubstr;

/// Each test has its own current directory; it and the standard output directory are empty.
class ExtractorTest : public testing::Test {
 protected:
  ExtractorTest() {
    fs::current_path(m_directory.Path());
    fs::create_directory("out");
    m_parameters.m_outputpath = "out";
    WriteFile("a.raw", "x");
    SetCurrentFile(m_parameters, "a.raw");
  }
  ~ExtractorTest() override { fs::current_path(m_former); }
  ExtractorTest(const ExtractorTest&) = delete;
  ExtractorTest& operator=(const ExtractorTest&) = delete;

  static void PlaceExtractor(const std::string& path, const std::string& body) {
    WriteFile(path, "#!/bin/sh\n" + body);
    fs::permissions(path, fs::perms::owner_all);
  }
  /// The message of a run of the extractor; m_text holds its output.
  std::string Extract(const std::string& mode = "ms") {
    std::string message;
    m_text =
        CaptureConsole([&] { message = MessageOf([&] { runExtractor(m_parameters, mode); }); });
    return message;
  }

  fs::path m_former = fs::current_path();
  TemporaryDirectory m_directory;
  UserParameters m_parameters;
  test::ConsoleText m_text;
};

constexpr const char* kFailed = "Cannot use morvex to extract signals from: a.raw";

TEST_F(ExtractorTest, IsTheOneOfTheCurrentDirectory) {
  PlaceExtractor("morvex_raw.exe", "");
  fs::create_directory("libexec");
  PlaceExtractor("libexec/morvex_raw.exe", "");
  EXPECT_EQ(ExtractorProgram("morvex_raw.exe", "libexec"), "./morvex_raw.exe");
}
TEST_F(ExtractorTest, IsTheInstalledOneOtherwise) {
  fs::create_directory("lib exec");
  PlaceExtractor("lib exec/morvex_raw.exe", "");
  EXPECT_EQ(ExtractorProgram("morvex_raw.exe", "lib exec"), "\"lib exec/morvex_raw.exe\"");
}
TEST_F(ExtractorTest, IsLookedForInTheCurrentDirectoryWhenThereIsNone) {
  EXPECT_EQ(ExtractorProgram("morvex_raw.exe", "libexec"), "./morvex_raw.exe");
}
TEST_F(ExtractorTest, IsLookedForInTheCurrentDirectoryWhenThePlaceOfTheProgramIsUnknown) {
  EXPECT_EQ(ExtractorProgram("morvex_raw.exe", ""), "./morvex_raw.exe");
}
TEST_F(ExtractorTest, OfTheCurrentDirectoryIsNamedInOneWarning) {
  PlaceExtractor("morvex_raw.exe", "echo done > out/a.morvex\n");
  EXPECT_EQ(Extract(), kNothingThrown);
  EXPECT_EQ(m_text.m_err, "[Tarvek] <WARN> - Uses the extractor " +
                              (fs::current_path() / "morvex_raw.exe").string() +
                              ", which is not the installed one.\n");
  fs::remove("out/a.morvex");
  EXPECT_EQ(Extract(), kNothingThrown);
  EXPECT_EQ(m_text.m_err, "");
}
/// The environment names the folder of the extractors as long as it lives.
class NamedExtractors {
 public:
  explicit NamedExtractors(const std::string& folder) {
    EXPECT_TRUE(SetEnvironment(kExtractorsVariable, folder));
  }
  ~NamedExtractors() { EXPECT_TRUE(SetEnvironment(kExtractorsVariable, "")); }
};

TEST_F(ExtractorTest, IsTheOneOfTheFolderThatTheEnvironmentNames) {
  PlaceExtractor("morvex_raw.exe", "");
  fs::create_directory("my tools");
  PlaceExtractor("my tools/morvex_raw.exe", "echo done > out/a.morvex\n");
  const NamedExtractors named("my tools");
  EXPECT_EQ(ChosenExtractor(m_parameters), "\"my tools/morvex_raw.exe\"");
  EXPECT_EQ(Extract(), kNothingThrown);
  EXPECT_EQ(m_text.m_err, "");
  EXPECT_THAT(m_text.m_out, HasSubstr("[Tarvek] <INFO> - Uses the extractor " +
                                      (fs::current_path() / "my tools/morvex_raw.exe").string() +
                                      ", which is not the installed one.\n"));
}
TEST_F(ExtractorTest, IsTheInstalledOneWhenTheEnvironmentWantsThat) {
  PlaceExtractor("morvex_raw.exe", "");
  const NamedExtractors named("installed");
  EXPECT_EQ(ChosenExtractor(m_parameters),
            "\"" + JoinPath({ExecutableDirectory(), "../libexec/tarvek/morvex_raw.exe"}) + "\"");
}
TEST_F(ExtractorTest, IsNotRunInVainWhenATableAppearsMeanwhile) {
  PlaceExtractor("morvex_raw.exe",
                 "cp in/a.ms1 in/a.ms2 out; : > out/a.morvex; echo of nobody > out/a.csv\n");
  fs::create_directory("in");
  test::WritePair("in", "a");
  m_parameters.m_peak_format = "%.5f %.1f\n";
  m_parameters.m_delete_msn = true;
  CaptureConsole([&] { processInstrumentFile(m_parameters); });
  EXPECT_THAT(test::ReadFile("out/a.csv"), testing::StartsWith("ActivationType, "));
  EXPECT_TRUE(fs::exists("out/a_HCDFT.mgf"));
}
TEST_F(ExtractorTest, IsRunInModeMgfToo) {
  PlaceExtractor("morvex_raw.exe", "echo \"$1\"; : > out/a.mgf; : > out/a.morvex\n");
  EXPECT_EQ(Extract("mgf"), kNothingThrown);
  EXPECT_THAT(m_text.m_out, EndsWith("\n-mgf\n"));
  EXPECT_TRUE(fs::exists("out/a.mgf"));
}
TEST_F(ExtractorTest, GetsTheNameOfEveryFileUnchanged) {
  PlaceExtractor("morvex_raw.exe", "printf '%s|' \"$@\"\n");
  for (const std::string name : {"{in};touch pwned;.raw", "$(touch pwned).raw", "`touch pwned`.raw",
                                 "a\"b'c.raw", "two\nlines.raw", "  blanks  .raw",
                                 "! !! $HOME ${HOME} %PATH% \\.raw", "a & b | c > d.raw"}) {
    SetCurrentFile(m_parameters, name);
    Extract();
    EXPECT_THAT(m_text.m_out, EndsWith("\n-ms|-a|-i|1|-m|5|-o|out|" + name + "|"));
    EXPECT_FALSE(fs::exists("pwned"));
  }
}
TEST_F(ExtractorTest, IsNotRunWhenItsMarkerIsThere) {
  WriteFile("out/a.morvex", "done");
  EXPECT_EQ(Extract(), kNothingThrown);
  EXPECT_EQ(m_text.m_out,
            "[Tarvek] <INFO> - a.raw has existed results, skipping morvex process...\n");
}
constexpr const char* kMarkerLine = "All spectra of a were extracted.\n";

/// What a marker says of the file at path as it is now.
std::string SourceLines(const std::string& path) {
  std::string lines;
  for (const auto& [key, value] : SourceOf(path)) lines += "source\t" + key + "\t" + value + "\n";
  return lines;
}

TEST_F(ExtractorTest, IsRunBesideAMarkerThatDoesNotCount) {
  PlaceExtractor("morvex_raw.exe", "[ -e out/a.morvex ] || echo again > out/a.morvex\n");
  const auto expect_again = [&](const std::string& marker, const std::string& why) {
    SCOPED_TRACE(why);
    WriteFile("out/a.morvex", marker);
    EXPECT_EQ(Extract(), kNothingThrown);
    EXPECT_EQ(test::ReadFile("out/a.morvex"), "again\n");
    EXPECT_THAT(m_text.m_out,
                HasSubstr("[Tarvek] <INFO> - a.raw is extracted anew: " + why + ".\n"));
  };
  expect_again("", "out/a.morvex is empty");
  expect_again(std::string(100, '\0'), "out/a.morvex is damaged");
  expect_again("All spectra of a wer", "out/a.morvex is damaged");
  expect_again("All spectra of a were extracted.", "out/a.morvex is damaged");
  WriteFile("out/a.ms1", "");
  expect_again(kMarkerLine, "out/a.ms1 is empty");
  WriteFile("out/a.ms1", "123");
  expect_again(std::string(kMarkerLine) + "output\t.ms1\t4\n",
               "out/a.ms1 has 3 bytes and not the 4 that were written");
}
TEST_F(ExtractorTest, IsRunBesideAMarkerOfAnotherFileOfTheSameName) {
  PlaceExtractor("morvex_raw.exe", "echo again > out/a.morvex\n");
  const auto is_run_after = [&](const auto& change) {
    WriteFile("a.raw", "x");
    const auto time = fs::last_write_time("a.raw");
    WriteFile("out/a.morvex", kMarkerLine + SourceLines("a.raw"));
    change(time);
    EXPECT_EQ(Extract(), kNothingThrown);
    return test::ReadFile("out/a.morvex") == "again\n";
  };
  EXPECT_FALSE(is_run_after([](auto) {}));
  EXPECT_TRUE(is_run_after([](auto time) {
    WriteFile("a.raw", "longer");
    fs::last_write_time("a.raw", time);
  }));
  EXPECT_TRUE(is_run_after(
      [](auto time) { fs::last_write_time("a.raw", time + std::chrono::milliseconds(5)); }));
  EXPECT_THAT(m_text.m_out, HasSubstr("a.raw is extracted anew: out/a.morvex is of another file of "
                                      "this name, or of an earlier state of it.\n"));
}
TEST_F(ExtractorTest, IsNotRunBesideSpectraOfTheSizesThatItsMarkerSays) {
  WriteFile("out/a.ms1", "123");
  WriteFile("out/a.morvex", std::string(kMarkerLine) + "output\t.ms1\t3\noutput\t.ms2\t9\n");
  EXPECT_EQ(Extract(), kNothingThrown);  // .ms2 is gone, which its reader says
  EXPECT_THAT(m_text.m_out, HasSubstr("skipping morvex process..."));
}
TEST_F(ExtractorTest, IsRunBesideItsMarkerWhenFilesAreRewritten) {
  WriteFile("out/a.morvex", "");
  m_parameters.m_rewrite_files = true;
  PlaceExtractor("morvex_raw.exe", "echo again\n");
  EXPECT_EQ(Extract(), kNothingThrown);
  EXPECT_THAT(m_text.m_out, HasSubstr("again\n"));
}
TEST_F(ExtractorTest, FailsWithoutItsMarker) {
  PlaceExtractor("morvex_raw.exe", "exit 0\n");
  EXPECT_EQ(Extract(), kFailed);
}
TEST_F(ExtractorTest, FailsOnAnotherStatusBesideItsMarker) {
  PlaceExtractor("morvex_raw.exe", ": > out/a.morvex; exit 3\n");
  EXPECT_EQ(Extract(), kFailed);
}
TEST_F(ExtractorTest, FailsOnASignalBesideItsMarker) {
  PlaceExtractor("morvex_raw.exe", ": > out/a.morvex; kill -TERM $$\n");
  EXPECT_EQ(Extract(), kFailed);
}
TEST_F(ExtractorTest, FailsWhenItIsNotThere) { EXPECT_EQ(Extract(), kFailed); }
TEST_F(ExtractorTest, HasItsOutputShownUnchanged) {
  PlaceExtractor("morvex_raw.exe", "printf ' 10%%\\r 20%%\\r\\n<x>\\n\\nend'; : > out/a.morvex\n");
  EXPECT_EQ(Extract(), kNothingThrown);
  EXPECT_EQ(m_text.m_out,
            "[Tarvek] <INFO> - ./morvex_raw.exe -ms -a -i 1 -m 5 -o \"out\" \"a.raw\"\n"
            " 10%\r 20%\r\n<x>\n\nend");
}

}  // namespace
}  // namespace tarvek
