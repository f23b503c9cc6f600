#include "FileUtils.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "NativePath.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::MessageOf;
using test::Native;
using testing::ElementsAre;
using testing::IsEmpty;

class FileUtilsTest : public testing::Test {
 protected:
  std::string MakeFile(std::string_view name, std::string_view content = "x") {
    const std::string path = m_directory / name;
    test::WriteFile(path, content);
    return path;
  }
  test::TemporaryDirectory m_directory;
};

TEST_F(FileUtilsTest, OpenFileNamesItsPurposeAndPath) {
  const std::string path = m_directory / "missing";
  EXPECT_EQ(MessageOf([&] { OpenFile(path, "r", "MS1"); }), "Cannot open MS1 File, Path: " + path);
}
TEST_F(FileUtilsTest, OpenFileHasTwoBlanksWithoutAPurpose) {
  const std::string path = m_directory / "missing";
  EXPECT_EQ(MessageOf([&] { OpenFile(path, "r", ""); }), "Cannot open  File, Path: " + path);
}
TEST_F(FileUtilsTest, OpenFileThrowsAString) {
  EXPECT_THROW(OpenFile(m_directory / "missing", "r", ""), std::string);
}
TEST_F(FileUtilsTest, OpenFileRefusesADirectory) {
  EXPECT_EQ(MessageOf([&] { OpenFile(m_directory.Path(), "r", "MGF"); }),
            "Cannot open MGF File, Path: " + m_directory.Path());
}

TEST_F(FileUtilsTest, FileExistsForAFile) { EXPECT_TRUE(FileExists(MakeFile("a"))); }
TEST_F(FileUtilsTest, FileExistsNotForADirectory) { EXPECT_FALSE(FileExists(m_directory.Path())); }
TEST_F(FileUtilsTest, FileExistsNotForAnEmptyPath) { EXPECT_FALSE(FileExists("")); }
TEST_F(FileUtilsTest, IsDirectoryForADirectory) { EXPECT_TRUE(IsDirectory(m_directory.Path())); }
TEST_F(FileUtilsTest, IsDirectoryNotForAFile) { EXPECT_FALSE(IsDirectory(MakeFile("a"))); }
TEST_F(FileUtilsTest, IsDirectoryNotForAnEmptyPath) { EXPECT_FALSE(IsDirectory("")); }
TEST_F(FileUtilsTest, PathExistsForAFile) { EXPECT_TRUE(PathExists(MakeFile("a"))); }
TEST_F(FileUtilsTest, PathExistsForADirectory) { EXPECT_TRUE(PathExists(m_directory.Path())); }
TEST_F(FileUtilsTest, PathExistsNotForAMissingEntry) {
  EXPECT_FALSE(PathExists(m_directory / "missing"));
}

TEST_F(FileUtilsTest, DirectoryOfADirectoryIsItself) {
  EXPECT_EQ(DirectoryOf(m_directory.Path()), m_directory.Path());
}
TEST_F(FileUtilsTest, DirectoryOfAFileIsTheTextBeforeTheLastSeparator) {
  EXPECT_EQ(DirectoryOf(MakeFile("a.raw")), m_directory.Path());
}
TEST(DirectoryOf, ABareNameIsThatName) { EXPECT_EQ(DirectoryOf("1.raw"), "1.raw"); }
TEST(DirectoryOf, NothingIsTheCurrentDirectory) { EXPECT_EQ(DirectoryOf(""), "."); }
TEST(FileNameOf, IsTheLastPartWithEitherSeparator) {
  EXPECT_EQ(FileNameOf("in/a b.ms1"), "a b.ms1");
  EXPECT_EQ(FileNameOf("D:\\in/1.raw"), "1.raw");
  EXPECT_EQ(FileNameOf("D:/in\\1.raw"), "1.raw");
  EXPECT_EQ(FileNameOf("1.raw"), "1.raw");
  EXPECT_EQ(FileNameOf("in/"), "");
}
TEST(FolderOf, IsTheTextBeforeTheLastSeparator) {
  EXPECT_EQ(FolderOf("in/dir/1.raw"), "in/dir");
  EXPECT_EQ(FolderOf("D:\\in\\1.raw"), "D:\\in");
}
TEST(FolderOf, OfABareNameIsTheCurrentDirectory) {
  EXPECT_EQ(FolderOf("1.raw"), ".");
  EXPECT_EQ(FolderOf(""), ".");
}
TEST(FolderOf, OfAFileInTheRootIsTheRoot) {
  EXPECT_EQ(FolderOf("/1.raw"), std::string(1, kPathSeparator));
}
TEST(DirectoryOf, TakesEitherSeparator) {
  EXPECT_EQ(DirectoryOf("D:\\no_such/dir\\1.raw"), "D:\\no_such/dir");
  EXPECT_EQ(DirectoryOf("D:\\no_such\\dir/1.raw"), "D:\\no_such\\dir");
}

