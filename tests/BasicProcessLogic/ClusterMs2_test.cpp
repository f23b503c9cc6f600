#include "ClusterMs2.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "ProcessTestSupport.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;
using test::MessageOf;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::ElementsAre;

using Peaks = std::vector<Peak>;

constexpr double kTolPpm = 20.0;

double Similarity(const Peaks& a, const Peaks& b) { return SpectralSimilarity(a, b, kTolPpm); }

// ------------------------------------------------------------ similarity

TEST(SpectralSimilarity, OfASpectrumWithItselfIsOne) {
  const Peaks peaks = {{100.0, 3.0}, {200.0, 4.0}, {300.5, 12.0}};
  EXPECT_EQ(Similarity(peaks, peaks), 1.0);
}
TEST(SpectralSimilarity, PairsPeaksOfTheSameMz) {
  // (3, 4, 4, 3) and (4, 3, 3, 4): 48 / 50.
  EXPECT_DOUBLE_EQ(Similarity({{100.0, 3.0}, {200.0, 4.0}}, {{100.0, 4.0}, {200.0, 3.0}}), 0.96);
}
TEST(SpectralSimilarity, PairsAPeakThatIsMissingWithZero) {
  // (3, 4, 3) and (3, 0, 3): 18 / sqrt(34 * 18).
  EXPECT_DOUBLE_EQ(Similarity({{100.0, 3.0}, {200.0, 4.0}}, {{100.0, 3.0}}),
                   18.0 / std::sqrt(612.0));
}
TEST(SpectralSimilarity, SumsAllPeaksInTheWindow) {
  // The window is 0.002 wide to each side: (1, 1, 1) and (2, 1, 1), 4 / sqrt(3 * 6).
  EXPECT_DOUBLE_EQ(Similarity({{100.0, 1.0}}, {{100.0, 1.0}, {100.001, 1.0}}),
                   4.0 / std::sqrt(18.0));
}
TEST(SpectralSimilarity, CountsAPeakForEachOfTwoNeighbours) {
  // (2, 5, 1) and (1, 1, 7): 14 / sqrt(30 * 51).
  EXPECT_DOUBLE_EQ(Similarity({{100.0, 2.0}, {100.001, 5.0}}, {{100.0005, 1.0}}),
                   14.0 / std::sqrt(1530.0));
}
TEST(SpectralSimilarity, IncludesTheLowerEndOfTheWindow) {
  // The window of 50000 begins at 49999; that of 49999 ends before 50000: (1, 1) and (1, 0).
  EXPECT_DOUBLE_EQ(Similarity({{50000.0, 1.0}}, {{49999.0, 1.0}}), std::sqrt(0.5));
}
TEST(SpectralSimilarity, ExcludesTheUpperEndOfTheWindow) {
  // The window of 50000 ends at 50001; that of 50001 begins before 50000: (1, 1) and (0, 1).
  EXPECT_DOUBLE_EQ(Similarity({{50000.0, 1.0}}, {{50001.0, 1.0}}), std::sqrt(0.5));
}
TEST(SpectralSimilarity, OfSpectraWithoutACommonPeakIsZero) {
  EXPECT_EQ(Similarity({{100.0, 1.0}}, {{200.0, 1.0}}), 0.0);
}
TEST(SpectralSimilarity, WithAnEmptySpectrumIsZero) {
  EXPECT_EQ(Similarity({{100.0, 1.0}}, {}), 0.0);
  EXPECT_EQ(Similarity({}, {{100.0, 1.0}}), 0.0);
  EXPECT_EQ(Similarity({}, {}), 0.0);
}
TEST(SpectralSimilarity, WidensWithTheTolerance) {
  EXPECT_EQ(SpectralSimilarity(Peaks{{100.0, 1.0}}, Peaks{{100.003, 1.0}}, 20.0), 0.0);
  EXPECT_EQ(SpectralSimilarity(Peaks{{100.0, 1.0}}, Peaks{{100.003, 1.0}}, 40.0), 1.0);
}

