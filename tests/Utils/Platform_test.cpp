#include "Platform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ChildText.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::PiecesOf;
using test::StatusOf;
using test::ThroughTheShell;
using testing::IsEmpty;
using testing::IsSupersetOf;

// "Größe" and "質量" in UTF-8
constexpr const char* kUnicodeName =
    "Gr\xC3\xB6\xC3\x9F"
    "e \xE8\xB3\xAA\xE9\x87\x8F";

class FileTest : public testing::Test {
 protected:
  std::string ReadUpTo(File& file, std::size_t size) {
    std::string bytes(size, '\0');
    bytes.resize(file.Read(bytes.data(), size));
    return bytes;
  }
  test::TemporaryDirectory m_directory;
  std::string m_path = m_directory / "a";
};

TEST_F(FileTest, IsNotOpenByDefault) { EXPECT_FALSE(File().IsOpen()); }
TEST_F(FileTest, IsNotOpenForAMissingPath) { EXPECT_FALSE(File::Open(m_path, "r").IsOpen()); }
TEST_F(FileTest, IsNotOpenForADirectory) {
  EXPECT_FALSE(File::Open(m_directory.Path(), "r").IsOpen());
}
TEST_F(FileTest, ReadModeDoesNotMakeAFile) {
  static_cast<void>(File::Open(m_path, "rb"));
  EXPECT_FALSE(std::filesystem::exists(m_path));
}
TEST_F(FileTest, ReadsUpToTheEnd) {
  test::WriteFile(m_path, "abc");
  File file = File::Open(m_path, "rb");
  EXPECT_EQ(ReadUpTo(file, 2), "ab");
  EXPECT_EQ(ReadUpTo(file, 2), "c");
  EXPECT_EQ(ReadUpTo(file, 2), "");
}
TEST_F(FileTest, PassesEveryByteUnchanged) {
  std::string bytes;
  for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
  File file = File::Open(m_path, "w");
  EXPECT_TRUE(file.Write(bytes));
  EXPECT_TRUE(file.Close());
  EXPECT_EQ(test::ReadFile(m_path), bytes);
}
TEST_F(FileTest, WriteModeEmptiesTheFile) {
  test::WriteFile(m_path, "abc");
  static_cast<void>(File::Open(m_path, "wb+"));
  EXPECT_EQ(test::ReadFile(m_path), "");
}
TEST_F(FileTest, AppendModeWritesAtTheEndEvenAfterASeek) {
  test::WriteFile(m_path, "abc");
  File file = File::Open(m_path, "a+");
  EXPECT_TRUE(file.Seek(0));
  EXPECT_TRUE(file.Write("d"));
  EXPECT_EQ(test::ReadFile(m_path), "abcd");
}
TEST_F(FileTest, SeeksBeyondFourGigabytes) {
  File file = File::Open(m_path, "w+");
  constexpr std::int64_t kOffset = (std::int64_t{1} << 32) + 7;
  ASSERT_TRUE(file.Seek(kOffset));
  ASSERT_TRUE(file.Write("x"));
  EXPECT_EQ(std::filesystem::file_size(m_path), static_cast<std::uintmax_t>(kOffset) + 1);
}
TEST_F(FileTest, CannotSeekBeforeTheStart) {
  File file = File::Open(m_path, "w");
  EXPECT_FALSE(file.Seek(-1));
}
TEST_F(FileTest, ReportsAWriteThatFails) {
  test::WriteFile(m_path, "abc");
  File file = File::Open(m_path, "r");
  ASSERT_TRUE(file.IsOpen());
  EXPECT_FALSE(file.Write("x"));
}
TEST_F(FileTest, WritesNothingWithSuccess) {
  File file = File::Open(m_path, "w");
  ASSERT_TRUE(file.IsOpen());
  EXPECT_TRUE(file.Write(""));
}
TEST_F(FileTest, NamesThePathOfAReadThatFails) {
  File file = File::Open(m_path, "w");
  ASSERT_TRUE(file.Close());
  char byte = 0;
  EXPECT_EQ(test::MessageOf([&] { file.Read(&byte, 1); }), "Cannot read " + m_path);
}
TEST_F(FileTest, GivesItsFileAwayWhenMoved) {
  test::WriteFile(m_path, "abc");
  File file = File::Open(m_path, "r");
  File moved(std::move(file));
  EXPECT_FALSE(file.IsOpen());  // NOLINT(bugprone-use-after-move): the moved-from state is promised
  EXPECT_EQ(ReadUpTo(moved, 3), "abc");
}
TEST_F(FileTest, ClosesItsFormerFileWhenAssigned) {
  test::WriteFile(m_path, "abc");
  File file = File::Open(m_directory / "b", "w");
  file = File::Open(m_path, "r");
  EXPECT_EQ(ReadUpTo(file, 3), "abc");
}
TEST_F(FileTest, ClosesTwiceWithoutHarm) {
  File file = File::Open(m_path, "w");
  EXPECT_TRUE(file.Close());
  EXPECT_TRUE(file.Close());
}

