#include "features/CandidateFeatures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <memory>

#include "Charge.h"
#include "JointDetermination.h"
#include "Ms1Feed.h"
#include "Ms2Loop.h"
#include "NumberText.h"
#include "OutputFile.h"
#include "PrecursorDetermination.h"
#include "PrecursorTable.h"
#include "ScoringModels.h"
#include "SpectrumSource.h"
#include "StringUtils.h"
#include "TableReader.h"
#include "UnfinishedFile.h"
#include "WorkLimit.h"

namespace tarvek::tools {
namespace {

constexpr int kDecimals = 6;

const char* LabelText(CandidateLabel label) {
  if (label == CandidateLabel::kDoubtful) return "NA";
  return label == CandidateLabel::kTrue ? "1" : "0";
}

void AppendHeader(std::string& text, bool with_scores) {
  text += "scan\tmz\tcharge";
  for (const FeatureColumn& column : kFeatureColumns) text.append("\t").append(column.m_name);
  text += "\tlabel";
  if (with_scores)
    for (const MarsModel& model : kMarsModels) text += "\tscore_" + std::to_string(model.m_number);
  text += '\n';
}

void AppendReal(std::string& text, double value) {
  text += '\t';
  AppendFixed(text, value, kDecimals);
}

void AppendRow(std::string& text, std::int32_t scan_no, FeaturesExtractor& candidate,
               CandidateLabel label, bool with_scores) {
  text += std::to_string(scan_no);
  AppendReal(text, candidate.GetPrecursor().m_mz);
  text += "\t" + std::to_string(candidate.GetPrecursor().m_charge);
  for (const FeatureColumn& column : kFeatureColumns) AppendReal(text, column.m_value(candidate));
  text.append("\t").append(LabelText(label));
  if (with_scores)
    for (const MarsModel& model : kMarsModels) AppendReal(text, Score(candidate, model.m_number));
  text += '\n';
}

/// Gives a candidate of a scan its label.
using Labeller = std::function<CandidateLabel(std::int32_t scan_no, const Precursor& candidate)>;

template <class Table>
auto OfScan(const Table& table, std::int32_t scan_no) {
  const auto rows = table.find(scan_no);
  using Rows = std::span<const typename Table::mapped_type::value_type>;
  return rows == table.end() ? Rows() : Rows(rows->second);
}

Labeller MakeLabeller(const FeatureTableOptions& options) {
  const double tol_ppm = options.m_tol_ppm;
  if (!options.m_truth_path.empty())
    return [truth = ReadTruthTable(options.m_truth_path), tol_ppm, min_share = options.m_min_share](
               std::int32_t scan_no, const Precursor& candidate) {
      return LabelByTruth(candidate, OfScan(truth, scan_no), tol_ppm, min_share);
    };
  return [identified = ReadIdentifiedPrecursors(options.m_identified_path), tol_ppm](
             std::int32_t scan_no, const Precursor& candidate) {
    return LabelByPeptides(candidate, OfScan(identified, scan_no), tol_ppm);
  };
}

void AppendJointHeader(std::string& text) {
  text += "scan\tmz\tcharge";
  for (const char* name : joint::kFeatureNames) text.append("\t").append(name);
  text += "\tlabel\n";
}

void AppendJointRow(std::string& text, std::int32_t scan_no, const Precursor& precursor,
                    const joint::FeatureRow& features, CandidateLabel label) {
  AppendInteger(text, scan_no);
  AppendReal(text, precursor.m_mz);
  text += '\t';
  AppendInteger(text, precursor.m_charge);
  for (const double value : features) AppendReal(text, value);
  text.append("\t").append(LabelText(label)).append("\n");
}

/// Appends the rows of one scan.
using AppendRows =
    std::function<void(std::string& rows, const Ms1Store& store, const MS2Spectrum& scan)>;

/// Makes the rows, and tells the work that they took so far.
struct RowMaker {
  AppendRows m_append;
  std::function<std::int64_t()> m_work;
};

RowMaker JointRows(const UserParameters& parameters, const Labeller& label) {
  const auto determination = std::make_shared<joint::JointDetermination>(parameters);
  const double sign = parameters.m_charge_max < 0 ? -1.0 : 1.0;
  const auto append = [=](std::string& rows, const Ms1Store& store, const MS2Spectrum& scan) {
    for (const joint::FittedCandidate& fitted : determination->Candidates(store, scan)) {
      const joint::EnvelopeCandidate& candidate = fitted.m_candidate;
      if (!determination->IsAskedFor(candidate.m_charge)) continue;
      const Precursor precursor{sign * candidate.m_mz,
                                static_cast<std::int32_t>(sign) * candidate.m_charge};
      AppendJointRow(rows, scan.m_scan_no, precursor, fitted.m_features,
                     label(scan.m_scan_no, precursor));
    }
  };
  return {append, [determination] { return determination->Work(); }};
}

RowMaker SingleRows(const UserParameters& parameters, const Labeller& label, bool with_scores) {
  const auto determination = std::make_shared<PrecursorDetermination>(parameters);
  const auto append = [=](std::string& rows, const Ms1Store& store, const MS2Spectrum& scan) {
    determination->WithCandidates(store, scan, [&](std::span<FeaturesExtractor* const> candidates) {
      for (FeaturesExtractor* const candidate : candidates)
        AppendRow(rows, scan.m_scan_no, *candidate,
                  label(scan.m_scan_no, candidate->GetPrecursor()), with_scores);
    });
  };
  return {append, [determination] { return determination->Work(); }};
}

// Walks the run in the order and under the conditions in which tarvek determines precursors.
void WriteRows(const UserParameters& parameters, const FeatureTableOptions& options,
               OutputFile& out) {
  const Labeller label = MakeLabeller(options);
  const RowMaker maker = options.m_is_joint ? JointRows(parameters, label)
                                            : SingleRows(parameters, label, options.m_with_scores);
  TextSpectrumSource source(options.m_ms1_path, Ms2Path(options.m_ms1_path));
  const std::int64_t most_work = MostWork(parameters, source.InputBytes());
  Ms1Feed feed(source, nullptr);
  MS2Spectrum scan;
  while (source.NextMs2(scan)) {
    feed.AdvanceTo(scan.m_precursor_scan);
    if (!IsProcessed(scan) || !CanDetermine(source, feed.Store(), scan)) continue;
    if (maker.m_work() > most_work)
      throw options.m_ms1_path + ", scan " + std::to_string(scan.m_scan_no) +
          ": the surveys before it have far more peaks around the MS2 scans than those of a real "
          "run of this size.";
    std::string rows;
    maker.m_append(rows, feed.Store(), scan);
    out.Write(rows);
  }
}

}  // namespace

const std::array<FeatureColumn, 12> kFeatureColumns = {{
    {"ipv_similarity_0", [](FeaturesExtractor& c) { return c.ipv_similarity_0(); }},
    {"ipv_similarity_m1", [](FeaturesExtractor& c) { return c.ipv_similarity_m1(); }},
    {"ipv_similarity_m2", [](FeaturesExtractor& c) { return c.ipv_similarity_m2(); }},
    {"xic_correlation_0_1", [](FeaturesExtractor& c) { return c.xic_correlation_0_1(); }},
    {"xic_correlation_m1_0", [](FeaturesExtractor& c) { return c.xic_correlation_m1_0(); }},
    {"elution_share", [](FeaturesExtractor& c) { return c.elution_share(); }},
    {"window_intensity_ratio", [](FeaturesExtractor& c) { return c.window_intensity_ratio(); }},
    {"isotope_count", [](FeaturesExtractor& c) { return double(c.isotope_count()); }},
    {"window_isotope_count", [](FeaturesExtractor& c) { return double(c.window_isotope_count()); }},
    {"mz_spread_ppm", [](FeaturesExtractor& c) { return c.mz_spread_ppm(); }},
    {"charge_times_mz", [](FeaturesExtractor& c) { return c.charge_times_mz(); }},
    {"abs_charge", [](FeaturesExtractor& c) { return c.abs_charge(); }},
}};

IdentifiedPrecursors ReadIdentifiedPrecursors(const std::string& path) {
  TableReader reader(path);
  const auto [scan, mz, charge] = reader.ReadHeader<3>({"scan", "mz", "charge"});
  IdentifiedPrecursors identified;
  while (reader.NextRow()) {
    std::vector<Precursor>& of_scan = identified[reader.Integer(scan)];
    if (of_scan.size() == kMostTablePrecursors) reader.Fail("more precursors than any scan has.");
    of_scan.push_back({reader.Real(mz), reader.Integer(charge)});
  }
  return identified;
}

CandidateLabel LabelByTruth(const Precursor& candidate, std::span<const TruePrecursor> truths,
                            double tol_ppm, double min_share) {
  CandidateLabel label = CandidateLabel::kFalse;
  for (const TruePrecursor& truth : truths) {
    const Precursor& precursor = truth.m_precursor;
    if (precursor.m_charge != candidate.m_charge) continue;
    if (!WithinPpm(candidate.m_mz, precursor.m_mz, 2.0 * tol_ppm)) continue;
    if (truth.m_share >= min_share && WithinPpm(candidate.m_mz, precursor.m_mz, tol_ppm))
      return CandidateLabel::kTrue;
    label = CandidateLabel::kDoubtful;
  }
  return label;
}

CandidateLabel LabelByPeptides(const Precursor& candidate, std::span<const Precursor> identified,
                               double tol_ppm) {
  CandidateLabel label = CandidateLabel::kDoubtful;
  for (const Precursor& peptide : identified) {
    const bool same_charge = peptide.m_charge == candidate.m_charge;
    if (WithinPpm(candidate.m_mz, peptide.m_mz, tol_ppm)) {
      if (same_charge) return CandidateLabel::kTrue;
      label = CandidateLabel::kFalse;
    }
    const double spacing_mz = kIsotopeDifferenceDa / ChargeWithoutSign(peptide.m_charge);
    for (int isotope = 1; isotope <= kMaxShift && same_charge; ++isotope)
      for (const double shift_mz : {-isotope * spacing_mz, isotope * spacing_mz})
        if (WithinPpm(candidate.m_mz, std::fabs(peptide.m_mz) + shift_mz, tol_ppm))
          label = CandidateLabel::kFalse;
  }
  return label;
}

void WriteFeatureTable(const UserParameters& parameters, const FeatureTableOptions& options) {
  if (!EndsWithIgnoreCase(options.m_ms1_path, ".ms1"))
    throw options.m_ms1_path + " is not an .ms1 file.";
  UserParameters working = parameters;
  SetCurrentFile(working, options.m_ms1_path);
  UnfinishedFile out(options.m_out_path, "feature table");
  std::string header;
  if (options.m_is_joint)
    AppendJointHeader(header);
  else
    AppendHeader(header, options.m_with_scores);
  out.File().Write(header);
  WriteRows(working, options, out.File());
  out.TakeName();
}

}  // namespace tarvek::tools
