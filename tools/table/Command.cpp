#include "table/Command.h"

#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "FileUtils.h"
#include "Platform.h"
#include "PrecursorTable.h"
#include "ShownText.h"
#include "StringUtils.h"
#include "UnfinishedFile.h"
#include "outputs/OutputNames.h"
#include "outputs/RunOutcome.h"
#include "outputs/Subcommand.h"
#include "score/Command.h"
#include "table/Rows.h"
#include "table/Text.h"

namespace tarvek::tools {
namespace {

struct TableOptions {
  std::vector<std::string> m_runs;
  std::string m_out;  // empty: standard output
  bool m_is_json = false;
  RowSettings m_settings;
};

/// A file that gets its name when complete, or standard output.
class TableOutput {
 public:
  explicit TableOutput(const std::string& path) {
    if (!path.empty()) m_file.emplace(path, "table");
  }

  void Write(std::string_view text) {
    if (m_file)
      m_file->File().Write(text);
    else
      std::cout << text;
    CheckConsole();
  }

  void Complete() {
    if (m_file) m_file->TakeName();
    std::cout.flush();
    CheckConsole();
  }

 private:
  static void CheckConsole() {
    if (!std::cout) throw CLI::RuntimeError(1);  // main says why
  }

  std::optional<UnfinishedFile> m_file;
};

std::string WithoutTableEnding(const std::string& path) {
  std::string_view base = path;
  CutEnding(base, kTableEnding);
  return std::string(base);
}

/// The runs of a folder, or the one that a path names. Reports those that did not finish.
std::vector<std::string> BasesOf(const std::string& path) {
  if (!IsDirectory(path)) return {WithoutTableEnding(path)};
  const FoundRuns found = FindRuns(path);
  if (found.m_finished.empty()) throw "No finished run: " + path;
  for (const std::string& base : found.m_unfinished)
    if (IsUnfinishedRun(base))
      std::cerr << "tarvek-tools: the run " << Shown(base) << " is left out: it did not finish\n";
  return found.m_finished;
}

std::vector<std::string> BasesOf(const std::vector<std::string>& paths) {
  std::vector<std::string> bases;
  std::set<std::string> taken;
  for (const std::string& path : paths)
    for (const std::string& base : BasesOf(path)) {
      if (!taken.insert(CanonicalPath(base + std::string(kTableEnding))).second)
        throw "The run " + base + " is given twice";
      bases.push_back(base);
    }
  return bases;
}

void RunTable(const TableOptions& options) {
  const std::vector<std::string> bases = BasesOf(options.m_runs);
  TableOutput output(options.m_out);
  if (!options.m_is_json) output.Write(TsvHeader());
  std::string text;
  for (const std::string& base : bases) {
    ForEachPrecursor(base, options.m_settings, [&](const PrecursorFact& row) {
      text.clear();
      options.m_is_json ? AppendJsonLine(row, text) : AppendTsv(row, text);
      output.Write(text);
    });
  }
  output.Complete();
}

}  // namespace

void AddTableCommand(CLI::App& app) {
  const auto options = std::make_shared<TableOptions>();
  CLI::App* table = AddSubcommand(app, "table", "Give the precursors of finished runs as one table",
                                  "RUN", options->m_runs,
                                  "Finished runs, their tables or base names, or folders of runs");
  table->add_option("-o,--out", options->m_out, "File to write, in place of standard output");
  table->add_flag("--json", options->m_is_json, "One JSON object on each line");
  table
      ->add_option("--input", options->m_settings.m_input_folder,
                   "Folder of the extracted or instrument files, if another one")
      ->check(CLI::ExistingDirectory);
  AddTolerance(*table, options->m_settings.m_tol_ppm,
               "Largest m/z difference of peaks that belong together, ppm");
  table->callback([options] { RunTable(*options); });
}

}  // namespace tarvek::tools
