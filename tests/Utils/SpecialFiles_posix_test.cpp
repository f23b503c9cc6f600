// Pipes and devices where files are expected, and names that end with a backslash.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <string>

#include "FileUtils.h"
#include "Platform.h"
#include "TestSupport.h"
#include "UnfinishedFile.h"

namespace tarvek {
namespace {

class SpecialFiles : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(::mkfifo(m_pipe.c_str(), 0600), 0); }

  test::TemporaryDirectory m_directory;
  std::string m_pipe = m_directory / "a_unfinished";
};

TEST_F(SpecialFiles, APipeIsToldFromFilesAndFromNamesOfTheSystem) {
  test::WriteFile(m_directory / "file", "");
  EXPECT_TRUE(IsNamedPipe(m_pipe));
  EXPECT_FALSE(IsNamedPipe(m_directory / "file"));
  EXPECT_FALSE(IsNamedPipe(m_directory / "nothing"));
  EXPECT_FALSE(IsNamedPipe("/dev/stdin"));
}

TEST_F(SpecialFiles, NobodyWaitsForAPipeInPlaceOfAnOwnFile) {
  EXPECT_EQ(test::MessageOf([&] { OpenOwnFile(m_pipe, "table"); }),
            "Cannot open table File, Path: " + m_pipe);
}

TEST_F(SpecialFiles, APipeAtATemporaryNameIsReplaced) {
  UnfinishedForm form;
  form.m_is_locked = true;
  UnfinishedFile file(m_directory / "a", "table", form);
  file.File().Write("content");
  file.TakeName();
  EXPECT_EQ(test::ReadFile(m_directory / "a"), "content");
  EXPECT_TRUE(std::filesystem::is_regular_file(m_directory / "a"));
}

TEST_F(SpecialFiles, ALinkInSharedMemoryIsReplacedAsElsewhere) {
  const std::filesystem::path folder = "/dev/shm/tarvek_test_" + std::to_string(::getpid());
  std::error_code error;
  if (!std::filesystem::create_directory(folder, error)) GTEST_SKIP() << "no /dev/shm to write in";
  const std::string victim = m_directory / "victim";
  test::WriteFile(victim, "victim");
  std::filesystem::create_symlink(victim, folder / "link");
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_TRUE(File::Open(folder / "link", "w").Write("content"));
  EXPECT_TRUE(IsNamedPipe(folder / "pipe"));
  EXPECT_EQ(test::ReadFile(victim), "victim");
  EXPECT_EQ(test::ReadFile(folder / "link"), "content");
  std::filesystem::remove_all(folder);
}

TEST_F(SpecialFiles, APipeInPlaceOfTheOutputsOfAChildIsReplaced) {
  BackgroundProcess child = BackgroundProcess::Start({"/bin/echo", "said"}, m_pipe);
  ASSERT_TRUE(child.IsRunning());
  std::optional<int> status;
  while (!(status = child.Poll())) BackgroundProcess::WaitForAny({&child, 1}, 1000);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(test::ReadFile(m_pipe), "said\n");
}

TEST_F(SpecialFiles, ADeviceIsReadByItsOwnNameAlone) {
  EXPECT_TRUE(File::Open("/dev/zero", "r").IsOpen());
  std::filesystem::create_symlink("/dev/zero", m_directory / "zero");
  EXPECT_FALSE(File::Open(m_directory / "zero", "r").IsOpen());
}

TEST_F(SpecialFiles, AnInputThatCannotBeReadIsNotPassedOver) {
  const std::string loop = m_directory / "run.ms1";
  std::filesystem::create_symlink("run.ms1", loop);
  EXPECT_FALSE(FileExists(loop));
  EXPECT_THAT(ListFiles(loop, ".ms1"), testing::ElementsAre(loop));
}

TEST_F(SpecialFiles, ABackslashAtTheEndOfANameThatIsThereStays) {
  const std::string folder = m_directory / "a\\";
  EXPECT_EQ(JoinPath({folder, "b"}), m_directory / "a/b");
  std::filesystem::create_directory(folder);
  EXPECT_EQ(JoinPath({folder, "b"}), folder + "/b");
  EXPECT_EQ(JoinPath({m_directory.Path(), "a\\", "b"}), folder + "/b");
  EXPECT_EQ(JoinPath({folder + "/", "b"}), folder + "/b");
  EXPECT_EQ(WithoutTrailingSeparators(folder), folder);
  EXPECT_EQ(WithoutTrailingSeparators(folder + "//"), folder);
}

}  // namespace
}  // namespace tarvek
