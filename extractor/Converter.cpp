#include "Converter.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

#include "FileUtils.h"
#include "Interruption.h"
#include "Platform.h"
#include "StringUtils.h"

namespace tarvek::extractor {
namespace {

namespace fs = std::filesystem;

void ReplaceAll(std::string& text, std::string_view from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos;
       at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
}

bool IsExecutable(const std::string& path) {
  std::error_code error;
  const fs::perms permissions = fs::status(path, error).permissions();
  constexpr fs::perms kAny = fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec;
  return !error && (permissions & kAny) != fs::perms::none;
}

/// A name beside the outputs that nothing has yet.
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

// What the program is where names of programs have no ending: a script of a package, or for mono.
std::optional<std::string> FindPackagedRawParser(std::string_view search_path) {
  for (const char* const name : {"thermorawfileparser", "ThermoRawFileParser.sh"})
    if (const auto script = FindProgram(name, search_path)) return QuotedForShell(*script);
  const auto program = FindProgram("ThermoRawFileParser.exe", search_path);
  const auto mono = FindProgram("mono", search_path);
  if (!program || !mono) return std::nullopt;
  return QuotedForShell(*mono) + " " + QuotedForShell(*program);
}

std::optional<std::string> FindRawParser(std::string_view search_path) {
  constexpr std::string_view kArguments = " -i={in} -o={outdir} -f=2 -L=1-2";
  std::optional<std::string> parser;
  if (const auto program = FindProgram("ThermoRawFileParser", search_path))
    parser = QuotedForShell(*program);
  else if (kProgramEnding.empty())
    parser = FindPackagedRawParser(search_path);
  if (parser) *parser += kArguments;
  return parser;
}

// Peak picking must be the first filter.
std::optional<std::string> FindMsconvert(std::string_view search_path) {
  const auto program = FindProgram("msconvert", search_path);
  if (!program) return std::nullopt;
  return QuotedForShell(*program) +
         " {in} --mzML --zlib --filter \"peakPicking vendor msLevel=1-2\" -o {outdir}";
}

std::vector<std::string> FindMzml(const std::string& directory) {
  std::vector<std::string> paths;
  for (const std::string& name : ListDirectoryNames(directory).value_or(std::vector<std::string>()))
    if (EndsWithIgnoreCase(name, ".mzml") || EndsWithIgnoreCase(name, ".mzml.gz"))
      paths.push_back(JoinPath({directory, name}));
  std::ranges::sort(paths);
  return paths;
}

void RunConverter(const std::string& command, const std::string& input, std::ostream& report) {
  report << "Runs " << command << std::endl;
  ChildProcess child = ChildProcess::Start(command + " 2>&1");
  if (!child.IsRunning()) throw input + ": the converter cannot be started: " + command;
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

// Converters have ended with status 0 and half a file.
void CheckWhole(const std::string& path, const std::string& input) {
  constexpr std::int64_t kTailBytes = 1024;
  if (EndsWithIgnoreCase(path, ".gz")) return;  // reading it tells
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

std::optional<std::string> FindConverter(VendorKind kind, const std::string& from_environment,
                                         std::string_view search_path) {
  if (!from_environment.empty()) return from_environment;
  if (kind == VendorKind::kRaw)
    if (auto parser = FindRawParser(search_path)) return parser;
  return FindMsconvert(search_path);
}

std::string ConverterCommand(std::string_view command_template, const std::string& input,
                             const std::string& output_directory) {
  std::string command(command_template);
  for (const std::string_view quoted : {"\"{in}\"", "'{in}'"}) ReplaceAll(command, quoted, "{in}");
  for (const std::string_view quoted : {"\"{outdir}\"", "'{outdir}'"})
    ReplaceAll(command, quoted, "{outdir}");
  // The directory first: a file may be called {outdir}.
  ReplaceAll(command, "{outdir}", QuotedForShell(output_directory));
  ReplaceAll(command, "{in}", QuotedForShell(input));
  return command;
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

ConvertedFile::ConvertedFile(const ExtractorOptions& options, const std::string& command_template,
                             std::ostream& report)
    : m_directory(FreshDirectory(options)) {
  MakeDirectory(m_directory);
  try {
    const std::string command = ConverterCommand(command_template, options.m_input, m_directory);
    RunConverter(command, options.m_input, report);
    m_mzml_path = OnlyMzml(m_directory, options.m_input, command);
    CheckWhole(m_mzml_path, options.m_input);
  } catch (...) {
    static_cast<void>(DeleteDirectoryTree(m_directory));
    throw;
  }
}

ConvertedFile::~ConvertedFile() { static_cast<void>(DeleteDirectoryTree(m_directory)); }

}  // namespace tarvek::extractor
