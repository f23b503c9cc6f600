#include "features/Command.h"

#include <memory>
#include <string>
#include <tuple>
#include <utility>

#include "IsotopeTable.h"
#include "RunDriver.h"
#include "features/CandidateFeatures.h"
#include "score/Command.h"

namespace tarvek::tools {
namespace {

struct FeaturesOptions {
  FeatureTableOptions m_table;
  UserParameters m_parameters;
  std::pair<std::int32_t, std::int32_t> m_charges{2, 6};
};

void CheckCharges(std::pair<std::int32_t, std::int32_t> charges) {
  if (charges.first > charges.second)
    throw CLI::ValidationError("--charges", "the lowest, " + std::to_string(charges.first) +
                                                ", is above the highest, " +
                                                std::to_string(charges.second));
}

void RunFeatures(FeaturesOptions& options) {
  CheckCharges(options.m_charges);
  UserParameters& parameters = options.m_parameters;
  std::tie(parameters.m_charge_min, parameters.m_charge_max) = options.m_charges;
  DeriveHalfWidths(parameters);
  LoadIsotopeTable(SayIsotopeTablePath(parameters, InstalledTablePath()));
  WriteFeatureTable(parameters, options.m_table);
}

void AddLabelOptions(CLI::App& features, FeatureTableOptions& table) {
  CLI::Option_group* labels = features.add_option_group("labels", "What is known to be true");
  labels->add_option("--truth", table.m_truth_path, "Truth table of a simulated run (.truth.tsv)");
  labels->add_option("--identified", table.m_identified_path,
                     "Identified peptides: a tab-separated table with scan, mz and charge");
  labels->require_option(1);
  AddTolerance(features, table.m_tol_ppm, "Largest m/z error of a true precursor, ppm");
  features
      .add_option("--min-share", table.m_min_share,
                  "Share of the isolated current from which a true precursor counts as one")
      ->check(CLI::Range(0.0, 1.0))
      ->capture_default_str();
}

void AddRunOptions(CLI::App& features, FeaturesOptions& options) {
  UserParameters& parameters = options.m_parameters;
  features
      .add_option("-W,--isolation-width", parameters.m_isolation_width,
                  "Isolation width of the run, m/z")
      ->check(PositiveReal())
      ->capture_default_str();
  features.add_option("--charges", options.m_charges, "Lowest and highest charge, signed")
      ->capture_default_str();
  features.add_option("-I,--ipv", parameters.m_ipv_file, "Table of expected isotope patterns")
      ->capture_default_str();
}

}  // namespace

void AddFeaturesCommand(CLI::App& app) {
  const auto options = std::make_shared<FeaturesOptions>();
  CLI::App* features = app.add_subcommand(
      "features", "Write the candidate precursors of a run with features and labels");
  FeatureTableOptions& table = options->m_table;
  features
      ->add_option("MS1", table.m_ms1_path, "The .ms1 file of a run; the .ms2 file is next to it")
      ->required()
      ->check(CLI::ExistingFile);
  features->add_option("OUT", table.m_out_path, "The table to write, such as run.features.tsv")
      ->required();
  AddLabelOptions(*features, table);
  AddRunOptions(*features, *options);
  features->add_flag("--scores", table.m_with_scores, "Add a column for each scoring model");
  features
      ->add_flag("--joint", table.m_is_joint,
                 "Write the candidates and features of the joint determination")
      ->excludes("--scores");
  features->callback([options, features] {
    options->m_parameters.m_ipv_file_is_given = features->count("-I") > 0;
    RunFeatures(*options);
  });
}

}  // namespace tarvek::tools
