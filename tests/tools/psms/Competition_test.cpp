#include "psms/Competition.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <tuple>
#include <vector>

namespace tarvek::tools {
namespace {

Contender Match(double cost, std::uint64_t peptide, bool is_decoy = false) {
  Contender match;
  match.m_cost = cost;
  match.m_peptide = peptide;
  match.m_is_decoy = is_decoy;
  return match;
}

/// Each in its own block and scan, numbered in order.
std::vector<Contender> Apart(std::vector<Contender> matches) {
  for (std::size_t i = 0; i < matches.size(); ++i) {
    matches[i].m_number = static_cast<std::uint32_t>(i);
    matches[i].m_block = matches[i].m_proteins = i;
    matches[i].m_scan = static_cast<std::int64_t>(i);
  }
  return matches;
}

TEST(Competition, KeepsTheBestMatchOfEachBlock) {
  auto matches = Apart({Match(2, 1), Match(1, 2), Match(3, 3)});
  matches[0].m_block = matches[1].m_block = 7;
  Compete(matches);
  ASSERT_EQ(matches.size(), 2u);
  EXPECT_EQ(matches[0].m_number, 1u);
  EXPECT_EQ(matches[1].m_number, 2u);
}

TEST(Competition, CountsAPeptideOnceInAScanHoweverManyBlocksFindIt) {
  auto matches = Apart({Match(2, 5), Match(1, 5), Match(3, 6), Match(4, 5)});
  for (std::size_t i : {0u, 1u, 2u}) matches[i].m_scan = 9;
  Compete(matches);
  ASSERT_EQ(matches.size(), 3u);
  EXPECT_EQ(matches[0].m_number, 1u);  // the better one of peptide 5 in scan 9
  EXPECT_EQ(matches[1].m_number, 2u);
  EXPECT_EQ(matches[2].m_number, 3u);  // peptide 5 in another scan
}

TEST(Competition, TreatsDecoysAsTargetsWhereTheyAreEqual) {
  for (const bool is_decoy : {false, true}) {
    auto matches = Apart({Match(1, 8, !is_decoy), Match(1, 3, is_decoy)});
    matches[0].m_block = matches[1].m_block = 7;
    Compete(matches);
    ASSERT_EQ(matches.size(), 1u);
    EXPECT_EQ(matches[0].m_peptide, 3u);  // the smaller key, whichever it is
  }
}

// By hand, targets T and decoys D from the best: T T D T T T. Ratios are 0/1, 0/2, 1/2, 1/3, 1/4, 1/5,
// with the 1 added 1/1, 1/2, 2/2, 2/3, 2/4, 2/5.
TEST(Competition, GivesTheSmallestEstimateFromEachPlaceOn) {
  const auto q_values = [](FdrEstimate estimate) {
    auto matches =
        Apart({Match(1, 1), Match(2, 2), Match(3, 3, true), Match(4, 4), Match(5, 5), Match(6, 6)});
    AssignQValues(matches, estimate);
    std::vector<double> values;
    for (const Contender& match : matches) values.push_back(match.m_q_value);
    return values;
  };
  EXPECT_EQ(q_values(FdrEstimate::kRatio), (std::vector<double>{0, 0, 0.2, 0.2, 0.2, 0.2}));
  EXPECT_EQ(q_values(FdrEstimate::kPlusOne), (std::vector<double>{0.4, 0.4, 0.4, 0.4, 0.4, 0.4}));
}

TEST(Competition, DoesNotPartEqualCosts) {
  for (const bool first_is_decoy : {false, true}) {
    auto matches = Apart({Match(1, 1), Match(2, 2, first_is_decoy), Match(2, 3, !first_is_decoy)});
    AssignQValues(matches, FdrEstimate::kRatio);
    EXPECT_EQ(matches[0].m_q_value, 0.0);
    EXPECT_EQ(matches[1].m_q_value, 0.5);
    EXPECT_EQ(matches[2].m_q_value, 0.5);
  }
}

TEST(Competition, RanksPeptidesByTheirBestMatch) {
  // Peptide 1 twice, decoy 2 twice: among peptides one of each.
  auto matches =
      Apart({Match(1, 1), Match(2, 2, true), Match(3, 2, true), Match(4, 1), Match(5, 3)});
  AssignQValues(matches, FdrEstimate::kRatio);
  EXPECT_EQ(matches[0].m_peptide_q_value, 0.0);
  EXPECT_EQ(matches[3].m_peptide_q_value, 0.0);
  EXPECT_EQ(matches[1].m_peptide_q_value, 0.5);  // one decoy, targets 1 and 3
  EXPECT_EQ(matches[4].m_peptide_q_value, 0.5);
  EXPECT_EQ(matches[4].m_q_value, 2.0 / 3.0);
}

TEST(Competition, KeepsTheBetterOfAProteinAndItsDecoy) {
  // Group 1: the target is better; group 2: its decoy; group 3 alone.
  auto matches =
      Apart({Match(1, 1), Match(2, 2, true), Match(3, 3, true), Match(4, 4), Match(5, 5)});
  const std::uint64_t groups[] = {1, 1, 2, 2, 3};
  for (std::size_t i = 0; i < 5; ++i) matches[i].m_proteins = groups[i];
  AssignQValues(matches, FdrEstimate::kRatio);
  // Left are target 1, decoy 2 and target 3: q-values 0, 1/2, 1/2. Of peptides they are 0 and 2/3.
  EXPECT_EQ(CountProteins(matches, 0.4, FdrEstimate::kRatio), 1);
  EXPECT_EQ(CountProteins(matches, 0.6, FdrEstimate::kRatio), 1);  // the peptide is not accepted
  EXPECT_EQ(CountProteins(matches, 0.7, FdrEstimate::kRatio), 2);
}

TEST(Competition, BearsNoMatches) {
  std::vector<Contender> none;
  Compete(none);
  AssignQValues(none, FdrEstimate::kPlusOne);
  EXPECT_EQ(CountAccepted(none, 0.01).m_all.m_matches, 0);
  EXPECT_EQ(CountProteins(none, 0.01, FdrEstimate::kPlusOne), 0);
}

/// The same by comparing each value with all others.
class Slowly {
 public:
  explicit Slowly(FdrEstimate estimate) : m_added(estimate == FdrEstimate::kPlusOne ? 1 : 0) {}

