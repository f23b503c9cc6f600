#include "Converter.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

#include "Extraction.h"
#include "FileUtils.h"
#include "Platform.h"
#include "ShownText.h"
#include "StringUtils.h"

namespace tarvek::extractor {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kNoShell =
    " (the command is no shell line: nothing of a shell, such as a pipe, && or a variable, works "
    "in "
    "it; put what needs a shell into a script)";

/// Splits the text of a command into words.
class TemplateReader {
 public:
  TemplateReader(std::string_view text, const std::string& name) : m_text(text), m_name(&name) {}

  std::vector<std::string> ReadWords() {
    std::vector<std::string> words;
    while (SkipBlanks()) words.push_back(ReadWord());
    return words;
  }

 private:
  bool SkipBlanks() {
    m_at = std::min(m_text.find_first_not_of(kBlanks, m_at), m_text.size());
    return m_at < m_text.size();
  }

  std::string ReadWord() {
    std::string word;
    bool has_quotes = false;
    for (; m_at < m_text.size() && kBlanks.find(m_text[m_at]) == std::string_view::npos; ++m_at) {
      const char c = m_text[m_at];
      if (c == '"' || c == '\'') {
        has_quotes = true;
        word += ReadQuoted(c);
      } else {
        word += c;
      }
    }
    if (!has_quotes && IsShellOperator(word))
      throw *m_name + " holds " + word + std::string(kNoShell);
    return word;
  }

  // Stops at the closing quote.
  std::string_view ReadQuoted(char quote) {
    const std::size_t begin = m_at + 1;
    m_at = m_text.find(quote, begin);
    if (m_at == std::string_view::npos) throw *m_name + " has a quote that is not closed";
    return m_text.substr(begin, m_at - begin);
  }

  // A word of only these, or a redirection: digits or '&', then '<' or '>', then anything.
  static bool IsShellOperator(std::string_view word) {
    if (word.find_first_not_of("|&;<>()") == std::string_view::npos) return true;
    const std::size_t sign = word.find_first_not_of("0123456789&");
    return sign != std::string_view::npos && (word[sign] == '<' || word[sign] == '>');
  }

  std::string_view m_text;
  const std::string* m_name;
  std::size_t m_at = 0;
};

// Gives a path a form that no program takes for an option.
std::string PathAsArgument(const std::string& path) {
  return path.starts_with('-') ? "./" + path : path;
}

// Replaces in one pass, without looking again at the inserted paths.
std::string WithPaths(std::string_view word, const std::string& input,
                      const std::string& output_directory) {
  constexpr std::string_view kInput = "{in}";
  constexpr std::string_view kDirectory = "{outdir}";
  std::string filled;
  while (!word.empty()) {
    std::size_t used = 1;
    if (word.starts_with(kInput)) {
      filled += input;
      used = kInput.size();
    } else if (word.starts_with(kDirectory)) {
      filled += output_directory;
      used = kDirectory.size();
    } else {
      filled += word.front();
    }
    word.remove_prefix(used);
  }
  return filled;
}

bool IsPlain(std::string_view word) {
  constexpr std::string_view kPlain =
      "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz+,-./:=@_";
  return !word.empty() && word.find_first_not_of(kPlain) == std::string_view::npos;
}

bool IsExecutable(const std::string& path) {
  std::error_code error;
  const fs::perms permissions = fs::status(path, error).permissions();
  constexpr fs::perms kAny = fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec;
  return !error && (permissions & kAny) != fs::perms::none;
}

/// An unused name next to the outputs.
std::string FreshDirectory(const ExtractorOptions& options) {
  const std::string start =
      JoinPath({options.m_output_directory, options.m_base_name + ".converting"});
  int number = 1;
  while (PathExists(start + std::to_string(number))) ++number;
  return start + std::to_string(number);
}

std::optional<std::string> FindProgram(std::string_view name, std::string_view search_path) {
  for (const std::string_view directory : Split(search_path, kSearchPathSeparator)) {
    if (directory.empty()) continue;
    const std::string path = JoinPath({directory, name}) + std::string(kProgramEnding);
    if (FileExists(path) && IsExecutable(path)) return path;
  }
  return std::nullopt;
}

// The program on systems without program extensions: a script of a package, or a program for mono.
std::vector<std::string> FindPackagedRawParser(std::string_view search_path) {
  for (const char* const name : {"thermorawfileparser", "ThermoRawFileParser.sh"})
    if (const auto script = FindProgram(name, search_path)) return {*script};
  const auto program = FindProgram("ThermoRawFileParser.exe", search_path);
  const auto mono = FindProgram("mono", search_path);
  if (!program || !mono) return {};
  return {*mono, *program};
}

std::optional<CommandTemplate> FindRawParser(std::string_view search_path) {
  CommandTemplate parser{{}, {"-i={in}", "-o={outdir}", "-f=2", "-L=1-2"}};
  if (const auto program = FindProgram("ThermoRawFileParser", search_path))
    parser.m_program = {*program};
  else if (kProgramEnding.empty())
    parser.m_program = FindPackagedRawParser(search_path);
  return parser.m_program.empty() ? std::nullopt : std::optional(parser);
}

// Peak picking must be the first filter.
std::optional<CommandTemplate> FindMsconvert(std::string_view search_path) {
  const auto program = FindProgram("msconvert", search_path);
  if (!program) return std::nullopt;
  return CommandTemplate{
      {*program},
      {"{in}", "--mzML", "--zlib", "--filter", "peakPicking vendor msLevel=1-2", "-o", "{outdir}"}};
}

std::vector<std::string> FindMzml(const std::string& directory) {
  std::vector<std::string> paths;
  for (const std::string& name : ListDirectoryNames(directory).value_or(std::vector<std::string>()))
    if (EndsWithIgnoreCase(name, ".mzml") || EndsWithIgnoreCase(name, ".mzml.gz"))
      paths.push_back(JoinPath({directory, name}));
  std::ranges::sort(paths);
  return paths;
}

void RunConverter(const std::vector<std::string>& words, const std::string& input,
                  std::ostream& report) {
  const std::string command = ShownCommand(words);
  report << "Runs " << Shown(command) << std::endl;
  ChildProcess child = ChildProcess::Start(words);
  if (!child.IsRunning())
    throw input + ": the converter cannot be started: " + command + ": " + child.Failure() +
        std::string(kNoShell);
  std::string line;
  while (child.ReadLine(line)) report << line << std::flush;
  const int status = child.Wait();
  ThrowIfInterrupted();
  if (status != 0) throw input + ": the converter failed (its messages are above): " + command;
}

std::string OnlyMzml(const std::string& directory, const std::string& input,
                     const std::string& command) {
  const std::vector<std::string> paths = FindMzml(directory);
  if (paths.empty())
    throw input + ": the converter ended well but wrote no mzML; can it read this kind of file? " +
        command;
  if (paths.size() == 1) return paths.front();
  std::string message = input + ": holds " + std::to_string(paths.size()) +
                        " samples, of which only one can be extracted; convert them to mzML and "
                        "extract that. The samples:";
  for (const std::string& path : paths) message += " " + BaseNameOf(path);
  throw message;
}

// Converters may end with status 0 and half a file.
void CheckWhole(const std::string& path, const std::string& input) {
  constexpr std::int64_t kTailBytes = 1024;
  if (EndsWithIgnoreCase(path, ".gz")) return;  // reading it will show
  File file = OpenFile(path, "rb", "mzML");
  const std::int64_t size = file.SizeBytes();
  std::string tail(static_cast<std::size_t>(std::min(size, kTailBytes)), '\0');
  bool is_read = file.Seek(size - static_cast<std::int64_t>(tail.size()));
  is_read = is_read && file.Read(tail.data(), tail.size()) == tail.size();
  const std::string_view end = Trim(tail);
  if (!is_read || !(end.ends_with("</mzML>") || end.ends_with("</indexedmzML>")))
    throw input + ": the converter wrote a truncated mzML";
}

}  // namespace