TEST_F(FileUtilsTest, SizeOfFilesIsTheirSum) {
  EXPECT_EQ(SizeOfFiles({MakeFile("a", "four"), MakeFile("b", "seventh")}), 11);
}
TEST_F(FileUtilsTest, SizeOfFilesIsNoneWithoutOneOfThem) {
  EXPECT_EQ(SizeOfFiles({MakeFile("a"), m_directory / "missing"}), std::nullopt);
  EXPECT_EQ(SizeOfFiles({m_directory.Path()}), std::nullopt);
}

TEST(JoinPath, PutsOneSeparatorBetween) { EXPECT_EQ(JoinPath({"a", "b", "c"}), Native("a/b/c")); }
TEST(JoinPath, RemovesTrailingSeparatorsOfEachPart) {
  EXPECT_EQ(JoinPath({"a\\\\", "b\\"}), Native("a/b"));
}
TEST(JoinPath, AddsNothingForAnEmptyFirstPart) { EXPECT_EQ(JoinPath({"", "b"}), "b"); }
TEST(JoinPath, KeepsARoot) { EXPECT_EQ(JoinPath({"/", "b", "c"}), Native("/b/c")); }
TEST(JoinPath, KeepsLeadingSeparators) {
  EXPECT_EQ(JoinPath({"\\\\host", "b"}), Native("\\\\host/b"));
}
TEST(JoinPath, OfNothingIsEmpty) { EXPECT_EQ(JoinPath({}), ""); }

TEST(WithoutTrailingSeparators, CutsBothKinds) {
  EXPECT_EQ(WithoutTrailingSeparators("D:\\Data\\/\\"), "D:\\Data");
}
TEST(WithoutTrailingSeparators, LeavesNothingOfARoot) {
  EXPECT_EQ(WithoutTrailingSeparators("/"), "");
}

TEST_F(FileUtilsTest, MakeDirectoryMakesMissingParents) {
  MakeDirectory(m_directory / "a/b/c");
  EXPECT_TRUE(IsDirectory(m_directory / "a/b/c"));
}
TEST_F(FileUtilsTest, MakeDirectoryTrimsBlanksThenSeparators) {
  MakeDirectory(" \t" + (m_directory / "a/b//") + " \r\n");
  EXPECT_TRUE(IsDirectory(m_directory / "a/b"));
}
TEST_F(FileUtilsTest, MakeDirectoryKeepsInnerBlanksAndQuotes) {
  MakeDirectory(m_directory / "A \"Data\" set");
  EXPECT_TRUE(std::filesystem::is_directory(m_directory / "A \"Data\" set"));
}
TEST_F(FileUtilsTest, MakeDirectoryAcceptsAnExistingOne) {
  EXPECT_NO_THROW(MakeDirectory(m_directory.Path() + "/"));
}
TEST_F(FileUtilsTest, MakeDirectoryFailsWhereAFileStands) {
  const std::string path = MakeFile("a");
  EXPECT_EQ(MessageOf([&] { MakeDirectory(path + "/"); }), "Can not make the directory: " + path);
}
TEST_F(FileUtilsTest, MakeDirectoryFailsBelowAFile) {
  const std::string path = MakeFile("a") + "/b";
  EXPECT_EQ(MessageOf([&] { MakeDirectory(path); }), "Can not make the directory: " + path);
}
TEST(MakeDirectory, FailsForAnEmptyPath) {
  EXPECT_EQ(MessageOf([] { MakeDirectory(" "); }), "Can not make the directory: ");
}

TEST_F(FileUtilsTest, RemoveFileDeletes) {
  const std::string path = MakeFile("a");
  RemoveFile(path);
  EXPECT_FALSE(FileExists(path));
}
TEST_F(FileUtilsTest, RemoveFileIsSilentAboutAMissingFile) {
  EXPECT_NO_THROW(RemoveFile(m_directory / "missing"));
}
TEST_F(FileUtilsTest, RemoveFileIsSilentAboutADirectory) {
  RemoveFile(m_directory.Path());
  EXPECT_TRUE(IsDirectory(m_directory.Path()));
}
TEST(RemoveFile, NamesAFileItCannotDelete) {
  if (!FileExists("/proc/version")) GTEST_SKIP() << "no /proc/version";
  EXPECT_EQ(MessageOf([] { RemoveFile("/proc/version"); }), "Cannot delete file: /proc/version");
}