Peaks RandomPeaks(std::mt19937& random, int most) {
  std::uniform_real_distribution<double> mz(100.0, 100.05);
  std::uniform_real_distribution<double> intensity(0.0, 10.0);
  Peaks peaks(random() % static_cast<unsigned>(most + 1));
  for (Peak& peak : peaks) peak = {mz(random), intensity(random)};
  std::ranges::sort(peaks, {}, &Peak::m_mz);
  return peaks;
}

/// Compares every peak of one with every peak of the other, without a moving index.
double SlowSimilarity(const Peaks& a, const Peaks& b) {
  double xy = 0.0, xx = 0.0, yy = 0.0;
  const auto walk = [&](const Peaks& from, const Peaks& to) {
    for (const Peak& x : from) {
      double y = 0.0;
      for (const Peak& other : to)
        if (other.m_mz >= x.m_mz - x.m_mz * kTolPpm / 1e6 &&
            other.m_mz < x.m_mz + x.m_mz * kTolPpm / 1e6)
          y += other.m_intensity;
      xy += x.m_intensity * y;
      xx += x.m_intensity * x.m_intensity;
      yy += y * y;
    }
  };
  walk(a, b);
  walk(b, a);
  const double norm = std::sqrt(xx * yy);
  return norm <= 1e-6 ? 0.0 : xy / norm;
}

TEST(SpectralSimilarity, AgreesWithAllPairsOfPeaks) {
  for (unsigned seed = 0; seed < 500; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const Peaks a = RandomPeaks(random, 30);
    const Peaks b = RandomPeaks(random, 30);
    EXPECT_NEAR(Similarity(a, b), SlowSimilarity(a, b), 1e-12);
  }
}
TEST(SpectralSimilarity, IsSymmetric) {
  for (unsigned seed = 0; seed < 500; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const Peaks a = RandomPeaks(random, 30);
    const Peaks b = RandomPeaks(random, 30);
    EXPECT_NEAR(Similarity(a, b), Similarity(b, a), 1e-12);
  }
}
TEST(SpectralSimilarity, StaysBetweenZeroAndOne) {
  for (unsigned seed = 0; seed < 500; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const double similarity = Similarity(RandomPeaks(random, 30), RandomPeaks(random, 30));
    EXPECT_GE(similarity, 0.0);
    EXPECT_LE(similarity, 1.0 + 1e-12);
  }
}

// ------------------------------------------------------------ clusters

/// Two peaks of summed square 1; the similarity of two of these is the cosine of the difference of
/// their angles.
Peaks AtAngle(double degrees, double factor = 1.0) {
  const double angle = degrees * std::numbers::pi / 180.0;
  return {{100.0, factor * std::cos(angle)}, {200.0, factor * std::sin(angle)}};
}

/// The similarity of these two is 46 / 50, exactly 0.92.
Peaks FirstOfThreshold() { return {{100.0, 3.0}, {200.0, 2.0}, {300.0, 4.0}}; }
Peaks SecondOfThreshold() { return {{100.0, 1.0}, {200.0, 2.0}, {300.0, 4.0}}; }