TEST_F(FileTest, ListDirectoryNamesGivesEveryName) {
  test::WriteFile(m_directory / "x.txt", "");
  test::WriteFile(m_directory / ".hidden", "");
  const auto names = ListDirectoryNames(m_directory.Path());
  ASSERT_TRUE(names.has_value());
  EXPECT_THAT(*names, IsSupersetOf({"x.txt", ".hidden"}));
}
TEST_F(FileTest, ListDirectoryNamesGivesNothingForAFile) {
  test::WriteFile(m_path, "");
  EXPECT_FALSE(ListDirectoryNames(m_path).has_value());
}
TEST_F(FileTest, AbsolutePathBeginsAtTheRoot) {
  EXPECT_EQ(AbsolutePath(m_path), m_path);
  const std::string here = AbsolutePath("none");
  EXPECT_EQ(here, (std::filesystem::current_path() / "none").string());
}

TEST_F(FileTest, MakeDirectoryTreeMakesParents) {
  EXPECT_TRUE(MakeDirectoryTree(m_directory / "p/q"));
  EXPECT_TRUE(std::filesystem::is_directory(m_directory / "p/q"));
}
TEST_F(FileTest, MakeNewDirectoryTakesNothingThatIsThere) {
  const std::string path = m_directory / "new";
  EXPECT_TRUE(MakeNewDirectory(path));
  EXPECT_TRUE(IsDirectory(path));
  EXPECT_FALSE(MakeNewDirectory(path));
  test::WriteFile(m_path, "a file");
  EXPECT_FALSE(MakeNewDirectory(m_path));
  EXPECT_FALSE(MakeNewDirectory(path + "/none/q"));
}

TEST_F(FileTest, MakeDirectoryTreeFailsBelowAFile) {
  test::WriteFile(m_path, "");
  EXPECT_FALSE(MakeDirectoryTree(m_path + "/q"));
}
TEST_F(FileTest, DeleteFileAtDeletes) {
  test::WriteFile(m_path, "");
  EXPECT_TRUE(DeleteFileAt(m_path));
  EXPECT_FALSE(std::filesystem::exists(m_path));
}
TEST_F(FileTest, DeleteFileAtFailsForAMissingFile) { EXPECT_FALSE(DeleteFileAt(m_path)); }
TEST_F(FileTest, RenameFileAtFailsForAMissingFile) {
  EXPECT_FALSE(RenameFileAt(m_path, m_directory / "b"));
}

class FileLockTest : public FileTest {
 protected:
  [[nodiscard]] bool IsFree() const {
    const FileLock lock = FileLock::Take(m_path);
    EXPECT_EQ(lock.IsHeldElsewhere(), !lock.IsHeld());
    return lock.IsHeld();
  }
};

