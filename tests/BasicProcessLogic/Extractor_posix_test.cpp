// The extractor as a child process: shell scripts stand in for it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "Extractor.h"
#include "ProcessTestSupport.h"
#include "RunDriver.h"
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
  WriteFile("out/a.morvex", "");
  EXPECT_EQ(Extract(), kNothingThrown);
  EXPECT_EQ(m_text.m_out,
            "[Tarvek] <INFO> - a.raw has existed results, skipping morvex process...\n");
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
