#include "ElutionGrid.h"

#include <gtest/gtest.h>

#include "NaiveDetermination.h"
#include "PrecursorTestSupport.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::MessageOf;
using test::Random;
using test::SameDouble;

ElutionGrid GridAt500() {
  ElutionGrid grid;
  grid.Reset(3.0, 500.0, 3.5);
  return grid;
}

TEST(ElutionGrid, StartsAtHalfWidthMinusCentre) { EXPECT_EQ(GridAt500().Origin(), -497.0); }

TEST(ElutionGrid, HasTwiceAHundredTimesTheCentreBins) { EXPECT_EQ(GridAt500().BinCount(), 100000); }

TEST(ElutionGrid, TruncatesTheCentreBeforeDoubling) {
  ElutionGrid grid;
  grid.Reset(3.0, 400.0078125, 3.5);  // 40000.78 bins
  EXPECT_EQ(grid.BinCount(), 80000);
}

TEST(ElutionGrid, PutsAPeakIntoTheTruncatedBin) {
  ElutionGrid grid = GridAt500();
  grid.Add(2, {500.0078125, 5.0});  // 99700.78
  EXPECT_EQ(grid.Sum(99700, 99701)[2], 5.0);
}

TEST(ElutionGrid, LeavesTheUpperBinOutOfASum) {
  ElutionGrid grid = GridAt500();
  grid.Add(2, {500.0, 5.0});
  EXPECT_EQ(grid.Sum(99600, 99700)[2], 0.0);
}

TEST(ElutionGrid, SumsEachRowByItself) {
  ElutionGrid grid = GridAt500();
  grid.Add(0, {500.0, 1.0});
  grid.Add(9, {500.0, 2.0});
  grid.Add(9, {500.5, 4.0});
  const ElutionGrid::RowSums sums = grid.Sum(99600, 99800);
  EXPECT_EQ(sums, (ElutionGrid::RowSums{1.0, 0, 0, 0, 0, 0, 0, 0, 0, 6.0}));
}

TEST(ElutionGrid, NamesTheRowsWithPeaks) {
  ElutionGrid grid = GridAt500();
  grid.Add(0, {500.0, 1.0});
  grid.Add(9, {500.0, 2.0});
  grid.Add(3, {501.0, 2.0});
  EXPECT_EQ(grid.RowsWithPeaks(99600, 99701), 0b10'0000'0001);
  EXPECT_EQ(grid.RowsWithPeaks(99600, 99700), 0);
}

TEST(ElutionGrid, ForgetsTheRowsWithPeaksAtAReset) {
  ElutionGrid grid = GridAt500();
  grid.Add(0, {500.0, 1.0});
  grid.Reset(3.0, 500.0, 3.5);
  EXPECT_EQ(grid.RowsWithPeaks(0, grid.BinCount()), 0);
}

TEST(ElutionGrid, DropsAPeakOfAnEleventhRow) {
  ElutionGrid grid = GridAt500();
  grid.Add(10, {500.0, 1.0});
  EXPECT_EQ(grid.Sum(0, grid.BinCount()), ElutionGrid::RowSums{});
}

TEST(ElutionGrid, DropsAPeakBeyondTheLastBin) {
  ElutionGrid grid = GridAt500();
  grid.Add(0, {503.0, 1.0});  // bin 100000
  grid.Add(0, {502.9921875, 2.0});
  EXPECT_EQ(grid.Sum(0, grid.BinCount() + 100)[0], 2.0);
}

TEST(ElutionGrid, DropsAPeakBelowTheFirstBin) {
  ElutionGrid grid;
  grid.Reset(3.0, 1.0, 3.5);  // the origin is m/z 2
  grid.Add(0, {1.5, 1.0});
  grid.Add(0, {2.5, 2.0});
  EXPECT_EQ(grid.Sum(-100, grid.BinCount())[0], 2.0);
}

TEST(ElutionGrid, HasNoBinsAtCentreZero) {
  ElutionGrid grid;
  grid.Reset(3.0, 0.0, 3.5);
  grid.Add(0, {3.0, 1.0});
  EXPECT_EQ(grid.BinCount(), 0);
  EXPECT_EQ(grid.Sum(0, 1000), ElutionGrid::RowSums{});
}

TEST(ElutionGrid, SurvivesACentreThatIsNoMz) {
  ElutionGrid grid;
  grid.Reset(3.0, 1e300, 3.5);
  EXPECT_EQ(grid.Sum(0, 1000), ElutionGrid::RowSums{});
}

TEST(ElutionGrid, IsEmptyAgainAfterAReset) {
  ElutionGrid grid = GridAt500();
  grid.Add(0, {500.0, 1.0});
  grid.Reset(3.0, 500.0, 3.5);
  EXPECT_EQ(grid.Sum(0, grid.BinCount()), ElutionGrid::RowSums{});
}

TEST(ElutionGrid, FailsACheckForAPeakOutOfReach) {
  ElutionGrid grid = GridAt500();
  EXPECT_EQ(MessageOf([&] { grid.Add(0, {490.0, 1.0}); }), "peak within reach, module ElutionGrid");
}

TEST(ElutionGrid, AgreesWithTheDenseGrid) {
  ElutionGrid grid;
  for (unsigned seed = 0; seed < 400; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    const double half_width = random.OneOf<double>({1.7, 3.0, 3.5, 5.0});
    const double reach = half_width + random.OneOf<double>({0.0, 0.02, 0.3});
    const double centre = random.Chance(0.3) ? random.Real(0.0, 8.0) : random.Real(100.0, 500.0);
    grid.Reset(half_width, centre, reach);
    naive::DenseGrid dense(half_width, centre);
    ASSERT_EQ(grid.BinCount(), dense.m_bin_num);
    for (int n = random.Int(0, 300); n > 0; --n) {
      const Peak peak{centre + random.Real(-1.0, 1.0) * reach, random.Real(1.0, 1e6)};
      const auto row = static_cast<std::size_t>(random.Int(0, 10));
      grid.Add(row, peak);
      dense.Add(row, peak);
    }
    for (int i = 0; i < 40; ++i) {
      const double x = centre + random.Real(-12.0, 12.0);
      const std::int64_t low = grid.BinOf(x);
      ASSERT_EQ(low, dense.BinOf(x));
      const std::int64_t high = low + random.Int(-3, 400);
      const ElutionGrid::RowSums sums = grid.Sum(low, high);
      for (std::size_t r = 0; r < 10; ++r)
        EXPECT_TRUE(SameDouble(sums[r], dense.Sum(r, low, high))) << low << " to " << high;
      const unsigned rows = grid.RowsWithPeaks(low, high);  // every intensity is above 0
      for (std::size_t r = 0; r < 10; ++r) EXPECT_EQ((rows >> r & 1u) == 1u, sums[r] > 0.0) << r;
    }
  }
}

}  // namespace
}  // namespace tarvek
