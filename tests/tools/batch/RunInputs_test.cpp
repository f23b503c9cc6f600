#include "batch/RunInputs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "NativePath.h"
#include "TestSupport.h"

namespace tarvek::tools {
namespace {

using test::MessageOf;
using test::Native;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class RunInputsTest : public testing::Test {
 protected:
  void Place(const std::vector<std::string>& names) const {
    for (const std::string& name : names) {
      std::filesystem::create_directories(std::filesystem::path(m_directory / name).parent_path());
      WriteFile(m_directory / name, "x");
    }
  }

  /// The names of the inputs for these words.
  std::vector<std::string> Find(const std::vector<std::string>& words,
                                const std::string& format = "") {
    std::vector<std::string> paths;
    for (const std::string& word : words) paths.push_back(m_directory / word);
    RunInputs inputs = FindRunInputs(paths, format);
    m_notes = inputs.m_notes;
    std::vector<std::string> names;
    for (const std::string& file : inputs.m_files)
      names.push_back(std::filesystem::relative(file, m_directory.Path()).generic_string());
    return names;
  }

  TemporaryDirectory m_directory;
  std::vector<std::string> m_notes;
};

TEST(InputFormat, IsThatOfTheEndingWithoutGz) {
  EXPECT_EQ(InputFormatOf("a.b.mzML.gz"), "mzml");
  EXPECT_EQ(InputFormatOf("x/A.MZXML"), "mzxml");
  EXPECT_EQ(InputFormatOf("a.RAW"), "raw");
  for (const char* name : {"a.ms2", "a.gz", "a", ".mzML", "a.ms1.gz", "a.csv"})
    EXPECT_EQ(InputFormatOf(name), "") << name;
}

TEST_F(RunInputsTest, TakesAllFormatsOfAFolderByName) {
  Place({"e.mgf", "d.ms1", "d.ms2", "c.wiff", "b.raw", "a.mzXML.gz", "f.mzML", "x.txt", ".g.mzML"});
  EXPECT_THAT(Find({"."}),
              ElementsAre("a.mzXML.gz", "b.raw", "c.wiff", "d.ms1", "e.mgf", "f.mzML"));
  EXPECT_THAT(m_notes, IsEmpty());
  EXPECT_THAT(Find({"."}, "mzml"), ElementsAre("f.mzML"));
}

TEST_F(RunInputsTest, TakesNoFileTwice) {
  Place({"in/a.mzML", "in/b.mzML"});
  EXPECT_THAT(Find({"in/b.mzML", "in", "in/../in/a.mzML"}), ElementsAre("in/b.mzML", "in/a.mzML"));
}

TEST_F(RunInputsTest, ExpandsPatternsInEachPartOfAPath) {
  Place({"s1/a.mzML", "s1/ab.mzML", "s2/b.mzML", "s2/b.csv", "t/c.mzML"});
  EXPECT_THAT(Find({"s?/*.mzML"}), ElementsAre("s1/a.mzML", "s1/ab.mzML", "s2/b.mzML"));
  EXPECT_THAT(Find({"*/a.mzML"}), ElementsAre("s1/a.mzML"));
  EXPECT_THAT(Find({"[t-z]/*"}), ElementsAre("t/c.mzML"));
  EXPECT_THAT(Find({"[!s]*"}), ElementsAre("t/c.mzML")) << "a folder that fits";
  EXPECT_THAT(Find({"s*/*b*.mzML"}), ElementsAre("s1/ab.mzML", "s2/b.mzML"));
}

TEST_F(RunInputsTest, TakesAFileForItselfWhenItsNameLooksLikeAPattern) {
  Place({"a[1].mzML", "a1.mzML"});
  EXPECT_THAT(Find({"a[1].mzML"}), ElementsAre("a[1].mzML"));
}

TEST_F(RunInputsTest, LeavesOutSpectraThatWereExtractedFromAnInput) {
  Place({"a.mzML", "a.ms1", "b.ms1", "b.morvex", "c.ms1", "d.MZXML.GZ", "d.ms1"});
  EXPECT_THAT(Find({"."}), ElementsAre("a.mzML", "c.ms1", "d.MZXML.GZ"));
  ASSERT_EQ(m_notes.size(), 1u);
  EXPECT_THAT(m_notes[0], HasSubstr("a.ms1 and 2 more are left out: extracted from"));
}

TEST_F(RunInputsTest, TakesExtractedSpectraThatAreAskedFor) {
  Place({"a.mzML", "a.ms1", "b.ms1", "b.morvex"});
  EXPECT_THAT(Find({"."}, "ms1"), ElementsAre("a.ms1", "b.ms1"));
  EXPECT_THAT(Find({"a.ms1"}), ElementsAre("a.ms1"));
  EXPECT_THAT(Find({"*.ms1"}), ElementsAre("a.ms1", "b.ms1"));
}

TEST_F(RunInputsTest, LeavesOutMgfThatARunHasWritten) {
  Place({"a_HCDFT.mgf", "b.mgf", "c.mzML", "c.mgf"});
  EXPECT_THAT(Find({"."}), ElementsAre("b.mgf", "c.mzML"));
  ASSERT_EQ(m_notes.size(), 1u);
  EXPECT_THAT(m_notes[0], HasSubstr("a_HCDFT.mgf and 1 more are left out: written by a run"));
}

TEST_F(RunInputsTest, NamesAFolderThatLooksLikeAnInput) {
  Place({"a.raw/_FUNC001.DAT", "b.raw"});
  EXPECT_THAT(Find({"."}), ElementsAre("b.raw"));
  ASSERT_EQ(m_notes.size(), 1u);
  EXPECT_THAT(m_notes[0], HasSubstr("a.raw is left out: folders with the name of an input file"));
}

TEST_F(RunInputsTest, RefusesWhatLeadsToNoInput) {
  Place({"a.txt", "out/b.ms1", "out/b.morvex", "c.mzML"});
  EXPECT_EQ(MessageOf([&] { Find({"none"}); }),
            "There is no file or folder " + m_directory / "none");
  EXPECT_THAT(MessageOf([&] { Find({"a.txt"}); }), HasSubstr("a.txt has an ending"));
  EXPECT_THAT(MessageOf([&] { Find({"*.raw"}); }), HasSubstr("No input file fits"));
  EXPECT_THAT(MessageOf([&] { Find({"."}, "wiff"); }), HasSubstr("of the format wiff"));
  EXPECT_THAT(MessageOf([&] { Find({"c.mzML"}, "raw"); }),
              HasSubstr("c.mzML is not of the format raw"));
  EXPECT_THAT(MessageOf([&] { Find({"out"}); }), HasSubstr("--format ms1 takes such files"));
}

}  // namespace
}  // namespace tarvek::tools
