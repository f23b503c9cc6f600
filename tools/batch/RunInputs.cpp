#include "batch/RunInputs.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <tuple>
#include <utility>

#include "FileUtils.h"
#include "InputFormats.h"
#include "Platform.h"
#include "StringUtils.h"
#include "outputs/OutputNames.h"

namespace tarvek::tools {
namespace {

constexpr std::string_view kWildcards = "*?[";

/// name of an input without its ending.
std::string_view BaseOf(std::string_view name) {
  return name.substr(0, name.size() - FormatOfName(name).m_ending_size);
}

/// Compares file names like the system does.
std::string Comparable(std::string_view name) {
  return kFileNamesIgnoreCase ? ToLower(name) : std::string(name);
}

/// Whether c is in the class that begins after the '[' at the front of pattern; pattern moves past
/// the class. std::nullopt when the class has no end: then '[' is an ordinary character.
std::optional<bool> TakeClass(std::string_view& pattern, char c) {
  const std::size_t end = pattern.find(']', 2);  // a ']' at once is a member
  if (end == std::string_view::npos) return std::nullopt;
  std::string_view members = pattern.substr(1, end - 1);
  const bool is_negated = members.front() == '!' && members.size() > 1;
  if (is_negated) members.remove_prefix(1);
  bool is_in = false;
  for (std::size_t i = 0; i < members.size(); ++i) {
    const bool is_range = i + 2 < members.size() && members[i + 1] == '-';
    is_in = is_in || (members[i] <= c && c <= (is_range ? members[i + 2] : members[i]));
    if (is_range) i += 2;
  }
  pattern.remove_prefix(end + 1);
  return is_in != is_negated;
}

/// Whether one character of a name fits the start of pattern; if so, pattern moves past it.
bool TakeOne(std::string_view& pattern, char c) {
  if (pattern.front() == '[')
    if (const std::optional<bool> is_in = TakeClass(pattern, c)) return *is_in;
  const bool fits = pattern.front() == '?' || pattern.front() == c;
  pattern.remove_prefix(1);
  return fits;
}

/// Whether the whole name fits the pattern. After a mismatch the last '*' takes one more character.
bool Fits(std::string_view pattern, std::string_view name) {
  std::optional<std::pair<std::string_view, std::string_view>> star;  // what comes after it
  while (!name.empty()) {
    if (!pattern.empty() && pattern.front() == '*') {
      pattern.remove_prefix(1);
      star.emplace(pattern, name);
      continue;
    }
    if (!pattern.empty() && TakeOne(pattern, name.front())) {
      name.remove_prefix(1);
      continue;
    }
    if (!star) return false;
    star->second.remove_prefix(1);
    std::tie(pattern, name) = *star;
  }
  return pattern.find_first_not_of('*') == std::string_view::npos;
}

std::vector<std::string> SortedNames(const std::string& directory) {
  auto names = ListDirectoryNames(directory);
  if (!names) throw "Cannot open File: " + directory;
  std::erase_if(*names, [](const std::string& name) { return name.starts_with('.'); });
  std::ranges::sort(*names);
  return std::move(*names);
}

/// The paths that fit a pattern, in the order of their names; each part of it is a pattern.
std::vector<std::string> Expand(const std::string& pattern) {
  const std::size_t first_wildcard = pattern.find_first_of(kWildcards);
  const std::size_t start = pattern.find_last_of(kSeparators, first_wildcard);
  const std::size_t part = start == std::string::npos ? 0 : start + 1;
  const std::size_t end = std::min(pattern.find_first_of(kSeparators, part), pattern.size());
  const std::string wanted = Comparable(std::string_view(pattern).substr(part, end - part));
  const std::string folder = start == std::string::npos ? "." : FolderOf(pattern.substr(0, end));
  std::vector<std::string> paths;
  if (!IsDirectory(folder)) return paths;
  for (const std::string& name : SortedNames(folder)) {
    if (!Fits(wanted, Comparable(name))) continue;
    const std::string path = pattern.substr(0, part) + name;
    const std::string rest = pattern.substr(end);
    if (rest.find_first_of(kWildcards) != std::string::npos) {
      if (!IsDirectory(path)) continue;
      for (std::string& deeper : Expand(path + rest)) paths.push_back(std::move(deeper));
    } else if (PathExists(path + rest)) {
      paths.push_back(path + rest);
    }
  }
  return paths;
}

/// Files left out for one reason.
struct LeftAside {
  std::string m_first;
  std::size_t m_count = 0;
  void Add(const std::string& path) {
    if (m_count++ == 0) m_first = path;
  }
};

class InputFinder {
 public:
  explicit InputFinder(std::string_view format) : m_format(format) {}

  void Take(const std::string& word) {
    const std::size_t before = m_inputs.m_files.size();
    const std::size_t met_before = m_met;
    if (IsDirectory(word))
      TakeFolder(word);
    else if (IsThere(word))
      TakeNamed(word);
    else if (word.find_first_of(kWildcards) != std::string::npos)
      TakePattern(word);
    else
      throw "There is no file or folder " + word;
    if (m_inputs.m_files.size() == before && m_met == met_before) RefuseEmpty(word);
  }

