#include "PfWriter.h"

#include <gtest/gtest.h>

#include <bit>
#include <filesystem>
#include <random>

#include "IoTestSupport.h"
#include "Logger.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;
using test::Describe;
using test::Int32Bytes;
using test::MessageOf;
using test::ReadFile;
using test::RealBytes;
using test::TemporaryDirectory;

/// Bit patterns: 1.0 is 3FF0..., 2.0 is 4000..., 0.5 is 3FE0..., 100.25 is 40591000...
constexpr std::uint64_t kOne = 0x3FF0000000000000u;
constexpr std::uint64_t kTwo = 0x4000000000000000u;
constexpr std::uint64_t kHalf = 0x3FE0000000000000u;
constexpr std::uint64_t kHundredAndAQuarter = 0x4059100000000000u;

struct PfBytes {
  std::string m_data;
  std::string m_index;
};

template <class Action>
PfBytes PfOf(const std::string& title, const Action& action) {
  const TemporaryDirectory directory;
  CaptureConsole([&] {
    PfWriter writer(directory / "a.pf", "wb+", title);
    action(writer);
    writer.Close();
  });
  return {ReadFile(directory / "a.pf"), ReadFile(directory / "a.pfidx")};
}

TEST(PfWriter, WritesAHeaderAloneWithoutScans) {
  const PfBytes bytes = PfOf("run1", [](PfWriter&) {});
  EXPECT_EQ(bytes.m_data, Int32Bytes(0) + Int32Bytes(4) + "run1");
  EXPECT_EQ(bytes.m_index, "");
}

TEST(PfWriter, WritesAHeaderWithoutTitle) {
  EXPECT_EQ(PfOf("", [](PfWriter&) {}).m_data, Int32Bytes(0) + Int32Bytes(0));
}

TEST(PfWriter, WritesTheHeaderAsSoonAsItIsOpen) {
  const TemporaryDirectory directory;
  CaptureConsole([&] {
    PfWriter writer(directory / "a.pf1", "wb+", "run1");
    EXPECT_EQ(ReadFile(directory / "a.pf1"), Int32Bytes(0) + Int32Bytes(4) + "run1");
    writer.WriteMs1({});
    writer.Close();
  });
}

TEST(PfWriter, GivesASurveyScanOnePrecursorOfItsRetentionTime) {
  const PfBytes bytes = PfOf("run1", [](PfWriter& writer) {
    writer.WriteMs1({258, 0.5, 9.0, "FT", {{100.25, 2.0}, {1.0, 0.5}}});
  });
  EXPECT_EQ(bytes.m_data, Int32Bytes(1) + Int32Bytes(4) + "run1" + Int32Bytes(258) + Int32Bytes(2) +
                              RealBytes(kHundredAndAQuarter) + RealBytes(kTwo) + RealBytes(kOne) +
                              RealBytes(kHalf) + Int32Bytes(1) + RealBytes(kHalf) + Int32Bytes(1));
}

TEST(PfWriter, WritesThePrecursorsOfAFragmentScan) {
  MS2Spectrum scan;
  scan.m_scan_no = 7;
  scan.m_rt = 99.0;
  scan.m_peaks = {{1.0, 2.0}};
  scan.m_orig_precursors = {{9.0, 9}};
  scan.m_precursors = {{100.25, 2}, {0.5, -3}};
  const PfBytes bytes = PfOf("run1", [&](PfWriter& writer) { writer.WriteMs2(scan); });
  EXPECT_EQ(bytes.m_data, Int32Bytes(1) + Int32Bytes(4) + "run1" + Int32Bytes(7) + Int32Bytes(1) +
                              RealBytes(kOne) + RealBytes(kTwo) + Int32Bytes(2) +
                              RealBytes(kHundredAndAQuarter) + Int32Bytes(2) + RealBytes(kHalf) +
                              "\xFD\xFF\xFF\xFF");
}

TEST(PfWriter, WritesAFragmentScanWithoutPrecursors) {
  MS2Spectrum scan;
  scan.m_scan_no = 7;
  const PfBytes bytes = PfOf("run1", [&](PfWriter& writer) { writer.WriteMs2(scan); });
  EXPECT_EQ(bytes.m_data,
            Int32Bytes(1) + Int32Bytes(4) + "run1" + Int32Bytes(7) + Int32Bytes(0) + Int32Bytes(0));
}

TEST(PfWriter, IndexesTheFirstByteOfEveryRecord) {
  const PfBytes bytes = PfOf("run1", [](PfWriter& writer) {
    writer.WriteMs1({3, 0.0, 0.0, "", {{1.0, 1.0}, {2.0, 1.0}}});  // 8 + 2 * 16 + 16 bytes
    writer.WriteMs1({5, 0.0, 0.0, "", {}});                        // 8 + 16 bytes
    writer.WriteMs1({4, 0.0, 0.0, "", {}});
  });
  EXPECT_EQ(bytes.m_index, Int32Bytes(3) + Int32Bytes(12) + Int32Bytes(5) + Int32Bytes(68) +
                               Int32Bytes(4) + Int32Bytes(92));
}

TEST(PfWriter, CountsAsManyRecordsAsTheIndexHasEntries) {
  const PfBytes bytes = PfOf("run1", [](PfWriter& writer) {
    for (int i = 0; i < 300; ++i) writer.WriteMs1({i, 0.0, 0.0, "", {}});
  });
  EXPECT_EQ(bytes.m_data.substr(0, 4), Int32Bytes(300));
  EXPECT_EQ(bytes.m_index.size(), 300u * 8u);
}

