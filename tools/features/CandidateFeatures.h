// tools/features/CandidateFeatures.h: the candidate precursors of a run with features and label, as a table.
// Does:     walks a run as tarvek does and writes a row for each candidate that reaches scoring;
//           labels it by the truth of a simulated run or by identified peptides.
// Owns:     nothing beyond a call.
// Throws:   a std::string naming the file for what cannot be read or written.
// Not here: options (features/Command.h), the features themselves (FeaturesExtractor.h).
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "FeaturesExtractor.h"
#include "SpectrumRecords.h"
#include "UserParameters.h"
#include "score/Score.h"

namespace tarvek::tools {

/// A feature of candidates that are determined one by one.
struct FeatureColumn {
  const char* m_name;
  double (*m_value)(FeaturesExtractor& candidate);
};
extern const std::array<FeatureColumn, 12> kFeatureColumns;

enum class CandidateLabel { kFalse, kTrue, kDoubtful };

/// Precursors that a search engine identified, by scan number.
using IdentifiedPrecursors = std::map<std::int32_t, std::vector<Precursor>>;

/// Reads a tab-separated table with the columns scan, mz and charge.
IdentifiedPrecursors ReadIdentifiedPrecursors(const std::string& path);

/// True for a precursor of the same charge within tol_ppm that has at least min_share of the
/// isolated current. Doubtful for one of a smaller share, or between one and two tolerances away.
CandidateLabel LabelByTruth(const Precursor& candidate, std::span<const TruePrecursor> truths,
                            double tol_ppm, double min_share);

/// True for an identified precursor of the same charge within tol_ppm. False for what contradicts
/// one: its m/z with another charge, or one to three isotopes off with its charge. Doubtful for all
/// others, since further peptides may have been isolated.
CandidateLabel LabelByPeptides(const Precursor& candidate, std::span<const Precursor> identified,
                               double tol_ppm);

struct FeatureTableOptions {
  std::string m_ms1_path;    // the .ms2 file is next to it
  std::string m_truth_path;  // one of these two
  std::string m_identified_path;
  std::string m_out_path;
  double m_tol_ppm = 10.0;
  double m_min_share = 0.05;
  bool m_with_scores = false;  // a further column for each scoring model
  bool m_is_joint = false;     // the candidates and features of the joint determination
};

/// Writes the table: m/z, features and scores with six decimals; the label is 1, 0 or, when
/// doubtful, NA. The isotope table must be loaded. On failure there is no file under the final
/// name. Refuses a path that does not end in .ms1, whatever the contents.
void WriteFeatureTable(const UserParameters& parameters, const FeatureTableOptions& options);

}  // namespace tarvek::tools