TEST(Ms2Clusters, SelectNothingOfNothing) { EXPECT_TRUE(Ms2Clusters().Representatives().empty()); }
TEST(Ms2Clusters, HoldIdenticalScansTogether) {
  Ms2Clusters clusters;
  for (std::int32_t scan = 1; scan <= 3; ++scan) clusters.Add(scan, 500.0, AtAngle(45.0));
  EXPECT_THAT(clusters.Representatives(), ElementsAre(1));
}
TEST(Ms2Clusters, KeepScansOfDifferentPeaksApart) {
  Ms2Clusters clusters;
  clusters.Add(1, 500.0, {{100.0, 1.0}});
  clusters.Add(2, 500.0, {{200.0, 1.0}});
  EXPECT_THAT(clusters.Representatives(), ElementsAre(1, 2));
}
TEST(Ms2Clusters, IncludeTheThresholdOfSimilarity) {
  ASSERT_EQ(Similarity(FirstOfThreshold(), SecondOfThreshold()), 0.92);
  Ms2Clusters clusters;
  clusters.Add(1, 500.0, FirstOfThreshold());
  clusters.Add(2, 500.0, SecondOfThreshold());
  EXPECT_THAT(clusters.Representatives(), ElementsAre(1));
}
TEST(Ms2Clusters, KeepScansJustBelowTheThresholdApart) {
  Peaks second = SecondOfThreshold();
  second[0].m_intensity = 0.9999;
  ASSERT_LT(Similarity(FirstOfThreshold(), second), 0.92);
  Ms2Clusters clusters;
  clusters.Add(1, 500.0, FirstOfThreshold());
  clusters.Add(2, 500.0, second);
  EXPECT_THAT(clusters.Representatives(), ElementsAre(1, 2));
}
TEST(Ms2Clusters, KeepCentresApartThatDifferByTheDistance) {
  Ms2Clusters clusters;
  clusters.Add(1, 0.0, AtAngle(45.0));
  clusters.Add(2, 0.001, AtAngle(45.0));
  EXPECT_THAT(clusters.Representatives(), ElementsAre(1, 2));
}
TEST(Ms2Clusters, JoinCentresThatDifferByLessThanTheDistance) {
  Ms2Clusters clusters;
  clusters.Add(1, 0.0, AtAngle(45.0));
  clusters.Add(2, std::nextafter(0.001, 0.0), AtAngle(45.0));
  EXPECT_THAT(clusters.Representatives(), ElementsAre(1));
}
TEST(Ms2Clusters, JoinAScanOfASmallerCentre) {
  Ms2Clusters clusters;
  clusters.Add(1, 500.0009, AtAngle(45.0));
  clusters.Add(2, 500.0, AtAngle(45.0));
  EXPECT_THAT(clusters.Representatives(), ElementsAre(1));
}
TEST(Ms2Clusters, JoinEqualCentresOfAnySize) {
  Ms2Clusters clusters;
  clusters.Add(1, 1e18, AtAngle(45.0));
  clusters.Add(2, 1e18, AtAngle(45.0));
  EXPECT_THAT(clusters.Representatives(), ElementsAre(1));
}
TEST(Ms2Clusters, KeepInfiniteCentresApart) {
  Ms2Clusters clusters;
  clusters.Add(1, std::numeric_limits<double>::infinity(), AtAngle(45.0));
  clusters.Add(2, std::numeric_limits<double>::infinity(), AtAngle(45.0));
  EXPECT_THAT(clusters.Representatives(), ElementsAre(1, 2));
}
TEST(Ms2Clusters, FindTheOthersBesideACentreThatIsNoNumber) {
  Ms2Clusters clusters;
  clusters.Add(1, std::numeric_limits<double>::quiet_NaN(), AtAngle(45.0));
  clusters.Add(2, 600.0, AtAngle(45.0));
  clusters.Add(3, 600.0, AtAngle(45.0));
  EXPECT_THAT(clusters.Representatives(), ElementsAre(1, 2));
}
TEST(Ms2Clusters, AreJoinedThroughAnyMember) {
  // 25 and 65 degrees are too far apart; 45 is near enough to both.
  Ms2Clusters clusters;
  clusters.Add(1, 500.0, AtAngle(25.0));
  clusters.Add(2, 500.0, AtAngle(45.0));
  clusters.Add(3, 500.0, AtAngle(65.0));
  EXPECT_THAT(clusters.Representatives(), ElementsAre(2));
}
TEST(Ms2Clusters, AreJoinedThroughCentresOfMembers) {
  Ms2Clusters clusters;
  clusters.Add(1, 500.0, AtAngle(45.0));
  clusters.Add(2, 500.0009, AtAngle(45.0));
  clusters.Add(3, 500.0018, AtAngle(45.0));
  EXPECT_THAT(clusters.Representatives(), ElementsAre(1));
}
TEST(Ms2Clusters, LetTheEarliestMatchingScanDecide) {
  // The third scan is the largest: it represents the cluster that it joins.
  Ms2Clusters clusters;
  clusters.Add(1, 500.0, AtAngle(25.0));
  clusters.Add(2, 500.0, AtAngle(65.0));
  clusters.Add(3, 500.0, AtAngle(45.0));
  EXPECT_THAT(clusters.Representatives(), ElementsAre(2, 3));
}
TEST(Ms2Clusters, LetTheEarliestScanDecideAndNotTheNearestCentre) {
  Ms2Clusters clusters;
  clusters.Add(1, 500.0005, AtAngle(25.0));
  clusters.Add(2, 500.0, AtAngle(65.0));
  clusters.Add(3, 500.0, AtAngle(45.0));
  EXPECT_THAT(clusters.Representatives(), ElementsAre(2, 3));
}
TEST(Ms2Clusters, AreRepresentedByTheLargestSummedIntensity) {
  Ms2Clusters clusters;
  clusters.Add(1, 500.0, AtAngle(45.0, 2.0));
  clusters.Add(2, 500.0, AtAngle(45.0, 2.1));
  clusters.Add(3, 500.0, AtAngle(45.0, 1.9));
  EXPECT_THAT(clusters.Representatives(), ElementsAre(2));
}
TEST(Ms2Clusters, AreRepresentedByTheLowestScanNumberOfEquals) {
  Ms2Clusters clusters;
  for (const std::int32_t scan : {7, 5, 9}) clusters.Add(scan, 500.0, AtAngle(45.0));
  EXPECT_THAT(clusters.Representatives(), ElementsAre(5));
}

