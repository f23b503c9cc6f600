#include "check/Targets.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "FileUtils.h"
#include "InputFormats.h"
#include "ParameterFile.h"
#include "Platform.h"
#include "PrecursorTable.h"
#include "RunRecord.h"
#include "StringUtils.h"
#include "UnfinishedFile.h"
#include "check/Table.h"
#include "outputs/OutputNames.h"

namespace tarvek::tools {
namespace {

enum class FileKind {
  kOther,
  kText,
  kBinary,
  kXml,
  kVendor,
  kMgf,
  kTable,
  kUnfinishedTable,
  kPf1,
  kPf2,
  kOutputMgf,
  kMarker,
  kRecord,
  kUnfinishedRecord,
  kUnfinished
};

/// A file name taken apart.
struct FileName {
  FileKind m_kind = FileKind::kOther;
  std::string m_base;
  std::string m_words;  // activation and instrument of a split output
};

/// For files that are not inputs, or only a part of one; the first match counts.
const auto& Endings() {
  static const std::array<std::pair<std::string, FileKind>, 13> kEndings = {
      {{UnfinishedPathOf(kTableEnding), FileKind::kUnfinishedTable},
       {UnfinishedPathOf(kRunRecordEnding), FileKind::kUnfinishedRecord},
       {std::string(kRunRecordEnding), FileKind::kRecord},
       {std::string(kUnfinished), FileKind::kUnfinished},
       {".ms2", FileKind::kText},
       {".msb", FileKind::kBinary},
       {".mscsv", FileKind::kBinary},
       {std::string(kTableEnding), FileKind::kTable},
       {".pf1", FileKind::kPf1},
       {".pf1idx", FileKind::kPf1},
       {".pf2", FileKind::kPf2},
       {".pf2idx", FileKind::kPf2},
       {".morvex", FileKind::kMarker}}};
  return kEndings;
}

FileKind KindOf(InputPath input_path) {
  if (input_path == InputPath::kText) return FileKind::kText;
  if (input_path == InputPath::kMgf) return FileKind::kMgf;
  return input_path == InputPath::kXml ? FileKind::kXml : FileKind::kVendor;
}

FileName TakeApart(const std::string& name) {
  FileName file;
  if (const auto [format, ending_size] = FormatOfName(name); format != nullptr)
    file = {KindOf(format->m_input_path), name.substr(0, name.size() - ending_size), {}};
  for (const auto& [ending, kind] : Endings()) {
    if (name.size() <= ending.size() || !EndsWithIgnoreCase(name, ending)) continue;
    file.m_kind = kind;
    file.m_base = name.substr(0, name.size() - ending.size());
    break;
  }
  if (file.m_kind == FileKind::kPf2 || file.m_kind == FileKind::kMgf) {
    const SplitName split = SplitOutputName(file.m_base);
    file.m_words = split.m_words;
    file.m_base.resize(split.m_run.size());
    if (!file.m_words.empty() && file.m_kind == FileKind::kMgf) file.m_kind = FileKind::kOutputMgf;
  }
  if (file.m_kind == FileKind::kBinary) file.m_base.resize(RunOfBinaryPair(file.m_base).size());
  return file;
}

bool IsOutput(FileKind kind) {
  return kind == FileKind::kTable || kind == FileKind::kUnfinishedTable || kind == FileKind::kPf1 ||
         kind == FileKind::kPf2 || kind == FileKind::kOutputMgf || kind == FileKind::kRecord ||
         kind == FileKind::kUnfinishedRecord;
}

std::string WithoutEnding(const std::string& path) { return path.substr(0, path.rfind('.')); }

std::vector<std::string> SortedNames(const std::string& directory) {
  std::vector<std::string> names =
      ListDirectoryNames(directory).value_or(std::vector<std::string>());
  std::erase_if(names, [](const std::string& name) { return name.starts_with("."); });
  std::ranges::sort(names);
  return names;
}

class TargetFinder {
 public:
  TargetFinder(CheckTargets& targets, CheckReport& report, std::string directory)
      : m_targets(&targets),
        m_report(&report),
        m_directory(std::move(directory)),
        m_names(SortedNames(m_directory)) {}

