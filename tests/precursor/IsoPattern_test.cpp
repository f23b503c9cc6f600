#include "IsoPattern.h"

#include <gtest/gtest.h>

#include "NaiveDetermination.h"
#include "PrecursorTestSupport.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::MessageOf;
using test::Random;
using test::RandomPeaks;
using test::SameDouble;

/// A row with these values at the monoisotopic position and above.
IsoPattern::Row RowOf(std::array<double, 5> values) {
  IsoPattern::Row row{};
  std::ranges::copy(values, row.begin() + IsoPattern::kMonoColumn);
  return row;
}

IsoPattern::Row Cut(IsoPattern::Row row) {
  CutAfterFirstValley(row);
  return row;
}

TEST(CutAfterFirstValley, ZeroesWhatFollowsTheValley) {
  EXPECT_EQ(Cut(RowOf({5, 10, 4, 6, 8})), RowOf({5, 10, 4, 0, 0}));
}

TEST(CutAfterFirstValley, LeavesARisingRowAlone) {
  EXPECT_EQ(Cut(RowOf({1, 2, 3, 4, 5})), RowOf({1, 2, 3, 4, 5}));
}

TEST(CutAfterFirstValley, LeavesAFallingRowAlone) {
  EXPECT_EQ(Cut(RowOf({5, 4, 3, 2, 1})), RowOf({5, 4, 3, 2, 1}));
}

TEST(CutAfterFirstValley, LooksFirstAtThePlusOneIsotope) {
  EXPECT_EQ(Cut(RowOf({5, 4, 6, 7, 8})), RowOf({5, 4, 0, 0, 0}));
}

TEST(CutAfterFirstValley, DoesNotTakeTheMonoisotopicPeakForAValley) {
  IsoPattern::Row row = RowOf({1, 2, 3, 4, 5});
  row[6] = 9.0;
  EXPECT_EQ(Cut(row), row);
}

TEST(CutAfterFirstValley, TakesALevelStepBeforeARiseForAValley) {
  EXPECT_EQ(Cut(RowOf({5, 5, 6, 1, 1})), RowOf({5, 5, 0, 0, 0}));
}

TEST(CutAfterFirstValley, DoesNotTakeALevelStepAfterAFallForAValley) {
  EXPECT_EQ(Cut(RowOf({5, 4, 4, 4, 4})), RowOf({5, 4, 4, 4, 4}));
}

TEST(CutAfterFirstValley, FindsAValleyAtTheLastPossibleColumn) {
  EXPECT_EQ(Cut(RowOf({5, 4, 3, 2, 3})), RowOf({5, 4, 3, 2, 0}));
}

TEST(CutAfterFirstValley, AgreesWithTheSlowTwin) {
  for (unsigned seed = 0; seed < 500; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    IsoPattern::Row row{};
    for (double& value : row) value = random.Int(0, 4);
    IsoPattern::Row expected = row;
    naive::CutRow(expected);
    EXPECT_EQ(Cut(row), expected);
  }
}

TEST(IsotopePositionMz, RisesByTheSpacingOverTheCharge) {
  EXPECT_EQ(IsotopePositionMz({500.0, 2}, 0), 500.0);
  EXPECT_EQ(IsotopePositionMz({500.0, 2}, 3), 500.0 + 3 * 1.003 / 2);
  EXPECT_EQ(IsotopePositionMz({500.0, 2}, -7), 500.0 - 7 * 1.003 / 2);
}

TEST(IsotopePositionMz, IsPositiveForANegativeIon) {
  EXPECT_EQ(IsotopePositionMz({-500.0, -2}, 3), 500.0 + 3 * 1.003 / 2);
}

/// An empty grid around m/z 500 with half-width 3.
ElutionGrid EmptyGrid() {
  ElutionGrid grid;
  grid.Reset(3.0, 500.0, 3.5);
  return grid;
}

IsoPattern PatternOf(double center, double tol, bool tol_is_ppm, const Precursor& precursor,
                     PeakSpan candidates, const ElutionGrid& grid) {
  return IsoPattern({center, tol, tol_is_ppm, candidates, grid}, precursor);
}

