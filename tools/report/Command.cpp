#include "report/Command.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "FileUtils.h"
#include "PrecursorTable.h"
#include "ShownText.h"
#include "StringUtils.h"
#include "UnfinishedFile.h"
#include "explain/RunToExplain.h"
#include "outputs/RunOutcome.h"
#include "outputs/Subcommand.h"
#include "report/Data.h"
#include "report/Page.h"
#include "report/ScanPage.h"
#include "report/Summary.h"
#include "score/Command.h"

namespace tarvek::tools {
namespace {

struct ScanPageSettings {
  std::size_t m_most = kMostScansDefault;
  std::string m_isotope_table;
};

struct ReportOptions {
  std::string m_path;
  std::string m_out_folder;
  double m_isolation_width = 0.0;  // 0: not given
  ReportSettings m_settings;
  ScanPageSettings m_scan_page;
};

void WriteReport(const std::string& path, const std::string& content) {
  WriteWhole(path, content, "report");
}

void WriteForMultiQc(const std::string& start, std::span<const BatchRun> runs) {
  WriteReport(start + "_mqc.json", FiguresForMultiQc(runs));
  WriteReport(start + "_isotopes_mqc.json", IsotopesForMultiQc(runs));
  WriteReport(start + "_precursors_mqc.json", PrecursorsForMultiQc(runs));
}

// Writes the page of scans and returns the outcome. The other pages are written without it, too. A
// page of an earlier processing must not stay.
ScanPageOutcome WriteScanPage(const std::string& base_path, const std::string& out_folder,
                              const std::string& name, const ReportOptions& options) {
  ScanPageOutcome outcome;
  const std::string file = name + ".scans.html";
  const std::string path = JoinPath({out_folder, file});
  RemoveFile(path);
  if (options.m_scan_page.m_most == 0) {
    outcome.m_why_not = "It was not asked for (--scans 0).";
    return outcome;
  }
  const std::string& input = options.m_settings.m_input_folder;
  std::string html;
  outcome.m_failed = true;
  try {
    if (!FindSpectra(base_path, input).AreThere()) {
      outcome.m_failed = false;
      outcome.m_why_not = WithoutSpectra(base_path);
      return outcome;
    }
    ScanPage page = MakeScanPage({base_path, input, options.m_scan_page.m_isotope_table},
                                 options.m_scan_page.m_most);
    outcome = page.m_outcome;
    outcome.m_file = file;
    html = std::move(page.m_html);
  } catch (const char* why) {  // of the parameters
    outcome.m_why_not = why;
  } catch (const std::string& why) {  // of the file helpers
    outcome.m_why_not = why;
  } catch (const std::bad_alloc&) {
    outcome.m_why_not = kNoMemory;
  } catch (const std::exception& error) {
    outcome.m_why_not = error.what();
  }
  if (!outcome.m_file.empty()) WriteReport(path, html);
  return outcome;
}

// Writes page and summary of one run and returns what a batch keeps of it.
BatchRun ReportRun(const std::string& base_path, const std::string& out_folder,
                   const ReportOptions& options) {
  const ReportSettings& settings = options.m_settings;
  RunReport report = ReadRunReport(FindRunFiles(base_path, settings.m_input_folder), settings);
  report.m_scan_page = WriteScanPage(base_path, out_folder, report.m_name, options);
  const std::string page = report.m_name + ".report.html";
  const std::string path = JoinPath({out_folder, page});
  WriteReport(path, RunPage(report));
  WriteReport(JoinPath({out_folder, report.m_name + ".report.json"}), RunJson(report));
  std::cout << Shown(path) << '\n';
  if (!report.m_scan_page.m_file.empty())
    std::cout << Shown(JoinPath({out_folder, report.m_scan_page.m_file})) << '\n';
  return BatchRunOf(report, page);
}

// Overwrites the page of an earlier processing, which would look like one of this run.
BatchRun ReportUnfinished(const std::string& base_path, const std::string& out_folder) {
  BatchRun run = UnfinishedRun(std::string(FileNameOf(base_path)));
  const std::string path = JoinPath({out_folder, run.m_name + ".report.html"});
  WriteReport(path, UnfinishedPage(run.m_name));
  WriteReport(JoinPath({out_folder, run.m_name + ".report.json"}), UnfinishedJson(run.m_name));
  std::cout << Shown(path) << '\n';
  return run;
}

// The run that a path means: the path itself, or a table's path without the ending.
std::string BasePathOf(const std::string& path) {
  std::string_view base = path;
  CutEnding(base, kUnfinished);
  return CutEnding(base, kTableEnding) ? std::string(base) : path;
}

void Tell(const std::string& sentence) { std::cerr << "tarvek-tools: " << Shown(sentence) << '\n'; }

std::string NoPageOfScans(const BatchRun& run) {
  return "No page of scans of " + run.m_name + ": " + run.m_scan_page.m_why_not;
}

void ReportOne(const ReportOptions& options) {
  const std::string out_folder =
      options.m_out_folder.empty() ? FolderOf(options.m_path) : options.m_out_folder;
  const std::string base_path = BasePathOf(options.m_path);
  if (IsUnfinishedRun(base_path)) {
    const BatchRun run = ReportUnfinished(base_path, out_folder);
    WriteForMultiQc(JoinPath({out_folder, run.m_name + "_tarvek"}), {&run, 1});
  }
  const BatchRun run = ReportRun(base_path, out_folder, options);
  WriteForMultiQc(JoinPath({out_folder, run.m_name + "_tarvek"}), {&run, 1});
  if (run.m_scan_page.m_failed) throw NoPageOfScans(run);
  if (run.m_scan_page.m_file.empty() && options.m_scan_page.m_most > 0) Tell(NoPageOfScans(run));
}

BatchRun WithoutReport(const std::string& base_path, const std::string& why) {
  BatchRun run;
  run.m_name = FileNameOf(base_path);
  run.m_error = why;
  return run;
}

// A run that cannot be read is named on standard error and in the batch; the others go on.
BatchRun TryRun(const std::string& base_path, const std::string& out_folder,
                const ReportOptions& options) {
  std::string why;
  try {
    return ReportRun(base_path, out_folder, options);
  } catch (const std::string& message) {  // of the file helpers
    why = message;
  } catch (const std::bad_alloc&) {
    why = base_path + ": " + std::string(kNoMemory);
  } catch (const std::exception& error) {
    why = error.what();
  }
  Tell(why);
  return WithoutReport(base_path, why);
}

std::string BatchTitle(const std::string& folder) {
  const std::string trimmed = WithoutTrailingSeparators(folder);
  const std::string name(FileNameOf(trimmed));
  return name.empty() || name == "." || name == ".." ? "Batch" : name;
}

std::size_t Count(const std::vector<BatchRun>& runs, bool (*counts)(const BatchRun&)) {
  return static_cast<std::size_t>(std::ranges::count_if(runs, counts));
}

// Names the runs whose page of scans failed, counts those whose spectra were not kept, and returns
// how many failed.
std::size_t TellOfScanPages(const std::vector<BatchRun>& runs, const ReportOptions& options) {
  for (const BatchRun& run : runs)
    if (run.m_scan_page.m_failed) Tell(NoPageOfScans(run));
  const std::size_t without_spectra = Count(runs, [](const BatchRun& run) {
    return !run.m_page.empty() && run.m_scan_page.m_file.empty() && !run.m_scan_page.m_failed;
  });
  if (without_spectra > 0 && options.m_scan_page.m_most > 0)
    Tell(std::to_string(without_spectra) + " of " + std::to_string(runs.size()) +
         " runs have no page of scans, since their spectra are not there; their reports say where "
         "they were looked for.");
  return Count(runs, [](const BatchRun& run) { return run.m_scan_page.m_failed; });
}

void ReportBatch(const ReportOptions& options) {
  const std::string& folder = options.m_path;
  const std::string out_folder = options.m_out_folder.empty() ? folder : options.m_out_folder;
  const FoundRuns found = FindRuns(folder);
  if (found.m_finished.empty() && found.m_unfinished.empty())
    throw "There is no precursor table of tarvek (.csv) in " + folder;
  std::vector<BatchRun> runs;
  for (const std::string& base_path : found.m_finished)
    runs.push_back(TryRun(base_path, out_folder, options));
  const std::size_t failed = Count(runs, [](const BatchRun& run) { return run.m_page.empty(); });
  const std::size_t without_scans = TellOfScanPages(runs, options);
  for (const std::string& base_path : found.m_unfinished)
    if (!IsThere(base_path + ".csv")) runs.push_back(ReportUnfinished(base_path, out_folder));

  const std::string page = JoinPath({out_folder, "tarvek_report.html"});
  WriteReport(page, BatchPage(BatchTitle(folder), runs));
  WriteReport(JoinPath({out_folder, "tarvek_report.json"}), BatchJson(runs));
  WriteForMultiQc(JoinPath({out_folder, "tarvek"}), runs);
  std::cout << Shown(page) << '\n';
  if (failed > 0)
    throw std::to_string(failed) + " of " + std::to_string(found.m_finished.size()) +
        " runs could not be reported.";
  if (without_scans > 0)
    throw std::to_string(without_scans) + " of " + std::to_string(found.m_finished.size()) +
        " runs have no page of scans, since their spectra could not be read.";
}

void RunReportCommand(ReportOptions options) {
  if (options.m_isolation_width > 0.0)
    options.m_settings.m_isolation_width = options.m_isolation_width;
  if (!options.m_out_folder.empty()) MakeDirectory(options.m_out_folder);
  if (IsDirectory(options.m_path))
    ReportBatch(options);
  else
    ReportOne(options);
}

}  // namespace

void AddReportCommand(CLI::App& app) {
  const auto options = std::make_shared<ReportOptions>();
  CLI::App* report = AddSubcommand(
      app, "report", "Show the outputs of a run, or of a folder of runs, as a page", "PATH",
      options->m_path, "Folder of outputs, or the outputs of one run without their endings");
  report->add_option("-o,--out", options->m_out_folder, "Folder of the pages, if another one");
  report
      ->add_option("--input", options->m_settings.m_input_folder,
                   "Folder of the .ms2 or .mscsv files, if another one")
      ->check(CLI::ExistingDirectory);
  report
      ->add_option(
          "-W,--isolation-width", options->m_isolation_width,
          "Width of the isolation window in m/z; default: from the record of the run, else 2")
      ->check(PositiveReal());
  AddTolerance(*report, options->m_settings.m_tol_ppm,
               "Largest m/z difference of peaks that belong together, ppm");
  report
      ->add_option(
          "--scans", options->m_scan_page.m_most,
          "Scans in the page of scans at most, evenly spread over the run; 0 for no such page")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str();
  report->add_option(
      "-I,--ipv", options->m_scan_page.m_isotope_table,
      "Table of expected isotope patterns for the page of scans, if another one than "
      "tarvek finds");
  report->callback([options] { RunReportCommand(*options); });
}

}  // namespace tarvek::tools
