#include "batch/Record.h"

#include <gtest/gtest.h>

#include <string>

namespace tarvek::tools {
namespace {

RunRecord RecordOf(std::int64_t read, std::int64_t exported) {
  RunRecord record;
  record.m_counts[std::string(kCountMs2Read)] = read;
  record.m_counts[std::string(kCountMs2Exported)] = exported;
  return record;
}

TEST(WhyNothingIsExported, NamesTheLargestReason) {
  RunRecord record = RecordOf(10, 0);
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
  EXPECT_EQ(WhyNothingIsExported(RecordOf(10, 1)), "");
  EXPECT_EQ(WhyNothingIsExported(RecordOf(0, 0)), "");
  EXPECT_EQ(WhyNothingIsExported(RunRecord()), "");
}

}  // namespace
}  // namespace tarvek::tools
