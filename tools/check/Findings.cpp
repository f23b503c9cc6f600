#include "check/Findings.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

#include "ShownText.h"
#include "outputs/JsonText.h"

namespace tarvek::tools {
namespace {

using nlohmann::ordered_json;

std::string PlaceText(const Finding& finding) {
  std::string text = Shown(finding.m_file);
  if (finding.m_place.m_scan_no) text += ", scan " + std::to_string(*finding.m_place.m_scan_no);
  if (finding.m_place.m_line) text += ", line " + std::to_string(*finding.m_place.m_line);
  return text;
}

std::string ItemText(const CheckedItem& item) {
  std::string text = Shown(item.m_path) + " (" + item.m_kind + ")";
  const char* separator = ": ";
  for (const CheckedFact& fact : item.m_facts) {
    text.append(separator).append(std::to_string(fact.m_count)).append(" ").append(fact.m_label);
    separator = ", ";
  }
  text += "\n";
  for (const auto& [reason, left_out] : item.m_left_out)
    text += "  left out: " + std::to_string(left_out.m_count) + ", " + Shown(reason) +
            (left_out.m_first_scan == 0
                 ? "\n"
                 : " (first: scan " + std::to_string(left_out.m_first_scan) + ")\n");
  return text;
}

std::string Plural(std::size_t count, const std::string& thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

// File names may hold bytes that are not UTF-8; JSON cannot hold those.
std::string Dumped(const ordered_json& json) { return JsonText(json, 2) + "\n"; }

ordered_json ItemJson(const CheckedItem& item) {
  ordered_json facts = ordered_json::object();
  for (const CheckedFact& fact : item.m_facts) facts[fact.m_key] = fact.m_count;
  ordered_json left_out = ordered_json::array();
  for (const auto& [reason, scans] : item.m_left_out)
    left_out.push_back(
        {{"reason", reason}, {"scans", scans.m_count}, {"first_scan", scans.m_first_scan}});
  return {{"path", item.m_path}, {"kind", item.m_kind}, {"counts", facts}, {"left_out", left_out}};
}

ordered_json FindingJson(const Finding& finding) {
  ordered_json json = {{"severity", SeverityWord(finding.m_severity)},
                       {"code", finding.m_code},
                       {"file", finding.m_file}};
  if (finding.m_place.m_scan_no) json["scan"] = *finding.m_place.m_scan_no;
  if (finding.m_place.m_line) json["line"] = *finding.m_place.m_line;
  json["meaning"] = Shown(finding.m_meaning);
  json["advice"] = Shown(finding.m_advice);
  if (!finding.m_settings.empty()) json["settings"] = finding.m_settings;
  return json;
}

// "warning: run.params: 700 more of the kind unknown-key are not listed."
std::string UnlistedText(const CheckReport& report, Severity severity) {
  std::string text;
  for (const auto& [kind, count] : report.Counts())
    if (kind.m_severity == severity && count > kMostListed)
      text += SeverityWord(severity) + ": " + Shown(kind.m_file) + ": " +
              std::to_string(count - kMostListed) + " more of the kind " + kind.m_code +
              " are not listed.\n";
  return text;
}

ordered_json UnlistedJson(const CheckReport& report) {
  ordered_json unlisted = ordered_json::array();
  for (const auto& [kind, count] : report.Counts())
    if (count > kMostListed)
      unlisted.push_back({{"severity", SeverityWord(kind.m_severity)},
                          {"code", kind.m_code},
                          {"file", kind.m_file},
                          {"count", count - kMostListed}});
  return unlisted;
}

}  // namespace

void CheckReport::Add(Finding finding) {
  std::size_t& count = m_counts[{finding.m_severity, finding.m_code, finding.m_file}];
  if (count++ < kMostListed) m_findings.push_back(std::move(finding));
}

bool CheckReport::IsListFull(const FindingKind& kind) const {
  const auto count = m_counts.find(kind);
  return count != m_counts.end() && count->second >= kMostListed;
}

std::size_t CheckReport::Count(Severity severity) const {
  std::size_t sum = 0;
  for (const auto& [kind, count] : m_counts)
    if (kind.m_severity == severity) sum += count;
  return sum;
}

std::string SeverityWord(Severity severity) {
  constexpr std::array<const char*, 3> kWords = {"defect", "warning", "note"};
  return kWords.at(static_cast<std::size_t>(severity));
}

std::string ShareText(std::int64_t part, std::int64_t whole, const std::string& things) {
  if (part == whole)
    return (whole == 1 ? "the one " : "all " + std::to_string(whole) + " ") + things;
  return std::to_string(part) + " of " + std::to_string(whole) + " " + things;
}

std::string CheckText(const CheckReport& report) {
  std::string text;
  for (const CheckedItem& item : report.Items()) text += ItemText(item);
  for (const Severity severity : {Severity::kDefect, Severity::kWarning, Severity::kNote}) {
    for (const Finding& finding : report.Findings()) {
      if (finding.m_severity != severity) continue;
      text += SeverityWord(severity) + ": " + PlaceText(finding) + ": " + Shown(finding.m_meaning) +
              "\n  " + Shown(finding.m_advice) + "\n";
    }
    text += UnlistedText(report, severity);
  }
  return text + Plural(report.Count(Severity::kDefect), "defect") + ", " +
         Plural(report.Count(Severity::kWarning), "warning") + ", " +
         Plural(report.Count(Severity::kNote), "note") + "\n";
}

std::string CheckJson(const CheckReport& report) {
  ordered_json items = ordered_json::array();
  for (const CheckedItem& item : report.Items()) items.push_back(ItemJson(item));
  ordered_json findings = ordered_json::array();
  for (const Finding& finding : report.Findings()) findings.push_back(FindingJson(finding));
  ordered_json json = {{"checked", items}, {"findings", findings}};
  if (ordered_json unlisted = UnlistedJson(report); !unlisted.empty())
    json["unlisted"] = std::move(unlisted);
  json["defects"] = report.Count(Severity::kDefect);
  json["warnings"] = report.Count(Severity::kWarning);
  json["notes"] = report.Count(Severity::kNote);
  return Dumped(json);
}

}  // namespace tarvek::tools
