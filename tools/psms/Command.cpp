#include "psms/Command.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "NumberText.h"
#include "ShownText.h"
#include "UnfinishedFile.h"
#include "outputs/JsonText.h"
#include "outputs/OutputNames.h"
#include "psms/Blocks.h"
#include "psms/Competition.h"
#include "psms/Peptide.h"
#include "psms/Precursors.h"
#include "psms/Table.h"

namespace tarvek::tools {
namespace {

using nlohmann::ordered_json;

struct PsmsOptions {
  std::vector<std::string> m_results;
  std::vector<std::string> m_precursors;
  std::string m_out;
  double m_fdr = 0.01;
  std::string m_decoy_prefix;
  bool m_has_no_plus_one = false;
  bool m_writes_all = false;
  bool m_is_json = false;

  [[nodiscard]] FdrEstimate Estimate() const {
    return m_has_no_plus_one ? FdrEstimate::kRatio : FdrEstimate::kPlusOne;
  }
};

/// All that is kept of the results.
struct Collected {
  std::vector<Contender> m_contenders;
  std::vector<std::string> m_runs;  // by number
  std::optional<EngineScores> m_scores;
  std::string m_first_path;
  std::int64_t m_rows = 0;
  std::int64_t m_blocks = 0;
  std::vector<std::string> m_decoy_marks;
  bool m_has_decoys = false;
};

// 250 bytes for each of as many runs as can be numbered.
constexpr std::size_t kMostRunBytes = std::size_t{16} << 20;

struct Counts {
  AcceptedSummary m_summary;
  std::int64_t m_proteins = 0;
  std::int64_t m_scans_alone = 0;
};

std::string Quoted(const EngineScores& scores) {
  return std::string(scores.m_engine) + " (" + std::string(scores.m_score) + ")";
}

/// Fills Collected block by block.
class Collector {
 public:
  explicit Collector(const std::string& decoy_prefix)
      : m_decoys(decoy_prefix), m_has_prefix(!decoy_prefix.empty()) {}

  void Add(const JoinedMatch& joined) {
    const EngineMatch& match = joined.m_match;
    CheckScores(match.m_scores);
    if (m_data.m_contenders.size() == std::numeric_limits<std::uint32_t>::max())
      throw ResultFault{"more spectra than can be counted"};
    const bool is_decoy =
        m_decoys.AreDecoys(match.m_proteins) || (!m_has_prefix && match.m_is_called_decoy);
    Contender contender;
    contender.m_cost = match.Cost();
    contender.m_block = joined.m_block;
    contender.m_peptide = SequenceKey(match.m_sequence);
    contender.m_proteins = m_decoys.GroupKey(match.m_proteins, is_decoy);
    contender.m_scan = joined.ScanKey();
    contender.m_number = static_cast<std::uint32_t>(m_data.m_contenders.size());
    contender.m_run = RunNumber(joined.m_run);
    contender.m_is_decoy = is_decoy;
    m_data.m_has_decoys = m_data.m_has_decoys || is_decoy;
    m_data.m_contenders.push_back(contender);
  }

  Collected Take() {
    m_data.m_decoy_marks = m_decoys.MarksSeen();
    return std::move(m_data);
  }

 private:
  // Scores of two engines cannot be ranked together.
  void CheckScores(const EngineScores& scores) {
    if (!m_data.m_scores) m_data.m_scores = scores;
    if (*m_data.m_scores != scores)
      throw "scores of " + Quoted(*m_data.m_scores) + " and of " + Quoted(scores) +
          " cannot be ranked together; give the results of one kind at a time";
  }

  std::uint16_t RunNumber(const std::string& run) {
    if (m_last_run < m_data.m_runs.size() && m_data.m_runs[m_last_run] == run) return m_last_run;
    const auto [entry, is_new] =
        m_numbers.try_emplace(run, static_cast<std::uint16_t>(m_data.m_runs.size()));
    if (is_new) {
      if (m_data.m_runs.size() > std::numeric_limits<std::uint16_t>::max())
        throw ResultFault{"more than 65,536 runs"};
      m_data.m_runs.push_back(Shown(run));
      m_run_bytes += m_data.m_runs.back().size();
      if (m_run_bytes > kMostRunBytes) throw ResultFault{"more than 16 MB of names of runs"};
    }
    return m_last_run = entry->second;
  }