  RunInputs Finish() {
    AddNote(m_extracted, "extracted from other inputs or by an earlier run", "ms1");
    AddNote(m_written, "written by a run, or of one that is here in another format", "mgf");
    AddNote(m_folders, "folders with the name of an input file", "");
    return std::move(m_inputs);
  }

 private:
  void TakeNamed(const std::string& path) {
    const std::string_view format = InputFormatOf(path);
    if (format.empty())
      throw path + " has an ending that tarvek does not take. " + std::string(kKnownInputs);
    if (!m_format.empty() && format != m_format) throw path + " is not of the format " + m_format;
    Add(path);
  }

  void TakeFolder(const std::string& folder) {
    for (const std::string& name : SortedNames(folder))
      if (!InputFormatOf(name).empty()) TakeFound(JoinPath({folder, name}), m_format);
  }

  void TakePattern(const std::string& pattern) {
    const std::string_view asked =
        m_format.empty() ? InputFormatOf(pattern) : std::string_view(m_format);
    for (const std::string& path : Expand(pattern)) {
      if (IsDirectory(path) && InputFormatOf(path).empty())
        TakeFolder(path);
      else if (!InputFormatOf(path).empty())
        TakeFound(path, asked);
    }
  }

  /// asked: the format that the user named, or empty.
  void TakeFound(const std::string& path, std::string_view asked) {
    const std::string_view format = InputFormatOf(path);
    if (!asked.empty() && format != asked) return;
    if (!FileExists(path)) {
      if (IsDirectory(path)) m_folders.Add(path);
    } else if (asked.empty() && format == "ms1" && IsExtracted(path)) {
      m_extracted.Add(path);
    } else if (asked.empty() && format == "mgf" && IsWritten(path)) {
      m_written.Add(path);
    } else {
      Add(path);
    }
  }

  /// The formats of the inputs in the folder of path that have its base name.
  const std::set<std::string_view>& FormatsBeside(const std::string& path) {
    const std::string folder = FolderOf(path);
    if (m_listed_folder != folder) {
      m_formats.clear();
      for (const std::string& name : SortedNames(folder))
        if (const std::string_view format = InputFormatOf(name); !format.empty())
          m_formats[Comparable(BaseOf(name))].insert(format);
      m_listed_folder = folder;
    }
    return m_formats[Comparable(BaseOf(FileNameOf(path)))];
  }

  bool IsExtracted(const std::string& ms1) {
    return FileExists(std::string(BaseOf(ms1)) + ".morvex") ||
           std::ranges::any_of(FormatsBeside(ms1), IsInstrumentFormat);
  }

  bool IsWritten(const std::string& mgf) {
    const std::string_view base = BaseOf(FileNameOf(mgf));
    return SplitOutputName(base).m_run.size() < base.size() || FormatsBeside(mgf).size() > 1 ||
           FileExists(std::string(BaseOf(mgf)) + ".morvex");
  }

  void Add(const std::string& path) {
    ++m_met;
    if (m_known.insert(Comparable(CanonicalPath(path))).second) m_inputs.m_files.push_back(path);
  }

  void AddNote(const LeftAside& aside, const std::string& what, const std::string& format) {
    if (aside.m_count == 0) return;
    std::string note = aside.m_first;
    if (aside.m_count > 1) note += " and " + std::to_string(aside.m_count - 1) + " more";
    note += aside.m_count > 1 ? " are left out: " : " is left out: ";
    note += what;
    if (!format.empty()) note += "; --format " + format + " takes such files";
    m_inputs.m_notes.push_back(note);
  }

  [[noreturn]] void RefuseEmpty(const std::string& word) {
    std::string text = "There is no input file in " + word;
    if (!IsDirectory(word)) text = "No input file fits " + word;
    if (!m_format.empty()) throw text + " of the format " + m_format;
    text += ". " + std::string(kKnownInputs);
    for (const std::string& note : Finish().m_notes) text += " " + note + ".";
    throw text;
  }

  std::string m_format;
  RunInputs m_inputs;
  std::size_t m_met = 0;  // inputs, counting repeated ones again
  std::set<std::string> m_known;
  LeftAside m_extracted;
  LeftAside m_written;
  LeftAside m_folders;
  std::string m_listed_folder;
  std::map<std::string, std::set<std::string_view>> m_formats;  // by base name in that folder
};

}  // namespace

std::string_view InputFormatOf(std::string_view name) {
  const InputFormat* const format = FormatOfName(name).m_format;
  return format == nullptr ? std::string_view() : format->m_word;
}

RunInputs FindRunInputs(std::span<const std::string> words, std::string_view format) {
  InputFinder finder(format);
  for (const std::string& word : words) finder.Take(word);
  return finder.Finish();
}

}  // namespace tarvek::tools
