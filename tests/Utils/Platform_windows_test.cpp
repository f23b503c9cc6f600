// Promises of Platform.h that only Windows can show.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "ChildText.h"
#include "FileUtils.h"
#include "Platform.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::PiecesOf;
using test::StatusOf;
using test::TemporaryDirectory;
using testing::ElementsAre;

// "Größe" and "質量" in UTF-8
constexpr const char* kUnicodeName =
    "Gr\xC3\xB6\xC3\x9F"
    "e \xE8\xB3\xAA\xE9\x87\x8F";

// ------------------------------------------------------------ paths

TEST(Path, IsUtf8Inside) {
  const TemporaryDirectory directory;
  const std::string folder = directory / kUnicodeName;
  ASSERT_TRUE(MakeDirectoryTree(folder));
  File file = File::Open(JoinPath({folder, kUnicodeName}), "w");
  ASSERT_TRUE(file.Write("x"));
  ASSERT_TRUE(file.Close());
  EXPECT_THAT(ListFiles(folder, ""), ElementsAre(folder + "\\" + kUnicodeName));
  EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(directory.Path()) /
                                      L"Gr\u00F6\u00DFe \u8CEA\u91CF" /
                                      L"Gr\u00F6\u00DFe \u8CEA\u91CF"));
}
TEST(Path, MayBeLongerThanTheLimitOfOlderPrograms) {
  const TemporaryDirectory directory;
  std::string folder = directory.Path();
  while (folder.size() < 600) folder += "\\" + std::string(50, 'x');
  ASSERT_TRUE(MakeDirectoryTree(folder));
  EXPECT_TRUE(IsDirectory(folder));
  const std::string from = folder + "/a";  // this form of path has no '/' itself
  File file = File::Open(from, "w");
  ASSERT_TRUE(file.Write("x"));
  ASSERT_TRUE(file.Close());
  EXPECT_TRUE(RenameFileAt(from, folder + "\\b"));
  EXPECT_THAT(ListFiles(folder, "b"), ElementsAre(folder + "\\b"));
  EXPECT_TRUE(DeleteFileAt(folder + "\\b"));
}
TEST(Path, MayBeShortAndLeadBeyondThatLimit) {
  const TemporaryDirectory directory;
  std::string folder = directory.Path();
  while (folder.size() < 200) folder += "\\" + std::string(20, 'x');
  ASSERT_TRUE(MakeDirectoryTree(folder));
  const std::filesystem::path former = std::filesystem::current_path();
  std::filesystem::current_path(folder);
  const std::string name(100, 'y');
  test::WriteFile("a", "x");
  EXPECT_TRUE(RenameFileAt("a", name));
  EXPECT_EQ(File::Open(name, "r").SizeBytes(), 1);
  EXPECT_TRUE(DeleteFileAt(name));
  EXPECT_TRUE(MakeDirectoryTree(name));
  EXPECT_TRUE(IsDirectory(name));
  std::filesystem::current_path(former);
}
TEST(Path, OfADriveAloneIsItsRoot) {
  const std::filesystem::path former = std::filesystem::current_path();
  std::filesystem::current_path("C:\\windows\\system32");
  EXPECT_EQ(ListDirectoryNames("C:"), ListDirectoryNames("C:\\"));
  EXPECT_NE(ListDirectoryNames("C:"), ListDirectoryNames("."));
  std::filesystem::current_path(former);
}
TEST(Path, OfARootCanBeJoined) {
  EXPECT_EQ(JoinPath({"D:\\", "x", "1.raw"}), "D:\\x\\1.raw");
  EXPECT_EQ(JoinPath({"D:", "1.raw"}), "D:\\1.raw");
}
TEST(Path, OfAMissingDriveCannotBeMade) { EXPECT_FALSE(MakeDirectoryTree("Q:\\a\\b")); }
TEST(Path, ListsWithEitherSeparatorAtItsEnd) {
  const TemporaryDirectory directory;
  test::WriteFile(directory / "a", "");
  EXPECT_EQ(ListDirectoryNames(directory.Path() + "\\"), ListDirectoryNames(directory.Path()));
  EXPECT_EQ(ListDirectoryNames(directory.Path() + "/"), ListDirectoryNames(directory.Path()));
}
TEST(Path, WithAWildcardIsNoDirectory) { EXPECT_FALSE(IsDirectory("C:\\win*")); }

