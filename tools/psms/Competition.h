// tools/psms/Competition.h: which matches are kept, and at which false discovery rate.
// Does:     keeps the best match of each block, then of each peptide in each scan; gives matches and
//           peptides their q-values by the decoys among them; counts what is accepted.
// Throws:   nothing but std::bad_alloc.
// Not here: what a match is (psms/Match.h), which of them are decoys (psms/Peptide.h).
//
// Works on small records sorted in place: 64 bytes for each block, and 24 more for each peptide or
// scan while these are counted.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

namespace tarvek::tools {

/// What the competition must know of a match.
struct Contender {
  double m_cost = 0.0;     // lower is better
  double m_q_value = 1.0;  // of the match
  double m_peptide_q_value = 1.0;
  std::uint64_t m_block = 0;     // equal for matches of one block
  std::uint64_t m_peptide = 0;   // equal for matches of one peptide
  std::uint64_t m_proteins = 0;  // equal for one group of proteins and for its decoys
  std::int64_t m_scan = 0;       // within its run
  std::uint32_t m_number = 0;    // identifies the match for the caller, in the order of files
  std::uint16_t m_run = 0;
  bool m_is_decoy = false;
};

/// How decoys estimate the share of wrong matches among the targets.
enum class FdrEstimate {
  kPlusOne,  // (decoys + 1) / targets
  kRatio     // decoys / targets
};

/// Keeps the best match of each block and of these the best for each peptide of each scan, in the
/// order of their numbers. Targets and decoys are treated alike: of equal costs the peptide with
/// the smaller key wins, then the smaller number.
void Compete(std::vector<Contender>& contenders);

/// Gives every match its q-value, and that of its peptide, for which only the best match of each
/// peptide is counted. A q-value is the smallest estimate at the match or any worse one, at most 1;
/// equal costs have one q-value. When a peptide is a target in one match and a decoy in another,
/// its best match decides; the peptide q-value of the others is 1.
void AssignQValues(std::vector<Contender>& contenders, FdrEstimate estimate);

/// The accepted targets.
struct AcceptedCounts {
  std::int64_t m_scans = 0;  // with at least one accepted match
  std::int64_t m_matches = 0;
  std::int64_t m_peptides = 0;  // of these matches, with a peptide q-value within the rate too
};

/// Counts by run number, for runs that have any, and for all runs together. contenders: with
/// q-values.
struct AcceptedSummary {
  AcceptedCounts m_all;
  std::map<std::uint16_t, AcceptedCounts> m_runs;
};
AcceptedSummary CountAccepted(std::vector<Contender>& contenders, double fdr);

/// Accepted scans when only the best match of each scan is ranked, for users who keep one match per
/// scan. In a short run this may be far from the scans of accepted matches, since a single decoy
/// among the other matches counts.
std::int64_t CountScansAlone(const std::vector<Contender>& contenders, double fdr,
                             FdrEstimate estimate);

/// Accepted groups of proteins: a group has the cost of its best peptide, competes with its decoys
/// (the better one is kept), and counts when its q-value and that of its best peptide are within
/// the rate. contenders: with q-values.
std::int64_t CountProteins(std::vector<Contender>& contenders, double fdr, FdrEstimate estimate);

}  // namespace tarvek::tools
