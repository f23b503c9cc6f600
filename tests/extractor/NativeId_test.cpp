#include "NativeId.h"

#include <gtest/gtest.h>

namespace tarvek::extractor {
namespace {

constexpr std::int32_t kNone = -1;

// An id of each format of the PSI-MS vocabulary, and what it gives.
struct VendorId {
  const char* m_format;
  const char* m_id;
  std::int32_t m_number;
};

constexpr VendorId kVendorIds[] = {
    {"Thermo", "controllerType=0 controllerNumber=1 scan=4711", 4711},
    {"Waters", "function=2 process=1 scan=3", kNone},
    {"WIFF", "sample=1 period=1 cycle=7 experiment=2", kNone},
    {"Bruker/Agilent YEP", "scan=12", 12},
    {"Bruker BAF", "scan=2147", 2147},
    {"Bruker FID", "file=sf1", kNone},
    {"multiple peak list", "index=4", kNone},
    {"single peak list", "file=sf2", kNone},
    {"scan number only", "scan=1", 1},
    {"spectrum identifier", "spectrum=4", kNone},
    {"Bruker U2", "declaration=2 collection=1 scan=8", kNone},
    {"no nativeID", "", kNone},
    {"mzML unique identifier", "S26939", kNone},
    {"Shimadzu Biotech", "source=x start=3 end=5", kNone},
    {"SCIEX TOF/TOF", "jobRun=1 spotLabel=x spectrum=2", kNone},
    {"SCIEX TOF/TOF T2D", "file=sf3", kNone},
    {"Agilent MassHunter", "scanId=345", 345},
    {"spectrum from database integer", "databasekey=12", kNone},
    {"spectrum from database string", "databasekey=x", kNone},
    {"Mascot query number", "query=17", kNone},
    {"Bruker Container", "3bb43e5c-9a1a-4e25-b2fc-5d3f7ac0a9f3", kNone},
    {"Shimadzu Biotech QTOF", "scan=77", 77},
    {"Bruker TDF", "frame=2 scan=5", kNone},
    {"Bruker TDF, merged", "merged=3 frame=2 scanStart=1 scanEnd=9", kNone},
    {"Bruker TSF", "frame=9", kNone},
    {"UIMF", "frame=2 scan=5 frameType=1", kNone},
    {"Mobilion MBI", "frame=2 scan=5 ", kNone},
    {"a number alone", "26939", kNone},
};

TEST(ScanNumberOf, KnowsTheFormatsThatHaveOne) {
  for (const VendorId& one : kVendorIds)
    EXPECT_EQ(ScanNumberOf(one.m_id).value_or(kNone), one.m_number) << one.m_format;
}

TEST(ScanNumberOf, TakesNumbersUpToTheLargestThatTheOutputsHold) {
  EXPECT_EQ(ScanNumberOf("scan=2147483647"), 2147483647);
  EXPECT_EQ(ScanNumberOf("scan=0"), 0);
  for (const char* const id :
       {"scan=2147483648", "scan=4294967297", "scan=18446744073709551617", "scanId=2147483648",
        "controllerType=0 controllerNumber=1 scan=4294967297"})
    EXPECT_FALSE(ScanNumberOf(id).has_value()) << id;
}

TEST(ScanNumberOf, FindsNoneWhereTheNumberIsNotOne) {
  for (const char* const id :
       {"scan=", "scan=12x", "scan=-3", "scan=+3", "scan=99999999999", "scan=1.5", "Scan=1",
        "scan =1", "controllerType=0 scan=1", "controllerNumber=1 controllerType=0 scan=1"})
    EXPECT_FALSE(ScanNumberOf(id).has_value()) << id;
}

TEST(ScanNumberOf, OverlooksBlanksAround) {
  EXPECT_EQ(ScanNumberOf(" scan=12 "), 12);
  EXPECT_EQ(ScanNumberOf("controllerType=0  controllerNumber=1\tscan=9"), 9);
}

}  // namespace
}  // namespace tarvek::extractor
