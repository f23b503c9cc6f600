#include "mgf/Command.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "FileUtils.h"
#include "PrecursorTable.h"
#include "RunSummary.h"
#include "ShownText.h"
#include "StringUtils.h"
#include "UnfinishedFile.h"
#include "mgf/Blocks.h"
#include "mgf/Output.h"
#include "mgf/Profiles.h"
#include "outputs/OutputNames.h"
#include "outputs/RunOutcome.h"

namespace tarvek::tools {
namespace {

constexpr std::string_view kEnding = ".mgf";

struct MgfOptions {
  std::string m_engine;
  std::vector<std::string> m_inputs;
  std::string m_out;
  std::int32_t m_top = 0;  // 0 keeps all
  bool m_merge = false;
  bool m_gzip = false;
  std::uint64_t m_split_bytes = 0;
};

/// The input files of one output.
struct MgfJob {
  std::string m_base;  // path of the output without ending
  std::vector<std::string> m_inputs;
};

std::string Stem(const std::string& path) {
  const std::string_view name = FileNameOf(path);
  return std::string(name.substr(0, name.size() - kEnding.size()));
}

/// name in the folder of input, equal for all spellings of that folder.
std::string InCanonicalFolder(const std::string& input, std::string_view name) {
  return JoinPath({CanonicalPath(FolderOf(input)), name});
}

/// Why a finished run left no MGF, from its record.
std::string WhyWithoutMgf(const std::string& base) {
  const std::string why = WhyNothingIsExported(RecordAt(base + std::string(kRunRecordEnding)));
  return why.empty() ? "it exported none, or its files were moved" : why;
}

/// A run without an MGF file in its directory would otherwise only be missed in the search.
void SayRunsWithoutMgf(const std::string& directory, const std::vector<std::string>& files) {
  std::set<std::string> runs;
  for (const std::string& file : files) runs.emplace(SplitOutputName(Stem(file)).m_run);
  const auto say = [&](const std::string& base, const std::string& why) {
    if (!runs.contains(std::string(FileNameOf(base))))
      std::cerr << "tarvek-tools: the run " << Shown(base) << " has no MGF: " << Shown(why) << '\n';
  };
  const FoundRuns found = FindRuns(directory);
  for (const std::string& base : found.m_finished) say(base, WhyWithoutMgf(base));
  for (const std::string& base : found.m_unfinished)
    if (IsUnfinishedRun(base)) say(base, "it did not finish");
}

/// Directories give their MGF files in the order of their names.
std::vector<std::string> InputFiles(const std::vector<std::string>& paths) {
  std::vector<std::string> files;
  for (const std::string& path : paths) {
    std::vector<std::string> found = ListFiles(path, kEnding);
    if (IsDirectory(path)) SayRunsWithoutMgf(path, found);
    if (found.empty()) throw "No MGF file: " + path;
    std::ranges::sort(found);
    files.insert(files.end(), found.begin(), found.end());
  }
  return files;
}

/// A file given twice, by its name and by its directory, would double its blocks.
void RefuseRepeatedInputs(const std::vector<std::string>& inputs) {
  std::set<std::string> taken;
  for (const std::string& input : inputs)
    if (!taken.insert(InCanonicalFolder(input, FileNameOf(input))).second)
      throw "The input " + input + " is given twice";
}

/// The MGF of a run that was stopped is cut, and that of a run that exported nothing is empty. A
/// file that is not named after a run is not an output of tarvek.
void RefuseUnfinishedRuns(const std::vector<std::string>& inputs) {
  for (const std::string& input : inputs) {
    const std::string stem = Stem(input);
    const SplitName name = SplitOutputName(stem);
    if (name.m_words.empty()) continue;
    const std::string base = JoinPath({FolderOf(input), name.m_run});
    if (IsUnfinishedRun(base))
      throw "The run of " + input + " did not finish: there is only " +
          UnfinishedPathOf(base + std::string(kTableEnding)) + ". Process it again";
    const std::string record = base + std::string(kRunRecordEnding);
    if (const std::string why = WhyNothingIsExported(RecordAt(record)); !why.empty())
      throw "The run of " + input + " exported nothing, as " + record + " says: " + why;
  }
}

/// One job for each input, or for each run of a directory when merging; ordered as the inputs.
std::vector<MgfJob> JobsOf(const std::vector<std::string>& inputs, const MgfOptions& options) {
  std::vector<MgfJob> jobs;
  std::map<std::string, std::size_t> job_of_run;
  for (const std::string& input : inputs) {
    const std::string stem = Stem(input);
    const std::string run = options.m_merge ? std::string(SplitOutputName(stem).m_run) : stem;
    const std::string place = options.m_merge ? InCanonicalFolder(input, run) : input;
    const auto [entry, is_new] = job_of_run.try_emplace(place, jobs.size());
    if (is_new) jobs.push_back({JoinPath({options.m_out, WithoutDots(run)}), {}});
    jobs[entry->second].m_inputs.push_back(input);
  }
  return jobs;
}

void RefuseEqualOutputs(const std::vector<MgfJob>& jobs) {
  std::map<std::string, std::string> taken;  // output to its first input
  for (const MgfJob& job : jobs) {
    const auto [entry, is_new] = taken.try_emplace(job.m_base, job.m_inputs.front());
    if (!is_new)
      throw entry->second + " and " + job.m_inputs.front() + " would both become " + job.m_base +
          std::string(kEnding);
  }
}

void RefuseToReplaceInputs(const std::vector<std::string>& inputs, const std::string& out) {
  for (const std::string& input : inputs) {
    std::error_code error;
    if (std::filesystem::equivalent(FolderOf(input), out, error))
      throw "The output directory " + out + " holds the input " + input + "; choose another";
  }
}

/// An input file with its next scan.
class ScanSource {
 public:
  explicit ScanSource(const std::string& path) : m_reader(path), m_name(FileNameOf(path)) {
    m_has_next = m_reader.ReadNext(m_next);
    Advance();
  }