  static bool IsBetter(const Contender& a, const Contender& b) {
    if (a.m_cost != b.m_cost) return a.m_cost < b.m_cost;
    if (a.m_peptide != b.m_peptide) return a.m_peptide < b.m_peptide;
    return a.m_number < b.m_number;
  }

  template <class IsRival>
  static std::vector<Contender> Best(const std::vector<Contender>& all, IsRival is_rival) {
    std::vector<Contender> best;
    for (const Contender& one : all)
      if (std::ranges::none_of(all, [&](const Contender& other) {
            return is_rival(one, other) && IsBetter(other, one);
          }))
        best.push_back(one);
    return best;
  }

  static std::vector<Contender> Compete(const std::vector<Contender>& all) {
    const auto blocks =
        Best(all, [](const auto& a, const auto& b) { return a.m_block == b.m_block; });
    return Best(blocks, [](const auto& a, const auto& b) {
      return a.m_run == b.m_run && a.m_scan == b.m_scan && a.m_peptide == b.m_peptide;
    });
  }

  static std::vector<Contender> Peptides(const std::vector<Contender>& all) {
    return Best(all, [](const auto& a, const auto& b) { return a.m_peptide == b.m_peptide; });
  }

  /// The q-value that cost has among ranked.
  [[nodiscard]] double QValue(double cost, const std::vector<Contender>& ranked) const {
    double smallest = 1.0;
    for (const Contender& cut : ranked) {
      if (cut.m_cost < cost) continue;
      double decoys = m_added;
      double targets = 0;
      for (const Contender& one : ranked)
        if (one.m_cost <= cut.m_cost) (one.m_is_decoy ? decoys : targets) += 1;
      smallest = std::min(smallest, decoys / std::max(targets, 1.0));
    }
    return smallest;
  }

  [[nodiscard]] double PeptideQValue(const Contender& match,
                                     const std::vector<Contender>& peptides) const {
    for (const Contender& best : peptides)
      if (best.m_peptide == match.m_peptide && best.m_is_decoy == match.m_is_decoy)
        return QValue(best.m_cost, peptides);
    return 1.0;
  }

  [[nodiscard]] std::int64_t Proteins(const std::vector<Contender>& all, double fdr) const {
    const auto peptides = Peptides(all);
    const auto groups =
        Best(peptides, [](const auto& a, const auto& b) { return a.m_proteins == b.m_proteins; });
    return std::ranges::count_if(groups, [&](const Contender& best) {
      return !best.m_is_decoy && QValue(best.m_cost, groups) <= fdr &&
             QValue(best.m_cost, peptides) <= fdr;
    });
  }