std::string TemplateVariable(VendorKind kind) {
  return kind == VendorKind::kRaw ? "TARVEK_RAW_CONVERTER" : "TARVEK_WIFF_CONVERTER";
}

CommandTemplate ParseTemplate(std::string_view text, const std::string& name) {
  CommandTemplate command{{}, TemplateReader(text, name).ReadWords()};
  if (command.m_arguments.empty()) throw name + " holds no command";
  return command;
}

std::optional<CommandTemplate> FindConverter(VendorKind kind, const std::string& from_environment,
                                             std::string_view search_path) {
  if (!from_environment.empty()) return ParseTemplate(from_environment, TemplateVariable(kind));
  if (kind == VendorKind::kRaw)
    if (auto parser = FindRawParser(search_path)) return parser;
  return FindMsconvert(search_path);
}

std::vector<std::string> ConverterCommand(const CommandTemplate& command, const std::string& input,
                                          const std::string& output_directory) {
  std::vector<std::string> words = command.m_program;
  for (const std::string& word : command.m_arguments)
    words.push_back(WithPaths(word, PathAsArgument(input), PathAsArgument(output_directory)));
  return words;
}

std::string ShownCommand(const std::vector<std::string>& words) {
  std::string shown;
  for (const std::string& word : words) {
    if (!shown.empty()) shown += ' ';
    shown += IsPlain(word) ? word : QuotedForShell(word);
  }
  return shown;
}

std::string NoConverterText(VendorKind kind) {
  const std::string last_line =
      "or set " + TemplateVariable(kind) + " to a command such as: my_converter {in} -o {outdir}";
  if (kind == VendorKind::kRaw)
    return "No converter for raw files was found. Install ThermoRawFileParser (free; also in "
           "Bioconda),\nso that ThermoRawFileParser (or an msconvert with vendor support) is on "
           "the PATH,\n" +
           last_line;
  return "No converter for WIFF files was found. Install msconvert with vendor support (Windows, "
         "or "
         "its container;\nthe msconvert of Linux distributions reads open formats only), so that "
         "msconvert is on the PATH,\n" +
         last_line;
}

ConvertedFile::ConvertedFile(const ExtractorOptions& options, const CommandTemplate& command,
                             std::ostream& report)
    : m_directory(FreshDirectory(options)) {
  MakeDirectory(m_directory);
  try {
    const std::vector<std::string> words = ConverterCommand(command, options.m_input, m_directory);
    RunConverter(words, options.m_input, report);
    m_mzml_path = OnlyMzml(m_directory, options.m_input, ShownCommand(words));
    CheckWhole(m_mzml_path, options.m_input);
  } catch (...) {
    static_cast<void>(DeleteDirectoryTree(m_directory));
    throw;
  }
}

ConvertedFile::~ConvertedFile() { static_cast<void>(DeleteDirectoryTree(m_directory)); }

}  // namespace tarvek::extractor
