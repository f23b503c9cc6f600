#include "psms/Competition.h"

#include <algorithm>
#include <span>
#include <tuple>

namespace tarvek::tools {
namespace {

// What the estimate needs of each ranked item.
struct Ranked {
  double m_cost = 0.0;
  double m_q_value = 1.0;
  std::uint32_t m_place = 0;  // in the vector of contenders
  bool m_is_decoy = false;
};

// A complete order, so that the result does not depend on the sort algorithm.
auto BestFirst(const Contender& match) {
  return std::tuple(match.m_cost, match.m_peptide, match.m_number);
}

// Keeps the first of consecutive items with one key.
template <class Item, class Key>
void EraseRepeated(std::vector<Item>& items, Key key) {
  const auto are_one = [&](const Item& a, const Item& b) { return key(a) == key(b); };
  items.erase(std::unique(items.begin(), items.end(), are_one), items.end());
}

template <class Key>
void KeepBest(std::vector<Contender>& contenders, Key key) {
  std::ranges::sort(contenders, [&](const Contender& a, const Contender& b) {
    return std::tuple(key(a), BestFirst(a)) < std::tuple(key(b), BestFirst(b));
  });
  EraseRepeated(contenders, key);
}

auto BlockOf(const Contender& match) { return match.m_block; }

auto PeptideOfScan(const Contender& match) {
  return std::tuple(match.m_run, match.m_scan, match.m_peptide);
}

// Item is a Contender or a Ranked; ascending in cost.
template <class Item>
void AssignSorted(std::span<Item> ranked, FdrEstimate estimate) {
  std::int64_t decoys = estimate == FdrEstimate::kPlusOne ? 1 : 0;
  std::int64_t targets = 0;
  for (std::size_t first = 0, end = 0; first < ranked.size(); first = end) {
    for (; end < ranked.size() && ranked[end].m_cost == ranked[first].m_cost; ++end)
      ++(ranked[end].m_is_decoy ? decoys : targets);
    const double share =
        static_cast<double>(decoys) / static_cast<double>(std::max<std::int64_t>(targets, 1));
    for (std::size_t i = first; i < end; ++i) ranked[i].m_q_value = std::min(1.0, share);
  }
  for (std::size_t i = ranked.size(); i-- > 1;)
    ranked[i - 1].m_q_value = std::min(ranked[i - 1].m_q_value, ranked[i].m_q_value);
}

// The best of each peptide, ascending in cost, with q-values. Sorts contenders by peptide, the best
// first.
std::vector<Ranked> RankPeptides(std::vector<Contender>& contenders, FdrEstimate estimate) {
  std::ranges::sort(contenders, {}, [](const Contender& match) {
    return std::tuple(match.m_peptide, match.m_cost, match.m_number);
  });
  std::vector<Ranked> peptides;
  for (std::size_t i = 0; i < contenders.size(); ++i)
    if (i == 0 || contenders[i].m_peptide != contenders[i - 1].m_peptide)
      peptides.push_back(
          {contenders[i].m_cost, 1.0, static_cast<std::uint32_t>(i), contenders[i].m_is_decoy});
  std::ranges::sort(peptides, {}, [](const Ranked& peptide) {
    return std::tuple(peptide.m_cost, peptide.m_place);
  });
  AssignSorted(std::span(peptides), estimate);
  return peptides;
}

bool IsAccepted(const Contender& match, double fdr) {
  return !match.m_is_decoy && match.m_q_value <= fdr;
}

}  // namespace

void Compete(std::vector<Contender>& contenders) {
  KeepBest(contenders, &BlockOf);
  KeepBest(contenders, &PeptideOfScan);
  std::ranges::sort(contenders, {}, &Contender::m_number);
}

void AssignQValues(std::vector<Contender>& contenders, FdrEstimate estimate) {
  for (const Ranked& best : RankPeptides(contenders, estimate)) {
    const std::uint64_t peptide = contenders[best.m_place].m_peptide;
    for (std::size_t i = best.m_place; i < contenders.size() && contenders[i].m_peptide == peptide;
         ++i)
      if (contenders[i].m_is_decoy == best.m_is_decoy)
        contenders[i].m_peptide_q_value = best.m_q_value;
  }
  std::ranges::sort(contenders, {}, &BestFirst);
  AssignSorted(std::span(contenders), estimate);
  std::ranges::sort(contenders, {}, &Contender::m_number);
}

AcceptedSummary CountAccepted(std::vector<Contender>& contenders, double fdr) {
  AcceptedSummary summary;
  std::ranges::sort(contenders, {}, [](const Contender& match) {
    return std::tuple(match.m_run, match.m_scan, match.m_number);
  });
  const Contender* last = nullptr;
  for (const Contender& match : contenders) {
    if (!IsAccepted(match, fdr)) continue;
    const bool is_new =
        last == nullptr || last->m_run != match.m_run || last->m_scan != match.m_scan;
    for (AcceptedCounts* counts : {&summary.m_all, &summary.m_runs[match.m_run]}) {
      ++counts->m_matches;
      counts->m_scans += is_new ? 1 : 0;
    }
    last = &match;
  }
  std::ranges::sort(contenders, {}, [](const Contender& match) {
    return std::tuple(match.m_peptide, match.m_run, match.m_cost, match.m_number);
  });
  last = nullptr;
  for (const Contender& match : contenders) {
    if (!IsAccepted(match, fdr) || match.m_peptide_q_value > fdr) continue;
    const bool is_new = last == nullptr || last->m_peptide != match.m_peptide;
    if (is_new) ++summary.m_all.m_peptides;
    if (is_new || last->m_run != match.m_run) ++summary.m_runs[match.m_run].m_peptides;
    last = &match;
  }
  std::ranges::sort(contenders, {}, &Contender::m_number);
  return summary;
}

std::int64_t CountScansAlone(const std::vector<Contender>& contenders, double fdr,
                             FdrEstimate estimate) {
  std::vector<Ranked> scans;
  for (std::size_t i = 0; i < contenders.size(); ++i)
    scans.push_back(
        {contenders[i].m_cost, 1.0, static_cast<std::uint32_t>(i), contenders[i].m_is_decoy});
  const auto scan_of = [&](const Ranked& match) {
    const Contender& contender = contenders[match.m_place];
    return std::tuple(contender.m_run, contender.m_scan);
  };
  const auto best_first = [&](const Ranked& match) { return BestFirst(contenders[match.m_place]); };
  std::ranges::sort(scans, {}, [&](const Ranked& match) {
    return std::tuple(scan_of(match), best_first(match));
  });
  EraseRepeated(scans, scan_of);
  std::ranges::sort(scans, {}, best_first);
  AssignSorted(std::span(scans), estimate);
  return std::ranges::count_if(
      scans, [&](const Ranked& best) { return !best.m_is_decoy && best.m_q_value <= fdr; });
}

std::int64_t CountProteins(std::vector<Contender>& contenders, double fdr, FdrEstimate estimate) {
  std::vector<Ranked> peptides = RankPeptides(contenders, estimate);
  const auto group_of = [&](const Ranked& peptide) {
    return contenders[peptide.m_place].m_proteins;
  };
  std::ranges::sort(peptides, {}, [&](const Ranked& peptide) {
    return std::tuple(group_of(peptide), peptide.m_cost, peptide.m_place);
  });
  EraseRepeated(peptides, group_of);
  std::ranges::sort(peptides, {}, [](const Ranked& peptide) {
    return std::tuple(peptide.m_cost, peptide.m_place);
  });
  AssignSorted(std::span(peptides), estimate);
  const std::int64_t count = std::ranges::count_if(peptides, [&](const Ranked& best) {
    return !best.m_is_decoy && best.m_q_value <= fdr &&
           contenders[best.m_place].m_peptide_q_value <= fdr;
  });
  std::ranges::sort(contenders, {}, &Contender::m_number);
  return count;
}

}  // namespace tarvek::tools
