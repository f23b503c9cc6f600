#include "calibrate/Command.h"

#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "FileUtils.h"
#include "NumberText.h"
#include "Platform.h"
#include "ShownText.h"
#include "calibrate/Estimator.h"
#include "calibrate/Json.h"
#include "calibrate/Rewrite.h"
#include "calibrate/RunSpectra.h"
#include "outputs/JsonText.h"
#include "outputs/RunOutcome.h"
#include "outputs/Subcommand.h"

namespace tarvek::tools {
namespace {

using nlohmann::ordered_json;

struct CalibrateOptions {
  std::string m_path;
  bool m_is_applied = false;
  bool m_is_json = false;
};

/// What is known about a run, and what was done with it.
struct CalibratedRun {
  std::string m_base;
  Calibration m_calibration;
  bool m_was_before = false;  // as the record says
  bool m_is_applied = false;  // now
};

Calibration EstimateOf(const OutputFiles& files) {
  CalibrationEstimator estimator;
  if (!ForEachSpectrum(files, [&](const FragmentScan& scan) { estimator.Add(scan); })) {
    Calibration none;
    none.m_why_off = "there is neither MGF nor PF2";
    return none;
  }
  return Rounded(estimator.Estimate());
}

CalibratedRun Treat(const std::string& base_path, const CalibrateOptions& options) {
  const OutputFiles files = FindOutputs(base_path);
  CalibratedRun run;
  run.m_base = files.m_base;
  const RunRecord record = ReadRunRecord(files.m_record);
  run.m_was_before = IsCalibrated(record);
  if (run.m_was_before) {
    run.m_calibration = CalibrationIn(record).value_or(Calibration());
    return run;
  }
  run.m_calibration = EstimateOf(files);
  if (!options.m_is_applied) return run;
  ApplyCalibration(files, run.m_calibration);
  run.m_is_applied = true;
  return run;
}

std::string PpmText(double ppm) { return (ppm > 0.0 ? "+" : "") + Fixed(ppm, 2) + " ppm"; }

std::string ConfidenceText(const Confidence& confidence) {
  return PpmText(confidence.m_ppm) + " +- " + Fixed(confidence.m_error_ppm, 2) + ", " +
         std::to_string(confidence.m_matches) + " matches, " + Fixed(confidence.m_strength, 1) +
         " times the background" + (confidence.m_is_sure ? "" : " (not sure)");
}

void PrintCurve(const char* name, const Curve& curve, const char* unit) {
  if (curve.m_knots.size() < 2) return;
  std::cout << "  " << name << ':';
  for (const Knot& knot : curve.m_knots)
    std::cout << ' ' << Fixed(knot.m_ppm, 2) << " at " << Fixed(knot.m_at, 0) << unit
              << (&knot == &curve.m_knots.back() ? "" : ",");
  std::cout << '\n';
}

void Print(const CalibratedRun& run) {
  const Calibration& calibration = run.m_calibration;
  std::cout << Shown(run.m_base) << '\n';
  std::cout << "  surveys: " << ConfidenceText(calibration.m_surveys) << '\n';
  PrintCurve("over time", calibration.m_surveys_by_time, " s");
  std::cout << "  fragments: " << ConfidenceText(calibration.m_fragments) << '\n';
  PrintCurve("over m/z", calibration.m_fragments_by_mz, "");
  PrintCurve("over time, to be added", calibration.m_fragments_by_time, " s");
  if (calibration.IsOn())
    std::cout << "  tolerance for a search after the correction: " << calibration.m_tolerance_ppm
              << " ppm\n";
  else
    std::cout << "  no correction: " << calibration.m_why_off << '\n';
  if (run.m_was_before)
    std::cout << "  calibrated before, nothing done\n";
  else if (run.m_is_applied && calibration.IsOn())
    std::cout << "  corrected\n";
}

ordered_json RunJson(const CalibratedRun& run) {
  return {{"run", run.m_base},
          {"calibration", CalibrationJson(run.m_calibration)},
          {"applied", run.m_is_applied},
          {"applied_before", run.m_was_before}};
}

std::vector<std::string> BasesOf(const std::string& path) {
  if (!IsDirectory(path)) return {path};
  std::vector<std::string> bases = FindRuns(path).m_finished;
  if (bases.empty()) throw "No finished run: " + path;
  return bases;
}

void RunCalibrate(const CalibrateOptions& options) {
  ordered_json list = ordered_json::array();
  for (const std::string& base : BasesOf(options.m_path)) {
    const CalibratedRun run = Treat(base, options);
    if (options.m_is_json)
      list.push_back(RunJson(run));
    else
      Print(run);
  }
  // A name that is not UTF-8 must not end the command.
  if (options.m_is_json) std::cout << JsonText(list, 2) << '\n';
}

}  // namespace

void AddCalibrateCommand(CLI::App& app) {
  const auto options = std::make_shared<CalibrateOptions>();
  CLI::App* calibrate =
      AddSubcommand(app, "calibrate", "Tell, and correct, the m/z bias of finished runs", "RUN",
                    options->m_path, "A finished run, its table or base name, or a folder of runs");
  calibrate->add_flag("--apply", options->m_is_applied,
                      "Write the outputs again with corrected m/z, once");
  calibrate->add_flag("--json", options->m_is_json, "Print the estimates as JSON");
  calibrate->callback([options] { RunCalibrate(*options); });
}

}  // namespace tarvek::tools
