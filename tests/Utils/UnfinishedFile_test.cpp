#include "UnfinishedFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "TestSupport.h"

namespace tarvek {
namespace {

namespace fs = std::filesystem;
using test::MessageOf;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;

TEST(UnfinishedFile, KeepsAnExistingFileUntilItTakesItsName) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a", "old");
  UnfinishedFile file(directory / "a", "test");
  file.File().Write("new");
  file.Close();
  EXPECT_EQ(ReadFile(directory / "a"), "old");
  file.TakeName();
  EXPECT_EQ(ReadFile(directory / "a"), "new");
}
TEST(UnfinishedFile, RemovesItsTemporaryFileWhenItNeverTookItsName) {
  const TemporaryDirectory directory;
  { UnfinishedFile(directory / "a", "test").File().Write("new"); }
  EXPECT_TRUE(fs::is_empty(directory.Path()));
}
TEST(UnfinishedFile, NeverDeletesTheFileThatItWrote) {
  const TemporaryDirectory directory;
  {
    UnfinishedFile file(directory / "a", "test");
    file.File().Write("new");
    file.TakeName();
  }
  EXPECT_TRUE(fs::exists(directory / "a"));
}

TEST(UnfinishedFile, MayBeClosedTwice) {
  const TemporaryDirectory directory;
  UnfinishedFile file(directory / "a", "test");
  file.File().Write("new");
  file.Close();
  file.Close();
  EXPECT_EQ(ReadFile(directory / "a_unfinished"), "new");
}
TEST(UnfinishedFile, TellsTheFirstErrorWhenTheTemporaryFileCannotBeRemovedEither) {
  const TemporaryDirectory directory;
  EXPECT_EQ(MessageOf([&] {
              UnfinishedFile file(directory / "a", "test");
              file.Close();
              fs::remove(directory / "a_unfinished");
              fs::create_directories(directory / "a_unfinished/full");
              throw std::string("the first error");
            }),
            "the first error");
}
TEST(UnfinishedFile, NamesTheTemporaryPathThatItCannotOpen) {
  EXPECT_EQ(MessageOf([] { UnfinishedFile("/nowhere/a", "test"); }),
            "Cannot open test File, Path: /nowhere/a_unfinished");
}

TEST(UnfinishedFile, ThatIsKeptStaysUnderItsTemporaryName) {
  const TemporaryDirectory directory;
  { UnfinishedFile(directory / "a", "test", {.m_is_kept = true}).File().Write("new"); }
  EXPECT_EQ(ReadFile(directory / "a_unfinished"), "new");
  EXPECT_FALSE(fs::exists(directory / "a"));
}
TEST(UnfinishedFile, ThatIsLockedKeepsAnotherHolderOutUntilItsEnd) {
  const TemporaryDirectory directory;
  {
    UnfinishedFile file(directory / "a", "test", {.m_is_locked = true});
    file.File().Write("new");
    file.Close();
    EXPECT_EQ(MessageOf([&] { UnfinishedFile(directory / "a", "test", {.m_is_locked = true}); }),
              "Another run is writing " + directory / "a_unfinished" +
                  ". Wait until it has ended, or choose another output directory.");
    EXPECT_EQ(ReadFile(directory / "a_unfinished"), "new");
    file.TakeName();
  }
  EXPECT_EQ(ReadFile(directory / "a"), "new");
  UnfinishedFile(directory / "a", "test", {.m_is_locked = true}).TakeName();
  EXPECT_EQ(ReadFile(directory / "a"), "");
}

TEST(UnfinishedFile, ThatWasRemovedWhileItWasWrittenIsAnError) {
  const TemporaryDirectory directory;
  for (const Naming naming : {Naming::kAtOnce, Naming::kWhenComplete}) {
    UnfinishedFile file(directory / "a", "test", {.m_naming = naming});
    fs::remove(file.TemporaryPath());
    EXPECT_EQ(MessageOf([&] { file.Close(); }),
              "Cannot finish " + directory / "a" + ": " + file.TemporaryPath() +
                  " was removed or replaced while it was written.");
  }
}
TEST(UnfinishedFile, ThatWasReplacedAfterItsEndIsAnError) {
  const TemporaryDirectory directory;
  WriteFile(directory / "planted", "planted");
  UnfinishedFile file(directory / "a", "test");
  file.Close();
  fs::rename(directory / "planted", file.TemporaryPath());
  EXPECT_NE(MessageOf([&] { file.TakeName(); }), test::kNothingThrown);
  EXPECT_FALSE(fs::exists(directory / "a"));
}

TEST(WriteWhole, ReplacesAFile) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a", "old");
  WriteWhole(directory / "a", "new", "test");
  EXPECT_EQ(ReadFile(directory / "a"), "new");
  EXPECT_FALSE(fs::exists(directory / "a_unfinished"));
}
TEST(WriteWhole, LeavesTheFormerFileAndNoOtherWhenItCannotWrite) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "needs /dev/full";
  const TemporaryDirectory directory;
  WriteFile(directory / "a", "old");
  fs::create_symlink("/dev/full", directory / "a_unfinished");
  EXPECT_EQ(MessageOf([&] { WriteWhole(directory / "a", "new", "test"); }),
            "Cannot write " + directory / "a_unfinished");
  EXPECT_EQ(ReadFile(directory / "a"), "old");
  EXPECT_FALSE(fs::is_symlink(directory / "a_unfinished"));
}

}  // namespace
}  // namespace tarvek
