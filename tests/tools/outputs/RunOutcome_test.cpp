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

TEST(ReadRecordOf, IsNothingWithoutARecordAndNamesABadOne) {
  const TemporaryDirectory directory;
  const std::string base = directory / "run";
  EXPECT_FALSE(ReadRecordOf(base).has_value());
  WriteFile(base + ".tarvek", "count\tms2_read\t7\n");
  EXPECT_EQ(ReadRecordOf(base)->Count(kCountMs2Read), 7);
  WriteFile(base + ".tarvek", "count\tms2_read\tseven\n");
  EXPECT_THROW(ReadRecordOf(base), std::string);
}

RunRecord Record(std::int64_t read, std::int64_t exported) {
  RunRecord record;
  record.m_counts[std::string(kCountMs2Read)] = read;
  record.m_counts[std::string(kCountMs2Exported)] = exported;
  return record;
}

TEST(ExportedNothing, IsToldOnlyWhereScansWereRead) {
  EXPECT_TRUE(ExportedNothing(Record(7, 0)));
  EXPECT_FALSE(ExportedNothing(Record(7, 1)));
  EXPECT_FALSE(ExportedNothing(Record(0, 0)));
  EXPECT_FALSE(ExportedNothing(RunRecord()));
}

TEST(ReasonsText, HasTheLargestFirst) {
  RunRecord record;
  EXPECT_EQ(ReasonsText(record, 3), "");
  record.m_left_out = {{"a", 2}, {"b", 5}, {"c", 1}};
  EXPECT_EQ(ReasonsText(record, 2), "5 b, 2 a");
  EXPECT_EQ(CountLeftOutScans(record), 8);
}

}  // namespace
}  // namespace tarvek::tools