  [[nodiscard]] std::int64_t ScansAlone(const std::vector<Contender>& all, double fdr) const {
    const auto scans = Best(all, [](const auto& a, const auto& b) {
      return a.m_run == b.m_run && a.m_scan == b.m_scan;
    });
    return std::ranges::count_if(scans, [&](const Contender& best) {
      return !best.m_is_decoy && QValue(best.m_cost, scans) <= fdr;
    });
  }

 private:
  double m_added;
};

std::vector<Contender> RandomMatches(unsigned seed) {
  std::mt19937 random(seed);
  const auto below = [&](unsigned end) { return static_cast<unsigned>(random() % end); };
  std::vector<Contender> matches(1 + below(60));
  for (std::size_t i = 0; i < matches.size(); ++i) {
    Contender& match = matches[i];
    match.m_number = static_cast<std::uint32_t>(i);
    match.m_cost = below(30);
    match.m_block = below(45);
    match.m_peptide = below(25);
    match.m_proteins = below(12);
    match.m_scan = below(20);
    match.m_run = static_cast<std::uint16_t>(below(3));
    match.m_is_decoy = below(4) == 0;
  }
  return matches;
}

class CompetitionTwin : public testing::TestWithParam<FdrEstimate> {};

TEST_P(CompetitionTwin, AgreesWithTheSlowOne) {
  const Slowly slowly(GetParam());
  for (unsigned seed = 0; seed < 200; ++seed) {
    SCOPED_TRACE(seed);
    auto matches = RandomMatches(seed);
    const auto expected = Slowly::Compete(matches);
    Compete(matches);
    AssignQValues(matches, GetParam());
    ASSERT_EQ(matches.size(), expected.size());
    const auto peptides = Slowly::Peptides(expected);
    const double fdr = 0.05 * (seed % 12);
    std::set<std::tuple<int, std::int64_t>> scans;
    std::set<std::uint64_t> sequences;
    std::set<std::tuple<int, std::uint64_t>> of_runs;
    std::int64_t count = 0;
    for (std::size_t i = 0; i < matches.size(); ++i) {
      ASSERT_EQ(matches[i].m_number, expected[i].m_number);
      EXPECT_DOUBLE_EQ(matches[i].m_q_value, slowly.QValue(expected[i].m_cost, expected));
      EXPECT_DOUBLE_EQ(matches[i].m_peptide_q_value, slowly.PeptideQValue(expected[i], peptides));
      if (matches[i].m_is_decoy || matches[i].m_q_value > fdr) continue;
      ++count;
      scans.insert({matches[i].m_run, matches[i].m_scan});
      if (matches[i].m_peptide_q_value > fdr) continue;
      sequences.insert(matches[i].m_peptide);
      of_runs.insert({matches[i].m_run, matches[i].m_peptide});
    }
    const AcceptedSummary summary = CountAccepted(matches, fdr);
    EXPECT_EQ(summary.m_all.m_matches, count);
    EXPECT_EQ(summary.m_all.m_scans, std::ssize(scans));
    EXPECT_EQ(summary.m_all.m_peptides, std::ssize(sequences));
    AcceptedCounts added;
    for (const auto& [run, counts] : summary.m_runs) {
      added.m_matches += counts.m_matches;
      added.m_scans += counts.m_scans;
      added.m_peptides += counts.m_peptides;
    }
    EXPECT_EQ(added.m_matches, count);
    EXPECT_EQ(added.m_scans, std::ssize(scans));
    EXPECT_EQ(added.m_peptides, std::ssize(of_runs));
    EXPECT_EQ(CountProteins(matches, fdr, GetParam()), slowly.Proteins(expected, fdr));
    EXPECT_EQ(CountScansAlone(matches, fdr, GetParam()), slowly.ScansAlone(expected, fdr));
    EXPECT_TRUE(std::ranges::is_sorted(matches, {}, &Contender::m_number));
  }
}

INSTANTIATE_TEST_SUITE_P(Psms, CompetitionTwin,
                         testing::Values(FdrEstimate::kPlusOne, FdrEstimate::kRatio));

}  // namespace
}  // namespace tarvek::tools
