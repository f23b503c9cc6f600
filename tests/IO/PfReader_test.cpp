#include "PfReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "IoTestSupport.h"
#include "PfWriter.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::Int32Bytes;
using test::MessageOf;
using test::RealBytes;
using test::TemporaryDirectory;
using test::WriteFile;
using ::testing::HasSubstr;

const std::string k500_25 = RealBytes(0x407F440000000000);  // 500.25
const std::string k10 = RealBytes(0x4024000000000000);      // 10.0
const std::string k60 = RealBytes(0x404E000000000000);      // 60.0

/// A survey with one peak, at 60 s.
std::string SurveyBytes(std::int32_t scan_no) {
  return Int32Bytes(scan_no) + Int32Bytes(1) + k500_25 + k10 + Int32Bytes(1) + k60 + Int32Bytes(1);
}

/// Surveys 1 and 5 under a header that counts count of them.
std::string SurveyFile(std::int32_t count) {
  return Int32Bytes(count) + Int32Bytes(4) + "hand" + SurveyBytes(1) + SurveyBytes(5);
}

/// The error of reading a file of these bytes as surveys.
std::string MessageOfSurveys(const std::string& path, const std::string& bytes) {
  WriteFile(path, bytes);
  return MessageOf([&] {
    PfReader reader(path);
    for (MS1Spectrum scan; reader.ReadMs1(scan);) {
    }
  });
}

TEST(PfReader, ReadsSurveysByteByByte) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a.pf1", SurveyFile(2));
  PfReader reader(directory / "a.pf1");
  EXPECT_EQ(reader.Title(), "hand");
  EXPECT_EQ(reader.Count(), 2);
  MS1Spectrum scan;
  ASSERT_TRUE(reader.ReadMs1(scan));
  EXPECT_EQ(scan.m_scan_no, 1);
  EXPECT_EQ(scan.m_rt, 60.0);
  EXPECT_EQ(test::Describe(scan.m_peaks), test::Describe({Peak{500.25, 10.0}}));
  ASSERT_TRUE(reader.ReadMs1(scan));
  EXPECT_EQ(scan.m_scan_no, 5);
  EXPECT_EQ(scan.m_peaks.size(), 1u);
  EXPECT_FALSE(reader.ReadMs1(scan));
}

TEST(PfReader, ReadsFragmentScansWithAnyNumberOfPrecursorsThatTheWriterWrote) {
  const TemporaryDirectory directory;
  test::CaptureConsole([&] {
    PfWriter writer(directory / "a.pf2", "wb+", "a");
    MS2Spectrum scan;
    scan.m_scan_no = 2;
    scan.m_peaks = {{100.0, 1.0}, {200.5, 2.0}};
    writer.WriteMs2(scan);
    scan.m_scan_no = 3;
    scan.m_precursors = {{500.0, 2}, {-501.0, -3}};
    writer.WriteMs2(scan);
    writer.Close();
  });
  PfReader reader(directory / "a.pf2");
  MS2Spectrum scan;
  ASSERT_TRUE(reader.ReadMs2(scan));
  EXPECT_TRUE(scan.m_precursors.empty());
  ASSERT_TRUE(reader.ReadMs2(scan));
  EXPECT_EQ(scan.m_scan_no, 3);
  const std::vector<Peak> peaks = {{100.0, 1.0}, {200.5, 2.0}};
  EXPECT_EQ(test::Describe(scan.m_peaks), test::Describe(peaks));
  const std::vector<Precursor> precursors = {{500.0, 2}, {-501.0, -3}};
  EXPECT_EQ(test::Describe(scan.m_precursors), test::Describe(precursors));
  EXPECT_FALSE(reader.ReadMs2(scan));
}

TEST(PfReader, NamesAFileThatIsCutAnywhere) {
  const TemporaryDirectory directory;
  const std::string path = directory / "cut.pf1";
  const std::string whole = SurveyFile(2);
  for (std::size_t size = 0; size < whole.size(); ++size)
    ASSERT_THAT(MessageOfSurveys(path, whole.substr(0, size)),
                HasSubstr(path + " is damaged or cut short at byte "))
        << size;
}

TEST(PfReader, NamesAFileWithACountThatIsNotThatOfItsScans) {
  const TemporaryDirectory directory;
  const std::string path = directory / "bad.pf1";
  EXPECT_EQ(MessageOfSurveys(path, SurveyFile(0)),
            path + " counts no scans but holds some: it was not closed.");
  EXPECT_EQ(MessageOfSurveys(path, SurveyFile(1)), path + " holds more scans than it counts.");
  EXPECT_EQ(MessageOfSurveys(path, SurveyFile(3)), path + " is damaged or cut short at byte " +
                                                       std::to_string(SurveyFile(2).size()) + ".");
  EXPECT_EQ(MessageOfSurveys(path, SurveyFile(2)), "(nothing was thrown)");
}

TEST(PfReader, RefusesASurveyWithoutRetentionTime) {
  const TemporaryDirectory directory;
  const std::string path = directory / "a.pf1";
  const std::string bytes =
      Int32Bytes(1) + Int32Bytes(0) + Int32Bytes(7) + Int32Bytes(0) + Int32Bytes(0);
  EXPECT_THAT(MessageOfSurveys(path, bytes), HasSubstr("is damaged or cut short at byte 20."));
}

