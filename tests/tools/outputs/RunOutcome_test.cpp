#include "outputs/RunOutcome.h"

#include <gtest/gtest.h>

#include <string>

#include "TestSupport.h"

namespace tarvek::tools {
namespace {

using tarvek::test::TemporaryDirectory;
using tarvek::test::WriteFile;

TEST(IsUnfinishedRun, NeedsAnUnfinishedTableAndNoFinishedOne) {
  const TemporaryDirectory directory;
  const std::string base = directory / "run";
  EXPECT_FALSE(IsUnfinishedRun(base));
  WriteFile(base + ".csv_unfinished", "");
  EXPECT_TRUE(IsUnfinishedRun(base));
  WriteFile(base + ".csv", "");
  EXPECT_FALSE(IsUnfinishedRun(base));
}

TEST(RecordAt, IsEmptyWithoutARecordAndNamesABadOne) {
  const TemporaryDirectory directory;
  const std::string path = directory / "run.tarvek";
  EXPECT_EQ(RecordAt(path), RunRecord());
  WriteFile(path, "count\tms2_read\t7\n");
  EXPECT_EQ(RecordAt(path).Count(kCountMs2Read), 7);
  WriteFile(path, "count\tms2_read\tseven\n");
  EXPECT_THROW(RecordAt(path), std::string);
}

RunRecord Record(std::int64_t read, std::int64_t exported) {
  RunRecord record;
  record.m_counts[std::string(kCountMs2Read)] = read;
  record.m_counts[std::string(kCountMs2Exported)] = exported;
  return record;
}

TEST(LostAllScans, IsToldOnlyWhereScansWereRead) {
  EXPECT_TRUE(LostAllScans(Record(7, 0)));
  EXPECT_FALSE(LostAllScans(Record(7, 1)));
  EXPECT_FALSE(LostAllScans(Record(0, 0)));
  EXPECT_FALSE(LostAllScans(RunRecord()));
}

TEST(ReasonsText, HasTheLargestFirst) {
  RunRecord record;
  EXPECT_EQ(ReasonsText(record, 3), "");
  record.m_left_out = {{"a", 2}, {"b", 5}, {"c", 1}};
  EXPECT_EQ(ReasonsText(record, 2), "5 b, 2 a");
  record.m_left_out["d"] = 0;
  EXPECT_EQ(ReasonsText(record, 9), "5 b, 2 a, 1 c");
}

TEST(WhyNothingIsExported, NamesTheLargestReason) {
  RunRecord record = Record(10, 0);
  record.m_left_out = {{"analyser not known", 4}, {"no precursor", 6}};
  EXPECT_EQ(WhyNothingIsExported(record),
            "none of 10 MS2 scans is exported; 6 left out: no precursor");
  record.m_left_out["analyser not known"] = 6;
  EXPECT_EQ(WhyNothingIsExported(record),
            "none of 10 MS2 scans is exported; 6 left out: analyser not known");
  record.m_left_out.clear();
  EXPECT_EQ(WhyNothingIsExported(record), "none of 10 MS2 scans is exported");
}

TEST(WhyNothingIsExported, IsEmptyWhereSomethingIsOrNothingWasRead) {
  EXPECT_EQ(WhyNothingIsExported(Record(10, 1)), "");
  EXPECT_EQ(WhyNothingIsExported(Record(0, 0)), "");
  EXPECT_EQ(WhyNothingIsExported(RunRecord()), "");
}

}  // namespace
}  // namespace tarvek::tools