  /// All files of the directory, or of one base name in it, or the outputs among these. Returns
  /// whether there were any.
  bool TakeAll(const std::optional<std::string>& base, bool outputs_only = false) {
    std::vector<std::string> tables;
    for (const std::string& name : m_names) {
      const FileName file = TakeApart(name);
      if (file.m_kind == FileKind::kOther || (base && file.m_base != *base)) continue;
      if ((outputs_only && !IsOutput(file.m_kind)) || IsDirectory(PathOf(name))) continue;
      if (file.m_kind == FileKind::kTable)
        tables.push_back(name);
      else
        Take(name, file);
    }
    for (const std::string& name : tables) TakeTable(name, base.has_value());
    return m_any;
  }

  void Take(const std::string& name, const FileName& file) {
    const std::string path = PathOf(name);
    m_any = true;
    switch (file.m_kind) {
      case FileKind::kText:
        m_targets->m_ms1_files.insert(EndsWithIgnoreCase(name, ".ms1") ? path : Ms1Of(file.m_base));
        break;
      case FileKind::kBinary:
        m_targets->m_binary_bases.insert(WithoutEnding(path));
        break;
      case FileKind::kXml:
        m_targets->m_xml_files.insert(path);
        break;
      case FileKind::kMgf:
        m_targets->m_mgf_files.insert(path);
        break;
      case FileKind::kVendor:
        TakeVendor(path);
        break;
      case FileKind::kMarker:
        TakeMarker(path);
        break;
      case FileKind::kUnfinished:
        TakeLeftover(path);
        break;
      default:
        TakeOutput(file);
    }
  }

 private:
  [[nodiscard]] std::string PathOf(const std::string& name) const {
    return JoinPath({m_directory, name});
  }

  // The case of endings does not matter. Without a file, the missing name.
  [[nodiscard]] std::string Ms1Of(const std::string& base) const {
    const std::string start = base + ".";
    auto name = std::ranges::lower_bound(m_names, start);
    for (; name != m_names.end() && name->starts_with(start); ++name)
      if (name->size() == start.size() + 3 && EndsWithIgnoreCase(*name, ".ms1"))
        return PathOf(*name);
    return PathOf(base + ".ms1");
  }

  RunOutputs& OutputsOf(const std::string& base) {
    RunOutputs& outputs = m_targets->m_outputs[PathOf(base)];
    outputs.m_directory = m_directory;
    outputs.m_base = base;
    return outputs;
  }

  void TakeOutput(const FileName& file) {
    RunOutputs& outputs = OutputsOf(file.m_base);
    if (file.m_kind == FileKind::kTable) outputs.m_has_table = true;
    if (file.m_kind == FileKind::kUnfinishedTable) outputs.m_has_unfinished = true;
    if (file.m_kind == FileKind::kRecord) outputs.m_has_record = true;
    if (file.m_kind == FileKind::kUnfinishedRecord) outputs.m_has_unfinished_record = true;
    if (file.m_kind == FileKind::kPf1) outputs.m_has_pf1 = true;
    if (file.m_kind == FileKind::kPf2) outputs.m_pf2.insert(file.m_words);
    if (file.m_kind == FileKind::kOutputMgf) outputs.m_mgf.insert(file.m_words);
  }

  // A directory may hold tables of other programs.
  void TakeTable(const std::string& name, bool is_asked_for) {
    const FileName file = TakeApart(name);
    const bool has_others = m_targets->m_outputs.contains(PathOf(file.m_base));
    if (is_asked_for || has_others || LooksLikeTable(PathOf(name))) Take(name, file);
  }

  static bool LooksLikeTable(const std::string& path) {
    try {
      return IsPrecursorTable(path);
    } catch (const std::string&) {
      return false;  // a file that nobody asked for and that cannot be read
    }
  }

  void TakeVendor(const std::string& path) {
    m_targets->m_vendor_files.insert(path);
    m_report->Note("vendor-file", path, "Its contents are known only after conversion.",
                   "Check the .ms1 and .ms2 files that the run makes of it.");
  }