struct RandomScan {
  std::int32_t m_scan_no;
  double m_center;
  Peaks m_peaks;
};

std::vector<RandomScan> RandomScans(unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> angle(0.0, 90.0);
  std::vector<RandomScan> scans;
  for (std::int32_t i = 0; i < 120; ++i) {
    const double center = 500.0 + 0.0004 * static_cast<double>(random() % 12);
    scans.push_back({1000 - i, center, AtAngle(angle(random), static_cast<double>(random() % 3))});
  }
  return scans;
}

/// Compares every scan with every earlier one, in file order.
std::set<std::int32_t> SlowRepresentatives(const std::vector<RandomScan>& scans) {
  std::vector<std::size_t> cluster_of;  // named by its first scan
  for (std::size_t i = 0; i < scans.size(); ++i) {
    std::size_t cluster = i;
    for (std::size_t j = 0; j < i && cluster == i; ++j)
      if (std::fabs(scans[i].m_center - scans[j].m_center) < 0.001 &&
          SlowSimilarity(scans[j].m_peaks, scans[i].m_peaks) >= 0.92)
        cluster = cluster_of[j];
    cluster_of.push_back(cluster);
  }
  const auto total = [&](std::size_t i) {
    double sum = 0.0;
    for (const Peak& peak : scans[i].m_peaks) sum += peak.m_intensity;
    return sum;
  };
  std::set<std::int32_t> selected;
  for (std::size_t i = 0; i < scans.size(); ++i) {
    bool is_best = true;
    for (std::size_t j = 0; j < scans.size(); ++j)
      if (cluster_of[j] == cluster_of[i] &&
          (total(j) > total(i) ||
           (total(j) == total(i) && scans[j].m_scan_no < scans[i].m_scan_no)))
        is_best = false;
    if (is_best) selected.insert(scans[i].m_scan_no);
  }
  return selected;
}