TEST(IsoPattern, LeavesRowZeroAtZeroForAPeakExactlyTheToleranceAway) {
  const PeakList peaks = {{500.25, 7.0}};
  const IsoPattern pattern = PatternOf(500.0, 0.25, false, {500.0, 2}, peaks, EmptyGrid());
  EXPECT_EQ(pattern.Rows()[0], IsoPattern::Row{});
}

TEST(IsoPattern, PutsTheNearestPeakIntoRowZero) {
  const PeakList peaks = {{499.9, 3.0}, {500.03125, 7.0}, {500.0625, 9.0}};
  const IsoPattern pattern = PatternOf(500.0, 0.25, false, {500.0, 2}, peaks, EmptyGrid());
  EXPECT_EQ(pattern.Rows()[0][7], 7.0);
}

TEST(IsoPattern, TakesThePpmToleranceOfSinglePeaksAtTheCandidate) {
  // 20 ppm of 400 is 0.008, of the centre 500 it would be 0.01.
  const PeakList peaks = {{400.009, 7.0}};
  const IsoPattern pattern = PatternOf(500.0, 20.0, true, {400.0, 1}, peaks, EmptyGrid());
  EXPECT_EQ(pattern.Rows()[0][7], 0.0);
}

TEST(IsoPattern, LeavesRowZeroOfANegativeIonEmptyUnderPpm) {
  const PeakList peaks = {{500.0, 7.0}};
  const IsoPattern pattern = PatternOf(500.0, 20.0, true, {-500.0, -2}, peaks, EmptyGrid());
  EXPECT_EQ(pattern.Rows()[0], IsoPattern::Row{});
}

TEST(IsoPattern, FillsRowZeroOfANegativeIonUnderAnMzTolerance) {
  const PeakList peaks = {{500.0, 7.0}};
  const IsoPattern pattern = PatternOf(500.0, 0.02, false, {-500.0, -2}, peaks, EmptyGrid());
  EXPECT_EQ(pattern.Rows()[0][7], 7.0);
}

TEST(IsoPattern, ReadsElutionRowsOfANegativeIonUnderPpm) {
  ElutionGrid grid = EmptyGrid();
  grid.Add(4, {500.005, 11.0});
  const PeakList peaks = {{500.0, 7.0}};
  const IsoPattern pattern = PatternOf(500.0, 20.0, true, {-500.0, -2}, peaks, grid);
  EXPECT_EQ(pattern.Rows()[5][7], 11.0);
  EXPECT_EQ(pattern.ElutionProfile(0), (std::array<double, 10>{0, 0, 0, 0, 11.0, 0, 0, 0, 0, 0}));
}

TEST(IsoPattern, CountsPositionMinusOneIntoTheTotalOnly) {
  ElutionGrid grid = EmptyGrid();
  grid.Add(0, {499.4985, 2.0});  // position -1
  grid.Add(0, {500.0, 3.0});
  grid.Add(9, {500.5015, 4.0});
  grid.Add(0, {498.997, 100.0});  // position -2
  const PeakList peaks = {{500.0, 1e6}};
  const IsoPattern pattern = PatternOf(500.0, 0.02, false, {500.0, 2}, peaks, grid);
  EXPECT_EQ(pattern.Total(), 9.0);
  EXPECT_EQ(pattern.SumFromMono(), 7.0);
}

TEST(IsoPattern, TakesTheTotalBeforeTheCut) {
  ElutionGrid grid = EmptyGrid();
  const PeakList peaks = {
      {500.0, 5.0}, {500.5015, 10.0}, {501.003, 4.0}, {501.5045, 6.0}, {502.006, 8.0}};
  for (const Peak& peak : peaks) grid.Add(3, peak);
  const IsoPattern pattern = PatternOf(500.0, 0.02, false, {500.0, 2}, peaks, grid);
  EXPECT_EQ(pattern.Total(), 33.0);
  EXPECT_EQ(pattern.SumFromMono(), 19.0);
  EXPECT_EQ(pattern.Rows()[4], RowOf({5, 10, 4, 0, 0}));
  EXPECT_EQ(pattern.Rows()[0], RowOf({5, 10, 4, 0, 0}));
}

