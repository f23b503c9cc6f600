#include "SpectrumFile.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <optional>
#include <stdexcept>
#include <vector>

#include "Logger.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;
using test::MessageOf;
using test::TemporaryDirectory;
using test::WriteFile;

class PlainReader final : public SpectrumReader {
 public:
  explicit PlainReader(const std::string& path, std::size_t read_buffer_bytes = 0,
                       Announce announce = Announce::kYes)
      : SpectrumReader(path, "r", "Plain", logMessage, read_buffer_bytes, announce) {}
  static PlainReader Unannounced(const std::string& path) {
    return PlainReader(path, 0, Announce::kNo);
  }
  using SpectrumFile::CountRecord;
  using SpectrumReader::ReadLine;
  using SpectrumReader::Stream;
};

class PlainWriter final : public SpectrumWriter {
 public:
  explicit PlainWriter(const std::string& path, NoticeTaker notice = logMessage)
      : SpectrumWriter(path, "w+", "Plain", notice) {}
  using SpectrumFile::CountRecord;
  using SpectrumWriter::Stream;
};

std::vector<std::string> LinesOf(PlainReader& reader) {
  std::vector<std::string> lines;
  std::string_view line;
  while (reader.ReadLine(line)) lines.emplace_back(line);
  return lines;
}

std::vector<std::string> LinesOf(const std::string& content, std::size_t read_buffer_bytes) {
  const TemporaryDirectory directory;
  WriteFile(directory / "lines", content);
  std::vector<std::string> lines;
  CaptureConsole([&] {
    PlainReader reader(directory / "lines", read_buffer_bytes);
    lines = LinesOf(reader);
  });
  return lines;
}

TEST(SpectrumFile, AnnouncesTheFileBeforeItOpensIt) {
  const TemporaryDirectory directory;
  const std::string path = directory / "missing";
  const auto console = CaptureConsole([&] { MessageOf([&] { PlainReader reader(path); }); });
  EXPECT_EQ(console.m_out, "[Tarvek] <INFO> - Start to process " + path + "\n");
}

TEST(SpectrumFile, ReportsAMissingFileWithItsPurposeWord) {
  const TemporaryDirectory directory;
  const std::string path = directory / "missing";
  std::string message;
  CaptureConsole([&] { message = MessageOf([&] { PlainReader reader(path); }); });
  EXPECT_EQ(message, "Cannot open Plain File, Path: " + path);
}

TEST(SpectrumFile, CanLeaveTheStartUnannounced) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a", "");
  const auto console = CaptureConsole([&] {
    PlainReader reader = PlainReader::Unannounced(directory / "a");
    reader.Finish();
  });
  EXPECT_EQ(console.m_out.find("Start to process"), std::string::npos);
}

TEST(SpectrumFile, FinishLogsClosedFinishedAndTheRecordCount) {
  const TemporaryDirectory directory;
  const std::string path = directory / "a";
  WriteFile(path, "");
  std::optional<PlainReader> reader;
  CaptureConsole([&] { reader.emplace(path); });
  reader->CountRecord();
  reader->CountRecord();
  const auto console = CaptureConsole([&] { reader->Finish(); });
  EXPECT_EQ(console.m_out, "[Tarvek] <INFO> - Closed " + path +
                               "\n[Tarvek] <INFO> - Finished Operations on " + path +
                               "\n[Tarvek] <INFO> - Scan Number in " + path + ": 2\n");
}

TEST(SpectrumFile, SaysNothingMoreOnceItIsFinished) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a", "");
  std::optional<PlainReader> reader;
  CaptureConsole([&] {
    reader.emplace(directory / "a");
    reader->Finish();
  });
  const auto console = CaptureConsole([&] {
    reader->Finish();
    reader.reset();
  });
  EXPECT_EQ(console.m_out, "");
}

TEST(SpectrumFile, LogsClosedWhenItIsDestroyedWhileOpen) {
  const TemporaryDirectory directory;
  const std::string path = directory / "a";
  std::optional<PlainWriter> writer;
  CaptureConsole([&] { writer.emplace(path); });
  const auto console = CaptureConsole([&] { writer.reset(); });
  EXPECT_EQ(console.m_out, "[Tarvek] <INFO> - Closed " + path + "\n");
}

TEST(SpectrumFile, GivesItsNoticesToTheirTakerAlone) {
  static std::string notices;
  notices.clear();
  const TemporaryDirectory directory;
  const std::string path = directory / "a";
  const auto console = CaptureConsole([&] {
    PlainWriter writer(path, [](std::string_view level, std::string_view text) {
      notices.append(level).append(": ").append(text) += '\n';
    });
    writer.Finish();
  });
  EXPECT_EQ(notices, "INFO: Start to process " + path + "\nINFO: Closed " + path +
                         "\nINFO: Finished Operations on " + path + "\nINFO: Scan Number in " +
                         path + ": 0\n");
  EXPECT_EQ(console.m_out + console.m_err, "");
}