  [[nodiscard]] bool HasScan() const noexcept { return !m_scan.empty(); }
  [[nodiscard]] std::int32_t ScanNo() const { return m_scan.front().m_scan_no; }
  [[nodiscard]] std::vector<MgfBlock>& Scan() noexcept { return m_scan; }
  [[nodiscard]] const std::string& Name() const noexcept { return m_name; }

  /// Takes the blocks that follow each other with one scan number of one run.
  void Advance() {
    m_scan.clear();
    while (m_has_next && (m_scan.empty() || (m_next.m_scan_no == m_scan.front().m_scan_no &&
                                             m_next.m_run == m_scan.front().m_run))) {
      if (m_scan.size() == kMostTablePrecursors)
        m_reader.Fail("more than " + std::to_string(kMostTablePrecursors) + " blocks of scan " +
                      std::to_string(m_next.m_scan_no));
      m_scan.push_back(std::move(m_next));
      m_has_next = m_reader.ReadNext(m_next);
    }
  }

 private:
  MgfBlockReader m_reader;
  std::string m_name;
  MgfBlock m_next;
  bool m_has_next = false;
  std::vector<MgfBlock> m_scan;
};

/// The source of the smallest next scan number, the first of equal ones; null when all are done.
ScanSource* NextSource(std::vector<std::unique_ptr<ScanSource>>& sources) {
  ScanSource* next = nullptr;
  for (const auto& source : sources)
    if (source->HasScan() && (next == nullptr || source->ScanNo() < next->ScanNo()))
      next = source.get();
  return next;
}

/// Drops all but the top precursors of a scan; 0 keeps them all.
void KeepBest(std::vector<MgfBlock>& scan, std::int32_t top) {
  if (top > 0) std::erase_if(scan, [top](const MgfBlock& block) { return block.m_index >= top; });
}

/// The outputs of a job: the first, and further ones for blocks that the engine could not tell from
/// those of the first. They get their names when those of all jobs are complete.
class WrittenJob {
 public:
  /// bases: of all jobs; a further output may not take such a name.
  WrittenJob(const MgfJob& job, const MgfOutputForm& form, const std::set<std::string>& bases)
      : m_job(&job), m_form(form), m_bases(&bases) {
    m_outputs.push_back(std::make_unique<MgfOutput>(job.m_base, form));
  }

  void WriteScan(std::vector<MgfBlock>& blocks, const std::string& source) {
    ++m_scans;
    if (!m_form.m_profile->m_parts_equal_charges)
      return m_outputs.front()->WriteScan(blocks, source);
    std::size_t number = 0;
    while (!blocks.empty()) {
      const std::vector<MgfBlock> part = TakeDifferentCharges(blocks);
      OutputNumber(number++, part.front().m_scan_no, source).WriteScan(part, source);
    }
  }

  void Close() {
    for (const auto& output : m_outputs) output->Close();
  }

  void Finish() const {
    std::int64_t blocks = 0;
    for (const auto& output : m_outputs) {
      for (const std::string& path : output->Finish()) std::cout << Shown(path) << '\n';
      blocks += output->BlockCount();
    }
    RemoveOldOutputs();
    std::cout << m_scans << " scans, " << blocks << " precursors\n";
  }

 private:
  /// Takes the first block of each charge out of blocks; the rest keeps its order.
  static std::vector<MgfBlock> TakeDifferentCharges(std::vector<MgfBlock>& blocks) {
    std::vector<MgfBlock> taken;
    std::vector<MgfBlock> left;
    for (MgfBlock& block : blocks) {
      const bool is_taken =
          std::ranges::find(taken, block.m_charge, &MgfBlock::m_charge) != taken.end();
      (is_taken ? left : taken).push_back(std::move(block));
    }
    blocks = std::move(left);
    return taken;
  }

