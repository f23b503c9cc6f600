#include "OutputFile.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "TestSupport.h"

namespace tarvek {
namespace {

using namespace std::string_literals;

constexpr std::size_t kMoreThanOneBlock = 700000;

class OutputFileTest : public testing::Test {
 protected:
  test::TemporaryDirectory m_directory;
  std::string m_path = m_directory / "out.bin";
};

TEST_F(OutputFileTest, NamesThePurposeAndThePathItCannotOpen) {
  const std::string path = m_directory / "missing/out.csv";
  EXPECT_EQ(test::MessageOf([&] { OutputFile(path, "w", "CSV"); }),
            "Cannot open CSV File, Path: " + path);
}
TEST_F(OutputFileTest, WritesSmallPiecesInOrder) {
  OutputFile file(m_path, "w", "");
  file.Write("ab");
  file.Write("");
  file.Write("c\n");
  file.Close();
  EXPECT_EQ(test::ReadFile(m_path), "abc\n");
}
TEST_F(OutputFileTest, WritesMoreThanOneBlock) {
  std::string expected;
  OutputFile file(m_path, "w", "");
  while (expected.size() < kMoreThanOneBlock) {
    const std::string piece = std::to_string(expected.size()) + ",";
    expected += piece;
    file.Write(piece);
  }
  file.Close();
  EXPECT_EQ(test::ReadFile(m_path), expected);
}
TEST_F(OutputFileTest, TruncatesAnOlderFile) {
  test::WriteFile(m_path, "older and longer");
  OutputFile file(m_path, "w", "");
  file.Write("new");
  file.Close();
  EXPECT_EQ(test::ReadFile(m_path), "new");
}
TEST_F(OutputFileTest, AppendsInAppendMode) {
  test::WriteFile(m_path, "old ");
  OutputFile file(m_path, "a+", "");
  file.Write("new");
  file.Close();
  EXPECT_EQ(test::ReadFile(m_path), "old new");
}
TEST_F(OutputFileTest, CountsCollectedAndFlushedBytesInItsPosition) {
  OutputFile file(m_path, "w", "");
  EXPECT_EQ(file.PositionBytes(), 0);
  file.Write("abc");
  EXPECT_EQ(file.PositionBytes(), 3);
  file.Flush();
  EXPECT_EQ(file.PositionBytes(), 3);
  file.Write(std::string(kMoreThanOneBlock, 'x'));
  EXPECT_EQ(file.PositionBytes(), 700003);
}
TEST_F(OutputFileTest, ShowsItsBytesAfterAFlush) {
  OutputFile file(m_path, "w", "");
  file.Write("abc");
  file.Flush();
  EXPECT_EQ(test::ReadFile(m_path), "abc");
}
TEST_F(OutputFileTest, OverwritesTheFirstBytes) {
  OutputFile file(m_path, "w", "");
  file.Write("0000rest");
  file.OverwriteStart("1234");
  file.Close();
  EXPECT_EQ(test::ReadFile(m_path), "1234rest");
}
TEST_F(OutputFileTest, OverwritesTheFirstBytesOfAFileOfSeveralBlocks) {
  OutputFile file(m_path, "w", "");
  file.Write("0000");
  file.Write(std::string(kMoreThanOneBlock, 'x'));
  file.OverwriteStart("1234");
  file.Close();
  EXPECT_EQ(test::ReadFile(m_path), "1234" + std::string(kMoreThanOneBlock, 'x'));
}
TEST_F(OutputFileTest, CannotOverwriteTheStartOfAPipeLikeFile) {
  test::TemporaryDirectory directory;
  OutputFile file("/dev/full", "w", "");
  EXPECT_EQ(test::MessageOf([&] { file.OverwriteStart("1234"); }), "Cannot write /dev/full");
}
TEST_F(OutputFileTest, ClosesTwiceWithoutHarm) {
  OutputFile file(m_path, "w", "");
  file.Write("abc");
  file.Close();
  file.Close();
  EXPECT_FALSE(file.IsOpen());
  EXPECT_EQ(test::ReadFile(m_path), "abc");
}
TEST_F(OutputFileTest, WritesWhatItCollectedWhenItIsDestroyed) {
  { OutputFile(m_path, "w", "").Write("abc"); }
  EXPECT_EQ(test::ReadFile(m_path), "abc");
}
TEST_F(OutputFileTest, WritesOnceAfterItWasMoved) {
  {
    OutputFile file(m_path, "w", "");
    file.Write("abc");
    OutputFile moved(std::move(file));
    moved.Write("d");
  }
  EXPECT_EQ(test::ReadFile(m_path), "abcd");
}

TEST(OutputFileOnAFullDevice, FailsToFlush) {
  OutputFile file("/dev/full", "w", "");
  file.Write("abc");
  EXPECT_EQ(test::MessageOf([&] { file.Flush(); }), "Cannot write /dev/full");
}
TEST(OutputFileOnAFullDevice, FailsToClose) {
  OutputFile file("/dev/full", "w", "");
  file.Write("abc");
  EXPECT_EQ(test::MessageOf([&] { file.Close(); }), "Cannot write /dev/full");
}
TEST(OutputFileOnAFullDevice, FailsAsSoonAsABlockIsFull) {
  OutputFile file("/dev/full", "w", "");
  EXPECT_EQ(test::MessageOf([&] { file.Write(std::string(kMoreThanOneBlock, 'x')); }),
            "Cannot write /dev/full");
}
TEST(OutputFileOnAFullDevice, IsDestroyedInSilence) {
  EXPECT_NO_THROW({ OutputFile("/dev/full", "w", "").Write("abc"); });
}

}  // namespace
}  // namespace tarvek