TEST(SpectrumFile, KnowsPathModeAndState) {
  const TemporaryDirectory directory;
  CaptureConsole([&] {
    PlainWriter writer(directory / "a");
    EXPECT_EQ(writer.Path(), directory / "a");
    EXPECT_EQ(writer.Mode(), "w+");
    EXPECT_TRUE(writer.IsOpen());
    EXPECT_EQ(writer.RecordCount(), 0);
    writer.Finish();
    EXPECT_FALSE(writer.IsOpen());
  });
}

TEST(SpectrumReader, LeavesEveryByteToABinaryFormat) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a", "\x01\x02\x03");
  CaptureConsole([&] {
    PlainReader reader(directory / "a");
    char bytes[4] = {};
    EXPECT_EQ(reader.Stream().Read(bytes, 4), 3u);
    EXPECT_EQ(std::string(bytes, 3), "\x01\x02\x03");
  });
}

TEST(SpectrumReader, DoesNotFinishAFileThatBecameShorter) {
  const TemporaryDirectory directory;
  const std::string path = directory / "a";
  WriteFile(path, "one\ntwo\n");
  std::string message;
  CaptureConsole([&] {
    PlainReader reader(path);
    std::filesystem::resize_file(path, 4);
    std::string_view line;
    while (reader.ReadLine(line)) {
    }
    message = MessageOf([&] { reader.Finish(); });
  });
  EXPECT_EQ(message, "Cannot read " + path + ": it became shorter while it was read.");
}
TEST(SpectrumReader, FinishesAFileThatGrew) {
  const TemporaryDirectory directory;
  const std::string path = directory / "a";
  WriteFile(path, "one\n");
  std::string message;
  CaptureConsole([&] {
    PlainReader reader(path);
    std::filesystem::resize_file(path, 400);
    message = MessageOf([&] { reader.Finish(); });
  });
  EXPECT_EQ(message, test::kNothingThrown);
}
TEST(SpectrumReader, DeliversLongLinesInPiecesWhenUnbuffered) {
  EXPECT_EQ(LinesOf(std::string(2500, 'a') + "\nb\n", 0),
            (std::vector<std::string>{std::string(1023, 'a'), std::string(1023, 'a'),
                                      std::string(454, 'a') + "\n", "b\n"}));
}

TEST(SpectrumReader, KeepsTheEndOfLineWhenUnbuffered) {
  EXPECT_EQ(LinesOf("a\r\nb\nc", 0), (std::vector<std::string>{"a\r\n", "b\n", "c"}));
}

TEST(SpectrumReader, ConsumesTheEndOfLineWhenBuffered) {
  EXPECT_EQ(LinesOf("a\r\nb\n\n", 16), (std::vector<std::string>{"a\r", "b", ""}));
}

TEST(SpectrumReader, AcceptsALineOf1023CharactersWhenBuffered) {
  EXPECT_EQ(LinesOf(std::string(1023, 'a') + "\n", 4096),
            std::vector<std::string>{std::string(1023, 'a')});
}

TEST(SpectrumReader, Refuses1024CharactersWithoutEndOfLineWhenBuffered) {
  EXPECT_EQ(MessageOf([] { LinesOf(std::string(1024, 'a') + "\n", 4096); }),
            "Line " + std::string(1024, 'a') + " is too long!");
}

TEST(SpectrumReader, EndsAtAZeroByteForGoodWhenBuffered) {
  using namespace std::string_literals;
  const TemporaryDirectory directory;
  WriteFile(directory / "a", "a\nb\0c\nd\n"s);
  CaptureConsole([&] {
    PlainReader reader(directory / "a", 64);
    EXPECT_EQ(LinesOf(reader), std::vector<std::string>{"a"});
    EXPECT_EQ(LinesOf(reader), std::vector<std::string>{});
  });
}

TEST(SpectrumReader, LeavesOutALastLineWithoutEndOfLineWhenBuffered) {
  EXPECT_EQ(LinesOf("a\nb", 64), std::vector<std::string>{"a"});
}

TEST(SpectrumReader, ReadsTheSameLinesWithEveryBufferSize) {
  const std::string content = "first\n\nthird line\n" + std::string(40, 'x') + "\n";
  const std::vector<std::string> lines{"first", "", "third line", std::string(40, 'x')};
  for (std::size_t size = 1; size <= content.size() + 1; ++size) {
    SCOPED_TRACE(size);
    EXPECT_EQ(LinesOf(content, size), lines);
  }
}

TEST(SpectrumWriter, ReportsAFailedWriteWhenItFinishes) {
  std::string message;
  const auto console = CaptureConsole([&] {
    PlainWriter writer("/dev/full");
    writer.Stream().Write("text");
    message = MessageOf([&] { writer.Finish(); });
  });
  EXPECT_EQ(message, "Cannot write /dev/full");
  EXPECT_EQ(console.m_out.find("Finished Operations"), std::string::npos);
}

TEST(SpectrumWriter, WritesWhatItHasWhenAnErrorUnwindsIt) {
  const TemporaryDirectory directory;
  CaptureConsole([&] {
    MessageOf([&] {
      PlainWriter writer(directory / "a");
      writer.Stream().Write("so far");
      throw std::runtime_error("elsewhere");
    });
  });
  EXPECT_EQ(test::ReadFile(directory / "a"), "so far");
}

}  // namespace
}  // namespace tarvek
