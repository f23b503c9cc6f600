#include "explain/Command.h"

#include <cmath>
#include <cstdint>
#include <iostream>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "NumberText.h"
#include "ShownText.h"
#include "explain/Explainer.h"
#include "explain/Json.h"
#include "explain/Text.h"
#include "outputs/JsonText.h"
#include "outputs/Subcommand.h"
#include "score/Command.h"

namespace tarvek::tools {
namespace {

using nlohmann::ordered_json;

struct ExplainOptions {
  RunLocation m_run;
  std::optional<std::int32_t> m_scan;
  std::optional<double> m_minute;
  std::optional<double> m_mz;
  bool m_is_json = false;
};

/// Finds the scan that is nearest in time among those with the m/z in the window.
class NearestScan {
 public:
  NearestScan(const ExplainOptions& options, double half_width_mz)
      : m_options(options), m_half_width_mz(half_width_mz) {}

  void Take(const MS2Spectrum& scan) {
    if (m_options.m_mz && std::fabs(scan.m_activation_center - *m_options.m_mz) > m_half_width_mz)
      return;
    const double distance_s =
        m_options.m_minute ? std::fabs(scan.m_rt - 60.0 * *m_options.m_minute) : 0.0;
    if (m_found && distance_s >= m_distance_s) return;
    m_found = scan.m_scan_no;
    m_distance_s = distance_s;
  }

  [[nodiscard]] std::optional<std::int32_t> Found() const { return m_found; }

 private:
  const ExplainOptions& m_options;
  double m_half_width_mz;
  std::optional<std::int32_t> m_found;
  double m_distance_s = std::numeric_limits<double>::infinity();
};

std::int32_t ScanToExplain(const ExplainOptions& options, const RunToExplain& run) {
  if (options.m_scan) return *options.m_scan;
  NearestScan nearest(options, 0.5 * run.Parameters().m_isolation_width);
  run.ForEachScan([&](const RunToExplain::ScanInRun& in_run) {
    nearest.Take(in_run.m_scan);
    return true;
  });
  if (!nearest.Found())
    throw "No MS2 scan of " + run.Name() + " isolates " +
        (options.m_mz ? "m/z " + ExactText(*options.m_mz) : std::string("anything")) + ".";
  return *nearest.Found();
}

Explanation ExplainScan(const RunToExplain& run, std::int32_t scan_no) {
  Explainer explainer(run);
  std::optional<Explanation> explained;
  run.ForEachScan([&](const RunToExplain::ScanInRun& in_run) {
    if (in_run.m_scan.m_scan_no != scan_no) return true;
    explained = explainer.Explain(in_run);
    return false;
  });
  if (!explained) throw run.Name() + " has no MS2 scan " + std::to_string(scan_no) + ".";
  return *std::move(explained);
}

void PrintJson(const RunToExplain& run, const Explanation& explained) {
  ordered_json json = {{"run", run.Name()},
                       {"is_joint", explained.m_is_joint},
                       {"threshold", explained.m_threshold},
                       {"doubts", run.Doubts()},
                       {"feature_names", FeatureNamesJson(explained.m_is_joint)}};
  json.update(ScanJson(explained));
  std::cout << JsonText(json, 2) << '\n';
}

void RunExplain(const ExplainOptions& options) {
  if (!options.m_scan && !options.m_minute && !options.m_mz)
    throw CLI::ValidationError("explain", "name a scan: its number, --time or --mz");
  const RunToExplain run(options.m_run);
  const Explanation explained = ExplainScan(run, ScanToExplain(options, run));
  if (options.m_is_json) {
    PrintJson(run, explained);
    return;
  }
  for (const std::string& doubt : run.Doubts()) std::cout << Shown(doubt) << '\n';
  // Names of the input are in it, such as the activation.
  std::cout << ShownLines(ExplanationText(Shown(run.Name()), explained));
}

}  // namespace

void AddExplainCommand(CLI::App& app) {
  const auto options = std::make_shared<ExplainOptions>();
  CLI::App* explain =
      AddSubcommand(app, "explain", "Say why a scan of a finished run has its precursors", "RUN",
                    options->m_run.m_base_path,
                    "The outputs of a run without their endings, such as results/run1");
  CLI::Option* scan = explain->add_option("SCAN", options->m_scan, "Number of an MS2 scan");
  explain->add_option("--time", options->m_minute, "Take the scan nearest to this time, in minutes")
      ->excludes(scan);
  explain
      ->add_option("--mz", options->m_mz,
                   "Take a scan that isolates this m/z, the first or that nearest to --time")
      ->check(PositiveReal())
      ->excludes(scan);
  explain
      ->add_option("--input", options->m_run.m_input,
                   "Folder of the spectra, or the mzML or mzXML file, if not next to the outputs")
      ->check(CLI::ExistingPath);
  explain->add_option("-I,--ipv", options->m_run.m_isotope_table,
                      "Table of expected isotope patterns, if another one than tarvek finds");
  explain->add_flag("--json", options->m_is_json, "Print JSON");
  explain->callback([options] { RunExplain(*options); });
}

}  // namespace tarvek::tools
