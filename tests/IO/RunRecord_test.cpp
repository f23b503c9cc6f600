#include "RunRecord.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <utility>

#include "TestSupport.h"

namespace tarvek {
namespace {

using test::MessageOf;
using test::TemporaryDirectory;
using test::WriteFile;

RunRecord Example() {
  RunRecord record;
  record.m_settings = {{"isolation_width", "2.000000"}, {"charge_range", "2t6"}};
  record.m_counts = {{"ms2_read", 321}, {"ms2_exported", 318}};
  record.m_widths = {{"not declared", 1}, {"2.00", 320}};
  record.m_left_out = {{"no usable precursor", 3}};
  record.m_left_out_scans = {{9, "no usable precursor"}, {10, "a reason"}};
  return record;
}

RunRecord Read(std::string_view text) {
  RunRecord record;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    AddRunRecordLine(text.substr(0, end), record);
    text.remove_prefix(end + 1);
  }
  return record;
}

TEST(RunRecord, IsOneEntryALineWithTabsBetweenItsFields) {
  EXPECT_EQ(RunRecordText(Example()),
            "setting\tcharge_range\t2t6\n"
            "setting\tisolation_width\t2.000000\n"
            "count\tms2_exported\t318\n"
            "count\tms2_read\t321\n"
            "width\t2.00\t320\n"
            "width\tnot declared\t1\n"
            "left_out\tno usable precursor\t3\n"
            "left_out_scan\t9\tno usable precursor\n"
            "left_out_scan\t10\ta reason\n");
}

TEST(RunRecord, ReadsWhatItWrote) { EXPECT_EQ(Read(RunRecordText(Example())), Example()); }

TEST(RunRecord, AnEmptyRecordIsNoText) { EXPECT_EQ(RunRecordText({}), ""); }

TEST(RunRecord, TabsAndLineEndsOfTextsBecomeBlanks) {
  RunRecord record;
  record.m_settings["a\tb"] = "c\nd\re";
  EXPECT_EQ(RunRecordText(record), "setting\ta b\tc d e\n");
}

TEST(RunRecord, PassesOverLinesForPeopleAndOtherKinds) {
  RunRecord record;
  EXPECT_FALSE(AddRunRecordLine("All spectra of run were extracted.", record));
  EXPECT_FALSE(AddRunRecordLine("", record));
  EXPECT_FALSE(AddRunRecordLine("setting\tkey alone", record));
  EXPECT_FALSE(AddRunRecordLine("future\tkey\tvalue", record));
  EXPECT_EQ(record, RunRecord());
}

TEST(RunRecord, SaysWhichCountIsMissing) {
  const RunRecord record = Example();
  EXPECT_EQ(record.Count(kCountMs2Read), 321);
  EXPECT_EQ(record.Count(kCountSurveys), std::nullopt);
}

TEST(RunRecord, RefusesACountThatIsNone) {
  RunRecord record;
  for (const char* const count : {"", "x", "1x", "-1", " 1", "99999999999999999999"}) {
    SCOPED_TRACE(count);
    EXPECT_THROW(AddRunRecordLine("count\tms2_read\t" + std::string(count), record), std::string);
  }
}

TEST(RunRecord, RefusesAScanNumberThatIsNone) {
  RunRecord record;
  for (const char* const number : {"", "x", "-1", "2147483648"}) {
    SCOPED_TRACE(number);
    EXPECT_THROW(AddRunRecordLine("left_out_scan\t" + std::string(number) + "\ta reason", record),
                 std::string);
  }
}

std::optional<double> CommonestOf(std::map<std::string, std::int64_t> widths) {
  RunRecord record;
  record.m_widths = std::move(widths);
  return record.CommonestWidth();
}

TEST(RunRecord, TellsTheWidthThatMostScansDeclare) {
  EXPECT_EQ(CommonestOf({}), std::nullopt);
  EXPECT_EQ(CommonestOf({{"not declared", 9}, {"other", 9}, {"0.00", 9}}), std::nullopt);
  EXPECT_EQ(CommonestOf({{"2.00", 3}, {"4.00", 318}, {"not declared", 900}}), 4.0);
  EXPECT_EQ(CommonestOf({{"10.00", 5}, {"2.00", 5}, {"1.00", 1}}), 2.0);  // the smallest of equals
}

TEST(RunRecord, AFileWithABadCountIsNamedWithItsLine) {
  const TemporaryDirectory directory;
  const std::string path = directory / "run.tarvek";
  WriteFile(path, "for people\r\ncount\tms2_read\tmany\n");
  EXPECT_EQ(MessageOf([&] { ReadRunRecord(path); }), path + ": line 2: \"many\" is no count");
}

TEST(RunRecord, RefusesMoreEntriesOfAKindThanAnyHas) {
  const TemporaryDirectory directory;
  const std::string path = directory / "run.tarvek";
  for (const std::string kind : {"setting", "count", "width", "left_out", "left_out_scan", "source",
                                 "output", "calibration"}) {
    std::string text = "count\tms2_read\t7\n";
    for (int i = 1; i < 10'000; ++i) text += kind + "\t" + std::to_string(i) + "\t1\n";
    WriteFile(path, text + "other\tx\t1\n" + kind + "\t1\t2\n");  // a repeated key counts once
    EXPECT_NO_THROW(ReadRunRecord(path)) << kind;
    WriteFile(path, text + kind + "\t10000\t1\n" + kind + "\t10001\t1\n");
    EXPECT_THROW(ReadRunRecord(path), UnusableRecord) << kind;
  }
  EXPECT_EQ(MessageOf([&] { ReadRunRecord(path); }),
            path + ": line 10002: more than 10000 entries of one kind");
}

TEST(RunRecord, ReadsAFileWithWindowsLineEnds) {
  const TemporaryDirectory directory;
  const std::string path = directory / "run.tarvek";
  WriteFile(path, "setting\tcharge_range\t2t6\r\ncount\tms2_read\t7\r\n");
  const RunRecord record = ReadRunRecord(path);
  EXPECT_EQ(record.m_settings.at("charge_range"), "2t6");
  EXPECT_EQ(record.Count(kCountMs2Read), 7);
}

}  // namespace
}  // namespace tarvek
