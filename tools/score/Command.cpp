#include "score/Command.h"

#include <cmath>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string_view>

#include "NumberText.h"
#include "outputs/JsonText.h"

namespace tarvek::tools {
namespace {

using nlohmann::ordered_json;

struct ScoreOptions {
  std::string m_table;
  std::string m_truth;
  double m_tol_ppm = 10.0;
  double m_min_share = 0.05;
  bool m_json = false;
};

constexpr std::size_t kLabelWidth = 44;
constexpr std::size_t kCellWidth = 24;

std::string RatioText(const Ratio& ratio) {
  return Fixed(100.0 * ratio.Value(), 1) + " % (" + std::to_string(ratio.m_part) + "/" +
         std::to_string(ratio.m_whole) + ")";
}

void AppendLine(std::string& text, std::string_view label, const std::string& determined,
                const std::string& declared) {
  text.append(label).append(kLabelWidth - label.size(), ' ');
  text.append(determined).append(kCellWidth - std::min(kCellWidth, determined.size()), ' ');
  text.append(declared).append("\n");
}

ordered_json RatioJson(const Ratio& ratio) {
  return {{"part", ratio.m_part}, {"whole", ratio.m_whole}, {"value", ratio.Value()}};
}

ordered_json FiguresJson(const ScoreFigures& figures) {
  ordered_json offsets;
  for (int offset = -kMaxShift; offset <= kMaxShift; ++offset)
    offsets[std::to_string(offset)] = figures.m_by_isotope_offset[ShiftPlace(offset)];
  return {{"precursors", figures.m_precursors},
          {"target_recall", RatioJson(figures.m_target_recall)},
          {"recall_share_10", RatioJson(figures.m_recall_10)},
          {"recall_share_5", RatioJson(figures.m_recall_5)},
          {"precision", RatioJson(figures.m_precision)},
          {"wrong_isotope", RatioJson(figures.m_wrong_isotope)},
          {"wrong_charge", RatioJson(figures.m_wrong_charge)},
          {"by_isotope_offset", offsets},
          {"median_ppm", figures.m_median_ppm},
          {"median_absolute_ppm", figures.m_median_absolute_ppm},
          {"absolute_ppm_95", figures.m_absolute_ppm_95}};
}

void RunScore(const ScoreOptions& options) {
  const ScoreReport report =
      ScoreTable(ReadPrecursorTable(options.m_table), ReadTruthTable(options.m_truth),
                 options.m_tol_ppm, options.m_min_share);
  std::cout << (options.m_json ? ScoreJson(report) : ScoreText(report));
}

}  // namespace

void AddScoreCommand(CLI::App& app) {
  const auto options = std::make_shared<ScoreOptions>();
  CLI::App* score =
      app.add_subcommand("score", "Compare a precursor table with the truth of a simulated run");
  score->add_option("TABLE", options->m_table, "Precursor table that tarvek wrote (.csv)")
      ->required();
  score->add_option("TRUTH", options->m_truth, "Truth table (.truth.tsv)")->required();
  AddTolerance(*score, options->m_tol_ppm, "Largest m/z error of a true precursor, ppm");
  score
      ->add_option("--min-share", options->m_min_share,
                   "Share of the isolated current from which a true precursor counts for precision")
      ->check(CLI::Range(0.0, 1.0))
      ->capture_default_str();
  score->add_flag("--json", options->m_json, "Print JSON");
  score->callback([options] { RunScore(*options); });
}

CLI::Validator PositiveReal() {
  return {[](const std::string& text) -> std::string {
            const auto number = ScanReal(text);
            const bool is_positive = number.m_status == NumberStatus::kOk &&
                                     std::isfinite(number.m_value) && number.m_value > 0.0;
            return is_positive ? "" : "must be a number above 0, not " + text;
          },
          "POSITIVE"};
}

void AddTolerance(CLI::App& command, double& tol_ppm, const std::string& description) {
  command.add_option("--tol", tol_ppm, description)->check(PositiveReal())->capture_default_str();
}

std::string ScoreText(const ScoreReport& report) {
  const ScoreFigures& a = report.m_determined;
  const ScoreFigures& b = report.m_declared;
  std::string text = std::to_string(report.m_scans) + " MS2 scans with a truth, " +
                     std::to_string(report.m_table_scans) + " in the table\n";
  AppendLine(text, "", "determined", "declared");
  AppendLine(text, "precursors", std::to_string(a.m_precursors), std::to_string(b.m_precursors));
  const auto add_ratio = [&](std::string_view label, Ratio ScoreFigures::*figure) {
    AppendLine(text, label, RatioText(a.*figure), RatioText(b.*figure));
  };
  const auto add_ppm = [&](std::string_view label, double ScoreFigures::*figure) {
    AppendLine(text, label, Fixed(a.*figure, 3), Fixed(b.*figure, 3));
  };
  add_ratio("recall of the targeted precursor", &ScoreFigures::m_target_recall);
  add_ratio("recall of those of 10 % share or more", &ScoreFigures::m_recall_10);
  add_ratio("recall of those of 5 % share or more", &ScoreFigures::m_recall_5);
  add_ratio("precision", &ScoreFigures::m_precision);
  add_ratio("wrong isotope of a true precursor", &ScoreFigures::m_wrong_isotope);
  add_ratio("wrong charge at the m/z of a true precursor", &ScoreFigures::m_wrong_charge);
  add_ppm("median m/z error, ppm", &ScoreFigures::m_median_ppm);
  add_ppm("median absolute m/z error, ppm", &ScoreFigures::m_median_absolute_ppm);
  add_ppm("95 % of absolute m/z errors below, ppm", &ScoreFigures::m_absolute_ppm_95);
  return text;
}

std::string ScoreJson(const ScoreReport& report) {
  const ordered_json json = {{"scans", report.m_scans},
                             {"table_scans", report.m_table_scans},
                             {"determined", FiguresJson(report.m_determined)},
                             {"declared", FiguresJson(report.m_declared)}};
  return JsonText(json, 2) + "\n";
}

}  // namespace tarvek::tools