TEST(IsoPattern, SkipsTheGridBelowItsSecondBin) {
  ElutionGrid grid;
  grid.Reset(3.0, 2.0, 3.5);  // the origin is m/z 1
  grid.Add(0, {1.125, 5.0});
  const PeakList peaks = {{1.125, 5.0}};
  const IsoPattern reaching_bin_0 = PatternOf(2.0, 0.125, false, {1.125, 1}, peaks, grid);
  EXPECT_EQ(reaching_bin_0.Rows()[1][7], 0.0);
  const IsoPattern from_bin_6 = PatternOf(2.0, 0.0625, false, {1.125, 1}, peaks, grid);
  EXPECT_EQ(from_bin_6.Rows()[1][7], 5.0);
}

TEST(IsoPattern, FailsACheckWithoutCandidatePeaks) {
  EXPECT_EQ(MessageOf([] {
              PatternOf(500.0, 20.0, true, {500.0, 2}, PeakSpan{}, EmptyGrid());
            }),
            "peakCandidates.size() > 0, module SpectrumUtils");
}

/// A random precursor near a centre, with a filled grid, a dense grid and candidate peaks.
struct RandomEnvelope {
  explicit RandomEnvelope(unsigned seed);
  [[nodiscard]] EnvelopeInput Input() const {
    return {m_centre, m_params.m_mstol, m_params.m_mstolppm, m_candidates, m_grid};
  }
  [[nodiscard]] naive::Pattern NaivePattern() const {
    return naive::BuildPattern(m_params, m_centre, m_precursor, m_candidates, m_dense);
  }

  UserParameters m_params;
  double m_centre = 0.0;
  Precursor m_precursor;
  PeakList m_candidates;
  ElutionGrid m_grid;
  naive::DenseGrid m_dense{0.0, 0.0};
};

/// Peaks on and around the isotope positions of a precursor, and noise, near a centre.
PeakList EnvelopePeaks(Random& random, const Precursor& precursor, double centre, double reach) {
  PeakList peaks = RandomPeaks(random, random.Int(0, 30), centre - reach, centre + reach);
  for (int i = -3; i < 7; ++i) {
    const double mz = naive::IsotopeMz(precursor, i) * (1.0 + random.Real(-3e-5, 3e-5));
    if (random.Chance(0.7) && std::fabs(mz - centre) < reach)
      peaks.push_back({mz, random.Real(0.0, 1e5)});
  }
  SortByMz(peaks);
  return peaks;
}

void ExpectSamePattern(const IsoPattern& actual, const naive::Pattern& expected) {
  for (std::size_t r = 0; r < IsoPattern::kRowNum; ++r)
    for (std::size_t c = 0; c < IsoPattern::kColNum; ++c)
      EXPECT_TRUE(SameDouble(actual.Rows()[r][c], expected.m_matrix[r][c])) << r << ", " << c;
  EXPECT_TRUE(SameDouble(actual.Total(), expected.m_total));
  for (int i = -7; i < 5; ++i)
    for (std::size_t r = 0; r < 10; ++r)
      EXPECT_TRUE(SameDouble(actual.ElutionProfile(i)[r],
                             expected.m_matrix[r + 1][static_cast<std::size_t>(7 + i)]));
}

RandomEnvelope::RandomEnvelope(unsigned seed) {
  Random random(seed);
  m_params = test::RandomParameters(random);
  const double reach = m_params.m_extended_halfwidth;
  m_centre = random.Chance(0.3) ? random.Real(0.5, 9.0) : random.Real(100.0, 500.0);
  const double mz = m_centre + random.Real(-1.0, 1.0) * std::min(reach, m_centre * 0.9);
  const int z = random.OneOf<int>({-5, -4, -3, -2, -1, 1, 2, 3, 4, 5, 6});
  m_precursor = {z < 0 ? -mz : mz, z};
  m_grid.Reset(m_params.m_candidate_halfwidth, m_centre, reach);
  m_dense = naive::DenseGrid(m_params.m_candidate_halfwidth, m_centre);
  for (std::size_t r = 0; r < 10; ++r) {
    for (const Peak& peak : EnvelopePeaks(random, m_precursor, m_centre, reach)) {
      m_grid.Add(r, peak);
      m_dense.Add(r, peak);
    }
  }
  m_candidates = EnvelopePeaks(random, m_precursor, m_centre, reach);
  if (m_candidates.empty()) m_candidates.push_back({mz, 1.0});
}

