#include "report/Page.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>
#include <string_view>

#include "CommandLine.h"
#include "NumberText.h"
#include "ShownText.h"
#include "StringUtils.h"
#include "report/Pictures.h"
#include "report/Style.h"
#include "report/Svg.h"

namespace tarvek::tools {
namespace {

constexpr std::size_t kScansNamed = 8;     // of one reason, in the table of scans left out
constexpr std::size_t kRunsToCompare = 5;  // fewer have no outliers
constexpr double kOutlierLimit = 3.5;      // scaled median absolute deviations
constexpr double kNormalScale = 1.4826;    // of a median absolute deviation
constexpr double kLeastDeviation = 0.02;   // of the median
constexpr double kLeastPercentDeviation = 1.0;
constexpr double kLeastPpmDeviation = 0.3;

std::string Element(std::string_view name, std::string_view text) {
  std::string html = "<";
  html.append(name).append(">").append(Escaped(text)).append("</");
  return html.append(name).append(">");
}

bool IsLetterOrDigit(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         IsDigit(character);
}

// Escaped text; options of tarvek in it, such as "-W", do not break across lines.
std::string WithOptions(std::string_view unsafe) {
  const std::string shown = Shown(unsafe);
  const std::string_view text = shown;
  std::string html;
  for (std::size_t at = 0; at < text.size();) {
    const bool starts = text[at] == '-' && at > 0 && !IsLetterOrDigit(text[at - 1]) &&
                        at + 1 < text.size() && IsLetterOrDigit(text[at + 1]);
    std::size_t end = at + 1;
    while (starts && end < text.size() && IsLetterOrDigit(text[end])) ++end;
    if (starts)
      html += Element("code", text.substr(at, end - at));
    else
      AppendMarkup(html, text[at]);
    at = end;
  }
  return html;
}

std::string PageStart(const std::string& title) {
  return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n" +
         Element("title", title) + "\n<style>" + kReportStyle +
         "</style>\n</head>\n<body>\n<main>\n";
}

std::string PageEnd() {
  return "<footer>Written by tarvek-tools " TARVEK_VERSION
         ". The page is complete in itself: it needs no network.</footer>\n</main>\n</body>\n"
         "</html>\n";
}

std::string Badge(Verdict verdict) {
  // In the order of Verdict.
  constexpr std::array<const char*, 4> kBadges = {
      "<span class=\"badge usual\">\u2713 as usual</span>",
      "<span class=\"badge look\">\u25b2 look here</span>",
      "<span class=\"badge\">\u2013 no data</span>",
      "<span class=\"badge look\">\u2717 defect</span>"};
  return kBadges.at(static_cast<std::size_t>(verdict));
}

std::string Card(const ReportFinding& finding, const std::string& picture) {
  std::string html = "<section class=\"card";
  html += finding.m_verdict == Verdict::kLook ? " look" : "";
  html += "\" id=\"" + finding.m_id + "-card\">\n<div class=\"head\">" +
          Element("h2", finding.m_title) + Badge(finding.m_verdict) + "</div>\n";
  if (finding.m_verdict == Verdict::kNoData)
    html += "<p class=\"nodata\">Not drawn. " + Escaped(finding.m_seen) + "</p>\n";
  else
    html += Element("p", finding.m_seen) + "\n" + picture;
  html += "<dl>" + Element("dt", "Normal") + "<dd>" + WithOptions(finding.m_normal) + "</dd>" +
          Element("dt", "Otherwise") + "<dd>" + WithOptions(finding.m_otherwise) +
          "</dd></dl>\n</section>\n";
  return html;
}

// The findings without a picture, above the others.
std::string RemarkCard(const ReportFinding& remark) {
  return "<section class=\"card look\" id=\"" + remark.m_id + "-card\">\n<div class=\"head\">" +
         Element("h2", remark.m_title) + Badge(remark.m_verdict) + "</div>\n" +
         Element("p", remark.m_seen) + "\n<dl>" + Element("dt", "Normal") + "<dd>" +
         WithOptions(remark.m_normal) + "</dd>" + Element("dt", "Otherwise") + "<dd>" +
         WithOptions(remark.m_otherwise) + "</dd></dl>\n</section>\n";
}

std::string Listed(const std::vector<std::string>& words) {
  std::string text;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (i > 0) text += i + 1 == words.size() ? " and " : ", ";
    text += words[i];
  }
  return text;
}

std::vector<std::string> TitlesOf(std::span<const ReportFinding> findings, Verdict verdict) {
  std::vector<std::string> titles;
  for (const ReportFinding& finding : findings)
    if (finding.m_verdict == verdict) titles.push_back("\u201c" + finding.m_title + "\u201d");
  return titles;
}

// The changes that the numbers suggest, when no picture shows them.
std::string ChangesText(std::span<const Advice> advice) {
  std::vector<std::string> changes;
  for (const Advice& one : advice)
    if (one.m_is_change) changes.push_back(one.m_what);
  return changes.empty() ? "" : "Worth a change: " + Listed(changes) + ".";
}

std::string SummaryOf(std::span<const ReportFinding> findings,
                      std::span<const ReportFinding> remarks, std::span<const Advice> advice) {
  const auto defects = TitlesOf(remarks, Verdict::kDefect);
  auto look = TitlesOf(remarks, Verdict::kLook);
  std::ranges::copy(TitlesOf(findings, Verdict::kLook), std::back_inserter(look));
  const auto missing = TitlesOf(findings, Verdict::kNoData);
  std::string text = defects.empty() ? "" : "Defect: " + Listed(defects) + ".";
  if (!look.empty()) text += (text.empty() ? "" : " ") + ("Worth a look: " + Listed(look) + ".");
  const std::string changes = ChangesText(advice);
  if (!changes.empty()) text += (text.empty() ? "" : " ") + changes;
  if (text.empty())
    text = advice.empty()
               ? "Nothing unusual."
               : "No picture asks for a look, but the input does not declare its isolation width: "
                 "compare -W with the method.";
  if (!missing.empty()) text += " Not drawn, no data: " + Listed(missing) + ".";
  return text;
}

std::string TileNumber(const KeyFigure& figure) {
  if (!figure.m_value || figure.m_unit.empty()) return Element("b", FigureText(figure));
  return "<b>" + Escaped(GroupedNumber(*figure.m_value, figure.m_decimals)) + " " +
         Element("small", figure.m_unit) + "</b>";
}

std::string Tiles(std::span<const KeyFigure> figures) {
  std::string html = "<ul class=\"tiles\">\n";
  for (const KeyFigure& figure : figures)
    html += "<li>" + TileNumber(figure) + Element("span", figure.m_label) + "</li>\n";
  return html + "</ul>\n";
}

std::string KindsOf(const RunReport& report) {
  std::vector<std::string> kinds;
  for (const auto& [kind, scans] : report.m_scans_by_kind)
    kinds.push_back(GroupedNumber(static_cast<double>(scans), 0) + " " + kind);
  return kinds.empty() ? "no MS2 scans" : Listed(kinds) + " scans";
}

std::string BiasText(const Confidence& confidence) {
  return ExactText(confidence.m_ppm) + " ppm (error " + ExactText(confidence.m_error_ppm) + ", " +
         ExactText(confidence.m_strength) + " times the background)";
}

/// How sure the joint determination is; empty without it.
std::string JointText(const RunReport& report) {
  if (!report.m_joint || report.m_joint->m_precursors == 0) return {};
  const JointFigures& joint = *report.m_joint;
  std::string text =
      " The precursors of each scan were determined together: by their probabilities " +
      Fixed(joint.m_doubts, 0) + " of " + std::to_string(joint.m_precursors) + " are wrong";
  if (joint.m_decoy_scans > 0)
    text += "; with a spacing that isotopes do not have " + std::to_string(joint.m_decoys) +
            " were found in " + std::to_string(joint.m_decoy_scans) + " scans";
  return text + ".";
}

/// What was done with the m/z of the outputs; empty without a calibration.
std::string CalibrationText(const RunReport& report) {
  if (!report.m_calibration) return {};
  const Calibration& calibration = *report.m_calibration;
  if (!calibration.IsOn())
    return " The m/z were not corrected by the run's own fragments: " + calibration.m_why_off + ".";
  return " The m/z were corrected by the run's own fragments; surveys were off by " +
         BiasText(calibration.m_surveys) + ", fragments by " + BiasText(calibration.m_fragments) +
         ". A search needs a precursor tolerance of " +
         std::to_string(calibration.m_tolerance_ppm) + " ppm.";
}

std::string SettingsText(const RunReport& report) {
  std::string text = KindsOf(report) + "; isolation width " + ExactText(report.m_isolation_width) +
                     " m/z (" + report.m_width_source + "), peaks compared within " +
                     ExactText(report.m_tol_ppm) + " ppm.";
  if (report.m_declared_centres)
    text +=
        " Without the input the centres of the isolation windows are unknown: the declared m/z "
        "is used instead.";
  const std::int64_t without_precursor = report.m_undeclared - report.m_without_charge;
  if (without_precursor > 0)
    text += " " + GroupedNumber(static_cast<double>(without_precursor), 0) +
            " scans declare no precursor and are not compared.";
  if (report.m_without_charge > 0)
    text += " " + GroupedNumber(static_cast<double>(report.m_without_charge), 0) +
            " scans declare no charge, for which 2 was only assumed, and are not compared.";
  return text + JointText(report) + CalibrationText(report);
}

std::string LeftOutTable(const RunReport& report) {
  if (report.m_left_out_count == 0) return {};
  std::string html =
      "<section class=\"section\"><h2>Why scans were left out</h2>\n<div class=\"wide\"><table>\n"
      "<thead><tr><th>reason</th><th class=\"number\">scans</th><th>the first of them</th></tr>"
      "</thead>\n<tbody>\n";
  for (const auto& [reason, scans] : report.m_left_out_reasons) {
    std::string first;
    std::size_t named = 0;
    for (const LeftOutScan& scan : report.m_left_out) {
      if (scan.m_reason != reason) continue;
      if (named++ == kScansNamed) break;
      first += (first.empty() ? "" : ", ") + std::to_string(scan.m_scan_no);
    }
    html +=
        "<tr>" + Element("td", reason) + "<td class=\"number\">" +
        GroupedNumber(static_cast<double>(scans), 0) + "</td>" +
        Element("td", first.empty() ? "\u2013" : first + (named > kScansNamed ? " \u2026" : "")) +
        "</tr>\n";
  }
  return html + "</tbody></table></div></section>\n";
}

// The characters that a URL within a page may hold as they are; others as %XX.
std::string UrlOf(std::string_view file_name) {
  constexpr std::string_view kPlain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string url;
  for (const char character : file_name) {
    const auto byte = static_cast<unsigned char>(character);
    if (kPlain.find(character) != std::string_view::npos)
      url += character;
    else
      url.append("%").append(1, kDigits[byte >> 4U]).append(1, kDigits[byte & 15U]);
  }
  return url;
}

// The link to the page of scans, or why there is none.
std::string ScanSection(const RunReport& report) {
  const ScanPageOutcome& page = report.m_scan_page;
  std::string html = "<section class=\"section\" id=\"scans\"><h2>Scan by scan</h2>\n<p>";
  if (page.m_file.empty())
    return html + "There is no page of scans. " + Escaped(page.m_why_not) + "</p></section>\n";
  html += "<a href=\"" + UrlOf(page.m_file) + "\">" + Escaped(page.m_file) + "</a> shows " +
          GroupedNumber(static_cast<double>(page.m_scans), 0) +
          (page.m_scans < page.m_scans_of_run
               ? " of " + GroupedNumber(static_cast<double>(page.m_scans_of_run), 0)
               : std::string()) +
          " scans: survey, isotope envelopes, elution, and why each candidate was kept or not.";
  if (page.m_differing > 0)
    html += " For " + GroupedNumber(static_cast<double>(page.m_differing), 0) +
            " of them the table has other precursors than were found again with the settings of "
            "the record: it has other settings, another isotope table or other spectra.";
  return html + "</p></section>\n";
}

// "-W", or empty for a setting without an option of tarvek.
std::string OptionOf(std::string_view key) {
  const auto found = std::ranges::find(OptionLetters, key, &OptionLetter::m_key);
  return found == OptionLetters.end() ? std::string() : std::string{'-', found->m_letter};
}

std::string SizeText(std::int64_t bytes) {
  constexpr double kStep = 1000.0;
  const auto size = static_cast<double>(bytes);
  if (size < kStep) return GroupedNumber(size, 0) + " bytes";
  if (size < kStep * kStep) return GroupedNumber(size / kStep, 1) + " kB";
  return GroupedNumber(size / (kStep * kStep), 1) + " MB";
}

std::string TableStart(const std::string& title, std::string_view heads) {
  std::string html = "<section class=\"section\"><h2>" + Escaped(title) +
                     "</h2>\n<div class=\"wide\"><table>\n<thead><tr>";
  return html.append(heads).append("</tr></thead>\n<tbody>\n");
}

constexpr std::string_view kTableEnd = "</tbody></table></div></section>\n";

// Settings, versions and files of a run.
std::string SettingsTable(const RunReport& report) {
  std::string html;
  if (!report.m_settings.empty()) {
    html += TableStart("Settings", "<th>setting</th><th>option</th><th>value</th>");
    for (const auto& [key, value] : report.m_settings)
      html += "<tr>" + Element("td", key) + Element("td", OptionOf(key)) + Element("td", value) +
              "</tr>\n";
    html += "<tr>" + Element("td", "version of tarvek-tools, which wrote this page") + "<td></td>" +
            Element("td", TARVEK_VERSION) + "</tr>\n";
    html += kTableEnd;
  }
  html += TableStart("Output files", "<th>file</th><th class=\"number\">size</th>");
  for (const ReportOutput& output : report.m_outputs)
    html += "<tr>" + Element("td", output.m_file) + "<td class=\"number\">" +
            SizeText(output.m_bytes) + "</td></tr>\n";
  html += kTableEnd;
  return html;
}

constexpr std::string_view kNothingToChange =
    "<p>Nothing: the numbers ask for no other settings.</p>";

// The end of the page: what to do according to the numbers.
std::string AdviceSection(std::span<const Advice> advice) {
  std::string html = "<section class=\"section\" id=\"change\"><h2>What to change next</h2>\n";
  if (advice.empty()) return html.append(kNothingToChange).append("</section>\n");
  html += "<ol class=\"advice\">\n";
  for (const Advice& one : advice)
    html += "<li><strong>" + WithOptions(" " + one.m_what).substr(1) + "</strong> " +
            Escaped(one.m_why) + "</li>\n";
  return html + "</ol></section>\n";
}

// The same for a batch: advice for several runs appears once, the commonest first.
std::string BatchAdvice(std::span<const BatchRun> runs) {
  std::vector<std::pair<std::string, std::vector<std::string>>> shared;
  for (const BatchRun& run : runs)
    for (const Advice& one : run.m_advice) {
      auto found =
          std::ranges::find(shared, one.m_what, [](const auto& entry) { return entry.first; });
      if (found == shared.end()) found = shared.insert(shared.end(), {one.m_what, {}});
      found->second.push_back(run.m_name);
    }
  std::ranges::stable_sort(shared, std::ranges::greater{},
                           [](const auto& entry) { return entry.second.size(); });
  std::string html = "<section class=\"section\" id=\"change\"><h2>What to change next</h2>\n";
  if (shared.empty()) return html.append(kNothingToChange).append("</section>\n");
  html += "<ol class=\"advice\">\n";
  for (const auto& [what, names] : shared) {
    const std::size_t named = std::min(names.size(), kScansNamed);
    const std::string more =
        named < names.size() ? " and " + std::to_string(names.size() - named) + " more" : "";
    html +=
        "<li><strong>" + WithOptions(" " + what).substr(1) + "</strong> \u2013 " +
        Escaped(names.size() == runs.size() && runs.size() > 1
                    ? std::string("all runs")
                    : Listed({names.begin(), names.begin() + static_cast<std::ptrdiff_t>(named)}) +
                          more) +
        ". The page of a run says why.</li>\n";
  }
  return html + "</ol></section>\n";
}

// Settings that all runs have, and those in which they differ with the runs of each value.
std::string BatchSettings(std::span<const BatchRun> runs) {
  std::map<std::string, std::map<std::string, std::vector<std::string>>> values;
  std::size_t recorded = 0;
  for (const BatchRun& run : runs) {
    recorded += run.m_settings.empty() ? 0U : 1U;
    for (const auto& [key, value] : run.m_settings) values[key][value].push_back(run.m_name);
  }
  if (values.empty()) return {};
  std::string html = TableStart("Settings", "<th>setting</th><th>option</th><th>value</th>");
  for (const auto& [key, by_value] : values) {
    std::string text;
    for (const auto& [value, names] : by_value) {
      text += (text.empty() ? "" : "; ") + value;
      if (names.size() == recorded) continue;
      const std::size_t named = std::min(names.size(), kScansNamed);
      text += " (" + Listed({names.begin(), names.begin() + static_cast<std::ptrdiff_t>(named)}) +
              (named < names.size() ? " and others)" : ")");
    }
    html += by_value.size() > 1 ? "<tr class=\"differs\">" : "<tr>";
    html += Element("td", key) + Element("td", OptionOf(key)) + Element("td", text) + "</tr>\n";
  }
  html += "<tr>" + Element("td", "version of tarvek-tools, which wrote this page") + "<td></td>" +
          Element("td", TARVEK_VERSION) + "</tr>\n";
  return html.append(kTableEnd);
}

std::string BatchFiles(std::span<const BatchRun> runs) {
  if (std::ranges::all_of(runs, [](const BatchRun& run) { return run.m_outputs.empty(); }))
    return {};
  std::string html =
      TableStart("Output files", "<th>run</th><th>files</th><th class=\"number\">size</th>");
  for (const BatchRun& run : runs) {
    std::vector<std::string> names;
    std::int64_t bytes = 0;
    for (const ReportOutput& output : run.m_outputs) {
      names.push_back(output.m_file);
      bytes += output.m_bytes;
    }
    if (names.empty()) continue;
    html += "<tr>" + Element("td", run.m_name) + Element("td", Listed(names)) +
            "<td class=\"number\">" + SizeText(bytes) + "</td></tr>\n";
  }
  return html.append(kTableEnd);
}

std::string SourceTable(const RunReport& report) {
  std::string html =
      "<section class=\"section\"><h2>Where the numbers come from</h2>\n<div "
      "class=\"wide\"><table>\n"
      "<thead><tr><th>file</th><th>used for</th><th>state</th></tr></thead>\n<tbody>\n";
  for (const ReportSource& source : report.m_sources)
    html += "<tr>" + Element("td", source.m_file) + Element("td", source.m_use) +
            Element("td", source.m_is_there ? "read" : "not there") + "</tr>\n";
  html += "</tbody></table></div>\n";
  if (!report.m_time_source.empty())
    html += "<p class=\"lead\">Times of the MS2 scans come from " + Escaped(report.m_time_source) +
            ".</p>\n";
  return html + "</section>\n";
}

// The known values of one figure in all runs.
std::vector<double> ValuesOf(std::span<const BatchRun> runs, std::size_t figure) {
  std::vector<double> values;
  for (const BatchRun& run : runs)
    if (figure < run.m_figures.size() && run.m_figures[figure].m_value)
      values.push_back(*run.m_figures[figure].m_value);
  return values;
}

// A smaller deviation is not notable, however similar the runs are.
double LeastDeviation(const KeyFigure& figure, double median) {
  if (figure.m_unit == "%") return kLeastPercentDeviation;
  if (figure.m_unit == "ppm") return kLeastPpmDeviation;
  return kLeastDeviation * std::fabs(median);
}

/// The scale of one figure over all runs of a batch.
struct FigureScale {
  double m_largest = 0.0;  // without sign
  double m_median = 0.0;
  double m_reach = std::numeric_limits<double>::infinity();  // values farther off are outliers
};

FigureScale ScaleOf(std::span<const BatchRun> runs, const KeyFigure& named, std::size_t figure) {
  std::vector<double> values = ValuesOf(runs, figure);
  FigureScale scale;
  for (const double value : values) scale.m_largest = std::max(scale.m_largest, std::fabs(value));
  if (values.size() < kRunsToCompare) return scale;
  scale.m_median = *Median(values);
  for (double& value : values) value = std::fabs(value - scale.m_median);
  scale.m_reach = kOutlierLimit * std::max(kNormalScale * *Median(std::move(values)),
                                           LeastDeviation(named, scale.m_median));
  return scale;
}

bool IsFar(const KeyFigure& figure, const FigureScale& scale) {
  return figure.m_value && std::fabs(*figure.m_value - scale.m_median) > scale.m_reach;
}

std::string FigureCell(const KeyFigure& shown, const FigureScale& scale) {
  std::string html =
      IsFar(shown, scale) ? "<td class=\"number out\">\u25b2 " : "<td class=\"number\">";
  html += Escaped(FigureText(shown));
  if (shown.m_value && scale.m_largest > 0.0)
    html += "<span class=\"bar\" style=\"width:" +
            std::to_string(std::lround(100.0 * std::fabs(*shown.m_value) / scale.m_largest)) +
            "%\"></span>";
  return html + "</td>";
}

bool HasChanges(const BatchRun& run) {
  return std::ranges::any_of(run.m_advice, &Advice::m_is_change);
}

// The pictures of a run that ask for a look, each a link to it, and what to change.
std::string LooksOf(const BatchRun& run) {
  std::string html;
  const auto add = [&](const ReportFinding& finding) {
    if (finding.m_verdict != Verdict::kLook && finding.m_verdict != Verdict::kDefect) return;
    html += (html.empty() ? "" : ", ") +
            std::string(finding.m_verdict == Verdict::kDefect ? "\u2717 " : "") + "<a href=\"" +
            UrlOf(run.m_page) + "#" + finding.m_id + "-card\">" + Escaped(finding.m_id) + "</a>";
  };
  std::ranges::for_each(run.m_remarks, add);
  std::ranges::for_each(run.m_findings, add);
  if (HasChanges(run))
    html += (html.empty() ? "" : ", ") + std::string("<a href=\"") + UrlOf(run.m_page) +
            "#change\">change</a>";
  return html.empty() ? Badge(Verdict::kUsual) : html;
}

std::string BatchRow(const BatchRun& shown, std::span<const FigureScale> scales) {
  std::string html = "<tr><td class=\"name\">";
  html += shown.m_page.empty()
              ? Escaped(shown.m_name)
              : "<a href=\"" + UrlOf(shown.m_page) + "\">" + Escaped(shown.m_name) + "</a>";
  html += "</td>";
  if (shown.m_page.empty())
    return html + "<td colspan=\"" + std::to_string(scales.size() + 1) + "\">" +
           "<span class=\"badge look\">" +
           (shown.m_is_unfinished ? "\u2717 unfinished" : "\u25b2 no report") + "</span> " +
           Escaped(shown.m_error) + "</td></tr>\n";
  for (std::size_t figure = 0; figure < scales.size(); ++figure)
    html += FigureCell(shown.m_figures[figure], scales[figure]);
  html += "<td>" + LooksOf(shown);
  return html + "</td></tr>\n";
}

std::string BatchTable(std::span<const BatchRun> runs) {
  std::string html =
      "<section class=\"section\"><h2>The runs</h2>\n<div class=\"wide\"><table>\n<thead><tr>"
      "<th>run</th>";
  std::vector<FigureScale> scales;
  for (const KeyFigure& figure : KeyFigures({})) {
    html += "<th class=\"number\">" + Escaped(figure.m_label) + "</th>";
    scales.push_back(ScaleOf(runs, figure, scales.size()));
  }
  html += "<th>worth a look</th></tr></thead>\n<tbody>\n";
  for (const BatchRun& run : runs) html += BatchRow(run, scales);
  return html + "</tbody></table></div></section>\n";
}

// One figure over the runs in the order of the table; empty when it is the same in all of them.
std::string FigureCard(std::span<const BatchRun> runs, std::size_t figure) {
  const KeyFigure named = KeyFigures({})[figure];
  const std::vector<double> values = ValuesOf(runs, figure);
  const auto median = Median(values);
  if (!median) return {};
  const auto [low, high] = std::ranges::minmax(values);
  if (!(high > low)) return {};
  std::vector<ChartDot> dots;
  for (std::size_t run = 0; run < runs.size(); ++run) {
    const auto& figures = runs[run].m_figures;
    if (figure < figures.size() && figures[figure].m_value)
      dots.push_back({{static_cast<double>(run) + 1.0, *figures[figure].m_value},
                      runs[run].m_name + ": " + FigureText(figures[figure]),
                      runs[run].m_name});
  }
  KeyFigure middle = named;
  middle.m_value = median;
  const std::string seen = "Median of " + std::to_string(values.size()) +
                           " runs: " + FigureText(middle) + " (the line).";
  const double room = 0.1 * (high - low);
  const ChartRange x{0.0, static_cast<double>(runs.size()) + 1.0};
  const ChartRange y{low < 0.0 ? low - room : std::max(0.0, low - room), high + room};
  const std::string unit = named.m_unit.empty() ? "" : ", " + named.m_unit;
  return "<section class=\"card\"><div class=\"head\">" + Element("h2", named.m_label) +
         "</div>\n" + Element("p", seen) + "\n" +
         DotChart({"batch-" + named.m_id, named.m_label, seen, "", named.m_label + unit}, x, y,
                  dots, *median) +
         "</section>\n";
}

std::size_t CountOfState(std::span<const BatchRun> runs, std::string_view state) {
  return static_cast<std::size_t>(
      std::ranges::count_if(runs, [&](const BatchRun& run) { return StateWord(run) == state; }));
}

std::string BatchSummary(std::span<const BatchRun> runs) {
  const auto failed = static_cast<std::size_t>(
      std::ranges::count_if(runs, [](const BatchRun& run) { return run.m_page.empty(); }));
  const auto look = static_cast<std::size_t>(std::ranges::count_if(runs, [](const BatchRun& run) {
    return !run.m_remarks.empty() || !TitlesOf(run.m_findings, Verdict::kLook).empty();
  }));
  const std::size_t unfinished = CountOfState(runs, "unfinished");
  const std::size_t empty = CountOfState(runs, "nothing exported");
  std::string defects;
  if (unfinished > 0) defects += " Unfinished: " + std::to_string(unfinished) + ".";
  if (empty > 0) defects += " Without an exported scan: " + std::to_string(empty) + ".";
  const auto changes = std::ranges::count_if(runs, HasChanges);
  if (changes > 0) defects += " With something to change: " + std::to_string(changes) + ".";
  return std::to_string(runs.size()) + (runs.size() == 1 ? " run; " : " runs; ") +
         std::to_string(look) + " with something worth a look, " + std::to_string(failed) +
         " without a report." + defects +
         " \u25b2 marks a figure that differs from the other runs.";
}

}  // namespace