  /// run_2, run_3, ...; number: from 0, which means run itself.
  [[nodiscard]] std::string BaseOf(std::size_t number) const {
    return number == 0 ? m_job->m_base : m_job->m_base + "_" + std::to_string(number + 1);
  }

  /// Two files of each are open at a time.
  static constexpr std::size_t kMostOutputs = 100;

  MgfOutput& OutputNumber(std::size_t number, std::int32_t scan_no, const std::string& source) {
    if (number < m_outputs.size()) return *m_outputs[number];
    if (number == kMostOutputs)
      throw JoinPath({FolderOf(m_job->m_inputs.front()), source}) + ", scan " +
          std::to_string(scan_no) + ": more than " + std::to_string(kMostOutputs) +
          " precursors of one charge, each for another output; use --top";
    const std::string base = BaseOf(number);
    if (m_bases->contains(base))
      throw "Blocks of one scan and charge of " + m_job->m_inputs.front() + " go to " + base +
          std::string(kEnding) + ", which is the output of another input; use another directory";
    m_outputs.push_back(std::make_unique<MgfOutput>(base, m_form));
    return *m_outputs.back();
  }

  /// Removes those of an earlier output that had more.
  void RemoveOldOutputs() const {
    std::vector<std::string> sources;
    for (const std::string& input : m_job->m_inputs) sources.emplace_back(FileNameOf(input));
    for (std::size_t number = std::max<std::size_t>(m_outputs.size(), 1);
         !m_bases->contains(BaseOf(number)) && RemoveOutputOf(BaseOf(number), sources); ++number) {
    }
  }

  const MgfJob* m_job;
  MgfOutputForm m_form;
  const std::set<std::string>* m_bases;
  std::vector<std::unique_ptr<MgfOutput>> m_outputs;
  std::int64_t m_scans = 0;
};

WrittenJob WriteJob(const MgfJob& job, const MgfOptions& options,
                    const std::set<std::string>& bases) {
  std::vector<std::unique_ptr<ScanSource>> sources;
  for (const std::string& input : job.m_inputs)
    sources.push_back(std::make_unique<ScanSource>(input));
  const MgfOutputForm form{FindMgfProfile(options.m_engine), options.m_gzip, options.m_split_bytes};
  WrittenJob written(job, form, bases);
  while (ScanSource* source = NextSource(sources)) {
    KeepBest(source->Scan(), options.m_top);
    written.WriteScan(source->Scan(), source->Name());
    source->Advance();
  }
  written.Close();
  return written;
}

void RunMgf(const MgfOptions& options) {
  const std::vector<std::string> inputs = InputFiles(options.m_inputs);
  RefuseRepeatedInputs(inputs);
  RefuseUnfinishedRuns(inputs);
  const std::vector<MgfJob> jobs = JobsOf(inputs, options);
  RefuseEqualOutputs(jobs);
  MakeDirectory(options.m_out);
  RefuseToReplaceInputs(inputs, options.m_out);
  if (options.m_gzip && !FindMgfProfile(options.m_engine)->m_reads_gzip)
    std::cerr << "tarvek-tools: " << options.m_engine
              << " does not read compressed MGF; unpack it before the search\n";
  std::vector<WrittenJob> written;
  written.reserve(jobs.size());
  std::set<std::string> bases;
  for (const MgfJob& job : jobs) bases.insert(job.m_base);
  for (const MgfJob& job : jobs) written.push_back(WriteJob(job, options, bases));
  for (const WrittenJob& job : written) job.Finish();
}

std::vector<std::string> EngineNames() {
  std::vector<std::string> names;
  for (const MgfProfile& profile : MgfProfiles()) names.emplace_back(profile.m_engine);
  return names;
}

}  // namespace

void AddMgfCommand(CLI::App& app) {
  const auto options = std::make_shared<MgfOptions>();
  CLI::App* mgf = app.add_subcommand("mgf", "Rewrite MGF of tarvek for one search engine");
  mgf->add_option("INPUT", options->m_inputs, "MGF files of tarvek, or directories of them")
      ->required();
  mgf->add_option("--engine", options->m_engine, "The engine that is to read it")
      ->required()
      ->check(CLI::IsMember(EngineNames()));
  mgf->add_option("--out", options->m_out, "Output directory; not that of the inputs")->required();
  mgf->add_option("--top", options->m_top, "Keep the N best-scored precursors of each scan")
      ->check(CLI::PositiveNumber);
  mgf->add_flag("--merge", options->m_merge,
                "One output for each run, its activation and instrument types in order of scans");
  mgf->add_option("--split", options->m_split_bytes,
                  "Largest size of an output before compression, such as 500MB")
      ->transform(CLI::AsSizeValue(false))
      ->check(CLI::PositiveNumber);
  mgf->add_flag("--gzip", options->m_gzip, "Compress the outputs");
  mgf->callback([options] { RunMgf(*options); });
}

}  // namespace tarvek::tools