  DecoyNames m_decoys;
  bool m_has_prefix;
  Collected m_data;
  std::map<std::string, std::uint16_t> m_numbers;
  std::size_t m_run_bytes = 0;  // of their names
  std::uint16_t m_last_run = 0;
};

// A file given twice costs time and is probably a mistake.
void RefuseRepeatedResults(const std::vector<std::string>& paths) {
  std::set<std::string> taken;
  for (const std::string& path : paths)
    if (!taken.insert(CanonicalPath(path)).second) throw "The result " + path + " is given twice";
}

void RefuseToReplaceResults(const PsmsOptions& options) {
  if (options.m_out.empty()) return;
  for (const std::vector<std::string>* inputs : {&options.m_results, &options.m_precursors})
    for (const std::string& path : *inputs)
      if (CanonicalPath(path) == CanonicalPath(options.m_out))
        throw "The output " + options.m_out + " is an input, too; choose another";
}

PrecursorSource ReadPrecursors(const std::vector<std::string>& paths) {
  PrecursorSource precursors;
  for (const std::string& path : paths) precursors.Add(path);
  return precursors;
}

Collected Collect(const PsmsOptions& options, const PrecursorSource& precursors) {
  Collector collector(options.m_decoy_prefix);
  const std::int64_t rows = ReadBlocks(options.m_results, precursors,
                                       [&](const JoinedMatch& joined) { collector.Add(joined); });
  Collected collected = collector.Take();
  collected.m_rows = rows;
  collected.m_blocks = static_cast<std::int64_t>(collected.m_contenders.size());
  return collected;
}

// Without decoys every match would seem to be right. A user who names the decoy prefix knows about
// them; a small search may then find none.
void CheckDecoys(const Collected& collected, const PsmsOptions& options) {
  if (collected.m_contenders.empty() || collected.m_has_decoys) return;
  const std::string none =
      "none of " + std::to_string(collected.m_contenders.size()) + " matches is a decoy";
  if (options.m_decoy_prefix.empty())
    throw options.m_results.front() + ": " + none +
        " (a protein that begins with rev_, DECOY_, XXX_ or decoy_); search with decoys, or give "
        "their prefix with --decoy-prefix";
  std::cerr << "tarvek-tools: " << none << " (a protein that begins with " << options.m_decoy_prefix
            << ")\n";
}

/// Writes the rows of the contenders, which are in the order of their numbers.
void WriteTable(const PsmsOptions& options, const PrecursorSource& precursors,
                const std::vector<Contender>& contenders) {
  UnfinishedFile table(options.m_out, "table");
  table.File().Write(PsmTableHeader());
  std::uint32_t number = 0;
  auto next = contenders.begin();
  std::string text;
  ReadBlocks(options.m_results, precursors, [&](const JoinedMatch& joined) {
    if (next == contenders.end() || next->m_number != number++) return;
    const Contender& contender = *next++;
    const bool is_accepted = !contender.m_is_decoy && contender.m_q_value <= options.m_fdr;
    if (!is_accepted && !options.m_writes_all) return;
    text.clear();
    AppendPsmRow(text, joined, contender);
    table.File().Write(text);
  });
  if (next != contenders.end()) throw std::string("the results changed while they were read");
  table.TakeName();
}

std::string MarksText(const Collected& collected) {
  std::string text;
  for (const std::string& mark : collected.m_decoy_marks) text += (text.empty() ? "" : ", ") + mark;
  return text.empty() ? "a field of the engine" : text;
}

// Because of the 1 that is added to the decoys, a short run may have no target within the rate.
void SayWhyNothing(const Counts& counts, const Collected& collected, const PsmsOptions& options) {
  if (counts.m_summary.m_all.m_matches > 0 || options.m_has_no_plus_one ||
      collected.m_contenders.empty())
    return;
  std::cerr << "tarvek-tools: nothing is accepted at a rate of " << ExactText(options.m_fdr)
            << ", which takes at least " << std::llround(std::ceil(1.0 / options.m_fdr - 1e-9))
            << " targets above the first decoy; for a short run try --no-plus-one\n";
}

ordered_json CountsJson(const AcceptedCounts& counts) {
  return {
      {"scans", counts.m_scans}, {"matches", counts.m_matches}, {"peptides", counts.m_peptides}};
}

void PrintJson(const Counts& counts, const Collected& collected, const PsmsOptions& options) {
  ordered_json runs = ordered_json::array();
  for (std::size_t i = 0; i < collected.m_runs.size(); ++i) {
    const auto found = counts.m_summary.m_runs.find(static_cast<std::uint16_t>(i));
    ordered_json run = {{"run", collected.m_runs[i]}};
    run.update(
        CountsJson(found == counts.m_summary.m_runs.end() ? AcceptedCounts() : found->second));
    runs.push_back(run);
  }
  const EngineScores scores = collected.m_scores.value_or(EngineScores());
  ordered_json json = {
      {"engine", scores.m_engine},
      {"score", scores.m_score},
      {"fdr", options.m_fdr},
      {"estimate", options.m_has_no_plus_one ? "decoys / targets" : "(decoys + 1) / targets"},
      {"decoys_by", collected.m_decoy_marks},
      {"rows", collected.m_rows},
      {"spectra", collected.m_blocks}};
  json.update(CountsJson(counts.m_summary.m_all));
  json["proteins"] = counts.m_proteins;
  json["scans_ranked_alone"] = counts.m_scans_alone;
  json["runs"] = runs;
  // A name that is not UTF-8 must not end the command.
  std::cout << JsonText(json, 2) << '\n';
}

void AppendCell(std::string& text, const std::string& cell, std::size_t width) {
  text.append(cell).append(width - std::min(width, cell.size()), ' ');
}

void AppendCounts(std::string& text, const std::string& name, std::size_t width,
                  const AcceptedCounts& counts, const std::string& proteins) {
  constexpr std::size_t kCountWidth = 10;
  AppendCell(text, name + "  ", width);
  for (const std::int64_t count : {counts.m_scans, counts.m_matches, counts.m_peptides})
    AppendCell(text, std::to_string(count), kCountWidth);
  text.append(proteins).append("\n");
}

void PrintText(const Counts& counts, const Collected& collected, const PsmsOptions& options) {
  // One long name must not widen the lines of all.
  constexpr std::size_t kMostWidth = 200;
  std::size_t width = 5;
  for (const std::string& run : collected.m_runs)
    width = std::max(width, std::min(run.size() + 2, kMostWidth));
  std::string text = std::to_string(collected.m_rows) + " rows, " +
                     std::to_string(collected.m_blocks) + " spectra; accepted at a rate of " +
                     ExactText(options.m_fdr) + ":\n";
  AppendCell(text, "run", width);
  text += "scans     matches   peptides  proteins\n";
  if (collected.m_runs.size() > 1)
    for (const auto& [number, run] : counts.m_summary.m_runs)
      AppendCounts(text, collected.m_runs[number], width, run, "");
  while (text.ends_with(' ')) text.pop_back();
  const std::string name = collected.m_runs.size() == 1 ? collected.m_runs.front() : "all";
  AppendCounts(text, name, width, counts.m_summary.m_all, std::to_string(counts.m_proteins));
  std::cout << text;
}

void RunPsms(const PsmsOptions& options) {
  RefuseRepeatedResults(options.m_results);
  RefuseToReplaceResults(options);
  const PrecursorSource precursors = ReadPrecursors(options.m_precursors);
  Collected collected = Collect(options, precursors);
  CheckDecoys(collected, options);
  if (collected.m_has_decoys)
    std::cerr << "tarvek-tools: decoys are recognised by " << Shown(MarksText(collected)) << '\n';
  Compete(collected.m_contenders);
  AssignQValues(collected.m_contenders, options.Estimate());
  Counts counts;
  counts.m_summary = CountAccepted(collected.m_contenders, options.m_fdr);
  counts.m_proteins = CountProteins(collected.m_contenders, options.m_fdr, options.Estimate());
  if (options.m_is_json)
    counts.m_scans_alone =
        CountScansAlone(collected.m_contenders, options.m_fdr, options.Estimate());
  if (!options.m_out.empty()) WriteTable(options, precursors, collected.m_contenders);
  SayWhyNothing(counts, collected, options);
  if (options.m_is_json)
    PrintJson(counts, collected, options);
  else
    PrintText(counts, collected, options);
}

}  // namespace

void AddPsmsCommand(CLI::App& app) {
  const auto options = std::make_shared<PsmsOptions>();
  CLI::App* psms =
      app.add_subcommand("psms", "Count what a search engine found, and join it to the precursors");
  psms->add_option("RESULT", options->m_results,
                   "Results of one engine: Comet, X!Tandem, MSFragger, Sage, MS-GF+ or mzIdentML")
      ->required();
  psms->add_option("--precursors", options->m_precursors,
                   "Precursor tables (.csv), maps of mgf (.ids.tsv), or folders with them");
  psms->add_option("-o,--out", options->m_out, "Table of the accepted matches (.tsv) to write");
  psms->add_flag("--all", options->m_writes_all,
                 "Write every match of the competition, decoys and what is not accepted too");
  psms->add_option("--fdr", options->m_fdr, "False discovery rate of what is accepted")
      ->check(CLI::Range(0.0, 1.0))
      ->capture_default_str();
  psms->add_flag("--no-plus-one", options->m_has_no_plus_one,
                 "Estimate the rate by decoys / targets, without adding 1 to the decoys");
  psms->add_option("--decoy-prefix", options->m_decoy_prefix,
                   "What the names of decoys begin with, if not rev_, DECOY_, XXX_ or decoy_");
  psms->add_flag("--json", options->m_is_json, "Print the counts as JSON");
  psms->callback([options] { RunPsms(*options); });
}

}  // namespace tarvek::tools