TEST_F(FileLockTest, MakesAMissingFile) {
  EXPECT_TRUE(IsFree());
  EXPECT_EQ(test::ReadFile(m_path), "");
}
TEST_F(FileLockTest, LeavesTheContent) {
  test::WriteFile(m_path, "abc");
  EXPECT_TRUE(IsFree());
  EXPECT_EQ(test::ReadFile(m_path), "abc");
}
TEST_F(FileLockTest, IsHeldOnce) {
  const FileLock lock = FileLock::Take(m_path);
  EXPECT_FALSE(IsFree());
}
TEST_F(FileLockTest, IsGivenBackAtTheEndOfItsLife) {
  { const FileLock lock = FileLock::Take(m_path); }
  EXPECT_TRUE(IsFree());
}
TEST_F(FileLockTest, StaysHeldWhenMoved) {
  FileLock lock = FileLock::Take(m_path);
  const FileLock moved = std::move(lock);
  EXPECT_TRUE(moved.IsHeld());
  EXPECT_FALSE(IsFree());
}
TEST_F(FileLockTest, DoesNotKeepItsHolderFromWritingTheFile) {
  const FileLock lock = FileLock::Take(m_path);
  File file = File::Open(m_path, "w+");
  EXPECT_TRUE(file.Write("abc"));
  EXPECT_TRUE(file.Close());
  EXPECT_FALSE(IsFree());
}
TEST_F(FileLockTest, GoesWithARenamedFile) {
  const FileLock lock = FileLock::Take(m_path);
  ASSERT_TRUE(RenameFileAt(m_path, m_directory / "b"));
  EXPECT_TRUE(IsFree());
  EXPECT_FALSE(FileLock::Take(m_directory / "b").IsHeld());
}
TEST_F(FileLockTest, IsOfTheNameAndNotOfTheFormerFile) {
  int held = 0;
  // Sooner or later the holder renames while others ask.
  for (int i = 0; i < 200 || (i < 2000 && held == 0); ++i) {
    FileLock lock = FileLock::Take(m_path);
    std::thread holder([&] {
      static_cast<void>(RenameFileAt(m_path, m_directory / "b"));
      lock = FileLock();
    });
    if (i % 2 != 0) std::this_thread::sleep_for(std::chrono::microseconds(5 * i));
    const FileLock next = FileLock::Take(m_path);
    holder.join();
    if (next.IsHeld()) {
      ++held;
      EXPECT_FALSE(IsFree());
    }
  }
  EXPECT_GT(held, 0);
}
TEST_F(FileLockTest, HoldsNothingWhereNoFileCanBe) {
  for (const std::string& path : {m_directory.Path(), m_directory / "none/a"}) {
    const FileLock lock = FileLock::Take(path);
    EXPECT_FALSE(lock.IsHeld());
    EXPECT_FALSE(lock.IsHeldElsewhere());
  }
}
TEST_F(FileLockTest, HoldsNoDevice) {
  const FileLock one = FileLock::Take("/dev/null");
  const FileLock two = FileLock::Take("/dev/null");
  EXPECT_FALSE(one.IsHeld() || two.IsHeldElsewhere());
}

TEST(DeleteDirectoryTree, DeletesFilesAndDirectoriesToAnyDepth) {
  const test::TemporaryDirectory directory;
  const std::string top = directory / "a";
  std::string folder = top;  // on Windows beyond the limit of older programs
  for (int i = 0; i < 6; ++i) {
    folder += kPathSeparator + std::string(60, 'x');
    ASSERT_TRUE(MakeDirectoryTree(folder));
    File file = File::Open(folder + kPathSeparator + "f", "w");
    EXPECT_TRUE(file.Write("x"));
  }
  test::WriteFile(directory / "beside", "x");
  EXPECT_TRUE(DeleteDirectoryTree(top));
  EXPECT_FALSE(IsDirectory(top));
  EXPECT_EQ(test::ReadFile(directory / "beside"), "x");
}
TEST(DeleteDirectoryTree, OfNothingLeavesNothing) {
  const test::TemporaryDirectory directory;
  EXPECT_TRUE(DeleteDirectoryTree(directory / "none"));
}

TEST(CurrentLocalTime, IsTheTimeOfTheClock) {
  const LocalTime time = CurrentLocalTime();
  std::tm fields{};
  fields.tm_year = time.m_year - 1900;
  fields.tm_mon = time.m_month - 1;
  fields.tm_mday = time.m_day;
  fields.tm_hour = time.m_hour;
  fields.tm_min = time.m_minute;
  fields.tm_sec = time.m_second;
  fields.tm_isdst = -1;
  EXPECT_NEAR(std::difftime(std::mktime(&fields), std::time(nullptr)), 0.0, 5.0);
  EXPECT_EQ(fields.tm_wday, time.m_weekday);
}
TEST(AsctimeText, PadsTheDayWithABlankAndTheClockWithZeros) {
  EXPECT_EQ(AsctimeText({2024, 3, 5, 9, 7, 3, 2}), "Tue Mar  5 09:07:03 2024\n");
}
TEST(AsctimeText, WritesTwoDigitsWhereThereAreTwo) {
  EXPECT_EQ(AsctimeText({2026, 11, 14, 23, 38, 5, 6}), "Sat Nov 14 23:38:05 2026\n");
}
TEST(AsctimeText, AgreesWithTheCLibraryThroughTheYear) {
  for (int day = 0; day < 366; ++day) {
    std::tm fields{};
    fields.tm_year = 124;
    fields.tm_mday = 1 + day;
    fields.tm_hour = 12;
    fields.tm_isdst = -1;
    ASSERT_NE(std::mktime(&fields), -1);
    EXPECT_EQ(AsctimeText({fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday, fields.tm_hour,
                           fields.tm_min, fields.tm_sec, fields.tm_wday}),
              std::asctime(&fields));
  }
}
TEST(MonotonicMilliseconds, CountsMilliseconds) {
  const std::int64_t start_ms = MonotonicMilliseconds();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  const std::int64_t elapsed_ms = MonotonicMilliseconds() - start_ms;
  EXPECT_GE(elapsed_ms, 20);
  EXPECT_LT(elapsed_ms, 20000);
}