BatchRun UnfinishedRun(const std::string& name) {
  BatchRun run;
  run.m_name = name;
  run.m_error = "the run did not finish";
  run.m_is_unfinished = true;
  return run;
}

std::string StateWord(const BatchRun& run) {
  if (run.m_is_unfinished) return "unfinished";
  if (run.m_page.empty()) return "no report";
  return TitlesOf(run.m_remarks, Verdict::kDefect).empty() ? "finished" : "nothing exported";
}

BatchRun BatchRunOf(const RunReport& report, const std::string& page) {
  BatchRun run;
  run.m_name = report.m_name;
  run.m_page = page;
  run.m_scan_page = report.m_scan_page;
  run.m_figures = KeyFigures(report);
  run.m_findings = ReportFindings(report);
  run.m_remarks = ReportRemarks(report);
  run.m_advice = WhatToChange(report);
  run.m_settings = report.m_settings;
  run.m_outputs = report.m_outputs;
  run.m_by_shift = report.m_by_shift;
  run.m_unmatched = report.m_unmatched;
  run.m_kept = report.m_kept;
  run.m_by_count = report.m_by_count;
  return run;
}

std::string FigureText(const KeyFigure& figure) {
  if (!figure.m_value) return "\u2013";
  const std::string number = GroupedNumber(*figure.m_value, figure.m_decimals);
  return figure.m_unit.empty() ? number : number + " " + figure.m_unit;
}

