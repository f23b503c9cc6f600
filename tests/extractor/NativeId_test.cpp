#include "NativeId.h"

#include <gtest/gtest.h>

namespace tarvek::extractor {
namespace {

TEST(ScanNumberOf, ReadsTheThreeFormsThatHaveOne) {
  EXPECT_EQ(ScanNumberOf("controllerType=0 controllerNumber=1 scan=4711"), 4711);
  EXPECT_EQ(ScanNumberOf("scan=12"), 12);
  EXPECT_EQ(ScanNumberOf("scanId=345"), 345);
}

TEST(ScanNumberOf, FindsNoneInFormsThatCountSomethingElse) {
  for (const char* const id :
       {"function=1 process=0 scan=3", "sample=1 period=1 cycle=7 experiment=2", "spectrum=4",
        "index=4", "frame=2 scan=5", "merged=3 frame=2", "26939", "", "jobRun=1 spotLabel=x",
        "file=sf1", "declaration=2 collection=1 scan=8"})
    EXPECT_FALSE(ScanNumberOf(id).has_value()) << id;
}

TEST(ScanNumberOf, FindsNoneWhereTheNumberIsNotOne) {
  for (const char* const id : {"scan=", "scan=12x", "scan=-3", "scan=99999999999", "scan=1.5"})
    EXPECT_FALSE(ScanNumberOf(id).has_value()) << id;
}

}  // namespace
}  // namespace tarvek::extractor