TEST_F(FileUtilsTest, RenameFileReplacesAnExistingFile) {
  const std::string from = MakeFile("a", "new");
  const std::string to = MakeFile("b", "old");
  RenameFile(from, to);
  EXPECT_EQ(test::ReadFile(to), "new");
  EXPECT_FALSE(FileExists(from));
}
TEST_F(FileUtilsTest, RenameFileNamesTheOldPathWhenItFails) {
  const std::string from = m_directory / "missing";
  EXPECT_EQ(MessageOf([&] { RenameFile(from, m_directory / "b"); }), "Cannot rename file: " + from);
}

TEST_F(FileUtilsTest, RewindFileReadsFromTheFirstByteAgain) {
  File file = OpenFile(MakeFile("a", "xyz"), "r", "");
  char bytes[2] = {};
  file.Read(bytes, 2);
  RewindFile("a", file);
  file.Read(bytes, 1);
  EXPECT_EQ(bytes[0], 'x');
}
TEST_F(FileUtilsTest, RewindFileNamesAFileItCannotReposition) {
  File file = OpenFile(MakeFile("a"), "r", "");
  static_cast<void>(file.Close());
  EXPECT_EQ(MessageOf([&] { RewindFile("the name", file); }), "Cannot relocate to 0 in the name");
}

TEST_F(FileUtilsTest, ListFilesGivesAFileOfTheExtensionItself) {
  const std::string path = MakeFile("1.RAW");
  EXPECT_THAT(ListFiles(path, ".raw"), ElementsAre(path));
}
TEST_F(FileUtilsTest, ListFilesIgnoresAFileOfAnotherExtension) {
  EXPECT_THAT(ListFiles(MakeFile("1.txt"), ".raw"), IsEmpty());
}
TEST_F(FileUtilsTest, ListFilesIsEmptyForAMissingPath) {
  EXPECT_THAT(ListFiles(m_directory / "missing.raw", ".raw"), IsEmpty());
}
TEST_F(FileUtilsTest, ListFilesLeavesOutHiddenAndOtherFiles) {
  MakeFile("b.Raw");
  MakeFile(".c.raw");
  MakeFile("d.txt");
  EXPECT_THAT(ListFiles(m_directory.Path(), ".raw"), ElementsAre(Native(m_directory / "b.Raw")));
}
TEST_F(FileUtilsTest, ListFilesDoesNotDescend) {
  MakeDirectory(m_directory / "sub");
  MakeFile("sub/a.raw");
  EXPECT_THAT(ListFiles(m_directory.Path(), ".raw"), IsEmpty());
}
TEST_F(FileUtilsTest, ListFilesListsADirectoryNamedLikeAFile) {
  MakeDirectory(m_directory / "run.raw");
  MakeFile("run.raw/a.raw");
  EXPECT_THAT(ListFiles(m_directory / "run.raw", ".raw"),
              ElementsAre(Native(m_directory / "run.raw/a.raw")));
}
TEST_F(FileUtilsTest, ListFilesKeepsTheOrderOfTheSystem) {
  for (const char* const name : {"b.mgf", "a.mgf", "d.mgf", "c.mgf"}) MakeFile(name);
  std::vector<std::string> expected;
  for (const auto& entry : std::filesystem::directory_iterator(m_directory.Path()))
    expected.push_back(entry.path().string());
  EXPECT_EQ(ListFiles(m_directory.Path(), ".mgf"), expected);
}
TEST_F(FileUtilsTest, ListsFilesOfSeveralExtensionsOnce) {
  for (const char* const name : {"a.mzML", "b.MZML.GZ", "c.gz", "d.mzXML"}) MakeFile(name);
  const std::vector<std::string> extensions = {".mzml", ".mzml.gz", ".gz.gz"};
  std::vector<std::string> files = ListFilesOfAny(m_directory.Path(), extensions);
  std::ranges::sort(files);
  EXPECT_THAT(files,
              ElementsAre(Native(m_directory / "a.mzML"), Native(m_directory / "b.MZML.GZ")));
  EXPECT_THAT(ListFilesOfAny(m_directory / "b.MZML.GZ", extensions),
              ElementsAre(m_directory / "b.MZML.GZ"));
  EXPECT_THAT(ListFilesOfAny(m_directory / "c.gz", extensions), IsEmpty());
}

}  // namespace
}  // namespace tarvek