TEST(ChildProcess, GivesNothingOfASilentChild) { EXPECT_THAT(PiecesOf("exit 0"), IsEmpty()); }
TEST(ChildProcess, IsAtItsEndWhenItsOutputIsClosed) {
  ChildProcess child = ChildProcess::Start("echo a");
  std::string line;
  EXPECT_TRUE(child.ReadLine(line));
  EXPECT_FALSE(child.AtEnd());
  EXPECT_FALSE(child.ReadLine(line));
  EXPECT_TRUE(child.AtEnd());
}
TEST(ChildProcess, EndsWithZero) { EXPECT_EQ(StatusOf("exit 0"), 0); }
TEST(ChildProcess, EndsWithAnotherStatus) { EXPECT_NE(StatusOf("exit 3"), 0); }
/// The output of a program that is started without a shell.
std::string TextOfProgram(const std::vector<std::string>& words) {
  ChildProcess child = ChildProcess::Start(words);
  EXPECT_TRUE(child.IsRunning()) << child.Failure();
  std::string text;
  for (std::string piece; child.IsRunning() && child.ReadLine(piece);) text += piece;
  EXPECT_EQ(child.Wait(), 0);
  return text;
}

TEST(ChildProcess, HandsArgumentsOnUnchanged) {
  const std::vector<std::string> texts = {"",
                                          "a b",
                                          "\"",
                                          "\\",
                                          "a\\\\\"b\\",
                                          "'",
                                          "$HOME $(echo x) `echo x`",
                                          "; & |",
                                          "%PATH%",
                                          "{in} {outdir}",
                                          "a\nb\tc",
                                          "< > ( ) ^ !",
                                          "-o",
                                          "--help"};
  std::vector<std::string> words = {test::BackgroundChild(), "arguments"};
  words.insert(words.end(), texts.begin(), texts.end());
  std::string expected;
  for (const std::string& text : texts) expected += text + "|";
  EXPECT_EQ(TextOfProgram(words), expected);
}
TEST(ChildProcess, GivesBothOutputsOfAProgram) {
  const std::string text = TextOfProgram({test::BackgroundChild(), "outputs"});
  EXPECT_THAT(text, testing::HasSubstr("out"));
  EXPECT_THAT(text, testing::HasSubstr("err"));
}
TEST(ChildProcess, GivesAProgramNoInput) { TextOfProgram({test::BackgroundChild(), "input"}); }
TEST(ChildProcess, EndsWithTheStatusOfAProgram) {
  const std::vector<std::string> words = {test::BackgroundChild(), "status", "3"};
  ChildProcess child = ChildProcess::Start(words);
  ChildProcess moved = std::move(child);
  EXPECT_EQ(moved.Wait(), 3);
  EXPECT_FALSE(moved.IsRunning());
  EXPECT_EQ(moved.Wait(), 0);
}
TEST(ChildProcess, SaysWhyAProgramDoesNotRun) {
  for (const std::string name : {"no_such_program", "./no_such_program"}) {
    const ChildProcess child = ChildProcess::Start(std::vector<std::string>{name, "x"});
    EXPECT_FALSE(child.IsRunning());
    EXPECT_EQ(child.Failure(), "No such file or directory");
  }
}

TEST(ChildProcess, IsOverAfterItsMove) {
  ChildProcess child = ChildProcess::Start("exit 0");
  const ChildProcess moved = std::move(child);
  EXPECT_FALSE(child.IsRunning());  // NOLINT(bugprone-use-after-move): that is the question
  EXPECT_TRUE(moved.IsRunning());
}

class ShellText : public testing::TestWithParam<const char*> {};

TEST_P(ShellText, ArrivesUnchanged) { EXPECT_EQ(ThroughTheShell(GetParam()), GetParam()); }
INSTANTIATE_TEST_SUITE_P(Platform, ShellText,
                         testing::Values("plain", "two  blanks ", "D:\\", "D:\\out\\\\",
                                         "\\\\host\\x",
                                         "a & b | c < d > e ^ f ( ) ; , = ' ` $ # ~ [ ] { }",
                                         "100%", "!PATH!", "\\%", "-o", "* ?", "\"quoted\"", "",
                                         kUnicodeName));

}  // namespace
}  // namespace tarvek