TEST(IsoPattern, AgreesWithTheSlowTwinOnTheDenseGrid) {
  for (unsigned seed = 0; seed < 500; ++seed) {
    SCOPED_TRACE(seed);
    const RandomEnvelope envelope(seed);
    ExpectSamePattern(IsoPattern(envelope.Input(), envelope.m_precursor), envelope.NaivePattern());
  }
}

/// The slow twin's pattern with zeros below an isotope position.
naive::Pattern From(int lowest, naive::Pattern pattern) {
  for (auto& row : pattern.m_matrix) std::fill_n(row.begin(), 7 + lowest, 0.0);
  return pattern;
}

TEST(IsoPattern, ReadsNothingBelowTheLowestPosition) {
  for (unsigned seed = 0; seed < 500; ++seed) {
    SCOPED_TRACE(seed);
    const RandomEnvelope envelope(seed);
    for (const int lowest : {-2, -1})
      ExpectSamePattern(IsoPattern(envelope.Input(), envelope.m_precursor, lowest),
                        From(lowest, envelope.NaivePattern()));
  }
}

TEST(MayHoldIsotopes, IsNeverFalseForIsotopesThatAreThere) {
  int refused = 0;
  for (unsigned seed = 0; seed < 500; ++seed) {
    SCOPED_TRACE(seed);
    const RandomEnvelope envelope(seed);
    const int count = naive::CountIsotopes(envelope.NaivePattern().m_matrix);
    for (int wanted = 2; wanted <= 3; ++wanted) {
      const bool may = MayHoldIsotopes(envelope.Input(), envelope.m_precursor, wanted);
      EXPECT_TRUE(may || count < wanted) << wanted << " of " << count;
      refused += may ? 0 : 1;
    }
  }
  EXPECT_GT(refused, 20);
}

/// Whether the three isotope positions from m/z 500, charge 2, can exist within 0.02 m/z.
bool MayHoldThree(const PeakList& candidates, const ElutionGrid& grid) {
  return MayHoldIsotopes({500.0, 0.02, false, candidates, grid}, {500.0, 2}, 3);
}

const PeakList kNoIsotopes = {{500.25, 1.0}};
const PeakList kThreeIsotopes = {{500.0, 1.0}, {500.5015, 1.0}, {501.003, 1.0}};

TEST(MayHoldIsotopes, IsFalseWithoutAnyPeakAtThePositions) {
  EXPECT_FALSE(MayHoldThree(kNoIsotopes, EmptyGrid()));
}

TEST(MayHoldIsotopes, IsTrueForCandidatePeaksAtEveryPosition) {
  EXPECT_TRUE(MayHoldThree(kThreeIsotopes, EmptyGrid()));
}

TEST(MayHoldIsotopes, IsTrueForPeaksOfOneScanAtEveryPosition) {
  ElutionGrid grid = EmptyGrid();
  for (const Peak& peak : kThreeIsotopes) grid.Add(9, peak);
  EXPECT_TRUE(MayHoldThree(kNoIsotopes, grid));
}

TEST(MayHoldIsotopes, IsFalseWhenNoSingleScanHasPeaksAtEveryPosition) {
  ElutionGrid grid = EmptyGrid();
  grid.Add(0, kThreeIsotopes[0]);
  grid.Add(0, kThreeIsotopes[1]);
  grid.Add(1, kThreeIsotopes[1]);
  grid.Add(1, kThreeIsotopes[2]);
  EXPECT_FALSE(MayHoldThree({kThreeIsotopes[0], kThreeIsotopes[2]}, grid));
}

}  // namespace
}  // namespace tarvek