std::string RunPage(const RunReport& report) {
  const std::vector<ReportFinding> findings = ReportFindings(report);
  const std::vector<ReportFinding> remarks = ReportRemarks(report);
  const std::vector<Advice> advice = WhatToChange(report);
  std::string html = PageStart(report.m_name + " \u2013 tarvek report");
  html += "<header>" + Element("h1", report.m_name) + "\n<p class=\"lead\">" +
          Escaped(SettingsText(report)) + "</p>\n<p class=\"summary\"><strong>" +
          Escaped(SummaryOf(findings, remarks, advice)) + "</strong></p></header>\n" +
          Tiles(KeyFigures(report)) + "<div class=\"story cards\">\n";
  for (const ReportFinding& remark : remarks) html += RemarkCard(remark);
  for (const ReportFinding& finding : findings) html += Card(finding, PictureOf(finding, report));
  html += "</div>\n" + ScanSection(report) + LeftOutTable(report) + SettingsTable(report) +
          SourceTable(report) + AdviceSection(advice);
  return html + PageEnd();
}

std::string UnfinishedPage(const std::string& name) {
  const ReportFinding remark{
      "unfinished",
      "The run did not finish",
      Verdict::kDefect,
      "Its table still ends in _unfinished: the run was stopped before its end, or is still going "
      "on. The files next to that table are incomplete.",
      "The table has its own name.",
      "Run tarvek again with the same command: it processes this input from the start."};
  return PageStart(name + " \u2013 tarvek report") + "<header>" + Element("h1", name) +
         "\n<p class=\"summary\"><strong>" + Element("span", "Defect: the run did not finish.") +
         "</strong></p></header>\n<div class=\"story cards\">\n" + RemarkCard(remark) + "</div>\n" +
         PageEnd();
}

std::string BatchPage(const std::string& title, std::span<const BatchRun> runs) {
  std::string html = PageStart(title + " \u2013 tarvek report");
  html += "<header>" + Element("h1", title) + "\n<p class=\"lead\">" + Escaped(BatchSummary(runs)) +
          "</p></header>\n" + BatchTable(runs);
  std::string cards;
  for (std::size_t figure = 0; figure < KeyFigures({}).size(); ++figure)
    cards += FigureCard(runs, figure);
  if (!cards.empty())
    html += "<section class=\"section\"><h2>Over the batch</h2>\n<div class=\"small cards\">\n" +
            cards + "</div></section>\n";
  html += BatchSettings(runs) + BatchFiles(runs) + BatchAdvice(runs);
  return html + PageEnd();
}

}  // namespace tarvek::tools