TEST(Ms2Clusters, AgreeWithAllPairsInFileOrder) {
  std::size_t selected = 0;
  for (unsigned seed = 0; seed < 60; ++seed) {
    SCOPED_TRACE(seed);
    const std::vector<RandomScan> scans = RandomScans(seed);
    Ms2Clusters clusters;
    for (const RandomScan& scan : scans) clusters.Add(scan.m_scan_no, scan.m_center, scan.m_peaks);
    EXPECT_EQ(clusters.Representatives(), SlowRepresentatives(scans));
    selected += clusters.Representatives().size();
  }
  // Neither one cluster for each scan nor one for all.
  EXPECT_GT(selected, 60u * 5u);
  EXPECT_LT(selected, 60u * 100u);
}
TEST(Ms2Clusters, TakeTwentyThousandScansInLittleTime) {
  // All pairs would be two hundred million comparisons, more than a minute.
  std::mt19937 random(1);
  Peaks peaks(20);
  for (std::size_t i = 0; i < peaks.size(); ++i) peaks[i] = {100.0 + static_cast<double>(i), 1.0};
  Ms2Clusters clusters;
  const auto start = std::chrono::steady_clock::now();
  for (std::int32_t scan = 1; scan <= 20000; ++scan)
    clusters.Add(scan, 400.0 + 0.05 * static_cast<double>(random() % 16000), peaks);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  EXPECT_LE(clusters.Representatives().size(), 16000u);
}

// ------------------------------------------------------------ a file

class ClusterMs2Scans : public testing::Test {
 protected:
  std::string Cluster(const std::string& ms2) {
    WriteFile(m_directory / "run.ms2", ms2);
    return CaptureConsole([&] { m_selected = clusterMs2Scans(m_directory / "run.ms2"); }).m_out;
  }
  [[nodiscard]] std::string ReaderLines(int scans) const {
    const std::string path = m_directory / "run.ms2";
    return "[Tarvek] <INFO> - Closed " + path + "\n[Tarvek] <INFO> - Finished Operations on " +
           path + "\n[Tarvek] <INFO> - Scan Number in " + path + ": " + std::to_string(scans) +
           "\n";
  }

  TemporaryDirectory m_directory;
  std::set<std::int32_t> m_selected;
};

TEST_F(ClusterMs2Scans, SaysWhatItDoesAndHowManyItSelects) {
  const std::string out = Cluster(test::FragmentScan(2) + test::FragmentScan(3));
  EXPECT_EQ(out, "[Tarvek] <INFO> - Clustering MS2...\n[Tarvek] <INFO> - Start to process " +
                     (m_directory / "run.ms2") + "\n" + ReaderLines(2) +
                     "[Tarvek] <INFO> - Select MS2 Cluster: 1\n");
}
TEST_F(ClusterMs2Scans, SelectsOneOfTwoIdenticalScans) {
  Cluster(test::FragmentScan(2) + test::FragmentScan(3));
  EXPECT_THAT(m_selected, ElementsAre(2));
}
TEST_F(ClusterMs2Scans, SelectsNothingOfAnEmptyFile) {
  EXPECT_THAT(Cluster(""), testing::EndsWith("[Tarvek] <INFO> - Select MS2 Cluster: 0\n"));
  EXPECT_TRUE(m_selected.empty());
}
TEST_F(ClusterMs2Scans, ReportsEveryTenThousandthScan) {
  std::string ms2;
  for (int scan = 1; scan <= 20001; ++scan) {
    const std::string number = std::to_string(scan);
    ms2 += "S\t" + number + "\t" + number + "\nI\tActivationCenter\t" + number + "\n200.0 5.0\n";
  }
  const std::string out = Cluster(ms2);
  std::string progress;
  std::istringstream lines(out);
  for (std::string line; std::getline(lines, line);)
    if (line.find("Extracting") != std::string::npos) progress += line + "\n";
  EXPECT_EQ(progress,
            "[Tarvek] <INFO> - Extracting MS2, Scan Num = 10000\n"
            "[Tarvek] <INFO> - Extracting MS2, Scan Num = 20000\n");
}
TEST_F(ClusterMs2Scans, NamesAMissingFile) {
  std::string message;
  CaptureConsole([&] { message = MessageOf([&] { clusterMs2Scans(m_directory / "run.ms2"); }); });
  EXPECT_EQ(message, "Cannot open MS2 File, Path: " + (m_directory / "run.ms2"));
}

}  // namespace
}  // namespace tarvek
