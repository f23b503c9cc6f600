// joint/CandidateFeatures.h: the features of each candidate after the common fit of all of them.
// Does:     computes the numbers by which the model separates true precursors from false ones.
// Owns:     its working lists, reused from scan to scan.
// Throws:   nothing.
// Not here: the weights of the features (JointModel.h).
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "EnvelopeCandidate.h"
#include "EnvelopeFit.h"
#include "FragmentPairs.h"
#include "SpectrumRecords.h"

namespace tarvek::joint {

/// In the order of the feature table and of the model.
enum Feature : std::size_t {
  kCosNear,         // envelope against expected: the three nearest surveys,
  kCosAll,          // all ten,
  kCosNearest,      // the precursor scan alone,
  kCosRoot,         // roots over all ten
  kGainOverLower,   // cosine less that of the ion one isotope lower,
  kGainOverHigher,  // and one isotope higher
  kBelowOne,        // intensity one position below, against that expected there from the lower ion
  kBelowTwo,        // two below
  kHalfSpacing,     // intensity half a step above, as a share of the monoisotopic and next peak
  kThirdSpacing,    // one and two thirds of a step above
  kElution01,       // cosine of the isotopes' profiles over ten surveys
  kElution12,
  kElutionBelow,     // of the position below and the monoisotopic one
  kSurveysWithBoth,  // with the first two isotopes
  kUnbroken,         // surveys around the precursor scan without a gap in the first two isotopes
  kIsotopesFound,    // from the monoisotopic one upwards, without a gap
  kFoundOfExpected,  // of the isotopes that should be above the detection limit
  kMissing,          // expected share of the isotopes that should be seen and are not
  kSpacingPpm,       // between the first two isotopes, off the expected one
  kSpreadPpm,        // of the isotopes' m/z
  kWindowShare,      // of the window's current, by its own peaks
  kFitShare,         // of the window's current, in the common fit
  kFitOfWindow,      // of what the fit explains in the window
  kFitOfOwn,         // amplitude in the fit against that of the candidate alone
  kCosResidual,      // cosine with what all others leave
  kLossWithout,      // what the fit loses without it, of all intensity near it
  kInsideShare,      // expected share of the envelope in the window
  kInsideCount,      // its isotopes in the window
  kEdgeDistance,     // of its most intense isotope in the window from the nearer edge, m/z
  kCentrePpm,        // of its nearest isotope from the centre, at most 50
  kCentrePosition,   // which isotope that is
  kDeclaredCharge,   // 1 the declared charge, -1 another, 0 none declared
  kDeclaredOffset,   // isotopes between it and the declared ion of the same charge; 9 no relation
  kMassDefect,       // distance of the mass defect from that of peptides, Da
  kMass,             // neutral, Da
  kCharge,
  kSignal,            // root of the near intensity against the detection limit
  kOtherCharges,      // of the same mass in the precursor scan
  kRivalFit,          // largest amplitude of another candidate on its peaks, against its own
  kRivalCos,          // best near cosine of such a candidate less its own
  kRank,              // by the share in the fit, 0 the largest
  kCandidates,        // of the scan that the fit keeps
  kExplained,         // share of the window's current that the fit explains
  kUnfragmented,      // of the fragments' current at its own m/z
  kPairs,             // complementary fragments: intensity of pairs, more than by chance,
  kPairsOverShifted,  // and more than one isotope up and down
  kBeyondMz,  // of the fragments' current above its isotopes, where an ion of charge 1 has none
  kFeatureCount
};

/// Names for the table of candidates, in the order of Feature.
extern const std::array<const char*, kFeatureCount> kFeatureNames;

using FeatureRow = std::array<double, kFeatureCount>;

/// A candidate that the common fit kept.
struct FittedCandidate {
  EnvelopeCandidate m_candidate;
  double m_window_share = 0.0;  // of the window's current, in the fit
  FeatureRow m_features{};
};

class CandidateFitter {
 public:
  /// Fits the candidates of a scan together and describes those that are worth their price.
  void Fit(const WindowOfScan& window, std::span<const EnvelopeCandidate> candidates,
           const MS2Spectrum& ms2, PeakSpan precursor_scan, std::vector<FittedCandidate>& fitted);

 private:
  void FillColumns(const WindowOfScan& window, std::span<const EnvelopeCandidate> candidates);
  void FitChosen(double noise);
  void DescribeCompany(std::vector<FittedCandidate>& fitted) const;

  std::vector<double> m_intensities;
  std::vector<EnvelopeColumn> m_columns;  // of those chosen, once they are
  std::vector<std::size_t> m_chosen;      // indices of candidates
  EnvelopeFitResult m_fit;
  FragmentPairs m_pairs;
};

}  // namespace tarvek::joint