TEST(ExecutableDirectory, HoldsThisProgram) {
  EXPECT_TRUE(std::filesystem::exists(ExecutableDirectory() + "\\Utils_test.exe"));
}
TEST(RenameFileAt, ReplacesAFileThatIsBeingRead) {
  const TemporaryDirectory directory;
  test::WriteFile(directory / "new", "new");
  test::WriteFile(directory / "old", "old");
  const File reader = File::Open(directory / "new", "r");
  EXPECT_TRUE(RenameFileAt(directory / "new", directory / "old"));
  EXPECT_EQ(test::ReadFile(directory / "old"), "new");
}

// ------------------------------------------------------------ environment and child processes

TEST(EnvironmentVariable, IsNothingWhenItIsNotSet) {
  EXPECT_EQ(EnvironmentVariable("TARVEK_NO_SUCH_VARIABLE"), std::nullopt);
}
TEST(EnvironmentVariable, IsItsValue) {
  EXPECT_THAT(EnvironmentVariable("SystemRoot").value_or(""), testing::HasSubstr(":\\"));
}

TEST(ChildProcess, GivesItsOutputLineByLineWithCarriageReturns) {
  EXPECT_THAT(PiecesOf("echo a&& echo b"), ElementsAre("a\r\n", "b\r\n"));
}
TEST(ChildProcess, EndsWithAnotherStatusWhenItIsNotThere) {
  EXPECT_NE(StatusOf(".\\no_such_program.exe -ms -o \"out\" \"a b.raw\" 2>nul"), 0);
}

std::string TextOfProgram(const std::vector<std::string>& words) {
  ChildProcess child = ChildProcess::Start(words);
  std::string text;
  for (std::string piece; child.IsRunning() && child.ReadLine(piece);) text += piece;
  return child.IsRunning() ? text : child.Failure();
}

TEST(ChildProcess, LooksForAProgramOnThePath) {
  EXPECT_THAT(TextOfProgram({"cmd", "/c", "echo a"}), testing::HasSubstr("a"));
  EXPECT_THAT(TextOfProgram({"CMD.EXE", "/c", "echo a"}), testing::HasSubstr("a"));
}
TEST(ChildProcess, DoesNotTakeAProgramOfTheCurrentDirectory) {
  const TemporaryDirectory directory;
  test::WriteFile(directory / "converter.bat", "@echo taken\r\n");
  const std::filesystem::path former = std::filesystem::current_path();
  std::filesystem::current_path(directory.Path());
  EXPECT_EQ(TextOfProgram({"converter"}), "No such file or directory");
  EXPECT_EQ(TextOfProgram({".\\converter"}), "taken\r\n");
  std::filesystem::current_path(former);
}
TEST(ChildProcess, GivesABatchFileWhatItsShellLeavesAlone) {
  const TemporaryDirectory directory;
  const std::string batch = directory / "a & b.cmd";
  test::WriteFile(batch, "@\"" + test::BackgroundChild() + "\" arguments %*\r\n");
  EXPECT_EQ(TextOfProgram({batch, "a b", "x&echo y", "<>|^()!,;="}), "a b|x&echo y|<>|^()!,;=|");
}
TEST(ChildProcess, RefusesABatchFileWhatItsShellActsOn) {
  const TemporaryDirectory directory;
  const std::string batch = directory / "a.bat";
  test::WriteFile(batch, "@echo taken\r\n");
  EXPECT_EQ(TextOfProgram({batch, "x"}), "taken\r\n");
  for (const std::string text : {"100%", "%PATH%", "a\"&echo", "a\nb"})
    EXPECT_THAT(TextOfProgram({batch, text}), testing::StartsWith("a batch file cannot be given"));
}

TEST(QuotedForShell, PutsAPlainPathInQuotesAndNothingElse) {
  EXPECT_EQ(QuotedForShell("D:\\a b\\c.raw"), "\"D:\\a b\\c.raw\"");
}

// The shell of wine keeps the '^', so the text alone is tested.
TEST(QuotedForShell, BreaksNamesOfVariables) {
  EXPECT_EQ(QuotedForShell("D:\\a%PATH%\\"), "\"D:\\a\"^%\"PATH\"^%\"\\\\\"");
}

}  // namespace
}  // namespace tarvek
