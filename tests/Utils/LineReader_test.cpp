#include "LineReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <string>

#include "TestSupport.h"

namespace tarvek {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> PiecesOf(const std::string& path) {
  File file = File::Open(path, "r");
  LineReader reader(file);
  std::vector<std::string> pieces;
  std::string_view piece;
  while (reader.ReadPiece(piece)) pieces.emplace_back(piece);
  return pieces;
}

std::vector<std::string> Pieces(std::string_view content) {
  const test::TemporaryDirectory directory;
  const std::string path = directory / "lines.txt";
  test::WriteFile(path, content);
  return PiecesOf(path);
}

// The slow twin.
std::vector<std::string> PiecesOfFgets(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                             &std::fclose);
  std::vector<std::string> pieces;
  char line[kMaxLineLength];
  while (std::fgets(line, sizeof line, file.get()) != nullptr) pieces.emplace_back(line);
  return pieces;
}

TEST(LineReader, FindsNothingInAnEmptyFile) { EXPECT_THAT(Pieces(""), IsEmpty()); }
TEST(LineReader, KeepsTheLineFeeds) {
  EXPECT_THAT(Pieces("a\n\nb\n"), ElementsAre("a\n", "\n", "b\n"));
}
TEST(LineReader, KeepsCarriageReturns) {
  EXPECT_THAT(Pieces("a\r\nb\r\n"), ElementsAre("a\r\n", "b\r\n"));
}
TEST(LineReader, GivesALastLineWithoutItsLineFeed) {
  EXPECT_THAT(Pieces("a\nb"), ElementsAre("a\n", "b"));
}
TEST(LineReader, GivesALineOf1022BytesAndALineFeedWhole) {
  const std::string line(1022, 'x');
  EXPECT_THAT(Pieces(line + "\nb\n"), ElementsAre(line + "\n", "b\n"));
}
TEST(LineReader, CutsTheLineFeedOffALineOf1023Bytes) {
  const std::string line(1023, 'x');
  EXPECT_THAT(Pieces(line + "\nb\n"), ElementsAre(line, "\n", "b\n"));
}
TEST(LineReader, CutsALineOf1024BytesAfter1023) {
  EXPECT_THAT(Pieces(std::string(1024, 'x') + "\nb\n"),
              ElementsAre(std::string(1023, 'x'), "x\n", "b\n"));
}
TEST(LineReader, EndsOnceAfterALastPieceOfFullLength) {
  EXPECT_THAT(Pieces(std::string(1023, 'x')), ElementsAre(std::string(1023, 'x')));
}
TEST(LineReader, EndsAPieceAtANulByteAndSkipsTheRestOfTheLine) {
  using namespace std::string_view_literals;
  EXPECT_THAT(Pieces("a\0b\nc\n"sv), ElementsAre("a", "c\n"));
}
TEST(LineReader, GivesAnEmptyPieceForALineThatBeginsWithANulByte) {
  using namespace std::string_view_literals;
  EXPECT_THAT(Pieces("\0b\nc\n"sv), ElementsAre("", "c\n"));
}
TEST(LineReader, StaysAtTheEnd) {
  const test::TemporaryDirectory directory;
  test::WriteFile(directory / "a", "x\n");
  File file = File::Open(directory / "a", "r");
  LineReader reader(file);
  std::string_view piece;
  EXPECT_TRUE(reader.ReadPiece(piece));
  EXPECT_FALSE(reader.ReadPiece(piece));
  EXPECT_FALSE(reader.ReadPiece(piece));
}
TEST(LineReader, ReportsAReadThatFails) {
  // The first page of this process's memory cannot be read.
  File file = File::Open("/proc/self/mem", "r");
  if (!file.IsOpen()) GTEST_SKIP() << "no /proc/self/mem";
  LineReader reader(file);
  std::string_view piece;
  EXPECT_EQ(test::MessageOf([&] { reader.ReadPiece(piece); }), "Cannot read /proc/self/mem");
}

// Lines of length bytes up to the end of the first block, so that the block border cuts a line at
// every place.
TEST(LineReader, AgreesWithFgetsAcrossTheBlockBorder) {
  constexpr std::size_t kBlockBytes = std::size_t{1} << 18;
  const test::TemporaryDirectory directory;
  const std::string path = directory / "lines.txt";
  for (std::size_t before = 0; before < 1100; before += 9) {
    SCOPED_TRACE(before);
    std::string content;
    while (content.size() < kBlockBytes - before - 64) content += std::string(63, 'a') + "\n";
    content.resize(kBlockBytes - before - 1, 'b');
    content += "\n" + std::string(1020, 'c') + "\n" + std::string(2500, 'd') + "\ne";
    test::WriteFile(path, content);
    ASSERT_EQ(PiecesOf(path), PiecesOfFgets(path));
  }
}

TEST(LineReader, AgreesWithFgetsOnRandomFiles) {
  const test::TemporaryDirectory directory;
  const std::string path = directory / "lines.txt";
  for (unsigned seed = 0; seed < 60; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const std::uint32_t longest = std::vector<unsigned>{3, 100, 1030, 5000}[seed % 4];
    const unsigned nul_every = seed % 3 == 0 ? 500 : 1000000;
    std::string content;
    while (content.size() < (seed % 2 == 0 ? 700000u : 3000u)) {
      for (auto length = random() % longest; length > 0; --length)
        content += random() % nul_every == 0 ? '\0' : static_cast<char>('a' + random() % 26);
      if (random() % 4 == 0) content += '\r';
      content += '\n';
    }
    if (seed % 5 == 0) content.pop_back();
    test::WriteFile(path, content);
    ASSERT_EQ(PiecesOf(path), PiecesOfFgets(path));
  }
}

}  // namespace
}  // namespace tarvek
