#include "report/Summary.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string_view>

#include "calibrate/Json.h"
#include "outputs/JsonText.h"

namespace tarvek::tools {
namespace {

using nlohmann::ordered_json;

// A name that is not UTF-8 must not end a report.
std::string Dumped(const ordered_json& json) { return JsonText(json, 2) + "\n"; }

ordered_json ValueOrNull(const std::optional<double>& value) {
  return value ? ordered_json(*value) : ordered_json(nullptr);
}

ordered_json FiguresJson(const std::vector<KeyFigure>& figures) {
  ordered_json json = ordered_json::object();
  for (const KeyFigure& figure : figures) json[figure.m_id] = ValueOrNull(figure.m_value);
  return json;
}

ordered_json VerdictsJson(const std::vector<ReportFinding>& findings) {
  ordered_json json = ordered_json::object();
  for (const ReportFinding& finding : findings)
    json[finding.m_id] = {{"verdict", VerdictWord(finding.m_verdict)}, {"seen", finding.m_seen}};
  return json;
}

ordered_json JointJson(const JointFigures& joint) {
  return {{"precursors", joint.m_precursors},
          {"expected_wrong", joint.m_doubts},
          {"decoy_scans", joint.m_decoy_scans},
          {"decoys", joint.m_decoys}};
}

ordered_json ScanPageJson(const ScanPageOutcome& page) {
  if (page.m_file.empty()) return {{"page", nullptr}, {"why_not", page.m_why_not}};
  return {{"page", page.m_file},
          {"scans", page.m_scans},
          {"scans_of_run", page.m_scans_of_run},
          {"differing", page.m_differing}};
}

ordered_json AdviceJson(const std::vector<Advice>& advice) {
  ordered_json list = ordered_json::array();
  for (const Advice& one : advice)
    list.push_back({{"id", one.m_id}, {"what", one.m_what}, {"why", one.m_why}});
  return list;
}

ordered_json ByChargeJson(const RunReport& report) {
  ordered_json json = ordered_json::object();
  for (const auto& [charge, precursors] : report.m_by_charge)
    json[std::to_string(charge)] = precursors;
  return json;
}

template <class Counts>
ordered_json ShiftsJson(const Counts& by_shift) {
  ordered_json json = ordered_json::object();
  for (int shift = -kMaxShift; shift <= kMaxShift; ++shift)
    json[std::to_string(shift)] = by_shift[ShiftPlace(shift)];
  return json;
}

ordered_json ChargesJson(const RunReport& report) {
  ordered_json json = ordered_json::array();
  for (const auto& [charges, scans] : report.m_charges)
    json.push_back(
        {{"declared", charges.first},
         {"determined", charges.second == 0 ? ordered_json(nullptr) : ordered_json(charges.second)},
         {"scans", scans}});
  return json;
}

ordered_json Section(const std::string& id, const std::string& name, const std::string& about,
                     const std::string& plot) {
  return {{"id", id},
          {"section_name", name},
          {"description", about},
          {"plot_type", plot},
          {"pconfig", {{"id", id + "_plot"}, {"title", "Tarvek: " + name}}},
          {"data", ordered_json::object()}};
}

std::string CountLabel(std::size_t count) {
  return count + 1 == kPrecursorCounts ? "more than " + std::to_string(count - 1)
                                       : std::to_string(count);
}

}  // namespace

std::string RunJson(const RunReport& report) {
  const ordered_json json = {
      {"run", report.m_name},
      {"version", TARVEK_VERSION},
      {"isolation_width", report.m_isolation_width},
      {"isolation_width_source", report.m_width_source},
      {"tolerance_ppm", report.m_tol_ppm},
      {"figures", FiguresJson(KeyFigures(report))},
      {"findings", VerdictsJson(ReportFindings(report))},
      {"state", ExportedNothing(report) ? "nothing exported" : "finished"},
      {"remarks", VerdictsJson(ReportRemarks(report))},
      {"declared_isolation_width", ValueOrNull(report.m_declared_width)},
      {"declared_isolation_width_source", report.m_declared_width_source},
      {"scans_by_kind", report.m_scans_by_kind},
      {"scans_by_precursor_count", report.m_by_count},
      {"isotope_shift", ShiftsJson(report.m_by_shift)},
      {"not_found_near_declared", report.m_unmatched},
      {"kept_as_declared", report.m_kept},
      {"without_declared", report.m_undeclared},
      {"without_declared_charge", report.m_without_charge},
      {"charges", ChargesJson(report)},
      {"absolute_ppm_95", ValueOrNull(report.m_absolute_ppm_95)},
      {"main_share_histogram", report.m_main_share},
      {"all_share_histogram", report.m_all_share},
      {"windows", report.m_windows},
      {"empty_windows", report.m_empty_windows},
      {"surveys", report.m_surveys.size()},
      {"median_ms2_peaks", ValueOrNull(report.m_median_ms2_peaks)},
      {"left_out", report.m_left_out_count},
      {"left_out_reasons", report.m_left_out_reasons},
      {"left_out_source", report.m_left_out_source},
      {"time_source", report.m_time_source},
      {"joint", report.m_joint ? JointJson(*report.m_joint) : ordered_json(nullptr)},
      {"precursors_by_charge", ByChargeJson(report)},
      {"declared_isolation_widths", report.m_declared_widths},
      {"settings", report.m_settings},
      {"advice", AdviceJson(WhatToChange(report))},
      {"scan_page", ScanPageJson(report.m_scan_page)},
      {"calibration",
       report.m_calibration ? CalibrationJson(*report.m_calibration) : ordered_json(nullptr)}};
  return Dumped(json);
}

std::string UnfinishedJson(const std::string& name) {
  return Dumped({{"run", name},
                 {"version", TARVEK_VERSION},
                 {"error", UnfinishedRun(name).m_error},
                 {"state", StateWord(UnfinishedRun(name))}});
}

std::string BatchJson(std::span<const BatchRun> runs) {
  ordered_json list = ordered_json::array();
  for (const BatchRun& run : runs) {
    if (run.m_page.empty())
      list.push_back({{"run", run.m_name}, {"error", run.m_error}, {"state", StateWord(run)}});
    else
      list.push_back({{"run", run.m_name},
                      {"page", run.m_page},
                      {"figures", FiguresJson(run.m_figures)},
                      {"findings", VerdictsJson(run.m_findings)},
                      {"state", StateWord(run)},
                      {"remarks", VerdictsJson(run.m_remarks)},
                      {"advice", AdviceJson(run.m_advice)}});
  }
  const auto in_state = [&](std::string_view state) {
    return std::ranges::count_if(runs,
                                 [&](const BatchRun& run) { return StateWord(run) == state; });
  };
  return Dumped({{"version", TARVEK_VERSION},
                 {"runs", list},
                 {"unfinished", in_state("unfinished")},
                 {"nothing_exported", in_state("nothing exported")}});
}

std::string FiguresForMultiQc(std::span<const BatchRun> runs) {
  ordered_json json =
      Section("tarvek", "Precursors",
              "Precursors that tarvek determined for the MS2 scans of each run.", "table");
  const RunReport none;
  for (const KeyFigure& figure : KeyFigures(none)) {
    ordered_json header = {{"title", figure.m_label},
                           {"format", "{:,." + std::to_string(figure.m_decimals) + "f}"}};
    if (!figure.m_unit.empty()) header["suffix"] = " " + figure.m_unit;
    json["headers"][figure.m_id] = header;
  }
  json["headers"]["state"] = {{"title", "state"}};
  for (const BatchRun& run : runs) {
    for (const KeyFigure& figure : run.m_figures)
      if (figure.m_value) json["data"][run.m_name][figure.m_id] = *figure.m_value;
    json["data"][run.m_name]["state"] = StateWord(run);
  }
  return Dumped(json);
}

std::string IsotopesForMultiQc(std::span<const BatchRun> runs) {
  ordered_json json = Section("tarvek_isotopes", "Monoisotopic peak against the declared one",
                              "Isotopes between the determined precursor and the one that the "
                              "instrument declared, in scans. 0 is normally the most frequent.",
                              "bargraph");
  json["pconfig"]["ylab"] = "scans";
  for (const BatchRun& run : runs) {
    if (run.m_page.empty()) continue;
    json["data"][run.m_name] = ShiftsJson(run.m_by_shift);
    json["data"][run.m_name]["not found"] = run.m_unmatched;
    json["data"][run.m_name]["kept"] = run.m_kept;
  }
  return Dumped(json);
}

std::string PrecursorsForMultiQc(std::span<const BatchRun> runs) {
  ordered_json json =
      Section("tarvek_precursors", "Precursors per scan",
              "MS2 scans by the number of precursors determined for them.", "bargraph");
  json["pconfig"]["ylab"] = "scans";
  for (const BatchRun& run : runs) {
    if (run.m_page.empty()) continue;
    for (std::size_t count = 0; count < run.m_by_count.size(); ++count)
      json["data"][run.m_name][CountLabel(count)] = run.m_by_count[count];
  }
  return Dumped(json);
}

}  // namespace tarvek::tools