  void TakeMarker(const std::string& path) {
    const std::string base = WithoutEnding(path);
    bool has_spectra = FileExists(base + ".ms1") && FileExists(base + ".ms2");
    for (const std::string_view format : kInstrumentFormats)
      has_spectra = has_spectra || FileExists(base + "." + std::string(format) + ".msb");
    if (has_spectra || FileExists(base + ".mgf") || FileExists(base + ".csv")) return;
    m_report->Defect("marker", path,
                     "It says that the spectra were extracted, but they are gone, so that the next "
                     "run stops without them.",
                     "Delete it, and the next run extracts them again.");
  }

  void TakeLeftover(const std::string& path) {
    m_report->Defect("unfinished", path,
                     "It was left by a program that was stopped, or that is still going on.",
                     "Start that program again, or delete the file.");
  }

  CheckTargets* m_targets;
  CheckReport* m_report;
  std::string m_directory;
  std::vector<std::string> m_names;  // in it, sorted
  bool m_any = false;
};

}  // namespace

void AddTargets(CheckTargets& targets, CheckReport& report, const std::string& path) {
  if (IsDirectory(path)) {
    if (!TargetFinder(targets, report, JoinPath({path})).TakeAll(std::nullopt))
      report.Defect("nothing-here", path, "It holds no file that tarvek reads or writes.",
                    "Name a directory with inputs or outputs.");
    return;
  }
  TargetFinder finder(targets, report, FolderOf(path));
  const std::string name(FileNameOf(path));
  if (StateAt(path) == FileState::kDirectory) {
    report.Defect("unreadable", path, "The directory cannot be listed.", "Check its permissions.");
    return;
  }
  if (!IsThere(path)) {
    if (!finder.TakeAll(name))
      report.Defect("nothing-here", path, "There is no such file, directory or base name of files.",
                    "Check the path.");
    return;
  }
  const FileName file = TakeApart(name);
  if (IsParameterFile(name))
    targets.m_parameter_files.insert(path);
  else if (file.m_kind == FileKind::kOther)
    report.Defect(
        "unknown-format", path, "A file of this ending is neither read nor written by tarvek.",
        "Name an mzML, mzXML, .ms1, .msb or .mgf file, an output of a run, or a parameter "
        "file.");
  else if (IsOutput(file.m_kind))
    finder.TakeAll(file.m_base, true);
  else
    finder.Take(name, file);
}

void AddOutputs(CheckTargets& targets, CheckReport& report, const std::string& base_path) {
  TargetFinder(targets, report, FolderOf(base_path))
      .TakeAll(std::string(FileNameOf(base_path)), true);
}

std::vector<NamedInput> NamedInputs(const CheckTargets& targets) {
  std::vector<NamedInput> inputs;
  for (const auto* files : {&targets.m_xml_files, &targets.m_vendor_files, &targets.m_ms1_files})
    for (const std::string& path : *files) {
      const std::string_view name = FileNameOf(path);
      const auto [format, ending_size] = FormatOfName(name);
      inputs.push_back({std::string(name.substr(0, name.size() - ending_size)), path,
                        format == nullptr ? std::string() : std::string(format->m_word)});
    }
  return inputs;
}

void CheckSameNames(CheckReport& report, const CheckTargets& targets,
                    const std::string& outputpath) {
  const std::vector<NamedInput> inputs = NamedInputs(targets);
  for (std::size_t i = 1; i < inputs.size(); ++i) {
    const NamedInput& second = inputs[i];
    const auto first = std::find_if(
        inputs.begin(), inputs.begin() + static_cast<std::ptrdiff_t>(i), [&](const auto& input) {
          return input.m_base == second.m_base &&
                 (!outputpath.empty() || input.m_format == second.m_format);
        });
    if (first == inputs.begin() + static_cast<std::ptrdiff_t>(i)) continue;
    const bool is_sure = !outputpath.empty() || FolderOf(first->m_path) == FolderOf(second.m_path);
    report.Add(
        {is_sure ? Severity::kWarning : Severity::kNote,
         "same-name",
         second.m_path,
         {},
         first->m_path + " has the same base name, so that both would write the outputs of '" +
             second.m_base + "'" + (is_sure ? "." : " if they get one output directory."),
         is_sure ? "Rename one of them, move it away, or give it an output directory of its own."
                 : "Give each an output directory of its own."});
  }
}

}  // namespace tarvek::tools