TEST(PfWriter, LogsItsEndAfterBothFilesAreClosed) {
  const TemporaryDirectory directory;
  const std::string path = directory / "a.pf1";
  const auto console = CaptureConsole([&] {
    PfWriter writer(path, "wb+", "run1", logMessage);
    writer.WriteMs1({});
    writer.Close();
    writer.Close();
  });
  const std::string prefix = "[Tarvek] <INFO> - ";
  EXPECT_EQ(console.m_out, prefix + "Start to process " + path + "\n" + prefix + "Closed " + path +
                               "\n" + prefix + "Finished Operations on " + path + "\n" + prefix +
                               "Scan Number in " + path + ": 1\n");
}

TEST(PfWriter, NamesTheDataFileThatCannotBeOpened) {
  std::string message;
  CaptureConsole(
      [&] { message = MessageOf([] { PfWriter writer("/nowhere/a.pf1", "wb+", "run1"); }); });
  EXPECT_EQ(message, "Cannot open PF File, Path: /nowhere/a.pf1");
}

TEST(PfWriter, NamesTheIndexFileThatCannotBeOpened) {
  const TemporaryDirectory directory;
  std::filesystem::create_directory(directory / "a.pf1idx");
  std::string message;
  CaptureConsole(
      [&] { message = MessageOf([&] { PfWriter writer(directory / "a.pf1", "wb+", "run1"); }); });
  EXPECT_EQ(message, "Cannot open PF index File, Path: " + (directory / "a.pf1idx"));
}

TEST(PfWriter, ReportsAFailedWriteOfTheHeader) {
  const TemporaryDirectory directory;
  std::filesystem::create_symlink("/dev/full", directory / "a.pf1");
  std::string message;
  CaptureConsole(
      [&] { message = MessageOf([&] { PfWriter writer(directory / "a.pf1", "wb+", "run1"); }); });
  EXPECT_EQ(message, "Cannot write " + (directory / "a.pf1"));
}

TEST(PfWriter, ReportsAFailedWriteOfTheIndexBeforeItLogsTheEnd) {
  const TemporaryDirectory directory;
  std::filesystem::create_symlink("/dev/full", directory / "a.pf1idx");
  std::string message;
  const auto console = CaptureConsole([&] {
    PfWriter writer(directory / "a.pf1", "wb+", "run1", logMessage);
    writer.WriteMs1({});
    message = MessageOf([&] { writer.Close(); });
  });
  EXPECT_EQ(message, "Cannot write " + (directory / "a.pf1idx"));
  EXPECT_EQ(console.m_out.find("Finished Operations"), std::string::npos);
}

/// Takes fields from the front of a byte string, as a user of the files would.
class FieldReader {
 public:
  explicit FieldReader(std::string bytes) : m_bytes(std::move(bytes)) {}
  std::int32_t Int32() { return static_cast<std::int32_t>(static_cast<std::uint32_t>(Bits(4))); }
  double Real() { return std::bit_cast<double>(Bits(8)); }
  std::string Text(std::size_t size) {
    m_at += size;
    return m_bytes.substr(m_at - size, size);
  }
  void MoveTo(std::int32_t offset) { m_at = static_cast<std::size_t>(offset); }
  bool AtEnd() const { return m_at == m_bytes.size(); }

 private:
  std::uint64_t Bits(std::size_t size) {
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < size; ++i)
      bits |= std::uint64_t{static_cast<unsigned char>(m_bytes.at(m_at++))} << (8 * i);
    return bits;
  }

  std::string m_bytes;
  std::size_t m_at = 0;
};

std::vector<MS2Spectrum> RandomScans(unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> value(-1e6, 1e6);
  std::uniform_int_distribution<int> count(0, 400);
  std::vector<MS2Spectrum> scans(100);
  for (MS2Spectrum& scan : scans) {
    scan.m_scan_no = count(random);
    for (int i = count(random); i > 0; --i) scan.m_peaks.push_back({value(random), value(random)});
    for (int i = count(random) % 5; i > 0; --i)
      scan.m_precursors.push_back({value(random), count(random) - 200});
  }
  return scans;
}

TEST(PfWriter, WritesScansThatCanBeFoundAndReadThroughTheIndex) {
  constexpr unsigned kSeed = 11;
  SCOPED_TRACE(kSeed);
  const std::vector<MS2Spectrum> scans = RandomScans(kSeed);
  const PfBytes bytes = PfOf("a title", [&](PfWriter& writer) {
    for (const MS2Spectrum& scan : scans) writer.WriteMs2(scan);
  });
  FieldReader data(bytes.m_data);
  FieldReader index(bytes.m_index);
  EXPECT_EQ(data.Int32(), 100);
  EXPECT_EQ(data.Text(static_cast<std::size_t>(data.Int32())), "a title");
  for (const MS2Spectrum& scan : scans) {
    MS2Spectrum read;
    const std::int32_t indexed_scan_no = index.Int32();
    data.MoveTo(index.Int32());
    read.m_scan_no = data.Int32();
    EXPECT_EQ(read.m_scan_no, indexed_scan_no);
    read.m_peaks.resize(static_cast<std::size_t>(data.Int32()));
    for (Peak& peak : read.m_peaks) {
      peak.m_mz = data.Real();
      peak.m_intensity = data.Real();
    }
    read.m_precursors.resize(static_cast<std::size_t>(data.Int32()));
    for (Precursor& precursor : read.m_precursors) {
      precursor.m_mz = data.Real();
      precursor.m_charge = data.Int32();
    }
    EXPECT_EQ(Describe(read), Describe(scan));
  }
  EXPECT_TRUE(data.AtEnd());
  EXPECT_TRUE(index.AtEnd());
}

}  // namespace
}  // namespace tarvek