TEST(PfReader, GoesToTheEndOfTheFileWhateverTheHeaderCounts) {
  const TemporaryDirectory directory;
  WriteFile(directory / "a.pf1", SurveyFile(0));
  for (const PfPeaks peaks : {PfPeaks::kRead, PfPeaks::kStepOver}) {
    PfReader reader(directory / "a.pf1");
    PfRecord record;
    ASSERT_TRUE(reader.ReadNext(record, peaks));
    EXPECT_EQ(record.m_offset_bytes, 12);
    EXPECT_EQ(record.m_scan_no, 1);
    EXPECT_EQ(record.m_peaks.size(), peaks == PfPeaks::kRead ? 1u : 0u);
    ASSERT_TRUE(reader.ReadNext(record, peaks));
    EXPECT_EQ(record.m_offset_bytes, 12 + 40);
    EXPECT_EQ(record.m_scan_no, 5);
    EXPECT_EQ(test::Describe(record.m_precursors), test::Describe({Precursor{60.0, 1}}));
    EXPECT_TRUE(reader.AtEnd());
  }
}

TEST(PfReader, TellsARecordThatIsNotWholeByItsOffsetAndScan) {
  const TemporaryDirectory directory;
  const std::string whole = SurveyFile(2);
  for (const PfPeaks peaks : {PfPeaks::kRead, PfPeaks::kStepOver})
    for (std::size_t size = 12 + 40 + 1; size < whole.size(); ++size) {
      WriteFile(directory / "a.pf1", whole.substr(0, size));
      PfReader reader(directory / "a.pf1");
      PfRecord record;
      ASSERT_TRUE(reader.ReadNext(record, peaks));
      ASSERT_FALSE(reader.ReadNext(record, peaks)) << size;
      EXPECT_EQ(record.m_offset_bytes, 12 + 40);
      EXPECT_EQ(record.m_scan_no, size < 12 + 40 + 4 ? 0 : 5) << size;
    }
}

TEST(PfReader, HasNoHeaderWhereTheFileEndsInsideIt) {
  const TemporaryDirectory directory;
  for (std::size_t size = 0; size <= 12; ++size) {
    WriteFile(directory / "a.pf1", SurveyFile(2).substr(0, size));
    EXPECT_EQ(PfReader(directory / "a.pf1").HasHeader(), size == 12) << size;
  }
}

// More than a block of read-ahead, so that the file is repositioned.
TEST(PfReader, StepsOverManyPeaks) {
  const TemporaryDirectory directory;
  constexpr std::int32_t kPeaks = 50'000;
  WriteFile(directory / "a.pf2",
            Int32Bytes(2) + Int32Bytes(0) + Int32Bytes(1) + Int32Bytes(kPeaks) +
                std::string(std::size_t{16} * kPeaks, 'x') + Int32Bytes(0) + SurveyBytes(9));
  PfReader reader(directory / "a.pf2");
  PfRecord record;
  ASSERT_TRUE(reader.ReadNext(record, PfPeaks::kStepOver));
  ASSERT_TRUE(reader.ReadNext(record, PfPeaks::kRead));
  EXPECT_EQ(record.m_scan_no, 9);
  EXPECT_EQ(record.m_offset_bytes, 8 + 8 + 16 * kPeaks + 4);
  EXPECT_EQ(test::Describe(record.m_peaks), test::Describe({Peak{500.25, 10.0}}));
  EXPECT_TRUE(reader.AtEnd());
}

TEST(PfIndex, GivesScansWithTheirOffsetsAndTellsACutFile) {
  const TemporaryDirectory directory;
  const std::string path = PfIndexPath(directory / "a.pf2");
  EXPECT_EQ(path, directory / "a.pf2idx");
  WriteFile(path, Int32Bytes(7) + Int32Bytes(12) + Int32Bytes(8) + Int32Bytes(-5) + "abc");
  const PfIndex cut = ReadPfIndex(path);
  EXPECT_FALSE(cut.m_is_whole);
  ASSERT_EQ(cut.m_entries.size(), 2u);
  EXPECT_EQ(cut.m_entries[1].m_scan_no, 8);
  EXPECT_EQ(cut.m_entries[1].m_offset_bytes, -5);
  WriteFile(path, "");
  EXPECT_TRUE(ReadPfIndex(path).m_is_whole);
}

TEST(PfIndex, WrapsOffsetsFromTwoGibibytesOn) {
  constexpr std::int64_t kTwoGib = std::int64_t{1} << 31;
  EXPECT_FALSE(IsWrappedInPfIndex(kTwoGib - 1));
  EXPECT_TRUE(IsWrappedInPfIndex(kTwoGib));
  EXPECT_EQ(PfIndexOffset(kTwoGib - 1), 2147483647);
  EXPECT_EQ(PfIndexOffset(kTwoGib), -2147483648);
  EXPECT_EQ(PfIndexOffset(2 * kTwoGib + 12), 12);
}

}  // namespace
}  // namespace tarvek
