#include "ScanCompletion.h"

#include <gtest/gtest.h>

#include "IoTestSupport.h"
#include "Logger.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;
using test::Describe;

std::string Complete(MS2Spectrum& scan) {
  return CaptureConsole([&] { CompleteScan(scan, logMessage); }).m_err;
}

std::vector<Precursor> Remaining(std::vector<Precursor> precursors) {
  MS2Spectrum scan;
  scan.m_precursors = std::move(precursors);
  Complete(scan);
  return scan.m_precursors;
}

TEST(ScanCompletion, SortsPeaksByMzAndKeepsTheOrderOfEqualOnes) {
  MS1Spectrum scan;
  scan.m_peaks = {{300.0, 1.0}, {200.0, 2.0}, {300.0, 3.0}, {100.0, 4.0}, {200.0, 5.0}};
  CompleteScan(scan);
  EXPECT_EQ(Describe(scan.m_peaks),
            Describe(std::vector<Peak>{
                {100.0, 4.0}, {200.0, 2.0}, {200.0, 5.0}, {300.0, 1.0}, {300.0, 3.0}}));
}

TEST(ScanCompletion, SortsThePeaksOfFragmentScansToo) {
  MS2Spectrum scan;
  scan.m_peaks = {{300.0, 1.0}, {200.0, 2.0}};
  Complete(scan);
  EXPECT_EQ(Describe(scan.m_peaks), Describe(std::vector<Peak>{{200.0, 2.0}, {300.0, 1.0}}));
}

TEST(ScanCompletion, KeepsAPrecursorAtTheToleranceAndRemovesOneInsideIt) {
  EXPECT_EQ(Describe(Remaining({{1e-6, 2}, {0.999e-6, 2}, {-1e-6, 2}, {-0.999e-6, 2}, {0.0, 2}})),
            Describe(std::vector<Precursor>{{1e-6, 2}, {-1e-6, 2}}));
}

TEST(ScanCompletion, RemovesAPrecursorWithoutChargeAndKeepsANegativeOne) {
  EXPECT_EQ(Describe(Remaining({{500.0, 0}, {-600.0, -3}})),
            Describe(std::vector<Precursor>{{-600.0, -3}}));
}

TEST(ScanCompletion, WarnsOnceForEachRemovedPrecursor) {
  MS2Spectrum scan;
  scan.m_scan_no = 42;
  scan.m_precursors = {{0.0, 2}, {500.0, 2}, {600.0, 0}};
  const std::string line =
      "[Tarvek] <WARN> - Scan 42 has incorrect precursor infomation, skipping this precursor...\n";
  EXPECT_EQ(Complete(scan), line + line);
}

TEST(ScanCompletion, CopiesWhatRemainsToTheDeclaredPrecursors) {
  MS2Spectrum scan;
  scan.m_orig_precursors = {{1.0, 1}};
  scan.m_precursors = {{500.0, 2}, {0.0, 2}, {600.0, 3}};
  Complete(scan);
  EXPECT_EQ(Describe(scan.m_orig_precursors),
            Describe(std::vector<Precursor>{{500.0, 2}, {600.0, 3}}));
}

}  // namespace
}  // namespace tarvek
